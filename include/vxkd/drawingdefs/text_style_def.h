#pragma once
// CKdTextStyleDef, a text style that the dataset carries so that every drawing can create it
// (dimension texts, reports and labels use them), and CKdTextStyleDefArray, the project's
// list of them, which also reads and writes STY files (sections "[TEXTSTYLE]" of key=value
// lines).

#include <cstdint>
#include <string>

#include "vxkd/drawingdefs/def_import_report.h"
#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"

class CQbase;
class CKdCommonListItemArray;

class VXKD_API CKdTextStyleDef {
 public:
  CKdTextStyleDef() = default;

  // Empties the texts, clears the flags and numbers, x scale 1.0.
  void reset() { *this = CKdTextStyleDef(); }

  long dbId() const { return dbId_; }
  void setDbId(long id) { dbId_ = static_cast<int32_t>(id); }
  const CWsz& name() const { return name_; }
  void setName(const wchar_t* name) { name_.set(name); }
  const CWsz& typeFace() const { return typeFace_; }
  void setTypeFace(const wchar_t* typeFace) { typeFace_.set(typeFace); }
  const CWsz& fontFile() const { return fontFile_; }
  void setFontFile(const wchar_t* fontFile) { fontFile_.set(fontFile); }
  // Not stored in the dataset; only STY files carry it.
  const CWsz& bigFontFile() const { return bigFontFile_; }
  void setBigFontFile(const wchar_t* bigFontFile) { bigFontFile_.set(bigFontFile); }
  bool isBold() const { return bold_; }
  void setBold(bool on) { bold_ = on; }
  bool isItalic() const { return italic_; }
  void setItalic(bool on) { italic_ = on; }
  bool hasShapeFile() const { return hasShapeFile_; }
  void setHasShapeFile(bool on) { hasShapeFile_ = on; }
  bool isVertical() const { return vertical_; }
  void setVertical(bool on) { vertical_ = on; }
  long charSet() const { return charSet_; }
  void setCharSet(long value) { charSet_ = static_cast<int32_t>(value); }
  long pitch() const { return pitch_; }
  void setPitch(long value) { pitch_ = static_cast<int32_t>(value); }
  long family() const { return family_; }
  void setFamily(long value) { family_ = static_cast<int32_t>(value); }
  uint8_t flags() const { return flags_; }
  void setFlags(uint8_t value) { flags_ = value; }
  float oblAngle() const { return oblAngle_; }
  void setOblAngle(float value) { oblAngle_ = value; }
  float textSize() const { return textSize_; }
  void setTextSize(float value) { textSize_ = value; }
  float xScale() const { return xScale_; }
  void setXScale(float value) { xScale_ = value; }

  // The record key: dbId with "%6.6ld".
  std::string buildDbId() const;

  // Resets, then reads the current record "LX": the id from the key and every field the
  // record has; a flag is set exactly when its character of field 1507 is "1". False,
  // leaving the style reset, when the key is not a number of 1 or more.
  bool readFrom(CQbase& db);
  // Stores the style as record "LX" with every field written. Field 1507 holds the flags
  // as "1"/"0" in the order bold, italic, vertical, has shape file (the last two the other
  // way round than in the style, as the file format has always had them). The big font
  // file is not stored. False when the record cannot be created or saved.
  bool saveTo(CQbase& db) const;
  // Deletes record "LX" of this id.
  bool deleteFrom(CQbase& db) const;

  bool operator==(const CKdTextStyleDef& other) const = default;

 private:
  CWsz name_;
  CWsz typeFace_;
  CWsz fontFile_;
  CWsz bigFontFile_;
  bool bold_ = false;
  bool italic_ = false;
  bool hasShapeFile_ = false;
  bool vertical_ = false;
  int32_t charSet_ = 0;
  int32_t pitch_ = 0;
  int32_t family_ = 0;
  uint8_t flags_ = 0;
  float oblAngle_ = 0;
  float textSize_ = 0;
  float xScale_ = 1.0f;
  int32_t dbId_ = 0;
};

// The text styles of a project.
class VXKD_API CKdTextStyleDefArray : public CKdOwningArray<CKdTextStyleDef> {
 public:
  using CKdOwningArray<CKdTextStyleDef>::append;

  // The sort keys of the editor list; negative for descending.
  enum sortKey { sortByName = 1, sortByFontFile = 2, sortByTypeFace = 3 };

  // The largest id of a style.
  static constexpr long kMaxId = 999999;
  // Longer lines of an STY file belong to no style: a section holding one is not imported.
  static constexpr int kMaxStyLineChars = 1024;

  long idAt(int index) const override;
  const wchar_t* nameAt(int index) const override;

  // Appends a copy of `style`; one without an id (below 1) gets the next free id first, so
  // that every style can be stored and read back. False for null, or when no id is free.
  bool append(const CKdTextStyleDef* style);

  // The first style of that name, ignoring case; null if none.
  CKdTextStyleDef* findStyle(const wchar_t* name) const { return findName(name); }

  // Replaces the array by the styles of the records "LX", in key order; records whose key
  // is no id are left out. True.
  bool readFrom(CQbase& db);
  // Saves every style; one failed record does not stop the others. True when all were
  // saved. Styles removed from the array are not deleted here (deleteFrom does that).
  bool saveTo(CQbase& db) const;

  // The styles as list rows: the position in the array as id, the name as text.
  void asCommonListItems(CKdCommonListItemArray& out) const;
  // Fills the combo box `comboId` of the dialog `dlg` with the names in array order and
  // selects the (last) one whose name equals `selected` ignoring case; none when no name
  // matches. Nothing happens when `dlg` names no dialog.
  void fillCb(cuWin::HWND dlg, int comboId, const wchar_t* selected) const;

  // Writes every style into the STY file at `path` (replaced as a whole, or left as it
  // was): a banner with today's date, then per style a section "[TEXTSTYLE]" with its keys,
  // reals with four decimals and "PriorSize" always 1.0000. False, with an error box naming
  // the file and the reason, when it cannot be written.
  bool exportSty(cuWin::HWND hwnd, const wchar_t* path) const;
  // The same for a file name asked with the save-file dialog ("STY" appended to a name
  // without extension). False when cancelled or the file cannot be written.
  bool exportSty(cuWin::HWND hwnd) const;

  // Imports the styles of the STY file at `path`: each "[TEXTSTYLE]" section is one style.
  // Keys are compared ignoring case; unknown keys and other sections are ignored, a key
  // missing from a section (or with a value that is no number where one is needed) leaves
  // its default. A style whose name exists (ignoring case) replaces that style, keeping its
  // id; the others are appended with new ids. A section without a name is not imported.
  // When the file cannot be read, is binary, or has no style to import, the warning "No text
  // styles found in the file" is shown, nothing changes and the result is false.
  bool importSty(cuWin::HWND hwnd, const wchar_t* path, CKdDefImportReport* report = nullptr);
  // The same for a file name asked with the open-file dialog; false when cancelled.
  bool importSty(cuWin::HWND hwnd, CKdDefImportReport* report = nullptr);

 protected:
  // Keys: name, font file, type face (each ignoring case).
  int sortCmp(int sortId, const void* a, const void* b) const override;
};
