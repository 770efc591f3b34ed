// The record database: records, keys, sets and typed fields.

#include "vxkd/platform/qbase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "support/pg_server.h"
#include "support/temp_dataset.h"
#include "support/temp_folder.h"

namespace {

// One record of every field type, and a second record that declares 1101 as a long.
constexpr const char* kDictionary = R"(# test dictionary
format vxkd-dataset 1
record TT 6 all_types
  field 1001 b byte
  field 1101 s short
  field 1201 l long
  field 1301 f float
  field 1401 p point
  field 1501 w wsz
  field 1503 n sz 10
  field 1505 u sz
  field 1601 sa short_array
  field 1602 fa float_array
  field 1603 g binary_array 36
  attachment a
end
record UU 4 other
  field 1101 s long
end
)";

using Keys = std::vector<std::string>;

// A database in a file; QbaseBackendTest below runs the same on a server.
class QbaseTest : public ::testing::Test {
 protected:
  virtual bool onServer() const { return false; }
  void SetUp() override {
    ASSERT_TRUE(dir_.write("test.ddq", kDictionary));
    if (onServer()) {
      VXKD_REQUIRE_PG_SERVER(server);
      file_ = CWsz::fromUtf8(server->uri(server->freshName()).c_str());
    }
  }

  bool open(CQbase& db, bool create = false) { return db.openDatabase(dict_, file_, create); }

  // Saves records `keys` of TT, each with its key as short field 1101.
  static void saveKeys(CQbase& db, const Keys& keys) {
    for (const std::string& key : keys) {
      ASSERT_TRUE(db.createRec("TT", key.c_str()));
      ASSERT_TRUE(db.setShort(1101, static_cast<short>(std::stoi(key))));
      ASSERT_TRUE(db.saveRec());
    }
  }

  // The keys of set TT in enumeration order.
  static Keys members(CQbase& db) {
    Keys keys;
    for (bool ok = db.fetchFirstMember("TT"); ok; ok = db.fetchNextMember()) {
      CChBuffer key;
      EXPECT_TRUE(db.getObjId(key));
      keys.push_back(key.str());
    }
    return keys;
  }

  vxkd_test::TempFolder dir_;
  CWsz dict_ = dir_.path(L"test.ddq");
  CWsz file_ = dir_.path(L"test.vkd");
};

// The same records in a file ("file") and in a dataset on a server ("server").
class QbaseBackendTest : public QbaseTest, public ::testing::WithParamInterface<std::string> {
 protected:
  bool onServer() const override { return GetParam() == "server"; }
};

INSTANTIATE_TEST_SUITE_P(Backends, QbaseBackendTest, ::testing::Values("file", "server"),
                         [](const auto& info) { return info.param; });

TEST_P(QbaseBackendTest, EveryFieldTypeReadsBackAsStoredAfterReopening) {
  const std::wstring wide = L"Gr\u00F6\u00DFe \u03A9 \U0001F600 end";
  // GUID slots are stored as they stand: valid, null (first byte 0), garbage, valid.
  const std::string slots = "0A1B2C3D-0000-4000-8000-00000000000A" + std::string(1, '\0') +
                            std::string(35, 'x') + std::string(36, '\xFF') +
                            "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF";
  std::string big(150000, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 7);
  {
    CQbase db;
    ASSERT_TRUE(open(db, true)) << db.lastError();
    ASSERT_TRUE(db.createRec("TT", "000001"));
    EXPECT_TRUE(db.setByte(1001, 255));
    EXPECT_TRUE(db.setShort(1101, -32768));
    EXPECT_TRUE(db.setLong(1201, INT32_MIN));
    EXPECT_TRUE(db.setFloat(1301, 1.1f));
    EXPECT_TRUE(db.setPoint(1401, 1.25, -2.5, 0.1));
    EXPECT_TRUE(db.setWsz(1501, wide.c_str()));
    EXPECT_TRUE(db.setSz(1505, "symbol-\xC3\xA4"));
    EXPECT_TRUE(db.setShortArray(1601, {1, -2, 32767, -32768}));
    EXPECT_TRUE(db.setFloatArray(1602, {10.0f, 3.0f, -1e-7f}));
    EXPECT_TRUE(db.setBinaryArray(1603, slots.data(), 4));
    EXPECT_TRUE(db.setAttachment(big.data(), static_cast<int>(big.size())));
    ASSERT_TRUE(db.saveRec());
    // A binary array of no items is present, not absent.
    ASSERT_TRUE(db.createRec("TT", "000002") && db.setBinaryArray(1603, nullptr, 0));
    ASSERT_TRUE(db.saveRec() && db.closeDatabase()) << db.lastError();
  }
  CQbase db;
  ASSERT_TRUE(open(db)) << db.lastError();
  ASSERT_TRUE(db.fetchRec("TT", "000001"));
  uint8_t b = 0;
  short s = 0;
  long l = 0;
  float f = 0;
  double x = 0, y = 0, z = 0;
  CWsz w;
  CChBuffer n;
  char small[5];
  CInt16Array shorts;
  CFloatArray floats;
  CByteBuffer data, attachment;
  int count = 0;
  ASSERT_TRUE(db.getByte(1001, b) && db.getShort(1101, s) && db.getLong(1201, l));
  ASSERT_TRUE(db.getFloat(1301, f) && db.getPoint(1401, x, y, z) && db.getWsz(1501, w));
  ASSERT_TRUE(db.getSz(1505, n) && db.getSz(1505, small, sizeof small));
  ASSERT_TRUE(db.getShortArray(1601, shorts) && db.getFloatArray(1602, floats));
  ASSERT_TRUE(db.getBinaryArray(1603, data, count) && db.getAttachment(attachment));
  EXPECT_EQ(b, 255);
  EXPECT_EQ(s, -32768);
  EXPECT_EQ(l, INT32_MIN);
  EXPECT_EQ(f, 1.1f);
  EXPECT_EQ(x, 1.25);
  EXPECT_EQ(y, -2.5);
  EXPECT_EQ(z, static_cast<double>(0.1f));  // single precision on disk
  EXPECT_EQ(w.str(), wide);
  EXPECT_EQ(n.str(), "symbol-\xC3\xA4");
  EXPECT_STREQ(small, "symb");
  EXPECT_EQ(shorts, CInt16Array({1, -2, 32767, -32768}));
  EXPECT_EQ(floats, CFloatArray({10.0f, 3.0f, -1e-7f}));
  EXPECT_EQ(count, 4);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(data.data()), data.size()), slots);
  ASSERT_EQ(attachment.size(), 150000);
  EXPECT_EQ(attachment.data()[149999], static_cast<uint8_t>(149999 * 7));

  // Record 2 holds an empty binary array and nothing else: absent fields read false and leave
  // their outputs as they were.
  ASSERT_TRUE(db.fetchRec("TT", "000002"));
  count = -1;
  ASSERT_TRUE(db.getBinaryArray(1603, data, count));
  EXPECT_EQ(count, 0);
  EXPECT_EQ(data.size(), 0);
  EXPECT_FALSE(db.getLong(1201, l) || db.getPoint(1401, x, y, z) || db.getWsz(1501, w) ||
               db.getFloatArray(1602, floats) || db.getAttachment(data));
  EXPECT_EQ(l, INT32_MIN);
  EXPECT_EQ(x + y + z, 1.25 - 2.5 + static_cast<double>(0.1f));
  EXPECT_EQ(w.str(), wide);
  EXPECT_EQ(floats.length(), 3);
  EXPECT_EQ(data.size(), 0);
}

TEST_P(QbaseBackendTest, UndeclaredFieldOrWrongTypeFailsAndChangesNothing) {
  CQbase db;
  ASSERT_TRUE(open(db, true));
  ASSERT_TRUE(db.createRec("TT", "000001"));
  ASSERT_TRUE(db.setShort(1101, 5) && db.setWsz(1501, L"name"));
  // 1101 is a short in TT (a long only in UU); 1501 is wide; 1999 is not declared at all.
  EXPECT_FALSE(db.setLong(1101, 6));
  EXPECT_FALSE(db.setByte(1101, 6));
  EXPECT_FALSE(db.setSz(1501, "other"));
  EXPECT_FALSE(db.setShort(1999, 6));
  long l = 0;
  CChBuffer n;
  EXPECT_FALSE(db.getLong(1101, l));
  EXPECT_FALSE(db.getSz(1501, n));
  ASSERT_TRUE(db.saveRec() && db.fetchRec("TT", "000001"));
  short s = 0;
  CWsz w;
  EXPECT_TRUE(db.getShort(1101, s) && db.getWsz(1501, w));
  EXPECT_EQ(s, 5);
  EXPECT_EQ(w.str(), L"name");
  // The same number is a long in UU.
  ASSERT_TRUE(db.createRec("UU", "0001"));
  EXPECT_TRUE(db.setLong(1101, 6));
  EXPECT_FALSE(db.setShort(1101, 6));
  EXPECT_FALSE(db.setAttachment(CByteBuffer("x", 1)));  // UU has no attachment
}

TEST_P(QbaseBackendTest, SettersRefuseOrCutWhatTheFieldCannotHold) {
  CQbase db;
  ASSERT_TRUE(open(db, true));
  ASSERT_TRUE(db.createRec("TT", "000001"));
  ASSERT_TRUE(db.setLong(1201, 17));
  EXPECT_FALSE(db.setLong(1201, static_cast<long>(INT32_MAX) + 1));
  EXPECT_FALSE(db.setLong(1201, static_cast<long>(INT32_MIN) - 1));
  long v = 0;
  ASSERT_TRUE(db.getLong(1201, v));
  EXPECT_EQ(v, 17);
  char data[72] = {};
  ASSERT_TRUE(db.setBinaryArray(1603, data, 2));
  EXPECT_FALSE(db.setBinaryArray(1603, data, -1));
  EXPECT_FALSE(db.setBinaryArray(1603, nullptr, 1));
  EXPECT_FALSE(db.setAttachment(nullptr, 5));
  CByteBuffer out;
  int count = 0;
  ASSERT_TRUE(db.getBinaryArray(1603, out, count));
  EXPECT_EQ(count, 2);
  // A narrow text is cut at the field's maximum of 10 bytes, but not inside "ä".
  CChBuffer n;
  ASSERT_TRUE(db.setSz(1503, "123456789\xC3\xA4xyz") && db.getSz(1503, n));
  EXPECT_EQ(n.str(), "123456789");
  ASSERT_TRUE(db.setSz(1505, std::string(5000, 'q').c_str()) && db.getSz(1505, n));
  EXPECT_EQ(n.length(), 5000);  // no maximum
}

// Another program may leave a NUL inside a text: it reads as far as a writer would write it,
// so that reading and writing agree.
TEST_F(QbaseTest, TextsWithANulWrittenElsewhereReadUpToIt) {
  CQbase db;
  ASSERT_TRUE(open(db, true) && db.createRec("TT", "000001") && db.saveRec() && db.closeDatabase());
  for (const char* column : {"f1501_w", "f1505_u"})
    ASSERT_TRUE(vxkd_test::runSql(file_, "UPDATE TT_all_types SET " + std::string(column) + " = ?1",
                                  std::string("ab\0cd", 5)));
  ASSERT_TRUE(open(db) && db.fetchRec("TT", "000001"));
  CWsz wide;
  CChBuffer narrow;
  ASSERT_TRUE(db.getWsz(1501, wide) && db.getSz(1505, narrow));
  EXPECT_EQ(wide.str(), L"ab");
  EXPECT_EQ(narrow.str(), "ab");
}

// A binary-array field holds at most 1000 items: more are cut when written, and a file
// that holds more (written by another tool) reads as its first 1000.
TEST_F(QbaseTest, BinaryArrayHoldsAtMostAThousandItems) {
  constexpr int kMax = CQbase::kMaxBinaryArrayItems;
  static_assert(kMax == 1000);
  std::string items(1500 * 36, '\0');
  for (size_t i = 0; i < items.size(); ++i) items[i] = static_cast<char>(i / 36);
  {
    CQbase db;
    ASSERT_TRUE(open(db, true));
    for (int count : {kMax - 1, kMax, kMax + 1, 1500}) {
      ASSERT_TRUE(db.createRec("TT", std::to_string(count).c_str()));
      ASSERT_TRUE(db.setBinaryArray(1603, items.data(), count) && db.saveRec());
    }
    ASSERT_TRUE(db.closeDatabase());
  }
  ASSERT_EQ(system(("sqlite3 " + dir_.native("test.vkd") +
                    " \"UPDATE TT_all_types SET f1603_g = zeroblob(36 * 1200 + 5) WHERE "
                    "record_key = '1500'\"")
                       .c_str()),
            0);
  CQbase db;
  ASSERT_TRUE(db.openDatabase(dict_, file_, CQbase::openRead)) << db.lastError();
  for (int count : {kMax - 1, kMax, kMax + 1, 1500}) {
    SCOPED_TRACE(count);
    CByteBuffer out;
    int n = 0;
    ASSERT_TRUE(db.fetchRec("TT", std::to_string(count).c_str()));
    ASSERT_TRUE(db.getBinaryArray(1603, out, n));
    EXPECT_EQ(n, std::min(count, kMax));
    EXPECT_EQ(out.size(), n * 36);
    if (count < 1500) {
      EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.data()), out.size()),
                items.substr(0, out.size()));
    }
  }
  EXPECT_TRUE(db.closeDatabase());
}

TEST_P(QbaseBackendTest, SavingReplacesStoredRecordOfSameKey) {
  CQbase db;
  ASSERT_TRUE(open(db, true));
  ASSERT_TRUE(db.createRec("TT", "000001") && db.setShort(1101, 1) && db.setLong(1201, 2));
  ASSERT_TRUE(db.saveRec());
  ASSERT_TRUE(db.createRec("TT", "000001"));  // fresh: nothing of the stored record
  short s = 0;
  long l = 0;
  EXPECT_FALSE(db.getShort(1101, s));
  ASSERT_TRUE(db.setShort(1101, 3) && db.saveRec() && db.fetchRec("TT", "000001"));
  EXPECT_TRUE(db.getShort(1101, s));
  EXPECT_EQ(s, 3);
  EXPECT_FALSE(db.getLong(1201, l));
  EXPECT_EQ(members(db), Keys{"000001"});
}

TEST_P(QbaseBackendTest, MissingRecordsAndBadKeysOrCodesFail) {
  CQbase db;
  ASSERT_TRUE(open(db, true));
  saveKeys(db, {"000001"});
  ASSERT_TRUE(db.fetchRec("TT", "000001"));
  char key7[7], key6[6];
  ASSERT_TRUE(db.getObjId(key7, sizeof key7));
  EXPECT_STREQ(key7, "000001");
  EXPECT_FALSE(db.getObjId(key6, sizeof key6));  // cut: "00000"
  EXPECT_FALSE(db.fetchRec("TT", "000002"));
  short s = 0;
  EXPECT_FALSE(db.getShort(1101, s));  // no current record after a failed fetch
  EXPECT_FALSE(db.getObjId(key7, sizeof key7));
  EXPECT_FALSE(db.deleteRec("TT", "000002"));
  const struct {
    const char* code;
    const char* key;
  } bad[] = {{"TT", ""},  {"TT", nullptr}, {"TT", "1234567"}, {"UU", "12345"},
             {"XX", "1"}, {nullptr, "1"},  {"tt", "1"}};
  for (const auto& c : bad) {
    SCOPED_TRACE(std::string(c.code ? c.code : "null") + "/" + (c.key ? c.key : "null"));
    EXPECT_FALSE(db.createRec(c.code, c.key));
    EXPECT_FALSE(db.fetchRec(c.code, c.key));
    EXPECT_FALSE(db.deleteRec(c.code, c.key));
  }
  EXPECT_FALSE(db.fetchFirstMember("XX"));
  EXPECT_TRUE(db.deleteRec("TT", "000001"));
  EXPECT_FALSE(db.fetchRec("TT", "000001"));
  EXPECT_FALSE(db.saveRec());  // deleting the current record leaves none
}

TEST_P(QbaseBackendTest, DeletingCurrentMemberGoesOnWithNextKey) {
  CQbase db;
  ASSERT_TRUE(open(db, true));
  saveKeys(db, {"000001", "000002", "000003", "000004", "000005"});
  Keys seen;
  for (bool ok = db.fetchFirstMember("TT"); ok; ok = db.fetchNextMember()) {
    CChBuffer key;
    short s = 0;
    ASSERT_TRUE(db.getObjId(key) && db.getShort(1101, s));
    seen.push_back(key.str());
    if (s % 2 == 1) {
      EXPECT_TRUE(db.deleteRec("TT", key));
    }
  }
  EXPECT_EQ(seen, (Keys{"000001", "000002", "000003", "000004", "000005"}));
  EXPECT_EQ(members(db), (Keys{"000002", "000004"}));
}

TEST_P(QbaseBackendTest, SetIsEnumeratedInKeyOrderAndSavesNeitherRepeatNorSkipMembers) {
  CQbase db;
  ASSERT_TRUE(open(db, true));
  EXPECT_FALSE(db.fetchFirstMember("TT") || db.fetchNextMember());
  saveKeys(db, {"000030", "000002", "000010", "000001"});
  Keys seen;
  for (bool ok = db.fetchFirstMember("TT"); ok; ok = db.fetchNextMember()) {
    CChBuffer key;
    short s = 0;
    ASSERT_TRUE(db.getObjId(key) && db.getShort(1101, s));
    EXPECT_EQ(s, std::stoi(key.str())) << "each member is current with its own fields";
    seen.push_back(key.str());
    ASSERT_TRUE(db.setLong(1201, 99) && db.saveRec());        // the member in place
    ASSERT_TRUE(db.createRec("UU", "0001") && db.saveRec());  // another set
    if (key.str() == "000002") {
      ASSERT_TRUE(db.createRec("TT", "000000") && db.saveRec());  // before: not visited
      ASSERT_TRUE(db.createRec("TT", "000009") && db.setShort(1101, 9) && db.saveRec());
    }
  }
  EXPECT_EQ(seen, (Keys{"000001", "000002", "000009", "000010", "000030"}));
}

TEST_P(QbaseBackendTest, CloseCommitsAndAbandonRollsBack) {
  {
    CQbase db;
    ASSERT_TRUE(open(db, true));
    saveKeys(db, {"000001"});
    ASSERT_TRUE(db.closeDatabase());
    EXPECT_FALSE(db.isOpen());
    EXPECT_FALSE(db.closeDatabase());
  }
  {
    CQbase db;
    ASSERT_TRUE(open(db));
    saveKeys(db, {"000002"});
    ASSERT_TRUE(db.deleteRec("TT", "000001"));
    db.abandon();
    EXPECT_FALSE(db.isOpen());
  }
  {
    CQbase db;
    ASSERT_TRUE(open(db));
    saveKeys(db, {"000003"});  // destroyed while open: abandoned as well
  }
  CQbase db;
  ASSERT_TRUE(open(db));
  EXPECT_EQ(members(db), Keys{"000001"});
}

// A creation builds the new file beside the target: a file there stays whole until the
// new one is committed and put in its place, and an abandoned creation leaves nothing.
TEST_F(QbaseTest, OperationsNeedAnOpenDatabaseAndCreationReplacesOnlyAtTheClose) {
  CQbase db;
  EXPECT_FALSE(db.createRec("TT", "1"));
  EXPECT_FALSE(db.saveRec());
  EXPECT_FALSE(db.fetchRec("TT", "1"));
  EXPECT_FALSE(db.fetchFirstMember("TT"));
  ASSERT_TRUE(open(db, true));
  EXPECT_FALSE(open(db, true));  // already open
  db.abandon();                  // the new file goes again
  EXPECT_EQ(dir_.names(), (std::vector<std::string>{"test.ddq"}));
  ASSERT_TRUE(dir_.write("test.vkd", "keep me"));
  ASSERT_TRUE(open(db, true));
  saveKeys(db, {"000001"});
  EXPECT_EQ(dir_.read("test.vkd"), "keep me");
  db.abandon();
  EXPECT_EQ(dir_.read("test.vkd"), "keep me");
  EXPECT_EQ(dir_.names(), (std::vector<std::string>{"test.ddq", "test.vkd"}));
  ASSERT_TRUE(open(db, true));
  saveKeys(db, {"000002"});
  ASSERT_TRUE(db.closeDatabase());
  EXPECT_EQ(dir_.names(), (std::vector<std::string>{"test.ddq", "test.vkd"}));
  ASSERT_TRUE(open(db));
  EXPECT_EQ(members(db), Keys{"000002"});
}

TEST_F(QbaseTest, CommitMovesLastWriteTimeStrictlyForward) {
  {
    CQbase db;
    ASSERT_TRUE(open(db, true) && db.closeDatabase());
  }
  // A time ahead of the clock stands for a save within the same tick of a coarse clock:
  // the commit's own stamp is then not later than the time before it.
  const std::string path = dir_.native("test.vkd");
  const uint64_t ahead = (static_cast<uint64_t>(time(nullptr)) + 3600) * 10000000 + 1234567;
  ASSERT_TRUE(vxkd_test::setModTime(path, ahead));
  {
    CQbase db;
    ASSERT_TRUE(open(db) && db.closeDatabase());  // nothing written: the time stays
  }
  EXPECT_EQ(vxkd_test::modTimeOf(path), ahead);
  {
    CQbase db;
    ASSERT_TRUE(open(db));
    saveKeys(db, {"000001"});
    ASSERT_TRUE(db.closeDatabase());
  }
  EXPECT_EQ(vxkd_test::modTimeOf(path), ahead + 1);  // one 100-ns unit later
}

}  // namespace
