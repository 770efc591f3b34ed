#pragma once
// CKdUnit, the unit of a numeric property, and the two process-wide tables behind it:
// CUnitDefArray (id, label, quantity description, default decimals) and
// CUnitConversionArray (linear coefficients between two units of one quantity). Both are
// filled by the program, never read from the dataset; the dataset stores only unit ids.

#include <cstdint>
#include <vector>

#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"

// A 16-bit unit id. Any value may be held (an id read from a dataset is kept as it is);
// ids outside the unit table have an empty label, 0 decimals and convert only to
// themselves.
class VXKD_API CKdUnit {
 public:
  // Grouped by tens per quantity. The table order of the combo boxes is not id order.
  enum unitId : int16_t {
    unitNone = 0,
    unitPercent = 5,
    // Length or distance
    unitMm = 11,
    unitM = 12,
    unitIn = 13,
    unitFt = 14,
    // Volume flow
    unitLps = 21,
    unitM3ps = 22,
    unitM3ph = 23,
    unitFt3pmin = 24,
    unitFt3ps = 25,
    // Velocity
    unitMps = 31,
    unitFpm = 32,
    unitFps = 33,
    // Pressure or pressure difference
    unitPa = 41,
    unitKPa = 42,
    unitBar = 43,
    unitMbar = 44,
    unitPsi = 45,
    unitInH2O = 46,
    unitInHg = 47,
    unitRevitPressure = 48,  // internal pressure unit of the Revit building-model application
    unitMPa = 49,
    // Power
    unitW = 51,
    unitKW = 52,
    unitBtuph = 53,
    unitRevitPower = 54,  // internal power unit of Revit
    // Sound level
    unitDB = 61,
    unitDBA = 62,
    // Area
    unitMm2 = 71,
    unitM2 = 72,
    unitIn2 = 73,
    unitFt2 = 74,
    // Volume
    unitMm3 = 81,
    unitM3 = 82,
    unitIn3 = 83,
    unitFt3 = 84,
    // Temperature difference: no offsets
    unitDeltaC = 91,
    unitDeltaK = 92,
    unitDeltaF = 93,
    // Temperature: with offsets
    unitC = 101,
    unitK = 102,
    unitF = 103,
    // Enthalpy
    unitJpkg = 111,
    unitKJpkg = 112,
    unitBtuplbm = 113,
    // Mass
    unitG = 121,
    unitKg = 122,
    unitLb = 123,
    // Mass flow
    unitKgps = 131,
    unitKgph = 132,
    unitLbph = 133,
    // Voltage
    unitV = 141,
    unitKV = 142,
    unitMV = 143,
    // Electric current
    unitMA = 151,
    unitA = 152,
    unitKA = 153,
    // Heat transfer coefficient
    unitWpm2K = 161,
    // Humidity ratio
    unitGpkg = 171,
    unitKgpkg = 172,
    // Temperature/time
    unitCph = 181,
    // Others
    unitM2KpkW = 301,
  };

  CKdUnit() = default;
  CKdUnit(unitId id) : unitId_(id) {}  // NOLINT: implicit on purpose, a unit is its id

  // Stores any value without validation.
  void setUnitId(unitId id) { unitId_ = id; }
  unitId id() const { return unitId_; }
  operator unitId() const { return unitId_; }  // NOLINT

  // The label of the unit ("[mm]"); "" when the id is not in the table.
  void getLabel(CWsz& label) const;
  // The translated quantity description ("Length or distance"); "" when not in the table.
  void getDescription(CWsz& description) const;
  // The default number of decimals; 0 when the id is not in the table. (The name is
  // spelled so on purpose: callers know it by this name.)
  int16_t defaultCountOfDesimal() const;

  // The coefficients that convert a value of this unit into `to` as a * value + b:
  // a = 1, b = 0 and true for the own id (also outside the table); otherwise the first
  // row of the conversion table that links the two units in either direction (see
  // CUnitConversionArray::getCoefficients). False, with a = 1 and b = 0, when none does.
  bool getConversionCoefficientsTo(unitId to, double& a, double& b) const;
  // Converts `value` into `to`: true and unchanged for the own id; false and unchanged when
  // the units do not convert; otherwise value = a * value + b and true.
  bool convertValueTo(double& value, unitId to) const;

  // Fills combo box `comboId` of `dialog` with the quantity descriptions, each once in table
  // order with the id of its first unit as item data, and selects this unit's quantity (the
  // first entry when the id is not in the table). Does nothing without such a combo box.
  void fillAndSelectDescCb(cuWin::HWND dialog, int comboId) const;
  // Fills combo box `labelComboId` with the labels of the units of the quantity shown in
  // combo box `descComboId`, in table order with the unit ids as item data, and selects this
  // unit (the first entry when it is not listed). Does nothing without the combo boxes.
  void fillAndSelectLabelCb(cuWin::HWND dialog, int descComboId, int labelComboId) const;
  // Sets the unit to the item data of the selected entry of combo box `comboId` (the label is
  // never parsed). False, and the unit unchanged, when there is no such combo box, nothing is
  // selected or the entry has no data.
  bool readLabelCb(cuWin::HWND dialog, int comboId);

  // True when the unit table has a row with that id.
  static bool isValidId(int16_t id);

 private:
  unitId unitId_ = unitNone;
};

// The unit definitions, one row per unit in the order the user sees them.
class VXKD_API CUnitDefArray {
 public:
  static constexpr int kLabelSize = 20;        // characters with terminator
  static constexpr int kDescriptionSize = 80;  // characters with terminator

  struct Row {
    int16_t unitId;
    int16_t defaultDecimals;
    wchar_t label[kLabelSize];
    wchar_t description[kDescriptionSize];  // translated when the table is filled
  };

  // The process-wide table, filled on first use. The descriptions are translated then, so
  // the language texts must be ready before the first unit operation; a later change of
  // language does not change them.
  static const CUnitDefArray& units();

  // Fills the table with the program's units, translating the descriptions through the
  // language texts of the moment. Does nothing when the table already has rows.
  void fill();

  int length() const { return static_cast<int>(rows_.size()); }
  // The row at `index`; REQUIRES 0 <= index < length().
  const Row& at(int index) const { return rows_[index]; }
  // The row of unit `id`, or null.
  const Row* find(int id) const;

 private:
  std::vector<Row> rows_;
};

// The conversion coefficients, one direction of each pair of units.
class VXKD_API CUnitConversionArray {
 public:
  struct Row {
    int32_t fromUnitId;
    int32_t toUnitId;
    double a;  // factor
    double b;  // offset: a value v in `from` is a * v + b in `to`
  };

  // The process-wide table, filled on first use.
  static const CUnitConversionArray& conversions();

  // Fills the table with the program's conversions. Does nothing when it already has rows.
  void fill();
  // Appends a row (for a table of one's own; the process-wide one is filled by fill()).
  void append(int32_t from, int32_t to, double a, double b = 0.0);

  int length() const { return static_cast<int>(rows_.size()); }
  // The row at `index`; REQUIRES 0 <= index < length().
  const Row& at(int index) const { return rows_[index]; }

  // The coefficients from `from` to `to` (to == from is not special here). Walks the rows
  // in order; the first row that links the two units wins, its forward direction tested
  // first. A reverse row gives a' = 1 / a and b' = -(b / a), except that an offset of
  // magnitude 0.01 or less is dropped (b' = 0) in the reverse direction; a reverse row with
  // |a| <= 1e-14 is passed over. False, with a = 1 and b = 0, when no row links them.
  bool getCoefficients(int32_t from, int32_t to, double& a, double& b) const;

 private:
  std::vector<Row> rows_;
};
