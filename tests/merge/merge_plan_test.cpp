// Merge plans: the default plan, the actions an item allows, and the editable text of a plan
// with the line of every mistake in it.

#include "vxkd/merge/merge_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "planned_merge_fixture.h"

namespace {

using ::testing::HasSubstr;

class MergePlanTest : public vxkd_test::PlannedMergeTest {
 protected:
  CKdMergePlan::action actionOf(VxKd::datasetKind kind, int sourceIndex) const {
    const CKdMergePlan::Entry* entry = plan_.find(kind, sourceIndex);
    return entry ? entry->act : static_cast<CKdMergePlan::action>(-1);
  }
  // The definitions: Width 0, Height 1, Diameter 2, Flow 3, Material 4, Pressure 5.
  static constexpr VxKd::datasetKind kDefs = VxKd::kindPropertyDefs;
};

TEST_F(MergePlanTest, DefaultPlanCreatesMapsAndSkipsByState) {
  EXPECT_EQ(actionOf(kDefs, 0), CKdMergePlan::actionMap);
  EXPECT_EQ(actionOf(kDefs, 1), CKdMergePlan::actionSkip);
  EXPECT_EQ(plan_.find(kDefs, 1)->targetIndex, 1) << "the partner stands in for it";
  EXPECT_EQ(actionOf(kDefs, 5), CKdMergePlan::actionCreate);
  EXPECT_EQ(plan_.find(kDefs, 5)->targetIndex, -1);
  EXPECT_EQ(plan_.entries().size(), comparison_.items().size() - 1) << "all but Noise";
}

TEST_F(MergePlanTest, ActionsThatDoNotFitAnItemAreRefused) {
  struct Case {
    int sourceIndex;
    CKdMergePlan::action act;
    int target;
    bool fits;
  };
  const Case kCases[] = {
      {5, CKdMergePlan::actionCreate, -1, true},
      {1, CKdMergePlan::actionCreate, -1, false},     // has a partner
      {5, CKdMergePlan::actionOverwrite, -1, false},  // has none
      {1, CKdMergePlan::actionOverwrite, -1, true},   // its partner
      {1, CKdMergePlan::actionOverwrite, 2, false},   // not its partner
      {5, CKdMergePlan::actionMap, 5, true},          // to Noise
      {5, CKdMergePlan::actionMap, -1, false},
      {5, CKdMergePlan::actionMap, 6, false},  // beyond the current items
      {0, CKdMergePlan::actionSkip, -1, true},
      {6, CKdMergePlan::actionSkip, -1, false},  // no such source item
  };
  for (const Case& c : kCases) {
    CKdMergePlan plan = plan_;
    EXPECT_EQ(plan.setAction(comparison_, kDefs, c.sourceIndex, c.act, c.target), c.fits)
        << c.sourceIndex << " " << CKdMergePlan::actionKey(c.act) << " " << c.target;
    if (!c.fits) {
      EXPECT_EQ(plan.entries().size(), plan_.entries().size());
    }
  }
  // A layer, which no dataset can add, cannot be created even when only the source had it.
  EXPECT_FALSE(plan_.setAction(comparison_, VxKd::kindLayers, 0, CKdMergePlan::actionCreate));
  CKdMergePlan plan = plan_;
  ASSERT_TRUE(plan.setAction(comparison_, kDefs, 1, CKdMergePlan::actionOverwrite));
  EXPECT_EQ(plan.find(kDefs, 1)->targetIndex, 1) << "overwrite takes the partner";
}

TEST_F(MergePlanTest, WrittenPlanReadsBackTheSame) {
  ASSERT_TRUE(plan_.setAction(comparison_, kDefs, 5, CKdMergePlan::actionMap, 5));
  ASSERT_TRUE(plan_.setAction(comparison_, kDefs, 1, CKdMergePlan::actionOverwrite));
  const std::string text = plan_.toJson(comparison_, source_, current_);
  EXPECT_THAT(text, HasSubstr("\n      {\"key\": \"Pressure\", \"name\": \"Pressure\", \"state\": "
                              "\"onlyInSource\", \"action\": \"map\", \"target\": \"Noise\"}\n"));
  CKdMergePlan read;
  ASSERT_TRUE(read.fromJson(nullptr, text, comparison_, source_, current_));
  ASSERT_EQ(read.entries().size(), plan_.entries().size());
  for (const CKdMergePlan::Entry& entry : plan_.entries()) {
    const CKdMergePlan::Entry* back = read.find(entry.kind, entry.sourceIndex);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->act, entry.act);
    EXPECT_EQ(back->targetIndex, entry.targetIndex);
  }
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_F(MergePlanTest, KeysMatchIgnoringCaseAndItemsLeftOutAreSkipped) {
  const std::string text = R"({"format": "vxkd-merge-plan", "version": 1, "items": {
    "propertyDefinitions": [
      {"key": "PRESSURE", "action": "map", "target": "noise"}
    ]}})";
  CKdMergePlan read;
  ASSERT_TRUE(read.fromJson(nullptr, text, comparison_, source_, current_));
  EXPECT_EQ(read.find(kDefs, 5)->act, CKdMergePlan::actionMap);
  EXPECT_EQ(read.find(kDefs, 5)->targetIndex, 5);
  EXPECT_EQ(read.find(kDefs, 0)->act, CKdMergePlan::actionSkip);
  EXPECT_EQ(read.find(kDefs, 0)->targetIndex, 0) << "the partner still stands in";
  EXPECT_EQ(read.find(VxKd::kindDuctDefs, 0)->act, CKdMergePlan::actionSkip);
}

// The change made to a sound plan (`to` null: the text ends after `from`); the error is on
// the line of the change.
struct BadPlan {
  const char* name;
  const char* from;
  const char* to;
  const char* message;
};

class MergePlanBadTextTest : public MergePlanTest, public ::testing::WithParamInterface<BadPlan> {};

TEST_P(MergePlanBadTextTest, NamesTheLineAndKeepsThePlan) {
  const BadPlan& bad = GetParam();
  std::string text = plan_.toJson(comparison_, source_, current_);
  const size_t at = text.find(bad.from);
  ASSERT_NE(at, std::string::npos) << bad.from;
  if (bad.to)
    text.replace(at, std::string(bad.from).size(), bad.to);
  else
    text.resize(at + std::string(bad.from).size());
  const int line = 1 + static_cast<int>(std::count(text.begin(), text.begin() + at, '\n'));
  CKdMergePlan plan = plan_;
  int errorLine = 0;
  std::string why;
  EXPECT_FALSE(plan.fromJson(nullptr, text, comparison_, source_, current_, &errorLine, &why));
  EXPECT_EQ(errorLine, line) << why;
  EXPECT_THAT(why, HasSubstr(bad.message));
  EXPECT_EQ(plan.entries().size(), plan_.entries().size());
  EXPECT_EQ(plan.find(kDefs, 5)->act, CKdMergePlan::actionCreate);
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Read Merge Plan");
}

const BadPlan kBadPlans[] = {
    {"UnknownAction", "\"action\": \"create\"", "\"action\": \"copy\"",
     "\"action\" must be one of create, overwrite, map, skip, not \"copy\""},
    {"UnknownKind", "\"layers\": [", "\"groups\": [], \"layers\": [", "unknown kind \"groups\""},
    {"NoSuchSourceItem", "{\"key\": \"Pressure\"", "{\"key\": \"Pressur\"",
     "no item of the source in \"propertyDefinitions\" has the key \"Pressur\""},
    {"NoSuchTarget", "\"target\": \"Width\"}", "\"target\": \"Widht\"}",
     "no item of the current dataset in \"propertyDefinitions\" has the key \"Widht\""},
    {"CreateWhatHasAPartner", "\"state\": \"equal\", \"action\": \"map\"",
     "\"state\": \"equal\", \"action\": \"create\"", "the item has a partner"},
    {"OverwriteWithoutPartner", "\"action\": \"create\"", "\"action\": \"overwrite\"",
     "no partner in the current dataset to overwrite"},
    {"NamedTwice", "{\"key\": \"Height\"", "{\"key\": \"Width\"", "\"Width\" is named twice"},
    {"UnknownField", "\"name\": \"Pressure\",", "\"nmae\": \"Pressure\",",
     "unknown field \"nmae\""},
    {"NoPlan", "\"vxkd-merge-plan\"", "\"vxkd-dataset\"", "\"format\" must be \"vxkd-merge-plan\""},
    {"Truncated", "\"layers\": [", nullptr, "unexpected end of input"},
};

INSTANTIATE_TEST_SUITE_P(Texts, MergePlanBadTextTest, ::testing::ValuesIn(kBadPlans),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(MergePlanTest, ActionsHaveTitlesInTheActiveLanguage) {
  EXPECT_EQ(CKdMergePlan::actionTitle(CKdMergePlan::actionMap), CWsz(L"Map"));
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_EQ(CKdMergePlan::actionTitle(CKdMergePlan::actionSkip), CWsz(L"Überspringen"));
}

}  // namespace
