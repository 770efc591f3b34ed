#pragma once
// CSReportColumn, one column of a report definition, and CKdReportColumnArray, the columns
// of one report (at most 130).

#include <cstdint>

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

// A column: the property definition whose values it shows, its width, one or two heading
// lines and the separator that a DWG report draws after it.
class VXKD_API CSReportColumn {
 public:
  // The separators of the DWG report. Any other value draws none.
  enum lineType : int16_t {
    lineAfterColumn = 1,    // "Draw line after column in DWG report"
    lineToFirstRowOnly = 2  // "Draw line only to first row's column in DWG report"
  };
  // A heading holds at most this many bytes with its terminating NUL.
  static constexpr int headerSize = 60;
  // The bytes of a column in the stored list (field 1604 of record "RE").
  static constexpr int itemSize = 128;

  // Property 0, length 10.0, both headings empty, line type 0.
  CSReportColumn() = default;

  long propertyId() const { return propertyId_; }
  void setPropertyId(long id) { propertyId_ = static_cast<int32_t>(id); }
  float length() const { return length_; }
  void setLength(float length) { length_ = length; }
  // The headings are 8-bit (UTF-8) texts. A setter keeps at most headerSize - 1 bytes of
  // `text`, never cutting a character in two, so what it keeps is what is stored.
  const char* header1() const { return header1_; }
  void setHeader1(const char* text);
  // The second heading line; empty for a heading of one line.
  const char* header2() const { return header2_; }
  void setHeader2(const char* text);
  short lineType() const { return lineType_; }
  void setLineType(short type) { lineType_ = type; }

  // The name of this column's line type, and of any line type: the language text of 1 or 2,
  // empty for any other value.
  CWsz GetLineTypeName() const { return GetLineTypeName(lineType_); }
  static CWsz GetLineTypeName(short type);

  // The stored item, little-endian: the property id (4 bytes), the length (float, 4 bytes),
  // the two headings of headerSize bytes each, each copied up to and including its NUL and
  // the rest zero. The line type is not part of it (it is stored in a list of its own).
  void toItem(uint8_t item[itemSize]) const;
  // Takes property id, length and headings from a stored item; a heading without NUL in its
  // bytes keeps headerSize - 1 of them. The line type is left as it is.
  void fromItem(const uint8_t item[itemSize]);

  bool operator==(const CSReportColumn& other) const;

 private:
  int32_t propertyId_ = 0;
  float length_ = 10.0f;
  char header1_[headerSize] = {};
  char header2_[headerSize] = {};
  int16_t lineType_ = 0;
};

// The columns of a report, in order. Holds at most maxColumns: an append or insertion beyond
// is refused (false) and changes nothing, as a full report drops further columns silently.
class VXKD_API CKdReportColumnArray : public CKdOwningArray<CSReportColumn> {
 public:
  static constexpr int maxColumns = 130;

  // The column's property id.
  long idAt(int index) const override;

  // The column at `index`, or null outside the array.
  CSReportColumn* at(int index) const { return objAt(index); }
  bool isFull() const { return length() >= maxColumns; }
  // Appends a copy of `column`; false when full (or for null).
  bool append(const CSReportColumn* column);
  // Appends copies of the columns of `other` until full; true when all were taken.
  bool append(const CKdReportColumnArray& other);
  // Inserts a copy at `index` (an index beyond the end appends); false when full.
  bool insertAt(int index, const CSReportColumn* column);

  // True when some column shows property definition `id`.
  bool usesPropertyDef(long id) const { return findId(id) != nullptr; }
};
