// Runs the built vkd program on datasets with dimension text formats.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/paths.h"

namespace {

struct VkdRun {
  int exitCode = -1;
  std::string out;
  std::string err;
};

class VkdListFormats : public vxkd_test::RecordingUiTest {
 protected:
  // The settings of a fresh user: English, whatever other tests stored.
  VkdListFormats()
      : hkcu_("VXKD_HKCU", dir_.native("hkcu.reg")), hklm_("VXKD_HKLM", dir_.native("hklm.reg")) {}

  // Runs vkd with `args` (already quoted where needed).
  VkdRun vkd(const std::string& args) const {
    std::string program = cuFile::joinPath(cuFile::libraryFolder(), L"vkd").toUtf8();
    std::string outFile = dir_.native("stdout.txt");
    std::string errFile = dir_.native("stderr.txt");
    std::string command = "'" + program + "' " + args + " >'" + outFile + "' 2>'" + errFile + "'";
    VkdRun run;
    int status = std::system(command.c_str());
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = vxkd_test::readBytes(outFile);
    run.err = vxkd_test::readBytes(errFile);
    return run;
  }

  std::string file(const char* name) const { return "'" + dir_.native(name) + "'"; }

  // A dataset "formats.vkd" with two formats, one of them with options out of range.
  void makeDataset() {
    CKdProject project;
    CKdDimtextFormat f;
    f.setId(12);
    f.setDesc(L"Kanalgröße");
    f.setStyleName(L"ISO");
    f.setTextHeight(2.5f);
    f.options().setBorderType(CKdDimtextOptions::borderRectangle);
    f.options().setReflineType(CKdDimtextOptions::reflineArrow);
    f.setFmt(L"{Width} x {Height}");
    project.dimTextFormats().append(&f);
    f.setId(7);
    f.setDesc(L"Damaged");
    f.setStyleName(L"Standard");
    f.setTextHeight(0.125f);
    f.setTextColor(1);
    f.options().setBorderType(12);
    f.options().setReflineType(-1);
    f.options().setAlignmentFlags(CKdDimtextOptions::alignRight);
    f.setFmt(L"A{*CRNL*}B");
    project.dimTextFormats().append(&f);
    ASSERT_TRUE(project.saveDbAs(nullptr, CWsz::fromUtf8(dir_.native("formats.vkd").c_str())));
  }

  vxkd_test::TempFolder dir_;
  vxkd_test::ScopedEnv hkcu_;
  vxkd_test::ScopedEnv hklm_;
};

TEST_F(VkdListFormats, ShowsEveryFormatAsARowInKeyOrder) {
  makeDataset();
  VkdRun run = vkd("list " + file("formats.vkd") + " formats");
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "Id  Description  Style     Height  Colour    Border     Refline  Alignment  Format\n"
            "--  -----------  --------  ------  --------  ---------  -------  ---------  "
            "------------------\n"
            " 7  Damaged      Standard   0.125  1         ? (12)     ? (-1)   Right      "
            "A{*CRNL*}B\n"
            "12  Kanalgröße   ISO          2.5  by layer  Rectangle  Arrow    Left       "
            "{Width} x {Height}\n");
}

TEST_F(VkdListFormats, NewDatasetsHaveNoFormatsUnlessSampled) {
  ASSERT_EQ(vkd("new " + file("empty.vkd")).exitCode, 0);
  VkdRun empty = vkd("list " + file("empty.vkd") + " formats");
  EXPECT_EQ(empty.exitCode, 0) << empty.err;
  EXPECT_EQ(empty.out.substr(0, empty.out.find('\n')),
            "Id  Description  Style  Height  Colour  Border  Refline  Alignment  Format");
  EXPECT_EQ(std::count(empty.out.begin(), empty.out.end(), '\n'), 2) << "headings and rule";

  ASSERT_EQ(vkd("new --sample " + file("sample.vkd")).exitCode, 0);
  VkdRun list = vkd("list " + file("sample.vkd") + " formats");
  EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '\n'), 5) << list.out;
  EXPECT_NE(list.out.find("DN {Diameter}{*CRNL*}{*NOTE*}"), std::string::npos) << list.out;
  VkdRun info = vkd("info " + file("sample.vkd"));
  EXPECT_NE(info.out.find("Dimension text formats      3\n"), std::string::npos) << info.out;
}

TEST_F(VkdListFormats, WrongUseFailsWithItsExitCodeAndAMessage) {
  makeDataset();
  VkdRun typo = vkd("list " + file("formats.vkd") + " format");
  EXPECT_EQ(typo.exitCode, 2);
  EXPECT_EQ(typo.out, "");
  EXPECT_NE(typo.err.find("vkd: unknown kind of definition \"format\""), std::string::npos);
  EXPECT_NE(typo.err.find("  formats                 the dimension text formats\n"),
            std::string::npos)
      << typo.err;

  VkdRun missing = vkd("list " + file("missing.vkd") + " formats");
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.out, "");
  EXPECT_NE(missing.err.find("vkd: cannot read"), std::string::npos) << missing.err;
  EXPECT_NE(missing.err.find("File Not Found"), std::string::npos) << missing.err;

  ASSERT_TRUE(dir_.write("notes.vkd", "not a dataset\n"));
  VkdRun notes = vkd("list " + file("notes.vkd") + " formats");
  EXPECT_EQ(notes.exitCode, 1);
  EXPECT_NE(notes.err.find("Dataset cannot be opened"), std::string::npos) << notes.err;
  EXPECT_EQ(vxkd_test::readBytes(dir_.native("notes.vkd")), "not a dataset\n");

  VkdRun extra = vkd("list " + file("formats.vkd") + " formats extra");
  EXPECT_EQ(extra.exitCode, 2);
}

}  // namespace
