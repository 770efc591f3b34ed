// Sharing one dataset between users: the edit lock, and noticing another user's save.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <set>
#include <string>
#include <vector>

#include "support/faulty_env.h"
#include "support/pg_server.h"
#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/ui_backend.h"
#include "vxkd/ui/language.h"

using namespace cuWin;

namespace {

// Two users of one dataset file; SharedDatasetTest below runs the same on a server.
class ProjectLockTest : public vxkd_test::TextsUiTest {
 protected:
  virtual bool onServer() const { return false; }
  void SetUp() override {
    TextsUiTest::SetUp();
    if (onServer()) {
      vxkd_test::PgServer* server = vxkd_test::PgServer::shared();
      if (!server) GTEST_SKIP() << "no PostgreSQL server: " << vxkd_test::PgServer::skipReason();
      uri_ = server->uri(server->freshName());
    }
    ASSERT_TRUE(mine_.saveDbAs(nullptr, path()));
    ASSERT_TRUE(theirs_.readDb(nullptr, path()));
  }

  CWsz path() const { return onServer() ? CWsz::fromUtf8(uri_.c_str()) : dir_.path(L"shared.vkd"); }
  std::string lockPath() const { return dir_.native("shared.lck"); }
  static void addDef(CKdProject& p, const wchar_t* name) {
    ASSERT_TRUE(p.propertyDefs().add(name, L"", CKdPropertyValue::typeInt32, CKdUnit(), 0));
  }

  vxkd_test::TempFolder dir_;
  CKdProject mine_;    // this user
  CKdProject theirs_;  // a colleague on the same file
  std::string uri_;    // the dataset on the server
};

// The same users on a dataset file ("file") and on a dataset on a server ("server").
class SharedDatasetTest : public ProjectLockTest,
                          public ::testing::WithParamInterface<std::string> {
 protected:
  bool onServer() const override { return GetParam() == "server"; }
};

INSTANTIATE_TEST_SUITE_P(Backends, SharedDatasetTest, ::testing::Values("file", "server"),
                         [](const auto& info) { return info.param; });

TEST_F(ProjectLockTest, UnboundProjectCannotBeChecked) {
  CKdProject unbound;
  EXPECT_EQ(unbound.checkUpdated(nullptr, true), -1);
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_P(SharedDatasetTest, SavesWithinOneClockTickAreStillNoticed) {
  // Saves follow each other faster than the file system's clock ticks (here whole seconds);
  // each must still be seen by the other user.
  vxkd_test::FaultyEnv coarse;
  coarse.coarseClock(true);
  for (int round = 0; round < 20; ++round) {
    CKdProject& writer = round % 2 ? mine_ : theirs_;
    CKdProject& reader = round % 2 ? theirs_ : mine_;
    addDef(writer, (L"P" + std::to_wstring(round)).c_str());
    ASSERT_TRUE(writer.updateDb(nullptr));
    ASSERT_EQ(reader.checkUpdated(nullptr, false), 1) << "round " << round;
    ASSERT_EQ(reader.propertyDefs().length(), round + 1);
  }
}

TEST_P(SharedDatasetTest, AnotherProcessSavingRightAfterUsIsNoticed) {
  vxkd_test::FaultyEnv coarse;  // whole seconds, as above; the child process inherits it
  coarse.coarseClock(true);
  for (int round = 0; round < 10; ++round) {
    addDef(mine_, (L"Mine" + std::to_wstring(round)).c_str());
    ASSERT_TRUE(mine_.updateDb(nullptr));
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      CKdProject other;
      bool saved = other.readDb(nullptr, path()) &&
                   other.propertyDefs().add((L"Other" + std::to_wstring(round)).c_str(), L"",
                                            CKdPropertyValue::typeInt32, CKdUnit(), 0) &&
                   other.updateDb(nullptr);
      _exit(saved ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ASSERT_EQ(mine_.checkUpdated(nullptr, false), 1) << "round " << round;
    ASSERT_EQ(mine_.propertyDefs().length(), 2 * (round + 1));
  }
}

TEST_F(ProjectLockTest, EditLockGoesAheadWhenNothingChanged) {
  CLockFile lock;
  ASSERT_EQ(mine_.setEditLock(nullptr, lock), 0);
  EXPECT_TRUE(vxkd_test::readBytes(lockPath()).size() == 200);
  addDef(mine_, L"Width");
  EXPECT_TRUE(mine_.updateDb(nullptr));
  lock.release();
  EXPECT_FALSE(cuFile::exists(dir_.path(L"shared.lck")));
  EXPECT_EQ(ui_.boxCount(), 0);
}

// The edit lock notices another user's save (as checkUpdated does, which it calls), says so
// and reloads; the stamp moves with the reload.
TEST_P(SharedDatasetTest, EditLockReloadsInsteadWhenAnotherUserSaved) {
  EXPECT_EQ(mine_.checkUpdated(nullptr, true), 0);
  addDef(theirs_, L"Height");
  ASSERT_TRUE(theirs_.updateDb(nullptr));
  addDef(mine_, L"Stale edit");
  CLockFile lock;
  EXPECT_EQ(mine_.setEditLock(nullptr, lock), 1);
  EXPECT_FALSE(lock.isHeld());
  EXPECT_FALSE(cuFile::exists(dir_.path(L"shared.lck")));
  ASSERT_EQ(mine_.propertyDefs().length(), 1);
  EXPECT_STREQ(mine_.propertyDefs().nameAt(0), L"Height");
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(lastBoxIs(L"Someone else has just updated file\r\nDataset will be reloaded",
                        L"Dataset Changed", MB_TASKMODAL | MB_ICONINFORMATION));
  EXPECT_EQ(mine_.checkUpdated(nullptr, true), 0) << "the stamp moved with the reload";
}

TEST_P(SharedDatasetTest, EditLockHeldByAnotherUserIsRefused) {
  CLockFile theirLock;
  ASSERT_EQ(theirs_.setEditLock(nullptr, theirLock), 0);
  CLockFile lock;
  EXPECT_EQ(mine_.setEditLock(nullptr, lock), -1);
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(lastBoxIs(L"Somebody other is currently updating file\r\nOperation cancelled",
                        L"Update Failed", MB_TASKMODAL | MB_ICONSTOP));
  EXPECT_FALSE(lock.isHeld());
}

TEST_F(ProjectLockTest, LockFileThatCannotBeMadeIsReported) {
  vxkd_test::FaultyEnv env;
  env.failOpen(lockPath(), -1, EACCES);
  CLockFile lock;
  EXPECT_FALSE(mine_.setLockFile(nullptr, lock));
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_TRUE(lastBoxIs(L"Cannot update file", L"Update Failed", MB_TASKMODAL | MB_ICONSTOP));
}

// Answers every box without recording it: the children of the load test show many.
// Installed for its lifetime.
class SilentUi : public CConsoleUiBackend {
 public:
  SilentUi() : previous_(CUiBackend::install(this)) {}
  ~SilentUi() override { CUiBackend::install(previous_); }
  SilentUi(const SilentUi&) = delete;
  SilentUi& operator=(const SilentUi&) = delete;

  int messageBox(HWND, const wchar_t*, const wchar_t*, unsigned style) override {
    return safeAnswerFor(style);
  }

 private:
  CUiBackend* previous_;
};

// One designer: `edits` edit cycles on the shared file. Exit code 0 on success, 3 when two
// designers held the lock at once, 10 + the reason when a save failed.
int designer(const CWsz& path, const std::string& marker, int who, int edits) {
  SilentUi ui;
  CKdProject project;
  if (!project.readDb(nullptr, path)) return 5;
  for (int done = 0; done < edits;) {
    CLockFile lock;
    int r = project.setEditLock(nullptr, lock);
    if (r == -1) {
      usleep(100);
      continue;
    }
    if (r == 1) continue;  // reloaded: make the edit again on the new content
    int fd = open(marker.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0644);
    if (fd < 0) return 3;
    close(fd);
    std::wstring name = L"D" + std::to_wstring(who) + L"-" + std::to_wstring(done);
    project.propertyDefs().add(name.c_str(), L"", CKdPropertyValue::typeInt32, CKdUnit(), 0);
    bool saved = project.updateDb(nullptr);
    unlink(marker.c_str());
    lock.release();
    if (!saved) return 10 + project.failReason();
    ++done;
  }
  return 0;
}

TEST_P(SharedDatasetTest, EightDesignersLoseNoUpdate) {
  constexpr int kDesigners = 8;
  constexpr int kEdits = 200;
  std::string marker = dir_.native("holder.marker");
  std::vector<pid_t> children;
  for (int who = 0; who < kDesigners; ++who) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) _exit(designer(path(), marker, who, kEdits));
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0)
        << "3: two holders at once; 10 + reason: a failed save, "
        << CQbase::reasonText(static_cast<CQbase::failReason>(WEXITSTATUS(status) - 10));
  }
  CKdProject result;
  ASSERT_TRUE(result.readDb(nullptr, path()));
  EXPECT_EQ(result.propertyDefs().length(), kDesigners * kEdits);
  std::set<std::wstring> names;
  for (int i = 0; i < result.propertyDefs().length(); ++i)
    names.insert(result.propertyDefs().nameAt(i));
  EXPECT_EQ(names.size(), static_cast<size_t>(kDesigners * kEdits));
}

// A dataset on a server only: what happens to sessions that end.
class ServerDatasetTest : public ProjectLockTest {
 protected:
  bool onServer() const override { return true; }

  // Forks a designer who runs `work` and then waits to be killed; returns once `work` is done
  // (the child wrote its result to the pipe).
  template <typename Work>
  pid_t forkAndWait(Work work, char& result) {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    pid_t pid = fork();
    if (pid == 0) {
      close(fds[0]);
      char r = work() ? 'y' : 'n';
      if (write(fds[1], &r, 1) != 1) _exit(2);
      pause();
      _exit(0);
    }
    close(fds[1]);
    if (read(fds[0], &result, 1) != 1) result = '?';
    close(fds[0]);
    return pid;
  }
  static void killAndReap(pid_t pid) {
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
  }
};

TEST_F(ServerDatasetTest, TheLockKeepsTheOwnersTextBesideIt) {
  CLockFile anna, other;
  ASSERT_EQ(anna.set(path(), L"Anna at desk 4", nullptr), CLockFile::lockHeld);
  wchar_t owner[CLockFile::kOwnerBufferChars] = L"x";
  EXPECT_EQ(other.set(path(), L"Ben", owner), CLockFile::lockedByOther);
  EXPECT_STREQ(owner, L"Anna at desk 4");
  anna.release();
  EXPECT_EQ(other.set(path(), L"Ben", owner), CLockFile::lockHeld);
  EXPECT_STREQ(owner, L"");
}

TEST_F(ServerDatasetTest, AHolderWhoseSessionDropsBlocksNobody) {
  char taken = 0;
  pid_t holder = forkAndWait(
      [this] {
        static CLockFile lock;  // held until the process is killed
        return theirs_.setEditLock(nullptr, lock) == 0;
      },
      taken);
  ASSERT_GT(holder, 0);
  ASSERT_EQ(taken, 'y');
  CLockFile lock;
  EXPECT_EQ(mine_.setEditLock(nullptr, lock), -1);
  EXPECT_TRUE(lastBoxIs(L"Somebody other is currently updating file\r\nOperation cancelled",
                        L"Update Failed", MB_TASKMODAL | MB_ICONSTOP));
  killAndReap(holder);
  // The server ends the dead designer's session as soon as it notices the closed socket.
  int r = -1;
  for (int wait = 0; wait < 100 && r != 0; ++wait) {
    r = mine_.setEditLock(nullptr, lock);
    if (r != 0) usleep(50000);
  }
  EXPECT_EQ(r, 0);
  addDef(mine_, L"After the crash");
  EXPECT_TRUE(mine_.updateDb(nullptr));
}

TEST_F(ServerDatasetTest, AWriterKilledInTheMiddleOfAnUpdateChangesNothing) {
  addDef(mine_, L"Before");
  ASSERT_TRUE(mine_.updateDb(nullptr));
  char written = 0;
  pid_t writer = forkAndWait(
      [this] {
        static CQbase db;  // open, in the middle of its transaction, when killed
        CKdProject edited(mine_);
        for (int i = 0; i < 300; ++i)
          edited.propertyDefs().add((L"Half" + std::to_wstring(i)).c_str(), L"",
                                    CKdPropertyValue::typeInt32, CKdUnit(), 0);
        return db.openDatabase(vxkd_test::datasetDictionary(), path(), CQbase::openUpdate) &&
               edited.propertyDefs().saveTo(db) && db.deleteRec("RD", "000001");
      },
      written);
  ASSERT_GT(writer, 0);
  ASSERT_EQ(written, 'y');
  killAndReap(writer);
  CKdProject after;
  ASSERT_TRUE(after.readDb(nullptr, path()));
  ASSERT_EQ(after.propertyDefs().length(), 1);
  EXPECT_STREQ(after.propertyDefs().nameAt(0), L"Before");
  EXPECT_EQ(mine_.checkUpdated(nullptr, false), 0) << "nothing was stored";
  addDef(mine_, L"Next");
  EXPECT_TRUE(mine_.updateDb(nullptr)) << "the dead writer's transaction is gone";
}

}  // namespace
