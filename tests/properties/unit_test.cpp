#include "properties/unit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <vector>

#include "platform/dialog.h"
#include "support/ui_fixture.h"

namespace {

using U = CKdUnit;

// Every test opens the language texts before its first unit operation: the unit table
// translates its descriptions once, at its first use in the process.
class Unit : public testing::Test {
 protected:
  void SetUp() override { vxkd_test::openLanguageDb(); }
};

// The units of each quantity, in table order, keyed by description.
std::map<std::wstring, std::vector<int16_t>> unitsByQuantity() {
  std::map<std::wstring, std::vector<int16_t>> quantities;
  const CUnitDefArray& units = CUnitDefArray::units();
  for (int i = 0; i < units.length(); ++i)
    quantities[units.at(i).description].push_back(units.at(i).unitId);
  return quantities;
}

// The same, without the one quantity of several units that has no conversions on purpose:
// the sound levels "[dB]" and "[dB(A)]".
std::map<std::wstring, std::vector<int16_t>> convertibleQuantities() {
  auto quantities = unitsByQuantity();
  std::erase_if(quantities, [](const auto& entry) {
    return std::find(entry.second.begin(), entry.second.end(), CKdUnit::unitDB) !=
           entry.second.end();
  });
  return quantities;
}

U unit(int id) { return U(static_cast<U::unitId>(id)); }

// ---- Tables ----

TEST_F(Unit, UnitTableHoldsEveryUnitOnceInTheUsersOrder) {
  const CUnitDefArray& units = CUnitDefArray::units();
  ASSERT_EQ(units.length(), 63);
  std::set<int> ids;
  for (int i = 0; i < units.length(); ++i) EXPECT_TRUE(ids.insert(units.at(i).unitId).second);
  // Not id order: "[MPa]" between "[kPa]" and "[bar]", "[mV]" before "[V]".
  EXPECT_EQ(units.at(0).unitId, U::unitNone);
  EXPECT_EQ(units.at(1).unitId, U::unitPercent);
  EXPECT_EQ(units.at(24).unitId, U::unitMPa);
  EXPECT_EQ(units.at(25).unitId, U::unitBar);
  EXPECT_EQ(units.at(52).unitId, U::unitMV);
  EXPECT_EQ(units.at(53).unitId, U::unitV);
  EXPECT_EQ(units.at(62).unitId, U::unitM2KpkW);
}

TEST_F(Unit, ConversionTableHoldsOneDirectionOfEachPairInFillOrder) {
  const CUnitConversionArray& conversions = CUnitConversionArray::conversions();
  ASSERT_EQ(conversions.length(), 95);
  EXPECT_EQ(conversions.at(0).fromUnitId, U::unitM);
  EXPECT_EQ(conversions.at(0).toUnitId, U::unitMm);
  EXPECT_EQ(conversions.at(94).fromUnitId, U::unitKgpkg);
  EXPECT_EQ(conversions.at(94).toUnitId, U::unitGpkg);
  std::set<std::pair<int, int>> pairs;
  for (int i = 0; i < conversions.length(); ++i) {
    const auto& row = conversions.at(i);
    EXPECT_TRUE(pairs
                    .insert({std::min(row.fromUnitId, row.toUnitId),
                             std::max(row.fromUnitId, row.toUnitId)})
                    .second)
        << row.fromUnitId << "->" << row.toUnitId;
  }
}

TEST_F(Unit, EveryConversionRowLinksTwoUnitsOfOneQuantity) {
  const CUnitConversionArray& conversions = CUnitConversionArray::conversions();
  const CUnitDefArray& units = CUnitDefArray::units();
  for (int i = 0; i < conversions.length(); ++i) {
    const auto* from = units.find(conversions.at(i).fromUnitId);
    const auto* to = units.find(conversions.at(i).toUnitId);
    ASSERT_TRUE(from && to) << i;
    EXPECT_STREQ(from->description, to->description) << i;
  }
}

// ---- Labels, decimals, ids ----

struct LabelCase {
  int id;
  const wchar_t* label;
  int decimals;
  bool valid;
};

class UnitLabels : public Unit, public testing::WithParamInterface<LabelCase> {};

TEST_P(UnitLabels, GiveLabelDecimalsAndValidity) {
  const LabelCase& c = GetParam();
  CWsz label(L"old");
  unit(c.id).getLabel(label);
  EXPECT_EQ(label, c.label);
  EXPECT_EQ(unit(c.id).defaultCountOfDesimal(), c.decimals);
  EXPECT_EQ(U::isValidId(static_cast<int16_t>(c.id)), c.valid);
}

INSTANTIATE_TEST_SUITE_P(
    Table, UnitLabels,
    testing::Values(LabelCase{0, L"", 0, true}, LabelCase{5, L"[%]", 0, true},
                    LabelCase{12, L"[m]", 1, true}, LabelCase{22, L"[m3/s]", 3, true},
                    LabelCase{49, L"[MPa]", 3, true}, LabelCase{48, L"[Revit]", 0, true},
                    LabelCase{62, L"[dB(A)]", 1, true}, LabelCase{93, L"[F]", 1, true},
                    LabelCase{101, L"[C]", 1, true}, LabelCase{152, L"[A]", 2, true},
                    LabelCase{301, L"[m2K/kW]", 0, true}, LabelCase{50, L"", 0, false},
                    LabelCase{999, L"", 0, false}, LabelCase{-1, L"", 0, false}));

TEST_F(Unit, DescriptionIsTheTranslatedQuantity) {
  CWsz description;
  unit(U::unitMm).getDescription(description);
  EXPECT_EQ(description, L"Length or distance");
  unit(U::unitDeltaC).getDescription(description);
  EXPECT_EQ(description, L"Temperature difference");
  unit(999).getDescription(description);
  EXPECT_EQ(description, L"");
}

TEST_F(Unit, HoldsAnyIdWithoutValidation) {
  U u;
  EXPECT_EQ(u.id(), U::unitNone);
  u.setUnitId(static_cast<U::unitId>(777));
  EXPECT_EQ(u.id(), 777);
  U copy = u;
  EXPECT_EQ(static_cast<U::unitId>(copy), 777);
}

// ---- Conversion ----

struct ConversionCase {
  int from;
  int to;
  double value;
  double expected;
};

class UnitConversions : public Unit, public testing::WithParamInterface<ConversionCase> {};

TEST_P(UnitConversions, ConvertKnownValues) {
  const ConversionCase& c = GetParam();
  double value = c.value;
  EXPECT_TRUE(unit(c.from).convertValueTo(value, static_cast<U::unitId>(c.to)));
  EXPECT_NEAR(value, c.expected, 1e-9 * std::max(1.0, std::fabs(c.expected)));
}

INSTANTIATE_TEST_SUITE_P(
    Table, UnitConversions,
    testing::Values(ConversionCase{U::unitM, U::unitMm, 1, 1000},
                    ConversionCase{U::unitMm, U::unitM, 1000, 1},  // reverse of 12->11
                    ConversionCase{U::unitC, U::unitF, 20, 68},
                    ConversionCase{U::unitF, U::unitC, 68, 20},
                    ConversionCase{U::unitK, U::unitF, 0, -459.67},
                    ConversionCase{U::unitK, U::unitC, 300, 26.85},
                    ConversionCase{U::unitDeltaC, U::unitDeltaF, 10, 18},  // no offset
                    ConversionCase{U::unitDeltaF, U::unitDeltaK, 18, 10},
                    ConversionCase{U::unitW, U::unitBtuph, 1, 3.4118},
                    ConversionCase{U::unitW, U::unitRevitPower, 1, 10.76391041670972},
                    ConversionCase{U::unitBar, U::unitPa, 1, 100000},
                    ConversionCase{U::unitFt, U::unitIn, 2, 24},
                    ConversionCase{U::unitMA, U::unitA, 1500, 1.5},
                    ConversionCase{U::unitGpkg, U::unitKgpkg, 8, 0.008}));

TEST_F(Unit, KelvinToCelsiusIsTheReverseOfCelsiusToKelvin) {
  double a = 0, b = 0;
  EXPECT_TRUE(unit(U::unitK).getConversionCoefficientsTo(U::unitC, a, b));
  EXPECT_EQ(a, 1.0);
  EXPECT_EQ(b, -273.15);
}

TEST_F(Unit, FahrenheitToCelsiusUsesTheReverseRow) {
  double a = 0, b = 0;
  EXPECT_TRUE(unit(U::unitF).getConversionCoefficientsTo(U::unitC, a, b));
  EXPECT_EQ(a, 1.0 / 1.8);
  EXPECT_EQ(b, -(32.0 / 1.8));
}

TEST_F(Unit, TemperatureDifferenceDoesNotConvertToTemperature) {
  double value = 12.5;
  EXPECT_FALSE(unit(U::unitDeltaC).convertValueTo(value, U::unitC));
  EXPECT_EQ(value, 12.5);
  EXPECT_FALSE(unit(U::unitC).convertValueTo(value, U::unitDeltaC));
  EXPECT_EQ(value, 12.5);
  double a = 0, b = 5;
  EXPECT_FALSE(unit(U::unitDeltaC).getConversionCoefficientsTo(U::unitC, a, b));
  EXPECT_EQ(a, 1.0);
  EXPECT_EQ(b, 0.0);
}

TEST_F(Unit, SoundLevelsDoNotConvertIntoEachOther) {
  double value = 40;
  EXPECT_FALSE(unit(U::unitDB).convertValueTo(value, U::unitDBA));
  EXPECT_FALSE(unit(U::unitDBA).convertValueTo(value, U::unitDB));
  EXPECT_EQ(value, 40);
}

TEST_F(Unit, ConvertingToTheOwnIdIsTrueEvenOutsideTheTable) {
  for (int id : {999, -5, 50, int{U::unitDB}, int{U::unitNone}}) {
    double value = 3.25;
    EXPECT_TRUE(unit(id).convertValueTo(value, static_cast<U::unitId>(id))) << id;
    EXPECT_EQ(value, 3.25);
    double a = 0, b = 7;
    EXPECT_TRUE(unit(id).getConversionCoefficientsTo(static_cast<U::unitId>(id), a, b));
    EXPECT_EQ(a, 1.0);
    EXPECT_EQ(b, 0.0);
  }
  double value = 3.25;
  EXPECT_FALSE(unit(999).convertValueTo(value, U::unitMm));
  EXPECT_FALSE(unit(U::unitMm).convertValueTo(value, static_cast<U::unitId>(999)));
  EXPECT_EQ(value, 3.25);
}

TEST_F(Unit, UnitsOfDifferentQuantitiesNeverConvert) {
  auto quantities = unitsByQuantity();
  for (const auto& [q1, ids1] : quantities)
    for (const auto& [q2, ids2] : quantities) {
      if (q1 == q2) continue;
      for (int16_t from : ids1)
        for (int16_t to : ids2) {
          double value = 1.5;
          EXPECT_FALSE(unit(from).convertValueTo(value, static_cast<U::unitId>(to)))
              << from << "->" << to;
          EXPECT_EQ(value, 1.5);
        }
    }
}

// ---- The look-up rules, on tables of the test's own ----

TEST(UnitConversionArray, SmallOffsetIsDroppedInTheReverseDirectionOnly) {
  CUnitConversionArray table;
  table.append(1, 2, 2.0, 0.01);
  table.append(3, 4, 2.0, -0.01);
  table.append(5, 6, 2.0, 0.0100001);
  double a = 0, b = 0;
  ASSERT_TRUE(table.getCoefficients(1, 2, a, b));
  EXPECT_EQ(a, 2.0);
  EXPECT_EQ(b, 0.01);
  ASSERT_TRUE(table.getCoefficients(2, 1, a, b));
  EXPECT_EQ(a, 0.5);
  EXPECT_EQ(b, 0.0);
  ASSERT_TRUE(table.getCoefficients(4, 3, a, b));
  EXPECT_EQ(b, 0.0);
  ASSERT_TRUE(table.getCoefficients(6, 5, a, b));
  EXPECT_EQ(b, -(0.0100001 / 2.0));
}

TEST(UnitConversionArray, FirstRowLinkingTheUnitsWinsInEitherDirection) {
  CUnitConversionArray table;
  table.append(1, 2, 2.0);
  table.append(2, 1, 4.0);  // never reached: row 1 already links the two units
  double a = 0, b = 0;
  ASSERT_TRUE(table.getCoefficients(2, 1, a, b));
  EXPECT_EQ(a, 0.5);
  ASSERT_TRUE(table.getCoefficients(1, 2, a, b));
  EXPECT_EQ(a, 2.0);
}

TEST(UnitConversionArray, ReverseRowWithTinyFactorIsPassedOver) {
  CUnitConversionArray table;
  table.append(2, 1, 1e-15);
  table.append(2, 1, 1e-14);
  table.append(2, 1, 4.0);
  double a = 0, b = 0;
  ASSERT_TRUE(table.getCoefficients(1, 2, a, b));
  EXPECT_EQ(a, 0.25);
  // Forward the tiny factor is used as it stands.
  ASSERT_TRUE(table.getCoefficients(2, 1, a, b));
  EXPECT_EQ(a, 1e-15);
}

TEST(UnitConversionArray, NoLinkingRowOrEmptyTableGivesIdentityAndFalse) {
  CUnitConversionArray table;
  double a = 0, b = 9;
  EXPECT_FALSE(table.getCoefficients(1, 2, a, b));
  EXPECT_EQ(a, 1.0);
  EXPECT_EQ(b, 0.0);
  table.append(1, 3, 2.0, 1.0);
  a = 0, b = 9;
  EXPECT_FALSE(table.getCoefficients(1, 2, a, b));
  EXPECT_EQ(a, 1.0);
  EXPECT_EQ(b, 0.0);
}

TEST(UnitConversionArray, FillDoesNothingWhenTheTableHasRows) {
  CUnitConversionArray table;
  table.append(1, 2, 2.0);
  table.fill();
  EXPECT_EQ(table.length(), 1);
  CUnitConversionArray standard;
  standard.fill();
  standard.fill();
  EXPECT_EQ(standard.length(), CUnitConversionArray::conversions().length());
}

// ---- Properties over the whole table ----

// The values every pair is tried with: small, large, negative, fractional, zero.
constexpr double kSampleValues[] = {1.0,    -1.0,  0.0,     0.001,   123.456, -98765.4321,
                                    37.5,   -40.0, 273.15,  -459.67, 1e9,     -1e12,
                                    2.5e-7, 1e15,  -0.0125, 6894.8,  3.4118};

// Relative tolerance 1e-9. The scale is the largest magnitude met along the way, not the
// result alone: with an offset (temperatures), a result near zero comes from subtracting
// two values near the offset (e.g. -273.15 °C is 0 K), so its rounding error is relative
// to those, and a check relative to the tiny result would fail on correct code. For units
// without offsets the largest magnitude is within a constant factor of the result.
void expectClose(double actual, double expected, std::initializer_list<double> along,
                 const char* what, int a, int b, int c, double v) {
  double scale = std::max(std::fabs(actual), std::fabs(expected));
  for (double x : along) scale = std::max(scale, std::fabs(x));
  EXPECT_LE(std::fabs(actual - expected), 1e-9 * scale)
      << what << " " << a << "->" << b << "->" << c << " of " << v << ": " << actual << " vs "
      << expected;
}

TEST_F(Unit, EveryPairOfOneQuantityConvertsThereAndBack) {
  int pairs = 0;
  for (const auto& [quantity, ids] : convertibleQuantities())
    for (int16_t from : ids)
      for (int16_t to : ids) {
        if (from == to) continue;
        ++pairs;
        for (double v : kSampleValues) {
          double there = v;
          ASSERT_TRUE(unit(from).convertValueTo(there, static_cast<U::unitId>(to)))
              << from << "->" << to;
          double back = there;
          ASSERT_TRUE(unit(to).convertValueTo(back, static_cast<U::unitId>(from)))
              << to << "->" << from;
          expectClose(back, v, {there}, "round trip", from, to, from, v);
        }
      }
  // Every ordered pair of the 14 quantities with conversions: the 95 rows, both ways.
  EXPECT_EQ(pairs, 2 * 95);
}

TEST_F(Unit, ChainThroughAThirdUnitAgreesWithTheDirectConversion) {
  int chains = 0;
  for (const auto& [quantity, ids] : convertibleQuantities())
    for (int16_t a : ids)
      for (int16_t b : ids)
        for (int16_t c : ids) {
          if (a == b || b == c || a == c) continue;
          ++chains;
          for (double v : kSampleValues) {
            double viaB = v;
            ASSERT_TRUE(unit(a).convertValueTo(viaB, static_cast<U::unitId>(b)));
            double middle = viaB;
            ASSERT_TRUE(unit(b).convertValueTo(viaB, static_cast<U::unitId>(c)));
            double direct = v;
            ASSERT_TRUE(unit(a).convertValueTo(direct, static_cast<U::unitId>(c)));
            expectClose(viaB, direct, {v, middle}, "chain", a, b, c, v);
          }
        }
  // n (n - 1) (n - 2) over the quantities: four of 4 units, one of 5, one of 9, eight of 3.
  EXPECT_EQ(chains, 4 * 24 + 60 + 504 + 8 * 6);
}

// ---- Combo boxes ----

constexpr int kDescCombo = 1001;
constexpr int kLabelCombo = 1002;

class UnitComboBoxes : public Unit {
 protected:
  VxComboBox& descCombo() { return dialog_.comboBox(kDescCombo); }
  VxComboBox& labelCombo() { return dialog_.comboBox(kLabelCombo); }
  HWND handle() const { return dialog_.handle(); }
  std::vector<std::wstring> texts(const VxComboBox& combo) const {
    std::vector<std::wstring> out;
    for (int i = 0; i < combo.count(); ++i) out.push_back(combo.textAt(i).str());
    return out;
  }

 private:
  VXDialog dialog_;
};

TEST_F(UnitComboBoxes, DescriptionComboListsTheQuantitiesOnceInTableOrder) {
  descCombo().addString(L"stale", 77);
  unit(U::unitKPa).fillAndSelectDescCb(handle(), kDescCombo);
  std::vector<std::wstring> expected = {L"None",
                                        L"Percent",
                                        L"Length or distance",
                                        L"Area",
                                        L"Volume",
                                        L"Volume flow",
                                        L"Velocity",
                                        L"Pressure or pressure difference",
                                        L"Power",
                                        L"Sound level",
                                        L"Temperature difference",
                                        L"Temperature",
                                        L"Enthalpy",
                                        L"Mass",
                                        L"Mass flow",
                                        L"Voltage",
                                        L"Electric current",
                                        L"Heat transfer coefficient",
                                        L"Humidity ratio",
                                        L"Temperature/time",
                                        L"Others"};
  EXPECT_EQ(texts(descCombo()), expected);
  ASSERT_EQ(descCombo().count(), 21);
  // Item data: the id of the quantity's first unit in table order.
  EXPECT_EQ(descCombo().itemData(2), U::unitMm);
  EXPECT_EQ(descCombo().itemData(7), U::unitPa);
  EXPECT_EQ(descCombo().itemData(15), U::unitMV);
  EXPECT_EQ(descCombo().curSel(), 7);
}

TEST_F(UnitComboBoxes, DescriptionComboSelectsFirstEntryForUnknownUnit) {
  unit(999).fillAndSelectDescCb(handle(), kDescCombo);
  EXPECT_EQ(descCombo().curSel(), 0);
  unit(U::unitM2KpkW).fillAndSelectDescCb(handle(), kDescCombo);
  EXPECT_EQ(descCombo().curSel(), 20);
}

TEST_F(UnitComboBoxes, LabelComboListsTheUnitsOfTheShownQuantity) {
  unit(U::unitMPa).fillAndSelectDescCb(handle(), kDescCombo);
  labelCombo().addString(L"stale", 77);
  unit(U::unitMPa).fillAndSelectLabelCb(handle(), kDescCombo, kLabelCombo);
  std::vector<std::wstring> expected = {L"[Pa]",  L"[kPa]",   L"[MPa]",  L"[bar]",  L"[mbar]",
                                        L"[psi]", L"[inH2O]", L"[inHg]", L"[Revit]"};
  EXPECT_EQ(texts(labelCombo()), expected);
  EXPECT_EQ(labelCombo().itemData(2), U::unitMPa);
  EXPECT_EQ(labelCombo().itemData(8), U::unitRevitPressure);
  EXPECT_EQ(labelCombo().curSel(), 2);
}

TEST_F(UnitComboBoxes, LabelComboFollowsTheDescriptionNotTheUnit) {
  // The user picked another quantity: its units are listed, the first one selected.
  unit(U::unitMPa).fillAndSelectDescCb(handle(), kDescCombo);
  descCombo().setCurSel(10);  // Temperature difference
  unit(U::unitMPa).fillAndSelectLabelCb(handle(), kDescCombo, kLabelCombo);
  EXPECT_EQ(texts(labelCombo()), (std::vector<std::wstring>{L"[C]", L"[K]", L"[F]"}));
  EXPECT_EQ(labelCombo().itemData(0), U::unitDeltaC);
  EXPECT_EQ(labelCombo().curSel(), 0);
}

TEST_F(UnitComboBoxes, LabelComboIsEmptyWhenNoQuantityIsShown) {
  unit(U::unitMm).fillAndSelectLabelCb(handle(), kDescCombo, kLabelCombo);
  EXPECT_EQ(labelCombo().count(), 0);
  EXPECT_EQ(labelCombo().curSel(), VxComboBox::kError);
}

TEST_F(UnitComboBoxes, ReadLabelTakesTheIdFromTheItemData) {
  labelCombo().addString(L"[mm]", U::unitPa);  // the label is never parsed
  labelCombo().setCurSel(0);
  U u(U::unitMm);
  EXPECT_TRUE(u.readLabelCb(handle(), kLabelCombo));
  EXPECT_EQ(u.id(), U::unitPa);
}

TEST_F(UnitComboBoxes, ReadLabelRefusesWithoutSelection) {
  labelCombo().addString(L"[Pa]", U::unitPa);
  U u(U::unitMm);
  EXPECT_FALSE(u.readLabelCb(handle(), kLabelCombo));
  EXPECT_EQ(u.id(), U::unitMm);
}

TEST_F(UnitComboBoxes, FillReadRoundTrip) {
  U original(U::unitKgph);
  original.fillAndSelectDescCb(handle(), kDescCombo);
  original.fillAndSelectLabelCb(handle(), kDescCombo, kLabelCombo);
  U read;
  ASSERT_TRUE(read.readLabelCb(handle(), kLabelCombo));
  EXPECT_EQ(read.id(), U::unitKgph);
}

TEST_F(Unit, ComboFunctionsDoNothingWithoutADialog) {
  U u(U::unitMm);
  u.fillAndSelectDescCb(nullptr, kDescCombo);
  u.fillAndSelectLabelCb(nullptr, kDescCombo, kLabelCombo);
  EXPECT_FALSE(u.readLabelCb(nullptr, kLabelCombo));
  EXPECT_EQ(u.id(), U::unitMm);
}

// ---- Translation at fill time ----

TEST_F(Unit, DescriptionsAreTranslatedWhenTheTableIsFilledAndThenKept) {
  CUnitDefArray::units();  // the process-wide table stays in the default language
  CUnitDefArray table;     // a table of its own, filled under another language
  {
    vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
    ASSERT_TRUE(german.active());
    table.fill();
  }
  EXPECT_STREQ(table.at(0).description, L"Keine");
  EXPECT_STREQ(table.find(U::unitMm)->description, L"Länge oder Abstand");
  table.fill();  // English active again: a filled table does not change
  EXPECT_STREQ(table.at(0).description, L"Keine");
  EXPECT_EQ(table.length(), CUnitDefArray::units().length());
}

}  // namespace
