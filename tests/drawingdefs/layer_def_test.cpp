#include "vxkd/drawingdefs/layer_def.h"

#include <gtest/gtest.h>

#include <string>

#include "support/temp_dataset.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"

namespace {

std::wstring names(const CKdObjArray& defs) {
  std::wstring out;
  for (int i = 0; i < defs.length(); ++i) out += (i ? L" " : L"") + std::wstring(defs.nameAt(i));
  return out;
}

TEST(LayerDef, HardDefaultsAreTheTwentyFourLayersInTableOrder) {
  vxkd_test::openLanguageDb();
  CKdLayerDefArray layers;
  layers.buildHardDefaultsArray();
  ASSERT_EQ(layers.length(), 24);
  const struct {
    long number;
    const wchar_t* name;
    const wchar_t* desc;
    short color;
    short lineweight;
    bool text;
  } rows[] = {
      {11, L"VANTKD_DUCT", L"Ducts", 5, 5, false},
      {13, L"VANTKD_DUCT_DIMTEXT", L"Ducts - Reference Texts", 6, -3, true},
      {21, L"VANTKD_PIPE", L"Pipes", 6, -3, false},
      {31, L"VANTKD_DATA", L"Data cables", 3, -3, false},
      {41, L"VANTKD_ELECTRIC", L"Electric cables", 1, -3, false},
      {52, L"VANTKD_DEVICE_DETAIL", L"Devices - Details", 6, -3, false},
      {53, L"VANTKD_DEVICE_TEXT", L"Devices - Text", 1, -3, true},
      {92, L"VANTKD_DIMTEXT_TEXT", L"Dimension Texts", 6, -3, true},
      {102, L"VANTKD_REPORT_TEXT", L"Report Texts", 6, -3, true},
      {106, L"VANTKD_MASK", L"Text wipeout frames", 7, -3, false},
  };
  for (const auto& row : rows) {
    const CKdLayerDef* def = layers.findLayerDef(row.number);
    ASSERT_NE(def, nullptr) << row.number;
    EXPECT_EQ(def->name(), row.name);
    EXPECT_EQ(def->desc(), row.desc);
    EXPECT_EQ(def->colorNmb(), row.color) << row.number;
    EXPECT_EQ(def->lineweight(), row.lineweight) << row.number;
    EXPECT_EQ(def->linetype(), L"CONTINUOUS");
    EXPECT_EQ(def->isTextLayer(), row.text) << row.number;
  }
  EXPECT_EQ(layers.idAt(0), 11);
  EXPECT_EQ(layers.idAt(23), 106);
  int textLayers = 0;
  for (int i = 0; i < layers.length(); ++i) textLayers += layers.objAt(i)->isTextLayer();
  EXPECT_EQ(textLayers, 8);
  VxKd::lngDb().close();
}

TEST(LayerDef, SetDefaultsForRefusesNumbersThatAreNoLayer) {
  for (long number : {0L, 10L, 14L, 105L, 107L, -11L, 1000L}) {
    CKdLayerDef def;
    def.setName(L"kept?");
    EXPECT_FALSE(def.setDefaultsFor(number)) << number;
    EXPECT_EQ(def.name(), L"0") << "left reset";
    EXPECT_EQ(def.layerNumber(), 0);
  }
  CKdLayerDef def;
  EXPECT_TRUE(def.setDefaultsFor(104));
  EXPECT_EQ(def.name(), L"VANTKD_LABEL");
  EXPECT_TRUE(VxKd::getLayerDesc(static_cast<VxKd::layerNumbers>(105)).isEmpty());
}

TEST(LayerDef, DescriptionsFollowTheActiveLanguage) {
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_EQ(VxKd::getLayerDesc(VxKd::layerDuct), L"Kanäle");
  CKdLayerDef def;
  def.setDefaultsFor(VxKd::layerDeviceDimtext);
  EXPECT_EQ(def.desc(), L"Geräte - Bezugstexte");
  EXPECT_STREQ(CKdLayerDef().lineWeightDisplayName(), L"Standard");
}

TEST(LayerDef, LineweightDisplayNameIsMillimetresOrDefault) {
  CKdLayerDefArray layers;
  layers.buildHardDefaultsArray();
  CKdLayerDef def;
  const struct {
    short lineweight;
    const wchar_t* text;
  } cases[] = {
      {25, L"0.25 mm"}, {5, L"0.05 mm"}, {211, L"2.11 mm"}, {0, L"0.00 mm"}, {-3, L"Default"}};
  for (const auto& c : cases) {
    def.setLineweight(c.lineweight);
    EXPECT_STREQ(def.lineWeightDisplayName(), c.text);
  }
  EXPECT_EQ(layers.findLayerDefByLineweightDisplayName(L"0.05 MM"), layers.findLayerDef(11));
  EXPECT_EQ(layers.findLayerDefByLineweightDisplayName(L"default"), layers.findLayerDef(12));
  EXPECT_EQ(layers.findLayerDefByLineweightDisplayName(L"0.25 mm"), nullptr);
}

TEST(LayerDef, FixLayerNameReplacesWhatDrawingsDoNotAllow) {
  const struct {
    const wchar_t* in;
    const wchar_t* out;
    bool replaced;
  } cases[] = {{L"A/B:C", L"A_B_C", true},
               {L"<>/\\\":;?*|,='", L"_____________", true},
               {L"Ducts - 2nd floor", L"Ducts - 2nd floor", false}};
  for (const auto& c : cases) {
    std::wstring name = c.in;
    EXPECT_EQ(VxKd::fixLayerName(name.data()), c.replaced) << cuSz::toUtf8(c.in);
    EXPECT_EQ(name, c.out);
  }
  wchar_t empty[1] = {};
  EXPECT_FALSE(VxKd::fixLayerName(empty));
  EXPECT_FALSE(VxKd::fixLayerName(nullptr));
}

TEST(LayerDef, SortsByDescriptionNameLinetypeOrColour) {
  CKdLayerDefArray layers;
  for (long n : {11L, 41L, 103L}) {
    CKdLayerDef def;
    def.setDefaultsFor(n);
    layers.append(&def);
  }
  layers.objAt(2)->setLinetype(L"dashed");
  layers.sort(CKdLayerDefArray::sortByDescription);  // Ducts, Electric cables, Frame
  EXPECT_EQ(names(layers), L"VANTKD_DUCT VANTKD_ELECTRIC VANTKD_FRAME");
  layers.sort(-CKdLayerDefArray::sortByName);
  EXPECT_EQ(names(layers), L"VANTKD_FRAME VANTKD_ELECTRIC VANTKD_DUCT");
  layers.sort(CKdLayerDefArray::sortByLinetype);
  EXPECT_EQ(names(layers), L"VANTKD_ELECTRIC VANTKD_DUCT VANTKD_FRAME");
  layers.sort(CKdLayerDefArray::sortByColor);  // 1, 5, 7
  EXPECT_EQ(names(layers), L"VANTKD_ELECTRIC VANTKD_DUCT VANTKD_FRAME");
  layers.sort(-CKdLayerDefArray::sortByColor);
  EXPECT_EQ(names(layers), L"VANTKD_FRAME VANTKD_DUCT VANTKD_ELECTRIC");
}

TEST(LayerDef, LayersTellWhetherTheyNameALinetype) {
  CKdLayerDefArray layers;
  layers.buildHardDefaultsArray();
  layers.findLayerDef(22)->setLinetype(L"TS_Hidden");
  const iKdLinetypeUser& user = layers;
  EXPECT_EQ(user.linetypeUsageKind(), iKdLinetypeUser::layerDefinitions);
  EXPECT_TRUE(user.usesLinetype(L"ts_hidden"));
  EXPECT_TRUE(user.usesLinetype(L"Continuous"));
  EXPECT_FALSE(user.usesLinetype(L"TS_DASH"));
}

class LayerRecordTest : public vxkd_test::TempDatasetTest {};

// A stored layer keeps its colour, name and linetype; its description comes from the program
// and its lineweight (not stored) is the default again.
TEST_F(LayerRecordTest, StoredLayersReadBackOntoTheHardDefaults) {
  CKdLayerDefArray edited;
  edited.buildHardDefaultsArray();
  CKdLayerDef* duct = edited.findLayerDef(11);
  duct->setColorNmb(2);
  duct->setName(L"M-DUCT");
  duct->setLinetype(L"TS_DASH");
  duct->setDesc(L"Changed by somebody");
  ASSERT_TRUE(edited.saveTo(db_));

  // Records for numbers that are no layer, or with no number, are ignored.
  CKdLayerDef stray;
  stray.setLayerNumber(105);
  ASSERT_TRUE(stray.saveTo(db_));
  ASSERT_TRUE(db_.createRec("LD", "x"));
  ASSERT_TRUE(db_.saveRec());

  CKdLayerDefArray back;
  back.buildHardDefaultsArray();
  ASSERT_TRUE(back.readFrom(db_));
  ASSERT_EQ(back.length(), 24);
  const CKdLayerDef* read = back.findLayerDef(11);
  EXPECT_EQ(read->colorNmb(), 2);
  EXPECT_EQ(read->lineweight(), -3);
  EXPECT_EQ(read->desc(), L"Ducts");
  EXPECT_EQ(read->name(), L"M-DUCT");
  EXPECT_EQ(read->linetype(), L"TS_DASH");
  EXPECT_EQ(back.findLayerDef(105), nullptr);
}

TEST_F(LayerRecordTest, EmptyTextsAreNotWrittenAndReadBackAsDefaults) {
  CKdLayerDef def;
  def.setLayerNumber(12);
  def.setName(L"");
  def.setLinetype(L"");
  def.setColorNmb(256);
  ASSERT_TRUE(def.saveTo(db_));
  ASSERT_TRUE(db_.fetchRec("LD", "000012"));
  CWsz text;
  EXPECT_FALSE(db_.getWsz(1505, text));
  EXPECT_FALSE(db_.getWsz(1506, text));
  EXPECT_FALSE(db_.getWsz(1502, text));
  CKdLayerDef back;
  ASSERT_TRUE(back.readFrom(db_));
  EXPECT_EQ(back.layerNumber(), 12);
  EXPECT_EQ(back.name(), L"0");
  EXPECT_EQ(back.linetype(), L"CONTINUOUS");
  EXPECT_EQ(back.colorNmb(), 256);
  ASSERT_TRUE(back.deleteFrom(db_));
  EXPECT_FALSE(db_.fetchRec("LD", "000012"));
}

}  // namespace
