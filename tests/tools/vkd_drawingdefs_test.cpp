// The vkd commands of the drawing definitions, run as the built program the way an
// administrator runs them, the wrong ways included.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/vkd_runner.h"
#include "vxkd/platform/lock_file.h"

namespace {

using vxkd_test::TempFolder;

const std::string kLibrary = VXKD_TEST_SOURCE_DIR "/drawingdefs/data/tessund-office.lin";

using Result = vxkd_test::VkdResult;

class VkdDrawingDefsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(vkd({"new", dataset()}).code, 0); }

  // Runs vkd with `args`, standard input closed, and collects what it printed.
  Result vkd(const std::vector<std::string>& args) const { return vxkd_test::runVkd(args, dir_); }
  std::string dataset() const { return dir_.native("office.vkd"); }
  std::string file(const char* name) const { return dir_.native(name); }

  TempFolder dir_;
};

TEST_F(VkdDrawingDefsTest, ImportedLinetypesListAndExportAsTheyCame) {
  Result imported = vkd({"import-lin", dataset(), kLibrary});
  ASSERT_EQ(imported.code, 0) << imported.err;
  EXPECT_NE(imported.out.find("Imported 46 linetypes from "), std::string::npos) << imported.out;
  EXPECT_NE(imported.out.find(": 46 new, 0 replaced"), std::string::npos);

  Result listed = vkd({"list", dataset(), "linetypes"});
  ASSERT_EQ(listed.code, 0);
  EXPECT_EQ(listed.out.rfind("Name ", 0), 0u);
  EXPECT_NE(listed.out.find("CONTINUOUS"), std::string::npos);
  EXPECT_NE(listed.out.find("A,.5,-.3,[\"LWL\",STANDARD,S=.1,R=0.0,X=-0.15,Y=-.05],-.25"),
            std::string::npos);

  Result exported = vkd({"export-lin", dataset(), file("out.lin")});
  ASSERT_EQ(exported.code, 0) << exported.err;
  EXPECT_EQ(exported.out, "Exported 46 linetypes to " + file("out.lin") + "\n");

  // The exported file brings the same linetypes into another dataset.
  const std::string second = file("second.vkd");
  ASSERT_EQ(vkd({"new", second}).code, 0);
  ASSERT_EQ(vkd({"import-lin", second, file("out.lin")}).code, 0);
  EXPECT_EQ(vkd({"list", second, "linetypes"}).out, listed.out);

  // Importing again replaces every one of them.
  imported = vkd({"import-lin", dataset(), file("out.lin")});
  EXPECT_NE(imported.out.find(": 0 new, 46 replaced"), std::string::npos) << imported.out;
}

TEST_F(VkdDrawingDefsTest, ExportedTextStylesImportBack) {
  Result exported = vkd({"export-sty", dataset(), file("styles.sty")});
  ASSERT_EQ(exported.code, 0) << exported.err;
  std::string sty = dir_.read("styles.sty");
  EXPECT_NE(sty.find("[TEXTSTYLE]\nName=Standard\nFontFile=txt\n"), std::string::npos);
  ASSERT_TRUE(dir_.write("more.sty", sty + "[TEXTSTYLE]\r\nName=Notes\r\nTextSize=2.5\r\n"));
  Result imported = vkd({"import-sty", dataset(), file("more.sty")});
  ASSERT_EQ(imported.code, 0) << imported.err;
  EXPECT_NE(imported.out.find("Imported 2 text styles"), std::string::npos);
  EXPECT_NE(imported.out.find(": 1 new, 1 replaced"), std::string::npos);
  Result listed = vkd({"list", dataset(), "styles"});
  EXPECT_NE(listed.out.find(" 2  Notes "), std::string::npos) << listed.out;
  EXPECT_NE(listed.out.find("2.50"), std::string::npos);
}

TEST_F(VkdDrawingDefsTest, LayersAreListedWithTheirLinetypesAndColours) {
  Result listed = vkd({"list", dataset(), "layers"});
  ASSERT_EQ(listed.code, 0);
  int lines = 0;
  for (char c : listed.out) lines += c == '\n';
  EXPECT_EQ(lines, 2 + 24);
  EXPECT_NE(listed.out.find("11  VANTKD_DUCT "), std::string::npos) << listed.out;
  EXPECT_NE(listed.out.find("Text wipeout frames"), std::string::npos);
  EXPECT_NE(listed.out.find("0.05 mm"), std::string::npos) << "no lineweight stored yet";
  Result info = vkd({"info", dataset()});
  EXPECT_THAT(info.out, ::testing::ContainsRegex("\nLayer definitions +24\n"));
}

// Files that bring nothing: exit 1, the reason on standard error, the dataset untouched.
TEST_F(VkdDrawingDefsTest, ImportsOfBadFilesChangeNothing) {
  ASSERT_TRUE(dir_.write("binary.lin", std::string("\x7f"
                                                   "ELF\x02\x01\x01\0\0\0*X\nA,1\n",
                                                   17)));
  ASSERT_TRUE(dir_.write("empty.lin", ""));
  ASSERT_TRUE(dir_.write("empty.sty", ""));
  const std::string before = dir_.read("office.vkd");
  const struct {
    const char* command;
    const char* file;
    const char* says;
  } cases[] = {
      {"import-lin", "missing.lin", "vkd: no such file: "},
      {"import-lin", "binary.lin", "No linetypes found in the file"},
      {"import-lin", "empty.lin", "No linetypes found in the file"},
      {"import-sty", "missing.sty", "vkd: no such file: "},
      {"import-sty", "empty.sty", "No text styles found in the file"},
      {"import-sty", "binary.lin", "No text styles found in the file"},
  };
  for (const auto& c : cases) {
    Result run = vkd({c.command, dataset(), file(c.file)});
    EXPECT_EQ(run.code, 2) << c.command << " " << c.file;
    EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
    EXPECT_EQ(run.out, "");
  }
  EXPECT_EQ(dir_.read("office.vkd"), before);
}

TEST_F(VkdDrawingDefsTest, ImportIntoALockedDatasetSaysWhoHoldsItAndChangesNothing) {
  CLockFile lock;
  ASSERT_EQ(
      lock.set(CLockFile::lockFileNameFor(CWsz::fromUtf8(dataset().c_str())), L"Anna", nullptr),
      CLockFile::lockHeld);
  const std::string before = dir_.read("office.vkd");
  for (const char* command : {"import-lin", "import-sty"}) {
    Result run = vkd({command, dataset(), kLibrary});
    EXPECT_EQ(run.code, 1);
    EXPECT_NE(run.err.find("office.vkd is being updated by Anna; nothing was changed"),
              std::string::npos)
        << run.err;
  }
  EXPECT_EQ(dir_.read("office.vkd"), before);
  lock.release();
  EXPECT_EQ(vkd({"import-lin", dataset(), kLibrary}).code, 0);
}

TEST_F(VkdDrawingDefsTest, MissingDatasetsAndUnwritableFoldersAreReported) {
  for (const char* command : {"import-lin", "export-lin", "export-sty"}) {
    Result run = vkd({command, file("none.vkd"), kLibrary});
    EXPECT_EQ(run.code, 2) << command;
    EXPECT_NE(run.err.find("cannot read " + file("none.vkd") +
                           ": missing (File Not Found: Selected file cannot be found)"),
              std::string::npos)
        << run.err;
  }
  EXPECT_EQ(vkd({"list", file("none.vkd"), "layers"}).code, 2);

  // A folder the user may not write to; root may write anywhere but into /sys.
  std::string folder = file("readonly");
  ASSERT_EQ(mkdir(folder.c_str(), 0555), 0);
  if (access(folder.c_str(), W_OK) == 0) folder = "/sys";
  for (const char* command : {"export-lin", "export-sty"}) {
    Result run = vkd({command, dataset(), folder + "/out.txt"});
    EXPECT_EQ(run.code, 1) << command;
    EXPECT_NE(run.err.find("(Export Failed: The file cannot be written:"), std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find("Permission denied"), std::string::npos) << run.err;
    EXPECT_NE(access((folder + "/out.txt").c_str(), F_OK), 0);
  }
}

TEST_F(VkdDrawingDefsTest, WrongCommandLinesShowTheUsage) {
  Result run = vkd({"export-lin", dataset()});
  EXPECT_EQ(run.code, 2);
  EXPECT_EQ(run.err, "vkd: usage: vkd export-lin FILE.vkd OUT.lin\n");
  EXPECT_EQ(vkd({"import-sty", dataset(), "a", "b"}).code, 2);
  Result help = vkd({"--help"});
  for (const char* command : {"export-lin", "import-lin", "export-sty", "import-sty"})
    EXPECT_NE(help.out.find(command), std::string::npos) << command;
  for (const char* kind : {"  layers ", "  linetypes ", "  styles "})
    EXPECT_NE(help.out.find(kind), std::string::npos) << kind;
  EXPECT_EQ(vkd({"list", dataset(), "linetype"}).code, 2);
}

}  // namespace
