#include "vxkd/dimtext/integrated_text.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/temp_dataset.h"

namespace {

constexpr short kItemsField = 1602;
constexpr int kSize = sddimtextreftype::kSize;

CKdIntegratedText textOf(int32_t formatId, float x, float y, int16_t flag, short rotation) {
  return CKdIntegratedText(sddimtextreftype{formatId, x, y, flag}, rotation);
}

std::vector<CKdIntegratedText> itemsOf(const CKdIntegratedTextArray& texts) {
  std::vector<CKdIntegratedText> out;
  for (int i = 0; i < texts.length(); ++i) out.push_back(*texts.objAt(i));
  return out;
}

CKdIntegratedTextArray arrayOf(const std::vector<CKdIntegratedText>& items) {
  CKdIntegratedTextArray texts;
  for (const CKdIntegratedText& t : items) texts.append(&t);
  return texts;
}

TEST(IntegratedText, DefaultNamesNoFormatAndListsFindIt) {
  CKdIntegratedText text;
  EXPECT_EQ(text, textOf(-1, 0, 0, 0, 0));
  EXPECT_FALSE(text.directionByUcs());
  text.setDirectionByUcs(true);
  EXPECT_EQ(text.ref().directionByUcs, 1);
  EXPECT_TRUE(textOf(1, 0, 0, 5, 0).directionByUcs()) << "any flag but 0";

  CKdIntegratedTextArray texts = arrayOf({textOf(7, 1, 2, 0, 0), CKdIntegratedText()});
  EXPECT_TRUE(texts.contains(7));
  EXPECT_TRUE(texts.contains(-1));
  EXPECT_FALSE(texts.contains(0));
  texts.setMaxSize(4);
  CKdIntegratedTextArray copy(texts);
  EXPECT_EQ(copy.maxSize(), 4);
  EXPECT_EQ(itemsOf(copy), itemsOf(texts));
}

TEST(IntegratedText, FileFormIsFourteenLittleEndianBytesAndRoundTripsTheExtremes) {
  uint8_t bytes[kSize + 1];
  bytes[kSize] = 0xEE;
  // 1.0f is 0x3F800000, -2.5f 0xC0200000.
  textOf(0x01020304, 1.0f, -2.5f, 0x0506, 0).ref().toBytes(bytes);
  const std::vector<uint8_t> expected = {0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0x80,
                                         0x3F, 0x00, 0x00, 0x20, 0xC0, 0x06, 0x05};
  EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + kSize), expected);
  EXPECT_EQ(bytes[kSize], 0xEE) << "nothing written past 14 bytes";

  const sddimtextreftype cases[] = {{-1, -0.5f, -1e30f, 1},
                                    {INT32_MIN, -FLT_MAX, FLT_MAX, INT16_MIN},
                                    {INT32_MAX, FLT_MIN, -FLT_MIN, INT16_MAX}};
  for (const sddimtextreftype& ref : cases) {
    ref.toBytes(bytes);
    EXPECT_EQ(sddimtextreftype::fromBytes(bytes), ref) << ref.formatId;
  }
}

// Each test writes the fields of one product record "PD".
class IntegratedTextRecord : public vxkd_test::TempDatasetTest {
 protected:
  void SetUp() override {
    TempDatasetTest::SetUp();
    ASSERT_TRUE(db_.createRec("PD", "0000010001"));
  }
  // Stores the current record and makes it current again, as a reader finds it.
  void storeAndFetch() {
    ASSERT_TRUE(db_.saveRec());
    ASSERT_TRUE(db_.fetchRec("PD", "0000010001"));
  }
};

TEST_F(IntegratedTextRecord, SavedListLoadsBackWithItsRotations) {
  const std::vector<CKdIntegratedText> items = {textOf(3, -12.5f, 4.0f, 1, 90),
                                                textOf(-1, 0, 0, 0, -45)};
  ASSERT_TRUE(arrayOf(items).saveTo(db_, kItemsField));
  storeAndFetch();
  CByteBuffer bytes;
  int count = 0;
  ASSERT_TRUE(db_.getBinaryArray(kItemsField, bytes, count));
  EXPECT_EQ(count, 2);
  CKdIntegratedTextArray loaded = arrayOf({CKdIntegratedText()});
  ASSERT_TRUE(loaded.loadFrom(db_, kItemsField));
  EXPECT_EQ(itemsOf(loaded), items);
}

TEST_F(IntegratedTextRecord, EmptyOrOversizedListWritesNothing) {
  EXPECT_FALSE(CKdIntegratedTextArray().saveTo(db_, kItemsField));
  CKdIntegratedTextArray two = arrayOf({CKdIntegratedText(), CKdIntegratedText()});
  two.setMaxSize(1);
  EXPECT_FALSE(two.saveTo(db_, kItemsField));
  storeAndFetch();
  CInt16Array rotations;
  EXPECT_FALSE(db_.getShortArray(CKdIntegratedTextArray::kRotationField, rotations));
  CKdIntegratedTextArray loaded = arrayOf({CKdIntegratedText()});
  EXPECT_FALSE(loaded.loadFrom(db_, kItemsField));
  EXPECT_EQ(loaded.length(), 0) << "a failed load leaves the list empty";

  two.setMaxSize(2);
  EXPECT_TRUE(two.saveTo(db_, kItemsField)) << "exactly the maximum is stored";
}

TEST_F(IntegratedTextRecord, RotationsOfAnotherCountOrNoneAreAllZero) {
  const std::vector<CKdIntegratedText> items = {textOf(1, 1, 1, 0, 0), textOf(2, 2, 2, 1, 0)};
  uint8_t bytes[2 * kSize];
  for (int i = 0; i < 2; ++i) items[i].ref().toBytes(bytes + i * kSize);
  ASSERT_TRUE(db_.setBinaryArray(kItemsField, bytes, 2));
  const CInt16Array rotationLists[] = {{30}, {30, 60, 90}, {}};
  for (int round = -1; round < 3; ++round) {  // -1: no rotation field at all
    if (round >= 0) {
      const CInt16Array& rotations = rotationLists[round];
      ASSERT_TRUE(db_.setShortArray(CKdIntegratedTextArray::kRotationField, rotations));
    }
    storeAndFetch();
    CKdIntegratedTextArray loaded;
    ASSERT_TRUE(loaded.loadFrom(db_, kItemsField));
    EXPECT_EQ(itemsOf(loaded), items) << "round " << round;
  }
}

TEST_F(IntegratedTextRecord, ReadsAtMostTheMaximumOrAThousand) {
  std::vector<CKdIntegratedText> items;
  for (int i = 0; i < 1001; ++i) items.push_back(textOf(i, 0, 0, 0, static_cast<short>(i)));
  ASSERT_TRUE(arrayOf(items).saveTo(db_, kItemsField));
  storeAndFetch();
  CKdIntegratedTextArray unlimited;
  ASSERT_TRUE(unlimited.loadFrom(db_, kItemsField));
  ASSERT_EQ(unlimited.length(), 1000);
  EXPECT_EQ(unlimited.objAt(999)->rotation(), 999) << "rotations still match their items";
  CKdIntegratedTextArray five;
  five.setMaxSize(5);
  ASSERT_TRUE(five.loadFrom(db_, kItemsField));
  EXPECT_EQ(five.length(), 5);
}

TEST_F(IntegratedTextRecord, PartOfAnItemAtTheEndIsNotRead) {
  ASSERT_TRUE(arrayOf({textOf(8, 1, 2, 1, 30), textOf(9, 3, 4, 0, 60)}).saveTo(db_, kItemsField));
  ASSERT_TRUE(db_.saveRec());
  ASSERT_TRUE(db_.closeDatabase());
  // Damage the field as another tool might: 19 of its 28 bytes are left, two items begun.
  std::string command = "sqlite3 -batch " + path().toUtf8() +
                        " \"UPDATE PD_product_definitions SET f1602_integrated_texts = "
                        "substr(f1602_integrated_texts, 1, 19)\"";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;

  CQbase db;
  ASSERT_TRUE(db.openDatabase(vxkd_test::datasetDictionary(), path(), false));
  ASSERT_TRUE(db.fetchRec("PD", "0000010001"));
  CKdIntegratedTextArray loaded;
  ASSERT_TRUE(loaded.loadFrom(db, kItemsField));
  EXPECT_EQ(itemsOf(loaded), std::vector<CKdIntegratedText>{textOf(8, 1, 2, 1, 30)});
  db.abandon();
}

}  // namespace
