#include "foundation/preferences.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/registry.h"
#include "platform/paths.h"
#include "platform/sz.h"
#include "support/temp_registry.h"

namespace {

using vxkd_test::RegistryTest;

constexpr char kPreferences[] =
    "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix KD 18\\CurVer\\UserPreferences]\n";
constexpr char kDirectories[] =
    "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix KD 18\\CurVer\\Directories]\n";
constexpr char kUserVantrix[] = "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix]\n";
constexpr char kMachineVantrix[] = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tessund\\Vantrix]\n";

std::string dword(const char* name, unsigned long value) {
  char line[100];
  std::snprintf(line, sizeof line, "\"%s\"=dword:%08lx\n", name, value);
  return line;
}

// The preference as the registry holds it; -1 when absent.
long long storedPreference(const wchar_t* name) {
  CSystemRegistry key;
  key.initCurrentUserSoftware(L"Tessund", L"Vantrix KD 18");
  unsigned long value = 0;
  return key.readDw(L"CurVer\\UserPreferences", name, value) ? static_cast<long long>(value) : -1;
}

TEST_F(RegistryTest, EmptyRegistryGivesEveryDefault) {
  EXPECT_TRUE(VxKd::manualConflictHandling());
  EXPECT_FALSE(VxKd::allowDimtextMasking());
  EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 10);
  EXPECT_EQ(VxKd::searchCircleRadius_pix(), 5);
  EXPECT_EQ(VxKd::initialConnectMode(), 1);
  EXPECT_TRUE(VxKd::displayCreatedWithMsg());
  EXPECT_EQ(VxKd::versionedProductName().str(), L"Vantrix KD 18");
}

struct CircleCase {
  std::string stored;  // the value line, or "" for none
  int diameter;
  int radius;
};

void PrintTo(const CircleCase& c, std::ostream* os) {
  *os << (c.stored.empty() ? "absent" : c.stored.substr(0, c.stored.find('\n')));
}

class SearchCircle : public RegistryTest, public ::testing::WithParamInterface<CircleCase> {};

TEST_P(SearchCircle, StoredSizeGivesDiameterAndRadius) {
  registry_.writeCurrentUser(kPreferences + GetParam().stored);
  EXPECT_EQ(VxKd::searchCircleDiameter_pix(), GetParam().diameter);
  EXPECT_EQ(VxKd::searchCircleRadius_pix(), GetParam().radius);
}

INSTANTIATE_TEST_SUITE_P(Cases, SearchCircle,
                         ::testing::Values(CircleCase{"", 10, 5},
                                           CircleCase{dword("SearchCircleSize", 0), 10, 5},
                                           CircleCase{dword("SearchCircleSize", 7), 7, 3},
                                           CircleCase{dword("SearchCircleSize", 1), 1, 0},
                                           CircleCase{dword("SearchCircleSize", 0xFFFFFFFF), 10, 5},
                                           CircleCase{"\"SearchCircleSize\"=\"7\"\n", 10, 5}));

TEST_F(RegistryTest, SearchCircleSetterTakesOnlyPositiveDiameters) {
  EXPECT_TRUE(VxKd::setSearchCircleDiameter_pix(12));
  EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 12);
  EXPECT_EQ(storedPreference(L"SearchCircleSize"), 12);
  for (int refused : {0, -4}) {
    EXPECT_FALSE(VxKd::setSearchCircleDiameter_pix(refused));
    EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 12);
    EXPECT_EQ(storedPreference(L"SearchCircleSize"), 12);
  }
}

TEST_F(RegistryTest, ConnectModeIsCheckedOnWriteButNotOnRead) {
  registry_.writeCurrentUser(kPreferences + dword("ConnectMode", 5));
  EXPECT_EQ(VxKd::initialConnectMode(), 5);
  EXPECT_FALSE(VxKd::setInitialConnectMode(2));
  EXPECT_FALSE(VxKd::setInitialConnectMode(-1));
  EXPECT_EQ(VxKd::initialConnectMode(), 5);
  EXPECT_EQ(storedPreference(L"ConnectMode"), 5);
  EXPECT_TRUE(VxKd::setInitialConnectMode(0));
  EXPECT_EQ(VxKd::initialConnectMode(), 0);
  EXPECT_EQ(storedPreference(L"ConnectMode"), 0);
}

TEST_F(RegistryTest, ConnectModeIsTakenAsA16BitValue) {
  registry_.writeCurrentUser(kPreferences + dword("ConnectMode", 0x1FFFE));
  EXPECT_EQ(VxKd::initialConnectMode(), -2);
  EXPECT_EQ(VxKd::initialConnectMode(), -2) << "a negative value is not cached, and read again";
}

TEST_F(RegistryTest, FlagsAreStoredAsOneOrZeroAndAnyOtherValueIsTrue) {
  const struct {
    bool (*get)();
    bool (*set)(bool);
    const char* name;
  } flags[] = {
      {VxKd::manualConflictHandling, VxKd::setManualConflictHandling, "ManualConflictHandling"},
      {VxKd::allowDimtextMasking, VxKd::setAllowDimtextMasking, "AllowDimtextMasking"}};
  for (const auto& flag : flags) {
    for (auto [stored, expected] : {std::pair{0ul, false}, {1ul, true}, {2ul, true}}) {
      registry_.writeCurrentUser(kPreferences + dword(flag.name, stored));
      VxKd::resetPreferenceCaches();
      EXPECT_EQ(flag.get(), expected) << flag.name << " " << stored;
    }
    const std::wstring name = CWsz::fromUtf8(flag.name).str();
    for (bool on : {false, true}) {
      EXPECT_TRUE(flag.set(on));
      EXPECT_EQ(flag.get(), on);
      EXPECT_EQ(storedPreference(name.c_str()), on ? 1 : 0) << flag.name;
    }
  }
}

TEST_F(RegistryTest, CachedPreferencesAreReadOnceUntilTheCachesAreDropped) {
  registry_.writeCurrentUser(kPreferences + dword("SearchCircleSize", 20) +
                             dword("ConnectMode", 0) + dword("AllowDimtextMasking", 1) +
                             dword("ManualConflictHandling", 0));
  EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 20);
  EXPECT_EQ(VxKd::initialConnectMode(), 0);
  EXPECT_TRUE(VxKd::allowDimtextMasking());
  EXPECT_FALSE(VxKd::manualConflictHandling());

  registry_.writeCurrentUser("");  // another program empties the registry
  EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 20);
  EXPECT_EQ(VxKd::initialConnectMode(), 0);
  EXPECT_TRUE(VxKd::allowDimtextMasking());
  EXPECT_FALSE(VxKd::manualConflictHandling());

  VxKd::resetPreferenceCaches();
  EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 10);
  EXPECT_EQ(VxKd::initialConnectMode(), 1);
  EXPECT_FALSE(VxKd::allowDimtextMasking());
  EXPECT_TRUE(VxKd::manualConflictHandling());
}

TEST_F(RegistryTest, CreatedWithSwitchIsReadAfreshEveryTime) {
  EXPECT_TRUE(VxKd::displayCreatedWithMsg());
  registry_.writeCurrentUser(kUserVantrix + dword("DisplayCreatedWithMsg", 0));
  EXPECT_FALSE(VxKd::displayCreatedWithMsg());
  EXPECT_TRUE(VxKd::setDisplayCreatedWithMsg(true));
  EXPECT_TRUE(VxKd::displayCreatedWithMsg());
  EXPECT_NE(registry_.currentUserText().find("\"DisplayCreatedWithMsg\"=dword:00000001"),
            std::string::npos);
}

TEST_F(RegistryTest, SymbolFoldersDefaultBelowTheLocalDataFolder) {
  CWsz common, user;
  VxKd::readSymbolFolders(L"/opt/data", common, user);
  EXPECT_EQ(common.str(), L"/opt/data/KdCommonSymbols");
  EXPECT_EQ(user.str(), L"/opt/data/KdUserSymbols");

  registry_.writeCurrentUser(std::string(kDirectories) +
                             "\"CommonSymbols\"=\"/srv/symbols\"\n\"UserSymbols\"=\"\"\n");
  VxKd::readSymbolFolders(L"/opt/data", common, user);
  EXPECT_EQ(common.str(), L"/srv/symbols");
  EXPECT_EQ(user.str(), L"/opt/data/KdUserSymbols") << "an empty value keeps the default";

  registry_.writeCurrentUser(std::string(kDirectories) + "\"UserSymbols\"=\"/" +
                             std::string(300, 'u') + "\"\n");
  VxKd::readSymbolFolders(L"/opt/data", common, user);
  EXPECT_EQ(user.str(), L"/opt/data/KdUserSymbols") << "longer than 300 characters";
}

struct LanguageCase {
  long long user;     // -1: absent
  long long machine;  // -1: absent
  long expected;
};

void PrintTo(const LanguageCase& c, std::ostream* os) {
  *os << "user " << c.user << " machine " << c.machine;
}

class InterfaceLanguage : public RegistryTest,
                          public ::testing::WithParamInterface<LanguageCase> {};

TEST_P(InterfaceLanguage, UserChoiceBelow1500FallsBackToTheMachine) {
  const LanguageCase& c = GetParam();
  if (c.user >= 0) registry_.writeCurrentUser(kUserVantrix + dword("InterfaceLng", c.user));
  if (c.machine >= 0)
    registry_.writeLocalMachine(kMachineVantrix + dword("InterfaceLng", c.machine));
  EXPECT_EQ(VxKd::readInterfaceLanguage(), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, InterfaceLanguage,
    ::testing::Values(LanguageCase{1033, 1501, 1501}, LanguageCase{1501, 1500, 1501},
                      LanguageCase{1500, -1, 1500}, LanguageCase{-1, 1501, 1501},
                      LanguageCase{1033, -1, 0}, LanguageCase{0, 1033, 0},
                      LanguageCase{0xFFFFFFFF, 1501, 1501}, LanguageCase{-1, -1, 0}));

// A symbol library with the series "Basic" and "Extra" in its common folder.
class SymbolSeries : public RegistryTest {
 protected:
  void SetUp() override {
    folder_.write("common/Basic.vxs", "vxkd-symbol-series 1\n");
    folder_.write("common/Extra.vxs", "vxkd-symbol-series 1\n");
    ASSERT_TRUE(library_.open(cuFile::joinPath(cuFile::libraryFolder(), L"VantVxs.ddq"), "S", 1500,
                              CWsz::fromUtf8(folder_.native("common").c_str()), L""));
    ASSERT_EQ(library_.refreshSeries(), 2);
  }

  std::wstring read() {
    CWszArray ids;
    ids.append(L"stale");
    VxKd::readSymbolSeries(library_, ids);
    return ids.join(L"|").str();
  }

  vxkd_test::TempFolder folder_;
  CVxSymbolDb library_;
};

TEST_F(SymbolSeries, StoredListIsSplitUpToTheFirstEmptyId) {
  const std::pair<std::string, std::wstring> cases[] = {
      {"A,,B", L"A"},
      {"A,B", L"A|B"},
      {"A,", L"A"},
      {",A", L"Basic|Extra"},
      {"", L"Basic|Extra"},
      {" A , B", L" A | B"},
      {std::string(120, 'x') + ",B", std::wstring(99, L'x') + L"|B"},
  };
  for (const auto& [stored, expected] : cases) {
    registry_.writeCurrentUser(std::string(kPreferences) + "\"SymbolSeries\"=\"" + stored + "\"\n");
    EXPECT_EQ(read(), expected) << stored;
  }
}

TEST_F(SymbolSeries, NoStoredListGivesTheLibraryDefaults) {
  EXPECT_EQ(read(), L"Basic|Extra");
  CVxSymbolDb empty;
  CWszArray ids;
  ids.append(L"stale");
  VxKd::readSymbolSeries(empty, ids);
  EXPECT_TRUE(ids.isEmpty()) << "a library without series has no defaults";
}

TEST_F(SymbolSeries, WriteJoinsTheIdsInOrder) {
  CWszArray ids;
  ids.append(L"Extra");
  ids.append(L"Basic");
  EXPECT_TRUE(VxKd::writeSymbolSeries(ids));
  EXPECT_NE(registry_.currentUserText().find("\"SymbolSeries\"=\"Extra,Basic\""),
            std::string::npos);
  EXPECT_EQ(read(), L"Extra|Basic");

  CWszArray tooLong;
  tooLong.append(CWsz(std::wstring(200, L'a')));
  tooLong.append(CWsz(std::wstring(100, L'b')));
  EXPECT_FALSE(VxKd::writeSymbolSeries(tooLong)) << "301 characters could not be read back";
  EXPECT_EQ(read(), L"Extra|Basic");
}

}  // namespace
