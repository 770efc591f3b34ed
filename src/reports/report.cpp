#include "vxkd/reports/report.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "foundation/record_key.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/ui/language.h"

namespace {

constexpr const char* kRecordCode = "RE";
enum recordField : short {
  fieldDesc = 1502,             // wide, only when not empty
  fieldOrientation = 1112,      // short
  fieldFontHeight = 1302,       // float
  fieldFontStyle = 1508,        // wide
  fieldRowHeights = 1308,       // float array: first row height, cell height
  fieldColumnWidths = 1307,     // float array: first column width, cell width
  fieldEntityTypes = 1110,      // short array
  fieldDevGroups = 1603,        // GUID array
  fieldColumns = 1604,          // binary array of 128-byte columns
  fieldColumnLineTypes = 1113,  // short array, one per column
  fieldSort = 1211,             // long: property id * 2, plus 1 when descending
  fieldFlags = 1103,            // short
  fieldVersion = 1208,          // long
};

// Read from field 1604 at most.
constexpr int kMaxStoredColumns = 1000;
// The line type of a column whose position the list of line types lacks.
constexpr short kDefaultLineType = CSReportColumn::lineAfterColumn;

struct OrientationName {
  CKdReport::reportOrient orientation;
  long textId;
  const wchar_t* text;
};
constexpr OrientationName kOrientationNames[] = {
    {CKdReport::horizontal, 11653, L"#Horizontal (data in rows)"},
    {CKdReport::vertical, 11654, L"#Vertical (data in columns)"},
};

// Reads a float array field of exactly two values into `first` and `second`.
void readPair(const CQbase& db, short fieldNo, float& first, float& second) {
  CFloatArray values;
  if (!db.getFloatArray(fieldNo, values) || values.length() != 2) return;
  first = values[0];
  second = values[1];
}

}  // namespace

namespace VxKd {

CWsz getSortTypeName(SortType type) {
  switch (type) {
    case sortAscending:
      return L"Ascending";
    case sortDescending:
      return L"Descending";
    default:
      return CWsz();
  }
}

}  // namespace VxKd

CKdReport::CKdReport() { reset(); }

void CKdReport::reset() {
  id_ = 0;
  desc_.empty();
  entityTypeIds_.empty();
  entityTypeIds_.append(entityDevices);
  devGroups_.reset();
  columns_.reset();
  sortPropertyId_ = 0;
  sortType_ = VxKd::sortAscending;
  orientation_ = horizontal;
  fontStyleName_.set(L"Standard");
  fontHeight_ = 2.0f;
  cellHeight_ = 3.0f;
  cellWidth_ = 2.0f;
  firstRowHeight_ = 10.0f;
  firstColWidth_ = 10.0f;
  flags_ = 0;
  origin_.reset();
}

CWsz CKdReport::getOrientationName(reportOrient orientation) {
  for (const OrientationName& name : kOrientationNames)
    if (name.orientation == orientation) return VxKd::lngDbText(name.textId, name.text);
  return CWsz();
}

void CKdReport::setSortType(VxKd::SortType type) {
  sortType_ = type == VxKd::sortDescending ? VxKd::sortDescending : VxKd::sortAscending;
}

void CKdReport::setVerticalTextsInFirstRow(bool on) {
  flags_ = on ? flags_ | kVerticalTexts : flags_ & ~kVerticalTexts;
}

float CKdReport::calcFirstRowHeight() const {
  bool twoLines = false;
  switch (orientation_) {
    case horizontal:
      for (int i = 0; i < columns_.length() && !twoLines; ++i)
        twoLines = *columns_.at(i)->header2() != '\0';
      break;
    case vertical:
      twoLines = columns_.length() > 0 && *columns_.at(0)->header2() != '\0';
      break;
    default:
      break;
  }
  return twoLines ? 2 * cellHeight_ : cellHeight_;
}

bool CKdReport::isAutoFirstRowHeight() const {
  return std::fabs(firstRowHeight_ - calcFirstRowHeight()) < 0.001f;
}

float CKdReport::calcTotalWidth(int nData) const {
  switch (orientation_) {
    case horizontal: {
      float width = 0;
      for (int i = 0; i < columns_.length(); ++i) width += columns_.at(i)->length();
      return width;
    }
    case vertical:
      return static_cast<float>(nData) * cellWidth_ + firstColWidth_;
    default:
      return 0;
  }
}

bool CKdReport::usesPropertyDef(long id) const {
  return (id != 0 && sortPropertyId_ == id) || columns_.usesPropertyDef(id);
}

std::string CKdReport::recordKey() const { return VxKd::buildDbId(id_); }

CKdRecordOrigin::obstacle CKdReport::writeObstacle() const {
  return origin_.obstacleTo(id_, 1, VxKd::kMaxDbId, recordKey());
}

bool CKdReport::readFrom(CQbase& db) {
  reset();
  long id = 0;
  // An id of 0 is refused too, deliberately stricter than other records.
  bool idRead = VxKd::readObjId(db, id) && id > 0;
  if (idRead) id_ = static_cast<int32_t>(id);
  origin_.readFrom(db, idRead, id_);
  if (!idRead) return false;

  db.getWsz(fieldDesc, desc_);
  short orientation = horizontal;
  if (db.getShort(fieldOrientation, orientation))
    orientation_ = static_cast<reportOrient>(orientation);
  db.getWsz(fieldFontStyle, fontStyleName_);
  db.getFloat(fieldFontHeight, fontHeight_);
  readPair(db, fieldRowHeights, firstRowHeight_, cellHeight_);
  readPair(db, fieldColumnWidths, firstColWidth_, cellWidth_);
  db.getShortArray(fieldEntityTypes, entityTypeIds_);
  // The device groups are read whatever kinds of object the report lists: a report that
  // stops listing devices for a while keeps its groups, as the record does.
  devGroups_.readFrom(db, fieldDevGroups);

  CByteBuffer items;
  int count = 0;
  if (db.getBinaryArray(fieldColumns, items, count)) {
    count = std::min({count, items.size() / CSReportColumn::itemSize, kMaxStoredColumns});
    CInt16Array lineTypes;
    db.getShortArray(fieldColumnLineTypes, lineTypes);
    for (int i = 0; i < count && !columns_.isFull(); ++i) {
      CSReportColumn column;
      column.fromItem(items.data() + i * CSReportColumn::itemSize);
      column.setLineType(i < lineTypes.length() ? lineTypes[i] : kDefaultLineType);
      columns_.append(&column);
    }
  }

  long sort = 0;
  if (db.getLong(fieldSort, sort)) {
    sortPropertyId_ = static_cast<int32_t>(sort >> 1);  // arithmetic: negative ids too
    sortType_ = sort & 1 ? VxKd::sortDescending : VxKd::sortAscending;
  }
  short flags = 0;
  if (db.getShort(fieldFlags, flags)) flags_ = static_cast<uint16_t>(flags);
  long version = 0;
  db.getLong(fieldVersion, version);
  // Records of older formats had no stored heading height.
  if (version < formatVersion && orientation_ == horizontal) firstRowHeight_ = calcFirstRowHeight();
  return true;
}

bool CKdReport::saveTo(CQbase& db) const {
  const std::string key = recordKey();
  if (!origin_.mayWrite(db, kRecordCode, id_, 1, VxKd::kMaxDbId, key) ||
      !db.createRec(kRecordCode, key.c_str()))
    return false;
  bool ok = true;
  if (!desc_.isEmpty()) ok = db.setWsz(fieldDesc, desc_) && ok;
  ok = db.setShort(fieldOrientation, orientation_) && ok;
  ok = db.setFloat(fieldFontHeight, fontHeight_) && ok;
  ok = db.setWsz(fieldFontStyle, fontStyleName_) && ok;
  ok = db.setFloatArray(fieldRowHeights, {firstRowHeight_, cellHeight_}) && ok;
  ok = db.setFloatArray(fieldColumnWidths, {firstColWidth_, cellWidth_}) && ok;
  ok = db.setShortArray(fieldEntityTypes, entityTypeIds_) && ok;
  ok = devGroups_.saveTo(db, fieldDevGroups) && ok;
  if (columns_.length() > 0) {
    std::vector<uint8_t> items(static_cast<size_t>(columns_.length()) * CSReportColumn::itemSize);
    CInt16Array lineTypes;
    for (int i = 0; i < columns_.length(); ++i) {
      columns_.at(i)->toItem(items.data() + i * CSReportColumn::itemSize);
      lineTypes.append(columns_.at(i)->lineType());
    }
    ok = db.setBinaryArray(fieldColumns, items.data(), columns_.length()) && ok;
    ok = db.setShortArray(fieldColumnLineTypes, lineTypes) && ok;
  }
  // The sort word is computed wide: an id beyond what it can hold fails the field.
  int64_t sort = int64_t{sortPropertyId_} * 2 + (sortType_ == VxKd::sortDescending ? 1 : 0);
  ok = sort >= std::numeric_limits<int32_t>::min() && sort <= std::numeric_limits<int32_t>::max() &&
       db.setLong(fieldSort, static_cast<long>(sort)) && ok;
  ok = db.setShort(fieldFlags, static_cast<short>(flags_)) && ok;
  ok = db.setLong(fieldVersion, formatVersion) && ok;
  if (!db.saveRec()) return false;
  origin_.retire(db, kRecordCode, id_, key);
  return ok;
}

bool CKdReport::deleteFrom(CQbase& db) const {
  return origin_.deleteFrom(db, kRecordCode, id_, recordKey());
}
