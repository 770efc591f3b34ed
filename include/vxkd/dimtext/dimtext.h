#pragma once
// CKdDimtext, one concrete dimension text: the cells a format produces (constant texts and
// property values) in rows and columns, with its placement, reference points, style, sizes
// and options; and CKdDimtextCell, one of its cells. A text is built from a format, edited
// cell by cell or note by note, measured, turned back into a format string, and drawn into
// a graphics model: the rows of text, a border around them, a reference line from the
// border to the reference points, and a wipeout frame beneath when masking is allowed.

#include <cstdint>

#include "vxkd/dimtext/dimtext_format.h"
#include "vxkd/drawingdefs/layer_def.h"
#include "vxkd/drawingdefs/text_style_def.h"
#include "vxkd/foundation/guid.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/geometry.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_def.h"

class CGmModel;
class CGmTextMetrics;

// One cell: a constant text, a property's value, or one line of a note.
class VXKD_API CKdDimtextCell {
 public:
  CKdDimtextCell() = default;
  CKdDimtextCell(short row, short col, const wchar_t* property, const wchar_t* text)
      : row_(row), col_(col), property_(property), text_(text) {}

  // Row, column and width 0, both strings empty.
  void reset() { *this = CKdDimtextCell(); }

  // The row, 0 at the top, and the column within it.
  short row() const { return row_; }
  void setRow(short row) { row_ = row; }
  short col() const { return col_; }
  void setCol(short col) { col_ = col; }
  // The width of the text in drawing units; 0 until measured.
  double width() const { return width_; }
  void setWidth(double width) { width_ = width; }
  // The property name or special token ("*NOTE*" for a note line); empty for a constant.
  const CWsz& property() const { return property_; }
  void setProperty(const wchar_t* property) { property_.set(property); }
  // The constant text, or the value or note line shown.
  const CWsz& text() const { return text_; }
  void setText(const wchar_t* text) { text_.set(text); }

  bool operator==(const CKdDimtextCell& other) const = default;

 private:
  int16_t row_ = 0;
  int16_t col_ = 0;
  double width_ = 0;
  CWsz property_;
  CWsz text_;
};

// A dimension text. In its own frame, x runs along `dir` and y across it (the normal
// crossed with the direction); `pos` lies on the top edge of the first row's capitals, at
// the left end, the middle or the right end of the text as the alignment says, so that a
// text that grows keeps its place as a drafter's multi-line text does. Rows go downwards.
//
// Drawing fills four nodes of the model, always all four and in this order, so that a host
// puts each on its layer (layerOfNode): the wipeout frame, the reference line with its end
// item, the border, the rows of text. The reference line takes the colour of its layer;
// border and text take the text's colour.
//
// The copy is a deep copy of every field.
class VXKD_API CKdDimtext {
 public:
  // The capacity of cells; more are dropped without a word.
  static constexpr int kMaxCells = 200;
  // The longest format string that builds.
  static constexpr int kMaxFormatChars = 799;
  // Note lines are wrapped at this many characters.
  static constexpr int kNoteLineChars = 60;
  // The sample free note of previews.
  static constexpr const wchar_t* kPreviewNote = L"Abcdefghij\r\nklmnopqrd\r\ntuvxyz";
  // The font that texts are drawn in when the style names no type face.
  static constexpr const wchar_t* kDefaultFont = L"Arial";

  // The nodes a drawing fills.
  enum picNode { nodeMask = 0, nodeRefline = 1, nodeBorder = 2, nodeText = 3, picNodeCount = 4 };
  // The layer of node `node`: wipeout frames, reference lines, texts (border and rows).
  static VxKd::layerNumbers layerOfNode(int node);

  CKdDimtext();
  CKdDimtext(const CKdDimtext& other) = default;
  CKdDimtext& operator=(const CKdDimtext& other) = default;
  virtual ~CKdDimtext() = default;
  // Copies every field of `other`.
  void copyFrom(const CKdDimtext& other) { *this = other; }

  // The null report GUID, no rows, columns or cells, colour and sizes 0, no style, placed at
  // the origin along x in the xy plane, no reference points, options 0, the default font,
  // and masking allowed as the user's preference "Allow to add wipeout frame" says.
  void reset();
  // Resets every cell and sets the count to 0.
  void resetCells();

  const CKdGuid& reportGuid() const { return reportGuid_; }
  void setReportGuid(const CKdGuid& guid) { reportGuid_ = guid; }
  // The GUID of the text form; the null GUID when `text` does not parse.
  void setReportGuid(const char* text) { reportGuid_ = CKdGuid(text); }

  short rowCount() const { return rowCount_; }
  short colCount() const { return colCount_; }
  short textColor() const { return textColor_; }
  void setTextColor(short color) { textColor_ = color; }
  float textHeight() const { return textHeight_; }
  void setTextHeight(float height) { textHeight_ = height; }
  // The height the rows are laid out with; build makes it the text height.
  float fontHeight() const { return fontHeight_; }
  void setFontHeight(float height) { fontHeight_ = height; }
  float fixedBorderDim() const { return fixedBorderDim_; }
  void setFixedBorderDim(float dim) { fixedBorderDim_ = dim; }
  float refItemSize() const { return refItemSize_; }
  void setRefItemSize(float size) { refItemSize_ = size; }
  const CWsz& styleName() const { return styleName_; }
  void setStyleName(const wchar_t* name) { styleName_.set(name); }
  const CGmPoint& pos() const { return pos_; }
  void setPos(const CGmPoint& pos) { pos_ = pos; }
  const CGmVector& dir() const { return dir_; }
  void setDir(const CGmVector& dir) { dir_ = dir; }
  const CGmVector& normal() const { return normal_; }
  void setNormal(const CGmVector& normal) { normal_ = normal; }
  const CKdDimtextOptions& options() const { return options_; }
  CKdDimtextOptions& options() { return options_; }
  void setOptions(const CKdDimtextOptions& options) { options_ = options; }
  bool getAllowMasking() const { return allowMasking_; }
  void setAllowMasking(bool allow) { allowMasking_ = allow; }

  // The points the reference line points at, in drawing coordinates.
  void addRefPoint(const CGmPoint& point) { refPoints_.append(point); }
  const CGmPointArray& getRefpoints() const { return refPoints_; }
  void setRefpoints(const CGmPointArray& points) { refPoints_ = points; }

  // The font the rows are measured and drawn in: the type face of the text style, or
  // "Arial" for a style that names none (the host's shape fonts have no metrics here, and
  // their texts are measured as Arial).
  const CWsz& font() const { return font_; }
  void setFont(const wchar_t* font) { font_.set(font && *font ? font : kDefaultFont); }
  // Takes the font of the style named styleName() from `styles`; the default font when
  // there is no such style or it names no type face.
  void setFontFromStyles(const CKdTextStyleDefArray& styles);

  // ---- Cells ----

  int nCell() const { return nCell_; }
  // Stores a copy at the end; false when all kMaxCells are used.
  bool appendCell(const CKdDimtextCell& cell);
  // Stores a copy at `i` without changing the count. False unless 0 <= i < kMaxCells: the
  // index is checked against the capacity, not the count, so a caller may fill cells first
  // and count them later.
  bool setCellAt(int i, const CKdDimtextCell& cell);
  // A copy of cell `i`; false unless 0 <= i < nCell().
  bool getCellAt(int i, CKdDimtextCell& cell) const;
  // The cell at `i`, or null unless 0 <= i < nCell().
  const CKdDimtextCell* cellAt(int i) const { return i >= 0 && i < nCell_ ? &cells_[i] : nullptr; }
  // Removes cell `i`, moving the later ones down; false unless 0 <= i < nCell().
  bool delCellAt(int i);
  // The first cell whose property equals `name` ignoring case; null when none.
  CKdDimtextCell* findProperty(const wchar_t* name);
  bool hasProperty(const wchar_t* name) const;

  // True as soon as one cell is neither a line break nor a note; a constant cell counts,
  // deliberately.
  bool refObjectRequired() const;
  // True for the reference lines that end in an item: target line, arrow, filled circle.
  bool refItemSizeRequired() const;
  // The margin around the text and half the gap between rows: 0.3 × the font height.
  double marginal() const { return 0.3 * fontHeight_; }
  // Orders the cells by row, then by column (an exchange sort: equal cells may change
  // places).
  void sortCells();
  // Row count 1 + the largest row, column count 1 + the largest column; both 0 without
  // cells.
  void updateRowAndColCounters();

  // ---- Format ----

  // Resets, then makes the cells of `format`'s string: text outside braces a constant cell,
  // a braced name (trimmed) a property cell, "{*CRNL*}" (any case) a new row. Copies the
  // options, style, sizes and colour; the font height is the text height. False when the
  // string is empty, longer than kMaxFormatChars, or has a "{" without its "}" (the text is
  // then left partly built). Cells beyond kMaxCells are dropped, but rows and columns still
  // count. The column count is that of the widest row (0 without cells).
  bool build(const CKdDimtextFormat& format);
  // Writes the options, style, sizes and colour into `format` and rebuilds its string from
  // the cells in order: "{*CRNL*}" for each row break, a property in braces, a constant as
  // it stands, and "{*NOTE*}" once for all note lines. True.
  bool parse(CKdDimtextFormat& format) const;

  // ---- Notes ----

  // Sets the note held by the cells of property `name` (ignoring case) to `text`, one cell
  // per line (wrapped at kNoteLineChars), stacked in the rows from the note's first row
  // down, in its column. Former further lines are deleted first. When two or more lines are
  // written, the other cells of that column below the note's first row move down by one row
  // only, whatever the number of lines: the caller sorts and measures again afterwards.
  // Lines beyond the cell capacity are dropped. The row count follows; the column count is
  // not touched. False, changing nothing, when no cell has that property.
  bool setNote(const wchar_t* name, const wchar_t* text);
  // The lines of the note `name`, from row 0 to row kMaxCells, joined with "\r\n".
  void getNote(const wchar_t* name, CWsz& out) const;

  // ---- Measuring ----

  // Measures every cell's width in font() at the font height with `metrics`. A cell is
  // measured in the context of its row: its width is what it adds to the text of the cells
  // before it in that row (kerning at the joint included), so that the widths of a row add
  // up to exactly the width of the row's text as drawn.
  void measureCells(CGmTextMetrics& metrics);
  // The sum of the widths of the cells of `row`.
  double rowWidth(int row) const;
  // The width of the widest row and the height of the rows: row count × the font height
  // plus twice marginal() between rows (a row pitch of 1.6 font heights). 0 × 0 without
  // rows.
  void textBoundBox(double& w, double& h) const;
  // The fixed border size both ways when the text has one (fixedBorderDim above 0.1);
  // otherwise the text's box with marginal() added on every side.
  void boundBox(double& w, double& h) const;
  // True when fixedBorderDim is above 0.1 (0.1 itself is not).
  bool isFixedSize() const { return fixedBorderDim_ > 0.1f; }

  // ---- Drawing ----

  // Draws the text of `format` as the format editor shows it: resets, builds, sets the font
  // from `styles` (when given), fills every property cell with the sample text of its
  // definition in `defs` (a special property: of its type; a name that is neither: the
  // name in braces, so that a misspelt name shows) and the note with kPreviewNote, sorts
  // and measures; then places the text at the origin and a reference point below and to
  // the left of the border, and draws it. False, drawing nothing, when the format does not
  // build.
  bool createPreviewPic(CGmModel& model, const CKdDimtextFormat& format,
                        const CKdPropertyDefArray& defs,
                        const CKdTextStyleDefArray* styles = nullptr);

  // The editor's label of the fixed border size of `borderType` ("Diameter:" for the
  // circles, "Width:" for the other closed borders), and of the reference item size of
  // `reflineType` ("Target line length:", "Arrow length:", "Circle diameter:"); "" where
  // the size does not apply.
  static CWsz fixedBorderDimLabel(short borderType);
  static CWsz refItemSizeLabel(short reflineType);

 protected:
  // Measures the cells (measureCells with the model's metrics) and adds the text to
  // `model` as its four nodes, placed at pos along dir. A host draws a placed text through
  // a class of its own derived from this one. False, adding nothing, when the font height
  // is not a positive number.
  bool createPic(CGmModel& model);

 private:
  // The index of the first cell of property `name`, or -1.
  int indexOfProperty(const wchar_t* name) const;

  CKdGuid reportGuid_;
  int16_t rowCount_ = 0;
  int16_t colCount_ = 0;
  int16_t textColor_ = 0;
  float textHeight_ = 0;
  float fontHeight_ = 0;
  float fixedBorderDim_ = 0;
  float refItemSize_ = 0;
  CWsz styleName_;
  CGmPoint pos_;
  CGmVector dir_{1, 0, 0};
  CGmVector normal_{0, 0, 1};
  CGmPointArray refPoints_;
  CKdDimtextOptions options_;
  int32_t nCell_ = 0;
  CKdDimtextCell cells_[kMaxCells];
  bool allowMasking_ = false;
  CWsz font_ = kDefaultFont;
};

// What the install dialog is given and gives back: the chosen format and the text to
// install.
struct VXKD_API CKdDimtextInputData {
  long formatId = 0;
  CKdDimtext dimtext;
};
