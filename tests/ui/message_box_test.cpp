#include "ui/message_box.h"

#include <gtest/gtest.h>

#include "foundation/preferences.h"
#include "support/scoped_recording_ui.h"
#include "support/temp_registry.h"

namespace {

class WarnIfWanted : public RegistryTest {
 protected:
  int shownCount() const {
    int n = 0;
    for (const auto& i : ui_.interactions()) n += i.kind == CRecordingUiBackend::Kind::showAgain;
    return n;
  }
  CScopedRecordingUi ui_;
};

TEST_F(WarnIfWanted, ShowsTheLookedUpTextWithTheApplicationTitle) {
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

TEST_F(WarnIfWanted, ConditionOtherThanOneShowsNothing) {
  for (int condition : {0, 2, -1, 256}) VxKd::warnIfWantedMsgBox(nullptr, condition, 0, L"x");
  EXPECT_TRUE(ui_.interactions().empty());
}

TEST_F(WarnIfWanted, UntickingSwitchesOffEveryMessageOfTheKind) {
  ui_.answerShowAgainWith(false);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"first message");
  EXPECT_FALSE(VxKd::displayCreatedWithMsg());
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"first message");
  VxKd::warnIfWantedMsgBox(nullptr, 1, 12345, L"#another message");
  EXPECT_EQ(shownCount(), 1);
  EXPECT_NE(registry_.currentUserText().find("\"DisplayCreatedWithMsg\"=dword:00000000"),
            std::string::npos);
}

TEST_F(WarnIfWanted, SwitchedOffInTheRegistryShowsNothing) {
  registry_.writeCurrentUser(
      "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix]\n\"DisplayCreatedWithMsg\"=dword:"
      "00000000\n");
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"text");
  EXPECT_EQ(shownCount(), 0);
  VxKd::setDisplayCreatedWithMsg(true);
  VxKd::warnIfWantedMsgBox(nullptr, 1, 0, L"text");
  EXPECT_EQ(shownCount(), 1) << "read afresh each time";
}

}  // namespace
