// The comparison of two datasets: how items pair, what counts as a difference, and that
// references agree when what they refer to was paired, whatever its id.

#include "vxkd/merge/comparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/sample_project.h"
#include "support/ui_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using VxKd::datasetKind;

class ComparisonTest : public vxkd_test::TextsUiTest {
 protected:
  void SetUp() override {
    TextsUiTest::SetUp();
    vxkd_test::fillSampleProject(source_);
    vxkd_test::fillSampleProject(current_);
  }
  const CKdDatasetComparison& compare() {
    comparison_.compare(source_, current_);
    return comparison_;
  }
  // The pair of `kind` named `name`.
  const CKdComparisonItem& pair(datasetKind kind, const wchar_t* name) {
    for (const CKdComparisonItem& item : comparison_.items())
      if (item.kind == kind && item.name == name) return item;
    ADD_FAILURE() << "no pair " << CWsz(name).toUtf8();
    static const CKdComparisonItem none;
    return none;
  }
  std::vector<std::string> fieldsOf(const CKdComparisonItem& item) {
    std::vector<std::string> names;
    for (const CKdFieldDifference& d : item.fields) names.push_back(d.field);
    return names;
  }
  CKdProductDef& duct(CKdProject& p) { return *p.polyDefSets(VxKd::systemDuct)->objAt(0); }

  CKdProject source_;
  CKdProject current_;
  CKdDatasetComparison comparison_;
};

TEST_F(ComparisonTest, EqualProjectsGiveEqualForEveryItem) {
  const CKdDatasetComparison& c = compare();
  EXPECT_TRUE(c.isEqual());
  // 5 definitions, a part ID format, 24 layers, 4 groups, 3 products, a block, 2 symbols,
  // 2 styles, 2 linetypes, 3 formats, a report, 4 poly-object definitions.
  EXPECT_EQ(c.count(CKdComparisonItem::equal), 52);
  EXPECT_EQ(c.items().size(), 52u);
  EXPECT_EQ(c.count(VxKd::kindLayers, CKdComparisonItem::equal), 24);
}

TEST_F(ComparisonTest, ItemsOfOneSideOnlyAreNamedAfterThePairedOnes) {
  source_.propertyDefs().add(L"Pressure", L"", CKdPropertyValue::typeDoubleReal, CKdUnit(), 0);
  current_.propertyDefs().add(L"Noise", L"", CKdPropertyValue::typeInt16, CKdUnit(), 0);
  const CKdDatasetComparison& c = compare();
  std::vector<std::pair<std::string, CKdComparisonItem::state>> defs;
  for (const CKdComparisonItem& item : c.items())
    if (item.kind == VxKd::kindPropertyDefs) defs.emplace_back(item.key, item.itemState);
  ASSERT_EQ(defs.size(), 7u);
  EXPECT_EQ(defs[5], std::make_pair(std::string("Pressure"), CKdComparisonItem::onlyInSource));
  EXPECT_EQ(defs[6], std::make_pair(std::string("Noise"), CKdComparisonItem::onlyInCurrent));
  EXPECT_EQ(c.items()[6].currentIndex, 5);
  EXPECT_EQ(c.count(CKdComparisonItem::onlyInSource), 1);
  EXPECT_FALSE(c.isEqual());
}

TEST_F(ComparisonTest, NamesPairIgnoringCaseAndADifferentCaseIsADifference) {
  current_.propertyDefs().findName(L"Width")->setName(L"WIDTH");
  current_.linetypeDefs().findLinetypeDef(L"DASHED")->setName(L"dashed");
  compare();
  EXPECT_THAT(fieldsOf(pair(VxKd::kindPropertyDefs, L"Width")), ElementsAre("name"));
  EXPECT_THAT(fieldsOf(pair(VxKd::kindLinetypes, L"DASHED")), ElementsAre("name"));
  // The duct's linetype and the layer's still name the paired linetype.
  EXPECT_EQ(pair(VxKd::kindDuctDefs, L"Rectangular duct").itemState, CKdComparisonItem::equal);
  EXPECT_EQ(pair(VxKd::kindLayers, L"Ducts (11)").itemState, CKdComparisonItem::equal);
}

TEST_F(ComparisonTest, AnotherValueTypeIsReportedWithBothValues) {
  current_.propertyDefs().findName(L"Width")->setValueType(CKdPropertyValue::typeText);
  compare();
  const CKdComparisonItem& width = pair(VxKd::kindPropertyDefs, L"Width");
  EXPECT_EQ(width.itemState, CKdComparisonItem::different);
  ASSERT_EQ(width.fields.size(), 1u);
  EXPECT_EQ(width.fields[0].field, "valueType");
  EXPECT_EQ(width.fields[0].source, "\"int32\"");
  EXPECT_EQ(width.fields[0].current, "\"text\"");
}

TEST_F(ComparisonTest, ReferencesAgreeThroughThePairingWhateverTheIds) {
  // The current dataset holds the same definitions under other ids.
  CKdProject renumbered(current_);
  renumbered.propertyDefs().reset();
  for (int i = current_.propertyDefs().length() - 1; i >= 0; --i) {
    CKdPropertyDef def = *current_.propertyDefs().objAt(i);
    def.setDbId(100 + i);
    renumbered.propertyDefs().append(&def);
  }
  renumbered.dimTextFormats().reset();
  for (int i = 0; i < current_.dimTextFormats().length(); ++i) {
    CKdDimtextFormat format = *current_.dimTextFormats().objAt(i);
    format.setId(50 - i);
    renumbered.dimTextFormats().append(&format);
  }
  CKdProductDef& product = duct(renumbered);
  for (int i = 0; i < product.properties().length(); ++i)
    product.properties().objAt(i)->setDbId(
        renumbered.propertyDefs().findName(product.properties().objAt(i)->name())->dbId());
  product.getIntegratedTexts().objAt(0)->setFormatId(50);
  current_ = renumbered;
  compare();
  EXPECT_EQ(pair(VxKd::kindDuctDefs, L"Rectangular duct").itemState, CKdComparisonItem::equal);

  // Format 49 is "Pipe with note": another format than the source's "Duct size".
  duct(current_).getIntegratedTexts().objAt(0)->setFormatId(49);
  compare();
  const CKdComparisonItem& changed = pair(VxKd::kindDuctDefs, L"Rectangular duct");
  ASSERT_THAT(fieldsOf(changed), ElementsAre("integratedTexts"));
  EXPECT_THAT(changed.fields[0].source, HasSubstr("\"format\":\"Duct size\""));
  EXPECT_THAT(changed.fields[0].current, HasSubstr("\"format\":\"Pipe with note\""));
}

TEST_F(ComparisonTest, AReferenceToAnItemOnlyTheSourceHasDiffers) {
  const CKdLinetypeDef center(L"CENTER", L"", L"A,1.25,-.25,.25,-.25");
  source_.linetypeDefs().append(&center);
  duct(source_).setLineType(L"CENTER");
  duct(current_).setLineType(L"CENTER");  // a name the current dataset has no linetype of
  compare();
  EXPECT_THAT(fieldsOf(pair(VxKd::kindDuctDefs, L"Rectangular duct")), ElementsAre("linetype"));
}

TEST_F(ComparisonTest, PropertySetsCompareByDefinitionAndValueInAnyOrder) {
  CKdPropertyArray& props = duct(current_).properties();
  CKdProperty first = *props.objAt(0);
  props.deleteAt(0);
  props.append(&first);
  compare();
  EXPECT_EQ(pair(VxKd::kindDuctDefs, L"Rectangular duct").itemState, CKdComparisonItem::equal);

  props.findProperty(L"Material")->setValue(L"steel");
  duct(source_).properties().findProperty(L"Material")->setValue(L"Steel");
  compare();
  const CKdComparisonItem& changed = pair(VxKd::kindDuctDefs, L"Rectangular duct");
  ASSERT_THAT(fieldsOf(changed), ElementsAre("properties"));
  EXPECT_THAT(changed.fields[0].source, HasSubstr("\"Material\":\"Steel\""));
  EXPECT_THAT(changed.fields[0].current, HasSubstr("\"Material\":\"steel\""));
}

TEST_F(ComparisonTest, EveryFieldOfAProductCountsButItsId) {
  struct Change {
    const char* field;
    void (*apply)(CKdProductDef&);
  };
  const Change kChanges[] = {
      {"description", [](CKdProductDef& p) { p.setDesc(L"Other"); }},
      {"partIdFormat", [](CKdProductDef& p) { p.setPartIdFmtId(9); }},
      {"color", [](CKdProductDef& p) { p.setColorNmb(2); }},
      {"lineWidth", [](CKdProductDef& p) { p.setLineWidth(0.5f); }},
      {"symbol", [](CKdProductDef& p) { p.setSymbolId("PANEL"); }},
      {"system", [](CKdProductDef& p) { p.setSystemId(3); }},
      {"hpvSystemType", [](CKdProductDef& p) { p.setHpvSystemTypeId(2); }},
      {"integratedTexts",
       [](CKdProductDef& p) { p.getIntegratedTexts().objAt(0)->setRotation(5); }},
      {"properties", [](CKdProductDef& p) { p.properties().deleteAt(0); }},
  };
  for (const Change& change : kChanges) {
    CKdProject current(source_);
    change.apply(duct(current));
    duct(current).setDbId(77);
    comparison_.compare(source_, current);
    const CKdComparisonItem* item = comparison_.findSource(VxKd::kindDuctDefs, 0);
    ASSERT_NE(item, nullptr);
    EXPECT_THAT(fieldsOf(*item), ElementsAre(change.field));
  }
}

TEST_F(ComparisonTest, DefinitionsWithoutGuidPairByDescription) {
  for (CKdProject* p : {&source_, &current_}) duct(*p).setGuid(CKdGuid());
  compare();
  EXPECT_EQ(pair(VxKd::kindDuctDefs, L"Rectangular duct").itemState, CKdComparisonItem::equal);
  EXPECT_EQ(pair(VxKd::kindDuctDefs, L"Rectangular duct").key, "Rectangular duct");

  duct(current_).setGuid(vxkd_test::numberedGuid(7, 7));
  compare();
  EXPECT_EQ(compare().count(VxKd::kindDuctDefs, CKdComparisonItem::onlyInSource), 1)
      << "an item with a GUID is not the same as one without";
}

TEST_F(ComparisonTest, SymbolsPairByTheirExactId) {
  current_.symbols().objAt(0)->setSymbolId("socket");
  compare();
  EXPECT_EQ(compare().count(VxKd::kindSymbols, CKdComparisonItem::onlyInSource), 1);
  EXPECT_EQ(compare().count(VxKd::kindSymbols, CKdComparisonItem::onlyInCurrent), 1);
}

TEST_F(ComparisonTest, JsonListsWhatIsNotEqualWithTheCounts) {
  current_.propertyDefs().findName(L"Height")->setDecimals(3);
  const nlohmann::json j = nlohmann::json::parse(compare().toJson());
  EXPECT_FALSE(j["equal"]);
  EXPECT_EQ(j["counts"]["different"], 1);
  EXPECT_EQ(j["counts"]["equal"], 51);
  const auto& diff = j["kinds"]["propertyDefinitions"][0];
  EXPECT_EQ(diff["state"], "different");
  EXPECT_EQ(diff["key"], "Height");
  EXPECT_EQ(diff["fields"][0],
            (nlohmann::json{{"field", "decimals"}, {"source", 0}, {"current", 3}}));
  EXPECT_TRUE(j["kinds"]["layers"].empty());
}

TEST_F(ComparisonTest, StatesHaveTitlesInTheActiveLanguage) {
  EXPECT_EQ(CKdComparisonItem::stateTitle(CKdComparisonItem::onlyInSource),
            CWsz(L"Only in source"));
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_EQ(CKdComparisonItem::stateTitle(CKdComparisonItem::different), CWsz(L"Verschieden"));
  EXPECT_EQ(VxKd::datasetKindTitle(VxKd::kindLinetypes), CWsz(L"Linientypen"));
}

}  // namespace
