#include "vxkd/platform/lock_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cwchar>
#include <string>
#include <vector>

#include "support/faulty_env.h"
#include "support/temp_folder.h"
#include "vxkd/platform/sz.h"

namespace {

using vxkd_test::FaultyEnv;

// Another process that takes a lock and holds it until it is told to let go, or is killed.
// Only one at a time: a second child would inherit the first one's pipe.
class OtherProcess {
 public:
  OtherProcess(const CWsz& lockPath, const wchar_t* owner) {
    int report[2];
    int hold[2];
    if (::pipe(report) != 0 || ::pipe(hold) != 0) return;
    pid_ = ::fork();
    if (pid_ == 0) {
      ::close(report[0]);
      ::close(hold[1]);
      CLockFile lock;
      signed char result = static_cast<signed char>(lock.set(lockPath, owner, nullptr));
      char byte = 0;
      bool ok = ::write(report[1], &result, 1) == 1 && ::read(hold[0], &byte, 1) >= 0;
      lock.release();
      ::_exit(ok ? 0 : 1);
    }
    ::close(report[1]);
    ::close(hold[0]);
    hold_ = hold[1];
    signed char result = 99;
    if (pid_ > 0 && ::read(report[0], &result, 1) == 1) result_ = result;
    ::close(report[0]);
  }
  ~OtherProcess() { stop(); }

  // The child's result of set().
  int result() const { return result_; }
  // Lets the child release its lock, and waits until it has.
  void stop() { end(0); }
  // Kills the child without giving it a chance to release.
  void kill() { end(SIGKILL); }

 private:
  void end(int signal) {
    if (pid_ <= 0) return;
    if (signal) ::kill(pid_, signal);
    ::close(hold_);  // the child's read ends
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

  pid_t pid_ = -1;
  int hold_ = -1;
  int result_ = 99;
};

// The bytes of a lock file held by `owner`, built by hand: UTF-16LE, "*" up to 100 units.
std::string contentOf(std::u16string owner) {
  owner.resize(CLockFile::kContentChars, u'*');
  std::string bytes;
  for (char16_t unit : owner) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

class LockFileTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(folder_.native().empty()); }
  bool lockFileExists() const { return ::access(file_.c_str(), F_OK) == 0; }

  vxkd_test::TempFolder folder_;
  std::string file_ = folder_.native("data.lck");
  CWsz path_ = folder_.path(L"data.lck");
  wchar_t other_[CLockFile::kOwnerBufferChars] = L"left over";
};

TEST_F(LockFileTest, HoldsOwnerThenStarsAndReleaseRemovesFile) {
  const std::pair<std::wstring, std::u16string> owners[] = {
      {L"", u""},
      {L"Jürgen Größ", u"Jürgen Größ"},
      {L"\U0001D11E clef", u"\U0001D11E clef"},
      // A pair that does not fit into the 100 units is left out whole.
      {std::wstring(99, L'x') + L"\U0001D11E", std::u16string(99, u'x')},
      {std::wstring(150, L'a'), std::u16string(100, u'a')}};
  for (const auto& [owner, written] : owners) {
    SCOPED_TRACE(cuSz::toUtf8(owner));
    CLockFile lock;
    ASSERT_EQ(lock.set(path_, owner.c_str(), other_), CLockFile::lockHeld);
    EXPECT_STREQ(other_, L"");
    EXPECT_TRUE(lock.isHeld());
    EXPECT_EQ(lock.path(), path_);
    EXPECT_EQ(vxkd_test::readBytes(file_), contentOf(written));
    lock.release();
    EXPECT_FALSE(lock.isHeld());
    EXPECT_TRUE(lock.path().isEmpty());
    EXPECT_FALSE(lockFileExists());
    lock.release();  // idle: nothing happens
  }
}

TEST_F(LockFileTest, HeldElsewhereGivesMinusTwoWithOwnerTextUpTo39CharactersUntilReleased) {
  const std::pair<std::wstring, std::wstring> owners[] = {
      {L"", L""},
      {L"ab*cd", L"ab"},
      {L"Jürgen Größ-Ødegård", L"Jürgen Größ-Ødegård"},
      {L"0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJ",
       L"0123456789abcdefghijklmnopqrstuvwxyzABC"}};
  for (const auto& [owner, seen] : owners) {
    SCOPED_TRACE(cuSz::toUtf8(owner));
    OtherProcess holder(path_, owner.c_str());
    ASSERT_EQ(holder.result(), CLockFile::lockHeld);
    const std::string held = vxkd_test::readBytes(file_);
    CLockFile lock;
    EXPECT_EQ(lock.set(path_, L"Me", other_), CLockFile::lockedByOther);
    EXPECT_EQ(std::wstring(other_), seen);
    EXPECT_EQ(lock.set(path_, L"Me", nullptr), CLockFile::lockedByOther);
    wcscpy(other_, L"left over");
    EXPECT_EQ(CLockFile::queryOwner(path_, other_), CLockFile::queryLockedByOther);
    EXPECT_EQ(std::wstring(other_), seen);
    EXPECT_FALSE(lock.isHeld());
    EXPECT_EQ(vxkd_test::readBytes(file_), held);
    holder.stop();
    EXPECT_FALSE(lockFileExists());
    EXPECT_EQ(lock.set(path_, L"Me", other_), CLockFile::lockHeld);
  }
}

TEST_F(LockFileTest, KilledHolderLeavesStaleFileThatNextSetTakesOverAndRewrites) {
  OtherProcess holder(path_, L"Crashed");
  ASSERT_EQ(holder.result(), CLockFile::lockHeld);
  holder.kill();
  ASSERT_TRUE(lockFileExists());
  ASSERT_TRUE(vxkd_test::writeBytes(file_, vxkd_test::readBytes(file_) + "trailing bytes"));
  const std::string stale = vxkd_test::readBytes(file_);
  EXPECT_EQ(CLockFile::queryOwner(path_, other_), CLockFile::queryStale);
  EXPECT_STREQ(other_, L"Crashed");
  EXPECT_EQ(vxkd_test::readBytes(file_), stale) << "a query changes nothing";

  CLockFile lock;
  EXPECT_EQ(lock.set(path_, L"Next", other_), CLockFile::lockHeld);
  EXPECT_STREQ(other_, L"");
  EXPECT_EQ(vxkd_test::readBytes(file_), contentOf(u"Next"));
}

TEST_F(LockFileTest, HeldFileThatCannotBeOpenedOrReadGivesMinusThree) {
  OtherProcess holder(path_, L"Anna");
  ASSERT_EQ(holder.result(), CLockFile::lockHeld);
  for (bool failRead : {false, true}) {
    FaultyEnv env;
    if (failRead)
      env.failReads(file_, EIO);
    else
      env.failOpen(file_, O_RDONLY, EACCES);
    CLockFile lock;
    EXPECT_EQ(lock.set(path_, L"Me", other_), CLockFile::lockUnreadable) << failRead;
    EXPECT_FALSE(lock.isHeld());
    EXPECT_STREQ(other_, L"");
    EXPECT_EQ(CLockFile::queryOwner(path_, other_), CLockFile::queryUnreadable);
    EXPECT_EQ(env.opened(), env.closed());
  }
}

// A missing folder, an empty path, a path through a file, a full disk: no lock file or held
// lock is left behind.
TEST_F(LockFileTest, CreationFailureGivesMinusOneAndLeavesNothing) {
  ASSERT_TRUE(folder_.write("file", "x"));
  const CWsz paths[] = {folder_.path(L"gone/data.lck"), CWsz(), folder_.path(L"file/data.lck"),
                        path_};
  for (const CWsz& path : paths) {
    SCOPED_TRACE(path.toUtf8());
    FaultyEnv env;
    if (path == path_) env.failWrites(ENOSPC);
    CLockFile lock;
    EXPECT_EQ(lock.set(path, L"Me", other_), CLockFile::lockCreateFailed);
    EXPECT_FALSE(lock.isHeld());
    EXPECT_TRUE(lock.path().isEmpty());
    EXPECT_FALSE(lockFileExists());
    EXPECT_EQ(env.opened(), env.closed());
  }
}

TEST_F(LockFileTest, SetAgainOrDestructorReleasesTheFirstLock) {
  const CWsz otherPath = folder_.path(L"other.lck");
  EXPECT_EQ(CLockFile::queryOwner(path_, other_), CLockFile::queryNoLockFile);
  {
    CLockFile lock, second;
    ASSERT_EQ(lock.set(path_, L"Me", nullptr), CLockFile::lockHeld);
    EXPECT_EQ(second.set(path_, L"Bert", other_), CLockFile::lockedByOther) << "same process";
    EXPECT_STREQ(other_, L"Me");
    EXPECT_EQ(lock.set(otherPath, L"Me", nullptr), CLockFile::lockHeld);
    EXPECT_FALSE(lockFileExists());
    EXPECT_EQ(lock.path(), otherPath);
    EXPECT_EQ(lock.set(otherPath, L"Me", nullptr), CLockFile::lockHeld);
    EXPECT_EQ(folder_.read("other.lck"), contentOf(u"Me"));
  }
  EXPECT_NE(::access(folder_.native("other.lck").c_str(), F_OK), 0);
}

// inode of the open descriptor and of the path.
bool holdsFileAtPath(const CLockFile& lock, const std::string& path) {
  struct stat open {};
  struct stat named {};
  return ::fstat(lock.handle(), &open) == 0 && ::stat(path.c_str(), &named) == 0 &&
         open.st_ino == named.st_ino && open.st_dev == named.st_dev;
}

TEST_F(LockFileTest, FileReplacedWhileLockingIsNotKept) {
  FaultyEnv env;
  int replaced = 0;
  // Right after the lock is granted, a releasing holder's unlink and a newcomer's file.
  env.onLockGranted([&](int) {
    if (replaced++ == 0) {
      ::unlink(file_.c_str());
      vxkd_test::writeBytes(file_, contentOf(u"Newcomer"));
    }
  });
  CLockFile lock;
  ASSERT_EQ(lock.set(path_, L"Me", nullptr), CLockFile::lockHeld);
  EXPECT_EQ(replaced, 2);
  EXPECT_TRUE(holdsFileAtPath(lock, file_));
  EXPECT_EQ(vxkd_test::readBytes(file_), contentOf(u"Me"));

  env.onLockGranted([&](int) { ::unlink(file_.c_str()); });  // a file that never stays
  EXPECT_EQ(lock.set(path_, L"Me", nullptr), CLockFile::lockCreateFailed);
  EXPECT_EQ(env.opened(), env.closed());
}

TEST_F(LockFileTest, OnlyOneProcessHoldsLockAtATime) {
  constexpr int kWorkers = 3;
  constexpr int kRounds = 200;
  const std::string counter = folder_.native("counter");
  ASSERT_TRUE(vxkd_test::writeBytes(counter, "0"));

  std::vector<pid_t> workers;
  for (int w = 0; w < kWorkers; ++w) {
    pid_t pid = ::fork();
    if (pid == 0) {
      CLockFile lock;
      for (int round = 0; round < kRounds; ++round) {
        int r;
        while ((r = lock.set(path_, L"worker", nullptr)) == CLockFile::lockedByOther) {
          ::sched_yield();
        }
        if (r != CLockFile::lockHeld) ::_exit(2);
        // A read-modify-write that loses counts unless it is alone.
        int value = std::stoi(vxkd_test::readBytes(counter));
        if (!vxkd_test::writeBytes(counter, std::to_string(value + 1))) ::_exit(4);
        lock.release();
      }
      ::_exit(0);
    }
    ASSERT_GT(pid, 0);
    workers.push_back(pid);
  }
  for (pid_t pid : workers) {
    int status = -1;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
  }
  EXPECT_EQ(vxkd_test::readBytes(counter), std::to_string(kWorkers * kRounds));
  EXPECT_FALSE(lockFileExists());
}

// Blind, except where the result could not serve as the lock of that dataset.
TEST(LockFileName, ReplacesLastThreeCharactersBlindly) {
  const std::pair<const wchar_t*, const wchar_t*> names[] = {
      {L"/srv/proj/main.vkd", L"/srv/proj/main.lck"},
      {L"x.vkdx", L"x.vlck"},
      {L"abc", L"lck"},
      {L"ab", L""},
      {L"/srv/ab", L""},   // the lock would be /srv/lck, in the folder above the name
      {L"dir/", L""},      // a folder
      {L"data.lck", L""},  // the lock would be the dataset itself
      {L"data.LCK", L"data.lck"},
      {L"", L""},
      {nullptr, L""}};
  for (auto [dataset, lock] : names) EXPECT_EQ(CLockFile::lockFileNameFor(dataset), CWsz(lock));
}

}  // namespace
