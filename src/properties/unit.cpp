#include "vxkd/properties/unit.h"

#include <cmath>
#include <iterator>
#include <set>
#include <string>

#include "vxkd/platform/dialog.h"
#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"

namespace {

using U = CKdUnit;

// A quantity description: its language text id and default.
struct QuantityText {
  long textId;
  const wchar_t* defaultText;
};

constexpr QuantityText kNone{7002, L"#None"};
constexpr QuantityText kPercent{7042, L"#Percent"};
constexpr QuantityText kLength{7004, L"#Length or distance"};
constexpr QuantityText kArea{7006, L"#Area"};
constexpr QuantityText kVolume{7008, L"#Volume"};
constexpr QuantityText kVolumeFlow{7010, L"#Volume flow"};
constexpr QuantityText kVelocity{7012, L"#Velocity"};
constexpr QuantityText kPressure{7014, L"#Pressure or pressure difference"};
constexpr QuantityText kPower{7016, L"#Power"};
constexpr QuantityText kSoundLevel{7018, L"#Sound level"};
constexpr QuantityText kTemperatureDifference{7020, L"#Temperature difference"};
constexpr QuantityText kTemperature{7022, L"#Temperature"};
constexpr QuantityText kEnthalpy{7024, L"#Enthalpy"};
constexpr QuantityText kMass{7026, L"#Mass"};
constexpr QuantityText kMassFlow{7028, L"#Mass flow"};
constexpr QuantityText kVoltage{7030, L"#Voltage"};
constexpr QuantityText kCurrent{7032, L"#Electric current"};
constexpr QuantityText kHeatTransfer{7034, L"#Heat transfer coefficient"};
constexpr QuantityText kHumidityRatio{7036, L"#Humidity ratio"};
constexpr QuantityText kTemperaturePerTime{7038, L"#Temperature/time"};
constexpr QuantityText kOthers{7040, L"#Others"};

struct UnitEntry {
  CKdUnit::unitId id;
  const wchar_t* label;
  int16_t defaultDecimals;
  QuantityText quantity;
};

// The unit table in the order the user sees it in the combo boxes. "[MPa]" stands between
// "[kPa]" and "[bar]", "[mV]" before "[V]": keep it so.
constexpr UnitEntry kUnitTable[] = {
    {U::unitNone, L"", 0, kNone},
    {U::unitPercent, L"[%]", 0, kPercent},
    {U::unitMm, L"[mm]", 0, kLength},
    {U::unitM, L"[m]", 1, kLength},
    {U::unitIn, L"[in]", 0, kLength},
    {U::unitFt, L"[ft]", 1, kLength},
    {U::unitMm2, L"[mm2]", 0, kArea},
    {U::unitM2, L"[m2]", 1, kArea},
    {U::unitIn2, L"[in2]", 0, kArea},
    {U::unitFt2, L"[ft2]", 1, kArea},
    {U::unitMm3, L"[mm3]", 0, kVolume},
    {U::unitM3, L"[m3]", 1, kVolume},
    {U::unitIn3, L"[in3]", 0, kVolume},
    {U::unitFt3, L"[ft3]", 1, kVolume},
    {U::unitLps, L"[l/s]", 0, kVolumeFlow},
    {U::unitM3ps, L"[m3/s]", 3, kVolumeFlow},
    {U::unitM3ph, L"[m3/h]", 0, kVolumeFlow},
    {U::unitFt3pmin, L"[ft3/min]", 0, kVolumeFlow},
    {U::unitFt3ps, L"[ft3/s]", 1, kVolumeFlow},
    {U::unitMps, L"[m/s]", 1, kVelocity},
    {U::unitFpm, L"[fpm]", 0, kVelocity},
    {U::unitFps, L"[fps]", 1, kVelocity},
    {U::unitPa, L"[Pa]", 0, kPressure},
    {U::unitKPa, L"[kPa]", 3, kPressure},
    {U::unitMPa, L"[MPa]", 3, kPressure},
    {U::unitBar, L"[bar]", 3, kPressure},
    {U::unitMbar, L"[mbar]", 0, kPressure},
    {U::unitPsi, L"[psi]", 0, kPressure},
    {U::unitInH2O, L"[inH2O]", 3, kPressure},
    {U::unitInHg, L"[inHg]", 3, kPressure},
    {U::unitRevitPressure, L"[Revit]", 0, kPressure},
    {U::unitW, L"[W]", 0, kPower},
    {U::unitKW, L"[kW]", 3, kPower},
    {U::unitBtuph, L"[Btu/h]", 0, kPower},
    {U::unitRevitPower, L"[Revit]", 0, kPower},
    {U::unitDB, L"[dB]", 0, kSoundLevel},
    {U::unitDBA, L"[dB(A)]", 1, kSoundLevel},
    {U::unitDeltaC, L"[C]", 1, kTemperatureDifference},
    {U::unitDeltaK, L"[K]", 1, kTemperatureDifference},
    {U::unitDeltaF, L"[F]", 1, kTemperatureDifference},
    {U::unitC, L"[C]", 1, kTemperature},
    {U::unitK, L"[K]", 1, kTemperature},
    {U::unitF, L"[F]", 1, kTemperature},
    {U::unitJpkg, L"[J/kg]", 0, kEnthalpy},
    {U::unitKJpkg, L"[kJ/kg]", 0, kEnthalpy},
    {U::unitBtuplbm, L"[Btu/lbm]", 0, kEnthalpy},
    {U::unitG, L"[g]", 0, kMass},
    {U::unitKg, L"[kg]", 0, kMass},
    {U::unitLb, L"[lb]", 0, kMass},
    {U::unitKgps, L"[kg/s]", 3, kMassFlow},
    {U::unitKgph, L"[kg/h]", 0, kMassFlow},
    {U::unitLbph, L"[lb/h]", 0, kMassFlow},
    {U::unitMV, L"[mV]", 0, kVoltage},
    {U::unitV, L"[V]", 1, kVoltage},
    {U::unitKV, L"[kV]", 3, kVoltage},
    {U::unitMA, L"[mA]", 0, kCurrent},
    {U::unitA, L"[A]", 2, kCurrent},
    {U::unitKA, L"[kA]", 3, kCurrent},
    {U::unitWpm2K, L"[W/m2K]", 3, kHeatTransfer},
    {U::unitGpkg, L"[g/kg]", 0, kHumidityRatio},
    {U::unitKgpkg, L"[kg/kg]", 0, kHumidityRatio},
    {U::unitCph, L"[C/h]", 0, kTemperaturePerTime},
    {U::unitM2KpkW, L"[m2K/kW]", 0, kOthers},
};

struct ConversionEntry {
  CKdUnit::unitId from;
  CKdUnit::unitId to;
  double a;
  double b;
};

// One direction of each convertible pair, in the order the look-up walks it (the first row
// that links two units wins). Units without a row (none, percent, sound levels, heat
// transfer coefficient, temperature/time, others) convert only to themselves, so "[dB]"
// and "[dB(A)]" do not convert into each other.
constexpr ConversionEntry kConversionTable[] = {
    // Length
    {U::unitM, U::unitMm, 1000, 0},
    {U::unitM, U::unitIn, 39.37007874015748, 0},
    {U::unitM, U::unitFt, 3.280839895013123, 0},
    {U::unitMm, U::unitIn, 0.03937007874015748, 0},
    {U::unitMm, U::unitFt, 0.0032808398950131233, 0},
    {U::unitFt, U::unitIn, 12, 0},
    // Area
    {U::unitM2, U::unitMm2, 1000000, 0},
    {U::unitM2, U::unitIn2, 1550.0031000062002, 0},
    {U::unitM2, U::unitFt2, 10.76391041670972, 0},
    {U::unitMm2, U::unitIn2, 0.0015500031000062, 0},
    {U::unitMm2, U::unitFt2, 1.0763910416709721e-05, 0},
    {U::unitFt2, U::unitIn2, 144, 0},
    // Volume
    {U::unitM3, U::unitMm3, 1e9, 0},
    {U::unitM3, U::unitIn3, 61023.74409473229, 0},
    {U::unitM3, U::unitFt3, 35.31466672148858, 0},
    {U::unitMm3, U::unitIn3, 6.102374409473229e-05, 0},
    {U::unitMm3, U::unitFt3, 3.5314666721488584e-08, 0},
    {U::unitFt3, U::unitIn3, 1728, 0},
    // Velocity
    {U::unitMps, U::unitFpm, 196.85039370078738, 0},
    {U::unitMps, U::unitFps, 3.280839895013123, 0},
    {U::unitFps, U::unitFpm, 60, 0},
    // Volume flow
    {U::unitLps, U::unitM3ps, 0.001, 0},
    {U::unitLps, U::unitM3ph, 3.6, 0},
    {U::unitLps, U::unitFt3ps, 0.035314666721488586, 0},
    {U::unitLps, U::unitFt3pmin, 2.118880003289315, 0},
    {U::unitM3ps, U::unitM3ph, 3600, 0},
    {U::unitM3ps, U::unitFt3ps, 35.31466672148858, 0},
    {U::unitM3ps, U::unitFt3pmin, 2118.880003289315, 0},
    {U::unitM3ph, U::unitFt3ps, 0.00980962964485794, 0},
    {U::unitM3ph, U::unitFt3pmin, 0.5885777786914764, 0},
    {U::unitFt3pmin, U::unitFt3ps, 0.016666666666666666, 0},
    // Pressure
    {U::unitPa, U::unitKPa, 0.001, 0},
    {U::unitPa, U::unitBar, 1e-05, 0},
    {U::unitPa, U::unitMPa, 1e-06, 0},
    {U::unitPa, U::unitMbar, 0.01, 0},
    {U::unitPa, U::unitPsi, 0.00014503683935719673, 0},
    {U::unitPa, U::unitInH2O, 0.004014452027298274, 0},
    {U::unitPa, U::unitInHg, 0.00029529884242853767, 0},
    {U::unitPa, U::unitRevitPressure, 0.3048, 0},
    {U::unitKPa, U::unitBar, 0.01, 0},
    {U::unitKPa, U::unitMPa, 0.001, 0},
    {U::unitKPa, U::unitMbar, 10, 0},
    {U::unitKPa, U::unitPsi, 0.14503683935719672, 0},
    {U::unitKPa, U::unitInH2O, 4.014452027298274, 0},
    {U::unitKPa, U::unitInHg, 0.29529884242853766, 0},
    {U::unitKPa, U::unitRevitPressure, 304.8, 0},
    {U::unitMPa, U::unitBar, 10, 0},
    {U::unitMPa, U::unitMbar, 10000, 0},
    {U::unitMPa, U::unitPsi, 145.03683935719673, 0},
    {U::unitMPa, U::unitInH2O, 4014.452027298274, 0},
    {U::unitMPa, U::unitInHg, 295.2988424285377, 0},
    {U::unitMPa, U::unitRevitPressure, 304800, 0},
    {U::unitBar, U::unitMbar, 1000, 0},
    {U::unitBar, U::unitPsi, 14.503683935719673, 0},
    {U::unitBar, U::unitInH2O, 401.4452027298274, 0},
    {U::unitBar, U::unitInHg, 29.52988424285377, 0},
    {U::unitBar, U::unitRevitPressure, 30480, 0},
    {U::unitMbar, U::unitPsi, 0.014503683935719672, 0},
    {U::unitMbar, U::unitInH2O, 0.40144520272982737, 0},
    {U::unitMbar, U::unitInHg, 0.029529884242853768, 0},
    {U::unitMbar, U::unitRevitPressure, 30.48, 0},
    {U::unitPsi, U::unitInH2O, 27.67884383781614, 0},
    {U::unitPsi, U::unitInHg, 2.0360264587762815, 0},
    {U::unitPsi, U::unitRevitPressure, 2101.53504, 0},
    {U::unitInH2O, U::unitInHg, 0.07355894164894873, 0},
    {U::unitInH2O, U::unitRevitPressure, 75.92568, 0},
    {U::unitInHg, U::unitRevitPressure, 1032.17472, 0},
    // Power. The watt-to-Btu/h factor is the rounded 3.4118 on purpose: stored values were
    // converted with it.
    {U::unitW, U::unitKW, 0.001, 0},
    {U::unitW, U::unitBtuph, 3.4118, 0},
    {U::unitW, U::unitRevitPower, 10.76391041670972, 0},
    {U::unitKW, U::unitBtuph, 3411.8, 0},
    {U::unitKW, U::unitRevitPower, 10763.910416709721, 0},
    {U::unitBtuph, U::unitRevitPower, 3.1549066231050245, 0},
    // Temperature difference: no offsets
    {U::unitDeltaC, U::unitDeltaK, 1, 0},
    {U::unitDeltaC, U::unitDeltaF, 1.8, 0},
    {U::unitDeltaK, U::unitDeltaF, 1.8, 0},
    // Temperature
    {U::unitC, U::unitK, 1, 273.15},
    {U::unitC, U::unitF, 1.8, 32},
    {U::unitK, U::unitF, 1.8, -459.67},
    // Enthalpy
    {U::unitJpkg, U::unitKJpkg, 0.001, 0},
    {U::unitJpkg, U::unitBtuplbm, 0.0004299226139294927, 0},
    {U::unitKJpkg, U::unitBtuplbm, 0.4299226139294927, 0},
    // Mass
    {U::unitG, U::unitKg, 0.001, 0},
    {U::unitG, U::unitLb, 0.002204622621848776, 0},
    {U::unitKg, U::unitLb, 2.2046226218487757, 0},
    // Mass flow
    {U::unitKgps, U::unitKgph, 3600, 0},
    {U::unitKgps, U::unitLbph, 7936.6414386555925, 0},
    {U::unitKgph, U::unitLbph, 2.2046226218487757, 0},
    // Voltage
    {U::unitV, U::unitKV, 0.001, 0},
    {U::unitV, U::unitMV, 1000, 0},
    {U::unitKV, U::unitMV, 1000000, 0},
    // Electric current
    {U::unitA, U::unitKA, 0.001, 0},
    {U::unitA, U::unitMA, 1000, 0},
    {U::unitKA, U::unitMA, 1000000, 0},
    // Humidity ratio
    {U::unitKgpkg, U::unitGpkg, 1000, 0},
};

// The text shown in a description combo box is read into 250 characters with the terminator
// (descriptions hold at most 79).
constexpr int kShownDescriptionSize = 250;

}  // namespace

// ---- CUnitDefArray ----

const CUnitDefArray& CUnitDefArray::units() {
  static CUnitDefArray table;
  table.fill();
  return table;
}

void CUnitDefArray::fill() {
  if (!rows_.empty()) return;
  rows_.reserve(std::size(kUnitTable));
  for (const UnitEntry& entry : kUnitTable) {
    Row row{};
    row.unitId = entry.id;
    row.defaultDecimals = entry.defaultDecimals;
    cuSz::copyTo(row.label, kLabelSize, entry.label);
    CWsz description = VxKd::lngDbText(entry.quantity.textId, entry.quantity.defaultText);
    cuSz::copyTo(row.description, kDescriptionSize, description.str());
    rows_.push_back(row);
  }
}

const CUnitDefArray::Row* CUnitDefArray::find(int id) const {
  for (const Row& row : rows_)
    if (row.unitId == id) return &row;
  return nullptr;
}

// ---- CUnitConversionArray ----

const CUnitConversionArray& CUnitConversionArray::conversions() {
  static CUnitConversionArray table;
  table.fill();
  return table;
}

void CUnitConversionArray::fill() {
  if (!rows_.empty()) return;
  rows_.reserve(std::size(kConversionTable));
  for (const ConversionEntry& entry : kConversionTable)
    append(entry.from, entry.to, entry.a, entry.b);
}

void CUnitConversionArray::append(int32_t from, int32_t to, double a, double b) {
  rows_.push_back({from, to, a, b});
}

bool CUnitConversionArray::getCoefficients(int32_t from, int32_t to, double& a, double& b) const {
  for (const Row& row : rows_) {
    if (row.fromUnitId == from && row.toUnitId == to) {
      a = row.a;
      b = row.b;
      return true;
    }
    if (row.fromUnitId == to && row.toUnitId == from && std::fabs(row.a) > 1e-14) {
      a = 1.0 / row.a;
      // Deliberate: an offset of magnitude 0.01 or less is dropped in the reverse direction
      // (no row of the program's table has one; the rule shows with tables of one's own).
      b = std::fabs(row.b) > 0.01 ? -(row.b / row.a) : 0.0;
      return true;
    }
  }
  a = 1.0;
  b = 0.0;
  return false;
}

// ---- CKdUnit ----

void CKdUnit::getLabel(CWsz& label) const {
  const CUnitDefArray::Row* row = CUnitDefArray::units().find(unitId_);
  label.set(row ? row->label : L"");
}

void CKdUnit::getDescription(CWsz& description) const {
  const CUnitDefArray::Row* row = CUnitDefArray::units().find(unitId_);
  description.set(row ? row->description : L"");
}

int16_t CKdUnit::defaultCountOfDesimal() const {
  const CUnitDefArray::Row* row = CUnitDefArray::units().find(unitId_);
  return row ? row->defaultDecimals : 0;
}

bool CKdUnit::getConversionCoefficientsTo(unitId to, double& a, double& b) const {
  if (to == unitId_) {
    a = 1.0;
    b = 0.0;
    return true;
  }
  return CUnitConversionArray::conversions().getCoefficients(unitId_, to, a, b);
}

bool CKdUnit::convertValueTo(double& value, unitId to) const {
  if (to == unitId_) return true;
  double a, b;
  if (!getConversionCoefficientsTo(to, a, b)) return false;
  value = a * value + b;
  return true;
}

void CKdUnit::fillAndSelectDescCb(cuWin::HWND dialog, int comboId) const {
  VxComboBox* combo = VXDialog::comboBox(dialog, comboId);
  if (!combo) return;
  combo->resetContent();
  const CUnitDefArray& units = CUnitDefArray::units();
  std::set<std::wstring> added;
  for (int i = 0; i < units.length(); ++i) {
    const CUnitDefArray::Row& row = units.at(i);
    if (added.insert(row.description).second) combo->addString(row.description, row.unitId);
  }
  int selection = 0;
  if (const CUnitDefArray::Row* own = units.find(unitId_)) {
    for (int i = 0; i < combo->count(); ++i) {
      if (combo->textAt(i) == own->description) {
        selection = i;
        break;
      }
    }
  }
  combo->setCurSel(selection);
}

void CKdUnit::fillAndSelectLabelCb(cuWin::HWND dialog, int descComboId, int labelComboId) const {
  VxComboBox* descCombo = VXDialog::comboBox(dialog, descComboId);
  VxComboBox* labelCombo = VXDialog::comboBox(dialog, labelComboId);
  if (!descCombo || !labelCombo) return;
  CWsz shown = descCombo->windowText().left(kShownDescriptionSize - 1);
  labelCombo->resetContent();
  const CUnitDefArray& units = CUnitDefArray::units();
  std::set<std::wstring> added;
  for (int i = 0; i < units.length(); ++i) {
    const CUnitDefArray::Row& row = units.at(i);
    if (shown == row.description && added.insert(row.label).second)
      labelCombo->addString(row.label, row.unitId);
  }
  int selection = labelCombo->findData(unitId_);
  labelCombo->setCurSel(selection == VxComboBox::kError ? 0 : selection);
}

bool CKdUnit::readLabelCb(cuWin::HWND dialog, int comboId) {
  VxComboBox* combo = VXDialog::comboBox(dialog, comboId);
  if (!combo) return false;
  int selection = combo->curSel();
  if (selection == VxComboBox::kError) return false;
  long data = combo->itemData(selection);
  if (data == VxComboBox::kError) return false;
  unitId_ = static_cast<unitId>(data);
  return true;
}

bool CKdUnit::isValidId(int16_t id) { return CUnitDefArray::units().find(id) != nullptr; }
