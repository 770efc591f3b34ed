#include "vxkd/foundation/system_type.h"

#include <gtest/gtest.h>

#include "support/ui_fixture.h"
#include "vxkd/ui/language.h"

namespace {

TEST(SystemType, FixesGroupGuidColourAndDisplayText) {
  const struct {
    int type;
    const char* groupGuid;  // null: none
    int color;
    const wchar_t* english;
    const wchar_t* german;
  } cases[] = {
      {VxKd::systemDuct, "00000000-0000-0000-0000-0000000000AA", 5, L"Duct", L"Kanal"},
      {VxKd::systemPipe, "00000000-0000-0000-0000-0000000000BB", 6, L"Pipe", L"Rohr"},
      {VxKd::systemElectric, "00000000-0000-0000-0000-0000000000CC", 1, L"Elec", L"Elektro"},
      {VxKd::systemData, "00000000-0000-0000-0000-0000000000DD", 3, L"Data", L"Daten"},
      {0, nullptr, 7, L"", L""},
      {500, nullptr, 7, L"", L""},
      {721, nullptr, 7, L"", L""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    const auto id = static_cast<VxKd::systemTypeIds>(c.type);
    CKdGuid guid;
    guid.createValue();  // a type without a group GUID must reset it
    EXPECT_EQ(VxKd::getPolyObjectGroupGuid(id, guid), c.groupGuid != nullptr);
    char text[CKdGuid::textBufferSize];
    EXPECT_STREQ(guid.toSz(text, sizeof text), c.groupGuid ? c.groupGuid : "");
    auto type = static_cast<VxKd::systemTypeIds>(1);
    EXPECT_EQ(VxKd::isPolyObjectGroupGuid(guid, type), c.groupGuid != nullptr);
    EXPECT_EQ(type, c.groupGuid ? c.type : 0) << "the group GUID names its type back";
    EXPECT_EQ(VxKd::defaultSystemColor(id), c.color);
    // Without the language database the built-in text shows, without its "#".
    VxKd::lngDb().close();
    EXPECT_EQ(VxKd::getPolyObjectTypeDescription(id).str(), c.english);
    ASSERT_TRUE(vxkd_test::openLanguageDb(vxkd_test::kGerman));
    EXPECT_EQ(VxKd::getPolyObjectTypeDescription(id).str(), c.german);
  }
  VxKd::lngDb().close();
}

TEST(SystemTypeGuid, OtherGuidsNameNoTypeAndClearItButCaseDoesNotMatter) {
  for (const char* text :
       {"00000000-0000-0000-0000-000000000000", "00000000-0000-0000-0000-0000000000EE",
        "00000000-0000-0000-0000-0000000001AA"}) {
    auto type = VxKd::systemDuct;
    EXPECT_FALSE(VxKd::isPolyObjectGroupGuid(CKdGuid(text), type)) << text;
    EXPECT_EQ(type, 0) << text;
  }
  auto type = static_cast<VxKd::systemTypeIds>(0);
  EXPECT_TRUE(VxKd::isPolyObjectGroupGuid(CKdGuid("00000000-0000-0000-0000-0000000000dd"), type));
  EXPECT_EQ(type, VxKd::systemData);
}

}  // namespace
