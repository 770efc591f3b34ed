#include "foundation/guid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "platform/paths.h"
#include "platform/qbase.h"
#include "support/temp_folder.h"

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
}

struct ParseCase {
  const char* name;
  std::string text;
  const char* expected;  // the text form of the result; null when the text is refused
};

void PrintTo(const ParseCase& c, std::ostream* os) { *os << c.name; }

class KdGuidParse : public ::testing::TestWithParam<ParseCase> {};

TEST_P(KdGuidParse, AcceptsOnlyTheExact36CharacterForm) {
  const ParseCase& c = GetParam();
  CKdGuid guid = created();  // a failure must not leave the old value
  bool ok = guid.fromSz(c.text.c_str());
  EXPECT_EQ(ok, c.expected != nullptr);
  EXPECT_EQ(textOf(guid), c.expected ? c.expected : "");
  EXPECT_EQ(guid.isNull(), c.expected == nullptr);

  CKdGuid fromText(c.text.c_str());
  EXPECT_EQ(textOf(fromText), c.expected ? c.expected : "");
}

const std::string kValid = "00000000-0000-0000-0000-0000000000AA";

INSTANTIATE_TEST_SUITE_P(
    Cases, KdGuidParse,
    ::testing::Values(ParseCase{"upper", kValid, "00000000-0000-0000-0000-0000000000AA"},
                      ParseCase{"lower", "00000000-0000-0000-0000-0000000000aa",
                                "00000000-0000-0000-0000-0000000000AA"},
                      ParseCase{"mixed", "aBcDeF01-2345-6789-AbCd-EF0123456789",
                                "ABCDEF01-2345-6789-ABCD-EF0123456789"},
                      ParseCase{"braces", "{" + kValid + "}", nullptr},
                      ParseCase{"35chars", kValid.substr(0, 35), nullptr},
                      ParseCase{"37chars", kValid + "0", nullptr},
                      ParseCase{"trailingBlank", kValid + " ", nullptr},
                      ParseCase{"leadingBlank", " " + kValid.substr(1), nullptr},
                      ParseCase{"validThenLongTail", kValid + std::string(80, 'x'), nullptr},
                      ParseCase{"hyphenMoved", "0000000-00000-0000-0000-0000000000AA", nullptr},
                      ParseCase{"hyphenForDigit", "00000000-0000-0000-0000-00000000-0AA", nullptr},
                      ParseCase{"notHex", "00000000-0000-0000-0000-0000000000AG", nullptr},
                      ParseCase{"noHyphens", "0000000000000000000000000000000000AA", nullptr},
                      ParseCase{"empty", "", nullptr}),
    [](const auto& info) { return info.param.name; });

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

TEST(KdGuid, EqualityTakesAllSixteenBytes) {
  CKdGuid a(kValid.c_str());
  EXPECT_FALSE(a.isEqualTo(CKdGuid("00000000-0000-0000-0000-0000000000AB")));
  EXPECT_FALSE(a.isEqualTo(CKdGuid("10000000-0000-0000-0000-0000000000AA")));
  EXPECT_TRUE(a.isEqualTo(CKdGuid("00000000-0000-0000-0000-0000000000aa")));
}

TEST(KdGuidArray, FindGivesTheFirstEqualElement) {
  CKdGuid a = created(), b = created(), other = created();
  CKdGuidArray array;
  ASSERT_TRUE(array.append(&a));
  ASSERT_TRUE(array.append(&b));
  ASSERT_TRUE(array.append(&a));
  EXPECT_EQ(array.find(a), 0);
  EXPECT_EQ(array.find(b), 1);
  EXPECT_EQ(array.find(other), -1);
  EXPECT_EQ(array.find(CKdGuid()), -1);
  EXPECT_FALSE(array.append(static_cast<const CKdGuid*>(nullptr)));
  EXPECT_EQ(array.length(), 3);
}

TEST(KdGuidArray, AppendArrayCopiesEveryElementEvenOfItself) {
  CKdGuid a = created(), b = created();
  CKdGuidArray first, second;
  first.append(&a);
  second.append(&b);
  EXPECT_TRUE(first.append(second));
  ASSERT_EQ(first.length(), 2);
  EXPECT_TRUE(first.objAt(1)->isEqualTo(b));
  EXPECT_NE(first.objAt(1), second.objAt(0)) << "elements are copies";

  EXPECT_TRUE(first.append(first));
  ASSERT_EQ(first.length(), 4);
  EXPECT_TRUE(first.objAt(2)->isEqualTo(a));
  EXPECT_TRUE(first.objAt(3)->isEqualTo(b));
}

TEST(KdGuidArray, CopiesAreIndependent) {
  CKdGuid a = created();
  CKdGuidArray original;
  original.append(&a);
  CKdGuidArray copy(original);
  copy.objAt(0)->reset();
  EXPECT_TRUE(original.objAt(0)->isEqualTo(a));
}

}  // namespace

namespace {

// A GUID list stored in the device-group field of a report record.
class KdGuidArrayStore : public ::testing::Test {
 protected:
  static constexpr short kField = 1603;
  void SetUp() override {
    ASSERT_TRUE(db_.openDatabase(cuFile::joinPath(cuFile::libraryFolder(), L"VantVkd.ddq"),
                                 dir_.path(L"g.vkd"), true));
    ASSERT_TRUE(db_.createRec("RE", "000001"));
  }
  void TearDown() override { db_.abandon(); }
  // Stores raw slots as the field and makes the record current again.
  void storeRaw(const std::string& bytes, int count) {
    ASSERT_TRUE(db_.setBinaryArray(kField, bytes.data(), count));
    ASSERT_TRUE(db_.saveRec());
    ASSERT_TRUE(db_.fetchRec("RE", "000001"));
  }

  vxkd_test::TempFolder dir_;
  CQbase db_;
};

TEST_F(KdGuidArrayStore, NullElementsAreSkippedOnTheWayBack) {
  CKdGuidArray list;
  CKdGuid a = created(), none, b = created();
  list.append(&a);
  list.append(&none);
  list.append(&b);
  ASSERT_TRUE(list.saveTo(db_, kField));
  ASSERT_TRUE(db_.saveRec());
  ASSERT_TRUE(db_.fetchRec("RE", "000001"));
  CKdGuidArray back;
  ASSERT_TRUE(back.readFrom(db_, kField));
  ASSERT_EQ(back.length(), 2);
  EXPECT_TRUE(back.objAt(0)->isEqualTo(a));
  EXPECT_TRUE(back.objAt(1)->isEqualTo(b));
}

TEST_F(KdGuidArrayStore, EmptyAndGarbageSlotsAreSkipped) {
  std::string valid1 = "00000000-0000-0000-0000-0000000000AA";
  std::string valid2 = "6F9619FF-8B86-D011-B42D-00C04FC964FF";
  std::string empty(36, '\0');
  std::string garbage = "not a guid at all, but 36 bytes long";
  ASSERT_EQ(garbage.size(), 36u);
  storeRaw(valid1 + empty + garbage + valid2, 4);
  CKdGuidArray back;
  ASSERT_TRUE(back.readFrom(db_, kField));
  ASSERT_EQ(back.length(), 2);
  EXPECT_EQ(textOf(*back.objAt(0)), valid1);
  EXPECT_EQ(textOf(*back.objAt(1)), valid2);
}

TEST_F(KdGuidArrayStore, DataShorterThanItsSlotsFails) {
  // Written through a dictionary that gives the field 1-byte items, so that any length fits.
  db_.abandon();
  std::string dictionary = vxkd_test::readBytes(
      cuFile::nativePath(cuFile::joinPath(cuFile::libraryFolder(), L"VantVkd.ddq")));
  size_t at = dictionary.find("device_groups binary_array 36");
  ASSERT_NE(at, std::string::npos);
  dictionary.replace(at, 29, "device_groups binary_array 1");
  ASSERT_TRUE(vxkd_test::writeBytes(dir_.native("bytes.ddq"), dictionary));
  CQbase raw;
  ASSERT_TRUE(raw.openDatabase(dir_.path(L"bytes.ddq"), dir_.path(L"short.vkd"), true));
  std::string two = "00000000-0000-0000-0000-0000000000AA00000000-0000-0000-0000-0000000000BB";
  ASSERT_TRUE(raw.createRec("RE", "000001"));
  ASSERT_TRUE(raw.setBinaryArray(kField, two.data(), 71));
  ASSERT_TRUE(raw.saveRec() && raw.closeDatabase());

  ASSERT_TRUE(db_.openDatabase(cuFile::joinPath(cuFile::libraryFolder(), L"VantVkd.ddq"),
                               dir_.path(L"short.vkd"), false));
  ASSERT_TRUE(db_.fetchRec("RE", "000001"));
  CKdGuidArray back;
  CKdGuid stale = created();
  back.append(&stale);
  EXPECT_FALSE(back.readFrom(db_, kField));
  EXPECT_EQ(back.length(), 0);
}

TEST_F(KdGuidArrayStore, EmptyListLeavesTheFieldAbsent) {
  CKdGuidArray empty;
  EXPECT_TRUE(empty.saveTo(db_, kField));
  ASSERT_TRUE(db_.saveRec());
  ASSERT_TRUE(db_.fetchRec("RE", "000001"));
  CByteBuffer data;
  int count = 0;
  EXPECT_FALSE(db_.getBinaryArray(kField, data, count));
  CKdGuidArray back;
  EXPECT_TRUE(back.readFrom(db_, kField));
  EXPECT_EQ(back.length(), 0);
}

}  // namespace
