// vkd list FILE reports, run as the built program, and the report records that vkd check
// names.

#include <gtest/gtest.h>

#include <string>

#include "support/run_tool.h"
#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"

namespace {

using vxkd_test::runVkd;

class VkdListReports : public vxkd_test::RecordingUiTest {
 protected:
  std::string file() const { return dir_.native("data.vkd"); }
  CWsz path() const { return dir_.path(L"data.vkd"); }

  vxkd_test::TempFolder dir_;
};

TEST_F(VkdListReports, SampleDatasetShowsItsReport) {
  ASSERT_EQ(runVkd({"new", "--sample", file()}).status, 0);
  auto run = runVkd({"list", file(), "reports"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out,
            "Id  Name       Orientation                Lists  Columns  Sorted by          Text "
            "style  Text height  Width\n"
            "--  ---------  -------------------------  -----  -------  -----------------  "
            "----------  -----------  -----\n"
            " 1  Duct list  Horizontal (data in rows)  ducts        2  Width, Descending  "
            "Standard              2     50\n");
  EXPECT_EQ(run.err, "");
  auto info = runVkd({"info", file()});
  size_t row = info.out.find("\nReport definitions ");
  ASSERT_NE(row, std::string::npos) << info.out;
  std::string count = info.out.substr(row + 1, info.out.find('\n', row + 1) - row - 1);
  EXPECT_EQ(count.substr(count.find_last_not_of(' ') - 1), " 1") << info.out;
}

TEST_F(VkdListReports, EveryColumnShowsWhatTheReportHolds) {
  CKdProject project;
  project.propertyDefs().add(L"Länge", L"", CKdPropertyValue::typeDoubleReal, {}, 1);
  CKdReport vertical;
  vertical.setDbId(3);
  vertical.setDesc(L"Geräte");
  vertical.setOrientation(CKdReport::vertical);
  for (short id : {3, 9}) vertical.entityTypeIds().append(id);
  CKdGuid group("00000000-0000-0000-0000-0000000000AA");
  vertical.devGroups().append(&group);
  vertical.setSortPropertyId(77);  // no such definition
  vertical.setFontStyleName(L"Narrow");
  vertical.setFontHeight(2.5f);
  vertical.setCellWidth(12.5f);
  vertical.setFirstColWidth(40);
  CKdReport empty;
  empty.setDbId(4);
  empty.entityTypeIds().empty();
  empty.setSortPropertyId(1);
  for (const CKdReport* r : {&vertical, &empty}) project.reportDefs().append(r);
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));

  auto run = runVkd({"list", file(), "reports"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out,
            "Id  Name    Orientation                 Lists                              Columns  "
            "Sorted by         Text style  Text height  Width\n"
            "--  ------  --------------------------  ---------------------------------  -------  "
            "----------------  ----------  -----------  -----\n"
            " 3  Geräte  Vertical (data in columns)  devices of 1 group, pipes, type 9        0  "
            "#77, Ascending    Narrow              2.5   52.5\n"
            " 4          Horizontal (data in rows)   -                                        0  "
            "Länge, Ascending  Standard              2      0\n");
}

TEST_F(VkdListReports, DatasetWithoutReportsShowsTheHeadingsOnly) {
  ASSERT_EQ(runVkd({"new", file()}).status, 0);
  auto run = runVkd({"list", file(), "reports"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out.substr(0, 3), "Id ");
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 2) << run.out;
}

TEST_F(VkdListReports, WrongKindOrFileFails) {
  ASSERT_EQ(runVkd({"new", file()}).status, 0);
  auto run = runVkd({"list", file(), "report"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err.rfind("vkd: unknown kind of definition \"report\"\n", 0), 0u) << run.err;
  EXPECT_NE(run.err.find("  reports                 the report definitions\n"), std::string::npos);
  run = runVkd({"list", dir_.native("none.vkd"), "reports"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "vkd: cannot read " + dir_.native("none.vkd") +
                         ": missing (File Not Found: Selected file cannot be found)\n");
}

TEST_F(VkdListReports, CheckNamesReportRecordsThatASaveCouldNotStore) {
  ASSERT_EQ(runVkd({"new", "--sample", file()}).status, 0);
  for (const char* key : {"000000", " 1", " 2"})
    ASSERT_TRUE(
        vxkd_test::runSql(path(),
                          "INSERT INTO RE_report_definitions (record_key, f1502_description) "
                          "VALUES (?1, 'Hand made')",
                          key));
  auto run = runVkd({"check", file()});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out,
            "record RE \" 1\" (report definition \"Hand made\"): id 1 is read from another record "
            "too, so the definition cannot be saved\n"
            "record RE \"000000\" (report definition \"\"): the key holds no id of 1 to 999999, so "
            "the definition cannot be saved\n");
}

}  // namespace
