#pragma once
// CKdReport, a report definition: the table that the drawing side fills with the property
// values of installed objects and draws into the drawing or exports. Which kinds of object
// and which device groups it lists, which properties as columns, how it is sorted, whether
// the data runs in rows or in columns, and the sizes and text style of its cells. The
// dataset keeps them in a CKdObjectArray<CKdReport>, one record "RE" each.

#include <cstdint>
#include <string>

#include "vxkd/foundation/guid.h"
#include "vxkd/foundation/record_origin.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_def.h"
#include "vxkd/reports/report_column.h"

class CQbase;

namespace VxKd {

// The direction of a report's sort.
enum SortType : int { sortAscending = 1, sortDescending = -1 };

// "Ascending" or "Descending"; empty for another value.
VXKD_API CWsz getSortTypeName(SortType type);

}  // namespace VxKd

class VXKD_API CKdReport : public iKdPropertyDefUser {
 public:
  enum reportOrient : int16_t {
    horizontal = 0,  // "Horizontal (data in rows)"
    vertical = 1,    // "Vertical (data in columns)"
  };
  // The kinds of object a report lists (values of entityTypeIds()).
  enum entityTypeId : int16_t {
    entityDevices = 1,
    entityDucts = 2,
    entityPipes = 3,
    entityPowerCables = 4,
    entityDataCables = 5,
  };
  // The format of the record written; older records are upgraded when read.
  static constexpr long formatVersion = 2014110;

  // A report as reset() leaves it.
  CKdReport();
  // Copies every field deeply: columns and device groups are the copy's own.
  CKdReport(const CKdReport& other) = default;
  CKdReport& operator=(const CKdReport& other) = default;
  ~CKdReport() override = default;

  // Id 0, no name, devices only, no device groups, no columns, unsorted ascending,
  // horizontal, text style "Standard" of height 2.0, cells 3.0 high and 2.0 wide, heading
  // row 10.0 high, heading column 10.0 wide, heading texts horizontal; no origin.
  void reset();

  // The record code of report definitions, "RE".
  const char* getClassId() const { return "RE"; }
  // The language text of an orientation; empty for another value.
  static CWsz getOrientationName(reportOrient orientation);

  long dbId() const { return id_; }
  void setDbId(long id) { id_ = static_cast<int32_t>(id); }
  // The report's name.
  const CWsz& desc() const { return desc_; }
  void setDesc(const CWsz& desc) { desc_ = desc; }
  const CWsz& name() const { return desc_; }

  CInt16Array& entityTypeIds() { return entityTypeIds_; }
  const CInt16Array& entityTypeIds() const { return entityTypeIds_; }
  bool hasDevices() const { return entityTypeIds_.contains(entityDevices); }
  bool hasDucts() const { return entityTypeIds_.contains(entityDucts); }
  bool hasPipes() const { return entityTypeIds_.contains(entityPipes); }
  bool hasPowerCables() const { return entityTypeIds_.contains(entityPowerCables); }
  bool hasDataCables() const { return entityTypeIds_.contains(entityDataCables); }
  // The product groups whose devices are listed.
  CKdGuidArray& devGroups() { return devGroups_; }
  const CKdGuidArray& devGroups() const { return devGroups_; }
  CKdReportColumnArray& columns() { return columns_; }
  const CKdReportColumnArray& columns() const { return columns_; }

  // The property definition to sort by; 0 for none.
  long sortPropertyId() const { return sortPropertyId_; }
  void setSortPropertyId(long id) { sortPropertyId_ = static_cast<int32_t>(id); }
  VxKd::SortType sortType() const { return sortType_; }
  // Any value but sortDescending sorts ascending, as the stored sort word can tell only these.
  void setSortType(VxKd::SortType type);
  reportOrient orientation() const { return orientation_; }
  void setOrientation(reportOrient orientation) { orientation_ = orientation; }
  const CWsz& fontStyleName() const { return fontStyleName_; }
  void setFontStyleName(const wchar_t* name) { fontStyleName_.set(name); }
  float fontHeight() const { return fontHeight_; }
  void setFontHeight(float height) { fontHeight_ = height; }
  // The height of a data row.
  float cellHeight() const { return cellHeight_; }
  void setCellHeight(float height) { cellHeight_ = height; }
  // The width of a data column of a vertical report.
  float cellWidth() const { return cellWidth_; }
  void setCellWidth(float width) { cellWidth_ = width; }
  // The height of the heading row.
  float firstRowHeight() const { return firstRowHeight_; }
  void setFirstRowHeight(float height) { firstRowHeight_ = height; }
  // The width of the heading column of a vertical report.
  float firstColWidth() const { return firstColWidth_; }
  void setFirstColWidth(float width) { firstColWidth_ = width; }
  // Bit 0 of the flag word: the heading texts are drawn vertically. The other bits are kept
  // as a record gave them.
  bool verticalTextsInFirstRow() const { return (flags_ & kVerticalTexts) != 0; }
  void setVerticalTextsInFirstRow(bool on);

  // The heading row's height that fits its headings: two cells high when a heading has a
  // second line (any column of a horizontal report, the first column of a vertical one),
  // else one cell high.
  float calcFirstRowHeight() const;
  // True when the heading row is as high as calcFirstRowHeight() gives (within 0.001).
  bool isAutoFirstRowHeight() const;
  // The width of the table: horizontal, the sum of the column lengths; vertical, `nData`
  // data columns and the heading column; 0 for another orientation.
  float calcTotalWidth(int nData) const;

  // Resets, then reads the current record "RE": the id from the record key, which must
  // start with a number above 0 (else false and the report stays reset, for a key "000000"
  // too), then every field the record has; missing fields keep their defaults. A record of
  // an older format gets the heading row's height computed. True.
  bool readFrom(CQbase& db);
  // Stores the report as record "RE" keyed by its id in six digits. A report read from a key
  // of another form is moved there and its old record removed (see CKdRecordOrigin). False,
  // writing nothing, when the id is outside 1..999999 or the record cannot be moved; else
  // the database's result, false too when a field could not be stored.
  bool saveTo(CQbase& db) const;
  // Deletes the report's record (the one it was read from, while that is there).
  bool deleteFrom(CQbase& db) const;
  // The key the report is stored under: its id in six digits.
  std::string recordKey() const;
  const CKdRecordOrigin& origin() const { return origin_; }
  // What keeps the report from being stored under its own key.
  CKdRecordOrigin::obstacle writeObstacle() const;

  // As a user of property definitions: a report uses those of its columns and the one it
  // is sorted by.
  usageKind propertyDefUsageKind() const override { return reportDefinitions; }
  bool usesPropertyDef(long id) const override;

 private:
  static constexpr uint16_t kVerticalTexts = 0x0001;

  int32_t id_ = 0;
  CWsz desc_;
  CInt16Array entityTypeIds_;
  CKdGuidArray devGroups_;
  CKdReportColumnArray columns_;
  int32_t sortPropertyId_ = 0;
  VxKd::SortType sortType_ = VxKd::sortAscending;
  reportOrient orientation_ = horizontal;
  CWsz fontStyleName_;
  float fontHeight_ = 0;
  float cellHeight_ = 0;
  float cellWidth_ = 0;
  float firstRowHeight_ = 0;
  float firstColWidth_ = 0;
  uint16_t flags_ = 0;
  CKdRecordOrigin origin_;
};
