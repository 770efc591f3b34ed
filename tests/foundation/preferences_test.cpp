#include "vxkd/foundation/preferences.h"

#include <gtest/gtest.h>

#include <string>

#include "support/temp_registry.h"
#include "vxkd/foundation/registry.h"
#include "vxkd/platform/paths.h"

namespace {

using vxkd_test::dwordLine;
using vxkd_test::kUserPreferencesKey;
using vxkd_test::kUserVantrixKey;
using vxkd_test::RegistryTest;
using vxkd_test::stringLine;

// The preference as the registry holds it; -1 when absent.
long long storedPreference(const wchar_t* name) {
  CSystemRegistry key;
  key.initCurrentUserSoftware(L"Tessund", L"Vantrix KD 18");
  unsigned long value = 0;
  return key.readDw(L"CurVer\\UserPreferences", name, value) ? static_cast<long long>(value) : -1;
}

TEST_F(RegistryTest, SearchCircleSizeOfZeroOrNotADwordGivesTen) {
  const struct {
    std::string stored;  // the value line, or "" for none
    int diameter, radius;
  } cases[] = {{"", 10, 5},
               {dwordLine("SearchCircleSize", 0), 10, 5},
               {dwordLine("SearchCircleSize", 7), 7, 3},
               {dwordLine("SearchCircleSize", 1), 1, 0},
               {dwordLine("SearchCircleSize", 0xFFFFFFFF), 10, 5},
               {stringLine("SearchCircleSize", "7"), 10, 5}};
  for (const auto& c : cases) {
    registry_.writeCurrentUser(kUserPreferencesKey + c.stored);
    VxKd::resetPreferenceCaches();
    EXPECT_EQ(VxKd::searchCircleDiameter_pix(), c.diameter) << c.stored;
    EXPECT_EQ(VxKd::searchCircleRadius_pix(), c.radius) << c.stored;
  }
}

TEST_F(RegistryTest, SearchCircleSetterTakesOnlyPositiveDiameters) {
  EXPECT_TRUE(VxKd::setSearchCircleDiameter_pix(12));
  for (int refused : {0, -4}) EXPECT_FALSE(VxKd::setSearchCircleDiameter_pix(refused));
  EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 12);
  EXPECT_EQ(storedPreference(L"SearchCircleSize"), 12);
}

TEST_F(RegistryTest, ConnectModeIsCheckedOnWriteButNotOnRead) {
  registry_.writeCurrentUser(kUserPreferencesKey + dwordLine("ConnectMode", 5));
  EXPECT_EQ(VxKd::initialConnectMode(), 5);
  EXPECT_FALSE(VxKd::setInitialConnectMode(2));
  EXPECT_FALSE(VxKd::setInitialConnectMode(-1));
  EXPECT_EQ(VxKd::initialConnectMode(), 5);
  EXPECT_EQ(storedPreference(L"ConnectMode"), 5);
  EXPECT_TRUE(VxKd::setInitialConnectMode(0));
  EXPECT_EQ(VxKd::initialConnectMode(), 0);
  EXPECT_EQ(storedPreference(L"ConnectMode"), 0);
  // Taken as a 16-bit value; a negative one is not cached, and read again.
  registry_.writeCurrentUser(kUserPreferencesKey + dwordLine("ConnectMode", 0x1FFFE));
  VxKd::resetPreferenceCaches();
  EXPECT_EQ(VxKd::initialConnectMode(), -2);
  registry_.writeCurrentUser(kUserPreferencesKey + dwordLine("ConnectMode", 0x1FFFD));
  EXPECT_EQ(VxKd::initialConnectMode(), -3);
}

TEST_F(RegistryTest, FlagsAreStoredAsOneOrZeroAndAnyOtherValueIsTrue) {
  const struct {
    bool (*get)();
    bool (*set)(bool);
    const char* name;
    const wchar_t* wideName;
  } flags[] = {{VxKd::manualConflictHandling, VxKd::setManualConflictHandling,
                "ManualConflictHandling", L"ManualConflictHandling"},
               {VxKd::allowDimtextMasking, VxKd::setAllowDimtextMasking, "AllowDimtextMasking",
                L"AllowDimtextMasking"}};
  for (const auto& flag : flags) {
    for (auto [stored, expected] : {std::pair{0ul, false}, {1ul, true}, {2ul, true}}) {
      registry_.writeCurrentUser(kUserPreferencesKey + dwordLine(flag.name, stored));
      VxKd::resetPreferenceCaches();
      EXPECT_EQ(flag.get(), expected) << flag.name << " " << stored;
    }
    for (bool on : {false, true}) {
      EXPECT_TRUE(flag.set(on));
      EXPECT_EQ(flag.get(), on);
      EXPECT_EQ(storedPreference(flag.wideName), on ? 1 : 0) << flag.name;
    }
  }
}

TEST_F(RegistryTest, CachedPreferencesAreReadOnceUntilTheCachesAreDropped) {
  registry_.writeCurrentUser(kUserPreferencesKey + dwordLine("SearchCircleSize", 20) +
                             dwordLine("ConnectMode", 0) + dwordLine("AllowDimtextMasking", 1) +
                             dwordLine("ManualConflictHandling", 0));
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 20);
    EXPECT_EQ(VxKd::initialConnectMode(), 0);
    EXPECT_TRUE(VxKd::allowDimtextMasking());
    EXPECT_FALSE(VxKd::manualConflictHandling());
    registry_.writeCurrentUser("");  // another program empties the registry
  }
  VxKd::resetPreferenceCaches();  // the defaults now
  EXPECT_EQ(VxKd::searchCircleDiameter_pix(), 10);
  EXPECT_EQ(VxKd::initialConnectMode(), 1);
  EXPECT_FALSE(VxKd::allowDimtextMasking());
  EXPECT_TRUE(VxKd::manualConflictHandling());
}

TEST_F(RegistryTest, SymbolFoldersDefaultBelowTheLocalDataFolder) {
  const std::string directories =
      "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix KD 18\\CurVer\\Directories]\n";
  CWsz common, user;
  VxKd::readSymbolFolders(L"/opt/data", common, user);
  EXPECT_EQ(common.str(), L"/opt/data/KdCommonSymbols");
  EXPECT_EQ(user.str(), L"/opt/data/KdUserSymbols");
  registry_.writeCurrentUser(directories + stringLine("CommonSymbols", "/srv/symbols") +
                             stringLine("UserSymbols", ""));
  VxKd::readSymbolFolders(L"/opt/data", common, user);
  EXPECT_EQ(common.str(), L"/srv/symbols");
  EXPECT_EQ(user.str(), L"/opt/data/KdUserSymbols") << "an empty value keeps the default";
  registry_.writeCurrentUser(directories + stringLine("UserSymbols", "/" + std::string(300, 'u')));
  VxKd::readSymbolFolders(L"/opt/data", common, user);
  EXPECT_EQ(user.str(), L"/opt/data/KdUserSymbols") << "longer than 300 characters";
}

TEST_F(RegistryTest, InterfaceLanguageBelow1500FallsBackToTheMachine) {
  const struct {
    long long user, machine;  // -1: absent
    long expected;
  } cases[] = {{1033, 1501, 1501}, {1501, 1500, 1501}, {1500, -1, 1500},         {-1, 1501, 1501},
               {1033, -1, 0},      {0, 1033, 0},       {0xFFFFFFFF, 1501, 1501}, {-1, -1, 0}};
  for (const auto& c : cases) {
    registry_.writeCurrentUser(c.user < 0 ? ""
                                          : kUserVantrixKey + dwordLine("InterfaceLng", c.user));
    registry_.writeLocalMachine(
        c.machine < 0 ? "" : vxkd_test::kMachineVantrixKey + dwordLine("InterfaceLng", c.machine));
    EXPECT_EQ(VxKd::readInterfaceLanguage(), c.expected) << c.user << " " << c.machine;
  }
}

// A symbol library with the series "Basic" and "Extra" in its common folder.
class SymbolSeries : public RegistryTest {
 protected:
  void SetUp() override {
    folder_.write("common/Basic.vxs", "vxkd-symbol-series 1\n");
    folder_.write("common/Extra.vxs", "vxkd-symbol-series 1\n");
    ASSERT_TRUE(library_.open(cuFile::joinPath(cuFile::libraryFolder(), L"VantVxs.ddq"), "S", 1500,
                              folder_.path(L"common"), L""));
    ASSERT_EQ(library_.refreshSeries(), 2);
  }

  static std::wstring read(const CVxSymbolDb& library) {
    CWszArray ids;
    ids.append(L"stale");
    VxKd::readSymbolSeries(library, ids);
    return ids.join(L"|").str();
  }

  vxkd_test::TempFolder folder_;
  CVxSymbolDb library_;
};

TEST_F(SymbolSeries, StoredListIsSplitUpToTheFirstEmptyIdOrGivesTheDefaults) {
  EXPECT_EQ(read(library_), L"Basic|Extra");
  EXPECT_EQ(read(CVxSymbolDb()), L"") << "a library without series has no defaults";
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
    registry_.writeCurrentUser(kUserPreferencesKey + stringLine("SymbolSeries", stored));
    EXPECT_EQ(read(library_), expected) << stored;
  }
}

TEST_F(SymbolSeries, WriteJoinsTheIdsInOrderIfTheyCanBeReadBack) {
  CWszArray ids;
  ids.append(L"Extra");
  ids.append(L"Basic");
  EXPECT_TRUE(VxKd::writeSymbolSeries(ids));
  EXPECT_EQ(read(library_), L"Extra|Basic");
  CWszArray tooLong;
  tooLong.append(CWsz(std::wstring(200, L'a')));
  tooLong.append(CWsz(std::wstring(100, L'b')));
  EXPECT_FALSE(VxKd::writeSymbolSeries(tooLong)) << "301 characters could not be read back";
  EXPECT_EQ(read(library_), L"Extra|Basic");
}

}  // namespace
