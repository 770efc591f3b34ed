// The dataset file: bad files, read-only files, a full disk and a killed writer leave it as
// it was; any SQLite tool reads it under the dictionary's names; older files are upgraded.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/faulty_env.h"
#include "support/temp_dataset.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

using vxkd_test::datasetDictionary;
using vxkd_test::FaultyEnv;
using vxkd_test::readBytes;
using vxkd_test::TempFolder;

// Writes property definitions 1..count; `round` varies their texts.
bool writeDefinitions(CQbase& db, int count, int round) {
  bool ok = true;
  for (int i = 1; i <= count; ++i) {
    std::wstring name = L"Property " + std::to_wstring(i) + L" round " + std::to_wstring(round);
    std::wstring desc(100, static_cast<wchar_t>(L'a' + (i + round) % 26));
    ok = db.createRec("RD", cuSz::format("%6.6d", i).c_str()) && db.setWsz(1501, name.c_str()) &&
         db.setWsz(1502, desc.c_str()) && db.setByte(1002, static_cast<uint8_t>(round)) &&
         db.setShort(1101, static_cast<short>(i)) && db.saveRec() && ok;
  }
  return ok;
}

// Symbols with drawings big enough to overflow the database's page cache.
bool writeSymbols(CQbase& db, int count, int round) {
  bool ok = true;
  std::string nodes(100000, static_cast<char>(round));
  for (int i = 1; i <= count; ++i) {
    std::string key = cuSz::format("%8.8d", i);
    ok = db.createRec("S2", key.c_str()) && db.setSz(1504, key.c_str()) &&
         db.setAttachment(nodes.data(), 100000) && db.saveRec() && ok;
  }
  return ok;
}

// Rewrites the whole dataset in one transaction; true only when everything succeeded.
bool rewrite(const CWsz& file, int definitions, int symbols) {
  CQbase db;
  if (!db.openDatabase(datasetDictionary(), file, false)) return false;
  bool ok = writeDefinitions(db, definitions, 1);
  ok = writeSymbols(db, symbols, 1) && ok;
  ok = db.deleteRec("RD", "000001") && ok;
  return db.closeDatabase() && ok;
}

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

class QbaseFileTest : public ::testing::Test {
 protected:
  bool open(CQbase& db, bool create = false) {
    return db.openDatabase(datasetDictionary(), file_, create);
  }

  void makeDataset(int definitions, int symbols = 0) {
    CQbase db;
    ASSERT_TRUE(open(db, true)) << db.lastError();
    ASSERT_TRUE(writeDefinitions(db, definitions, 0) && writeSymbols(db, symbols, 0));
    ASSERT_TRUE(db.closeDatabase()) << db.lastError();
  }

  // Everything the dataset holds in its definitions and symbols, read as a reader reads.
  std::string digest() {
    CQbase db;
    if (!db.openDatabase(datasetDictionary(), file_, CQbase::openRead))
      return std::string("unreadable: ") + db.lastError();
    std::string out;
    for (bool ok = db.fetchFirstMember("RD"); ok; ok = db.fetchNextMember()) {
      CChBuffer key;
      CWsz name, desc;
      uint8_t type = 0;
      short unit = 0;
      bool read = db.getObjId(key) && db.getWsz(1501, name) && db.getWsz(1502, desc) &&
                  db.getByte(1002, type) && db.getShort(1101, unit);
      out +=
          key.str() + name.toUtf8() + desc.toUtf8() + cuSz::format("%d/%d/%d\n", type, unit, read);
    }
    for (bool ok = db.fetchFirstMember("S2"); ok; ok = db.fetchNextMember()) {
      CByteBuffer nodes;
      db.getAttachment(nodes);
      out += std::to_string(nodes.size()) + ":" + std::to_string(nodes.data()[nodes.size() / 2]);
    }
    db.abandon();
    return out;
  }

  TempFolder dir_;
  std::string path_ = dir_.native("data.vkd");
  CWsz file_ = dir_.path(L"data.vkd");
};

// ---------------------------------------------------------------------------------------
// Files that are not (intact) datasets

// A dataset of five definitions made with the shipped dictionary under another format line.
std::string otherDatabase(const std::string& format, const TempFolder& dir) {
  std::string dictionary = readBytes(cuFile::nativePath(datasetDictionary()));
  dictionary.replace(dictionary.find("\nformat vxkd-dataset 1"), 22, "\nformat " + format);
  dir.write("other.ddq", dictionary);
  unlink(dir.native("other.vkd").c_str());
  CQbase db;
  bool made = db.openDatabase(dir.path(L"other.ddq"), dir.path(L"other.vkd"), true) &&
              writeDefinitions(db, 5, 0) && db.closeDatabase();
  return made ? dir.read("other.vkd") : "could not make it";
}

TEST_F(QbaseFileTest, FileThatIsNoIntactDatasetFailsToOpenAndStaysUntouched) {
  makeDataset(300);
  const std::string intact = readBytes(path_);
  const std::string badFiles[] = {
      std::string(9000, 'T'),  // text
      "",
      std::string("SQLite format 3", 16) + std::string(intact.size() - 16, '\x5A'),
      otherDatabase("other 1", dir_),
      otherDatabase("vxkd-dataset 2", dir_),  // a newer version
      intact.substr(0, 50),
      intact.substr(0, intact.size() / 2 / 4096 * 4096),
      intact.substr(0, intact.size() - 1)};
  for (const std::string& bad : badFiles) {
    SCOPED_TRACE(testing::Message() << bad.size() << " bytes: " << bad.substr(0, 16).c_str());
    ASSERT_NE(bad, "could not make it");
    ASSERT_TRUE(vxkd_test::writeBytes(path_, bad));
    CQbase db;
    EXPECT_FALSE(open(db));
    EXPECT_FALSE(db.isOpen());
    EXPECT_NE(std::string(db.lastError()), "");
    EXPECT_EQ(readBytes(path_), bad);
    EXPECT_FALSE(exists(path_ + "-journal"));
  }
}

TEST_F(QbaseFileTest, MissingFileFailsToOpenAndIsNotCreated) {
  CQbase db;
  EXPECT_FALSE(open(db));
  EXPECT_FALSE(db.openDatabase(datasetDictionary(), L"", true));
  EXPECT_FALSE(db.openDatabase(datasetDictionary(), nullptr, true));
  EXPECT_FALSE(db.openDatabase(L"", file_, true));
  EXPECT_FALSE(exists(path_));
}

// A real file without write permission. The super-user may write any file, so the check
// runs in a child process that has given up that right.
TEST_F(QbaseFileTest, FileWithoutWritePermissionFailsToOpen) {
  makeDataset(10);
  // The child may not be allowed into the build folder: it reads a copy of the dictionary.
  ASSERT_TRUE(dir_.write("copy.ddq", readBytes(cuFile::nativePath(datasetDictionary()))));
  ASSERT_EQ(chmod(dir_.native().c_str(), 0755), 0);
  ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
  const std::string before = readBytes(path_);
  auto attempt = [this] {
    CQbase db;
    return db.openDatabase(dir_.path(L"copy.ddq"), file_, false);
  };
  if (geteuid() != 0) {
    EXPECT_FALSE(attempt());
  } else {
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      if (setgid(65534) != 0 || setuid(65534) != 0) _exit(2);
      _exit(attempt() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: opened, 2: could not drop privileges";
  }
  EXPECT_EQ(readBytes(path_), before);
}

// ---------------------------------------------------------------------------------------
// A full disk

TEST_F(QbaseFileTest, FailedWriteAnywhereLeavesFileAsBefore) {
  constexpr int kDefinitions = 400, kSymbols = 30;  // more than the page cache holds
  makeDataset(kDefinitions, kSymbols);
  const std::string before = digest();
  int total = 0;
  {
    TempFolder spare;
    ASSERT_TRUE(spare.write("x.vkd", readBytes(path_)));
    FaultyEnv counter;
    ASSERT_TRUE(rewrite(spare.path(L"x.vkd"), kDefinitions, kSymbols));
    total = counter.databaseWrites();
  }
  ASSERT_GT(total, 100);
  for (bool sticky : {true, false}) {
    for (int at : {1, 2, total / 5, total / 2, total - 1}) {
      SCOPED_TRACE("write " + std::to_string(at) + " of " + std::to_string(total) +
                   (sticky ? ", disk stays full" : ", one failure"));
      {
        FaultyEnv env;
        env.failDatabaseWrites(at, ENOSPC, sticky);
        EXPECT_FALSE(rewrite(file_, kDefinitions, kSymbols));
        EXPECT_GE(env.databaseWriteFailures(), 1);
      }
      ASSERT_EQ(digest(), before);
    }
  }
  // An I/O error other than a full disk, and then a normal update.
  {
    FaultyEnv env;
    env.failDatabaseWrites(total / 3, EIO, false);
    EXPECT_FALSE(rewrite(file_, kDefinitions, kSymbols));
  }
  ASSERT_EQ(digest(), before);
  ASSERT_TRUE(rewrite(file_, kDefinitions, kSymbols));
  EXPECT_NE(digest(), before);
}

TEST_F(QbaseFileTest, FailedCreationLeavesNoFile) {
  for (int at : {1, 2, 5}) {
    FaultyEnv env;
    env.failDatabaseWrites(at);
    CQbase db;
    EXPECT_FALSE(open(db, true) && db.closeDatabase());
    EXPECT_FALSE(exists(path_)) << "write " << at;
    EXPECT_FALSE(exists(path_ + "-journal"));
  }
}

TEST_F(QbaseFileTest, WritesAfterAFailedWriteFail) {
  makeDataset(1);
  const std::string before = digest();
  FaultyEnv env;
  CQbase db;
  ASSERT_TRUE(open(db));
  env.failDatabaseWrites(1, ENOSPC, false);  // one failure only: the disk recovers at once
  bool ok = true;
  for (int i = 1; i <= 30 && ok; ++i) ok = writeSymbols(db, i, i);
  ASSERT_FALSE(ok) << "the symbols never reached the disk";
  EXPECT_FALSE(writeDefinitions(db, 3, 7));
  EXPECT_FALSE(db.deleteRec("RD", "000001"));
  EXPECT_FALSE(db.closeDatabase());
  EXPECT_EQ(digest(), before);
}

// ---------------------------------------------------------------------------------------
// A writer killed in the middle

TEST_F(QbaseFileTest, WriterKilledInTheMiddleLeavesFileAsBefore) {
  constexpr int kDefinitions = 30000;
  makeDataset(kDefinitions);
  const std::string before = digest();
  const std::string bytesBefore = readBytes(path_);
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    close(fds[0]);
    CQbase db;
    if (!open(db)) _exit(1);
    const std::wstring desc(100, L'z');
    for (int i = 1; i <= kDefinitions; ++i) {
      std::string key = cuSz::format("%6.6d", i);
      if (!db.createRec("RD", key.c_str()) || !db.setWsz(1502, desc.c_str()) || !db.saveRec())
        _exit(1);
      // Well past the page cache: rewritten pages have reached the file.
      if (i == kDefinitions * 3 / 4 && write(fds[1], "k", 1) != 1) _exit(1);
    }
    db.closeDatabase();
    _exit(0);
  }
  close(fds[1]);
  char signal = 0;
  ssize_t n = read(fds[0], &signal, 1);
  kill(child, SIGKILL);
  close(fds[0]);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_EQ(n, 1) << "the writer stopped early";
  ASSERT_TRUE(WIFSIGNALED(status));
  // The kill did hit a half-written file: only its journal can restore it.
  ASSERT_TRUE(exists(path_ + "-journal"));
  ASSERT_NE(readBytes(path_), bytesBefore);

  EXPECT_EQ(digest(), before);
  EXPECT_FALSE(exists(path_ + "-journal"));
  CQbase db;
  ASSERT_TRUE(open(db) && db.createRec("RD", "000007") && db.setWsz(1501, L"updated"));
  ASSERT_TRUE(db.saveRec() && db.closeDatabase());
  EXPECT_NE(digest().find("000007updated"), std::string::npos);
}

// ---------------------------------------------------------------------------------------
// Other tools and older files

std::string runTool(const std::string& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return "cannot run " + command;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
  int status = pclose(pipe);
  if (status != 0) out += "[exit " + std::to_string(status) + "]";
  return out;
}

TEST_F(QbaseFileTest, SqliteToolReadsTablesAndColumnsByName) {
  makeDataset(2);
  const std::string tool = "sqlite3 -batch -readonly " + path_ + " ";
  EXPECT_EQ(runTool(tool + "\"SELECT name FROM sqlite_master WHERE type='table' ORDER BY name\""),
            "BI_block_items\nBS_block_definitions\nLD_layer_definitions\nLT_linetypes\n"
            "LX_text_styles\nPD_product_definitions\nPG_product_groups\nPI_part_id_formats\n"
            "RD_property_definitions\nRE_report_definitions\nRT_dimension_text_formats\n"
            "S2_symbols_2d\nSA_data_line_definitions\nSD_duct_definitions\n"
            "SE_electrical_line_definitions\nSP_pipe_definitions\nvxkd_dataset\n");
  EXPECT_EQ(runTool(tool + "\"SELECT name FROM pragma_table_info('RD_property_definitions')\""),
            "record_key\nf1501_name\nf1502_description\nf1002_value_type\nf1001_decimals\n"
            "f1101_unit\n");
  EXPECT_EQ(runTool(tool + "\"SELECT name FROM pragma_table_info('S2_symbols_2d')\""),
            "record_key\nf1504_symbol_id\nf1502_description\nf1601_geometry_nodes\n"
            "attachment_geometry_nodes\n");
  EXPECT_EQ(runTool(tool + "\"SELECT record_key, f1501_name, f1101_unit FROM "
                           "RD_property_definitions\""),
            "000001|Property 1 round 0|1\n000002|Property 2 round 0|2\n");
  EXPECT_EQ(runTool(tool + "\"SELECT format, version FROM vxkd_dataset; PRAGMA journal_mode\""),
            "vxkd-dataset|1\ndelete\n");
}

TEST_F(QbaseFileTest, OlderFileGainsMissingTablesAndColumns) {
  // The older dictionary lacks record RT and field 1101 of RD.
  std::string older = readBytes(cuFile::nativePath(datasetDictionary()));
  size_t rt = older.find("record RT ");
  older.erase(rt, older.find("end\n", rt) + 4 - rt);
  older.erase(older.find("  field 1101 unit short\n"), 24);
  ASSERT_TRUE(dir_.write("older.ddq", older));
  {
    CQbase db;
    ASSERT_TRUE(db.openDatabase(dir_.path(L"older.ddq"), file_, true));
    ASSERT_TRUE(db.createRec("RD", "000001") && db.setWsz(1501, L"old"));
    EXPECT_FALSE(db.setShort(1101, 1));
    ASSERT_TRUE(db.saveRec());
    EXPECT_FALSE(db.createRec("RT", "000001"));
    ASSERT_TRUE(db.closeDatabase());
  }
  CQbase db;
  ASSERT_TRUE(open(db)) << db.lastError();
  short s = 0;
  ASSERT_TRUE(db.fetchRec("RD", "000001"));
  EXPECT_FALSE(db.getShort(1101, s));  // the new column reads as an absent field
  ASSERT_TRUE(db.setShort(1101, 12) && db.saveRec());
  EXPECT_FALSE(db.fetchFirstMember("RT"));
  ASSERT_TRUE(db.createRec("RT", "000001") && db.setWsz(1505, L"{Width}") && db.saveRec());
  ASSERT_TRUE(db.closeDatabase() && open(db) && db.fetchRec("RD", "000001"));
  CWsz name;
  EXPECT_TRUE(db.getShort(1101, s) && db.getWsz(1501, name));
  EXPECT_EQ(s, 12);
  EXPECT_EQ(name.str(), L"old");
  EXPECT_TRUE(db.fetchRec("RT", "000001"));
}

}  // namespace
