#include "vxkd/foundation/startup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/temp_registry.h"
#include "support/ui_fixture.h"
#include "vxkd/foundation/preferences.h"
#include "vxkd/platform/paths.h"
#include "vxkd/ui/language.h"

using namespace cuWin;

namespace {

using vxkd_test::dwordLine;
using vxkd_test::kMachineVantrixKey;
using vxkd_test::kUserVantrixKey;
using vxkd_test::stringLine;

std::wstring wide(const std::string& text) { return CWsz::fromUtf8(text.c_str()).str(); }

// Each test starts the library afresh in its own registry, with a program folder of its own
// that holds copies of the installed data files.
class Startup : public vxkd_test::RegistryTest {
 protected:
  void SetUp() override {
    VxKd::exitVxKd();
    for (const char* name : {"VantQLG.ddq", "VxKd.qlg", "VantVxs.ddq"})
      std::filesystem::copy_file(cuFile::nativePath(cuFile::libraryFolder()) + "/" + name,
                                 program_.native(name));
  }
  void TearDown() override { VxKd::exitVxKd(); }

  // Names `folder` as the local data folder in the machine's registry.
  void setLocalDataFolder(const std::string& folder) {
    registry_.writeLocalMachine(kMachineVantrixKey + stringLine("LocalDataFolder", folder));
  }
  std::wstring activeSeries() { return VxKd::activeSymbolSeries().join(L",").str(); }

  vxkd_test::TempFolder program_;
  vxkd_test::ScopedEnv programDir_{"VXKD_PROGRAM_DIR", program_.native()};
  vxkd_test::ScopedRecordingUi ui_;
};

TEST_F(Startup, FindsFoldersLanguageAndSymbolSeries) {
  vxkd_test::TempFolder data;
  data.write("KdCommonSymbols/Pumps.vxs", "vxkd-symbol-series 1\n");
  data.write("KdUserSymbols/Mine.vxs", "vxkd-symbol-series 1\n");
  setLocalDataFolder(data.native());

  EXPECT_TRUE(VxKd::initVxKd());
  EXPECT_EQ(ui_.boxCount(), 0);
  EXPECT_EQ(VxKd::programFolder().str(), wide(program_.native()));
  EXPECT_EQ(VxKd::localDataFolder().str(), wide(data.native()));
  EXPECT_EQ(VxKd::commonSymbolFolder().str(), wide(data.native("KdCommonSymbols")));
  EXPECT_EQ(VxKd::userSymbolFolder().str(), wide(data.native("KdUserSymbols")));
  EXPECT_TRUE(VxKd::lngDb().isOpen());
  EXPECT_EQ(VxKd::lngDb().activeLanguage(), 1500);
  EXPECT_TRUE(VxKd::symbolDb().isOpen());
  EXPECT_STREQ(VxKd::symbolDb().applicationCode(), "S");
  EXPECT_EQ(VxKd::symbolDb().seriesCount(), 2);
  EXPECT_EQ(activeSeries(), L"Pumps,Mine");

  CWszArray ids;
  ids.append(L"Pumps");
  EXPECT_TRUE(VxKd::setActiveSymbolSeries(ids));
  EXPECT_EQ(activeSeries(), L"Pumps");
  VxKd::readActiveSymbolSeries();
  EXPECT_EQ(activeSeries(), L"Pumps") << "stored";
}

TEST_F(Startup, LocalDataFolderDefaultsToTheProgramFolder) {
  VxKd::initVxKd();
  EXPECT_EQ(VxKd::localDataFolder().str(), wide(program_.native()));
  EXPECT_EQ(VxKd::commonSymbolFolder().str(), wide(program_.native("KdCommonSymbols")));
  EXPECT_EQ(VxKd::symbolDb().seriesCount(), 0);
  EXPECT_TRUE(VxKd::activeSymbolSeries().isEmpty());
}

TEST_F(Startup, MissingLanguageDatabaseIsReportedAndStartupGoesOn) {
  std::filesystem::remove(program_.native("VxKd.qlg"));
  registry_.writeCurrentUser(kUserVantrixKey + dwordLine("InterfaceLng", 1501));
  setLocalDataFolder("/srv/vx");

  EXPECT_FALSE(VxKd::initVxKd());
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_EQ(ui_.lastBox().text, L"Cannot initialize language database");
  EXPECT_EQ(ui_.lastBox().caption, L"Vantrix");
  EXPECT_EQ(ui_.lastBox().style, MB_OK | MB_ICONSTOP | MB_TASKMODAL);
  EXPECT_EQ(VxKd::lngDbText(10250, L"#Duct").str(), L"Duct") << "built-in texts";
  EXPECT_EQ(VxKd::localDataFolder().str(), L"/srv/vx") << "start-up went on";
  EXPECT_TRUE(VxKd::symbolDb().isOpen());
}

TEST_F(Startup, UserLanguageBelow1500GivesWayToTheMachinesAndAnUndeclaredOneToTheDefault) {
  registry_.writeCurrentUser(kUserVantrixKey + dwordLine("InterfaceLng", 1033));
  registry_.writeLocalMachine(kMachineVantrixKey + dwordLine("InterfaceLng", 1501));
  VxKd::initVxKd();
  EXPECT_EQ(VxKd::lngDb().activeLanguage(), 1501);
  EXPECT_EQ(VxKd::lngDbText(10250, L"#Duct").str(), L"Kanal");
  EXPECT_EQ(VxKd::symbolDb().languageId(), 1501) << "the library speaks the same language";

  VxKd::exitVxKd();
  registry_.writeCurrentUser(kUserVantrixKey + dwordLine("InterfaceLng", 1600));
  VxKd::initVxKd();
  EXPECT_EQ(VxKd::lngDb().activeLanguage(), 1500);
}

TEST_F(Startup, SecondInitialisationDoesNothingUntilExit) {
  std::filesystem::remove(program_.native("VantQLG.ddq"));
  EXPECT_FALSE(VxKd::initVxKd());
  setLocalDataFolder("/srv/vx");
  EXPECT_FALSE(VxKd::initVxKd()) << "the first result";
  EXPECT_EQ(ui_.boxCount(), 1);
  EXPECT_EQ(VxKd::localDataFolder().str(), wide(program_.native()));
  EXPECT_TRUE(VxKd::isVxKdInitialized());

  VxKd::exitVxKd();
  EXPECT_FALSE(VxKd::isVxKdInitialized());
  EXPECT_TRUE(VxKd::localDataFolder().isEmpty());
  EXPECT_FALSE(VxKd::initVxKd());
  EXPECT_EQ(VxKd::localDataFolder().str(), L"/srv/vx") << "afresh after exitVxKd";
}

TEST_F(Startup, ProgramFolderIsKnownBeforeInitialisation) {
  EXPECT_EQ(VxKd::programFolder().str(), wide(program_.native()));
  vxkd_test::ScopedEnv unset("VXKD_PROGRAM_DIR", "");
  EXPECT_EQ(VxKd::programFolder().str(), cuFile::libraryFolder().str());
}

TEST_F(Startup, MessageBoxesAskTheUsersPreferencesFromStartUpToExit) {
  VxKd::initVxKd();
  EXPECT_EQ(&VxKd::msgBoxPreferences(), &VxKd::userMsgBoxPreferences());
  ui_.answerShowAgainWith(false);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"Drawing was created with Vantrix 17");
  EXPECT_NE(registry_.currentUserText().find(dwordLine("DisplayCreatedWithMsg", 0)),
            std::string::npos);

  VxKd::exitVxKd();
  EXPECT_NE(&VxKd::msgBoxPreferences(), &VxKd::userMsgBoxPreferences());
  EXPECT_TRUE(VxKd::msgBoxPreferences().displayCreatedWithMsg()) << "not the registry's any more";
}

}  // namespace
