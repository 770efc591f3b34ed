// Runs the built vkd program to draw format previews and the gallery of borders.

#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/vkd_runner.h"
#include "vxkd/dataset/project.h"

namespace {

using VkdRun = vxkd_test::VkdResult;
using ::testing::HasSubstr;

class VkdPreview : public ::testing::Test {
 protected:
  // The settings of a fresh user: English, no masking.
  VkdPreview()
      : hkcu_("VXKD_HKCU", dir_.native("hkcu.reg")), hklm_("VXKD_HKLM", dir_.native("hklm.reg")) {}

  VkdRun vkd(const std::vector<std::string>& args) const { return vxkd_test::runVkd(args, dir_); }
  std::string file(const char* name) const { return dir_.native(name); }

  // "texts.vkd": a property Width, and formats 1 (two rows), 2 (an unclosed brace), 3 (too
  // long for the layout).
  void makeDataset() {
    CKdProject project;
    project.buildDefaultProject();
    project.propertyDefs().add(L"Width", L"", CKdPropertyValue::typeInt32, CKdUnit(), 0);
    const struct {
      long id;
      std::wstring fmt;
    } formats[] = {
        {1, L"W = {Width}{*CRNL*}{*NOTE*}"}, {2, L"W = {Width"}, {3, std::wstring(800, L'x')}};
    for (const auto& f : formats) {
      CKdDimtextFormat format;
      format.setId(f.id);
      format.setDesc(L"Größe");
      format.setFmt(f.fmt.c_str());
      format.options().setBorderType(CKdDimtextOptions::borderHexagon);
      format.options().setReflineType(CKdDimtextOptions::reflineArrow);
      project.dimTextFormats().append(&format);
    }
    ASSERT_TRUE(project.saveDbAs(nullptr, CWsz::fromUtf8(file("texts.vkd").c_str())));
  }

  // The names in the test's folder, apart from the ones every run leaves.
  std::vector<std::string> leftFiles() const {
    std::vector<std::string> names;
    DIR* d = opendir(dir_.native().c_str());
    while (dirent* e = d ? readdir(d) : nullptr) {
      std::string name = e->d_name;
      if (name != "." && name != ".." && name != "stdout" && name != "stderr" &&
          name != "texts.vkd" && name.find(".reg") == std::string::npos)
        names.push_back(name);
    }
    if (d) closedir(d);
    return names;
  }

  vxkd_test::TempFolder dir_;
  vxkd_test::ScopedEnv hkcu_;
  vxkd_test::ScopedEnv hklm_;
};

TEST_F(VkdPreview, DrawsTheFormatAsTheEditorShowsIt) {
  makeDataset();
  VkdRun run = vkd({"preview", file("texts.vkd"), "format", "1", "-o", file("one.svg")});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, "Wrote the preview of format 1 \"Größe\" to " + file("one.svg") + "\n");
  const std::string svg = dir_.read("one.svg");
  EXPECT_THAT(svg, HasSubstr("<svg "));
  EXPECT_THAT(svg, HasSubstr(">W = ######</text>"));
  EXPECT_THAT(svg, HasSubstr(">Abcdefghij</text>"));
  EXPECT_THAT(svg, HasSubstr(">tuvxyz</text>"));
  EXPECT_THAT(svg, HasSubstr("<polygon ")) << "the hexagon and the arrow";
  EXPECT_EQ(leftFiles(), std::vector<std::string>{"one.svg"});
}

TEST_F(VkdPreview, ReplacesAnExistingPicture) {
  makeDataset();
  ASSERT_TRUE(dir_.write("one.svg", "old picture"));
  ASSERT_EQ(vkd({"preview", file("texts.vkd"), "format", "1", "-o", file("one.svg")}).code, 0);
  EXPECT_THAT(dir_.read("one.svg"), HasSubstr("W = ######"));
}

TEST_F(VkdPreview, WrongCommandLinesExitWithTwo) {
  makeDataset();
  const std::vector<std::vector<std::string>> wrong = {
      {"preview", file("texts.vkd"), "format", "-o", file("x.svg")},  // no id
      {"preview", file("texts.vkd"), "format", "1"},
      {"preview", file("texts.vkd"), "format", "abc", "-o", file("x.svg")},
      {"preview", file("texts.vkd"), "format", "1x", "-o", file("x.svg")},
      {"preview", file("texts.vkd"), "format", "-1", "-o", file("x.svg")},
      {"preview", file("texts.vkd"), "format", "", "-o", file("x.svg")},
      {"preview", file("texts.vkd"), "product", "1", "-o", file("x.svg")},
      {"preview", file("texts.vkd"), "format", "1", "--outfile", file("x.svg")},
      {"gallery", file("x.svg")},
      {"gallery", "-o"},
      {"info", file("texts.vkd"), "-o", file("x.svg")},
  };
  for (const auto& args : wrong) {
    VkdRun run = vkd(args);
    EXPECT_EQ(run.code, 2) << args.back();
    EXPECT_THAT(run.err, HasSubstr("vkd: ")) << args.size();
  }
  EXPECT_THAT(vkd(wrong[2]).err, HasSubstr("the format id must be a number, not \"abc\""));
  EXPECT_THAT(vkd(wrong[0]).err, HasSubstr("usage: vkd preview FILE.vkd KIND NAME -o OUT.svg"));
  EXPECT_THAT(vkd(wrong[9]).err, HasSubstr("option -o needs a file name"));
  EXPECT_THAT(vkd(wrong[10]).err, HasSubstr("info has no option --output"));
  EXPECT_TRUE(leftFiles().empty());
}

TEST_F(VkdPreview, TheOutputOptionMayStandAnywhere) {
  makeDataset();
  EXPECT_EQ(vkd({"preview", "-o", file("a.svg"), file("texts.vkd"), "format", "1"}).code, 0);
  EXPECT_EQ(vkd({"preview", file("texts.vkd"), "--output", file("b.svg"), "format", "1"}).code, 0);
  EXPECT_EQ(vkd({"gallery", "--output=" + file("c.svg")}).code, 0);
  EXPECT_EQ(dir_.read("a.svg"), dir_.read("b.svg"));
  EXPECT_NE(dir_.read("c.svg").find("<svg"), std::string::npos);
}

TEST_F(VkdPreview, FailuresWriteNothingAndSayWhy) {
  makeDataset();
  ASSERT_TRUE(dir_.write("kept.svg", "old picture"));
  const struct {
    std::string id;
    std::string out;
    const char* message;
  } cases[] = {
      {"99", file("kept.svg"), "has no dimension text format with id 99"},
      {"2", file("kept.svg"),
       "format 2 cannot be laid out: its format string has a \"{\" without a \"}\""},
      {"3", file("kept.svg"),
       "format 3 cannot be laid out: its format string has 800 characters, more than 799"},
      {"1", file("no/such/folder/out.svg"), "No such file or directory"},
      {"1", dir_.native(), "Is a directory"},
  };
  for (const auto& c : cases) {
    VkdRun run = vkd({"preview", file("texts.vkd"), "format", c.id, "-o", c.out});
    EXPECT_EQ(run.code, 1) << c.message;
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr(c.message));
  }
  EXPECT_EQ(dir_.read("kept.svg"), "old picture");
  EXPECT_EQ(leftFiles(), std::vector<std::string>{"kept.svg"}) << "no temporary file left";

  VkdRun missing = vkd({"preview", file("missing.vkd"), "format", "1", "-o", file("x.svg")});
  EXPECT_EQ(missing.code, 1);
  EXPECT_THAT(missing.err, HasSubstr("vkd: cannot read"));
}

TEST_F(VkdPreview, GalleryShowsEveryBorderAlignmentAndReferenceLine) {
  VkdRun run = vkd({"gallery", "-o", file("gallery.svg")});
  ASSERT_EQ(run.code, 0) << run.err;
  const std::string svg = dir_.read("gallery.svg");
  for (const char* border : {"None", "First row underlined", "All rows underlined", "Rectangle",
                             "Diamond", "Circle", "Split circle", "Break line", "Hexagon"})
    for (const char* align : {"Left", "Center", "Right"})
      EXPECT_THAT(svg, HasSubstr(std::string(">") + border + ", " + align + "</text>"));
  for (const char* refline :
       {"None", "Line only", "Line and target line", "Arrow", "Filled circle"})
    EXPECT_THAT(svg, HasSubstr(std::string(">") + refline + "</text>"));
  EXPECT_THAT(svg, HasSubstr(">Hexagon, fixed size 10</text>"));
  EXPECT_THAT(svg, HasSubstr("fill=\"#ffffff\"")) << "the wipeout frames";

  VkdRun bad = vkd({"gallery", "-o", file("no/folder/gallery.svg")});
  EXPECT_EQ(bad.code, 1);
  EXPECT_THAT(bad.err, HasSubstr("cannot write"));
}

}  // namespace
