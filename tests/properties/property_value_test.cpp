#include "vxkd/properties/property_value.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include "support/ui_fixture.h"

namespace {

using V = CKdPropertyValue;

// A value made by one setter.
template <typename T>
V valueOf(void (V::*set)(T), T v) {
  V value;
  (value.*set)(v);
  return value;
}
V int16Value(int16_t v) { return valueOf(&V::setInt16, v); }
V int32Value(int32_t v) { return valueOf(&V::setInt32, v); }
V singleValue(float v) { return valueOf(&V::setSingleReal, v); }
V doubleValue(double v) { return valueOf(&V::setDoubleReal, v); }
V textValue(const wchar_t* v) { return valueOf(&V::setText, v); }
V typeOnly(V::valueTypeId type) { return valueOf(&V::setTypeId, type); }

std::wstring textOf(const V& value) {
  CWsz out(L"old");
  return value.getText(out) ? out.str() : L"<refused: " + out.str() + L">";
}

// ---- Setters and getters ----

TEST(PropertyValue, TextIsAnOwnedCopyReleasedByAnotherSetter) {
  EXPECT_FALSE(V().hasValue());
  for (const wchar_t* text : {L"", static_cast<const wchar_t*>(nullptr)}) {
    V value = textValue(text);  // a set text without a buffer
    EXPECT_TRUE(value.hasValue());
    EXPECT_EQ(textOf(value), L"");
  }
  wchar_t source[] = L"Steel";
  V value = textValue(source);
  source[0] = L'X';
  EXPECT_EQ(textOf(value), L"Steel");
  value.setInt32(4);  // under the sanitizer build a text not freed shows as a leak
  EXPECT_EQ(textOf(value), L"<refused: >");
}

TEST(PropertyValue, SetTypeIdOrResetValueClearsTheValueAndOnlyTypesOneToFiveStay) {
  for (int type = 0; type <= 7; ++type) {
    V value = textValue(L"abc");
    value.setTypeId(static_cast<V::valueTypeId>(type));
    EXPECT_EQ(value.typeId(), type >= 1 && type <= 5 ? type : V::typeNone) << type;
    EXPECT_FALSE(value.hasValue()) << type;
  }
  V value = doubleValue(3.5);
  value.resetValue();
  EXPECT_EQ(value.typeId(), V::typeDoubleReal);
  EXPECT_FALSE(value.hasValue());
}

TEST(PropertyValue, GettersAcceptOnlyTheirTypesAndWriteTheResultAlways) {
  // What each getter reports for one value: accepted or not, and the number read.
  const struct {
    V value;
    bool int16Ok;
    int16_t int16;
    bool int32Ok;
    int32_t int32;
    bool singleOk;
    float single;
    bool doubleOk;
    double real;
    bool textOk;
  } cases[] = {
      {int16Value(-32768), true, -32768, true, -32768, false, 0, true, -32768.0, false},
      {int32Value(-70000), false, 0, true, -70000, false, 0, true, -70000.0, false},
      {singleValue(0.1f), false, 0, false, 0, true, 0.1f, true, static_cast<double>(0.1f), false},
      {doubleValue(2.5), false, 0, false, 0, false, 0, true, 2.5, false},
      {textValue(L"abc"), false, 0, false, 0, false, 0, false, 0.0, true},
      {V(), false, 0, false, 0, false, 0, false, 0.0, false},
      {typeOnly(V::typeInt16), true, 0, true, 0, false, 0, true, 0.0, false},
      {typeOnly(V::typeInt32), false, 0, true, 0, false, 0, true, 0.0, false},
      {typeOnly(V::typeSingleReal), false, 0, false, 0, true, 0, true, 0.0, false},
      {typeOnly(V::typeDoubleReal), false, 0, false, 0, false, 0, true, 0.0, false},
      {typeOnly(V::typeText), false, 0, false, 0, false, 0, false, 0.0, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << c.value.typeId() << ", " << c.value.hasValue());
    int16_t i16 = 99;
    int32_t i32 = 99;
    float f = 99;
    double d = 99;
    CWsz text(L"old");
    EXPECT_EQ(c.value.getInt16(i16), c.int16Ok);
    EXPECT_EQ(i16, c.int16);
    EXPECT_EQ(c.value.getInt32(i32), c.int32Ok);
    EXPECT_EQ(i32, c.int32);
    EXPECT_EQ(c.value.getSingleReal(f), c.singleOk);
    EXPECT_EQ(f, c.single);
    EXPECT_EQ(c.value.getDoubleReal(d), c.doubleOk);
    EXPECT_EQ(d, c.real);
    EXPECT_EQ(c.value.getText(text), c.textOk);
    EXPECT_EQ(text, c.textOk ? (c.value.hasValue() ? L"abc" : L"") : L"");
  }
}

// ---- Rounding ----

TEST(PropertyValue, RoundingStepsByRepeatedMultiplicationAndHalvesRoundUp) {
  const struct {
    V value;
    int decimals;
    double expected;
  } cases[] = {
      // Halves round towards plus infinity, also below zero.
      {doubleValue(2.5), 0, 3.0},
      {doubleValue(-2.5), 0, -2.0},
      {doubleValue(-0.5), 0, 0.0},
      {doubleValue(-0.25), 1, -0.2},
      // Decimals of 0 or fewer round to a whole number.
      {doubleValue(1234.5678), -1, 1235.0},
      {doubleValue(-1234.5), -1, -1234.0},
      {doubleValue(1.23456), 3, 1.235},
      // 2.345 is stored as 2.34499999999999997 and the step 0.1 * 0.1 is
      // 0.010000000000000002, so value / step is just below 234.5 and the result is 2.34.
      // A division by 100 would give 2.35; datasets hold values rounded with this step.
      {doubleValue(2.345), 2, 2.34},
      {doubleValue(-2.345), 2, -2.34},
      {int32Value(7), 2, 7.0},
      {int16Value(-4), 0, -4.0},
  };
  for (const auto& c : cases) {
    double real = 99;
    EXPECT_TRUE(c.value.getDoubleReal(real, c.decimals));
    EXPECT_NEAR(real, c.expected, 1e-12) << c.expected << " at " << c.decimals;
  }
  double real = 5;
  EXPECT_FALSE(textValue(L"2.5").getDoubleReal(real, 1));
  EXPECT_EQ(real, 0.0);
}

// ---- Equality and copies ----

TEST(PropertyValue, EqualityComparesTypeThenValue) {
  const struct {
    V a, b;
    bool equal;
  } cases[] = {
      {textValue(L"Ärger"), textValue(L"äRGER"), true},  // case folded beyond ASCII
      {textValue(L"Abc"), textValue(L"Abd"), false},
      {textValue(nullptr), textValue(L""), true},
      {textValue(L""), typeOnly(V::typeText), false},  // a set text against none
      {int16Value(5), int32Value(5), false},
      {int16Value(5), int16Value(6), false},
      {doubleValue(1.0), doubleValue(1.0 + 5e-10), true},
      {doubleValue(1.0), doubleValue(1.0 + 2e-9), false},
      // The tolerance is absolute: two large reals one unit in the last place apart differ.
      {doubleValue(1e10), doubleValue(std::nextafter(1e10, 2e10)), false},
      {singleValue(0.5f), doubleValue(0.5), false},
      {typeOnly(V::typeInt32), typeOnly(V::typeInt32), true},
      {int32Value(0), typeOnly(V::typeInt32), false},
  };
  for (const auto& c : cases) {
    CWsz a, b;
    c.a.printValue(a, 12);
    c.b.printValue(b, 12);
    EXPECT_EQ(c.a.isEqualTo(c.b), c.equal) << a.toUtf8() << " / " << b.toUtf8();
    EXPECT_EQ(c.b.isEqualTo(c.a), c.equal) << a.toUtf8() << " / " << b.toUtf8();
  }
}

TEST(PropertyValue, CopyKeepsEveryKindAndSinglePrecision) {
  for (const V& original : {int16Value(-3), int32Value(123456), singleValue(0.1f), doubleValue(2.5),
                            textValue(L"abc"), textValue(nullptr), typeOnly(V::typeInt32), V()}) {
    V copy = doubleValue(4.0);
    copy = original;
    EXPECT_EQ(copy.typeId(), original.typeId());
    EXPECT_EQ(copy.hasValue(), original.hasValue());
    EXPECT_TRUE(copy.isEqualTo(original));
  }
  V copy(singleValue(0.1f));
  float f = 0;
  double real = 0;
  ASSERT_TRUE(copy.getSingleReal(f) && copy.getDoubleReal(real));
  EXPECT_EQ(f, 0.1f);
  EXPECT_EQ(real, static_cast<double>(0.1f));
}

TEST(PropertyValue, CopyOfTextIsDeepAndSelfAssignmentKeepsIt) {
  V original = textValue(L"Steel");
  V copy;
  copy.copyFrom(original);
  original.setText(L"Copper");
  EXPECT_EQ(textOf(copy), L"Steel");
  V& same = copy;
  copy = same;
  EXPECT_EQ(textOf(copy), L"Steel");
}

// ---- Text forms ----

TEST(PropertyValue, PrintValueFollowsTheType) {
  const struct {
    V value;
    int decimals;
    const wchar_t* expected;
  } cases[] = {{int16Value(-3), 2, L"-3"},
               {int32Value(INT32_MIN), 0, L"-2147483648"},
               {doubleValue(3.14159), 2, L"3.14"},
               {doubleValue(349.7), 0, L"350"},
               {doubleValue(1.5), -1, L"1.500000"},  // negative decimals mean six
               {singleValue(0.1f), 10, L"0.1000000015"},
               {textValue(L"Steel 3,5"), 2, L"Steel 3,5"},
               {textValue(nullptr), 2, L""},
               {typeOnly(V::typeDoubleReal), 2, L""},
               {V(), 2, L""}};
  for (const auto& c : cases) {
    CWsz out(L"old");
    c.value.printValue(out, c.decimals);
    EXPECT_EQ(out, c.expected);
  }
}

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
  CWsz wild = V::printReal(1.5, 1 << 30);
  EXPECT_EQ(wild.length(), 2 + 1100) << "a wild count of decimals is capped";
  EXPECT_EQ(wild.left(4), L"1.50");
}

// A host may have set a locale with a decimal comma; printing must not follow it. The test
// runs where such a locale is installed (or given through LOCPATH).
TEST(PropertyValue, PrintIgnoresTheDecimalCommaOfTheProcessLocale) {
  const char* found = nullptr;
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8"})
    if (!found && std::setlocale(LC_ALL, name)) found = name;
  if (!found) GTEST_SKIP() << "no locale with a decimal comma installed";
  char probe[16];
  std::snprintf(probe, sizeof probe, "%.1f", 1.5);
  CWsz out, single;
  doubleValue(3.14159).printValue(out, 2);
  singleValue(2.5f).printValue(single, 1);
  std::setlocale(LC_ALL, "C");
  ASSERT_STREQ(probe, "1,5") << found << " does not use a decimal comma";
  EXPECT_EQ(out, L"3.14");
  EXPECT_EQ(single, L"2.5");
}

TEST(PropertyValue, SampleTextStandsForTheTypeAndDecimals) {
  const struct {
    int type, decimals;
    const wchar_t* expected;
  } cases[] = {{2, 3, L"##"},    {3, 0, L"######"}, {4, 0, L"###"},     {5, 2, L"#.##"},
               {4, 3, L"#.###"}, {5, 9, L"#.####"}, {4, -1, L"#.####"}, {1, 2, L"ABC"},
               {0, 2, L"ABC"},   {9, 2, L"ABC"}};
  for (const auto& c : cases)
    EXPECT_EQ(V::sampleText(static_cast<V::valueTypeId>(c.type), c.decimals), c.expected)
        << c.type << " " << c.decimals;
}

TEST(PropertyValue, TypeNamesFollowTheActiveLanguage) {
  ASSERT_TRUE(vxkd_test::openLanguageDb());
  CWsz name(L"old");
  V::getTypeNameOf(V::typeNone, name);
  EXPECT_EQ(name, L"-");
  V::getTypeNameOf(V::typeText, name);
  EXPECT_EQ(name, L"Text");
  for (int type : {2, 3, 4, 5, 9}) {
    V::getTypeNameOf(static_cast<V::valueTypeId>(type), name);
    EXPECT_EQ(name, L"Number") << type;
  }
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  V::getTypeNameOf(V::typeDoubleReal, name);
  EXPECT_EQ(name, L"Zahl");
}

}  // namespace
