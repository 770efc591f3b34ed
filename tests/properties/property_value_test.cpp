#include "properties/property_value.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <string>

#include "support/ui_fixture.h"
#include "ui/language.h"

namespace {

using V = CKdPropertyValue;

V int16Value(int16_t v) {
  V value;
  value.setInt16(v);
  return value;
}
V int32Value(int32_t v) {
  V value;
  value.setInt32(v);
  return value;
}
V singleValue(float v) {
  V value;
  value.setSingleReal(v);
  return value;
}
V doubleValue(double v) {
  V value;
  value.setDoubleReal(v);
  return value;
}
V textValue(const wchar_t* v) {
  V value;
  value.setText(v);
  return value;
}
V typeOnly(V::valueTypeId type) {
  V value;
  value.setTypeId(type);
  return value;
}

// ---- Construction and setters ----

TEST(PropertyValue, DefaultHasNoValueAndNoType) {
  V value;
  EXPECT_FALSE(value.hasValue());
  EXPECT_EQ(value.typeId(), V::typeNone);
  double real = 1;
  EXPECT_FALSE(value.getDoubleReal(real));
  EXPECT_EQ(real, 0.0);
}

TEST(PropertyValue, SettersSetTypeAndValue) {
  EXPECT_EQ(int16Value(-3).typeId(), V::typeInt16);
  EXPECT_EQ(int32Value(7).typeId(), V::typeInt32);
  EXPECT_EQ(singleValue(1.5f).typeId(), V::typeSingleReal);
  EXPECT_EQ(doubleValue(2.5).typeId(), V::typeDoubleReal);
  EXPECT_EQ(textValue(L"x").typeId(), V::typeText);
  for (const V& value :
       {int16Value(-3), int32Value(7), singleValue(1.5f), doubleValue(2.5), textValue(L"x")})
    EXPECT_TRUE(value.hasValue());
}

TEST(PropertyValue, EmptyOrNullTextIsASetTextWithoutBuffer) {
  for (const wchar_t* text : {L"", static_cast<const wchar_t*>(nullptr)}) {
    V value = textValue(text);
    EXPECT_TRUE(value.hasValue());
    EXPECT_EQ(value.typeId(), V::typeText);
    CWsz out(L"old");
    EXPECT_TRUE(value.getText(out));
    EXPECT_EQ(out, L"");
  }
}

TEST(PropertyValue, TextIsOwnedCopy) {
  wchar_t source[] = L"Steel";
  V value = textValue(source);
  source[0] = L'X';
  CWsz out;
  ASSERT_TRUE(value.getText(out));
  EXPECT_EQ(out, L"Steel");
}

TEST(PropertyValue, SettingAnotherTypeReleasesTheText) {
  // Under the sanitizer build a text that is not freed shows as a leak.
  V value = textValue(L"Steel");
  value.setInt32(4);
  CWsz out(L"old");
  EXPECT_FALSE(value.getText(out));
  EXPECT_EQ(out, L"");
  int32_t number = 0;
  EXPECT_TRUE(value.getInt32(number));
  EXPECT_EQ(number, 4);
}

TEST(PropertyValue, SetTypeIdOutsideOneToFiveGivesTypeNone) {
  for (int type : {0, 6, 7, 255}) {
    V value = textValue(L"abc");
    value.setTypeId(static_cast<V::valueTypeId>(type));
    EXPECT_EQ(value.typeId(), V::typeNone) << type;
    EXPECT_FALSE(value.hasValue()) << type;
  }
}

TEST(PropertyValue, SetTypeIdInRangeKeepsTypeAndClearsValue) {
  for (int type = 1; type <= 5; ++type) {
    V value = doubleValue(3.5);
    value.setTypeId(static_cast<V::valueTypeId>(type));
    EXPECT_EQ(value.typeId(), type);
    EXPECT_FALSE(value.hasValue());
  }
}

TEST(PropertyValue, ResetValueKeepsTheType) {
  V value = doubleValue(3.5);
  value.resetValue();
  EXPECT_EQ(value.typeId(), V::typeDoubleReal);
  EXPECT_FALSE(value.hasValue());
  double real = 1;
  EXPECT_TRUE(value.getDoubleReal(real));
  EXPECT_EQ(real, 0.0);
}

// ---- Getters: which types each accepts ----

// What each getter reports for one value: accepted or not, and the number read.
struct GetterCase {
  const char* name;
  std::function<V()> make;
  bool int16Ok;
  int16_t int16;
  bool int32Ok;
  int32_t int32;
  bool singleOk;
  float single;
  bool doubleOk;
  double real;
  bool textOk;
};

class PropertyValueGetters : public testing::TestWithParam<GetterCase> {};

TEST_P(PropertyValueGetters, AcceptOnlyTheirTypesAndWriteTheResultAlways) {
  const GetterCase& c = GetParam();
  V value = c.make();
  int16_t i16 = 99;
  int32_t i32 = 99;
  float f = 99;
  double d = 99;
  CWsz text(L"old");
  EXPECT_EQ(value.getInt16(i16), c.int16Ok);
  EXPECT_EQ(i16, c.int16);
  EXPECT_EQ(value.getInt32(i32), c.int32Ok);
  EXPECT_EQ(i32, c.int32);
  EXPECT_EQ(value.getSingleReal(f), c.singleOk);
  EXPECT_EQ(f, c.single);
  EXPECT_EQ(value.getDoubleReal(d), c.doubleOk);
  EXPECT_EQ(d, c.real);
  EXPECT_EQ(value.getText(text), c.textOk);
  if (!c.textOk) {
    EXPECT_EQ(text, L"");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, PropertyValueGetters,
    testing::Values(GetterCase{"Int16", [] { return int16Value(-3); }, true, -3, true, -3, false, 0,
                               true, -3.0, false},
                    GetterCase{"Int32", [] { return int32Value(-70000); }, false, 0, true, -70000,
                               false, 0, true, -70000.0, false},
                    GetterCase{"Single", [] { return singleValue(0.1f); }, false, 0, false, 0, true,
                               0.1f, true, static_cast<double>(0.1f), false},
                    GetterCase{"Double", [] { return doubleValue(2.5); }, false, 0, false, 0, false,
                               0, true, 2.5, false},
                    GetterCase{"Text", [] { return textValue(L"abc"); }, false, 0, false, 0, false,
                               0, false, 0.0, true},
                    GetterCase{"None", [] { return V(); }, false, 0, false, 0, false, 0, false, 0.0,
                               false},
                    GetterCase{"Int16WithoutValue", [] { return typeOnly(V::typeInt16); }, true, 0,
                               true, 0, false, 0, true, 0.0, false},
                    GetterCase{"Int32WithoutValue", [] { return typeOnly(V::typeInt32); }, false, 0,
                               true, 0, false, 0, true, 0.0, false},
                    GetterCase{"SingleWithoutValue", [] { return typeOnly(V::typeSingleReal); },
                               false, 0, false, 0, true, 0, true, 0.0, false},
                    GetterCase{"DoubleWithoutValue", [] { return typeOnly(V::typeDoubleReal); },
                               false, 0, false, 0, false, 0, true, 0.0, false},
                    GetterCase{"TextWithoutValue", [] { return typeOnly(V::typeText); }, false, 0,
                               false, 0, false, 0, false, 0.0, true}),
    [](const testing::TestParamInfo<GetterCase>& info) { return std::string(info.param.name); });

TEST(PropertyValue, Int16IsSignExtendedIntoTheInt32Slot) {
  int32_t number = 0;
  EXPECT_TRUE(int16Value(-32768).getInt32(number));
  EXPECT_EQ(number, -32768);
}

TEST(PropertyValue, SingleRealIsWidenedForStorage) {
  double real = 0;
  ASSERT_TRUE(singleValue(0.1f).getDoubleReal(real));
  EXPECT_EQ(real, static_cast<double>(0.1f));
  EXPECT_NE(real, 0.1);
}

// ---- Rounding ----

struct RoundCase {
  double value;
  int decimals;
  double expected;
};

class PropertyValueRounding : public testing::TestWithParam<RoundCase> {};

TEST_P(PropertyValueRounding, RoundsWithStepOfRepeatedMultiplication) {
  const RoundCase& c = GetParam();
  double real = 99;
  EXPECT_TRUE(doubleValue(c.value).getDoubleReal(real, c.decimals));
  EXPECT_NEAR(real, c.expected, 1e-12) << c.value << " at " << c.decimals;
}

INSTANTIATE_TEST_SUITE_P(
    Table, PropertyValueRounding,
    testing::Values(
        // Halves round towards plus infinity, also below zero.
        RoundCase{2.5, 0, 3.0}, RoundCase{-2.5, 0, -2.0}, RoundCase{-0.5, 0, 0.0},
        RoundCase{0.25, 1, 0.3}, RoundCase{-0.25, 1, -0.2}, RoundCase{-1.5, 0, -1.0},
        // Decimals of 0 or fewer round to a whole number.
        RoundCase{1234.5678, -1, 1235.0}, RoundCase{-1234.5, -1, -1234.0}, RoundCase{7.49, -3, 7.0},
        RoundCase{1.23456, 3, 1.235}, RoundCase{2.3451, 2, 2.35},
        // 2.345 is stored as 2.34499999999999997 and the step 0.1 * 0.1 is
        // 0.010000000000000002, so value / step is just below 234.5 and the result is 2.34.
        // A division by 100 would give 2.35; datasets hold values rounded with this step.
        RoundCase{2.345, 2, 2.34}, RoundCase{-2.345, 2, -2.34}));

TEST(PropertyValue, RoundingReadsIntegersAsReals) {
  double real = 0;
  EXPECT_TRUE(int32Value(7).getDoubleReal(real, 2));
  EXPECT_NEAR(real, 7.0, 1e-12);
  EXPECT_TRUE(int16Value(-4).getDoubleReal(real, 0));
  EXPECT_EQ(real, -4.0);
}

TEST(PropertyValue, RoundingRefusesText) {
  double real = 5;
  EXPECT_FALSE(textValue(L"2.5").getDoubleReal(real, 1));
  EXPECT_EQ(real, 0.0);
}

// ---- Equality ----

struct EqualCase {
  const char* name;
  std::function<V()> a;
  std::function<V()> b;
  bool equal;
};

class PropertyValueEquality : public testing::TestWithParam<EqualCase> {};

TEST_P(PropertyValueEquality, ComparesTypeThenValue) {
  const EqualCase& c = GetParam();
  EXPECT_EQ(c.a().isEqualTo(c.b()), c.equal);
  EXPECT_EQ(c.b().isEqualTo(c.a()), c.equal);
}

INSTANTIATE_TEST_SUITE_P(
    Table, PropertyValueEquality,
    testing::Values(
        EqualCase{"TextIgnoresCase", [] { return textValue(L"Abc"); },
                  [] { return textValue(L"aBC"); }, true},
        EqualCase{"TextFoldsBeyondAscii", [] { return textValue(L"Ärger"); },
                  [] { return textValue(L"äRGER"); }, true},
        EqualCase{"DifferentTexts", [] { return textValue(L"Abc"); },
                  [] { return textValue(L"Abd"); }, false},
        EqualCase{"TextWithoutBufferEqualsEmptyText", [] { return textValue(nullptr); },
                  [] { return textValue(L""); }, true},
        EqualCase{"SetEmptyTextDiffersFromTextWithoutValue", [] { return textValue(L""); },
                  [] { return typeOnly(V::typeText); }, false},
        EqualCase{"Int16DiffersFromInt32", [] { return int16Value(5); },
                  [] { return int32Value(5); }, false},
        EqualCase{"SameInt32", [] { return int32Value(-5); }, [] { return int32Value(-5); }, true},
        EqualCase{"OtherInt16", [] { return int16Value(5); }, [] { return int16Value(6); }, false},
        EqualCase{"DoublesWithinAbsoluteTolerance", [] { return doubleValue(1.0); },
                  [] { return doubleValue(1.0 + 5e-10); }, true},
        EqualCase{"DoublesBeyondAbsoluteTolerance", [] { return doubleValue(1.0); },
                  [] { return doubleValue(1.0 + 2e-9); }, false},
        // The tolerance is absolute: two large reals one unit in the last place apart differ.
        EqualCase{"LargeDoublesAreComparedAbsolutely", [] { return doubleValue(1e10); },
                  [] { return doubleValue(std::nextafter(1e10, 2e10)); }, false},
        EqualCase{"SameSingles", [] { return singleValue(0.1f); }, [] { return singleValue(0.1f); },
                  true},
        EqualCase{"SingleDiffersFromDouble", [] { return singleValue(0.5f); },
                  [] { return doubleValue(0.5); }, false},
        EqualCase{"BothWithoutValue", [] { return typeOnly(V::typeInt32); },
                  [] { return typeOnly(V::typeInt32); }, true},
        EqualCase{"ValueAgainstNoValue", [] { return int32Value(0); },
                  [] { return typeOnly(V::typeInt32); }, false},
        EqualCase{"TwoDefaults", [] { return V(); }, [] { return V(); }, true}),
    [](const testing::TestParamInfo<EqualCase>& info) { return std::string(info.param.name); });

// ---- Copy ----

TEST(PropertyValue, CopyOfSingleRealKeepsFloatPrecision) {
  V copy(singleValue(0.1f));
  EXPECT_EQ(copy.typeId(), V::typeSingleReal);
  float f = 0;
  ASSERT_TRUE(copy.getSingleReal(f));
  EXPECT_EQ(f, 0.1f);
  double real = 0;
  ASSERT_TRUE(copy.getDoubleReal(real));
  EXPECT_EQ(real, static_cast<double>(0.1f));
}

TEST(PropertyValue, CopyOfTypeWithoutValueCopiesOnlyTheType) {
  V copy = doubleValue(4.0);
  copy = typeOnly(V::typeInt32);
  EXPECT_EQ(copy.typeId(), V::typeInt32);
  EXPECT_FALSE(copy.hasValue());
}

TEST(PropertyValue, CopyOfTextIsDeep) {
  V original = textValue(L"Steel");
  V copy;
  copy.copyFrom(original);
  original.setText(L"Copper");
  CWsz out;
  ASSERT_TRUE(copy.getText(out));
  EXPECT_EQ(out, L"Steel");
  EXPECT_TRUE(copy.hasValue());
}

TEST(PropertyValue, CopyKeepsEveryKind) {
  for (const V& original : {int16Value(-3), int32Value(123456), doubleValue(2.5), textValue(L"abc"),
                            textValue(nullptr), V()}) {
    V copy(original);
    EXPECT_EQ(copy.typeId(), original.typeId());
    EXPECT_EQ(copy.hasValue(), original.hasValue());
    EXPECT_TRUE(copy.isEqualTo(original));
  }
}

TEST(PropertyValue, SelfAssignmentKeepsTheText) {
  V value = textValue(L"Steel");
  V& same = value;
  value = same;
  CWsz out;
  ASSERT_TRUE(value.getText(out));
  EXPECT_EQ(out, L"Steel");
}

// ---- Text forms ----

struct PrintCase {
  const char* name;
  std::function<V()> make;
  int decimals;
  const wchar_t* expected;
};

class PropertyValuePrinting : public testing::TestWithParam<PrintCase> {};

TEST_P(PropertyValuePrinting, PrintsByType) {
  const PrintCase& c = GetParam();
  CWsz out(L"old");
  c.make().printValue(out, c.decimals);
  EXPECT_EQ(out, c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, PropertyValuePrinting,
    testing::Values(
        PrintCase{"Int16", [] { return int16Value(-3); }, 2, L"-3"},
        PrintCase{"Int32", [] { return int32Value(123456); }, 2, L"123456"},
        PrintCase{"Int32Min", [] { return int32Value(INT32_MIN); }, 0, L"-2147483648"},
        PrintCase{"DoubleTwoDecimals", [] { return doubleValue(3.14159); }, 2, L"3.14"},
        PrintCase{"DoubleOneDecimal", [] { return doubleValue(350.0); }, 1, L"350.0"},
        PrintCase{"DoubleNoDecimals", [] { return doubleValue(349.7); }, 0, L"350"},
        PrintCase{"NegativeDecimalsMeanSix", [] { return doubleValue(1.5); }, -1, L"1.500000"},
        PrintCase{"SingleAsWidened", [] { return singleValue(0.1f); }, 10, L"0.1000000015"},
        PrintCase{"Text", [] { return textValue(L"Steel 3,5"); }, 2, L"Steel 3,5"},
        PrintCase{"TextWithoutBuffer", [] { return textValue(nullptr); }, 2, L""},
        PrintCase{"NoValue", [] { return typeOnly(V::typeDoubleReal); }, 2, L""},
        PrintCase{"None", [] { return V(); }, 2, L""}),
    [](const testing::TestParamInfo<PrintCase>& info) { return std::string(info.param.name); });

// printReal must be "%0.*f" in the "C" locale, digit for digit.
TEST(PropertyValue, PrintRealMatchesPrintfInTheCLocale) {
  std::mt19937_64 random(42);
  std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
  std::uniform_int_distribution<int> exponent(-12, 15);
  std::uniform_int_distribution<int> decimals(0, 17);
  const double special[] = {0.0,
                            -0.0,
                            0.5,
                            1.5,
                            2.5,
                            -2.5,
                            0.125,
                            1e300,
                            -1e-300,
                            std::numeric_limits<double>::max(),
                            std::numeric_limits<double>::denorm_min()};
  auto check = [](double value, int places) {
    char expected[400];
    std::snprintf(expected, sizeof expected, "%0.*f", places, value);
    EXPECT_EQ(V::printReal(value, places).toUtf8(), expected) << value << " at " << places;
  };
  for (double value : special)
    for (int places = 0; places <= 6; ++places) check(value, places);
  for (int i = 0; i < 2000; ++i)
    check(mantissa(random) * std::pow(10.0, exponent(random)), decimals(random));
}

TEST(PropertyValue, PrintRealCapsAWildDecimalsCount) {
  CWsz text = V::printReal(1.5, 1 << 30);
  EXPECT_EQ(text.length(), 2 + 1100);
  EXPECT_EQ(text.left(4), L"1.50");
}

// A host may have set a locale with a decimal comma; printing must not follow it. The test
// runs where such a locale is installed (or given through LOCPATH).
TEST(PropertyValue, PrintIgnoresTheDecimalCommaOfTheProcessLocale) {
  const char* names[] = {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8"};
  const char* found = nullptr;
  for (const char* name : names)
    if (std::setlocale(LC_ALL, name)) {
      found = name;
      break;
    }
  if (!found) GTEST_SKIP() << "no locale with a decimal comma installed";
  char probe[16];
  std::snprintf(probe, sizeof probe, "%.1f", 1.5);
  CWsz out;
  doubleValue(3.14159).printValue(out, 2);
  CWsz single;
  singleValue(2.5f).printValue(single, 1);
  std::setlocale(LC_ALL, "C");
  ASSERT_STREQ(probe, "1,5") << found << " does not use a decimal comma";
  EXPECT_EQ(out, L"3.14");
  EXPECT_EQ(single, L"2.5");
}

struct SampleCase {
  int type;
  int decimals;
  const wchar_t* expected;
};

class PropertyValueSampleText : public testing::TestWithParam<SampleCase> {};

TEST_P(PropertyValueSampleText, StandsForTheTypeAndDecimals) {
  const SampleCase& c = GetParam();
  EXPECT_EQ(V::sampleText(static_cast<V::valueTypeId>(c.type), c.decimals), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Table, PropertyValueSampleText,
                         testing::Values(SampleCase{2, 3, L"##"}, SampleCase{3, 0, L"######"},
                                         SampleCase{4, 0, L"###"}, SampleCase{5, 0, L"###"},
                                         SampleCase{4, 1, L"#.#"}, SampleCase{5, 2, L"#.##"},
                                         SampleCase{4, 3, L"#.###"}, SampleCase{5, 4, L"#.####"},
                                         SampleCase{5, 9, L"#.####"}, SampleCase{4, -1, L"#.####"},
                                         SampleCase{1, 2, L"ABC"}, SampleCase{0, 2, L"ABC"},
                                         SampleCase{9, 2, L"ABC"}));

// ---- Type names ----

TEST(PropertyValue, TypeNamesInTheDefaultLanguage) {
  vxkd_test::openLanguageDb();
  CWsz name(L"old");
  V::getTypeNameOf(V::typeNone, name);
  EXPECT_EQ(name, L"-");
  V::getTypeNameOf(V::typeText, name);
  EXPECT_EQ(name, L"Text");
  for (int type : {2, 3, 4, 5, 9}) {
    V::getTypeNameOf(static_cast<V::valueTypeId>(type), name);
    EXPECT_EQ(name, L"Number") << type;
  }
}

TEST(PropertyValue, TypeNamesFollowTheActiveLanguage) {
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  CWsz name;
  V::getTypeNameOf(V::typeDoubleReal, name);
  EXPECT_EQ(name, L"Zahl");
  V::getTypeNameOf(V::typeText, name);
  EXPECT_EQ(name, L"Text");
}

}  // namespace
