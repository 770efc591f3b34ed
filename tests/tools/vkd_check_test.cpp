// vkd check, run as the built program: a clean dataset, one a hand edit left with records that
// a save could not store, files that cannot be read, and wrong command lines.

#include <gtest/gtest.h>

#include <string>

#include "support/run_tool.h"
#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/paths.h"

namespace {

using vxkd_test::runVkd;

class VkdCheck : public vxkd_test::RecordingUiTest {
 protected:
  // A dataset with the property definitions P1 to P`count`.
  std::string dataset(int count) {
    CKdProject project;
    for (int i = 1; i <= count; ++i)
      project.propertyDefs().add((L"P" + std::to_wstring(i)).c_str(), L"",
                                 CKdPropertyValue::typeInt32, {}, 0);
    EXPECT_TRUE(project.saveDbAs(nullptr, dir_.path(L"data.vkd")));
    return dir_.native("data.vkd");
  }
  // A property definition named `name` under `key`, as a hand edit or another program adds it.
  void addRecord(const std::string& key, const char* name) {
    ASSERT_TRUE(vxkd_test::runSql(
        dir_.path(L"data.vkd"),
        "INSERT INTO RD_property_definitions (record_key, f1501_name) VALUES (?1, '" +
            std::string(name) + "')",
        key));
  }

  vxkd_test::TempFolder dir_;
};

TEST_F(VkdCheck, CleanDatasetHasNoProblems) {
  std::string file = dataset(3);
  addRecord(" 4", "Movable");  // the next save stores it under 000004: no problem
  auto run = runVkd({"check", file});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, file + ": no problems found\n");
  EXPECT_EQ(run.err, "");

  run = runVkd({"new", "--sample", dir_.native("sample.vkd")});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(runVkd({"check", dir_.native("sample.vkd")}).status, 0);
}

TEST_F(VkdCheck, RecordsThatASaveCouldNotStoreAreListedOnePerLine) {
  std::string file = dataset(3);
  addRecord("", "Empty");
  addRecord("9999999(9999", "Wide");
  addRecord("0000002", "Long key");
  addRecord(" 3", "Twin");  // 000003 is there too
  addRecord("-5", "Negative");
  addRecord("07", "Seven");
  addRecord("7", "Other seven");  // after "07" in key order: "07" takes 000007 first
  const std::string before = vxkd_test::readBytes(file);

  auto run = runVkd({"check", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out,
            "record RD \"\" (property definition \"Empty\"): the key holds no id of 1 to 999999, "
            "so the definition cannot be saved\n"
            "record RD \" 3\" (property definition \"Twin\"): id 3 is read from another record "
            "too, so the definition cannot be saved\n"
            "record RD \"-5\" (property definition \"Negative\"): the key holds no id of 1 to "
            "999999, so the definition cannot be saved\n"
            "record RD \"0000002\" (property definition \"Long key\"): id 2 cannot be moved to its "
            "key \"000002\", so the definition cannot be saved\n"
            "record RD \"7\" (property definition \"Other seven\"): id 7 is read from another "
            "record too, so the definition cannot be saved\n"
            "record RD \"9999999(9999\" (property definition \"Wide\"): id 9999999 is not one of 1 "
            "to 999999, so the definition cannot be saved\n");
  EXPECT_EQ(run.err, "vkd: 6 problems in " + file + "\n");
  EXPECT_EQ(vxkd_test::readBytes(file), before) << "check never writes";

  // What it names is what a save leaves: a save moves "07" alone.
  CKdProject project;
  ASSERT_TRUE(project.readDb(nullptr, CWsz::fromUtf8(file.c_str())));
  ASSERT_TRUE(project.updateDb(nullptr));
  run = runVkd({"check", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 6) << run.out;
  EXPECT_NE(run.out.find("record RD \"7\" (property definition \"Other seven\"): id 7 is read "
                         "from another record too"),
            std::string::npos)
      << run.out;
}

// Dimension text formats take the ids 0 to 999999: key "0" moves to 000000 on the next save.
// A format whose key gives no id is not read at all: it shows without a name.
TEST_F(VkdCheck, DimensionTextFormatRecordsThatASaveCouldNotStoreAreListed) {
  ASSERT_EQ(runVkd({"new", "--sample", dir_.native("data.vkd")}).status, 0);
  const std::string file = dir_.native("data.vkd");
  for (const char* key : {"", " 2", "0", "1000000", "x"})
    ASSERT_TRUE(vxkd_test::runSql(dir_.path(L"data.vkd"),
                                  "INSERT INTO RT_dimension_text_formats (record_key, "
                                  "f1502_description) VALUES (?1, 'Key ' || ?1)",
                                  key));
  auto run = runVkd({"check", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out,
            "record RT \"\" (dimension text format \"\"): the key holds no id of 0 to 999999, so "
            "the definition cannot be saved\n"
            "record RT \" 2\" (dimension text format \"Key  2\"): id 2 is read from another record "
            "too, so the definition cannot be saved\n"
            "record RT \"1000000\" (dimension text format \"Key 1000000\"): id 1000000 is not one "
            "of 0 to 999999, so the definition cannot be saved\n"
            "record RT \"x\" (dimension text format \"\"): the key holds no id of 0 to 999999, so "
            "the definition cannot be saved\n");
  EXPECT_EQ(run.err, "vkd: 4 problems in " + file + "\n");

  // A save moves "0" and leaves the four where they are.
  CKdProject project;
  ASSERT_TRUE(project.readDb(nullptr, dir_.path(L"data.vkd")));
  ASSERT_EQ(project.dimTextFormats().length(), 13);  // the sample's 8 and the 5 rows
  ASSERT_TRUE(project.updateDb(nullptr));
  EXPECT_EQ(runVkd({"check", file}).out, run.out);
  ASSERT_TRUE(project.readDb(nullptr, dir_.path(L"data.vkd")));
  ASSERT_EQ(project.dimTextFormats().length(), 13);  // the sample's 8 and the 5 rows
  EXPECT_STREQ(project.dimTextFormats().descriptionAt(2), L"Key 0") << "under 000000 now";
}

TEST_F(VkdCheck, KeyWithAControlCharacterIsShownEscaped) {
  std::string file = dataset(0);
  addRecord(std::string("\x01", 1), "Odd");
  auto run = runVkd({"check", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(
      run.out.rfind("record RD \"\\x01\" (property definition \"Odd\"): the key holds no id", 0),
      0u)
      << run.out;
}

TEST_F(VkdCheck, FileThatCannotBeReadExitsWithTwo) {
  ASSERT_TRUE(dir_.write("text.vkd", "not a dataset\n"));
  const struct {
    std::string file;
    const char* message;
  } cases[] = {
      {dir_.native("missing.vkd"), "missing (File Not Found: Selected file cannot be found)"},
      {dir_.native("text.vkd"), "not a database (Cannot Open Dataset: Dataset cannot be opened)"},
  };
  for (const auto& c : cases) {
    auto run = runVkd({"check", c.file});
    EXPECT_EQ(run.status, 2) << c.file;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "vkd: cannot read " + c.file + ": " + c.message + "\n");
  }
}

TEST_F(VkdCheck, WrongCommandLineExitsWithTwoAndShowsTheUsage) {
  std::string file = dataset(1);
  for (const auto& args :
       {std::vector<std::string>{"check"}, std::vector<std::string>{"check", file, "extra"}}) {
    auto run = runVkd(args);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "vkd: usage: vkd check FILE.vkd [--format json]\n");
  }
}

}  // namespace
