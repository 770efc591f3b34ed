// Merging a source dataset into the current one: what a plan creates, overwrites and maps,
// how the references of copies follow, and that a merge that cannot be done whole changes
// nothing, in memory or in the file.

#include "vxkd/merge/dataset_merge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/faulty_env.h"
#include "support/sample_project.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/merge/comparison.h"
#include "vxkd/merge/dataset_json.h"
#include "vxkd/platform/paths.h"

namespace {

using ::testing::HasSubstr;

class DatasetMergeTest : public vxkd_test::TextsUiTest {
 protected:
  void SetUp() override {
    TextsUiTest::SetUp();
    vxkd_test::fillSampleProject(source_);
    target_.resetData();
    target_.buildDefaultProject();
  }
  // Compares source_ with `target`, lets `edit` change the default plan, and applies it.
  bool merge(CKdProject& target,
             const std::function<void(const CKdDatasetComparison&, CKdMergePlan&)>& edit = {}) {
    comparison_.compare(source_, target);
    CKdMergePlan plan;
    plan.buildDefault(comparison_);
    if (edit) edit(comparison_, plan);
    return VxKd::applyMergePlan(nullptr, source_, target, plan, report_);
  }
  // The index of the source's item of `kind` named `name`.
  int sourceIndex(VxKd::datasetKind kind, const wchar_t* name) {
    for (const CKdComparisonItem& item : comparison_.items())
      if (item.kind == kind && item.name == name) return item.sourceIndex;
    return -1;
  }
  const CKdMergeReport::Line* reportLine(VxKd::datasetKind kind, const wchar_t* name) {
    for (const CKdMergeReport::Line& line : report_.lines())
      if (line.kind == kind && line.name == name) return &line;
    return nullptr;
  }
  std::string dumpOfFile(const CKdProject& project, const wchar_t* name) {
    CKdProject copy(project);
    EXPECT_TRUE(copy.saveDbAs(nullptr, dir_.path(name)));
    CKdProject read;
    EXPECT_TRUE(read.readDb(nullptr, dir_.path(name)));
    return VxKd::datasetToJson(read);
  }
  static CKdProductDef& duct(CKdProject& p) { return *p.polyDefSets(VxKd::systemDuct)->objAt(0); }

  CKdProject source_;
  CKdProject target_;
  CKdDatasetComparison comparison_;
  CKdMergeReport report_;
  vxkd_test::TempFolder dir_;
};

TEST_F(DatasetMergeTest, MergedIntoANewDatasetEverythingComparesEqual) {
  ASSERT_TRUE(merge(target_));
  // 5 definitions, a part ID format, 4 groups, 3 products, a block, 2 symbols, 1 style, 2
  // linetypes, 3 formats, a report, 4 poly-object definitions; the changed duct layer
  // overwrites the new dataset's, which nobody made.
  EXPECT_EQ(report_.count(CKdMergePlan::actionCreate), 27);
  EXPECT_EQ(report_.count(CKdMergePlan::actionOverwrite), 1);
  EXPECT_EQ(report_.count(CKdMergePlan::actionSkip), 0);
  CKdDatasetComparison after;
  after.compare(source_, target_);
  EXPECT_TRUE(after.isEqual()) << after.toJson();
  // The ids were free: each item kept its own. (Read from files, as a read orders them.)
  EXPECT_EQ(dumpOfFile(target_, L"target.vkd"), dumpOfFile(source_, L"source.vkd"));
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_F(DatasetMergeTest, MergingASecondTimeChangesNothing) {
  ASSERT_TRUE(merge(target_));
  const std::string once = VxKd::datasetToJson(target_);
  ASSERT_TRUE(merge(target_));
  EXPECT_EQ(VxKd::datasetToJson(target_), once);
  EXPECT_EQ(report_.count(CKdMergePlan::actionMap), static_cast<int>(report_.lines().size()));
}

TEST_F(DatasetMergeTest, CopiesReferToTheTargetsItemsUnderTheirIds) {
  // The target has every item the duct refers to, under other ids (and the linetype under
  // another case of its name); read back from its file after the merge.
  for (const wchar_t* name : {L"Material", L"Flow", L"Diameter", L"Height", L"Width"}) {
    const CKdPropertyDef& def = *source_.propertyDefs().findName(name);
    target_.propertyDefs().add(name, def.desc(), def.valueType(), def.unit(), def.decimals());
  }
  for (int i = 0; i < source_.dimTextFormats().length(); ++i) {
    CKdDimtextFormat format = *source_.dimTextFormats().objAt(i);
    format.setId(10 + i);
    target_.dimTextFormats().append(&format);
  }
  const CKdLinetypeDef dashed(L"dashed", L"Dashed __ __ __", L"A,.5,-.25");
  target_.linetypeDefs().append(&dashed);
  ASSERT_TRUE(target_.saveDbAs(nullptr, dir_.path(L"office.vkd")));

  CKdMergePlan plan;
  comparison_.compare(source_, target_);
  plan.buildDefault(comparison_);
  ASSERT_EQ(VxKd::mergeIntoDataset(nullptr, source_, target_, plan, report_), 0);
  CKdProject read;
  ASSERT_TRUE(read.readDb(nullptr, dir_.path(L"office.vkd")));
  const CKdProductDef& product = duct(read);
  EXPECT_EQ(product.getIntegratedTexts().objAt(0)->formatId(), 10) << "Duct size";
  EXPECT_EQ(product.lineType(), CWsz(L"dashed"));
  ASSERT_EQ(product.properties().length(), 5);
  for (int i = 0; i < product.properties().length(); ++i) {
    const CKdProperty& p = *product.properties().objAt(i);
    EXPECT_EQ(p.dbId(), read.propertyDefs().findName(p.name())->dbId()) << p.name().toUtf8();
  }
  EXPECT_EQ(product.properties().findProperty(L"Width")->dbId(), 5);
  EXPECT_EQ(product.properties().findProperty(L"Width")->getValueAsText(false), CWsz(L"400"));
  // The data cable names the symbol SOCKET, created under the first free id.
  EXPECT_STREQ(read.polyDefSets(VxKd::systemData)->objAt(0)->symbolId(), "SOCKET");
  EXPECT_GE(read.symbols().find("SOCKET"), 0);
  CKdDatasetComparison after;
  after.compare(source_, read);
  EXPECT_EQ(after.count(CKdComparisonItem::onlyInSource), 0);
}

TEST_F(DatasetMergeTest, AGroupOfAnotherGuidOnTheSamePathTakesTheSourcesProducts) {
  // The target made its own "Electrical" and "ventilation/grilles", with other GUIDs and ids.
  const struct {
    long id, owner;
    const wchar_t* desc;
  } kGroups[] = {{7, -1, L"Electrical"}, {8, -1, L"ventilation"}, {9, 8, L"GRILLES"}};
  for (const auto& g : kGroups) {
    CKdProductGroup group;
    group.init(g.id, g.owner, 1, vxkd_test::numberedGuid(0x77, static_cast<unsigned>(g.id)),
               g.desc);
    target_.productGroups().append(&group);
  }
  const CKdProductGroup root = CKdProductGroup::defaultRoot();
  target_.productGroups().append(&root);
  ASSERT_TRUE(merge(target_));
  EXPECT_EQ(comparison_.count(VxKd::kindProductGroups, CKdComparisonItem::different), 3)
      << "paired by path, their GUIDs differ";
  EXPECT_EQ(comparison_.count(VxKd::kindProductGroups, CKdComparisonItem::onlyInSource), 1);
  CKdProductGroupArray& groups = target_.productGroups();
  EXPECT_EQ(groups.length(), 5) << "three of the target, the root and Cable trays/ladders";
  ASSERT_EQ(groups.findGroup(7)->products().length(), 1);
  EXPECT_EQ(groups.findGroup(7)->products().objAt(0)->desc(), CWsz(L"Socket outlet"));
  EXPECT_EQ(groups.findGroup(9)->products().objAt(0)->desc(), CWsz(L"Grille 600x600"));
  EXPECT_EQ(groups.findGroup(7)->blocks().length(), 1) << "the block too";
  // The new group is placed under the target's Electrical, keeping its id and GUID.
  const CKdProductGroup* trays = groups.findGroup(vxkd_test::numberedGuid(0xC0, 4));
  ASSERT_NE(trays, nullptr);
  EXPECT_EQ(trays->ownerGroupId(), 7);
  EXPECT_EQ(trays->dbId(), 4);
  EXPECT_EQ(groups.findGroup(-1)->products().objAt(0)->desc(), CWsz(L"Loose part"));
}

TEST_F(DatasetMergeTest, PartIdFormatsAndBlockItemsFollowWhatTheirItemsBecame) {
  // The target has the source's part ID format under another id, and its own socket
  // product, to which the plan maps the source's.
  CKdPartIdFormat format = *source_.partIdFormats().objAt(0);
  format.setDbId(9);
  target_.partIdFormats().append(&format);
  CKdProductGroup electrical;
  electrical.init(3, -1, 1, vxkd_test::numberedGuid(0xC0, 3), L"Electrical");
  CKdProductDef socket;
  socket.setDbId(4);
  socket.setGuid(vxkd_test::numberedGuid(0x99, 1));
  socket.setDesc(L"Our socket");
  electrical.products().append(&socket);
  target_.productGroups().append(&electrical);
  const CKdProductGroup root = CKdProductGroup::defaultRoot();
  target_.productGroups().append(&root);
  ASSERT_TRUE(merge(target_, [&](const CKdDatasetComparison& c, CKdMergePlan& plan) {
    ASSERT_TRUE(plan.setAction(c, VxKd::kindProducts,
                               sourceIndex(VxKd::kindProducts, L"Socket outlet"),
                               CKdMergePlan::actionMap, 0));
  }));
  EXPECT_EQ(target_.polyDefSets(VxKd::systemDuct)->objAt(0)->partIdFmtId(), 9);
  const CKdProductDef* grille = target_.productGroups().findProduct(L"Grille 600x600", -1);
  ASSERT_NE(grille, nullptr);
  EXPECT_EQ(grille->partIdFmtId(), 9);
  EXPECT_EQ(grille->partIdFmt(), CWsz(L"{Width}x{Height}")) << "the template follows";
  const CKdBlock& pair = *target_.productGroups().findGroup(3)->blocks().objAt(0);
  EXPECT_EQ(pair.items().objAt(0)->guid(), vxkd_test::numberedGuid(0x99, 1)) << "our socket";
  EXPECT_EQ(target_.productGroups().findGroup(3)->products().length(), 1) << "not copied";
}

TEST_F(DatasetMergeTest, AReportRefersToTheTargetsDefinitionsAndGroups) {
  for (const wchar_t* name : {L"Material", L"Width"})
    target_.propertyDefs().add(name, L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  target_.propertyDefs().findName(L"Width")->setValueType(CKdPropertyValue::typeInt32);
  target_.propertyDefs().findName(L"Width")->setUnit(CKdUnit::unitMm);
  target_.propertyDefs().findName(L"Width")->setDesc(L"Duct width");
  CKdProductGroup electrical;
  electrical.init(12, -1, 1, vxkd_test::numberedGuid(0x77, 12), L"ELECTRICAL");
  target_.productGroups().append(&electrical);
  ASSERT_TRUE(merge(target_));
  const CKdReport& report = *target_.reportDefs().objAt(0);
  EXPECT_EQ(report.columns().at(0)->propertyId(), 2) << "Width";
  EXPECT_EQ(report.columns().at(1)->propertyId(), 1) << "Material";
  EXPECT_EQ(report.sortPropertyId(), 2);
  ASSERT_EQ(report.devGroups().length(), 1);
  EXPECT_EQ(*report.devGroups().objAt(0), vxkd_test::numberedGuid(0x77, 12))
      << "the target's own Electrical, paired by path";
}

TEST_F(DatasetMergeTest, TakenIdsAreReplacedByFreeOnesAndReferencesFollow) {
  target_.propertyDefs().add(L"Colour", L"", CKdPropertyValue::typeText, CKdUnit(), 0);  // id 1
  CKdDimtextFormat other;
  other.setId(1);
  other.setDesc(L"Other");
  target_.dimTextFormats().append(&other);
  ASSERT_TRUE(merge(target_));
  const CKdMergeReport::Line* width = reportLine(VxKd::kindPropertyDefs, L"Width");
  ASSERT_NE(width, nullptr);
  EXPECT_EQ(width->sourceId, 1);
  EXPECT_EQ(width->targetId, 2) << "one above the highest id in use";
  EXPECT_EQ(reportLine(VxKd::kindPropertyDefs, L"Height")->targetId, 3);
  EXPECT_EQ(reportLine(VxKd::kindDimtextFormats, L"Duct size")->targetId, 2);
  const CKdProductDef& product = duct(target_);
  EXPECT_EQ(product.properties().findProperty(L"Width")->dbId(), 2);
  EXPECT_EQ(product.getIntegratedTexts().objAt(0)->formatId(), 2);
  EXPECT_EQ(target_.propertyDefs().findId(1)->name(), CWsz(L"Colour"));
}

TEST_F(DatasetMergeTest, ADefinitionOfAnotherValueTypeIsSkippedByDefault) {
  target_.propertyDefs().add(L"Width", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  ASSERT_TRUE(merge(target_));
  EXPECT_EQ(comparison_.findSource(VxKd::kindPropertyDefs, 0)->itemState,
            CKdComparisonItem::different);
  EXPECT_EQ(reportLine(VxKd::kindPropertyDefs, L"Width")->act, CKdMergePlan::actionSkip);
  EXPECT_EQ(target_.propertyDefs().findName(L"Width")->valueType(), CKdPropertyValue::typeText);
  // The copied duct's Width is the target's: a text now.
  const CKdProperty& width = *duct(target_).properties().findProperty(L"Width");
  EXPECT_EQ(width.valueType(), CKdPropertyValue::typeText);
  EXPECT_EQ(width.getValueAsText(false), CWsz(L"400"));
}

TEST_F(DatasetMergeTest, OverwritingADefinitionRetypesTheTargetsProductsThatUseIt) {
  target_.propertyDefs().add(L"Width", L"old", CKdPropertyValue::typeText, CKdUnit(), 0);
  CKdProductDef pipe;
  pipe.setDbId(8);
  pipe.setDesc(L"Target pipe");
  CKdProperty width(*target_.propertyDefs().findName(L"Width"));
  width.setValue(L"250");
  pipe.properties().append(&width);
  target_.polyDefSets(VxKd::systemPipe)->append(&pipe);
  ASSERT_TRUE(merge(target_, [&](const CKdDatasetComparison& c, CKdMergePlan& plan) {
    ASSERT_TRUE(plan.setAction(c, VxKd::kindPropertyDefs,
                               sourceIndex(VxKd::kindPropertyDefs, L"Width"),
                               CKdMergePlan::actionOverwrite));
  }));
  const CKdPropertyDef& def = *target_.propertyDefs().findName(L"Width");
  EXPECT_EQ(def.valueType(), CKdPropertyValue::typeInt32);
  EXPECT_EQ(def.desc(), CWsz(L"Duct width"));
  EXPECT_EQ(def.dbId(), 1) << "the target's id stays";
  const CKdProperty& retyped =
      *target_.polyDefSets(VxKd::systemPipe)->findId(8)->properties().findProperty(L"Width");
  EXPECT_EQ(retyped.valueType(), CKdPropertyValue::typeInt32);
  EXPECT_EQ(retyped.getValueAsText(false), CWsz(L"250"));
}

TEST_F(DatasetMergeTest, MappingToAnotherItemMakesCopiesReferToIt) {
  target_.propertyDefs().add(L"Breite", L"", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
  ASSERT_TRUE(merge(target_, [&](const CKdDatasetComparison& c, CKdMergePlan& plan) {
    ASSERT_TRUE(plan.setAction(c, VxKd::kindPropertyDefs,
                               sourceIndex(VxKd::kindPropertyDefs, L"Width"),
                               CKdMergePlan::actionMap, 0));
  }));
  EXPECT_EQ(target_.propertyDefs().findName(L"Width"), nullptr);
  const CKdProperty* breite = duct(target_).properties().findProperty(L"Breite");
  ASSERT_NE(breite, nullptr);
  EXPECT_EQ(breite->dbId(), 1);
  EXPECT_EQ(breite->getValueAsText(false), CWsz(L"400"));
  const CKdMergeReport::Line* line = reportLine(VxKd::kindPropertyDefs, L"Width");
  EXPECT_EQ(line->act, CKdMergePlan::actionMap);
  EXPECT_EQ(line->targetName, CWsz(L"Breite"));
}

TEST_F(DatasetMergeTest, AReferenceToASkippedItemTheTargetLacksRefusesTheWholeMerge) {
  const std::string before = VxKd::datasetToJson(target_);
  EXPECT_FALSE(merge(target_, [&](const CKdDatasetComparison& c, CKdMergePlan& plan) {
    ASSERT_TRUE(plan.setAction(c, VxKd::kindLinetypes, sourceIndex(VxKd::kindLinetypes, L"DASHED"),
                               CKdMergePlan::actionSkip));
    ASSERT_TRUE(plan.setAction(c, VxKd::kindSymbols, sourceIndex(VxKd::kindSymbols, L"SOCKET"),
                               CKdMergePlan::actionSkip));
  }));
  EXPECT_EQ(VxKd::datasetToJson(target_), before);
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Merge Datasets");
  EXPECT_THAT(ui_.lastBox().text,
              HasSubstr(L"Duct definitions: Rectangular duct - refers to what the plan skips and "
                        L"the current dataset lacks: Linetypes: DASHED"));
  EXPECT_THAT(ui_.lastBox().text, HasSubstr(L"Layer definitions: Ducts (11) - "));
  EXPECT_THAT(ui_.lastBox().text, HasSubstr(L"Data cable definitions: Data cable Cat 6A - "
                                            L"refers to what the plan skips and the current "
                                            L"dataset lacks: 2D symbols: SOCKET"));
}

TEST_F(DatasetMergeTest, APlanMadeForOtherDatasetsIsRefused) {
  comparison_.compare(source_, target_);
  CKdMergePlan plan;
  plan.buildDefault(comparison_);
  CKdProject smaller;  // has no layers for the plan's layer entries to point to
  EXPECT_FALSE(VxKd::applyMergePlan(nullptr, source_, smaller, plan, report_));
  EXPECT_THAT(ui_.lastBox().text, HasSubstr(L"the plan does not fit the datasets"));
}

TEST_F(DatasetMergeTest, ATakenIdGivesOneAboveTheHighestOrElseTheFirstGap) {
  target_.textStyleDefs().reset();
  for (long id : {1L, 2L, 3L, CKdTextStyleDefArray::kMaxId}) {
    CKdTextStyleDef style;
    style.setDbId(id);
    style.setName(CWsz(L"S").cat(static_cast<int>(id), 0));
    target_.textStyleDefs().append(&style);
  }
  ASSERT_TRUE(merge(target_));
  EXPECT_EQ(reportLine(VxKd::kindTextStyles, L"Standard")->targetId, 4);
  EXPECT_EQ(reportLine(VxKd::kindTextStyles, L"Narrow")->targetId, 5);
}

TEST_F(DatasetMergeTest, AFailedSaveLeavesTheFileAndTheProjectAsTheyWere) {
  ASSERT_TRUE(target_.saveDbAs(nullptr, dir_.path(L"office.vkd")));
  const std::string file = dir_.read("office.vkd");
  comparison_.compare(source_, target_);
  CKdMergePlan plan;
  plan.buildDefault(comparison_);
  {
    vxkd_test::FaultyEnv env;
    env.failDatabaseWrites(3);
    EXPECT_EQ(VxKd::mergeIntoDataset(nullptr, source_, target_, plan, report_), -1);
  }
  EXPECT_EQ(dir_.read("office.vkd"), file);
  EXPECT_EQ(target_.propertyDefs().length(), 0);
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Merge Datasets");
  EXPECT_FALSE(cuFile::exists(dir_.path(L"office.lck"))) << "the lock was released";
}

TEST_F(DatasetMergeTest, ALockHeldByAnotherUserRefusesTheMerge) {
  ASSERT_TRUE(target_.saveDbAs(nullptr, dir_.path(L"office.vkd")));
  CKdProject colleague;
  ASSERT_TRUE(colleague.readDb(nullptr, dir_.path(L"office.vkd")));
  CLockFile theirs;
  ASSERT_EQ(colleague.setEditLock(nullptr, theirs), 0);
  comparison_.compare(source_, target_);
  CKdMergePlan plan;
  plan.buildDefault(comparison_);
  EXPECT_EQ(VxKd::mergeIntoDataset(nullptr, source_, target_, plan, report_), -1);
  EXPECT_EQ(ui_.lastBox().caption, L"Update Failed");
  CKdProject read;
  ASSERT_TRUE(read.readDb(nullptr, dir_.path(L"office.vkd")));
  EXPECT_EQ(read.propertyDefs().length(), 0);
}

TEST_F(DatasetMergeTest, AnotherUsersSaveMeanwhileReloadsAndMergesNothing) {
  ASSERT_TRUE(target_.saveDbAs(nullptr, dir_.path(L"office.vkd")));
  comparison_.compare(source_, target_);
  CKdMergePlan plan;
  plan.buildDefault(comparison_);
  CKdProject colleague;
  ASSERT_TRUE(colleague.readDb(nullptr, dir_.path(L"office.vkd")));
  colleague.propertyDefs().add(L"Noise", L"", CKdPropertyValue::typeInt16, CKdUnit(), 0);
  ASSERT_TRUE(colleague.updateDb(nullptr));
  EXPECT_EQ(VxKd::mergeIntoDataset(nullptr, source_, target_, plan, report_), 1);
  ASSERT_EQ(target_.propertyDefs().length(), 1) << "read again";
  EXPECT_EQ(target_.propertyDefs().objAt(0)->name(), CWsz(L"Noise"));
}

TEST_F(DatasetMergeTest, ReportAsJsonCountsAndListsEveryItem) {
  ASSERT_TRUE(merge(target_));
  const std::string json = report_.toJson();
  EXPECT_THAT(json, HasSubstr("\"create\": 27"));
  EXPECT_THAT(json, HasSubstr("{\"action\": \"create\", \"name\": \"Width\", \"target\": "
                              "\"Width\", \"sourceId\": 1, \"targetId\": 1}"));
}

}  // namespace
