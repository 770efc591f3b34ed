// A definition taken out of the project's arrays is gone from the file after the next save,
// whatever kind it is and however it is stored; nothing else changes; and a save deletes only
// records that the project read or wrote itself, never one another user stored meanwhile.

#include <gtest/gtest.h>

#include <functional>

#include "support/faulty_env.h"
#include "support/sample_project.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"
#include "vxkd/merge/dataset_json.h"

namespace {

int productCount(const CKdProject& p) {
  int n = 0;
  for (int i = 0; i < p.productGroups().length(); ++i)
    n += p.productGroups().objAt(i)->products().length();
  return n;
}

int polyDefCount(const CKdProject& p) {
  int n = 0;
  for (auto type : {VxKd::systemDuct, VxKd::systemPipe, VxKd::systemElectric, VxKd::systemData})
    n += p.polyDefSets(type)->length();
  return n;
}

template <typename Array>
void removeName(Array& array, const wchar_t* name) {
  ASSERT_GE(array.indexOfName(name), 0);
  array.deleteAt(array.indexOfName(name));
}

struct RemovalCase {
  const char* kind;
  // What the removal makes smaller by one.
  std::function<int(const CKdProject&)> count;
  std::function<void(CKdProject&)> remove;
};

const RemovalCase kCases[] = {
    {"PropertyDefinition", [](const CKdProject& p) { return p.propertyDefs().length(); },
     [](CKdProject& p) { removeName(p.propertyDefs(), L"Diameter"); }},
    {"PartIdFormat", [](const CKdProject& p) { return p.partIdFormats().length(); },
     [](CKdProject& p) { p.partIdFormats().deleteAt(0); }},
    {"TextStyle", [](const CKdProject& p) { return p.textStyleDefs().length(); },
     [](CKdProject& p) { removeName(p.textStyleDefs(), L"Narrow"); }},
    {"DimensionTextFormat", [](const CKdProject& p) { return p.dimTextFormats().length(); },
     [](CKdProject& p) { p.dimTextFormats().deleteAt(1); }},
    {"ReportDefinition", [](const CKdProject& p) { return p.reportDefs().length(); },
     [](CKdProject& p) { p.reportDefs().deleteAt(0); }},
    {"Symbol", [](const CKdProject& p) { return p.symbols().length(); },
     [](CKdProject& p) { p.symbols().deleteAt(p.symbols().find("PANEL")); }},
    {"Linetype", [](const CKdProject& p) { return p.linetypeDefs().length(); },
     [](CKdProject& p) { removeName(p.linetypeDefs(), L"DASHED"); }},
    // Group 2 holds a product, which goes with it.
    {"ProductGroup", [](const CKdProject& p) { return p.productGroups().length(); },
     [](CKdProject& p) { p.productGroups().deleteGroup(2L); }},
    {"ProductOfAGroup", productCount,
     [](CKdProject& p) { p.productGroups().findGroup(3)->products().deleteAt(0); }},
    {"ProductOfTheRoot", productCount,
     [](CKdProject& p) { p.productGroups().findGroup(-1)->products().deleteAt(0); }},
    // Moved to another group under the same id: it must not stay in the old one as well.
    {"ProductMovedToAnotherGroup",
     [](const CKdProject& p) { return p.productGroups().findGroup(3)->products().length(); },
     [](CKdProject& p) {
       CKdProductDefArray& from = p.productGroups().findGroup(3)->products();
       p.productGroups().findGroup(4)->products().append(from.objAt(0));
       from.deleteAt(0);
     }},
    {"PolyObjectDefinitions", polyDefCount,
     [](CKdProject& p) {
       for (auto type : {VxKd::systemDuct, VxKd::systemPipe}) p.polyDefSets(type)->deleteAt(0);
       // Two sets lose theirs: the count falls by two, made one by a new definition.
       CKdProductDef added;
       added.setDesc(L"Flat cable");
       p.polyDefSets(VxKd::systemData)->append(&added);
     }},
};

class ProjectRemovalTest : public vxkd_test::RecordingUiTest,
                           public ::testing::WithParamInterface<RemovalCase> {
 protected:
  CWsz path(const wchar_t* name = L"office.vkd") const { return dir_.path(name); }
  // The file at `at` as a project reads it, in the text form that shows every stored field.
  std::string readBack(const CWsz& at) {
    CKdProject back;
    EXPECT_TRUE(back.readDb(nullptr, at));
    return VxKd::datasetToJson(back);
  }
  vxkd_test::TempFolder dir_;
};

INSTANTIATE_TEST_SUITE_P(Kinds, ProjectRemovalTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.kind); });

// What a save leaves in the file is what a new file of the project holds: the removed
// definition is gone and every other one is as it was.
TEST_P(ProjectRemovalTest, ARemovedDefinitionIsGoneAfterTheSaveAndTheOthersStay) {
  ASSERT_TRUE(vxkd_test::saveSampleDataset(path()));
  CKdProject project;
  ASSERT_TRUE(project.readDb(nullptr, path()));
  const int before = GetParam().count(project);
  GetParam().remove(project);
  ASSERT_TRUE(project.updateDb(nullptr));

  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(GetParam().count(back), before - 1);
  CKdProject fresh(project);
  ASSERT_TRUE(fresh.saveDbAs(nullptr, path(L"fresh.vkd")));
  EXPECT_EQ(VxKd::datasetToJson(back), readBack(path(L"fresh.vkd")));
}

class ProjectSharedRemovalTest : public vxkd_test::RecordingUiTest {
 protected:
  CWsz path() const { return dir_.path(L"office.vkd"); }
  static CKdTextStyleDef style(const wchar_t* name) {
    CKdTextStyleDef def;
    def.setName(name);
    def.setFontFile(L"romans");
    return def;
  }
  vxkd_test::TempFolder dir_;
};

// A definition the project stored itself by a save (not read) is deleted by a later save just
// the same, and one removed after saveDbAs too.
TEST_F(ProjectSharedRemovalTest, WhatASaveWroteALaterSaveCanDelete) {
  CKdProject project;
  project.buildDefaultProject();
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));
  const CKdTextStyleDef added = style(L"Added");
  project.textStyleDefs().append(&added);
  ASSERT_TRUE(project.updateDb(nullptr));
  project.textStyleDefs().deleteAt(project.textStyleDefs().indexOfName(L"Added"));
  project.textStyleDefs().deleteAt(project.textStyleDefs().indexOfName(L"Standard"));
  ASSERT_TRUE(project.updateDb(nullptr));

  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(back.textStyleDefs().length(), 0);
}

// Another user stores a style and a product after this project read the file; this project
// then removes one style and one product of its own and saves without reading again (no edit
// lock): the other user's records stay, its own removals are gone.
TEST_F(ProjectSharedRemovalTest, RecordsAnotherUserStoredAfterTheReadAreKept) {
  ASSERT_TRUE(vxkd_test::saveSampleDataset(path()));
  CKdProject mine;
  ASSERT_TRUE(mine.readDb(nullptr, path()));

  CKdProject theirs;
  ASSERT_TRUE(theirs.readDb(nullptr, path()));
  const CKdTextStyleDef added = style(L"Theirs");
  theirs.textStyleDefs().append(&added);
  CKdProductDef product;
  product.setDbId(7);
  product.setDesc(L"Their damper");
  theirs.productGroups().findGroup(1)->products().append(&product);
  ASSERT_TRUE(theirs.updateDb(nullptr));

  removeName(mine.textStyleDefs(), L"Narrow");
  mine.productGroups().findGroup(3)->products().deleteAt(0);
  ASSERT_TRUE(mine.updateDb(nullptr));

  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_TRUE(back.textStyleDefs().findName(L"Theirs"));
  EXPECT_FALSE(back.textStyleDefs().findName(L"Narrow"));
  EXPECT_TRUE(back.textStyleDefs().findName(L"Standard"));
  EXPECT_TRUE(back.productGroups().findGroup(1)->products().findId(7));
  EXPECT_EQ(back.productGroups().findGroup(3)->products().length(), 0);
}

// A save that cannot be committed deletes nothing, and the next one still does.
TEST_F(ProjectSharedRemovalTest, AFailedSaveLeavesTheRemovalForTheNextOne) {
  ASSERT_TRUE(vxkd_test::saveSampleDataset(path()));
  CKdProject project;
  ASSERT_TRUE(project.readDb(nullptr, path()));
  removeName(project.textStyleDefs(), L"Narrow");
  {
    vxkd_test::FaultyEnv env;
    env.failDatabaseWrites(1);
    EXPECT_FALSE(project.updateDb(nullptr));
  }
  ASSERT_TRUE(project.updateDb(nullptr));

  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_FALSE(back.textStyleDefs().findName(L"Narrow"));
}

}  // namespace
