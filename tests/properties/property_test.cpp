#include "vxkd/properties/property.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cwchar>
#include <string>

#include "support/temp_dataset.h"

namespace {

using V = CKdPropertyValue;

CKdProperty property(long id, const wchar_t* name, V::valueTypeId type, int decimals = 0,
                     const wchar_t* value = nullptr) {
  CKdProperty p(CKdPropertyDef(id, name, L"", type, CKdUnit::unitMm, decimals));
  p.setValue(value);
  return p;
}

CKdPropertyArray setOf(std::initializer_list<CKdProperty> properties) {
  CKdPropertyArray set;
  for (const CKdProperty& p : properties) set.append(&p);
  return set;
}

// "name=value" of each property, joined by blanks; "name" alone without a value.
std::wstring describe(const CKdPropertyArray& set) {
  std::wstring out;
  for (int i = 0; i < set.length(); ++i) {
    const CKdProperty* p = set.objAt(i);
    out += (i ? L" " : L"") + p->name().str();
    if (p->hasValue()) out += L"=" + p->getValueAsText(false).str();
  }
  return out;
}

TEST(Property, SetValueReadsTheTextAsTheValueType) {
  const std::wstring k30Digits(30, L'1'), k31Digits(31, L'1');
  const struct {
    int type, decimals;
    const wchar_t* text;
    bool result, hasValue;
    const wchar_t* printed;
  } cases[] = {
      {V::typeDoubleReal, 2, L"3,14159", true, true, L"3.14"},
      {V::typeDoubleReal, 1, L" \t-1.5e2 mm", true, true, L"-150.0"},
      {V::typeDoubleReal, 1, L"+.5", true, true, L"0.5"},
      {V::typeDoubleReal, 0, k30Digits.c_str(), true, true, L"111111111111111105501764517888"},
      {V::typeDoubleReal, 0, k31Digits.c_str(), false, false, L""},
      // Printed longer than the 30 characters that a stored set reads back: refused.
      {V::typeDoubleReal, 2, L"1e27", false, false, L""},
      {V::typeDoubleReal, 2, L"1e26", true, true, L"100000000000000004764729344.00"},
      {V::typeDoubleReal, 0, L"-1e30", false, false, L""},
      {V::typeSingleReal, 0, L"1e30", false, false, L""},
      {V::typeSingleReal, 2, L"-2.5e26", false, false, L""},
      {V::typeSingleReal, 2, L"-2.5e25", true, true, L"-25000000634441072528850944.00"},
      {V::typeDoubleReal, V::maxDecimals, L"-0.5", true, true, L"-0.500000000000000000000000000"},
      {V::typeDoubleReal, 2, L"+-1", false, true, L"0.00"},
      {V::typeDoubleReal, 2, L"inf", false, true, L"0.00"},
      {V::typeDoubleReal, 2, L"1e999", false, true, L"0.00"},
      {V::typeDoubleReal, 2, L"", true, false, L""},
      {V::typeSingleReal, 9, L"0,1", true, true, L"0.100000001"},
      {V::typeSingleReal, 0, L"1e39", false, true, L"0"},
      {V::typeInt32, 0, L"12.9", true, true, L"12"},
      {V::typeInt32, 0, L"x12", false, true, L"0"},
      {V::typeInt32, 0, L"2147483648", false, true, L"0"},
      {V::typeInt16, 0, L" -32768", true, true, L"-32768"},
      {V::typeInt16, 0, L"32768", false, true, L"0"},
      // A text as a stored line gives it back: breaks as blanks, no blanks at its end.
      {V::typeText, 0, L" Steel, 1.4301 \t", true, true, L" Steel, 1.4301"},
      {V::typeText, 0, L"first line\r\n3=999\rx\ny\r\n", true, true, L"first line 3=999 x y"},
      {V::typeText, 0, L" \r\n\t", true, false, L""},
      {V::typeText, 0,
       L"a\xD800"
       L"b\x110000",
       true, true,
       L"a\xFFFD"
       L"b\xFFFD"},
      {V::typeText, 0, L"", true, false, L""},
      {V::typeNone, 0, L"5", false, false, L""},
      {7, 0, L"5", false, false, L""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << c.type << ": " << CWsz(c.text).toUtf8());
    CKdProperty p = property(1, L"P", static_cast<V::valueTypeId>(c.type), c.decimals, L"99");
    EXPECT_EQ(p.setValue(c.text), c.result);  // replaced or cleared
    EXPECT_EQ(p.hasValue(), c.hasValue);
    EXPECT_EQ(p.value().typeId(), c.type == 7 ? V::typeNone : c.type);
    EXPECT_EQ(p.getValueAsText(false), c.printed);
    // The same characters as a view into a longer text: what follows the view is not read.
    if (!c.text) continue;
    const std::wstring longer = std::wstring(c.text) + L"9 \r\nxyz" + std::wstring(40, L'7');
    CKdProperty q = property(1, L"P", static_cast<V::valueTypeId>(c.type), c.decimals, L"99");
    EXPECT_EQ(q.setValue(std::wstring_view(longer).substr(0, std::wcslen(c.text))), c.result);
    EXPECT_EQ(q.getValueAsText(false), c.printed);
  }
}

// A host may run under a locale with a decimal comma; reading must not follow it.
TEST(Property, SetValueIgnoresTheDecimalCommaOfTheProcessLocale) {
  const char* found = nullptr;
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"})
    if (!found && std::setlocale(LC_ALL, name)) found = name;
  if (!found) GTEST_SKIP() << "no locale with a decimal comma installed";
  CKdProperty p = property(1, L"P", V::typeDoubleReal, 2);
  bool ok = p.setValue(L"2.5");
  std::setlocale(LC_ALL, "C");
  EXPECT_TRUE(ok);
  EXPECT_EQ(p.getValueAsText(false), L"2.50");
}

TEST(Property, TypedValuesPassTheSameRuleAsTexts) {
  CKdProperty p = property(1, L"P", V::typeDoubleReal, 2, L"5");
  V value;
  value.setDoubleReal(1e27);
  EXPECT_FALSE(p.setValue(value));
  EXPECT_FALSE(p.hasValue());
  value.setInt32(5);
  EXPECT_FALSE(p.setValue(value)) << "another type";
  EXPECT_FALSE(p.hasValue());
  value.setDoubleReal(-7.126);
  EXPECT_TRUE(p.setValue(value));
  EXPECT_EQ(p.getValueAsText(false), L"-7.13");
  value.setTypeId(V::typeDoubleReal);
  EXPECT_TRUE(p.setValue(value));
  EXPECT_FALSE(p.hasValue());

  CKdProperty text = property(2, L"T", V::typeText);
  value.setText(L"a\nb ");
  EXPECT_TRUE(text.setValue(value));
  EXPECT_EQ(text.getValueAsText(false), L"a b");
  // A standard property is never read back from a stored set: its text stays as it is.
  CKdProperty note = property(-3, L"*NOTE*", V::typeText);
  EXPECT_TRUE(note.setValue(L"two\r\nlines "));
  EXPECT_EQ(note.getValueAsText(false), L"two\r\nlines ");
}

// A real is taken exactly when its printed form fits what a stored set reads back, on both
// sides of every power of ten and for every count of decimals.
TEST(Property, ARealIsTakenExactlyWhenItsPrintedFormFits) {
  for (int decimals = 0; decimals <= V::maxDecimals; ++decimals)
    for (int exponent = 0; exponent <= 31; ++exponent)
      for (double scale : {-1.0, 0.9999999, 1.0, 9.9999999}) {
        const double real = scale * std::pow(10.0, exponent);
        const bool fits = V::printReal(real, decimals).length() <= V::maxNumberLength;
        CKdProperty p = property(1, L"P", V::typeDoubleReal, decimals);
        V value;
        value.setDoubleReal(real);
        EXPECT_EQ(p.setValue(value), fits) << real << " with " << decimals << " decimals";
        EXPECT_EQ(p.hasValue(), fits);
      }
}

TEST(Property, DecimalsThatTheValueCouldNotBePrintedWithAreRefused) {
  CKdProperty p = property(1, L"P", V::typeDoubleReal, 0, L"1e25");  // 26 digits
  EXPECT_TRUE(p.setDecimals(3));
  EXPECT_FALSE(p.setDecimals(4));
  EXPECT_EQ(p.decimals(), 3);
  EXPECT_EQ(p.getValueAsText(false).length(), 30);
  CKdProperty empty = property(1, L"P", V::typeDoubleReal);
  EXPECT_TRUE(empty.setDecimals(99));
  EXPECT_EQ(empty.decimals(), V::maxDecimals);
}

TEST(Property, PrintValueWithUnitAppendsTheUnitIdToNumbersOnly) {
  EXPECT_EQ(property(1, L"W", V::typeDoubleReal, 1, L"350").getValueAsText(true), L"350.0 11");
  EXPECT_EQ(property(1, L"M", V::typeText, 0, L"Steel").getValueAsText(true), L"Steel");
  EXPECT_EQ(property(1, L"W", V::typeInt32).getValueAsText(true), L"");
}

// ---- Stored form ----

CKdPropertyDefArray definitions() {
  CKdPropertyDefArray defs;
  CKdPropertyDef rows[] = {{12, L"A", L"", V::typeInt16, {}, 0},
                           {15, L"B", L"", V::typeText, {}, 0},
                           {20, L"C", L"", V::typeDoubleReal, {}, 2}};
  for (const CKdPropertyDef& def : rows) defs.append(&def);
  return defs;
}

TEST(PropertyArray, ReadSkipsLinesWithoutAUsableDefinedId) {
  CKdPropertyArray set = setOf({property(99, L"Stale", V::typeText)});
  set.readAttributeText(
      L"0=3\r\nabc=3\r\nno equals sign\r\n77=1\r\n-12=4\r\n=5\r\n"
      L"  15=a=b  \r\n12x=7\n20=2,5\r\n15=\r\n\r\n",
      definitions());
  EXPECT_EQ(describe(set), L"B=a=b A=7 C=2.50 B");
  EXPECT_EQ(set.objAt(1)->valueType(), V::typeInt16);
  set.readAttributeText(nullptr, definitions());
  EXPECT_EQ(set.length(), 0);
}

// The ids come from the same lines that the read takes, undefined ones included: what a
// read of the set would drop is visible to whoever checks a dataset.
TEST(PropertyArray, StoredIdsAreThoseOfEveryUsableLineDefinedOrNot) {
  CInt32Array ids;
  ids.append(5);
  CKdPropertyArray::readAttributeIds(
      L"0=3\r\nabc=3\r\nno equals sign\r\n77=1\r\n-12=4\r\n=5\r\n"
      L"  15=a=b  \r\n12x=7\n20=2,5\r\n15=\r\n\r\n",
      ids);
  EXPECT_EQ(ids, (CInt32Array{77, 15, 12, 20, 15}));
  CKdPropertyArray::readAttributeIds(nullptr, ids);
  EXPECT_EQ(ids.length(), 0);
}

// Sets list their properties in the order of the definitions, but any order reads.
TEST(PropertyArray, ReadFindsDefinitionsInAnyOrder) {
  CKdPropertyArray set;
  set.readAttributeText(L"20=1.5\r\n12=3\r\n15=x\r\n12=4\r\n20=2", definitions());
  EXPECT_EQ(describe(set), L"C=1.50 A=3 B=x A=4 C=2.00");
}

TEST(PropertyArray, StoredFormIsOneLinePerPropertyWithOnlyThePrintedDecimals) {
  CWsz text(L"old");
  CKdPropertyArray().writeAttributeText(text);
  EXPECT_EQ(text, L"");
  CKdPropertyArray set =
      setOf({property(12, L"A", V::typeInt16, 0, L"5"), property(15, L"B", V::typeText),
             property(20, L"C", V::typeDoubleReal, 2, L"3,14159")});
  double value = 0;
  set.objAt(2)->value().getDoubleReal(value);
  EXPECT_EQ(value, 3.14159);
  set.writeAttributeText(text);
  EXPECT_EQ(text, L"12=5\r\n15=\r\n20=3.14");
  CKdPropertyArray read;
  read.readAttributeText(text, definitions());
  read.objAt(2)->value().getDoubleReal(value);
  EXPECT_EQ(value, 3.14);
}

// ---- Copy and merge ----

TEST(PropertyArray, CopyValuesFromTakesNamesakesOfTheSameTypeOnly) {
  CKdProperty width = property(1, L"Width", V::typeInt32, 0, L"7");
  width.setDesc(L"mine");
  CKdPropertyArray set = setOf({width, property(2, L"Height", V::typeInt32, 0, L"1"),
                                property(3, L"Depth", V::typeInt32, 0, L"2")});
  set.copyValuesFrom(
      setOf({property(9, L"WIDTH", V::typeDoubleReal, 1, L"9.5"),
             property(8, L"height", V::typeInt32, 0, L"40"),
             property(7, L"Height", V::typeInt32, 0, L"50"), property(6, L"Depth", V::typeInt32)}));
  EXPECT_EQ(describe(set), L"Width=7 Height=40 Depth");
  EXPECT_EQ(set.objAt(1)->dbId(), 2);

  // 1e29 prints in 30 characters without decimals, in 33 with two: kept out like a type.
  CKdPropertyArray reals = setOf({property(1, L"Big", V::typeDoubleReal, 2, L"1.5"),
                                  property(2, L"Small", V::typeDoubleReal, 2, L"1.5")});
  reals.copyValuesFrom(setOf({property(9, L"Big", V::typeDoubleReal, 0, L"1e29"),
                              property(8, L"Small", V::typeDoubleReal, 0, L"1e20")}));
  EXPECT_EQ(describe(reals), L"Big=1.50 Small=100000000000000000000.00");
  EXPECT_EQ(set.objAt(1)->name(), L"Height");
  EXPECT_EQ(set.objAt(0)->desc(), L"mine");
}

TEST(PropertyArray, CopyValuesAndSettingsOrAddPropertiesTakeTheWholeNamesake) {
  CKdPropertyArray set = setOf({property(1, L"Width", V::typeInt32, 0, L"7"),
                                property(2, L"Height", V::typeInt32, 0, L"1")});
  set.copyValuesAndSettingsFrom(setOf({property(9, L"WIDTH", V::typeDoubleReal, 1, L"9.5")}));
  const CKdProperty* width = set.objAt(0);
  EXPECT_EQ(width->dbId(), 9);
  EXPECT_EQ(width->valueType(), V::typeDoubleReal);
  EXPECT_EQ(width->decimals(), 1);
  EXPECT_EQ(describe(set), L"WIDTH=9.5 Height=1");
  set.addPropertiesFrom(setOf({property(2, L"width", V::typeInt32, 0, L"8"),
                               property(3, L"Depth", V::typeInt32, 0, L"9")}));
  EXPECT_EQ(describe(set), L"WIDTH=9.5 Height=1 Depth=9") << "only missing names are added";
}

TEST(PropertyArray, StandardPropertiesMoveOutInOrderOrAreDeleted) {
  CKdPropertyArray set =
      setOf({property(-1, L"*PARTID*", V::typeText, 0, L"P1"), property(1, L"Width", V::typeInt32),
             property(-3, L"*NOTE*", V::typeText, 0, L"n"), property(2, L"Height", V::typeInt32)});
  CKdPropertyArray copy = set;
  CKdPropertyArray out = setOf({property(5, L"Old", V::typeText)});
  EXPECT_TRUE(set.moveStdPropertiesTo(out));
  EXPECT_EQ(describe(set), L"Width Height");
  EXPECT_EQ(describe(out), L"*PARTID*=P1 *NOTE*=n");
  copy.deleteStdProperties();
  EXPECT_EQ(describe(copy), L"Width Height");

  int index = 0;
  EXPECT_EQ(out.findProperty(L"*note*", index), out.objAt(1));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(out.findProperty(L"Width", index), nullptr);
  EXPECT_EQ(index, -1);
}

// ---- Equality of sets ----

TEST(PropertyArray, SetsAreEqualByNamesInAnyOrderAndOptionallyByValues) {
  CKdPropertyArray set = setOf(
      {property(1, L"Width", V::typeInt16, 0, L"5"), property(2, L"Height", V::typeText, 0, L"x")});
  struct {
    CKdPropertyArray other;
    bool byName, byValue;
  } cases[] = {
      {setOf({property(7, L"height", V::typeText, 0, L"X"),
              property(8, L"WIDTH", V::typeInt16, 0, L"5")}),
       true, true},
      {setOf({property(2, L"Height", V::typeText, 0, L"x"),
              property(1, L"Width", V::typeInt32, 0, L"5")}),
       true, false},
      {setOf({property(1, L"Width", V::typeInt16, 0, L"6"), property(2, L"Height", V::typeText)}),
       true, false},
      {setOf({property(1, L"Width", V::typeInt16, 0, L"5")}), false, false},
      {setOf({property(1, L"Width", V::typeInt16, 0, L"5"),
              property(1, L"Width", V::typeInt16, 0, L"5")}),
       false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(set.isEqualTo(c.other, false), c.byName) << describe(c.other);
    EXPECT_EQ(set.isEqualTo(c.other, true), c.byValue) << describe(c.other);
    EXPECT_EQ(c.other.isEqualTo(set, false), c.byName) << describe(c.other);
  }
  EXPECT_TRUE(set.isEqualToOr(cases[1].other, cases[0].other));
  EXPECT_TRUE(set.isEqualToOr(cases[0].other, cases[1].other));
  EXPECT_FALSE(set.isEqualToOr(cases[1].other, cases[2].other));
  EXPECT_TRUE(set.isEqualToOr(cases[1].other, cases[2].other, false));
}

// ---- Field 1521 ----

using PropertySetRecord = vxkd_test::TempDatasetTest;

// A set of every value type, with and without values, saved with its definitions and read
// into fresh arrays from the reopened file.
TEST_F(PropertySetRecord, EveryValueTypeSurvivesSaveAndRead) {
  struct {
    V::valueTypeId type;
    int decimals;
    const wchar_t* value;
  } rows[] = {{V::typeText, 0, L"Stahl; ä = ß"},  {V::typeText, 0, nullptr},
              {V::typeInt16, 0, L"-32768"},       {V::typeInt16, 0, nullptr},
              {V::typeInt32, 0, L"2147483647"},   {V::typeInt32, 0, nullptr},
              {V::typeSingleReal, 1, L"0,15"},    {V::typeSingleReal, 3, nullptr},
              {V::typeDoubleReal, 2, L"3,14159"}, {V::typeDoubleReal, 0, nullptr}};
  CKdPropertyDefArray defs;
  CKdPropertyArray set;
  for (const auto& row : rows) {
    std::wstring name = L"P" + std::to_wstring(defs.length());
    ASSERT_TRUE(defs.add(name.c_str(), L"d", row.type, CKdUnit::unitKPa, row.decimals));
    CKdProperty p(*defs.objAt(defs.length() - 1));
    p.setValue(row.value);
    set.append(&p);
  }
  ASSERT_TRUE(defs.saveTo(db_));
  ASSERT_TRUE(db_.createRec("PD", "0000010001") && set.writeToAttributeOf(db_) && db_.saveRec());

  CQbase fresh;
  ASSERT_TRUE(reopen(fresh));
  CKdPropertyDefArray readDefs;
  ASSERT_TRUE(readDefs.readFrom(fresh));
  CKdPropertyArray read;
  ASSERT_TRUE(fresh.fetchRec("PD", "0000010001"));
  ASSERT_TRUE(read.readFromAttributeOf(fresh, readDefs));
  fresh.closeDatabase();

  EXPECT_EQ(describe(read),
            L"P0=Stahl; ä = ß P1 P2=-32768 P3 P4=2147483647 P5 P6=0.2 P7 "
            L"P8=3.14 P9");
  ASSERT_EQ(read.length(), set.length());
  for (int i = 0; i < read.length(); ++i) {
    const CKdProperty& a = *read.objAt(i);
    const CKdProperty& b = *set.objAt(i);
    EXPECT_TRUE(a.dbId() == b.dbId() && a.value().typeId() == b.value().typeId() &&
                a.decimals() == b.decimals() && a.unit().id() == CKdUnit::unitKPa)
        << i;
    EXPECT_EQ(a.getValueAsText(true), b.getValueAsText(true)) << i;
  }
  double pi = 0;
  read.objAt(8)->value().getDoubleReal(pi);
  EXPECT_EQ(pi, 3.14);
}

TEST_F(PropertySetRecord, EmptySetOrFieldLeavesTheOtherAsItWas) {
  CKdPropertyArray set = setOf({property(12, L"A", V::typeInt16, 0, L"5")});
  ASSERT_TRUE(db_.createRec("PD", "0000010001") && set.writeToAttributeOf(db_));
  EXPECT_TRUE(CKdPropertyArray().writeToAttributeOf(db_));
  CWsz text;
  EXPECT_TRUE(db_.getWsz(1521, text));
  EXPECT_EQ(text, L"12=5");

  CInt32Array ids;
  CKdPropertyArray::readAttributeIdsOf(db_, ids);
  EXPECT_EQ(ids.length(), 1);

  ASSERT_TRUE(db_.createRec("PD", "0000010002"));
  EXPECT_TRUE(set.readFromAttributeOf(db_, definitions()));
  EXPECT_EQ(set.length(), 0);
  CKdPropertyArray::readAttributeIdsOf(db_, ids);
  EXPECT_EQ(ids.length(), 0);
  ASSERT_TRUE(db_.createRec("RD", "000001"));  // no property set field
  EXPECT_FALSE(setOf({property(12, L"A", V::typeInt16)}).writeToAttributeOf(db_));
}

}  // namespace
