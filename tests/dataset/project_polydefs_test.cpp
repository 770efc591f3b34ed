// The project's four definition sets of poly objects: their class ids, their way through the
// dataset file, and the property definition changes that reach them.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/qbase.h"

namespace {

using VxKd::systemTypeIds;

struct SetCase {
  systemTypeIds type;
  const char* classId;
};
constexpr SetCase kSets[] = {{VxKd::systemDuct, "SD"},
                             {VxKd::systemPipe, "SP"},
                             {VxKd::systemElectric, "SE"},
                             {VxKd::systemData, "SA"}};

class ProjectPolyDefsTest : public vxkd_test::RecordingUiTest {
 protected:
  CWsz path() const { return dir_.path(L"office.vkd"); }

  // A project with the property definition Width (int32) and, in each set, the products
  // `descs` with the width 100, 200, ...
  void fill(CKdProject& project, const std::vector<const wchar_t*>& descs) {
    if (project.propertyDefs().length() == 0)
      project.propertyDefs().add(L"Width", L"", CKdPropertyValue::typeInt32,
                                 CKdUnit(CKdUnit::unitMm), 0);
    const CKdPropertyDef* width = project.propertyDefs().findName(L"Width");
    for (const SetCase& s : kSets) {
      CKdProductDefArray* set = project.polyDefSets(s.type);
      int n = 0;
      for (const wchar_t* desc : descs) {
        CKdProductDef product;
        product.setDbId(set->nextId(1, CKdProductDefArray::kMaxId));
        product.setDesc(desc);
        CKdProperty property(*width);
        property.setValue(std::to_wstring(100 * ++n).c_str());
        product.properties().append(&property);
        set->append(&product);
      }
    }
  }

  static std::vector<std::string> descriptions(const CKdProductDefArray& set) {
    std::vector<std::string> out;
    for (int i = 0; i < set.length(); ++i) out.push_back(set.objAt(i)->desc().toUtf8());
    return out;
  }

  vxkd_test::TempFolder dir_;
};

TEST_F(ProjectPolyDefsTest, EachSystemTypeHasItsSetAndOtherTypesNone) {
  CKdProject project;
  for (const SetCase& s : kSets) {
    ASSERT_NE(project.polyDefSets(s.type), nullptr);
    EXPECT_STREQ(project.polyDefSets(s.type)->classId(), s.classId);
    EXPECT_EQ(project.polyDefSets(s.type)->length(), 0);
  }
  EXPECT_EQ(project.polyDefSets(static_cast<systemTypeIds>(710)), nullptr);
  EXPECT_EQ(project.polyDefSets(static_cast<systemTypeIds>(0)), nullptr);
  const CKdProject& constProject = project;
  EXPECT_EQ(constProject.polyDefSets(VxKd::systemData), project.polyDefSets(VxKd::systemData));
  EXPECT_EQ(constProject.polyDefSets(static_cast<systemTypeIds>(710)), nullptr);
}

TEST_F(ProjectPolyDefsTest, HasPolyDefSetsWhenAnySetHoldsADefinition) {
  for (const SetCase& s : kSets) {
    CKdProject project;
    EXPECT_FALSE(project.hasPolyDefSets());
    CKdProductDef product;
    project.polyDefSets(s.type)->append(&product);
    EXPECT_TRUE(project.hasPolyDefSets()) << s.classId;
    project.resetData();
    EXPECT_FALSE(project.hasPolyDefSets()) << "resetData empties the sets";
    EXPECT_STREQ(project.polyDefSets(s.type)->classId(), s.classId);
  }
}

TEST_F(ProjectPolyDefsTest, SetsGoThroughTheFileEachUnderItsOwnRecordCode) {
  CKdProject project;
  fill(project, {L"b", L"C", L"a"});
  project.polyDefSets(VxKd::systemElectric)->objAt(0)->setDesc(L"cable");
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));

  CQbase db;
  ASSERT_TRUE(db.openDatabase(vxkd_test::datasetDictionary(), path(), false));
  for (const SetCase& s : kSets) {
    int records = 0;
    for (bool more = db.fetchFirstMember(s.classId); more; more = db.fetchNextMember()) ++records;
    EXPECT_EQ(records, 3) << s.classId;
    EXPECT_TRUE(db.fetchRec(s.classId, "000003")) << "six-digit keys";
  }
  EXPECT_FALSE(db.fetchFirstMember("PD")) << "no group products";
  db.abandon();

  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_TRUE(back.hasPolyDefSets());
  for (const SetCase& s : kSets) {
    const CKdProductDefArray* set = back.polyDefSets(s.type);
    std::vector<std::string> expected = {"a", "b", "C"};
    if (s.type == VxKd::systemElectric) expected = {"a", "C", "cable"};
    EXPECT_EQ(descriptions(*set), expected) << s.classId << ": sorted by description";
    CWsz width;
    ASSERT_TRUE(set->objAt(0)->getPropertyValue(CWsz(), L"Width", width));
    EXPECT_EQ(width, L"300");
  }
}

TEST_F(ProjectPolyDefsTest, ADefinitionWithoutAnIdOfItsOwnIsStoredUnderAFreeOne) {
  CKdProject project;
  fill(project, {L"first", L"second"});
  CKdProductDefArray* pipes = project.polyDefSets(VxKd::systemPipe);
  CKdProductDef unnumbered;
  unnumbered.setDesc(L"new");
  pipes->append(&unnumbered);
  CKdProductDef duplicate;
  duplicate.setDbId(pipes->idAt(0));
  duplicate.setDesc(L"same id");
  pipes->append(&duplicate);
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));

  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(descriptions(*back.polyDefSets(VxKd::systemPipe)),
            (std::vector<std::string>{"first", "new", "same id", "second"}));
}

TEST_F(ProjectPolyDefsTest, ReadingReplacesTheSetsAndUpdatingWritesEdits) {
  CKdProject project;
  fill(project, {L"one"});
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));
  project.polyDefSets(VxKd::systemDuct)->objAt(0)->setColorNmb(3);
  CKdProductDef extra;
  extra.setDbId(2);
  extra.setDesc(L"two");
  project.polyDefSets(VxKd::systemData)->append(&extra);
  ASSERT_TRUE(project.updateDb(nullptr));

  CKdProject back;
  fill(back, {L"in memory only"});
  ASSERT_TRUE(back.readDb(nullptr, path()));
  EXPECT_EQ(back.polyDefSets(VxKd::systemDuct)->objAt(0)->colorNmb(), 3);
  EXPECT_EQ(descriptions(*back.polyDefSets(VxKd::systemData)),
            (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(descriptions(*back.polyDefSets(VxKd::systemPipe)), (std::vector<std::string>{"one"}));
}

TEST_F(ProjectPolyDefsTest, ACopiedProjectHasItsOwnSets) {
  CKdProject project;
  fill(project, {L"x"});
  CKdProject copy(project);
  copy.polyDefSets(VxKd::systemPipe)->objAt(0)->setDesc(L"changed");
  EXPECT_EQ(project.polyDefSets(VxKd::systemPipe)->objAt(0)->desc(), L"x");
  CKdProject assigned;
  assigned = project;
  for (const SetCase& s : kSets) {
    EXPECT_STREQ(copy.polyDefSets(s.type)->classId(), s.classId);
    EXPECT_STREQ(assigned.polyDefSets(s.type)->classId(), s.classId);
    EXPECT_EQ(assigned.polyDefSets(s.type)->length(), 1);
  }
}

TEST_F(ProjectPolyDefsTest, ARenamedAndRetypedDefinitionReachesEverySetAndSurvivesTheFile) {
  CKdProject project;
  fill(project, {L"p", L"q"});
  CKdPropertyDef* width = project.propertyDefs().findName(L"Width");
  width->setName(L"Breite");
  width->setValueType(CKdPropertyValue::typeDoubleReal);
  width->setDecimals(1);
  project.updatePropertyDefModificationToRefs(*width);

  for (const SetCase& s : kSets) {
    const CKdProductDefArray* set = project.polyDefSets(s.type);
    for (int i = 0; i < set->length(); ++i) {
      const CKdProperty* p = set->objAt(i)->properties().findProperty(L"Breite");
      ASSERT_NE(p, nullptr) << s.classId << " " << i;
      EXPECT_EQ(p->valueType(), CKdPropertyValue::typeDoubleReal);
      EXPECT_EQ(p->getValueAsText(false), i == 0 ? L"100.0" : L"200.0");
      EXPECT_EQ(set->objAt(i)->properties().findProperty(L"Width"), nullptr);
    }
  }
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));
  CKdProject back;
  ASSERT_TRUE(back.readDb(nullptr, path()));
  CWsz value;
  EXPECT_TRUE(
      back.polyDefSets(VxKd::systemData)->objAt(1)->getPropertyValue(CWsz(), L"breite", value));
  EXPECT_EQ(value, L"200.0");
}

TEST_F(ProjectPolyDefsTest, TheSetsTakePartInTheDeletionChecks) {
  CKdProject project;
  fill(project, {L"p"});
  project.propertyDefs().add(L"Unused", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));
  std::vector<const iKdPropertyDefUser*> users;
  for (const SetCase& s : kSets) users.push_back(project.polyDefSets(s.type));
  EXPECT_TRUE(project.deletePropertyDefs(nullptr, {0, 1}, users));
  ASSERT_EQ(project.propertyDefs().length(), 1);
  EXPECT_EQ(project.propertyDefs().objAt(0)->name(), L"Width");
  EXPECT_EQ(ui_.boxCount(), 1) << "the one message naming what keeps them";
}

}  // namespace
