#include "vxkd/dimtext/dimtext.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <vector>

#include "dimtext/dimtext_border.h"
#include "vxkd/foundation/preferences.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/sz.h"
#include "vxkd/platform/text_metrics.h"
#include "vxkd/properties/std_property.h"
#include "vxkd/ui/language.h"

namespace {

using O = CKdDimtextOptions;

constexpr const wchar_t* kNewLineToken = L"*CRNL*";
constexpr const wchar_t* kNoteToken = L"*NOTE*";
// The note's first row is looked for below this one.
constexpr int kNoRow = 9999;

// The layer of each node of a drawing, in node order.
constexpr VxKd::layerNumbers kNodeLayers[] = {VxKd::layerMask, VxKd::layerDimtextRefline,
                                              VxKd::layerDimtextText, VxKd::layerDimtextText};
static_assert(std::size(kNodeLayers) == CKdDimtext::picNodeCount);

// A language text: its id and the default wording.
struct Text {
  long id;
  const wchar_t* text;
};
constexpr Text kNoLabel = {0, nullptr};
constexpr Text kDiameterLabel = {3569, L"#Diameter:"};
constexpr Text kWidthLabel = {3600, L"#Width:"};
// The label of the fixed size of each border type, and of the item size of each reference
// line type, by value.
constexpr Text kFixedBorderLabels[] = {kNoLabel,       kNoLabel,    kNoLabel,
                                       kWidthLabel,    kWidthLabel, kDiameterLabel,
                                       kDiameterLabel, kNoLabel,    kWidthLabel};
constexpr Text kRefItemLabels[] = {kNoLabel,
                                   kNoLabel,
                                   {3553, L"#Target line length:"},
                                   {3552, L"#Arrow length:"},
                                   {3551, L"#Circle diameter:"}};

template <size_t N>
CWsz labelOf(const Text (&labels)[N], short value) {
  if (value < 0 || static_cast<size_t>(value) >= N || !labels[value].text) return CWsz();
  return VxKd::lngDbText(labels[value].id, labels[value].text);
}

bool isPristine(const CKdDimtextCell& c) {
  return c.row() == 0 && c.col() == 0 && c.width() == 0 && c.property().isEmpty() &&
         c.text().isEmpty();
}

// The alignment of the model's text lines for an alignment option; left for one out of range.
CGmAlign alignOf(short flags) {
  switch (flags) {
    case O::alignCenter:
      return CGmAlign::center;
    case O::alignRight:
      return CGmAlign::right;
    default:
      return CGmAlign::left;
  }
}

// The rows of `text` in its own frame, `pos` on the top edge of the first row at the left
// end, the middle or the right end as the text is aligned.
VxKd::DimtextRows rowsOf(const CKdDimtext& text) {
  VxKd::DimtextRows rows;
  text.textBoundBox(rows.width, rows.height);
  const CGmAlign align = alignOf(text.options().alignmentFlags());
  rows.left = align == CGmAlign::left     ? 0
              : align == CGmAlign::center ? -rows.width / 2
                                          : -rows.width;
  rows.top = 0;
  rows.fontHeight = text.fontHeight();
  rows.margin = text.marginal();
  rows.rows = text.rowCount();
  return rows;
}

VxKd::DimtextBorder borderOf(const CKdDimtext& text, const VxKd::DimtextRows& rows) {
  return VxKd::makeDimtextBorder(text.options().borderType(), rows,
                                 text.isFixedSize() ? text.fixedBorderDim() : 0);
}

// Where the text's frame lies in the drawing.
CGmTransform placementOf(const CKdDimtext& text) {
  return CGmTransform::coordinateSystem(text.pos(), text.dir(), text.normal().cross(text.dir()));
}

// A point of the drawing in the frame that `t` places.
CGmPoint toFrame(const CGmTransform& t, const CGmPoint& p) {
  const CGmPoint origin = t.apply(CGmPoint());
  const CGmVector x = t.apply(CGmVector(1, 0)), y = t.apply(CGmVector(0, 1));
  const double dx = p.x - origin.x, dy = p.y - origin.y;
  return {(dx * x.x + dy * x.y) / (x.x * x.x + x.y * x.y),
          (dx * y.x + dy * y.y) / (y.x * y.x + y.y * y.y)};
}

// The sample text a preview shows for property `name`.
CWsz previewTextOf(const CWsz& name, const CKdPropertyDefArray& defs) {
  if (VxKd::getSpecialPropertyDbId(name) == VxKd::spEmpty) return CWsz();
  if (VxKd::getSpecialPropertyDbId(name) != 0)
    return CKdPropertyValue::sampleText(VxKd::getSpecialPropertyValueType(name),
                                        VxKd::getSpecialPropertyDecimals(name));
  if (const CKdPropertyDef* def = defs.findName(name)) {
    CWsz text;
    def->getSampleText(text);
    return text;
  }
  // Shown as written, so that a misspelt name is seen in the editor.
  return CWsz(L"{" + name.str() + L"}");
}

}  // namespace

// ---- CKdDimtext: fields and cells ----

VxKd::layerNumbers CKdDimtext::layerOfNode(int node) {
  return node >= 0 && node < picNodeCount ? kNodeLayers[node] : VxKd::layerDimtextText;
}

CKdDimtext::CKdDimtext() { reset(); }

void CKdDimtext::reset() {
  reportGuid_ = CKdGuid(nullptr);
  rowCount_ = colCount_ = 0;
  textColor_ = 0;
  textHeight_ = fontHeight_ = fixedBorderDim_ = refItemSize_ = 0;
  styleName_.empty();
  pos_ = CGmPoint();
  dir_ = CGmVector(1, 0, 0);
  normal_ = CGmVector(0, 0, 1);
  refPoints_.empty();
  options_.reset();
  allowMasking_ = VxKd::allowDimtextMasking();
  font_.set(kDefaultFont);
  resetCells();
}

void CKdDimtext::resetCells() {
  // Most cells are untouched: skipping them keeps a reset cheap.
  for (CKdDimtextCell& cell : cells_)
    if (!isPristine(cell)) cell.reset();
  nCell_ = 0;
}

void CKdDimtext::setFontFromStyles(const CKdTextStyleDefArray& styles) {
  const CKdTextStyleDef* style = styles.findStyle(styleName_);
  setFont(style ? style->typeFace().wsz() : nullptr);
}

bool CKdDimtext::appendCell(const CKdDimtextCell& cell) {
  if (nCell_ >= kMaxCells) return false;
  cells_[nCell_++] = cell;
  return true;
}

bool CKdDimtext::setCellAt(int i, const CKdDimtextCell& cell) {
  if (i < 0 || i >= kMaxCells) return false;
  cells_[i] = cell;
  return true;
}

bool CKdDimtext::getCellAt(int i, CKdDimtextCell& cell) const {
  if (i < 0 || i >= nCell_) return false;
  cell = cells_[i];
  return true;
}

bool CKdDimtext::delCellAt(int i) {
  if (i < 0 || i >= nCell_) return false;
  std::move(cells_ + i + 1, cells_ + nCell_, cells_ + i);
  cells_[--nCell_].reset();
  return true;
}

int CKdDimtext::indexOfProperty(const wchar_t* name) const {
  for (int i = 0; i < nCell_; ++i)
    if (cuSz::equalNoCase(cells_[i].property(), name ? name : L"")) return i;
  return -1;
}

CKdDimtextCell* CKdDimtext::findProperty(const wchar_t* name) {
  const int i = indexOfProperty(name);
  return i < 0 ? nullptr : &cells_[i];
}

bool CKdDimtext::hasProperty(const wchar_t* name) const { return indexOfProperty(name) >= 0; }

bool CKdDimtext::refObjectRequired() const {
  for (int i = 0; i < nCell_; ++i) {
    const CWsz& p = cells_[i].property();
    if (!cuSz::equalNoCase(p, kNewLineToken) && !cuSz::equalNoCase(p, kNoteToken)) return true;
  }
  return false;
}

bool CKdDimtext::refItemSizeRequired() const {
  const short type = options_.reflineType();
  return type == O::reflineLineAndTarget || type == O::reflineArrow ||
         type == O::reflineFilledCircle;
}

void CKdDimtext::sortCells() {
  for (int i = 0; i < nCell_; ++i)
    for (int j = i + 1; j < nCell_; ++j) {
      const CKdDimtextCell& a = cells_[i];
      const CKdDimtextCell& b = cells_[j];
      if (b.row() < a.row() || (b.row() == a.row() && b.col() < a.col()))
        std::swap(cells_[i], cells_[j]);
    }
}

void CKdDimtext::updateRowAndColCounters() {
  int rows = 0, cols = 0;
  for (int i = 0; i < nCell_; ++i) {
    rows = std::max(rows, cells_[i].row() + 1);
    cols = std::max(cols, cells_[i].col() + 1);
  }
  rowCount_ = static_cast<int16_t>(rows);
  colCount_ = static_cast<int16_t>(cols);
}

// ---- Format ----

bool CKdDimtext::build(const CKdDimtextFormat& format) {
  reset();
  const std::wstring& s = format.fmt().str();
  if (s.empty() || s.size() > static_cast<size_t>(kMaxFormatChars)) return false;
  options_ = format.options();
  styleName_ = format.styleName();
  fixedBorderDim_ = format.fixedBorderDim();
  refItemSize_ = format.refItemSize();
  textColor_ = format.textColor();
  textHeight_ = fontHeight_ = format.textHeight();

  int row = 0, col = 0, widest = -1;
  const auto addCell = [&](const wchar_t* property, std::wstring_view text) {
    // Beyond the capacity the cell is dropped, but its column still counts.
    appendCell(
        CKdDimtextCell(static_cast<short>(row), static_cast<short>(col), property, CWsz(text)));
    widest = std::max(widest, col);
    ++col;
  };
  for (size_t i = 0; i < s.size();) {
    if (s[i] == L'{') {
      const size_t close = s.find(L'}', i + 1);
      if (close == std::wstring::npos) return false;
      CWsz token(s.substr(i + 1, close - i - 1));
      token.trim();
      i = close + 1;
      if (token.isEqualNoCase(kNewLineToken)) {
        ++row;
        col = 0;
      } else {
        addCell(token, L"");
      }
    } else {
      size_t next = s.find(L'{', i);
      if (next == std::wstring::npos) next = s.size();
      addCell(L"", std::wstring_view(s).substr(i, next - i));
      i = next;
    }
  }
  rowCount_ = static_cast<int16_t>(row + 1);
  colCount_ = static_cast<int16_t>(widest + 1);
  return true;
}

bool CKdDimtext::parse(CKdDimtextFormat& format) const {
  format.setOptions(options_);
  format.setStyleName(styleName_);
  format.setTextHeight(textHeight_);
  format.setFixedBorderDim(fixedBorderDim_);
  format.setRefItemSize(refItemSize_);
  format.setTextColor(textColor_);
  std::wstring out;
  int row = 0;
  bool noteWritten = false;
  for (int i = 0; i < nCell_; ++i) {
    const CKdDimtextCell& cell = cells_[i];
    const bool note = cell.property() == kNoteToken;
    // The note's further lines are its own; they are written by "{*NOTE*}" alone.
    if (note && noteWritten) continue;
    // Row breaks go before the note too: without them a note on a row of its own would
    // move up into the row before it.
    for (; row < cell.row(); ++row) out += L"{" + std::wstring(kNewLineToken) + L"}";
    if (note) {
      out += L"{" + std::wstring(kNoteToken) + L"}";
      noteWritten = true;
    } else if (!cell.property().isEmpty()) {
      out += L"{" + cell.property().str() + L"}";
    } else {
      out += cell.text().str();
    }
  }
  format.setFmt(out.c_str());
  return true;
}

// ---- Notes ----

bool CKdDimtext::setNote(const wchar_t* name, const wchar_t* text) {
  int count = 0, firstRow = kNoRow;
  for (int i = 0; i < nCell_; ++i) {
    if (!cuSz::equalNoCase(cells_[i].property(), name ? name : L"")) continue;
    ++count;
    firstRow = std::min<int>(firstRow, cells_[i].row());
  }
  if (count == 0) return false;
  if (count > 1)
    for (int i = nCell_ - 1; i >= 0; --i)
      if (cuSz::equalNoCase(cells_[i].property(), name) && cells_[i].row() > firstRow) delCellAt(i);

  const int first = indexOfProperty(name);
  CWszArray lines;
  lines.parseMemo(text ? text : L"", kNoteLineChars);
  cells_[first].setText(lines.isEmpty() ? L"" : lines.at(0).wsz());

  const int existing = nCell_;
  CKdDimtextCell line = cells_[first];
  int written = 1;
  for (int k = 1; k < lines.length(); ++k) {
    line.setRow(static_cast<short>(line.row() + 1));
    line.setText(lines.at(k));
    if (!appendCell(line)) break;
    ++written;
  }
  if (written >= 2) {
    const short noteRow = cells_[first].row(), noteCol = cells_[first].col();
    for (int i = 0; i < existing; ++i)
      if (cells_[i].row() > noteRow && cells_[i].col() == noteCol)
        cells_[i].setRow(static_cast<short>(cells_[i].row() + 1));
  }
  int largest = -1;
  for (int i = 0; i < nCell_; ++i) largest = std::max<int>(largest, cells_[i].row());
  rowCount_ = static_cast<int16_t>(largest + 1);
  return true;
}

void CKdDimtext::getNote(const wchar_t* name, CWsz& out) const {
  out.empty();
  bool first = true;
  for (int row = 0; row <= kMaxCells; ++row)
    for (int i = 0; i < nCell_; ++i) {
      const CKdDimtextCell& cell = cells_[i];
      if (cell.row() != row || !cuSz::equalNoCase(cell.property(), name ? name : L"")) continue;
      if (!first) out.cat(L"\r\n");
      out.cat(cell.text());
      first = false;
    }
}

// ---- Measuring ----

void CKdDimtext::measureCells(CGmTextMetrics& metrics) {
  // Each row's cells in column order (array order among equal columns), as they are drawn.
  int order[kMaxCells];
  for (int i = 0; i < nCell_; ++i) order[i] = i;
  std::stable_sort(order, order + nCell_, [&](int a, int b) {
    const CKdDimtextCell &x = cells_[a], &y = cells_[b];
    return x.row() != y.row() ? x.row() < y.row() : x.col() < y.col();
  });
  std::wstring prefix;
  double prefixWidth = 0;
  for (int k = 0; k < nCell_; ++k) {
    CKdDimtextCell& cell = cells_[order[k]];
    if (k == 0 || cells_[order[k - 1]].row() != cell.row()) {
      prefix.clear();
      prefixWidth = 0;
    }
    prefix += cell.text().str();
    const double width = metrics.textWidth(prefix, font_, fontHeight_);
    cell.setWidth(width - prefixWidth);
    prefixWidth = width;
  }
}

double CKdDimtext::rowWidth(int row) const {
  double w = 0;
  for (int i = 0; i < nCell_; ++i)
    if (cells_[i].row() == row) w += cells_[i].width();
  return w;
}

void CKdDimtext::textBoundBox(double& w, double& h) const {
  w = h = 0;
  // Without rows there is no text: no height either (the row formula would give a
  // negative one).
  if (rowCount_ <= 0) return;
  for (int row = 0; row < rowCount_; ++row) w = std::max(w, rowWidth(row));
  h = (rowCount_ - 1) * 2 * marginal() + rowCount_ * static_cast<double>(fontHeight_);
}

void CKdDimtext::boundBox(double& w, double& h) const {
  if (isFixedSize()) {
    w = h = fixedBorderDim_;
    return;
  }
  textBoundBox(w, h);
  w += 2 * marginal();
  h += 2 * marginal();
}

// ---- Drawing ----

bool CKdDimtext::createPic(CGmModel& model) {
  if (!(fontHeight_ > 0) || !std::isfinite(fontHeight_)) return false;
  measureCells(model.metrics());
  const VxKd::DimtextRows rows = rowsOf(*this);
  const VxKd::DimtextBorder border = borderOf(*this, rows);
  const CGmTransform place = placementOf(*this);
  const int16_t oldColor = model.color();

  model.setColor(CGmModel::colorByLayer);
  if (allowMasking_) {
    // The wipeout follows the border's outline; the open borders mask the text's box.
    if (border.round)
      model.addCircle(border.centre, border.radius, CGmFill::wipeout, place);
    else
      model.addPolyline(border.area, true, CGmFill::wipeout, place);
  }
  model.closeNode();

  CGmPoint start;
  if (!refPoints_.isEmpty() && border.refLineStart(toFrame(place, refPoints_[0]), start))
    VxKd::addDimtextRefline(model, options_.reflineType(), place.apply(start), refPoints_,
                            refItemSize_);
  model.closeNode();

  model.setColor(textColor_);
  for (const CGmPolyline& stroke : border.strokes)
    model.addPolyline(stroke.points, stroke.closed, stroke.fill, place);
  if (border.drawCircle) model.addCircle(border.centre, border.radius, CGmFill::none, place);
  model.closeNode();

  // One text line per row, the cells joined in column order: the host gets one text per
  // row, and measureCells made the cells' widths add up to its width.
  std::vector<std::wstring> rowTexts(std::max<int>(rowCount_, 0));
  int order[kMaxCells];
  for (int i = 0; i < nCell_; ++i) order[i] = i;
  std::stable_sort(order, order + nCell_,
                   [&](int a, int b) { return cells_[a].col() < cells_[b].col(); });
  for (int k = 0; k < nCell_; ++k) {
    const CKdDimtextCell& cell = cells_[order[k]];
    if (cell.row() >= 0 && cell.row() < rowCount_) rowTexts[cell.row()] += cell.text().str();
  }
  const CGmAlign align = alignOf(options_.alignmentFlags());
  for (int row = 0; row < rowCount_; ++row)
    if (!rowTexts[row].empty())
      model.addText(rowTexts[row].c_str(), {0, rows.baseline(row)}, {1, 0}, fontHeight_, font_,
                    align, place);
  model.closeNode();
  model.setColor(oldColor);
  return true;
}

bool CKdDimtext::createPreviewPic(CGmModel& model, const CKdDimtextFormat& format,
                                  const CKdPropertyDefArray& defs,
                                  const CKdTextStyleDefArray* styles) {
  if (!build(format)) return false;
  if (styles) setFontFromStyles(*styles);
  for (int i = 0; i < nCell_; ++i) {
    const CWsz& property = cells_[i].property();
    if (!property.isEmpty() && !cuSz::equalNoCase(property, kNoteToken))
      cells_[i].setText(previewTextOf(property, defs));
  }
  setNote(kNoteToken, kPreviewNote);
  sortCells();
  measureCells(model.metrics());

  // The reference point lies below and to the left of the border, where a leader to it
  // shows the border's start and the reference line's item clearly.
  const VxKd::DimtextBorder border = borderOf(*this, rowsOf(*this));
  CGmBox extent;
  for (const CGmPoint& p : border.area) extent.extend(p);
  if (border.round) {
    extent.extend(border.centre - CGmVector(border.radius, border.radius));
    extent.extend(border.centre + CGmVector(border.radius, border.radius));
  }
  refPoints_.empty();
  addRefPoint(extent.minimum() - CGmVector(3 * fontHeight_, 2 * fontHeight_));
  return createPic(model);
}

CWsz CKdDimtext::fixedBorderDimLabel(short borderType) {
  return labelOf(kFixedBorderLabels, borderType);
}

CWsz CKdDimtext::refItemSizeLabel(short reflineType) {
  return labelOf(kRefItemLabels, reflineType);
}
