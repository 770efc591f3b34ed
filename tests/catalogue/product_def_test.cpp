#include "vxkd/catalogue/product_def.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

// The fields of a product's record.
constexpr short kGuid = 1503, kDesc = 1502, kSymbol = 1504, kPartIdFmt = 1204, kColor = 1102,
                kLinetype = 1506, kWidth = 1306, kSystem = 1212, kHpvType = 1213, kTexts = 1602,
                kRotations = 1111, kProperties = 1521;

// Ids 1 Width (int32), 2 Height (int32), 3 Diameter (double, 1 decimal), 4 Material (text).
CKdPropertyDefArray sampleDefs() {
  CKdPropertyDefArray defs;
  defs.add(L"Width", L"Duct width", CKdPropertyValue::typeInt32, CKdUnit(CKdUnit::unitMm), 0);
  defs.add(L"Height", L"Duct height", CKdPropertyValue::typeInt32, CKdUnit(CKdUnit::unitMm), 0);
  defs.add(L"Diameter", L"", CKdPropertyValue::typeDoubleReal, CKdUnit(CKdUnit::unitMm), 1);
  defs.add(L"Material", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  return defs;
}

// Appends the property `name` of `defs` with the value `text` to `product`.
void addProperty(CKdProductDef& product, const CKdPropertyDefArray& defs, const wchar_t* name,
                 const wchar_t* text) {
  const CKdPropertyDef* def = defs.findName(name);
  ASSERT_NE(def, nullptr) << "no definition " << CWsz(name).toUtf8();
  CKdProperty property(*def);
  property.setValue(text);
  product.properties().append(&property);
}

CKdProductDef productOf(long id, const wchar_t* desc) {
  CKdProductDef product;
  product.setDbId(id);
  product.setDesc(desc);
  return product;
}

std::string valueOf(const CKdProductDef& product, const wchar_t* name) {
  CWsz value;
  product.getPropertyValue(CWsz(), name, value);
  return value.toUtf8();
}

std::vector<std::string> descriptions(const CKdProductDefArray& products) {
  std::vector<std::string> out;
  for (int i = 0; i < products.length(); ++i) out.push_back(products.objAt(i)->desc().toUtf8());
  return out;
}

std::vector<long> idsOf(const CKdProductDefArray& products) {
  std::vector<long> out;
  for (int i = 0; i < products.length(); ++i) out.push_back(products.idAt(i));
  return out;
}

// Which of the record's scalar and text fields are present in the current record.
std::vector<short> presentFields(const CQbase& db) {
  std::vector<short> present;
  CChBuffer sz;
  CWsz wsz;
  long number = 0;
  short small = 0;
  float real = 0;
  CByteBuffer bytes;
  CInt16Array shorts;
  int count = 0;
  if (db.getSz(kGuid, sz)) present.push_back(kGuid);
  if (db.getWsz(kDesc, wsz)) present.push_back(kDesc);
  if (db.getSz(kSymbol, sz)) present.push_back(kSymbol);
  if (db.getLong(kPartIdFmt, number)) present.push_back(kPartIdFmt);
  if (db.getShort(kColor, small)) present.push_back(kColor);
  if (db.getWsz(kLinetype, wsz)) present.push_back(kLinetype);
  if (db.getFloat(kWidth, real)) present.push_back(kWidth);
  if (db.getLong(kSystem, number)) present.push_back(kSystem);
  if (db.getLong(kHpvType, number)) present.push_back(kHpvType);
  if (db.getBinaryArray(kTexts, bytes, count)) present.push_back(kTexts);
  if (db.getShortArray(kRotations, shorts)) present.push_back(kRotations);
  if (db.getWsz(kProperties, wsz)) present.push_back(kProperties);
  return present;
}

class ProductDefTest : public vxkd_test::TempDatasetTest {
 protected:
  // Stores `product` as a poly-object definition "SD" and reads it back.
  CKdProductDef roundTrip(const CKdProductDef& product) {
    EXPECT_TRUE(product.saveTo(db_, "SD"));
    EXPECT_TRUE(db_.fetchRec("SD", keyOf(product.dbId()).c_str()));
    CKdProductDef back;
    EXPECT_TRUE(back.readAttributesFrom(db_, product.dbId(), defs_));
    return back;
  }
  static std::string keyOf(long id) {
    char key[CKdProductDef::kDbIdSize];
    return CKdProductDef::buildDbId(id, key);
  }

  CKdPropertyDefArray defs_ = sampleDefs();
};

// The scalars of a new product, which init() restores.
void expectDefaultScalars(const CKdProductDef& product) {
  EXPECT_EQ(product.dbId(), 0);
  EXPECT_EQ(product.colorNmb(), 256);
  EXPECT_EQ(product.lineWidth(), 0.0f);
  EXPECT_EQ(product.systemId(), 0);
  EXPECT_EQ(product.hpvSystemTypeId(), -1);
  EXPECT_EQ(product.partIdFmtId(), 0);
  EXPECT_FALSE(product.isModified());
  EXPECT_FALSE(product.isInCurDwg());
  EXPECT_EQ(product.pos(), CGmPoint());
}

TEST(ProductDef, StartsByLayerWithoutSystemTypeAndInitResetsOnlyTheScalars) {
  CKdProductDef product;
  expectDefaultScalars(product);
  EXPECT_FALSE(product.hasSymbol());
  EXPECT_TRUE(product.guid().isNull());

  product.setDbId(4);
  product.setColorNmb(1);
  product.setLineWidth(0.5f);
  product.setSystemId(3);
  product.setHpvSystemTypeId(2);
  product.setPartIdFmt(6, L"{Width}");
  product.setIsModified(true);
  product.setIsInCurDwg(true);
  product.setPos(CGmPoint(1, 2, 3));
  product.setDesc(L"Kept");
  product.setSymbolId("SOCKET");
  product.init();
  expectDefaultScalars(product);
  EXPECT_EQ(product.desc(), L"Kept");
  EXPECT_STREQ(product.symbolId(), "SOCKET");
}

TEST(ProductDef, SymbolIdsAreCutToNinetyNineBytes) {
  CKdProductDef product;
  product.setSymbolId(std::string(120, 'S').c_str());
  EXPECT_EQ(std::string(product.symbolId()), std::string(99, 'S'));
  product.setSymbolId("");
  EXPECT_FALSE(product.hasSymbol());
}

TEST(ProductDef, KeysAreSixDigitsAloneOrSixAndFourInAGroup) {
  char key[CKdProductDef::kDbIdSize];
  EXPECT_STREQ(CKdProductDef::buildDbId(12, 7, key), "0000120007");
  EXPECT_STREQ(CKdProductDef::buildDbId(7, key), "000007");
  EXPECT_STREQ(CKdProductDef::buildDbId(-2147483647L - 1, 99999, key), "-214748364899999");
}

TEST_F(ProductDefTest, ADefaultProductWritesOnlyItsGuidAndDescriptionBesideTextsAndProperties) {
  CKdProductDef product = productOf(7, L"Duct");
  CKdIntegratedText text;
  text.setFormatId(3);
  product.getIntegratedTexts().append(&text);
  addProperty(product, defs_, L"Width", L"400");
  ASSERT_TRUE(product.saveTo(db_, "SD"));
  ASSERT_TRUE(db_.fetchRec("SD", "000007"));
  EXPECT_EQ(presentFields(db_),
            (std::vector<short>{kGuid, kDesc, kTexts, kRotations, kProperties}));

  CKdProductDef back;
  back.setColorNmb(1);  // the reader must not keep what the object held
  back.setHpvSystemTypeId(9);
  ASSERT_TRUE(back.readAttributesFrom(db_, 7, defs_));
  EXPECT_EQ(back.colorNmb(), 256);
  EXPECT_EQ(back.hpvSystemTypeId(), -1);
  EXPECT_EQ(back.dbId(), 7);
  EXPECT_EQ(back.desc(), L"Duct");
  EXPECT_EQ(back.getIntegratedTexts().length(), 1);
  EXPECT_EQ(valueOf(back, L"Width"), "400");
}

// One field away from its default, and whether it is written.
struct FieldCase {
  const char* name;
  std::function<void(CKdProductDef&)> set;
  std::vector<short> written;  // besides the GUID
};
void PrintTo(const FieldCase& c, std::ostream* os) { *os << c.name; }

class ProductFieldTest : public ProductDefTest, public ::testing::WithParamInterface<FieldCase> {};

TEST_P(ProductFieldTest, IsWrittenOnlyWhenItDiffersFromItsDefault) {
  CKdProductDef product = productOf(9, L"");
  GetParam().set(product);
  ASSERT_TRUE(product.saveTo(db_, "SA"));
  ASSERT_TRUE(db_.fetchRec("SA", "000009"));
  std::vector<short> expected = {kGuid};
  expected.insert(expected.end(), GetParam().written.begin(), GetParam().written.end());
  EXPECT_EQ(presentFields(db_), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, ProductFieldTest,
    ::testing::Values(
        FieldCase{"Nothing", [](CKdProductDef&) {}, {}},
        FieldCase{"TinyWidth", [](CKdProductDef& p) { p.setLineWidth(0.0000005f); }, {}},
        FieldCase{"NegativeWidth", [](CKdProductDef& p) { p.setLineWidth(-1.0f); }, {}},
        FieldCase{"SmallWidth", [](CKdProductDef& p) { p.setLineWidth(0.000002f); }, {kWidth}},
        FieldCase{"Colour0", [](CKdProductDef& p) { p.setColorNmb(0); }, {kColor}},
        FieldCase{"Colour255", [](CKdProductDef& p) { p.setColorNmb(255); }, {kColor}},
        FieldCase{"Symbol", [](CKdProductDef& p) { p.setSymbolId("S"); }, {kSymbol}},
        FieldCase{"PartIdFormat", [](CKdProductDef& p) { p.setPartIdFmtId(1); }, {kPartIdFmt}},
        FieldCase{"NoPartIdFormat", [](CKdProductDef& p) { p.setPartIdFmtId(-3); }, {}},
        FieldCase{"Linetype", [](CKdProductDef& p) { p.setLineType(L"DASHED"); }, {kLinetype}},
        FieldCase{"System", [](CKdProductDef& p) { p.setSystemId(1); }, {kSystem}},
        FieldCase{"NegativeSystem", [](CKdProductDef& p) { p.setSystemId(-1); }, {}},
        FieldCase{"HpvType0", [](CKdProductDef& p) { p.setHpvSystemTypeId(0); }, {kHpvType}},
        FieldCase{"HpvTypeMinus2", [](CKdProductDef& p) { p.setHpvSystemTypeId(-2); }, {kHpvType}},
        FieldCase{"RuntimeOnly",
                  [](CKdProductDef& p) {
                    p.setPartId(L"D-1");
                    p.setPartIdFmt(0, L"{Width}");
                    p.setIsModified(true);
                    p.setIsInCurDwg(true);
                    p.setPos(CGmPoint(1, 2));
                  },
                  {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(ProductDefTest, ATinyWidthReadsBackAsNoWidth) {
  CKdProductDef product = productOf(3, L"Thin");
  product.setLineWidth(0.0000005f);
  EXPECT_EQ(roundTrip(product).lineWidth(), 0.0f);
}

TEST_F(ProductDefTest, EveryStoredFieldRoundTripsAndRuntimeFieldsDoNot) {
  CKdProductDef product = productOf(42, L"Rectangular duct Ø 400");
  CKdGuid guid("3F2504E0-4F89-11D3-9A0C-0305E82C3301");
  product.setGuid(guid);
  product.setSymbolId("DUCT-Ä");
  product.setPartIdFmt(5, L"{Width}x{Height}");
  product.setPartId(L"D-400");
  product.setColorNmb(30);
  product.setLineType(L"DASHED");
  product.setLineWidth(0.35f);
  product.setSystemId(12);
  product.setHpvSystemTypeId(4);
  product.setIsModified(true);
  product.setPos(CGmPoint(5, 6));
  CKdIntegratedText a(sddimtextreftype{2, 1.5f, -2.0f, 1}, 90);
  CKdIntegratedText b(sddimtextreftype{7, 0.0f, 5.0f, 0}, 0);
  product.getIntegratedTexts().append(&a);
  product.getIntegratedTexts().append(&b);
  addProperty(product, defs_, L"Width", L"400");
  addProperty(product, defs_, L"Diameter", L"60,26");
  addProperty(product, defs_, L"Material", L"Steel; galvanised");
  addProperty(product, defs_, L"Height", L"");

  CKdProductDef back = roundTrip(product);
  EXPECT_EQ(back.dbId(), 42);
  EXPECT_EQ(back.guid(), guid);
  EXPECT_EQ(back.desc(), product.desc());
  EXPECT_STREQ(back.symbolId(), "DUCT-Ä");
  EXPECT_EQ(back.partIdFmtId(), 5);
  EXPECT_EQ(back.colorNmb(), 30);
  EXPECT_EQ(back.lineType(), L"DASHED");
  EXPECT_FLOAT_EQ(back.lineWidth(), 0.35f);
  EXPECT_EQ(back.systemId(), 12);
  EXPECT_EQ(back.hpvSystemTypeId(), 4);
  ASSERT_EQ(back.getIntegratedTexts().length(), 2);
  EXPECT_EQ(*back.getIntegratedTexts().objAt(0), a);
  EXPECT_EQ(*back.getIntegratedTexts().objAt(1), b);
  ASSERT_EQ(back.properties().length(), 4);
  EXPECT_EQ(valueOf(back, L"Width"), "400");
  EXPECT_EQ(valueOf(back, L"Diameter"), "60.3") << "stored as printed, with 1 decimal";
  EXPECT_EQ(valueOf(back, L"Material"), "Steel; galvanised");
  EXPECT_FALSE(back.properties().findProperty(L"Height")->hasValue());
  // Not stored.
  EXPECT_TRUE(back.partId().isEmpty());
  EXPECT_TRUE(back.partIdFmt().isEmpty());
  EXPECT_FALSE(back.isModified());
  EXPECT_EQ(back.pos(), CGmPoint());
}

TEST_F(ProductDefTest, PropertiesWithoutADefinitionAreDroppedOnReading) {
  CKdProductDef product = productOf(1, L"Pipe");
  addProperty(product, defs_, L"Width", L"1");
  addProperty(product, defs_, L"Material", L"Cu");
  CKdPropertyDefArray fewer = defs_;
  fewer.deleteAt(fewer.indexOfName(L"Width"));
  ASSERT_TRUE(product.saveTo(db_, "SP"));
  ASSERT_TRUE(db_.fetchRec("SP", "000001"));
  CKdProductDef back;
  ASSERT_TRUE(back.readAttributesFrom(db_, 1, fewer));
  ASSERT_EQ(back.properties().length(), 1);
  EXPECT_EQ(back.properties().objAt(0)->name(), L"Material");
}

struct KeyCase {
  const char* key;
  bool parses;
  long group;
  long product;
};
void PrintTo(const KeyCase& c, std::ostream* os) { *os << c.key; }

class ParseDbIdTest : public vxkd_test::TempDatasetTest,
                      public ::testing::WithParamInterface<KeyCase> {};

TEST_P(ParseDbIdTest, SplitsSixDigitsOfGroupFromTheProductId) {
  ASSERT_TRUE(db_.createRec("PD", GetParam().key));
  ASSERT_TRUE(db_.saveRec());
  ASSERT_TRUE(db_.fetchRec("PD", GetParam().key));
  long group = -5, product = -5;
  EXPECT_EQ(CKdProductDef::parseDbId(db_, group, product), GetParam().parses);
  EXPECT_EQ(group, GetParam().group);
  EXPECT_EQ(product, GetParam().product);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, ParseDbIdTest,
    ::testing::Values(KeyCase{"0000120007", true, 12, 7}, KeyCase{"9999999999", true, 999999, 9999},
                      KeyCase{"0000000007", false, 0, 0}, KeyCase{"0000120000", false, 0, 0},
                      KeyCase{"000012", false, 0, 0}, KeyCase{"0000127", true, 12, 7},
                      KeyCase{"000012abcd", false, 0, 0}, KeyCase{"x000120007", false, 0, 0}));

TEST_F(ProductDefTest, ParseDbIdFailsWithoutACurrentRecord) {
  long group = 3, product = 3;
  EXPECT_FALSE(CKdProductDef::parseDbId(db_, group, product));
  EXPECT_EQ(group, 0);
  EXPECT_EQ(product, 0);
}

TEST_F(ProductDefTest, GroupProductsUseTheTenDigitKeyAndDeleteByIt) {
  CKdProductDef product = productOf(7, L"Lamp");
  ASSERT_TRUE(product.saveTo(db_, "PD", 12));
  EXPECT_TRUE(db_.fetchRec("PD", "0000120007"));
  EXPECT_FALSE(product.saveTo(db_, "SD", 12)) << "ten digits do not fit a six-digit key";
  EXPECT_FALSE(productOf(10000, L"").saveTo(db_, "PD", 12)) << "four digits of product";
  EXPECT_FALSE(product.saveTo(db_, "XX")) << "no such record";

  EXPECT_TRUE(product.deleteFrom(db_, 12));
  EXPECT_FALSE(db_.fetchRec("PD", "0000120007"));
  EXPECT_FALSE(product.deleteFrom(db_, 12));

  ASSERT_TRUE(product.saveTo(db_, "SE"));
  EXPECT_TRUE(product.deleteFrom(db_, "SE"));
  EXPECT_FALSE(db_.fetchRec("SE", "000007"));
}

TEST(ProductDefValue, ReservedNamesInAnyCaseGiveTheProductsOwnFields) {
  CKdProductDef product = productOf(1, L"Cable tray");
  product.setPartId(L"CT-100");
  CKdGuid guid("00000000-0000-0000-0000-0000000000aa");
  product.setGuid(guid);
  CKdPropertyDefArray defs = sampleDefs();
  addProperty(product, defs, L"Diameter", L"12.345");
  addProperty(product, defs, L"Height", L"");

  const struct {
    const wchar_t* name;
    bool found;
    const char* value;
  } kCases[] = {
      {L"*desc*", true, "Cable tray"},
      {L"*DESC*", true, "Cable tray"},
      {L"*PartId*", true, "CT-100"},
      {L"*TYPEGUID*", true, "00000000-0000-0000-0000-0000000000AA"},
      {L"diameter", true, "12.3"},
      {L"Height", true, ""},
      {L"Width", false, ""},
      {L"*SYSNAME*", false, ""},
      {L"DESC", false, ""},
  };
  for (const auto& c : kCases) {
    CWsz value(L"old");
    EXPECT_EQ(product.getPropertyValue(CWsz(), c.name, value), c.found) << CWsz(c.name).toUtf8();
    EXPECT_EQ(value.toUtf8(), c.value) << CWsz(c.name).toUtf8();
  }
  CWsz value(L"old");
  EXPECT_FALSE(product.getPropertyValue(CWsz(), nullptr, value));
  EXPECT_TRUE(value.isEmpty());
}

// The companion application's systems: it knows "*SYSNAME*" of system 4 and, to show who is
// asked first, "Diameter" of every system.
class FakeSystems : public iHpvSystemProperties {
 public:
  bool getPropertyValue(const CWsz& context, long systemId, HpvSystems::TypeId typeId,
                        const wchar_t* name, CWsz& value) const override {
    asked.push_back(context.toUtf8() + "|" + std::to_string(systemId) + "|" +
                    std::to_string(typeId) + "|" + CWsz(name).toUtf8());
    if (systemId == 4 && cuSz::equalNoCase(name, L"*SYSNAME*")) {
      value = L"Supply air 1";
      return true;
    }
    if (cuSz::equalNoCase(name, L"Diameter")) {
      value = L"from the system";
      return true;
    }
    value = L"rubbish left behind";
    return false;
  }
  mutable std::vector<std::string> asked;
};

class ScopedSystems {
 public:
  explicit ScopedSystems(iHpvSystemProperties* source)
      : previous_(HpvSystems::setPropertySource(source)) {}
  ~ScopedSystems() { HpvSystems::setPropertySource(previous_); }

 private:
  iHpvSystemProperties* previous_;
};

TEST(ProductDefValue, SystemPropertiesAreAskedBeforeTheProductsOwn) {
  FakeSystems systems;
  ScopedSystems installed(&systems);
  CKdProductDef product = productOf(1, L"Duct");
  product.setSystemId(4);
  product.setHpvSystemTypeId(2);
  CKdPropertyDefArray defs = sampleDefs();
  addProperty(product, defs, L"Diameter", L"100");
  addProperty(product, defs, L"Width", L"5");

  CWsz value;
  EXPECT_TRUE(product.getPropertyValue(CWsz(L"plan.dwg"), L"*sysname*", value));
  EXPECT_EQ(value, L"Supply air 1");
  EXPECT_EQ(systems.asked.back(), "plan.dwg|4|2|*sysname*");
  EXPECT_TRUE(product.getPropertyValue(CWsz(), L"Diameter", value));
  EXPECT_EQ(value, L"from the system");
  EXPECT_TRUE(product.getPropertyValue(CWsz(), L"Width", value));
  EXPECT_EQ(value, L"5") << "what the source did not know, with nothing of its left";
  systems.asked.clear();
  EXPECT_TRUE(product.getPropertyValue(CWsz(), L"*DESC*", value));
  EXPECT_TRUE(systems.asked.empty()) << "the reserved names are the product's own";

  product.setSystemId(5);
  EXPECT_FALSE(product.getPropertyValue(CWsz(), L"*SYSNAME*", value));
  EXPECT_TRUE(value.isEmpty());
}

TEST(ProductDefValue, AddStdPropertyAppendsTheSpecialDefinitionWithItsValue) {
  FakeSystems systems;
  ScopedSystems installed(&systems);
  CKdProductDef product = productOf(1, L"Duct 400");
  product.setSystemId(4);
  CKdPropertyArray out;
  product.addStdPropertyTo(CWsz(), L"*desc*", out);
  product.addStdPropertyTo(CWsz(), L"*SYSNAME*", out);
  product.addStdPropertyTo(CWsz(), L"*PARTID*", out);  // empty: nothing
  product.addStdPropertyTo(CWsz(), L"Diameter", out);  // found, but no special property
  product.addStdPropertyTo(CWsz(), L"*COUNT*", out);   // special, but no value
  ASSERT_EQ(out.length(), 2);
  const CKdProperty* desc = out.objAt(0);
  EXPECT_EQ(desc->dbId(), -4);
  EXPECT_TRUE(desc->name().isEqualNoCase(L"*DESC*")) << desc->name().toUtf8();
  EXPECT_EQ(desc->valueType(), CKdPropertyValue::typeText);
  EXPECT_EQ(desc->getValueAsText(false), L"Duct 400");
  EXPECT_EQ(out.objAt(1)->dbId(), -17);
  EXPECT_EQ(out.objAt(1)->getValueAsText(false), L"Supply air 1");
}

TEST(ProductDefArray, ClassIdNamesTheRecordAndCopiesKeepOrTakeItOnPurpose) {
  CKdProductDefArray group;
  EXPECT_STREQ(group.classId(), "PD");
  CKdProductDefArray ducts("SD");
  EXPECT_STREQ(ducts.classId(), "SD");
  ducts.setClassId("SPX");
  EXPECT_STREQ(ducts.classId(), "SP") << "two characters";
  ducts.setClassId("SD");

  CKdProductDef p = productOf(1, L"B");
  ducts.append(&p);
  ducts.sortByProperty(L"Width", 1);
  CKdProductDefArray copy(ducts);
  EXPECT_STREQ(copy.classId(), "SD");
  EXPECT_EQ(copy.sortPropertyName(), L"Width");
  EXPECT_EQ(copy.sortId(), 99);
  EXPECT_EQ(descriptions(copy), descriptions(ducts));

  group.copyFrom(ducts);
  EXPECT_STREQ(group.classId(), "PD") << "copyFrom keeps where the array is stored";
  EXPECT_EQ(descriptions(group), std::vector<std::string>{"B"});
  EXPECT_EQ(group.sortPropertyName(), L"Width");
  group.objAt(0)->setDesc(L"changed");
  EXPECT_EQ(ducts.objAt(0)->desc(), L"B") << "members are copied, not shared";

  CKdProductDefArray assigned("SA");
  assigned = ducts;
  EXPECT_STREQ(assigned.classId(), "SD");
  EXPECT_EQ(assigned.length(), 1);
}

TEST(ProductDefArray, FindsByGuidButNeverTheNullGuid) {
  CKdProductDefArray products("SD");
  CKdProductDef unidentified = productOf(1, L"No GUID");
  products.append(&unidentified);
  CKdGuid a("11111111-2222-3333-4444-555555555555");
  CKdGuid b("11111111-2222-3333-4444-666666666666");
  CKdProductDef first = productOf(2, L"A");
  first.setGuid(a);
  CKdProductDef second = productOf(3, L"A again");
  second.setGuid(a);
  products.append(&first);
  products.append(&second);

  EXPECT_EQ(products.findProductIndex(a), 1);
  EXPECT_EQ(products.findProduct(a)->desc(), L"A");
  EXPECT_EQ(products.findProductIndex(b), -1);
  EXPECT_EQ(products.findProduct(b), nullptr);
  EXPECT_EQ(products.findProductIndex(CKdGuid()), -1);
  EXPECT_EQ(products.findProduct(CKdGuid()), nullptr);
}

TEST(ProductDefArray, NamesAreDescriptionsAndTheSortKeysAreDescriptionAndPartId) {
  CKdProductDefArray products("SD");
  const struct {
    const wchar_t* desc;
    const wchar_t* partId;
  } kProducts[] = {{L"beta", L"P2"}, {L"Alpha", L"p3"}, {L"gamma", L"P1"}};
  for (const auto& k : kProducts) {
    CKdProductDef p = productOf(1, k.desc);
    p.setPartId(k.partId);
    products.append(&p);
  }
  EXPECT_STREQ(products.nameAt(1), L"Alpha");
  EXPECT_STREQ(products.descriptionAt(1), L"Alpha");
  EXPECT_EQ(products.findName(L"ALPHA"), products.objAt(1));

  products.sort(CKdProductDefArray::sortByDescription);
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"Alpha", "beta", "gamma"}));
  products.sort(-CKdProductDefArray::sortByPartId);
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"Alpha", "beta", "gamma"}));
  products.sort(CKdProductDefArray::sortByPartId);
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"gamma", "beta", "Alpha"}));
  products.sort(3);
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"gamma", "beta", "Alpha"}));
}

CKdProductDefArray productsWithWidths(const std::vector<const wchar_t*>& widths) {
  CKdPropertyDefArray defs = sampleDefs();
  CKdProductDefArray products("SD");
  for (const wchar_t* width : widths) {
    CKdProductDef p = productOf(1, width ? width : L"none");
    if (width) addProperty(p, defs, L"Width", width);
    products.append(&p);
  }
  return products;
}

TEST(ProductDefArray, SortsByAPropertyInNaturalOrder) {
  CKdProductDefArray products = productsWithWidths({L"10", L"9", L"2"});
  products.sortByProperty(L"width", 1);
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"2", "9", "10"}));
  EXPECT_EQ(products.sortId(), 99);
  products.sortByProperty(L"Width", -1);
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"10", "9", "2"}));
  EXPECT_EQ(products.sortId(), -99);

  // The name stays with the array: sorting again by the current sort id uses it.
  products.updateSortId(99);
  products.sortByCurrentSortId();
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"2", "9", "10"}));
  // And with nobody else: another array sorted by another property does not change it.
  CKdProductDefArray others = productsWithWidths({L"1"});
  others.sortByProperty(L"Height", 1);
  products.sort(-99);
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"10", "9", "2"}));

  products.sortByProperty(L"Width", 0);
  EXPECT_EQ(products.sortId(), 0);
  EXPECT_EQ(descriptions(products), (std::vector<std::string>{"10", "9", "2"}));
}

TEST(ProductDefArray, SortingByPropertyPutsProductsWithoutItFirstAndHandlesLongLists) {
  // More than eleven products: the sort inserts by binary search.
  std::vector<const wchar_t*> widths = {L"120", L"7",  nullptr, L"35", L"1000", L"8",
                                        L"64",  L"12", L"5",    L"99", L"101",  L"3",
                                        L"40",  L"9",  L"11",   L"2",  L"70",   L"10"};
  CKdProductDefArray products = productsWithWidths(widths);
  products.sortByProperty(L"Width", 1);
  EXPECT_EQ(descriptions(products),
            (std::vector<std::string>{"none", "2", "3", "5", "7", "8", "9", "10", "11", "12", "35",
                                      "40", "64", "70", "99", "101", "120", "1000"}));
}

TEST(ProductDefArray, AssignFreeIdsGivesIdsToWhatNoKeyCouldHoldAndToLaterDuplicates) {
  CKdProductDefArray products("SD");
  for (long id : {0L, 5L, 5L, 1000000L, 3L, -4L}) {
    CKdProductDef p = productOf(id, L"");
    products.append(&p);
  }
  EXPECT_EQ(products.assignFreeIds(CKdProductDefArray::kMaxId), 4);
  EXPECT_EQ(idsOf(products), (std::vector<long>{1, 5, 2, 4, 3, 6}));
  EXPECT_EQ(products.assignFreeIds(CKdProductDefArray::kMaxId), 0) << "nothing left to do";

  CKdProductDefArray full("PD");
  for (long id : {1L, 2L, 0L}) {
    CKdProductDef p = productOf(id, L"");
    full.append(&p);
  }
  EXPECT_EQ(full.assignFreeIds(2), 0);
  EXPECT_EQ(idsOf(full), (std::vector<long>{1, 2, 0}));
}

TEST_F(ProductDefTest, ArraysWriteUnderTheirClassIdAndReadOnlyUsableRecordsSorted) {
  CKdProductDefArray pipes("SP");
  for (auto [id, desc] :
       {std::pair{3L, L"copper"}, std::pair{1L, L"Steel"}, std::pair{2L, L"cast iron"}}) {
    CKdProductDef p = productOf(id, desc);
    addProperty(p, defs_, L"Diameter", L"54");
    pipes.append(&p);
  }
  ASSERT_TRUE(pipes.saveTo(db_, -1));
  // Records the reader skips: a key that is no number, id 0, and another set's record.
  for (const char* key : {"abc", "000000"}) {
    ASSERT_TRUE(db_.createRec("SP", key));
    ASSERT_TRUE(db_.saveRec());
  }
  CKdProductDef duct = productOf(4, L"duct");
  ASSERT_TRUE(duct.saveTo(db_, "SD"));

  CKdProductDefArray back("SP");
  CKdProductDef stale = productOf(9, L"stale");
  back.append(&stale);
  ASSERT_TRUE(back.readFrom(db_, defs_));
  EXPECT_EQ(descriptions(back), (std::vector<std::string>{"cast iron", "copper", "Steel"}));
  EXPECT_EQ(idsOf(back), (std::vector<long>{2, 3, 1}));
  EXPECT_EQ(back.sortId(), CKdProductDefArray::sortByDescription);
  EXPECT_EQ(valueOf(*back.objAt(0), L"Diameter"), "54.0");
}

TEST_F(ProductDefTest, ArraySaveGoesOnAfterAFailedRecordAndReportsIt) {
  CKdProductDefArray ducts("SD");
  for (long id : {1L, 1234567L, 2L}) {
    CKdProductDef p = productOf(id, L"d");
    ducts.append(&p);
  }
  EXPECT_FALSE(ducts.saveTo(db_, -1));
  EXPECT_TRUE(db_.fetchRec("SD", "000001"));
  EXPECT_TRUE(db_.fetchRec("SD", "000002"));
  ducts.deleteAt(1);
  EXPECT_TRUE(ducts.saveTo(db_, -1));
}

// A definition changed from one type to another, and what the products' values become.
struct RetypeCase {
  const char* name;
  CKdPropertyValue::valueTypeId from;
  int fromDecimals;
  const wchar_t* value;
  CKdPropertyValue::valueTypeId to;
  int toDecimals;
  const char* printed;  // the value printed after the change
};
void PrintTo(const RetypeCase& c, std::ostream* os) { *os << c.name; }

class RetypeTest : public vxkd_test::TempDatasetTest,
                   public ::testing::WithParamInterface<RetypeCase> {};

TEST_P(RetypeTest, AProductsValueIsWhatReadingItBackUnderTheNewDefinitionGives) {
  const RetypeCase& c = GetParam();
  CKdPropertyDefArray defs;
  defs.add(L"Size", L"old", c.from, CKdUnit(CKdUnit::unitMm), c.fromDecimals);
  CKdProductDef product = productOf(1, L"p");
  addProperty(product, defs, L"Size", c.value);
  ASSERT_TRUE(product.saveTo(db_, "SD"));

  CKdPropertyDef changed = *defs.objAt(0);
  changed.setName(L"Breite");
  changed.setDesc(L"new");
  changed.setValueType(c.to);
  changed.setDecimals(c.toDecimals);
  changed.setUnit(CKdUnit(CKdUnit::unitM));
  ASSERT_TRUE(product.updatePropertyDefModification(changed));
  const CKdProperty* p = product.properties().findProperty(L"Breite");
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->dbId(), changed.dbId());
  EXPECT_EQ(p->desc(), L"new");
  EXPECT_EQ(p->valueType(), c.to);
  EXPECT_EQ(p->value().typeId(), c.to);
  EXPECT_EQ(p->decimals(), c.toDecimals);
  EXPECT_EQ(p->unit().id(), CKdUnit::unitM);
  EXPECT_EQ(p->getValueAsText(false).toUtf8(), c.printed);

  CKdPropertyDefArray newDefs;
  newDefs.append(&changed);
  ASSERT_TRUE(db_.fetchRec("SD", "000001"));
  CKdProductDef reread;
  ASSERT_TRUE(reread.readAttributesFrom(db_, 1, newDefs));
  EXPECT_EQ(reread.properties().objAt(0)->getValueAsText(false).toUtf8(), c.printed);
}

INSTANTIATE_TEST_SUITE_P(
    Types, RetypeTest,
    ::testing::Values(RetypeCase{"SameType", CKdPropertyValue::typeInt32, 0, L"400",
                                 CKdPropertyValue::typeInt32, 0, "400"},
                      RetypeCase{"IntToDouble", CKdPropertyValue::typeInt32, 0, L"400",
                                 CKdPropertyValue::typeDoubleReal, 2, "400.00"},
                      RetypeCase{"DoubleToInt", CKdPropertyValue::typeDoubleReal, 1, L"12.86",
                                 CKdPropertyValue::typeInt32, 0, "12"},
                      RetypeCase{"TextToInt16", CKdPropertyValue::typeText, 0, L"75 mm",
                                 CKdPropertyValue::typeInt16, 0, "75"},
                      RetypeCase{"NumberToText", CKdPropertyValue::typeSingleReal, 2, L"1.5",
                                 CKdPropertyValue::typeText, 0, "1.50"},
                      RetypeCase{"NoValue", CKdPropertyValue::typeText, 0, L"",
                                 CKdPropertyValue::typeInt32, 0, ""}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ProductDefArray, AChangedDefinitionReachesEveryProductsCopyByIdOrName) {
  CKdPropertyDefArray defs = sampleDefs();
  CKdProductDefArray products("SD");
  CKdProductDef withWidth = productOf(1, L"a");
  addProperty(withWidth, defs, L"Width", L"300");
  CKdProductDef without = productOf(2, L"b");
  addProperty(without, defs, L"Height", L"50");
  CKdProductDef staleId = productOf(3, L"c");
  addProperty(staleId, defs, L"Width", L"200");
  staleId.properties().objAt(0)->setDbId(77);  // a copy made under an older id
  for (const CKdProductDef* p : {&withWidth, &without, &staleId}) products.append(p);

  CKdPropertyDef renamed = *defs.findName(L"Width");
  renamed.setName(L"Breite");
  products.updatePropertyDefModification(renamed);
  EXPECT_EQ(products.objAt(0)->properties().objAt(0)->name(), L"Breite");
  EXPECT_EQ(valueOf(*products.objAt(0), L"Breite"), "300");
  EXPECT_EQ(products.objAt(1)->properties().length(), 1);
  EXPECT_EQ(products.objAt(1)->properties().objAt(0)->name(), L"Height");
  // Found by the old name, as nothing holds its id.
  EXPECT_EQ(products.objAt(2)->properties().objAt(0)->name(), L"Width");
  CKdPropertyDef widthAgain = *defs.findName(L"Width");
  widthAgain.setDesc(L"changed");
  products.updatePropertyDefModification(widthAgain);
  EXPECT_EQ(products.objAt(2)->properties().objAt(0)->dbId(), widthAgain.dbId());
  EXPECT_EQ(products.objAt(2)->properties().objAt(0)->desc(), L"changed");
}

class ProductUsersTest : public vxkd_test::TextsUiTest {
 protected:
  void SetUp() override {
    vxkd_test::TextsUiTest::SetUp();
    CKdProductDef duct = productOf(1, L"Duct 400");
    addProperty(duct, defs_, L"Width", L"400");
    duct.setLineType(L"Dashed");
    CKdIntegratedText text;
    text.setFormatId(2);
    duct.getIntegratedTexts().append(&text);
    CKdProductDef pipe = productOf(2, L"Pipe");
    addProperty(pipe, defs_, L"Material", L"Cu");
    pipe.getIntegratedTexts().append(&text);
    CKdProductDef plain = productOf(3, L"Plain");
    products_.append(&duct);
    products_.append(&pipe);
    products_.append(&plain);
  }

  CKdPropertyDefArray defs_ = sampleDefs();
  CKdProductDefArray products_{"SD"};
};

TEST_F(ProductUsersTest, ProductsUsePropertiesFormatsAndLinetypesTheyName) {
  const iKdPropertyDefUser& propertyUser = products_;
  EXPECT_EQ(propertyUser.propertyDefUsageKind(), iKdPropertyDefUser::productDefinitions);
  EXPECT_TRUE(propertyUser.usesPropertyDef(1));
  EXPECT_TRUE(propertyUser.usesPropertyDef(4));
  EXPECT_FALSE(propertyUser.usesPropertyDef(2));
  EXPECT_FALSE(propertyUser.usesPropertyDef(0));

  const iKdDimtextFormatUser& formatUser = products_;
  EXPECT_EQ(formatUser.dimtextFormatUsageKind(), iKdDimtextFormatUser::productDefinitions);
  CWszArray items;
  items.append(L"earlier");
  EXPECT_TRUE(formatUser.usesDimtextFormat(2, items));
  EXPECT_EQ(items.join(L"|"), L"earlier|Duct 400|Pipe");
  items.empty();
  EXPECT_FALSE(formatUser.usesDimtextFormat(-1, items));
  EXPECT_TRUE(items.isEmpty());

  const iKdLinetypeUser& linetypeUser = products_;
  EXPECT_EQ(linetypeUser.linetypeUsageKind(), iKdLinetypeUser::productDefinitions);
  EXPECT_TRUE(linetypeUser.usesLinetype(L"DASHED"));
  EXPECT_FALSE(linetypeUser.usesLinetype(L"CONTINUOUS"));
  EXPECT_FALSE(linetypeUser.usesLinetype(L"")) << "no linetype is not a linetype in use";
}

TEST_F(ProductUsersTest, DeletingWhatProductsUseIsRefused) {
  EXPECT_FALSE(defs_.deleteUnused(nullptr, {0, 1}, {&products_}));
  EXPECT_NE(defs_.findName(L"Width"), nullptr);
  EXPECT_EQ(defs_.findName(L"Height"), nullptr);
  EXPECT_NE(ui_.lastBox().text.find(L"Product definitions"), std::wstring::npos);

  CKdDimtextFormatArray formats;
  for (long id : {1L, 2L}) {
    CKdDimtextFormat f;
    f.setId(id);
    formats.append(&f);
  }
  EXPECT_FALSE(formats.deleteUnused(nullptr, {0, 1}, {&products_}));
  ASSERT_EQ(formats.length(), 1);
  EXPECT_EQ(formats.idAt(0), 2);

  CKdLinetypeDefArray linetypes;
  CKdLinetypeDef dashed(L"DASHED", L"", L"A,.5,-.25");
  CKdLinetypeDef dotted(L"DOTTED", L"", L"A,0,-.25");
  linetypes.append(&dashed);
  linetypes.append(&dotted);
  EXPECT_FALSE(linetypes.deleteUnused(nullptr, {1, 2}, {&products_}));
  EXPECT_NE(linetypes.findName(L"DASHED"), nullptr);
  EXPECT_EQ(linetypes.findName(L"DOTTED"), nullptr);
}

}  // namespace
