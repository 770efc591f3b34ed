#include "foundation/system_type.h"

#include <gtest/gtest.h>

#include "platform/paths.h"
#include "ui/language.h"

namespace {

struct TypeCase {
  VxKd::systemTypeIds type;
  const char* groupGuid;  // null: none
  int color;
  const wchar_t* english;
  const wchar_t* german;
};

void PrintTo(const TypeCase& c, std::ostream* os) { *os << "type " << c.type; }

class SystemType : public ::testing::TestWithParam<TypeCase> {
 protected:
  void TearDown() override { VxKd::lngDb().close(); }
};

TEST_P(SystemType, FixesGroupGuidColourAndDisplayText) {
  const TypeCase& c = GetParam();
  CKdGuid guid;
  guid.createValue();  // a type without a group GUID must reset it
  EXPECT_EQ(VxKd::getPolyObjectGroupGuid(c.type, guid), c.groupGuid != nullptr);
  char text[CKdGuid::textBufferSize];
  EXPECT_STREQ(guid.toSz(text, sizeof text), c.groupGuid ? c.groupGuid : "");
  auto type = static_cast<VxKd::systemTypeIds>(1);
  EXPECT_EQ(VxKd::isPolyObjectGroupGuid(guid, type), c.groupGuid != nullptr);
  EXPECT_EQ(type, c.groupGuid ? c.type : 0) << "the group GUID names its type back";
  EXPECT_EQ(VxKd::defaultSystemColor(c.type), c.color);

  // Without the language database the built-in text shows, without its "#".
  EXPECT_EQ(VxKd::getPolyObjectTypeDescription(c.type).str(), c.english);
  CWsz folder = cuFile::libraryFolder();
  ASSERT_TRUE(VxKd::lngDb().open(cuFile::joinPath(folder, L"VantQLG.ddq"),
                                 cuFile::joinPath(folder, L"VxKd.qlg")));
  ASSERT_TRUE(VxKd::lngDb().setActiveLanguage(1501));
  EXPECT_EQ(VxKd::getPolyObjectTypeDescription(c.type).str(), c.german);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SystemType,
    ::testing::Values(
        TypeCase{VxKd::systemDuct, "00000000-0000-0000-0000-0000000000AA", 5, L"Duct", L"Kanal"},
        TypeCase{VxKd::systemPipe, "00000000-0000-0000-0000-0000000000BB", 6, L"Pipe", L"Rohr"},
        TypeCase{VxKd::systemElectric, "00000000-0000-0000-0000-0000000000CC", 1, L"Elec",
                 L"Elektro"},
        TypeCase{VxKd::systemData, "00000000-0000-0000-0000-0000000000DD", 3, L"Data", L"Daten"},
        TypeCase{static_cast<VxKd::systemTypeIds>(0), nullptr, 7, L"", L""},
        TypeCase{static_cast<VxKd::systemTypeIds>(500), nullptr, 7, L"", L""},
        TypeCase{static_cast<VxKd::systemTypeIds>(721), nullptr, 7, L"", L""}));

TEST(SystemTypeGuid, OtherGuidsNameNoTypeAndClearIt) {
  const char* others[] = {"00000000-0000-0000-0000-000000000000",
                          "00000000-0000-0000-0000-0000000000EE",
                          "00000000-0000-0000-0000-0000000001AA"};
  for (const char* text : others) {
    auto type = VxKd::systemDuct;
    CKdGuid guid;
    guid.fromSz(text);
    EXPECT_FALSE(VxKd::isPolyObjectGroupGuid(guid, type)) << text;
    EXPECT_EQ(type, 0) << text;
  }
}

TEST(SystemTypeGuid, LowerCaseTextOfAGroupGuidIsThatGroup) {
  auto type = static_cast<VxKd::systemTypeIds>(0);
  EXPECT_TRUE(VxKd::isPolyObjectGroupGuid(CKdGuid("00000000-0000-0000-0000-0000000000dd"), type));
  EXPECT_EQ(type, VxKd::systemData);
}

}  // namespace
