// The dataset editor through its front end: found in the program folder, started on the
// project's file and waited for; the project takes in what the editor saved.

#include "vxkd/dataset/project_dlg.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/paths.h"

using namespace cuWin;

namespace {

using vxkd_test::ScopedEnv;
using vxkd_test::TempFolder;

// A program folder of its own, with the dictionary, where a test puts a front end; the
// project is bound to a dataset of one property definition.
class ProjectDlg : public vxkd_test::TextsUiTest {
 protected:
  void SetUp() override {
    TextsUiTest::SetUp();
    ASSERT_TRUE(
        program_.write("VantVkd.ddq", vxkd_test::readBytes(cuFile::nativePath(cuFile::joinPath(
                                          cuFile::libraryFolder(), L"VantVkd.ddq")))));
    project_.propertyDefs().add(L"Width", L"", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
    ASSERT_TRUE(project_.saveDbAs(nullptr, data_.path(L"shared.vkd")));
    ui_.clear();
  }

  // A front end that runs `script` with the dataset's path as $1.
  void installFrontEnd(const std::string& script, mode_t mode = 0755) {
    ASSERT_TRUE(program_.write("vkd-edit", "#!/bin/sh\n" + script + "\n"));
    ASSERT_EQ(chmod(program_.native("vkd-edit").c_str(), mode), 0);
  }

  TempFolder program_;
  ScopedEnv programDir_{"VXKD_PROGRAM_DIR", program_.native()};
  TempFolder data_;
  CKdProject project_;
};

TEST_F(ProjectDlg, WithoutAFrontEndTheUserIsToldAndNothingRuns) {
  EXPECT_FALSE(vxkdui_projectDlg(nullptr, &project_));
  EXPECT_TRUE(
      lastBoxIs(L"The dataset editor is not installed", L"Vantrix", MB_TASKMODAL | MB_ICONSTOP));
  installFrontEnd("exit 0", 0644);
  EXPECT_FALSE(vxkdui_projectDlg(nullptr, &project_)) << "a file that cannot run is no program";
  EXPECT_EQ(ui_.boxCount(), 2);
}

TEST_F(ProjectDlg, RunsTheFrontEndOnTheFileAndTakesInWhatItSaved) {
  // The editor's save: another dataset of two definitions takes the file's place.
  CKdProject other;
  other.propertyDefs().add(L"Height", L"", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
  other.propertyDefs().add(L"Flow", L"", CKdPropertyValue::typeSingleReal, CKdUnit::unitLps, 1);
  ASSERT_TRUE(other.saveDbAs(nullptr, data_.path(L"edited.vkd")));
  installFrontEnd("echo \"$#:$1\" > '" + data_.native("args") + "'\nsleep 0.01\ncp '" +
                  data_.native("edited.vkd") + "' \"$1\"");

  EXPECT_TRUE(vxkdui_projectDlg(nullptr, &project_));
  EXPECT_EQ(data_.read("args"), "1:" + data_.native("shared.vkd") + "\n");
  ASSERT_EQ(project_.propertyDefs().length(), 2);
  EXPECT_EQ(project_.propertyDefs().objAt(0)->name().str(), L"Height");
  EXPECT_EQ(project_.fileName().str(), data_.path(L"shared.vkd").str()) << "still its file";
  EXPECT_EQ(ui_.boxCount(), 0) << "the user saw the editor, no message";
}

TEST_F(ProjectDlg, AnEditorThatFailsHasToldTheUserItselfAndChangesNothing) {
  installFrontEnd("exit 3");
  EXPECT_FALSE(vxkdui_projectDlg(nullptr, &project_));
  EXPECT_EQ(ui_.boxCount(), 0);
  ASSERT_EQ(project_.propertyDefs().length(), 1);
  EXPECT_EQ(project_.propertyDefs().objAt(0)->name().str(), L"Width");
}

TEST_F(ProjectDlg, AFrontEndThatCannotBeStartedIsReported) {
  ASSERT_TRUE(program_.write("vkd-edit", std::string("\x7f"
                                                     "ELF garbage",
                                                     12)));
  ASSERT_EQ(chmod(program_.native("vkd-edit").c_str(), 0755), 0);
  EXPECT_FALSE(vxkdui_projectDlg(nullptr, &project_));
  EXPECT_TRUE(
      lastBoxIs(L"The dataset editor cannot be started", L"Vantrix", MB_TASKMODAL | MB_ICONSTOP));
}

TEST_F(ProjectDlg, AProjectWithoutItsFileMustBeSavedFirst) {
  installFrontEnd("touch '" + data_.native("ran") + "'");
  CKdProject unsaved;
  EXPECT_FALSE(vxkdui_projectDlg(nullptr, &unsaved));
  EXPECT_TRUE(
      lastBoxIs(L"Save the dataset before editing it", L"Vantrix", MB_TASKMODAL | MB_ICONSTOP));
  EXPECT_FALSE(cuFile::exists(CWsz::fromUtf8(data_.native("ran").c_str())))
      << "the editor was not started";
}

using ProjectDlgDeathTest = ProjectDlg;

TEST_F(ProjectDlgDeathTest, NoProjectIsAProgrammingError) {
  EXPECT_DEBUG_DEATH(vxkdui_projectDlg(nullptr, nullptr), "needs the host's project");
}

}  // namespace
