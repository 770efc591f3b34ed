#include "vxkd/catalogue/part_id_format.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/qbase.h"

using namespace cuWin;

namespace {

constexpr short kGuid = 1503, kDesc = 1502, kFormat = 1505;

CKdPartIdFormatArray threeFormats() {
  CKdPartIdFormatArray formats;
  for (const CKdPartIdFormat& f :
       {CKdPartIdFormat(4, L"Ducts", L"D{Width}"), CKdPartIdFormat(9, L"pipes", L"P{Diameter}"),
        CKdPartIdFormat(2, L"Cables", L"C")})
    formats.append(&f);
  return formats;
}

class PartIdFormatFileTest : public vxkd_test::TempDatasetTest {};

TEST_F(PartIdFormatFileTest, FormatsComeBackFromTheirRecords) {
  CKdPartIdFormatArray formats = threeFormats();
  CKdGuid guid;
  guid.createValue();
  formats.objAt(0)->setGuid(guid);
  CKdPartIdFormat empty(5, L"", L"");
  formats.append(&empty);
  ASSERT_TRUE(formats.saveTo(db_));

  ASSERT_TRUE(db_.fetchRec("PI", "000005"));
  CWsz text;
  CChBuffer narrow;
  EXPECT_TRUE(db_.getSz(kGuid, narrow)) << "the GUID is always written";
  EXPECT_FALSE(db_.getWsz(kDesc, text));
  EXPECT_FALSE(db_.getWsz(kFormat, text)) << "no template, no field";

  CKdPartIdFormatArray back;
  ASSERT_TRUE(back.readFrom(db_));
  ASSERT_EQ(back.length(), 4);
  EXPECT_EQ(back.idAt(0), 2) << "in key order";
  const CKdPartIdFormat* ducts = back.findId(4);
  ASSERT_NE(ducts, nullptr);
  EXPECT_EQ(ducts->guid(), guid);
  EXPECT_EQ(ducts->desc(), CWsz(L"Ducts"));
  EXPECT_EQ(ducts->format(), CWsz(L"D{Width}"));
  EXPECT_TRUE(back.findId(5)->format().isEmpty());

  ASSERT_TRUE(back.findId(9)->deleteFrom(db_));
  EXPECT_FALSE(back.findId(9)->deleteFrom(db_));
}

TEST_F(PartIdFormatFileTest, RecordsWithoutAnIdAreSkipped) {
  for (const char* key : {"000000", "abc", "000003"}) {
    ASSERT_TRUE(db_.createRec("PI", key));
    ASSERT_TRUE(db_.saveRec());
  }
  CKdPartIdFormatArray back;
  back.readFrom(db_);
  EXPECT_EQ(back.length(), 1);
  CKdPartIdFormat format(8, L"d", L"f");
  ASSERT_TRUE(db_.fetchRec("PI", "abc"));
  EXPECT_FALSE(format.readFrom(db_));
  EXPECT_EQ(format.dbId(), 0);
  EXPECT_TRUE(format.desc().isEmpty()) << "cleared";
}

TEST(PartIdFormatArray, ListItemsOfferManualValueFirstAndPositionsAsIds) {
  const CKdPartIdFormatArray formats = threeFormats();
  CKdCommonListItemArray items;
  items.append(99, L"stale");
  formats.asCommonListItems(items);
  ASSERT_EQ(items.length(), 4);
  std::vector<long> ids;
  for (int i = 0; i < items.length(); ++i) ids.push_back(items.idAt(i));
  EXPECT_EQ(ids, (std::vector<long>{-1, 0, 1, 2}));
  EXPECT_EQ(items.objAt(0)->text(), CWsz(L"Manual value"));
  EXPECT_EQ(items.objAt(2)->text(), CWsz(L"pipes"));
}

TEST(PartIdFormatArray, SortsByDescriptionAndTemplate) {
  CKdPartIdFormatArray formats = threeFormats();
  formats.sort(CKdPartIdFormatArray::sortByDescription);
  EXPECT_EQ(formats.nameAt(0), CWsz(L"Cables"));
  EXPECT_EQ(formats.nameAt(2), CWsz(L"pipes"));
  formats.sort(-CKdPartIdFormatArray::sortByFormat);
  EXPECT_EQ(formats.objAt(0)->format(), CWsz(L"P{Diameter}"));
  EXPECT_EQ(formats.objAt(2)->format(), CWsz(L"C"));
  char key[CKdPartIdFormat::kDbIdSize];
  EXPECT_STREQ(formats.objAt(0)->buildDbId(key), "000009");
}

class PartIdFormatDeleteTest : public vxkd_test::TextsUiTest {};

TEST_F(PartIdFormatDeleteTest, AFormatInUseStaysAndItsProductsAreNamed) {
  CKdPartIdFormatArray formats = threeFormats();
  CKdProductDefArray products;
  for (const wchar_t* desc : {L"Duct 200", L"Duct 300", L"Pipe"}) {
    CKdProductDef product;
    product.setDesc(desc);
    product.setPartIdFmtId(desc[0] == L'D' ? 4 : 77);
    products.append(&product);
  }
  CKdProductDefArray others;  // a second list of products, as a poly-object set would be
  CKdProductDef again;
  again.setDesc(L"Duct 200");
  again.setPartIdFmtId(4);
  others.append(&again);

  EXPECT_FALSE(formats.deleteUnused(nullptr, CInt32Array{0, 1}, {&products, &others}));
  ASSERT_EQ(formats.length(), 2);
  EXPECT_EQ(formats.idAt(0), 4);
  EXPECT_EQ(formats.idAt(1), 2);
  EXPECT_TRUE(
      lastBoxIs(L"Some of the selected part ID formats could not be deleted. They are "
                L"used in following product definitions:\r\n\r\n - Duct 200\r\n - Duct 300",
                L"Cannot Delete", MB_OK | MB_ICONINFORMATION | MB_TASKMODAL));

  ui_.clear();
  EXPECT_TRUE(formats.deleteUnused(nullptr, CInt32Array{1, 1, 7}, {&products}));
  EXPECT_EQ(formats.length(), 1);
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_F(PartIdFormatDeleteTest, FormatsAnswerWhetherTheyNameAPropertyDefinition) {
  CKdPropertyDefArray defs;
  defs.add(L"Width", L"", CKdPropertyValue::typeInt32, CKdUnit(CKdUnit::unitMm), 0);
  defs.add(L"Height", L"", CKdPropertyValue::typeInt32, CKdUnit(CKdUnit::unitMm), 0);
  defs.add(L"Unused", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  CKdPartIdFormatArray formats;
  CKdPartIdFormat format(1, L"Ducts", L"D{width}x{Height} Width");
  formats.append(&format);
  const CKdPartIdFormatPropertyDefUser user(formats, defs);
  EXPECT_TRUE(user.usesPropertyDef(defs.idAt(0)));
  EXPECT_TRUE(user.usesPropertyDef(defs.idAt(1)));
  EXPECT_FALSE(user.usesPropertyDef(defs.idAt(2)));

  EXPECT_FALSE(defs.deleteUnused(nullptr, CInt32Array{0, 2}, {&user}));
  EXPECT_EQ(defs.length(), 2);
  EXPECT_NE(ui_.lastBox().text.find(L"\r\nPart ID formats"), std::wstring::npos);
}

}  // namespace
