// The vkd program as an administrator runs it, the wrong ways included: the built binary
// is started in a child process and its exit status and output are checked.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/paths.h"

namespace {

using vxkd_test::readBytes;
using vxkd_test::TempFolder;

struct VkdRun {
  int status = -1;  // the exit status; -1 when the program did not end normally
  std::string out;
  std::string err;
};

std::string slurp(int fd) {
  std::string text;
  char buffer[4096];
  ssize_t n;
  while ((n = read(fd, buffer, sizeof buffer)) > 0) text.append(buffer, static_cast<size_t>(n));
  return text;
}

// Runs the vkd of the build with `args` in `folder`, as the user `uid` when not -1.
VkdRun vkd(const std::vector<std::string>& args, const std::string& folder = ".", int uid = -1) {
  VkdRun run;
  char outName[] = "/tmp/vkd_out_XXXXXX";
  char errName[] = "/tmp/vkd_err_XXXXXX";
  int out = mkstemp(outName), err = mkstemp(errName);
  pid_t child = fork();
  if (child == 0) {
    dup2(out, 1);
    dup2(err, 2);
    if (chdir(folder.c_str()) != 0) _exit(126);
    if (uid >= 0 && (setgid(uid) != 0 || setuid(uid) != 0)) _exit(126);
    std::vector<char*> argv{const_cast<char*>(VXKD_VKD_PROGRAM)};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(VXKD_VKD_PROGRAM, argv.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  lseek(out, 0, SEEK_SET);
  lseek(err, 0, SEEK_SET);
  run.out = slurp(out);
  run.err = slurp(err);
  close(out);
  close(err);
  unlink(outName);
  unlink(errName);
  return run;
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// True when `pattern` (an extended regular expression) occurs in `text`.
bool matches(const std::string& text, const std::string& pattern) {
  return std::regex_search(text, std::regex(pattern, std::regex::extended));
}

// The user the tests drop to where the super-user would not feel file modes.
constexpr int kNobody = 65534;

class VkdTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(dir_.native().empty()); }

  VkdRun inFolder(const std::vector<std::string>& args) { return vkd(args, dir_.native()); }
  std::string path(const char* name) const { return dir_.native(name); }

  TempFolder dir_;
};

TEST_F(VkdTest, NewInfoListAndLockStatusOfAFreshDataset) {
  VkdRun made = inFolder({"new", "--sample", "demo.vkd"});
  ASSERT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(made.out, "Created demo.vkd\n");
  VkdRun info = inFolder({"info", "demo.vkd"});
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_TRUE(matches(info.out, "Property definitions +24\n")) << info.out;
  EXPECT_TRUE(matches(info.out, "2D symbols +11\n")) << info.out;
  EXPECT_TRUE(matches(info.out, "Product groups +21\n")) << info.out;
  EXPECT_TRUE(matches(info.out, "Block definitions +3\n")) << info.out;
  VkdRun list = inFolder({"list", "demo.vkd", "properties"});
  ASSERT_EQ(list.status, 0) << list.err;
  EXPECT_TRUE(contains(list.out, "Width")) << list.out;
  VkdRun lock = inFolder({"lock-status", "demo.vkd"});
  EXPECT_EQ(lock.status, 0);
  EXPECT_EQ(lock.out, "demo.vkd: not locked\n");
  EXPECT_EQ(dir_.names(), std::vector<std::string>{"demo.vkd"}) << "nothing else left behind";
}

// --version is the ctest vkd_version (tests/CMakeLists.txt) and an example of docs/guide.md.
TEST_F(VkdTest, HelpAndWrongCommandLines) {
  VkdRun help = vkd({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* word :
       {"new [--force] [--sample | --from FILE.json] FILE.vkd", "lock-status", "properties"})
    EXPECT_TRUE(contains(help.out, word)) << word;
  const struct {
    std::vector<std::string> args;
    const char* says;
  } kWrong[] = {
      {{}, "no command given"},
      {{"frobnicate", "x.vkd"}, "unknown command"},
      {{"new", "--sample"}, "usage: vkd new"},  // no file: no file called "--sample" either
      {{"new"}, "usage: vkd new"},
      {{"info", "a.vkd", "b.vkd"}, "usage: vkd info"},
      {{"info", "--force", "a.vkd"}, "info has no option --force"},
      {{"new", "--bogus", "a.vkd"}, "unknown option --bogus"},
      {{"list", "a.vkd", "nonsense"}, "unknown kind"},
  };
  for (const auto& wrong : kWrong) {
    VkdRun run = inFolder(wrong.args);
    EXPECT_EQ(run.status, 2) << wrong.says;
    EXPECT_TRUE(contains(run.err, wrong.says)) << run.err;
  }
  EXPECT_EQ(dir_.names(), std::vector<std::string>{});
  // "--" ends the options: a file whose name begins with "-" can be made and read.
  ASSERT_EQ(inFolder({"new", "--", "-odd.vkd"}).status, 0);
  EXPECT_EQ(inFolder({"info", "--", "-odd.vkd"}).status, 0);
}

TEST_F(VkdTest, NewRefusesAnExistingFileWithoutForce) {
  ASSERT_EQ(inFolder({"new", "--sample", "shared.vkd"}).status, 0);
  const std::string before = readBytes(path("shared.vkd"));
  const uint64_t time = vxkd_test::modTimeOf(path("shared.vkd"));
  VkdRun again = inFolder({"new", "shared.vkd"});
  EXPECT_EQ(again.status, 1);
  EXPECT_TRUE(contains(again.err, "exists")) << again.err;
  EXPECT_EQ(readBytes(path("shared.vkd")), before);
  EXPECT_EQ(vxkd_test::modTimeOf(path("shared.vkd")), time);
  // With --force it is replaced: the sample content is gone.
  VkdRun forced = inFolder({"new", "--force", "shared.vkd"});
  ASSERT_EQ(forced.status, 0) << forced.err;
  EXPECT_TRUE(matches(inFolder({"info", "shared.vkd"}).out, "Property definitions +0\n"));
  EXPECT_EQ(dir_.names(), std::vector<std::string>{"shared.vkd"});
}

// Another process holds the dataset's lock for an update: --force does not help.
TEST_F(VkdTest, NewWithForceRefusesADatasetWhoseLockIsHeld) {
  ASSERT_EQ(inFolder({"new", "--sample", "shared.vkd"}).status, 0);
  const std::string before = readBytes(path("shared.vkd"));
  int ready[2], done[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(done), 0);
  pid_t holder = fork();
  ASSERT_GE(holder, 0);
  if (holder == 0) {
    CLockFile lock;
    int r = lock.set(CWsz::fromUtf8(path("shared.lck").c_str()), L"Anna", nullptr);
    char c = r == 0 ? 'y' : 'n';
    (void)!write(ready[1], &c, 1);
    (void)!read(done[0], &c, 1);
    _exit(0);
  }
  char c = 0;
  ASSERT_EQ(read(ready[0], &c, 1), 1);
  ASSERT_EQ(c, 'y');
  VkdRun forced = inFolder({"new", "--force", "shared.vkd"});
  VkdRun status = inFolder({"lock-status", "shared.vkd"});
  (void)!write(done[1], "x", 1);
  waitpid(holder, nullptr, 0);
  EXPECT_EQ(forced.status, 1);
  EXPECT_TRUE(contains(forced.err, "locked for an update by Anna")) << forced.err;
  EXPECT_EQ(readBytes(path("shared.vkd")), before);
  EXPECT_EQ(status.status, 3);
  EXPECT_TRUE(contains(status.out, "locked for an update by Anna")) << status.out;
  for (int fd : {ready[0], ready[1], done[0], done[1]}) close(fd);
}

TEST_F(VkdTest, LockStatusTellsStaleLockFilesAndRefusesBadNames) {
  ASSERT_EQ(inFolder({"new", "data.vkd"}).status, 0);
  ASSERT_TRUE(dir_.write("data.lck", std::string(200, '*')));  // left by a crashed program
  VkdRun stale = inFolder({"lock-status", "data.vkd"});
  EXPECT_EQ(stale.status, 4);
  EXPECT_TRUE(contains(stale.out, "stale lock file")) << stale.out;
  EXPECT_EQ(inFolder({"lock-status", "missing.vkd"}).status, 2);
  for (const char* bad : {"ab", "data.lck", "sub/"}) {
    SCOPED_TRACE(bad);
    for (const char* command : {"new", "lock-status"}) {
      VkdRun run = inFolder({command, bad});
      EXPECT_EQ(run.status, 2);
      EXPECT_TRUE(contains(run.err, "cannot carry a lock file")) << run.err;
    }
  }
  EXPECT_EQ(dir_.names(), (std::vector<std::string>{"data.lck", "data.vkd"}));
  // A folder that cannot take a lock file.
  VkdRun nowhere = inFolder({"new", "no/such/folder/x.vkd"});
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_TRUE(contains(nowhere.err, "cannot make the lock file")) << nowhere.err;
}

// ---------------------------------------------------------------------------------------
// Every reason a dataset cannot be read, produced for real, gives its own message.

std::string sqlite(const std::string& file, const std::string& sql) {
  sqlite3* db = nullptr;
  std::string error;
  if (sqlite3_open(file.c_str(), &db) != SQLITE_OK) error = "cannot open";
  char* message = nullptr;
  if (error.empty() && sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK)
    error = message ? message : "failed";
  sqlite3_free(message);
  sqlite3_close(db);
  return error;
}

TEST_F(VkdTest, EachReasonForAFailedReadHasItsOwnMessage) {
  ASSERT_EQ(inFolder({"new", "--sample", "good.vkd"}).status, 0);
  const std::string good = readBytes(path("good.vkd"));
  ASSERT_TRUE(dir_.write("text.vkd", "This is a letter, not a dataset.\n"));
  ASSERT_EQ(sqlite(path("other.vkd"), "CREATE TABLE invoices (n INTEGER)"), "");
  ASSERT_TRUE(dir_.write("half.vkd", good.substr(0, good.size() / 2)));
  ASSERT_TRUE(dir_.write("newer.vkd", good));
  ASSERT_EQ(sqlite(path("newer.vkd"), "UPDATE vxkd_dataset SET version = version + 1"), "");
  const struct {
    const char* file;
    const char* reason;
  } kCases[] = {
      {"text.vkd", "not a database"}, {"other.vkd", "not a dataset"},
      {"half.vkd", "damaged"},        {"newer.vkd", "written by a newer version"},
      {"missing.vkd", "missing"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.file);
    const std::string before = readBytes(path(c.file));
    VkdRun run = inFolder({"info", c.file});
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(contains(run.err, std::string("cannot read ") + c.file + ": " + c.reason + " ("))
        << run.err;
    EXPECT_EQ(readBytes(path(c.file)), before);
  }
}

// A file held by another writer (an exclusive lock, as during a commit) stays busy beyond
// the reader's waiting time; a file that this user may not write cannot be replaced.
TEST_F(VkdTest, BusyAndReadOnlyFilesGiveTheirReasons) {
  ASSERT_EQ(inFolder({"new", "--sample", "busy.vkd"}).status, 0);
  int ready[2], done[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(done), 0);
  pid_t writer = fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    sqlite3* db = nullptr;
    char c = sqlite3_open(path("busy.vkd").c_str(), &db) == SQLITE_OK &&
                     sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) == SQLITE_OK
                 ? 'y'
                 : 'n';
    (void)!write(ready[1], &c, 1);
    (void)!read(done[0], &c, 1);
    _exit(0);
  }
  char c = 0;
  ASSERT_EQ(read(ready[0], &c, 1), 1);
  ASSERT_EQ(c, 'y');
  VkdRun busy = inFolder({"info", "busy.vkd"});
  (void)!write(done[1], "x", 1);
  waitpid(writer, nullptr, 0);
  for (int fd : {ready[0], ready[1], done[0], done[1]}) close(fd);
  EXPECT_EQ(busy.status, 2);
  EXPECT_TRUE(contains(busy.err, "cannot read busy.vkd: busy (")) << busy.err;
  EXPECT_EQ(inFolder({"info", "busy.vkd"}).status, 0) << "readable once the writer is gone";

  ASSERT_EQ(chmod(dir_.native().c_str(), 0777), 0);
  ASSERT_EQ(chmod(path("busy.vkd").c_str(), 0444), 0);
  const std::string before = readBytes(path("busy.vkd"));
  VkdRun readOnly =
      vkd({"new", "--force", "busy.vkd"}, dir_.native(), getuid() == 0 ? kNobody : -1);
  EXPECT_EQ(readOnly.status, 1);
  EXPECT_TRUE(contains(readOnly.err, "read-only")) << readOnly.err;
  EXPECT_EQ(readBytes(path("busy.vkd")), before);
}

// A dataset that nobody may write, in a folder nobody may write, reads all the same, also
// for a user to whom file modes apply.
TEST_F(VkdTest, ReadOnlyDatasetInAReadOnlyFolderIsRead) {
  ASSERT_EQ(inFolder({"new", "--sample", "office.vkd"}).status, 0);
  const std::string before = readBytes(path("office.vkd"));
  const uint64_t time = vxkd_test::modTimeOf(path("office.vkd"));
  ASSERT_EQ(chmod(path("office.vkd").c_str(), 0444), 0);
  ASSERT_EQ(chmod(dir_.native().c_str(), 0555), 0);
  VkdRun info = vkd({"info", "office.vkd"}, dir_.native(), getuid() == 0 ? kNobody : -1);
  chmod(dir_.native().c_str(), 0755);
  EXPECT_EQ(info.status, 0) << info.err;
  EXPECT_TRUE(matches(info.out, "Property definitions +24\n")) << info.out;
  EXPECT_EQ(readBytes(path("office.vkd")), before);
  EXPECT_EQ(vxkd_test::modTimeOf(path("office.vkd")), time);
}

}  // namespace
