// Runs the built vkd program on datasets with definitions of poly objects.

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

class VkdListPolyDefs : public vxkd_test::RecordingUiTest {
 protected:
  // The settings of a fresh user: English, whatever other tests stored.
  VkdListPolyDefs()
      : hkcu_("VXKD_HKCU", dir_.native("hkcu.reg")), hklm_("VXKD_HKLM", dir_.native("hklm.reg")) {}

  VkdRun vkd(const std::vector<std::string>& args) const { return vxkd_test::runVkd(args, dir_); }
  std::string file(const char* name) const { return dir_.native(name); }

  // "poly.vkd": a pipe with every column filled, two cables and no duct or data line.
  void makeDataset() {
    CKdProject project;
    project.propertyDefs().add(L"Diameter", L"", CKdPropertyValue::typeDoubleReal,
                               CKdUnit(CKdUnit::unitMm), 1);
    project.propertyDefs().add(L"Material", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
    CKdProductDef pipe;
    pipe.setDbId(12);
    pipe.setDesc(L"Kupferrohr Ø 22");
    pipe.setColorNmb(6);
    pipe.setLineType(L"DASHED");
    pipe.setLineWidth(0.5f);
    pipe.setSymbolId("VALVE");
    pipe.setSystemId(3);
    for (long format : {4L, 9L}) {
      CKdIntegratedText text;
      text.setFormatId(format);
      pipe.getIntegratedTexts().append(&text);
    }
    CKdProperty diameter(*project.propertyDefs().findName(L"Diameter"));
    diameter.setValue(L"22");
    pipe.properties().append(&diameter);
    CKdProperty material(*project.propertyDefs().findName(L"Material"));
    material.setValue(L"Cu");
    pipe.properties().append(&material);
    project.polyDefSets(VxKd::systemPipe)->append(&pipe);
    for (auto [id, desc] : {std::pair{2L, L"NYM 5x2.5"}, std::pair{1L, L"NYM 3x1.5"}}) {
      CKdProductDef cable;
      cable.setDbId(id);
      cable.setDesc(desc);
      project.polyDefSets(VxKd::systemElectric)->append(&cable);
    }
    ASSERT_TRUE(project.saveDbAs(nullptr, CWsz::fromUtf8(file("poly.vkd").c_str())));
  }

  vxkd_test::TempFolder dir_;
  vxkd_test::ScopedEnv hkcu_;
  vxkd_test::ScopedEnv hklm_;
};

TEST_F(VkdListPolyDefs, ShowsEverySetInTypeOrderEachSortedByDescription) {
  makeDataset();
  VkdRun run = vkd({"list", file("poly.vkd"), "polydefs"});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "Type  Set  Id  Description      Colour    Linetype  Width  Symbol  System  Texts  "
            "Properties\n"
            "----  ---  --  ---------------  --------  --------  -----  ------  ------  -----  "
            "--------------------------\n"
            "Pipe  SP   12  Kupferrohr Ø 22  6         DASHED      0.5  VALVE        3  4 9    "
            "Diameter=22.0, Material=Cu\n"
            "Elec  SE    1  NYM 3x1.5        by layer\n"
            "Elec  SE    2  NYM 5x2.5        by layer\n");
}

TEST_F(VkdListPolyDefs, SampleDatasetsHaveOneDefinitionOfEachKindAndInfoCountsThem) {
  ASSERT_EQ(vkd({"new", file("empty.vkd")}).code, 0);
  VkdRun empty = vkd({"list", file("empty.vkd"), "polydefs"});
  EXPECT_EQ(empty.code, 0) << empty.err;
  EXPECT_EQ(std::count(empty.out.begin(), empty.out.end(), '\n'), 2) << "headings and rule";
  EXPECT_THAT(vkd({"info", file("empty.vkd")}).out,
              ::testing::ContainsRegex("\nPoly-object definitions +0\n"));

  ASSERT_EQ(vkd({"new", "--sample", file("sample.vkd")}).code, 0);
  VkdRun list = vkd({"list", file("sample.vkd"), "polydefs"});
  EXPECT_EQ(list.code, 0) << list.err;
  EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '\n'), 6) << list.out;
  for (const char* row : {"\nDuct  SD  ", "\nPipe  SP  ", "\nElec  SE  ", "\nData  SA  "})
    EXPECT_NE(list.out.find(row), std::string::npos) << row << " in\n" << list.out;
  EXPECT_NE(list.out.find("Width=400, Height=200"), std::string::npos) << list.out;
  EXPECT_THAT(vkd({"info", file("sample.vkd")}).out,
              ::testing::ContainsRegex("\nPoly-object definitions +4\n"));
}

TEST_F(VkdListPolyDefs, WrongUseFailsWithItsExitCodeAndAMessage) {
  makeDataset();
  VkdRun typo = vkd({"list", file("poly.vkd"), "polydef"});
  EXPECT_EQ(typo.code, 2);
  EXPECT_EQ(typo.out, "");
  EXPECT_NE(typo.err.find("vkd: unknown kind of definition \"polydef\""), std::string::npos);
  EXPECT_NE(typo.err.find("  polydefs                the definitions of ducts, pipes"),
            std::string::npos)
      << typo.err;

  VkdRun missing = vkd({"list", file("missing.vkd"), "polydefs"});
  EXPECT_EQ(missing.code, 1);
  EXPECT_NE(missing.err.find("File Not Found"), std::string::npos) << missing.err;

  VkdRun noKind = vkd({"list", file("poly.vkd")});
  EXPECT_EQ(noKind.code, 2);
  EXPECT_EQ(noKind.out, "");
}

}  // namespace
