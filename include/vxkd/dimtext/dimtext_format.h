#pragma once
// CKdDimtextFormat, a named recipe for the text block placed next to an installed object
// (which property values in which rows, constant words between them, text style, height,
// colour, reference line and border), and CKdDimtextFormatArray, the dataset's list of them.
//
// The format string names properties in braces: "{Width} x {Height}{*CRNL*}{*NOTE*}".
// Text outside braces is constant; "{*CRNL*}" starts a new row; "{*NOTE*}" marks where the
// free notes go. Braces neither nest nor escape.

#include <cstdint>
#include <string>
#include <vector>

#include "vxkd/foundation/obj_array.h"
#include "vxkd/foundation/record_origin.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_def.h"

class CQbase;

// The reference line, the alignment of the rows and the border of a format.
class VXKD_API CKdDimtextOptions {
 public:
  enum reflineType : short {
    reflineNone = 0,
    reflineLineOnly = 1,
    reflineLineAndTarget = 2,
    reflineArrow = 3,
    reflineFilledCircle = 4,
  };
  enum alignmentFlag : short { alignLeft = 0, alignCenter = 1, alignRight = 2 };
  enum borderType : short {
    borderNone = 0,
    borderFirstRowUnderlined = 1,
    borderAllRowsUnderlined = 2,
    borderRectangle = 3,
    borderDiamond = 4,
    borderCircle = 5,
    borderSplitCircle = 6,
    borderBreakLine = 7,
    borderHexagon = 8,
  };

  short reflineType() const { return reflineType_; }
  void setReflineType(short type) { reflineType_ = type; }
  short alignmentFlags() const { return alignmentFlags_; }
  void setAlignmentFlags(short flags) { alignmentFlags_ = flags; }
  short borderType() const { return borderType_; }
  void setBorderType(short type) { borderType_ = type; }
  // All three 0.
  void reset() { *this = CKdDimtextOptions(); }

  // The names users read, in the active language; "" for a value out of range.
  static CWsz getReflineTypeName(short type);
  static CWsz getAlignmentFlagName(short flags);
  static CWsz getBorderTypeName(short type);

  // The three short fields of the current record; a missing field leaves its value. True.
  bool readFrom(CQbase& db);
  // Sets the three fields of the current record. True.
  bool saveTo(CQbase& db) const;

  bool operator==(const CKdDimtextOptions& other) const = default;

 private:
  short reflineType_ = reflineNone;
  short alignmentFlags_ = alignLeft;
  short borderType_ = borderNone;
};

// One dimension text format, stored as record "RT" under its id. A new format carries the
// defaults that a record without the field reads as.
class VXKD_API CKdDimtextFormat {
 public:
  // The key built by buildDbId needs at most this many characters, terminator included.
  static constexpr int kDbIdSize = 12;

  CKdDimtextFormat() = default;
  CKdDimtextFormat(const CKdDimtextFormat& other) = default;
  CKdDimtextFormat& operator=(const CKdDimtextFormat& other) = default;

  long id() const { return id_; }
  void setId(long id) { id_ = static_cast<int32_t>(id); }
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* desc) { desc_.set(desc); }
  const CWsz& fmt() const { return fmt_; }
  void setFmt(const wchar_t* fmt) { fmt_.set(fmt); }
  const CWsz& styleName() const { return styleName_; }
  void setStyleName(const wchar_t* name) { styleName_.set(name); }
  float textHeight() const { return textHeight_; }
  void setTextHeight(float height) { textHeight_ = height; }
  // Not positive: the border follows the text.
  float fixedBorderDim() const { return fixedBorderDim_; }
  void setFixedBorderDim(float dim) { fixedBorderDim_ = dim; }
  // The size of the arrow or filled circle at the end of the reference line.
  float refItemSize() const { return refItemSize_; }
  void setRefItemSize(float size) { refItemSize_ = size; }
  // A colour number; 256 is the layer's colour.
  short textColor() const { return textColor_; }
  void setTextColor(short color) { textColor_ = color; }
  const CKdDimtextOptions& options() const { return options_; }
  CKdDimtextOptions& options() { return options_; }
  void setOptions(const CKdDimtextOptions& options) { options_ = options; }

  // True when the border has a fixed size: fixedBorderDim above 0.1 (0.1 itself is not).
  bool isFixedSize() const;
  // True when the format string is empty.
  bool isEmpty() const { return fmt_.isEmpty(); }
  // True when the text needs the object it refers to: a "{" at position i, for i up to but
  // excluding length - 2, followed by anything but "*" (a property name) or by "*P" (a
  // special property of the part, ignoring case). "{*CRNL*}" and "{*NOTE*}" need none. The
  // last two characters are never taken for an opening brace.
  bool refObjectRequired() const;
  // True when a braced name of the format string names property definition `id`: a special
  // property's fixed id, or the first definition of `defs` with that name (ignoring case).
  bool usesPropertyDef(long id, const CKdPropertyDefArray& defs) const;

  // Writes the record key, the id in six zero-filled digits, into `buf` and returns it.
  // REQUIRES `buf` holds kDbIdSize characters.
  char* buildDbId(char* buf) const;

  // Reads the current record "RT": the id from the record key, then the fields the record
  // has (a missing field leaves its member). False, with the format untouched but for its
  // origin, when the key is not a number or is negative: such a format is never written, so
  // its record stays as it is (see CKdRecordOrigin).
  bool readFrom(CQbase& db);
  // Stores the format as record "RT" with all its fields. A format read from a key of
  // another form (" 7") is moved to its own key and its old record removed. False, writing
  // nothing, when the record cannot be moved or its id has no key (outside 0..999999); false
  // too when the record cannot be created, a field not set, or the record not saved.
  bool saveTo(CQbase& db) const;
  // Deletes the format's record "RT" (the one it was read from, while that is there).
  bool deleteFrom(CQbase& db) const;
  // The key the format is stored under: its id in six digits.
  std::string recordKey() const;
  // The key of the record the format was read from.
  const CKdRecordOrigin& origin() const { return origin_; }
  // What keeps the format from being stored under its own key (see CKdRecordOrigin).
  CKdRecordOrigin::obstacle writeObstacle() const;

 private:
  int32_t id_ = 0;
  CWsz desc_;
  CWsz fmt_;
  CWsz styleName_ = L"Standard";
  float textHeight_ = 2.0f;
  float fixedBorderDim_ = -1.0f;
  float refItemSize_ = 1.0f;
  short textColor_ = 256;
  CKdDimtextOptions options_;
  CKdRecordOrigin origin_;
};

// What refers to dimension text formats by id (product definitions, through their
// integrated texts) implements this, so that the format list can refuse to delete a format
// in use and name the items that use it, without knowing those owners.
class VXKD_API iKdDimtextFormatUser {
 public:
  // The kinds of user, in the order the refusal message lists them.
  enum usageKind { productDefinitions };

  virtual ~iKdDimtextFormatUser() = default;
  virtual usageKind dimtextFormatUsageKind() const = 0;
  // True when some item of this user refers to format `id`; the description of each such
  // item is appended to `items`.
  virtual bool usesDimtextFormat(long id, CWszArray& items) const = 0;
};

// The dimension text formats of a dataset.
class VXKD_API CKdDimtextFormatArray : public CKdOwningArray<CKdDimtextFormat> {
 public:
  // The sort keys of the format list; negative for descending.
  enum sortKey { sortByDescription = 1, sortByStyle = 2, sortByHeight = 3 };

  long idAt(int index) const override;
  // A format has no name but its description: both give the description.
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // The format with that id, or null.
  CKdDimtextFormat* findFmt(long id) const { return findId(id); }
  // The first format with that description, ignoring case, or null; its index goes to
  // `index` when given (-1 when none).
  CKdDimtextFormat* findFmt(const wchar_t* desc, int* index) const;

  // The height key of the sort: 1 when `a` is higher than `b`, else 0, never negative.
  static int compareHeight(const CKdDimtextFormat& a, const CKdDimtextFormat& b);

  // Replaces the array by the records "RT" of `db`, in key order; true, also when there are
  // none. A record whose key is not a number of 0 or more is still appended, as a new
  // format with id 0, which saveTo leaves out.
  bool readFrom(CQbase& db);
  // Saves every format in array order, going on after a failure; true when all were saved.
  // Records of formats no longer in the array stay: deletion goes through deleteFrom.
  bool saveTo(CQbase& db) const;

  // Deletes the formats at `selectedIndexes` (indexes out of range are skipped) unless one
  // of `users` uses them. When any was kept, one message box names the items that use them
  // under the heading of their kind. Returns true when every selected format was deleted.
  bool deleteUnused(cuWin::HWND hwnd, const CInt32Array& selectedIndexes,
                    const std::vector<const iKdDimtextFormatUser*>& users);

 protected:
  // Keys: description and style name (ignoring case), height. The height key answers only
  // "higher" or "not"; the comparison asks it both ways, so that a lower height compares
  // below and the sort's binary insertion never takes it for an equal one.
  int sortCmp(int sortId, const void* a, const void* b) const override;
};

// The formats of a dataset as a user of property definitions ("Text formats"): a format
// uses a definition when its string names it in braces.
class VXKD_API CKdDimtextFormatPropertyDefUser : public iKdPropertyDefUser {
 public:
  // REQUIRES both arrays outlive this object.
  CKdDimtextFormatPropertyDefUser(const CKdDimtextFormatArray& formats,
                                  const CKdPropertyDefArray& defs)
      : formats_(formats), defs_(defs) {}

  usageKind propertyDefUsageKind() const override { return textFormats; }
  bool usesPropertyDef(long id) const override;

 private:
  const CKdDimtextFormatArray& formats_;
  const CKdPropertyDefArray& defs_;
};
