#include "vxkd/catalogue/label_text_def.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/fake_host.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/host.h"

using namespace cuWin;

namespace {

using vxkd_test::FakeHost;

CKdLabelTextDefArray labels(std::initializer_list<CKdLabelTextDef> defs) {
  CKdLabelTextDefArray out;
  for (const CKdLabelTextDef& def : defs) out.append(&def);
  return out;
}

std::vector<std::string> column(const CKdLabelTextDefArray& defs,
                                const CWsz& (CKdLabelTextDef::*get)() const) {
  std::vector<std::string> out;
  for (int i = 0; i < defs.length(); ++i) out.push_back((defs.objAt(i)->*get)().toUtf8());
  return out;
}

TEST(LabelTextDef, FindsAttributesIgnoringCase) {
  const CKdLabelTextDefArray defs =
      labels({{L"Flow", L"", L"TAG1"}, {L"Size", L"", L"Tag2"}, {L"Other", L"", L"tag2"}});
  EXPECT_EQ(defs.findAttrName(L"tag1"), 0);
  EXPECT_EQ(defs.findAttrName(L"TAG2"), 1) << "the first of two";
  EXPECT_EQ(defs.findAttrName(L"TAG3"), -1);
  EXPECT_EQ(defs.findAttrName(L""), -1);
}

class LabelTextUseTest : public vxkd_test::TextsUiTest {};

TEST_F(LabelTextUseTest, AnAttributeIsUsedWhenAnotherPropertyHasIt) {
  const CKdLabelTextDefArray defs = labels({{L"FLOW", L"", L"tag1"}, {L"Size", L"", L"Tag2"}});
  const struct {
    const wchar_t* name;
    const wchar_t* attr;
    bool used;
  } cases[] = {
      {L"Flow", L"TAG1", false},                            // the property's own attribute
      {L"Size", L"TAG1", true},  {nullptr, L"TAG1", true},  // without a name every entry counts
      {L"Size", L"TAG3", false}, {L"size", L"tag2", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(CWsz(c.attr).toUtf8());
    EXPECT_EQ(defs.isUsedAttrName(c.name, c.attr, false, nullptr), c.used);
  }
  EXPECT_EQ(ui_.boxCount(), 0) << "no message unless asked for";
}

TEST_F(LabelTextUseTest, TheMessageNamesTheAttributeAndItsProperty) {
  const CKdLabelTextDefArray defs = labels({{L"Flow", L"", L"TAG1"}});
  EXPECT_TRUE(defs.isUsedAttrName(L"Size", L"tag1", true, nullptr));
  EXPECT_TRUE(lastBoxIs(L"Attribute name \"TAG1\" is already used by property \"Flow\".",
                        L"Vantrix", MB_OK | MB_TASKMODAL));
}

TEST_F(LabelTextUseTest, TheMessageCutsLongNamesAndComesInGerman) {
  const std::wstring longName(150, L'n');
  const CKdLabelTextDefArray defs = labels({{longName.c_str(), L"", L"%s"}});
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_TRUE(defs.isUsedAttrName(L"Size", L"%S", true, nullptr));
  EXPECT_EQ(ui_.lastBox().text, L"Der Attributname \"%s\" wird bereits von der Eigenschaft \"" +
                                    std::wstring(100, L'n') + L"\" verwendet.")
      << "a tag that reads like a placeholder stays as it is";
}

class LabelTextHostTest : public ::testing::Test {
 protected:
  void TearDown() override { VxKdInterface::set(nullptr); }
  FakeHost host_;
};

TEST_F(LabelTextHostTest, LoadingTakesTheLabelBlocksAttributesButItsOwn) {
  host_.attributes = {{L"P_NAME", L"Name"},
                      {L"p_code", L"Code"},
                      {L"PNAME", L"Product name"},
                      {L"FLOW", L"Air flow"},
                      {L"P", L"Pressure"}};
  VxKdInterface::set(&host_);
  CKdLabelTextDefArray defs;
  ASSERT_TRUE(defs.loadFromBlock());
  EXPECT_EQ(host_.asked, std::vector<std::wstring>{L"VANTSYLABEL"});
  EXPECT_EQ(column(defs, &CKdLabelTextDef::attrName),
            (std::vector<std::string>{"PNAME", "FLOW", "P"}));
  EXPECT_EQ(column(defs, &CKdLabelTextDef::name),
            (std::vector<std::string>{"Product name", "Air flow", "Pressure"}));
  EXPECT_EQ(column(defs, &CKdLabelTextDef::value), (std::vector<std::string>{"", "", ""}));
}

TEST_F(LabelTextHostTest, LoadingOnlyFillsAnEmptyListFromAHost) {
  host_.attributes = {{L"FLOW", L"Air flow"}};
  CKdLabelTextDefArray defs;
  EXPECT_FALSE(defs.loadFromBlock()) << "no host";
  VxKdInterface::set(&host_);
  host_.readable = false;
  EXPECT_FALSE(defs.loadFromBlock()) << "a host that cannot read its drawing";
  EXPECT_EQ(defs.length(), 0);
  host_.readable = true;
  host_.asked.clear();
  CKdLabelTextDefArray filled = labels({{L"Size", L"", L"SIZE"}});
  EXPECT_FALSE(filled.loadFromBlock());
  EXPECT_EQ(filled.length(), 1);
  EXPECT_TRUE(host_.asked.empty()) << "a list with entries does not ask";
  host_.attributes.clear();
  EXPECT_TRUE(defs.loadFromBlock()) << "a drawing without the label block";
  EXPECT_EQ(defs.length(), 0);
}

TEST(LabelTextDef, SortsByEachColumnBothWays) {
  CKdLabelTextDefArray defs =
      labels({{L"b", L"Z", L"t2"}, {L"A", L"y", L"T3"}, {L"c", L"x", L"t1"}});
  defs.sort(CKdLabelTextDefArray::sortByName);
  EXPECT_EQ(column(defs, &CKdLabelTextDef::name), (std::vector<std::string>{"A", "b", "c"}));
  defs.sort(CKdLabelTextDefArray::sortByValue);
  EXPECT_EQ(column(defs, &CKdLabelTextDef::value), (std::vector<std::string>{"x", "y", "Z"}));
  defs.sort(-CKdLabelTextDefArray::sortByAttrName);
  EXPECT_EQ(column(defs, &CKdLabelTextDef::attrName), (std::vector<std::string>{"T3", "t2", "t1"}));
  EXPECT_EQ(defs.nameAt(0), CWsz(L"A"));
  EXPECT_EQ(defs.descriptionAt(0), CWsz(L"T3"));
  CKdLabelTextDef def(L"n", L"v", L"a");
  def.reset();
  EXPECT_TRUE(def.name().isEmpty() && def.value().isEmpty() && def.attrName().isEmpty());
}

}  // namespace
