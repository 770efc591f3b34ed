#include "vxkd/foundation/guid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"

namespace {

std::string textOf(const CKdGuid& guid) {
  char buffer[CKdGuid::textBufferSize];
  return guid.toSz(buffer, sizeof buffer);
}

CKdGuid created() {
  CKdGuid guid;
  EXPECT_TRUE(guid.createValue());
  return guid;
}

TEST(KdGuid, MillionCreatedValuesAreDistinctRandomVersion4) {
  constexpr int kCount = 1'000'000;
  std::vector<std::array<uint64_t, 2>> values(kCount);
  int failures = 0, wrongVersion = 0;
  CKdGuid guid;
  for (auto& v : values) {
    failures += !guid.createValue();
    _GUID value;
    guid.getValue(value);
    wrongVersion += value.Data3 >> 12 != 4 || value.Data4[0] >> 6 != 2;
    std::memcpy(v.data(), &value, sizeof value);
  }
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(wrongVersion, 0) << "version 4, variant of RFC 4122";
  std::sort(values.begin(), values.end());
  EXPECT_EQ(std::adjacent_find(values.begin(), values.end()), values.end()) << "a repeated value";
}

TEST(KdGuid, EveryTextFormParsesBackToTheSameValue) {
  for (int i = 0; i < 2000; ++i) {
    CKdGuid guid = created();
    std::string text = textOf(guid);
    ASSERT_EQ(text.size(), 36u);
    ASSERT_EQ(text.find_first_not_of("0123456789ABCDEF-"), std::string::npos) << text;
    CKdGuid narrow, wide;
    ASSERT_TRUE(narrow.fromSz(text.c_str())) << text;
    ASSERT_TRUE(wide.fromWsz(guid.toWsz())) << text;
    EXPECT_TRUE(narrow.isEqualTo(guid)) << text;
    EXPECT_TRUE(wide.isEqualTo(guid)) << text;
  }
}

TEST(KdGuid, TextFormFollowsTheLayoutOfTheThreeNumbersAndEightBytes) {
  CKdGuid guid("01234567-89ab-CDEF-0123-456789abcdef");
  _GUID value;
  guid.getValue(value);
  EXPECT_EQ(value.Data1, 0x01234567u);
  EXPECT_EQ(value.Data2, 0x89ABu);
  EXPECT_EQ(value.Data3, 0xCDEFu);
  const uint8_t data4[8] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
  EXPECT_EQ(std::memcmp(value.Data4, data4, 8), 0);
  EXPECT_EQ(textOf(guid), "01234567-89AB-CDEF-0123-456789ABCDEF");

  CKdGuid copy;
  copy.setValue(value);
  EXPECT_TRUE(copy == guid);
  // Equality takes all sixteen bytes, not the text.
  EXPECT_TRUE(guid.isEqualTo(CKdGuid("01234567-89AB-cdef-0123-456789ABCDEF")));
  EXPECT_FALSE(guid.isEqualTo(CKdGuid("01234567-89AB-CDEF-0123-456789ABCDEE")));
  EXPECT_FALSE(guid.isEqualTo(CKdGuid("11234567-89AB-CDEF-0123-456789ABCDEF")));
}

const std::string kValid = "00000000-0000-0000-0000-0000000000AA";

TEST(KdGuid, ParseAcceptsOnlyTheExact36CharacterForm) {
  const std::pair<std::string, const char*> cases[] = {
      // The text, and the text form of the result; null when the text is refused.
      {kValid, "00000000-0000-0000-0000-0000000000AA"},
      {"aBcDeF01-2345-6789-AbCd-EF0123456789", "ABCDEF01-2345-6789-ABCD-EF0123456789"},
      {"{" + kValid + "}", nullptr},
      {kValid.substr(0, 35), nullptr},
      {kValid + "0", nullptr},
      {kValid + " ", nullptr},
      {kValid + std::string(80, 'x'), nullptr},
      {"0000000-00000-0000-0000-0000000000AA", nullptr},
      {"00000000-0000-0000-0000-0000000000AG", nullptr},
      {"", nullptr}};
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    CKdGuid guid = created();  // a failure must not leave the old value
    EXPECT_EQ(guid.fromSz(text.c_str()), expected != nullptr);
    EXPECT_EQ(textOf(guid), expected ? expected : "");
    EXPECT_EQ(guid.isNull(), expected == nullptr);
    EXPECT_EQ(textOf(CKdGuid(text.c_str())), expected ? expected : "");
  }
}

TEST(KdGuid, NullOrNonAsciiTextIsRefusedAndGivesTheNullGuid) {
  CKdGuid guid = created();
  EXPECT_FALSE(guid.fromSz(nullptr));
  EXPECT_TRUE(guid.isNull());
  guid = created();
  EXPECT_FALSE(guid.fromWsz(nullptr));
  EXPECT_TRUE(guid.isNull());
  EXPECT_TRUE(guid.fromWsz(L"00000000-0000-0000-0000-0000000000aa"));
  // U+0130 has the low byte of "0": it must not pass for the digit.
  EXPECT_FALSE(guid.fromWsz(L"00000000-0000-0000-0000-0000000000a\u0130"));
  EXPECT_TRUE(guid.isNull());
}

TEST(KdGuid, ToSzCutsTheTextToTheBufferAndNullWritesNothing) {
  CKdGuid guid(kValid.c_str());
  char buffer[40];
  EXPECT_STREQ(guid.toSz(buffer, 9), "00000000");
  EXPECT_STREQ(guid.toSz(buffer, 36), kValid.substr(0, 35).c_str());
  EXPECT_STREQ(guid.toSz(buffer, 1), "");
  guid.reset();
  EXPECT_TRUE(guid.isNull());
  EXPECT_STREQ(guid.toSz(buffer, sizeof buffer), "");
  EXPECT_TRUE(guid.toWsz().isEmpty());
}

TEST(KdGuidArray, FindsTheFirstEqualElementAndAppendsCopiesEvenOfItself) {
  CKdGuid a = created(), b = created(), other = created();
  CKdGuidArray array, second;
  ASSERT_TRUE(array.append(&a));
  ASSERT_TRUE(second.append(&b));
  ASSERT_TRUE(array.append(second));
  EXPECT_NE(array.objAt(1), second.objAt(0)) << "elements are copies";
  EXPECT_TRUE(array.append(array));
  EXPECT_FALSE(array.append(static_cast<const CKdGuid*>(nullptr)));
  ASSERT_EQ(array.length(), 4);
  EXPECT_EQ(array.find(a), 0);
  EXPECT_EQ(array.find(b), 1);
  EXPECT_EQ(array.find(other), -1);
  EXPECT_EQ(array.find(CKdGuid()), -1);
  EXPECT_TRUE(array.objAt(2)->isEqualTo(a) && array.objAt(3)->isEqualTo(b));
  CKdGuidArray copy(array);
  copy.objAt(0)->reset();
  EXPECT_TRUE(array.objAt(0)->isEqualTo(a));
}

// A GUID list stored in the device-group field of a report record.
class KdGuidArrayStore : public vxkd_test::TempDatasetTest {
 protected:
  static constexpr short kField = 1603;
  void SetUp() override {
    TempDatasetTest::SetUp();
    ASSERT_TRUE(db_.createRec("RE", "000001"));
  }
  // Saves the record and makes it current again.
  void saveAndFetch() { ASSERT_TRUE(db_.saveRec() && db_.fetchRec("RE", "000001")); }
};

TEST_F(KdGuidArrayStore, EmptyAndGarbageSlotsAreSkipped) {
  std::string valid1 = "00000000-0000-0000-0000-0000000000AA";
  std::string valid2 = "6F9619FF-8B86-D011-B42D-00C04FC964FF";
  std::string garbage = "not a guid at all, but 36 bytes long";
  ASSERT_TRUE(
      db_.setBinaryArray(kField, (valid1 + std::string(36, '\0') + garbage + valid2).data(), 4));
  saveAndFetch();
  CKdGuidArray back;
  ASSERT_TRUE(back.readFrom(db_, kField));
  ASSERT_EQ(back.length(), 2);
  EXPECT_EQ(textOf(*back.objAt(0)), valid1);
  EXPECT_EQ(textOf(*back.objAt(1)), valid2);
}

TEST_F(KdGuidArrayStore, DataShorterThanItsSlotsFails) {
  // Written through a dictionary that gives the field 1-byte items, so that any length fits.
  db_.abandon();
  std::string dictionary = vxkd_test::readBytes(cuFile::nativePath(vxkd_test::datasetDictionary()));
  dictionary.replace(dictionary.find("groups binary_array 36"), 22, "groups binary_array 1");
  ASSERT_TRUE(dir_.write("bytes.ddq", dictionary));
  std::string two = "00000000-0000-0000-0000-0000000000AA00000000-0000-0000-0000-0000000000BB";
  CQbase raw;
  ASSERT_TRUE(raw.openDatabase(dir_.path(L"bytes.ddq"), path(), true));
  ASSERT_TRUE(raw.createRec("RE", "000001") && raw.setBinaryArray(kField, two.data(), 71));
  ASSERT_TRUE(raw.saveRec() && raw.closeDatabase());

  ASSERT_TRUE(db_.openDatabase(vxkd_test::datasetDictionary(), path(), false));
  ASSERT_TRUE(db_.fetchRec("RE", "000001"));
  CKdGuidArray back;
  CKdGuid stale = created();
  back.append(&stale);
  EXPECT_FALSE(back.readFrom(db_, kField));
  EXPECT_EQ(back.length(), 0);
}

TEST_F(KdGuidArrayStore, EmptyListLeavesTheFieldAbsentAndNullElementsAreSkipped) {
  EXPECT_TRUE(CKdGuidArray().saveTo(db_, kField));
  saveAndFetch();
  CByteBuffer data;
  int count = 0;
  EXPECT_FALSE(db_.getBinaryArray(kField, data, count));
  CKdGuidArray list, back;
  EXPECT_TRUE(back.readFrom(db_, kField));
  EXPECT_EQ(back.length(), 0);

  CKdGuid a = created(), none, b = created();
  list.append(&a), list.append(&none), list.append(&b);
  ASSERT_TRUE(list.saveTo(db_, kField));
  saveAndFetch();
  ASSERT_TRUE(back.readFrom(db_, kField));
  ASSERT_EQ(back.length(), 2);
  EXPECT_TRUE(back.objAt(0)->isEqualTo(a) && back.objAt(1)->isEqualTo(b));
}

}  // namespace
