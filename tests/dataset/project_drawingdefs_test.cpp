// The project's layers, linetypes and text styles: their defaults and their way through the
// dataset file.

#include <gtest/gtest.h>

#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"

namespace {

class ProjectDrawingDefsTest : public vxkd_test::RecordingUiTest {
 protected:
  CWsz path() const { return dir_.path(L"office.vkd"); }
  vxkd_test::TempFolder dir_;
};

TEST_F(ProjectDrawingDefsTest, ResetDataLeavesTheHardDefaultLayersAndTheSolidLinetype) {
  CKdProject project;
  CKdTextStyleDef style;
  style.setName(L"Extra");
  project.textStyleDefs().append(&style);
  CKdLinetypeDef dashed(L"DASHED", L"", L"A,.5,-.25");
  project.linetypeDefs().append(&dashed);

  project.resetData();
  EXPECT_EQ(project.layerDefs().length(), 24);
  EXPECT_EQ(project.layerDefs().findLayerDef(11)->name(), L"VANTKD_DUCT");
  ASSERT_EQ(project.linetypeDefs().length(), 1);
  EXPECT_EQ(project.linetypeDefs().objAt(0)->name(), L"CONTINUOUS");
  EXPECT_EQ(project.textStyleDefs().length(), 0);
}

TEST_F(ProjectDrawingDefsTest, ANewDatasetHasTheSolidLinetypeAndTheStandardStyle) {
  CKdProject project;
  project.buildDefaultProject();
  ASSERT_EQ(project.linetypeDefs().length(), 1);
  const CKdLinetypeDef* solid = project.linetypeDefs().objAt(0);
  EXPECT_EQ(solid->name(), L"CONTINUOUS");
  EXPECT_EQ(solid->desc(), L"__________");
  EXPECT_TRUE(solid->data().isEmpty());
  ASSERT_EQ(project.textStyleDefs().length(), 1);
  const CKdTextStyleDef* standard = project.textStyleDefs().objAt(0);
  EXPECT_EQ(standard->name(), L"Standard");
  EXPECT_EQ(standard->fontFile(), L"txt");
  EXPECT_EQ(standard->charSet(), 1);
  EXPECT_FLOAT_EQ(standard->xScale(), 1.0f);
  EXPECT_FLOAT_EQ(standard->textSize(), 0.0f);
  EXPECT_TRUE(standard->typeFace().isEmpty());

  // The standard style has an id, so that it survives its first save.
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  ASSERT_EQ(back.textStyleDefs().length(), 1);
  EXPECT_EQ(*back.textStyleDefs().objAt(0), *standard);
  EXPECT_EQ(back.linetypeDefs().length(), 1);
  EXPECT_EQ(back.layerDefs().length(), 24);
}

TEST_F(ProjectDrawingDefsTest, EditedDrawingDefinitionsGoThroughTheFile) {
  CKdProject project;
  project.resetData();
  project.buildDefaultProject();
  CKdLinetypeDef dashed(L"DASHED", L"Dashed", L"A,.5,-.25");
  project.linetypeDefs().append(&dashed);
  CKdTextStyleDef notes;
  notes.setName(L"Notes");
  notes.setTextSize(2.5f);
  project.textStyleDefs().append(&notes);
  project.layerDefs().findLayerDef(21)->setLinetype(L"DASHED");
  project.layerDefs().findLayerDef(21)->setColorNmb(30);
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));

  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  ASSERT_EQ(back.linetypeDefs().length(), 2);
  EXPECT_TRUE(*back.linetypeDefs().objAt(1) == dashed);
  ASSERT_EQ(back.textStyleDefs().length(), 2);
  EXPECT_EQ(back.textStyleDefs().objAt(1)->name(), L"Notes");
  EXPECT_EQ(back.textStyleDefs().objAt(1)->dbId(), 2);
  EXPECT_EQ(back.layerDefs().findLayerDef(21)->linetype(), L"DASHED");
  EXPECT_EQ(back.layerDefs().findLayerDef(21)->colorNmb(), 30);

  // A linetype removed in memory is gone from the file after the next update.
  back.linetypeDefs().deleteAt(1);
  ASSERT_TRUE(back.updateDb(nullptr));
  CKdProject again;
  ASSERT_TRUE(again.readDb(nullptr, path()));
  EXPECT_EQ(again.linetypeDefs().length(), 1);

  // A copy holds its own arrays.
  CKdProject copy(again);
  copy.layerDefs().findLayerDef(21)->setColorNmb(1);
  EXPECT_EQ(again.layerDefs().findLayerDef(21)->colorNmb(), 30);
}

// A style that a format or a report names is kept and its users named; the others go from
// memory and from the file.
TEST_F(ProjectDrawingDefsTest, TextStylesInUseAreKeptTheOthersDeletedFromTheFile) {
  CKdProject project;
  project.resetData();
  project.buildDefaultProject();
  for (const wchar_t* name : {L"Notes", L"Titles", L"Spare"}) {
    CKdTextStyleDef style;
    style.setName(name);
    project.textStyleDefs().append(&style);
  }
  CKdDimtextFormat format;
  format.setStyleName(L"NOTES");
  project.dimTextFormats().append(&format);
  CKdReport report;
  report.setFontStyleName(L"titles");
  project.reportDefs().append(&report);
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));

  bool byFormat = false, byReport = true;
  EXPECT_TRUE(project.usesTextStyle(L"notes", byFormat, byReport));
  EXPECT_TRUE(byFormat && !byReport);
  EXPECT_FALSE(project.usesTextStyle(L"Spare", byFormat, byReport));
  EXPECT_FALSE(byFormat || byReport);

  EXPECT_FALSE(project.deleteTextStyles(nullptr, CInt32Array{1, 2, 3}));
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Delete");
  EXPECT_EQ(ui_.lastBox().text,
            L"Some of the selected text styles could not be deleted. They are used in following "
            L"items:\r\nDimension text formats\r\nReport definitions");
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  for (const CKdProject* p : {&project, &back}) {
    ASSERT_EQ(p->textStyleDefs().length(), 3);
    EXPECT_EQ(p->textStyleDefs().objAt(2)->name(), L"Titles");
  }
  EXPECT_TRUE(project.deleteTextStyles(nullptr, CInt32Array{}));
}

}  // namespace
