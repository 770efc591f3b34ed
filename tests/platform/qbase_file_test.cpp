// The dataset file: bad files, read-only files, a full disk and a killed writer leave it as
// it was; any SQLite tool reads it under the dictionary's names; older files are upgraded.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "platform/paths.h"
#include "platform/qbase.h"
#include "support/faulty_env.h"
#include "support/temp_folder.h"

namespace {

using vxkd_test::FaultyEnv;
using vxkd_test::readBytes;
using vxkd_test::TempFolder;
using vxkd_test::writeBytes;

CWsz shippedDictionary() { return cuFile::joinPath(cuFile::libraryFolder(), L"VantVkd.ddq"); }

// Writes property definitions 1..count; `round` varies their texts.
bool writeDefinitions(CQbase& db, int count, int round) {
  bool ok = true;
  for (int i = 1; i <= count; ++i) {
    char key[16];
    snprintf(key, sizeof key, "%6.6d", i);
    std::wstring name = L"Property " + std::to_wstring(i) + L" round " + std::to_wstring(round);
    std::wstring desc(100, static_cast<wchar_t>(L'a' + (i + round) % 26));
    ok = db.createRec("RD", key) && db.setWsz(1501, name.c_str()) &&
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
    char key[16];
    snprintf(key, sizeof key, "%8.8d", i);
    ok = db.createRec("S2", key) && db.setSz(1504, key) && db.setAttachment(nodes.data(), 100000) &&
         db.saveRec() && ok;
  }
  return ok;
}

class QbaseFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.native().empty());
    path_ = dir_.native("data.vkd");
    file_ = dir_.path(L"data.vkd");
  }

  void makeDataset(int definitions, int symbols = 0) {
    CQbase db;
    ASSERT_TRUE(db.openDatabase(shippedDictionary(), file_, true)) << db.lastError();
    ASSERT_TRUE(writeDefinitions(db, definitions, 0));
    ASSERT_TRUE(writeSymbols(db, symbols, 0));
    ASSERT_TRUE(db.closeDatabase()) << db.lastError();
  }

  // Everything the dataset holds in its definitions and symbols, read through the database;
  // "unreadable" when it does not open.
  std::string digest() {
    CQbase db;
    if (!db.openDatabase(shippedDictionary(), file_, false)) {
      return std::string("unreadable: ") + db.lastError();
    }
    std::string out;
    for (bool ok = db.fetchFirstMember("RD"); ok; ok = db.fetchNextMember()) {
      CChBuffer key;
      CWsz name, desc;
      uint8_t type = 0;
      short unit = 0;
      db.getObjId(key);
      db.getWsz(1501, name);
      db.getWsz(1502, desc);
      db.getByte(1002, type);
      db.getShort(1101, unit);
      out += key.str() + name.toUtf8() + desc.toUtf8() + std::to_string(type) + "/" +
             std::to_string(unit) + "\n";
    }
    for (bool ok = db.fetchFirstMember("S2"); ok; ok = db.fetchNextMember()) {
      CByteBuffer nodes;
      db.getAttachment(nodes);
      out += std::to_string(nodes.size()) + ":" + std::to_string(nodes.data()[nodes.size() / 2]);
    }
    db.abandon();
    return out;
  }

  bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

  TempFolder dir_;
  std::string path_;
  CWsz file_;
};

// ---------------------------------------------------------------------------------------
// Files that are not (intact) datasets

struct BadFile {
  const char* name;
  // Makes the file from the bytes of an intact dataset (and may write other files).
  std::function<std::string(const std::string& intact, const TempFolder& dir)> make;
};

std::string otherDatabase(const std::string& format, const TempFolder& dir) {
  std::string dictionary = readBytes(cuFile::nativePath(shippedDictionary()));
  size_t at = dictionary.find("\nformat vxkd-dataset 1");
  dictionary.replace(at, 22, "\nformat " + format);
  writeBytes(dir.native("other.ddq"), dictionary);
  CQbase db;
  if (!db.openDatabase(dir.path(L"other.ddq"), dir.path(L"other.vkd"), true) ||
      !writeDefinitions(db, 5, 0) || !db.closeDatabase()) {
    return "could not make it";
  }
  return readBytes(dir.native("other.vkd"));
}

const BadFile kBadFiles[] = {
    {"text_file",
     [](const std::string&, const TempFolder&) {
       std::string text;
       for (int i = 0; i < 300; ++i) text += "This is a plain text file, not a database.\n";
       return text;
     }},
    {"empty_file", [](const std::string&, const TempFolder&) { return std::string(); }},
    {"sqlite_header_then_garbage",
     [](const std::string& intact, const TempFolder&) {
       return std::string("SQLite format 3", 16) + std::string(intact.size() - 16, '\x5A');
     }},
    {"other_sqlite_database",
     [](const std::string&, const TempFolder& dir) {
       return otherDatabase("some-other-format 1", dir);
     }},
    {"newer_dataset_version",
     [](const std::string&, const TempFolder& dir) {
       return otherDatabase("vxkd-dataset 2", dir);
     }},
    {"truncated_to_50_bytes",
     [](const std::string& intact, const TempFolder&) { return intact.substr(0, 50); }},
    {"truncated_to_one_page",
     [](const std::string& intact, const TempFolder&) { return intact.substr(0, 4096); }},
    {"truncated_to_half",
     [](const std::string& intact, const TempFolder&) {
       return intact.substr(0, intact.size() / 2 / 4096 * 4096);
     }},
    {"one_byte_short", [](const std::string& intact,
                          const TempFolder&) { return intact.substr(0, intact.size() - 1); }},
};

void PrintTo(const BadFile& c, std::ostream* os) { *os << c.name; }

class QbaseBadFileTest : public QbaseFileTest, public ::testing::WithParamInterface<BadFile> {};

TEST_P(QbaseBadFileTest, FailsToOpenAndStaysUntouched) {
  makeDataset(300);
  std::string bad = GetParam().make(readBytes(path_), dir_);
  ASSERT_NE(bad, "could not make it");
  ASSERT_TRUE(writeBytes(path_, bad));
  CQbase db;
  EXPECT_FALSE(db.openDatabase(shippedDictionary(), file_, false));
  EXPECT_FALSE(db.isOpen());
  EXPECT_NE(std::string(db.lastError()), "");
  EXPECT_EQ(readBytes(path_), bad);
  EXPECT_FALSE(exists(path_ + "-journal"));
}

INSTANTIATE_TEST_SUITE_P(Cases, QbaseBadFileTest, ::testing::ValuesIn(kBadFiles),
                         [](const ::testing::TestParamInfo<BadFile>& info) {
                           return std::string(info.param.name);
                         });

TEST_F(QbaseFileTest, MissingFileFailsToOpenAndIsNotCreated) {
  CQbase db;
  EXPECT_FALSE(db.openDatabase(shippedDictionary(), file_, false));
  EXPECT_FALSE(exists(path_));
  EXPECT_FALSE(db.openDatabase(shippedDictionary(), L"", true));
  EXPECT_FALSE(db.openDatabase(shippedDictionary(), nullptr, true));
  EXPECT_FALSE(db.openDatabase(L"", file_, true));
  EXPECT_FALSE(exists(path_));
}

// ---------------------------------------------------------------------------------------
// Read-only files

// A real file without write permission. The super-user may write any file, so the check
// runs in a child process that has given up that right.
TEST_F(QbaseFileTest, FileWithoutWritePermissionFailsToOpen) {
  makeDataset(10);
  // The child may not be allowed into the build folder: it reads a copy of the dictionary.
  ASSERT_TRUE(
      writeBytes(dir_.native("copy.ddq"), readBytes(cuFile::nativePath(shippedDictionary()))));
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

// Rewrites the whole dataset in one transaction; true only when everything succeeded.
bool rewrite(const CWsz& file, int definitions, int symbols) {
  CQbase db;
  if (!db.openDatabase(shippedDictionary(), file, false)) return false;
  bool ok = writeDefinitions(db, definitions, 1);
  ok = writeSymbols(db, symbols, 1) && ok;
  ok = db.deleteRec("RD", "000001") && ok;
  return db.closeDatabase() && ok;
}

TEST_F(QbaseFileTest, FailedWriteAnywhereLeavesFileAsBefore) {
  constexpr int kDefinitions = 400, kSymbols = 30;  // more than the page cache holds
  makeDataset(kDefinitions, kSymbols);
  const std::string before = digest();
  int total = 0;
  {
    TempFolder spare;
    ASSERT_TRUE(writeBytes(spare.native("x.vkd"), readBytes(path_)));
    FaultyEnv counter;
    ASSERT_TRUE(rewrite(spare.path(L"x.vkd"), kDefinitions, kSymbols));
    total = counter.databaseWrites();
  }
  ASSERT_GT(total, 100);
  for (bool sticky : {true, false}) {
    for (int at : {1, 2, 3, total / 5, total / 2, total * 3 / 4, total - 2, total - 1}) {
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
    bool created = db.openDatabase(shippedDictionary(), file_, true);
    EXPECT_FALSE(created && db.closeDatabase());
    EXPECT_FALSE(exists(path_)) << "write " << at;
    EXPECT_FALSE(exists(path_ + "-journal"));
  }
}

TEST_F(QbaseFileTest, WritesAfterAFailedWriteFail) {
  makeDataset(1);
  const std::string before = digest();
  FaultyEnv env;
  CQbase db;
  ASSERT_TRUE(db.openDatabase(shippedDictionary(), file_, false));
  env.failDatabaseWrites(1, ENOSPC, false);  // one failure only: the disk recovers at once
  bool ok = true;
  int failedAt = 0;
  for (int i = 1; i <= 30 && ok; ++i) {
    ok = writeSymbols(db, i, i);
    failedAt = i;
  }
  ASSERT_FALSE(ok) << "the symbols never reached the disk";
  EXPECT_FALSE(writeDefinitions(db, 3, 7)) << "after failing at round " << failedAt;
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
    if (!db.openDatabase(shippedDictionary(), file_, false)) _exit(1);
    for (int i = 1; i <= kDefinitions; ++i) {
      char key[16];
      snprintf(key, sizeof key, "%6.6d", i);
      std::wstring desc(100, L'z');
      if (!db.createRec("RD", key) || !db.setWsz(1502, desc.c_str()) || !db.saveRec()) _exit(1);
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
  {
    CQbase db;
    ASSERT_TRUE(db.openDatabase(shippedDictionary(), file_, false));
    ASSERT_TRUE(db.createRec("RD", "000007"));
    ASSERT_TRUE(db.setWsz(1501, L"updated"));
    ASSERT_TRUE(db.saveRec());
    ASSERT_TRUE(db.closeDatabase());
  }
  CQbase db;
  ASSERT_TRUE(db.openDatabase(shippedDictionary(), file_, false));
  ASSERT_TRUE(db.fetchRec("RD", "000007"));
  CWsz name;
  ASSERT_TRUE(db.getWsz(1501, name));
  EXPECT_EQ(name.str(), L"updated");
  ASSERT_TRUE(db.fetchRec("RD", "000008"));
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
  std::string older = readBytes(cuFile::nativePath(shippedDictionary()));
  size_t rt = older.find("record RT ");
  older.erase(rt, older.find("end\n", rt) + 4 - rt);
  size_t unit = older.find("  field 1101 unit short\n");
  older.erase(unit, 24);
  ASSERT_TRUE(writeBytes(dir_.native("older.ddq"), older));
  {
    CQbase db;
    ASSERT_TRUE(db.openDatabase(dir_.path(L"older.ddq"), file_, true));
    ASSERT_TRUE(db.createRec("RD", "000001"));
    ASSERT_TRUE(db.setWsz(1501, L"old"));
    EXPECT_FALSE(db.setShort(1101, 1));
    ASSERT_TRUE(db.saveRec());
    EXPECT_FALSE(db.createRec("RT", "000001"));
    ASSERT_TRUE(db.closeDatabase());
  }
  {
    CQbase db;
    ASSERT_TRUE(db.openDatabase(shippedDictionary(), file_, false)) << db.lastError();
    ASSERT_TRUE(db.fetchRec("RD", "000001"));
    short s = 0;
    EXPECT_FALSE(db.getShort(1101, s));  // the new column reads as an absent field
    ASSERT_TRUE(db.setShort(1101, 12));
    ASSERT_TRUE(db.saveRec());
    EXPECT_FALSE(db.fetchFirstMember("RT"));
    ASSERT_TRUE(db.createRec("RT", "000001"));
    ASSERT_TRUE(db.setWsz(1505, L"{Width}"));
    ASSERT_TRUE(db.saveRec());
    ASSERT_TRUE(db.closeDatabase());
  }
  CQbase db;
  ASSERT_TRUE(db.openDatabase(shippedDictionary(), file_, false));
  ASSERT_TRUE(db.fetchRec("RD", "000001"));
  short s = 0;
  CWsz name;
  EXPECT_TRUE(db.getShort(1101, s));
  EXPECT_TRUE(db.getWsz(1501, name));
  EXPECT_EQ(s, 12);
  EXPECT_EQ(name.str(), L"old");
  EXPECT_TRUE(db.fetchRec("RT", "000001"));
}

}  // namespace
