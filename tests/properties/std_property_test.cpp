#include "vxkd/properties/std_property.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <string>

#include "support/ui_fixture.h"
#include "vxkd/ui/language.h"

namespace {

using V = CKdPropertyValue;

TEST(SpecialProperty, NamesAndIdsMapBothWaysIgnoringCase) {
  ASSERT_EQ(VxKd::getSpecialPropertyCount(), 29);
  for (long id = -1; id >= -29; --id) {
    const wchar_t* name = VxKd::getSpecialPropertyName(id);
    ASSERT_NE(name, nullptr) << id;
    std::wstring lower(name);
    for (wchar_t& c : lower) c = towlower(c);
    EXPECT_EQ(VxKd::getSpecialPropertyDbId(lower.c_str()), id) << name;
  }
  EXPECT_STREQ(VxKd::getSpecialPropertyName(-1), L"*PARTID*");
  EXPECT_STREQ(VxKd::getSpecialPropertyName(-29), L"*HPVSYSTYPENAME*");
  for (long id : {0L, -30L, 1L}) EXPECT_EQ(VxKd::getSpecialPropertyName(id), nullptr);
}

TEST(SpecialProperty, LookUpGivesTheRowOrTheNeutralResult) {
  ASSERT_TRUE(vxkd_test::openLanguageDb());
  const struct {
    const wchar_t* name;
    long id;
    V::valueTypeId type;
    CKdUnit::unitId unit;
    int decimals;
    const wchar_t* description;
  } cases[] = {{L"*sysname*", -17, V::typeText, CKdUnit::unitNone, 0, L"V&P System name"},
               {L"*LineWidth*", -5, V::typeSingleReal, CKdUnit::unitNone, 1, L"Linewidth"},
               {L"*COUNT*", -14, V::typeInt16, CKdUnit::unitNone, 0, L"Count of similar"},
               {L"*SYSTEMPCIRC*", -28, V::typeSingleReal, CKdUnit::unitC, 0,
                L"V&P System circulation pipe temperature [C]"},
               {L"SYSNAME", 0, V::typeNone, CKdUnit::unitNone, 0, L""},
               {L"*SYSNAME", 0, V::typeNone, CKdUnit::unitNone, 0, L""},
               {nullptr, 0, V::typeNone, CKdUnit::unitNone, 0, L""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id);
    EXPECT_EQ(VxKd::getSpecialPropertyDbId(c.name), c.id);
    EXPECT_EQ(VxKd::getSpecialPropertyValueType(c.name), c.type);
    EXPECT_EQ(VxKd::getSpecialPropertyUnit(c.name).id(), c.unit);
    EXPECT_EQ(VxKd::getSpecialPropertyDecimals(c.name), c.decimals);
    EXPECT_EQ(VxKd::getSpecialPropertyDescription(c.name), c.description);
  }
}

// Each row looks up its own text: in German every description is that row's text.
TEST(SpecialProperty, DescriptionsAreTheRowsTextsInTheActiveLanguage) {
  ASSERT_TRUE(vxkd_test::openLanguageDb());
  // The unit table translates once, at its first use: let that be in English.
  (void)VxKd::getSpecialPropertyDescription(L"*SYSTEMPSUP*");
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  constexpr long kTextIds[] = {3566,  3567,  3568,  10200, 10201, 10202, 10203, 10204, 10205, 10209,
                               10206, 10207, 10208, 10210, 10211, 13286, 13287, 13288, 13289, 13290,
                               13291, 13292, 13293, 13294, 13295, 13296, 13297, 13298, 13305};
  for (long row = 0; row < 29; ++row) {
    const wchar_t* name = VxKd::getSpecialPropertyName(-1 - row);
    CWsz expected = VxKd::lngDbText(kTextIds[row], L"?");
    if (VxKd::getSpecialPropertyUnit(name).id() == CKdUnit::unitC) expected.cat(L" [C]");
    EXPECT_EQ(VxKd::getSpecialPropertyDescription(name), expected) << name;
  }
  EXPECT_EQ(VxKd::getSpecialPropertyDescription(L"*GROUPDESC*"), L"Gruppenbeschreibung");
}

}  // namespace
