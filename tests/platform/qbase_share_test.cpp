// Sharing a dataset file: readers open it read-only and change nothing, whatever its
// journal mode and permissions; a damaged file is refused for writing and fails a read
// instead of cutting a set short; every failure keeps its reason.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "support/temp_dataset.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

using vxkd_test::datasetDictionary;
using vxkd_test::modTimeOf;
using vxkd_test::readBytes;
using vxkd_test::TempFolder;
using vxkd_test::writeBytes;

constexpr int kDefinitions = 300;
constexpr size_t kPageSize = 4096;

std::string sqlite(const std::string& file, const char* sql) {
  sqlite3* db = nullptr;
  std::string error;
  if (sqlite3_open(file.c_str(), &db) != SQLITE_OK) error = "cannot open";
  char* message = nullptr;
  if (error.empty() && sqlite3_exec(db, sql, nullptr, nullptr, &message) != SQLITE_OK)
    error = message ? message : "failed";
  sqlite3_free(message);
  sqlite3_close(db);
  return error;
}

class QbaseShareTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CQbase db;
    ASSERT_TRUE(db.openDatabase(datasetDictionary(), file_, CQbase::openCreate));
    for (int i = 1; i <= kDefinitions; ++i) {
      std::wstring name = L"Property " + std::to_wstring(i);
      ASSERT_TRUE(db.createRec("RD", cuSz::format("%6.6d", i).c_str()) &&
                  db.setWsz(1501, name.c_str()) &&
                  db.setWsz(1502, std::wstring(80, L'd').c_str()) && db.saveRec());
    }
    ASSERT_TRUE(db.closeDatabase()) << db.lastError();
  }

  // Reads every definition; the count, or -1 when the read failed (with the reason kept).
  int readAll(CQbase::failReason* reason = nullptr) {
    CQbase db;
    if (!db.openDatabase(datasetDictionary(), file_, CQbase::openRead)) {
      if (reason) *reason = db.reason();
      return -1;
    }
    int n = 0;
    for (bool ok = db.fetchFirstMember("RD"); ok; ok = db.fetchNextMember()) ++n;
    bool closed = db.closeDatabase();
    if (reason) *reason = db.reason();
    return closed ? n : -1;
  }

  // Opens for update and writes one record: the reason of the failure, or reasonNone.
  CQbase::failReason update() {
    CQbase db;
    if (!db.openDatabase(datasetDictionary(), file_, CQbase::openUpdate)) return db.reason();
    bool ok = db.createRec("RD", "000001") && db.setWsz(1501, L"changed") && db.saveRec();
    return db.closeDatabase() && ok ? CQbase::reasonNone : db.reason();
  }

  TempFolder dir_;
  std::string path_ = dir_.native("data.vkd");
  CWsz file_ = dir_.path(L"data.vkd");
};

// Another SQLite tool may leave a dataset in WAL mode; a read must not turn it back (a write
// of the header) nor checkpoint it.
TEST_F(QbaseShareTest, ReadChangesNoByteAndNoTimeWhateverTheJournalMode) {
  for (const char* mode : {"delete", "wal"}) {
    SCOPED_TRACE(mode);
    ASSERT_EQ(sqlite(path_, (std::string("PRAGMA journal_mode=") + mode).c_str()), "");
    ASSERT_TRUE(vxkd_test::setModTime(path_, modTimeOf(path_) - 50000000));  // five seconds back
    const std::string bytes = readBytes(path_);
    const uint64_t time = modTimeOf(path_);
    EXPECT_EQ(readAll(), kDefinitions);
    EXPECT_EQ(readBytes(path_), bytes);
    EXPECT_EQ(modTimeOf(path_), time);
  }
  // An update turns it back into a rollback-journal dataset.
  EXPECT_EQ(update(), CQbase::reasonNone);
  EXPECT_EQ(sqlite(path_, "PRAGMA journal_mode"), "");
  EXPECT_EQ(static_cast<int>(readBytes(path_)[18]), 1) << "the header says: rollback journal";
}

// The super-user may write any file, so the checks run in a child process that has given up
// that right.
TEST_F(QbaseShareTest, ReadOnlyFileInReadOnlyFolderIsReadAndRefusedForUpdate) {
  ASSERT_TRUE(dir_.write("copy.ddq", readBytes(cuFile::nativePath(datasetDictionary()))));
  const std::string bytes = readBytes(path_);
  ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
  ASSERT_EQ(chmod(dir_.native().c_str(), 0555), 0);
  auto attempt = [this] {
    CQbase reader, writer;
    bool read = reader.openDatabase(dir_.path(L"copy.ddq"), file_, CQbase::openRead) &&
                reader.fetchFirstMember("RD") && reader.closeDatabase();
    bool refused = !writer.openDatabase(dir_.path(L"copy.ddq"), file_, CQbase::openUpdate) &&
                   writer.reason() == CQbase::reasonReadOnly;
    return (read ? 0 : 1) + (refused ? 0 : 2);
  };
  int result = 0;
  if (geteuid() != 0) {
    result = attempt();
  } else {
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      if (setgid(65534) != 0 || setuid(65534) != 0) _exit(4);
      _exit(attempt());
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    result = WEXITSTATUS(status);
  }
  chmod(dir_.native().c_str(), 0755);
  EXPECT_EQ(result, 0) << "1: not read; 2: not refused as read-only; 4: no unprivileged user";
  EXPECT_EQ(readBytes(path_), bytes);
}

// A key changed in place puts the records out of order: SQLite reads on, but a write would
// store beside the damaged record (8 symbols became 12 after one save). A zeroed page
// loses records. Both are refused for writing, and nothing changes.
TEST_F(QbaseShareTest, DamagedFileIsRefusedForWritingAndChangesNothing) {
  const std::string intact = readBytes(path_);
  std::string keyChanged = intact;
  size_t key = keyChanged.find("000150");
  ASSERT_NE(key, std::string::npos);
  keyChanged.replace(key, 6, "000999");
  std::string zeroed = intact;
  size_t page = intact.size() / kPageSize / 2;
  zeroed.replace(page * kPageSize, kPageSize, std::string(kPageSize, '\0'));

  for (const std::string* damaged : {&keyChanged, &zeroed}) {
    SCOPED_TRACE(damaged == &zeroed ? "zeroed page" : "key changed in place");
    ASSERT_TRUE(writeBytes(path_, *damaged));
    EXPECT_EQ(update(), CQbase::reasonDamaged);
    EXPECT_EQ(readBytes(path_), *damaged);
  }
  // The zeroed page: a read fails, never a short set.
  CQbase::failReason reason = CQbase::reasonNone;
  EXPECT_EQ(readAll(&reason), -1);
  EXPECT_EQ(reason, CQbase::reasonDamaged);
  EXPECT_STREQ(CQbase::reasonText(reason), "damaged");
  ASSERT_TRUE(writeBytes(path_, intact));
  EXPECT_EQ(update(), CQbase::reasonNone);
}

TEST_F(QbaseShareTest, EveryKindOfFileThatCannotBeOpenedGivesItsReason) {
  const std::string intact = readBytes(path_);
  ASSERT_TRUE(dir_.write("text.vkd", "Dear colleague,\nthis is not a dataset.\n"));
  ASSERT_EQ(sqlite(dir_.native("other.vkd"), "CREATE TABLE t (x)"), "");
  ASSERT_TRUE(dir_.write("half.vkd", intact.substr(0, intact.size() / 2 - 100)));
  ASSERT_TRUE(dir_.write("newer.vkd", intact));
  ASSERT_EQ(sqlite(dir_.native("newer.vkd"), "UPDATE vxkd_dataset SET version = 2"), "");
  const struct {
    const char* name;
    CQbase::failReason reason;
  } kFiles[] = {
      {"text.vkd", CQbase::reasonNotDatabase}, {"other.vkd", CQbase::reasonNotDataset},
      {"half.vkd", CQbase::reasonDamaged},     {"newer.vkd", CQbase::reasonNewerFormat},
      {"none.vkd", CQbase::reasonMissing},
  };
  for (const auto& f : kFiles) {
    for (CQbase::openMode mode : {CQbase::openRead, CQbase::openUpdate}) {
      SCOPED_TRACE(std::string(f.name) + (mode == CQbase::openRead ? " read" : " update"));
      CQbase db;
      const std::string before = dir_.read(f.name);
      EXPECT_FALSE(db.openDatabase(datasetDictionary(), dir_.path(CWsz::fromUtf8(f.name)), mode));
      EXPECT_EQ(db.reason(), f.reason) << db.lastError();
      EXPECT_EQ(dir_.read(f.name), before);
    }
  }
}

// A reader may not add what an older file lacks: the missing table reads as an empty set,
// the missing column as an absent field, and the file stays as it is.
TEST_F(QbaseShareTest, OlderFileIsReadWithoutBeingUpgraded) {
  ASSERT_EQ(sqlite(path_,
                   "DROP TABLE RT_dimension_text_formats; ALTER TABLE "
                   "RD_property_definitions DROP COLUMN f1101_unit"),
            "");
  const std::string bytes = readBytes(path_);
  CQbase db;
  ASSERT_TRUE(db.openDatabase(datasetDictionary(), file_, CQbase::openRead)) << db.lastError();
  EXPECT_FALSE(db.fetchFirstMember("RT"));
  ASSERT_TRUE(db.fetchRec("RD", "000007"));
  short unit = 0;
  CWsz name;
  EXPECT_FALSE(db.getShort(1101, unit));
  EXPECT_TRUE(db.getWsz(1501, name));
  EXPECT_EQ(name.str(), L"Property 7");
  EXPECT_FALSE(db.saveRec()) << "a reader writes nothing";
  EXPECT_TRUE(db.closeDatabase());
  EXPECT_EQ(readBytes(path_), bytes);
  EXPECT_EQ(update(), CQbase::reasonNone);  // the update adds them
  EXPECT_EQ(readAll(), kDefinitions);
}

}  // namespace
