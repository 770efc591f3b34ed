#include "vxkd/ui/message_box.h"

#include <gtest/gtest.h>

#include "support/temp_registry.h"
#include "support/ui_fixture.h"
#include "vxkd/foundation/preferences.h"

using namespace cuWin;

namespace {

using MessageBoxTest = vxkd_test::TextsUiTest;

TEST_F(MessageBoxTest, EachBoxShowsLookedUpTextUnderAppTitleTaskModalWithItsStyle) {
  const struct {
    int (*show)(HWND, long, const wchar_t*);
    unsigned style;
  } boxes[] = {{[](HWND h, long i, const wchar_t* t) { return VxKd::msgBox(h, i, t); }, MB_OK},
               {&VxKd::msgErrorBox, MB_OK | MB_ICONSTOP},
               {&VxKd::msgWarningBox, MB_OK | MB_ICONEXCLAMATION},
               {&VxKd::okCancelMsgBox, MB_OKCANCEL},
               {[](HWND h, long i, const wchar_t* t) { return VxKd::yesNoMsgBox(h, i, t); },
                MB_YESNO | MB_ICONQUESTION},
               {&VxKd::yesNoWarningMsgBox, MB_YESNO | MB_ICONEXCLAMATION}};
  for (const auto& box : boxes) {
    ui_.clear();
    box.show(nullptr, 10250, L"#Duct");
    ASSERT_EQ(ui_.boxCount(), 1);
    EXPECT_EQ(ui_.lastBox().text, L"Duct");
    EXPECT_EQ(ui_.lastBox().caption, L"Vantrix");
    EXPECT_EQ(ui_.lastBox().style, box.style | MB_TASKMODAL);
  }
}

TEST_F(MessageBoxTest, TextIdBelowOneShowsTheTextAsItStandsHashIncluded) {
  VxKd::msgBox(nullptr, 0, L"#Duct");
  EXPECT_EQ(ui_.lastBox().text, L"#Duct");
  VxKd::msgBox(nullptr, -5, L"#Duct", 0, L"#Caption", MB_OK, MB_ICONINFORMATION);
  EXPECT_EQ(ui_.lastBox().text, L"#Duct");
  EXPECT_EQ(ui_.lastBox().caption, L"#Caption");
  EXPECT_EQ(ui_.lastBox().style, MB_TASKMODAL | MB_ICONINFORMATION);
}

TEST_F(MessageBoxTest, CaptionIsLookedUpTooAndTheButtonPressedIsReturned) {
  ui_.answerBoxWith(IDYES);
  EXPECT_EQ(VxKd::yesNoMsgBox(nullptr, 12534, L"#Dataset cannot be opened", 12536,
                              L"#Cannot Open Dataset"),
            IDYES);
  EXPECT_EQ(ui_.lastBox().text, L"Dataset cannot be opened");
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Open Dataset");
  EXPECT_EQ(ui_.lastBox().style, MB_TASKMODAL | MB_YESNO | MB_ICONQUESTION);
  // Unscripted, a question gets its safe answer.
  EXPECT_EQ(VxKd::yesNoWarningMsgBox(nullptr, 0, L"Delete?"), IDNO);
  EXPECT_EQ(VxKd::okCancelMsgBox(nullptr, 0, L"Go on?"), IDCANCEL);
}

TEST_F(MessageBoxTest, ItemListFollowsTheTextLineByLine) {
  CWszArray items;
  items.append(L"Layer definitions");
  items.append(L"Text formats");
  VxKd::msgBox(nullptr, 0, L"Used in:", 11142, L"#Cannot Delete", items);
  EXPECT_EQ(ui_.lastBox().text, L"Used in:\r\n\r\n - Layer definitions\r\n - Text formats");
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Delete");
  EXPECT_EQ(ui_.lastBox().style, MB_TASKMODAL | MB_OK | MB_ICONINFORMATION);
  VxKd::msgBox(nullptr, 0, L"Used in:", 0, L"x", CWszArray());
  EXPECT_EQ(ui_.lastBox().text, L"Used in:\r\n");
}

TEST_F(MessageBoxTest, CommonSaveErrorInBothLanguagesAndWithoutTheDatabase) {
  const std::pair<long, std::wstring> expected[] = {
      {vxkd_test::kGerman, L"Daten können nicht gespeichert werden|Speichern fehlgeschlagen"},
      {vxkd_test::kEnglish, L"Cannot save data|Save Failed"},
      {0, L"Cannot save data|Save Failed"}};  // closed: the built-in texts
  for (const auto& [language, texts] : expected) {
    if (language)
      ASSERT_TRUE(VxKd::lngDb().setActiveLanguage(language));
    else
      VxKd::lngDb().close();
    VxKd::commonSaveErrorMsgBox(nullptr);
    EXPECT_EQ(ui_.lastBox().text + L"|" + ui_.lastBox().caption, texts);
    EXPECT_EQ(ui_.lastBox().style, MB_TASKMODAL | MB_ICONSTOP);
  }
}

// The show-again box of "created with" messages, with the user's preferences installed as
// start-up installs them, and the switch in a registry of its own.
class WarnIfWanted : public vxkd_test::RegistryTest {
 protected:
  void SetUp() override { previous_ = VxKd::setMsgBoxPreferences(&VxKd::userMsgBoxPreferences()); }
  void TearDown() override { VxKd::setMsgBoxPreferences(previous_); }

  int shownCount() const {
    int n = 0;
    for (const auto& i : ui_.interactions()) n += i.kind == CRecordingUiBackend::Kind::showAgain;
    return n;
  }
  vxkd_test::ScopedRecordingUi ui_;
  iKdMsgBoxPreferences* previous_ = nullptr;
};

TEST_F(WarnIfWanted, ShowsTheLookedUpTextWithTheApplicationTitleOnlyForConditionOne) {
  for (int condition : {0, 2, -1, 256}) VxKd::warnIfWantedMsgBox(nullptr, condition, 0, L"x");
  EXPECT_TRUE(ui_.interactions().empty());
  VxKd::warnIfWantedMsgBox(nullptr, 1, 99999, L"#Drawing was created with Vantrix 17");
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"#As it stands");
  ASSERT_EQ(shownCount(), 2);
  EXPECT_EQ(ui_.interactions()[0].text, L"Drawing was created with Vantrix 17");
  EXPECT_EQ(ui_.interactions()[0].caption, L"Vantrix");
  EXPECT_EQ(ui_.interactions()[1].text, L"#As it stands");
  EXPECT_EQ(ui_.boxCount(), 0) << "the show-again box, not a message box";
  EXPECT_TRUE(VxKd::displayCreatedWithMsg()) << "left ticked: nothing changes";
  EXPECT_EQ(registry_.currentUserText(), "");
}

TEST_F(WarnIfWanted, UntickingSwitchesOffEveryMessageOfTheKind) {
  ui_.answerShowAgainWith(false);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"first message");
  EXPECT_FALSE(VxKd::displayCreatedWithMsg());
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"first message");
  VxKd::warnIfWantedMsgBox(nullptr, 1, 12345, L"#another message");
  EXPECT_EQ(shownCount(), 1);
  EXPECT_NE(registry_.currentUserText().find(vxkd_test::dwordLine("DisplayCreatedWithMsg", 0)),
            std::string::npos);
}

TEST_F(WarnIfWanted, SwitchedOffInTheRegistryShowsNothingUntilSwitchedOnAgain) {
  registry_.writeCurrentUser(vxkd_test::kUserVantrixKey +
                             vxkd_test::dwordLine("DisplayCreatedWithMsg", 0));
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"text");
  EXPECT_EQ(shownCount(), 0);
  VxKd::setDisplayCreatedWithMsg(true);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"text");
  EXPECT_EQ(shownCount(), 1) << "read afresh each time";
}

// Preferences that count what the message boxes ask of them, and nothing else.
class CountingPreferences : public iKdMsgBoxPreferences {
 public:
  bool displayCreatedWithMsg() const override {
    ++reads;
    return on;
  }
  bool setDisplayCreatedWithMsg(bool value) override {
    ++writes;
    on = value;
    return true;
  }

  bool on = true;
  mutable int reads = 0;
  int writes = 0;
};

class MsgBoxPreferencesTest : public vxkd_test::RecordingUiTest {
 protected:
  void TearDown() override {
    VxKd::setMsgBoxPreferences(nullptr);
    RecordingUiTest::TearDown();
  }

  int shownCount() const {
    int n = 0;
    for (const auto& i : ui_.interactions()) n += i.kind == CRecordingUiBackend::Kind::showAgain;
    return n;
  }
};

TEST_F(MsgBoxPreferencesTest, TheInstalledPreferencesAloneDecideAndKeepTheSwitch) {
  CountingPreferences preferences;
  VxKd::setMsgBoxPreferences(&preferences);
  EXPECT_EQ(&VxKd::msgBoxPreferences(), &preferences);

  VxKd::warnIfWantedMsgBox(nullptr, 0, 0, L"not wanted");
  EXPECT_EQ(preferences.reads, 0) << "the condition is looked at first";
  ui_.answerShowAgainWith(true);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"kept ticked");
  EXPECT_EQ(preferences.writes, 0);
  ui_.answerShowAgainWith(false);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"unticked");
  EXPECT_EQ(preferences.writes, 1);
  EXPECT_FALSE(preferences.on);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"switched off");
  EXPECT_EQ(shownCount(), 2);
}

TEST_F(MsgBoxPreferencesTest, WithoutPreferencesTheSwitchLivesInMemoryUntilReplaced) {
  CountingPreferences preferences;
  EXPECT_NE(VxKd::setMsgBoxPreferences(&preferences), &preferences);
  EXPECT_EQ(VxKd::setMsgBoxPreferences(nullptr), &preferences) << "the one replaced";

  ui_.answerShowAgainWith(false);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"first");
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"second");
  EXPECT_EQ(shownCount(), 1) << "switched off for the rest of the process";
  EXPECT_FALSE(VxKd::msgBoxPreferences().displayCreatedWithMsg());

  VxKd::setMsgBoxPreferences(nullptr);
  EXPECT_TRUE(VxKd::msgBoxPreferences().displayCreatedWithMsg()) << "on again, as at first";
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"third");
  EXPECT_EQ(shownCount(), 2);
}

}  // namespace
