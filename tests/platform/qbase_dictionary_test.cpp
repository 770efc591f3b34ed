// The data dictionary: malformed dictionaries fail the open; the shipped one declares every
// record field of a dataset with its type.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "support/temp_dataset.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"

namespace {

using vxkd_test::TempFolder;

struct BadDictionary {
  const char* name;
  const char* text;  // null: no file at all
  const char* error;
};

const BadDictionary kBadDictionaries[] = {
    {"missing", nullptr, "cannot open"},
    {"empty", "", "no format line"},
    {"no_records", "format vxkd-dataset 1\n", "no records"},
    {"unknown_directive", "format a 1\ntable RD 6 x\n", "line 2: unknown directive table"},
    {"unknown_type", "format a 1\nrecord RD 6 x\nfield 1501 name string\nend\n",
     "line 3: unknown type string"},
    {"binary_without_size", "format a 1\nrecord RD 6 x\nfield 1601 g binary_array\nend\n",
     "line 3: type binary_array needs an item size"},
    {"field_outside_record", "format a 1\nfield 1501 name wsz\n", "line 2: field outside"},
    {"record_without_end", "format a 1\nrecord RD 6 x\nfield 1501 name wsz\n",
     "record RD has no end"},
    {"code_twice", "format a 1\nrecord RD 6 x\nend\nrecord RD 6 y\nend\n",
     "line 4: record RD twice"},
    {"field_twice", "format a 1\nrecord RD 6 x\nfield 1501 a wsz\nfield 1501 b sz\nend\n",
     "line 4: field 1501 twice in RD"},
    {"bad_code", "format a 1\nrecord R-D 6 x\nend\n", "line 2: bad record code"},
    {"key_width_zero", "format a 1\nrecord RD 0 x\nend\n", "line 2: bad key width"},
    {"upper_case_name", "format a 1\nrecord RD 6 x\nfield 1501 Name wsz\nend\n",
     "line 3: bad field name"},
    {"like_unknown", "format a 1\nrecord SD 6 x like PD\nend\n", "line 2: unknown record PD"},
    {"codes_differ_in_case", "format a 1\nrecord Rd 6 x\nend\nrecord rD 6 y\nend\n",
     "line 4: record rD differs from Rd only in letter case"},
};

void PrintTo(const BadDictionary& c, std::ostream* os) { *os << c.name; }

class QbaseBadDictionaryTest : public ::testing::TestWithParam<BadDictionary> {};

TEST_P(QbaseBadDictionaryTest, OpenFailsAndSaysWhy) {
  TempFolder dir;
  const BadDictionary& c = GetParam();
  if (c.text) {
    ASSERT_TRUE(dir.write("bad.ddq", c.text));
  }
  for (bool create : {true, false}) {
    CQbase db;
    EXPECT_FALSE(db.openDatabase(dir.path(L"bad.ddq"), dir.path(L"data.vkd"), create));
    EXPECT_NE(std::string(db.lastError()).find(c.error), std::string::npos) << db.lastError();
    EXPECT_FALSE(db.isOpen());
    EXPECT_NE(access(dir.native("data.vkd").c_str(), F_OK), 0) << "no dataset may be left";
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, QbaseBadDictionaryTest, ::testing::ValuesIn(kBadDictionaries),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(QbaseDictionaryTest, LikeCopiesFieldsAndCommentsAreIgnored) {
  TempFolder dir;
  ASSERT_TRUE(dir.write("d.ddq",
                        "# comment\r\n\r\nformat a 1\r\n"
                        "record PD 10 products\r\n  field 1502 d wsz # tail\r\n"
                        "end\r\nrecord SD 6 ducts like PD\r\n"
                        "\tfield 1102 c short\r\nend\r\n"));
  CQbase db;
  ASSERT_TRUE(db.openDatabase(dir.path(L"d.ddq"), dir.path(L"d.vkd"), true)) << db.lastError();
  ASSERT_TRUE(db.createRec("SD", "000001"));
  EXPECT_TRUE(db.setWsz(1502, L"copied"));
  EXPECT_TRUE(db.setShort(1102, 1));
  ASSERT_TRUE(db.createRec("PD", "0000010001"));
  EXPECT_FALSE(db.setShort(1102, 1));  // added to SD only
}

// The field types, and a setter of each that stores a sample value.
enum Type { kByte, kShort, kLong, kFloat, kSz, kWsz, kPoint, kShorts, kFloats, kBinary };
const char kBytes[256] = {};
bool (*const kSetters[])(CQbase&, short) = {
    [](CQbase& db, short f) { return db.setByte(f, 1); },
    [](CQbase& db, short f) { return db.setShort(f, 1); },
    [](CQbase& db, short f) { return db.setLong(f, 1); },
    [](CQbase& db, short f) { return db.setFloat(f, 1); },
    [](CQbase& db, short f) { return db.setSz(f, std::string(150, 'n').c_str()); },
    [](CQbase& db, short f) { return db.setWsz(f, L"w"); },
    [](CQbase& db, short f) { return db.setPoint(f, 1, 2, 3); },
    [](CQbase& db, short f) { return db.setShortArray(f, {1}); },
    [](CQbase& db, short f) { return db.setFloatArray(f, {1}); },
    [](CQbase& db, short f) { return db.setBinaryArray(f, kBytes, 1); },
};

struct ShippedField {
  const char* code;
  short field;
  Type type;
  int size;  // the item size of a binary array, the maximum of a narrow text (0: none)
};

// Fields of every type and every size limit; the product records share the same fields.
constexpr ShippedField kProductFields[] = {
    {"", 1503, kSz, 100},   {"", 1204, kLong, 0}, {"", 1602, kBinary, 14},
    {"", 1111, kShorts, 0}, {"", 1521, kWsz, 0},
};

const ShippedField kShippedFields[] = {
    {"RD", 1501, kWsz, 0},     {"RD", 1002, kByte, 0},    {"RD", 1101, kShort, 0},
    {"PI", 1503, kSz, 100},    {"PG", 1201, kLong, 0},    {"BI", 1450, kPoint, 0},
    {"BI", 1605, kBinary, 28}, {"BI", 1306, kFloat, 0},   {"LX", 1507, kSz, 4},
    {"LX", 1103, kByte, 0},    {"RT", 1505, kWsz, 0},     {"RE", 1308, kFloats, 0},
    {"RE", 1110, kShorts, 0},  {"RE", 1603, kBinary, 36}, {"RE", 1604, kBinary, 128},
    {"RE", 1103, kShort, 0},   {"S2", 1504, kSz, 99},     {"S2", 1601, kBinary, 28},
};

struct ShippedRecord {
  const char* code;
  int keyWidth;
  bool attachment;
};

constexpr ShippedRecord kShippedRecords[] = {
    {"RD", 6, false},  {"PI", 6, false},  {"LD", 6, false},  {"PG", 6, false},
    {"PD", 10, false}, {"SD", 6, false},  {"SP", 6, false},  {"SE", 6, false},
    {"SA", 6, false},  {"BS", 10, false}, {"BI", 10, false}, {"LT", 6, false},
    {"LX", 6, false},  {"RT", 6, false},  {"RE", 6, false},  {"S2", 8, true},
};

class QbaseShippedDictionaryTest : public vxkd_test::TempDatasetTest {
 protected:
  // The field takes exactly its declared type, keeps what it was given, and cuts a narrow
  // text at its maximum.
  void checkField(const char* code, const ShippedField& f) {
    SCOPED_TRACE(std::string(code) + " " + std::to_string(f.field));
    ASSERT_TRUE(db_.createRec(code, "1"));
    for (int t = kByte; t <= kBinary; ++t) EXPECT_EQ(kSetters[t](db_, f.field), t == f.type) << t;
    if (f.type == kSz) {
      CChBuffer text;
      ASSERT_TRUE(db_.getSz(f.field, text));
      EXPECT_EQ(text.length(), f.size ? f.size : 150);
    }
    if (f.type == kBinary) {
      CByteBuffer data;
      int count = 0;
      ASSERT_TRUE(db_.getBinaryArray(f.field, data, count));
      EXPECT_EQ(data.size(), f.size);
      EXPECT_EQ(count, 1);
    }
  }
};

TEST_F(QbaseShippedDictionaryTest, EveryFieldHasItsType) {
  for (const ShippedField& f : kShippedFields) checkField(f.code, f);
  for (const char* code : {"PD", "SD", "SP", "SE", "SA"}) {
    for (const ShippedField& f : kProductFields) checkField(code, f);
  }
}

TEST_F(QbaseShippedDictionaryTest, KeysFitTheirWidthAndOnlySymbolsHaveAttachments) {
  for (const ShippedRecord& r : kShippedRecords) {
    SCOPED_TRACE(r.code);
    EXPECT_TRUE(db_.createRec(r.code, std::string(r.keyWidth, '9').c_str()));
    EXPECT_EQ(db_.setAttachment(CByteBuffer("a", 1)), r.attachment);
    EXPECT_TRUE(db_.saveRec());
    EXPECT_FALSE(db_.createRec(r.code, std::string(r.keyWidth + 1, '9').c_str()));
  }
  EXPECT_TRUE(db_.closeDatabase()) << db_.lastError();
}

}  // namespace
