// Runs the built vkd program on datasets with dimension text formats.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "support/vkd_runner.h"
#include "vxkd/dataset/project.h"

namespace {

using VkdRun = vxkd_test::VkdResult;

class VkdListFormats : public vxkd_test::RecordingUiTest {
 protected:
  // The settings of a fresh user: English, whatever other tests stored.
  VkdListFormats()
      : hkcu_("VXKD_HKCU", dir_.native("hkcu.reg")), hklm_("VXKD_HKLM", dir_.native("hklm.reg")) {}

  VkdRun vkd(const std::vector<std::string>& args) const { return vxkd_test::runVkd(args, dir_); }
  std::string file(const char* name) const { return dir_.native(name); }

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
  VkdRun run = vkd({"list", file("formats.vkd"), "formats"});
  EXPECT_EQ(run.code, 0) << run.err;
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
  ASSERT_EQ(vkd({"new", file("empty.vkd")}).code, 0);
  VkdRun empty = vkd({"list", file("empty.vkd"), "formats"});
  EXPECT_EQ(empty.code, 0) << empty.err;
  EXPECT_EQ(empty.out.substr(0, empty.out.find('\n')),
            "Id  Description  Style  Height  Colour  Border  Refline  Alignment  Format");
  EXPECT_EQ(std::count(empty.out.begin(), empty.out.end(), '\n'), 2) << "headings and rule";

  ASSERT_EQ(vkd({"new", "--sample", file("sample.vkd")}).code, 0);
  VkdRun list = vkd({"list", file("sample.vkd"), "formats"});
  EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '\n'), 10) << list.out;
  EXPECT_NE(list.out.find("{*DESC*}{*CRNL*}{*NOTE*}"), std::string::npos) << list.out;
  VkdRun info = vkd({"info", file("sample.vkd")});
  EXPECT_THAT(info.out, ::testing::ContainsRegex("\nDimension text formats +8\n"));
}

TEST_F(VkdListFormats, WrongUseFailsWithItsExitCodeAndAMessage) {
  makeDataset();
  VkdRun typo = vkd({"list", file("formats.vkd"), "format"});
  EXPECT_EQ(typo.code, 2);
  EXPECT_EQ(typo.out, "");
  EXPECT_NE(typo.err.find("vkd: unknown kind of definition \"format\""), std::string::npos);
  EXPECT_NE(typo.err.find("  formats                 the dimension text formats\n"),
            std::string::npos)
      << typo.err;

  VkdRun missing = vkd({"list", file("missing.vkd"), "formats"});
  EXPECT_EQ(missing.code, 2);
  EXPECT_EQ(missing.out, "");
  EXPECT_NE(missing.err.find("vkd: cannot read"), std::string::npos) << missing.err;
  EXPECT_NE(missing.err.find("File Not Found"), std::string::npos) << missing.err;

  ASSERT_TRUE(dir_.write("notes.vkd", "not a dataset\n"));
  VkdRun notes = vkd({"list", file("notes.vkd"), "formats"});
  EXPECT_EQ(notes.code, 2);
  EXPECT_NE(notes.err.find("Dataset cannot be opened"), std::string::npos) << notes.err;
  EXPECT_EQ(vxkd_test::readBytes(dir_.native("notes.vkd")), "not a dataset\n");

  VkdRun extra = vkd({"list", file("formats.vkd"), "formats", "extra"});
  EXPECT_EQ(extra.code, 2);
}

}  // namespace
