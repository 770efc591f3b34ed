#include "vxkd/properties/unit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "support/ui_fixture.h"
#include "vxkd/platform/dialog.h"

using namespace cuWin;

namespace {

using U = CKdUnit;

// Every test opens the language texts before its first unit operation: the unit table
// translates its descriptions once, at its first use in the process.
class Unit : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(vxkd_test::openLanguageDb()); }
};

U unit(int id) { return U(static_cast<U::unitId>(id)); }

// Converts `value` from unit `from` to `to`; false (and `value` untouched) when they do not.
bool convert(int from, int to, double& value) {
  return unit(from).convertValueTo(value, static_cast<U::unitId>(to));
}

// The units of each quantity, in table order, keyed by description.
std::map<std::wstring, std::vector<int16_t>> unitsByQuantity() {
  std::map<std::wstring, std::vector<int16_t>> quantities;
  const CUnitDefArray& units = CUnitDefArray::units();
  for (int i = 0; i < units.length(); ++i)
    quantities[units.at(i).description].push_back(units.at(i).unitId);
  return quantities;
}

TEST_F(Unit, LabelDecimalsValidityAndDescriptionComeFromTheTable) {
  const struct {
    int id;
    const wchar_t* label;
    int decimals;
    bool valid;
    const wchar_t* description;
  } cases[] = {{0, L"", 0, true, L"None"},
               {12, L"[m]", 1, true, L"Length or distance"},
               {22, L"[m3/s]", 3, true, L"Volume flow"},
               {48, L"[Revit]", 0, true, L"Pressure or pressure difference"},
               {62, L"[dB(A)]", 1, true, L"Sound level"},
               {U::unitDeltaC, L"[C]", 1, true, L"Temperature difference"},
               {152, L"[A]", 2, true, L"Electric current"},
               {301, L"[m2K/kW]", 0, true, L"Others"},
               {50, L"", 0, false, L""},
               {-1, L"", 0, false, L""}};
  for (const auto& c : cases) {
    CWsz label(L"old"), description(L"old");
    unit(c.id).getLabel(label);
    unit(c.id).getDescription(description);
    EXPECT_EQ(label, c.label) << c.id;
    EXPECT_EQ(unit(c.id).defaultCountOfDesimal(), c.decimals) << c.id;
    EXPECT_EQ(U::isValidId(static_cast<int16_t>(c.id)), c.valid) << c.id;
    EXPECT_EQ(description, c.description) << c.id;
  }
}

TEST_F(Unit, KnownValuesConvert) {
  const struct {
    int from, to;
    double value, expected;
  } cases[] = {
      {U::unitMm, U::unitM, 1000, 1},  // the reverse of the row m -> mm
      {U::unitC, U::unitF, 20, 68},           {U::unitK, U::unitF, 0, -459.67},
      {U::unitDeltaC, U::unitDeltaF, 10, 18},  // no offset
      {U::unitW, U::unitBtuph, 1, 3.4118},    {U::unitW, U::unitRevitPower, 1, 10.76391041670972},
      {U::unitBar, U::unitPa, 1, 100000},     {U::unitGpkg, U::unitKgpkg, 8, 0.008}};
  for (const auto& c : cases) {
    double value = c.value;
    EXPECT_TRUE(convert(c.from, c.to, value)) << c.from << "->" << c.to;
    EXPECT_NEAR(value, c.expected, 1e-9 * std::max(1.0, std::fabs(c.expected)));
  }
}

TEST_F(Unit, TemperatureCoefficientsComeFromTheRowOrItsReverse) {
  double a = 0, b = 0;
  EXPECT_TRUE(unit(U::unitK).getConversionCoefficientsTo(U::unitC, a, b));
  EXPECT_EQ(a, 1.0);
  EXPECT_EQ(b, -273.15);
  EXPECT_TRUE(unit(U::unitF).getConversionCoefficientsTo(U::unitC, a, b));
  EXPECT_EQ(a, 1.0 / 1.8);
  EXPECT_EQ(b, -(32.0 / 1.8));
}

TEST_F(Unit, TemperatureDifferenceAndTemperatureOrTheSoundLevelsDoNotConvert) {
  const std::pair<int, int> pairs[] = {{U::unitDeltaC, U::unitC}, {U::unitC, U::unitDeltaC},
                                       {U::unitDB, U::unitDBA},   {U::unitDBA, U::unitDB},
                                       {999, U::unitMm},          {U::unitMm, 999}};
  for (auto [from, to] : pairs) {
    double value = 12.5, a = 0, b = 5;
    EXPECT_FALSE(convert(from, to, value)) << from << "->" << to;
    EXPECT_EQ(value, 12.5);
    EXPECT_FALSE(unit(from).getConversionCoefficientsTo(static_cast<U::unitId>(to), a, b));
    EXPECT_EQ(a, 1.0);
    EXPECT_EQ(b, 0.0);
  }
}

TEST_F(Unit, ConvertingToTheOwnIdIsTrueEvenOutsideTheTable) {
  for (int id : {999, -5, 50, int{U::unitDB}, int{U::unitNone}}) {
    double value = 3.25, a = 0, b = 7;
    EXPECT_TRUE(convert(id, id, value)) << id;
    EXPECT_EQ(value, 3.25);
    EXPECT_TRUE(unit(id).getConversionCoefficientsTo(static_cast<U::unitId>(id), a, b));
    EXPECT_EQ(a, 1.0);
    EXPECT_EQ(b, 0.0);
  }
}

TEST_F(Unit, UnitsOfDifferentQuantitiesNeverConvert) {
  auto quantities = unitsByQuantity();
  for (const auto& [q1, ids1] : quantities)
    for (const auto& [q2, ids2] : quantities) {
      if (q1 == q2) continue;
      for (int16_t from : ids1)
        for (int16_t to : ids2) {
          double value = 1.5;
          EXPECT_FALSE(convert(from, to, value)) << from << "->" << to;
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

TEST(UnitConversionArray, FirstLinkingRowWinsAndAReverseRowWithTinyFactorIsPassedOver) {
  CUnitConversionArray table;
  table.append(1, 2, 2.0);
  table.append(2, 1, 4.0);  // never reached: row 1 already links the two units
  table.append(4, 3, 1e-15);
  table.append(4, 3, 1e-14);
  table.append(4, 3, 4.0);
  double a = 0, b = 0;
  ASSERT_TRUE(table.getCoefficients(2, 1, a, b));
  EXPECT_EQ(a, 0.5);
  ASSERT_TRUE(table.getCoefficients(3, 4, a, b));
  EXPECT_EQ(a, 0.25);
  ASSERT_TRUE(table.getCoefficients(4, 3, a, b));
  EXPECT_EQ(a, 1e-15) << "forward the tiny factor is used as it stands";
  EXPECT_FALSE(table.getCoefficients(1, 3, a, b));
  EXPECT_EQ(a, 1.0);
  EXPECT_EQ(b, 0.0);
  table.fill();  // does nothing to a table with rows
  EXPECT_EQ(table.length(), 5);
}

// ---- Properties over the whole table ----

// The values every pair is tried with: small, large, negative, fractional, zero.
constexpr double kSampleValues[] = {1.0,    -1.0,  0.0,     0.001,   123.456, -98765.4321,
                                    37.5,   -40.0, 273.15,  -459.67, 1e9,     -1e12,
                                    2.5e-7, 1e15,  -0.0125, 6894.8,  3.4118};

// Relative tolerance 1e-9. The scale is the largest magnitude met along the way, not the
// result alone: with an offset (temperatures), a result near zero comes from subtracting
// two values near the offset (e.g. -273.15 °C is 0 K), so its rounding error is relative
// to those, and a check relative to the tiny result would fail on correct code.
void expectClose(double actual, double expected, std::initializer_list<double> along) {
  double scale = std::max(std::fabs(actual), std::fabs(expected));
  for (double x : along) scale = std::max(scale, std::fabs(x));
  EXPECT_LE(std::fabs(actual - expected), 1e-9 * scale) << actual << " vs " << expected;
}

TEST_F(Unit, EveryPairRoundTripsAndChainsThroughAThirdUnitAgree) {
  int pairs = 0, chains = 0;
  for (auto& [quantity, ids] : unitsByQuantity()) {
    // The sound levels "[dB]" and "[dB(A)]" have no conversions on purpose.
    if (std::find(ids.begin(), ids.end(), U::unitDB) != ids.end()) continue;
    for (int16_t a : ids)
      for (int16_t b : ids) {
        if (a == b) continue;
        ++pairs;
        for (double v : kSampleValues) {
          double there = v;
          ASSERT_TRUE(convert(a, b, there)) << a << "->" << b;
          double back = there;
          ASSERT_TRUE(convert(b, a, back)) << b << "->" << a;
          SCOPED_TRACE(testing::Message() << a << "->" << b << " of " << v);
          expectClose(back, v, {there});
        }
        for (int16_t c : ids) {
          if (c == a || c == b) continue;
          ++chains;
          for (double v : kSampleValues) {
            double viaB = v, direct = v;
            ASSERT_TRUE(convert(a, b, viaB));
            const double middle = viaB;
            ASSERT_TRUE(convert(b, c, viaB) && convert(a, c, direct));
            SCOPED_TRACE(testing::Message() << a << "->" << b << "->" << c << " of " << v);
            expectClose(viaB, direct, {v, middle});
          }
        }
      }
  }
  // The 95 rows, both ways; n (n - 1) (n - 2) chains over the quantities: four of 4 units,
  // one of 5, one of 9, eight of 3.
  EXPECT_EQ(pairs, 2 * 95);
  EXPECT_EQ(chains, 4 * 24 + 60 + 504 + 8 * 6);
}

// ---- Combo boxes ----

constexpr int kDescCombo = 1001;
constexpr int kLabelCombo = 1002;

class UnitComboBoxes : public Unit {
 protected:
  VxComboBox& descCombo() { return dialog_.comboBox(kDescCombo); }
  VxComboBox& labelCombo() { return dialog_.comboBox(kLabelCombo); }
  // The entries' texts joined by "|".
  static std::wstring texts(const VxComboBox& combo) {
    std::wstring out;
    for (int i = 0; i < combo.count(); ++i) out += (i ? L"|" : L"") + combo.textAt(i).str();
    return out;
  }

  VXDialog dialog_;
  HWND handle_ = dialog_.handle();
};

TEST_F(UnitComboBoxes, DescriptionComboListsTheQuantitiesOnceInTableOrder) {
  descCombo().addString(L"stale", 77);
  unit(U::unitKPa).fillAndSelectDescCb(handle_, kDescCombo);
  EXPECT_EQ(texts(descCombo()),
            L"None|Percent|Length or distance|Area|Volume|Volume flow|Velocity|"
            L"Pressure or pressure difference|Power|Sound level|Temperature difference|"
            L"Temperature|Enthalpy|Mass|Mass flow|Voltage|Electric current|"
            L"Heat transfer coefficient|Humidity ratio|Temperature/time|Others");
  EXPECT_EQ(descCombo().count(), 21);
  // Item data: the id of the quantity's first unit in table order.
  EXPECT_EQ(descCombo().itemData(2), U::unitMm);
  EXPECT_EQ(descCombo().itemData(15), U::unitMV);
  EXPECT_EQ(descCombo().curSel(), 7);
  unit(999).fillAndSelectDescCb(handle_, kDescCombo);
  EXPECT_EQ(descCombo().curSel(), 0) << "an unknown unit selects the first entry";
}

TEST_F(UnitComboBoxes, LabelComboListsTheUnitsOfTheShownQuantity) {
  unit(U::unitMm).fillAndSelectLabelCb(handle_, kDescCombo, kLabelCombo);
  EXPECT_EQ(labelCombo().count(), 0) << "no quantity shown";
  EXPECT_EQ(labelCombo().curSel(), VxComboBox::kError);
  unit(U::unitMPa).fillAndSelectDescCb(handle_, kDescCombo);
  labelCombo().addString(L"stale", 77);
  unit(U::unitMPa).fillAndSelectLabelCb(handle_, kDescCombo, kLabelCombo);
  EXPECT_EQ(texts(labelCombo()), L"[Pa]|[kPa]|[MPa]|[bar]|[mbar]|[psi]|[inH2O]|[inHg]|[Revit]");
  EXPECT_EQ(labelCombo().itemData(8), U::unitRevitPressure);
  EXPECT_EQ(labelCombo().curSel(), 2);
  // The user picked another quantity: its units are listed, the first one selected.
  descCombo().setCurSel(10);
  unit(U::unitMPa).fillAndSelectLabelCb(handle_, kDescCombo, kLabelCombo);
  EXPECT_EQ(texts(labelCombo()), L"[C]|[K]|[F]");
  EXPECT_EQ(labelCombo().itemData(0), U::unitDeltaC);
  EXPECT_EQ(labelCombo().curSel(), 0);
}

TEST_F(UnitComboBoxes, ReadLabelTakesTheIdFromTheSelectedItemData) {
  U u(U::unitMm);
  EXPECT_FALSE(u.readLabelCb(nullptr, kLabelCombo)) << "no dialog";
  labelCombo().addString(L"[mm]", U::unitPa);  // the label is never parsed
  EXPECT_FALSE(u.readLabelCb(handle_, kLabelCombo)) << "nothing selected";
  EXPECT_EQ(u.id(), U::unitMm);
  labelCombo().setCurSel(0);
  EXPECT_TRUE(u.readLabelCb(handle_, kLabelCombo));
  EXPECT_EQ(u.id(), U::unitPa);
  U original(U::unitKgph);
  original.fillAndSelectDescCb(handle_, kDescCombo);
  original.fillAndSelectLabelCb(handle_, kDescCombo, kLabelCombo);
  ASSERT_TRUE(u.readLabelCb(handle_, kLabelCombo));
  EXPECT_EQ(u.id(), U::unitKgph);
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
