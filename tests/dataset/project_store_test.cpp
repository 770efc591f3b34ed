// The dataset file under real processes: readers never see half of a save and never fail
// while a writer updates; a save onto the project's own file, killed at any moment or
// stopped by a full disk, leaves the old content or the new one; a failed read leaves the
// project untouched and keeps its reason.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/faulty_env.h"
#include "support/temp_folder.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/ui_backend.h"

namespace {

using vxkd_test::readBytes;
using vxkd_test::TempFolder;

// Answers every box without recording it: the children of these tests may show many.
class SilentUi : public CConsoleUiBackend {
 public:
  int messageBox(cuWin::HWND, const wchar_t*, const wchar_t*, unsigned style) override {
    return safeAnswerFor(style);
  }
};

// A project of `count` definitions whose descriptions all name `round`.
void fillRound(CKdProject& p, int count, int round) {
  p.propertyDefs().reset();
  const std::wstring desc = L"round " + std::to_wstring(round);
  for (int i = 1; i <= count; ++i) {
    std::wstring name = L"Def " + std::to_wstring(i);
    p.propertyDefs().add(name.c_str(), desc.c_str(), CKdPropertyValue::typeInt32, CKdUnit(), 0);
  }
}

// The round that every definition of `p` names, or -1 when they differ (half of a save).
int roundOf(const CKdProject& p, int count) {
  if (p.propertyDefs().length() != count) return -1;
  std::wstring first = p.propertyDefs().descriptionAt(0);
  for (int i = 1; i < count; ++i)
    if (first != p.propertyDefs().descriptionAt(i)) return -1;
  return first.rfind(L"round ", 0) == 0 ? std::stoi(first.substr(6)) : -1;
}

int exitStatusOf(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status)
                           : 100 + (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
}

class ProjectStoreTest : public ::testing::Test {
 protected:
  void SetUp() override { CUiBackend::install(&ui_); }
  void TearDown() override { CUiBackend::install(nullptr); }

  std::string native() const { return dir_.native("data.vkd"); }
  CWsz path() const { return dir_.path(L"data.vkd"); }

  SilentUi ui_;
  TempFolder dir_;
};

// Eight processes read while a ninth updates in a loop: every read sees one round whole, no
// read fails, and the writer's last round is what the file holds.
TEST_F(ProjectStoreTest, EightReadersAndAWriterAtTheSameTime) {
  constexpr int kCount = 60, kReaders = 8, kRounds = 40;
  {
    CKdProject p;
    fillRound(p, kCount, 0);
    ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  }
  const std::string done = dir_.native("writer.done");
  std::vector<pid_t> readers;
  for (int r = 0; r < kReaders; ++r) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      // Exit status: 0 fine, 1 a read failed, 2 half of a save seen, 3 an older round after a
      // newer one, 4 never read while the writer ran.
      int last = 0, reads = 0;
      for (bool writing = true; writing;) {
        writing = access(done.c_str(), F_OK) != 0;
        CKdProject p;
        if (!p.readDb(nullptr, path())) _exit(1);
        int round = roundOf(p, kCount);
        if (round < 0) _exit(2);
        if (round < last) _exit(3);
        last = round;
        ++reads;
      }
      _exit(reads > 1 ? 0 : 4);
    }
    readers.push_back(pid);
  }
  pid_t writer = fork();
  ASSERT_GE(writer, 0);
  if (writer == 0) {
    CKdProject p;
    if (!p.readDb(nullptr, path())) _exit(1);
    for (int round = 1; round <= kRounds;) {
      CLockFile lock;
      int r = p.setEditLock(nullptr, lock);
      if (r == 1) continue;
      if (r != 0) _exit(2);
      fillRound(p, kCount, round);
      if (!p.updateDb(nullptr)) _exit(10 + p.failReason());
      ++round;
    }
    _exit(0);
  }
  int writerStatus = exitStatusOf(writer);
  vxkd_test::writeBytes(done, "");
  EXPECT_EQ(writerStatus, 0) << "10 + reason: a failed save";
  for (pid_t pid : readers)
    EXPECT_EQ(exitStatusOf(pid), 0) << "1 failed read, 2 half a save, 3 older after newer";
  CKdProject result;
  ASSERT_TRUE(result.readDb(nullptr, path()));
  EXPECT_EQ(roundOf(result, kCount), kRounds) << "the writer lost nothing";
}

// Kills its own process at the `killAt`-th database write, or just before (-1) or just after
// (-2) the new file is renamed into place.
class KillingEnv : public CEnv {
 public:
  explicit KillingEnv(int killAt) : killAt_(killAt) { previous_ = CEnv::install(this); }
  ~KillingEnv() override { CEnv::install(previous_); }
  KillingEnv(const KillingEnv&) = delete;
  KillingEnv& operator=(const KillingEnv&) = delete;

  int checkDatabaseWrite(const std::string& path, size_t size) override {
    if (++writes_ == killAt_) raise(SIGKILL);
    return CEnv::checkDatabaseWrite(path, size);
  }
  int renamePath(const std::string& from, const std::string& to) override {
    if (killAt_ == -1) raise(SIGKILL);
    int r = CEnv::renamePath(from, to);
    if (killAt_ == -2) raise(SIGKILL);
    return r;
  }
  int writes() const { return writes_; }

 private:
  CEnv* previous_ = nullptr;
  int killAt_;
  int writes_ = 0;
};

constexpr int kOld = 1, kNew = 2, kOldCount = 50, kNewCount = 400;

// Reads the project's own file, replaces its content by round kNew and saves it onto itself.
bool saveNewContentOver(const CWsz& path) {
  CKdProject p;
  if (!p.readDb(nullptr, path)) return false;
  fillRound(p, kNewCount, kNew);
  CVxSymbolModel big;
  big.setSymbolId("BIG");
  for (int i = 0; i < 3000; ++i) big.appendNode(CGmNode{});
  p.symbols().append(&big);
  return p.saveDbAs(nullptr, p.fileName());
}

TEST_F(ProjectStoreTest, SaveOntoItsOwnFileKilledAtAnyMomentLeavesOldOrNew) {
  auto makeOld = [&] {
    CKdProject p;
    fillRound(p, kOldCount, kOld);
    return p.saveDbAs(nullptr, path());
  };
  ASSERT_TRUE(makeOld());
  int total = 0;
  {
    TempFolder spare;
    ASSERT_TRUE(spare.write("data.vkd", readBytes(native())));
    KillingEnv counter(0);
    ASSERT_TRUE(saveNewContentOver(spare.path(L"data.vkd")));
    total = counter.writes();
  }
  ASSERT_GT(total, 20);
  for (int killAt : {1, 2, total / 4, total / 2, total - 1, total, -1, -2}) {
    SCOPED_TRACE("killed at " + std::to_string(killAt) + " of " + std::to_string(total));
    ASSERT_TRUE(makeOld());
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      KillingEnv env(killAt);
      _exit(saveNewContentOver(path()) ? 0 : 1);
    }
    ASSERT_EQ(exitStatusOf(child), 100 + SIGKILL);
    CKdProject after;
    ASSERT_TRUE(after.readDb(nullptr, path())) << CQbase::reasonText(after.failReason());
    int round = roundOf(after, after.propertyDefs().length() == kNewCount ? kNewCount : kOldCount);
    if (killAt == -2) {
      EXPECT_EQ(round, kNew);
    } else {
      EXPECT_EQ(round, kOld);
    }
    EXPECT_EQ(after.symbols().length(), round == kNew ? 1 : 0);
  }
}

TEST_F(ProjectStoreTest, SaveAndNewDbWithAFullDiskLeaveTheOldFileWhole) {
  {
    CKdProject p;
    fillRound(p, kOldCount, kOld);
    ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  }
  const std::string before = readBytes(native());
  for (int at : {1, 3, 10, 40}) {
    SCOPED_TRACE("disk full at write " + std::to_string(at));
    {
      vxkd_test::FaultyEnv env;
      env.failDatabaseWrites(at, ENOSPC);
      EXPECT_FALSE(saveNewContentOver(path()));
      CKdProject fresh;
      EXPECT_FALSE(fresh.newDb(nullptr, path()));
      EXPECT_EQ(fresh.failReason(), CQbase::reasonFailed);
      EXPECT_TRUE(fresh.fileName().isEmpty());
    }
    EXPECT_EQ(readBytes(native()), before);
    EXPECT_EQ(dir_.names(), std::vector<std::string>{"data.vkd"}) << "no temporary file left";
  }
  // A rename that fails: the committed new file goes again, the old one stays.
  vxkd_test::FaultyEnv env;
  env.failRenames(EIO);
  EXPECT_FALSE(saveNewContentOver(path()));
  EXPECT_EQ(readBytes(native()), before);
  EXPECT_EQ(dir_.names(), std::vector<std::string>{"data.vkd"});
}

// The project is read all or nothing: a read that fails leaves it as it was, with the
// reason kept; an update of a damaged file is refused with the reason "damaged".
TEST_F(ProjectStoreTest, FailedReadOrUpdateKeepsTheProjectAndTheReason) {
  CKdProject p;
  fillRound(p, 300, kOld);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  std::string bytes = readBytes(native());
  constexpr size_t kPage = 4096;
  const size_t page = bytes.find("Def 150") / kPage;  // a page of the definitions' table
  bytes.replace(page * kPage, kPage, std::string(kPage, '\0'));
  ASSERT_TRUE(vxkd_test::writeBytes(native(), bytes));

  CKdProject reader;
  fillRound(reader, 3, 7);
  EXPECT_FALSE(reader.readDb(nullptr, path()));
  EXPECT_EQ(reader.failReason(), CQbase::reasonDamaged);
  EXPECT_EQ(roundOf(reader, 3), 7) << "untouched";
  EXPECT_TRUE(reader.fileName().isEmpty());
  EXPECT_FALSE(p.updateDb(nullptr));
  EXPECT_EQ(p.failReason(), CQbase::reasonDamaged);
  EXPECT_EQ(readBytes(native()), bytes);
  EXPECT_FALSE(reader.readDb(nullptr, dir_.path(L"missing.vkd")));
  EXPECT_EQ(reader.failReason(), CQbase::reasonMissing);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  EXPECT_TRUE(reader.readDb(nullptr, path()));
  EXPECT_EQ(reader.failReason(), CQbase::reasonNone);
  EXPECT_EQ(roundOf(reader, 300), kOld);
}

// A dataset nobody may write reads with readDb, also for a user to whom file modes apply.
TEST_F(ProjectStoreTest, ReadOnlyDatasetReadsWithReadDb) {
  CKdProject p;
  fillRound(p, 10, kOld);
  ASSERT_TRUE(p.saveDbAs(nullptr, path()));
  ASSERT_EQ(chmod(native().c_str(), 0444), 0);
  ASSERT_EQ(chmod(dir_.native().c_str(), 0755), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
    CKdProject reader;
    if (!reader.readDb(nullptr, path())) _exit(1);
    _exit(roundOf(reader, 10) == kOld && !reader.updateDb(nullptr) &&
                  reader.failReason() == CQbase::reasonReadOnly
              ? 0
              : 2);
  }
  EXPECT_EQ(exitStatusOf(child), 0) << "1: not read; 2: update not refused as read-only";
}

}  // namespace
