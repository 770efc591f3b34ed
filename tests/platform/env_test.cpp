// The composite file operations of CEnv: each works on real files, and each fault injected
// under it fails it without leaving a half-made file behind.

#include "vxkd/platform/env.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "support/faulty_env.h"
#include "support/temp_folder.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"

namespace {

using vxkd_test::FaultyEnv;
using vxkd_test::TempFolder;

class EnvTest : public ::testing::Test {
 protected:
  CEnv& env() { return CEnv::current(); }

  TempFolder dir_;
  std::string file_ = dir_.native("file.txt");
};

TEST_F(EnvTest, ReadWholeFileReadsEverythingOrSaysWhy) {
  const std::string big(200000, 'b');  // more than one chunk
  ASSERT_TRUE(dir_.write("file.txt", big));
  std::string data = "stale";
  EXPECT_EQ(env().readWholeFile(file_, data, big.size()), 0);
  EXPECT_EQ(data, big);
  EXPECT_EQ(env().readWholeFile(file_, data, big.size() - 1), EFBIG);
  EXPECT_EQ(data, "");
  EXPECT_EQ(env().readWholeFile(dir_.native("missing"), data, 10), ENOENT);
  FaultyEnv faulty;
  faulty.failReads(file_, EIO);
  data = "stale";
  EXPECT_EQ(env().readWholeFile(file_, data, big.size()), EIO);
  EXPECT_EQ(data, "");
  EXPECT_EQ(faulty.opened(), faulty.closed());
}

TEST_F(EnvTest, WriteFileAtomicallyReplacesTheFileWithItsMode) {
  ASSERT_TRUE(dir_.write("file.txt", "old"));
  ASSERT_EQ(env().writeFileAtomically(file_, "new content", 0600), 0);
  EXPECT_EQ(dir_.read("file.txt"), "new content");
  struct stat st {};
  ASSERT_EQ(stat(file_.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_EQ(dir_.names(), std::vector<std::string>{"file.txt"});
  EXPECT_EQ(env().writeFileAtomically(dir_.native("made.txt"), "", 0644), 0);
  EXPECT_TRUE(env().exists(dir_.native("made.txt")));
}

// Each step of the replacement failing: the old file stays whole and no temporary file is
// left beside it.
TEST_F(EnvTest, WriteFileAtomicallyFailingAtAnyStepKeepsTheOldFile) {
  ASSERT_TRUE(dir_.write("file.txt", "old"));
  const struct {
    const char* step;
    void (*inject)(FaultyEnv&);
    int error;
  } kFaults[] = {
      {"write", [](FaultyEnv& e) { e.failWrites(ENOSPC); }, ENOSPC},
      {"flush", [](FaultyEnv& e) { e.failSyncs(EIO); }, EIO},
      {"rename", [](FaultyEnv& e) { e.failRenames(EXDEV); }, EXDEV},
  };
  for (const auto& fault : kFaults) {
    SCOPED_TRACE(fault.step);
    FaultyEnv faulty;
    fault.inject(faulty);
    EXPECT_EQ(env().writeFileAtomically(file_, "new", 0644), fault.error);
    EXPECT_EQ(dir_.read("file.txt"), "old");
    EXPECT_EQ(dir_.names(), std::vector<std::string>{"file.txt"});
    EXPECT_EQ(faulty.opened(), faulty.closed());
  }
  // A folder that does not exist cannot take the temporary file.
  EXPECT_EQ(env().writeFileAtomically(dir_.native("no/file.txt"), "new", 0644), ENOENT);
}

TEST_F(EnvTest, MakeFoldersMakesEveryMissingFolder) {
  const std::string deep = dir_.native("a/b/c");
  EXPECT_EQ(env().makeFolders(deep, 0700), 0);
  struct stat st {};
  ASSERT_EQ(stat(deep.c_str(), &st), 0);
  EXPECT_TRUE(S_ISDIR(st.st_mode));
  EXPECT_EQ(st.st_mode & 0777, 0700u);
  EXPECT_EQ(env().makeFolders(deep, 0700), 0) << "an existing folder is fine";
  EXPECT_EQ(env().makeFolders(dir_.native("a/b/c/"), 0700), 0);
  ASSERT_TRUE(dir_.write("plain", "x"));
  EXPECT_EQ(env().makeFolders(dir_.native("plain"), 0700), ENOTDIR);
  EXPECT_EQ(env().makeFolders(dir_.native("plain/below"), 0700), ENOTDIR);
  EXPECT_EQ(env().makeFolders("", 0700), ENOENT);
  FaultyEnv faulty;
  faulty.failMakeFolders(EACCES);
  EXPECT_EQ(env().makeFolders(dir_.native("x/y"), 0700), EACCES);
  EXPECT_FALSE(env().exists(dir_.native("x")));
}

TEST_F(EnvTest, ExistsAndListFolderAnswerThroughTheEnvironment) {
  ASSERT_TRUE(dir_.write("one", "1") && dir_.write("two", "2"));
  EXPECT_TRUE(env().exists(dir_.native("one")));
  EXPECT_TRUE(cuFile::exists(dir_.path(L"one")));
  EXPECT_FALSE(env().exists(dir_.native("three")));
  EXPECT_FALSE(env().exists(""));
  std::vector<std::string> names;
  ASSERT_EQ(env().listFolder(dir_.native(), names), 0);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"one", "two"}));
  EXPECT_NE(env().listFolder(dir_.native("one"), names), 0);
  EXPECT_TRUE(names.empty());

  FaultyEnv faulty;
  faulty.failStatPath(dir_.native("one"), EIO);
  faulty.failListFolders(EIO);
  EXPECT_FALSE(env().exists(dir_.native("one")));
  EXPECT_FALSE(cuFile::exists(dir_.path(L"one")));
  EXPECT_NE(env().listFolder(dir_.native(), names), 0);
  EXPECT_EQ(errno, EIO);
}

// The library's text files (dictionaries, language texts) are read through the
// environment: a read fault fails them like a missing file.
TEST_F(EnvTest, TextFilesAndDictionariesReadThroughTheEnvironment) {
  ASSERT_TRUE(dir_.write("lines.txt", "\xEF\xBB\xBFone\r\ntwo\n\nthree"));
  std::vector<std::string> lines;
  ASSERT_TRUE(cuFile::readTextLines(dir_.path(L"lines.txt"), lines));
  EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", "", "three"}));
  ASSERT_TRUE(dir_.write("d.ddq", "format a 1\nrecord RD 6 x\nfield 1501 name wsz\nend\n"));

  FaultyEnv faulty;
  faulty.failReads(dir_.native("lines.txt"), EIO);
  EXPECT_FALSE(cuFile::readTextLines(dir_.path(L"lines.txt"), lines));
  faulty.failReads(dir_.native("d.ddq"), EIO);
  CQbase db;
  EXPECT_FALSE(db.openDatabase(dir_.path(L"d.ddq"), dir_.path(L"data.vkd"), true));
  EXPECT_NE(std::string(db.lastError()).find("cannot read"), std::string::npos) << db.lastError();
  EXPECT_FALSE(env().exists(dir_.native("data.vkd")));
}

// The guard holds an exclusive flock: another process cannot take it meanwhile.
TEST_F(EnvTest, FileLockGuardExcludesOtherProcessesWhileHeld) {
  const std::string lock = dir_.native("x.lock");
  auto othersCanLock = [&] {
    pid_t child = fork();
    if (child == 0) {
      int fd = open(lock.c_str(), O_RDWR);
      _exit(fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  };
  {
    CFileLockGuard guard(lock);
    ASSERT_TRUE(guard.held());
    EXPECT_FALSE(othersCanLock());
  }
  EXPECT_TRUE(othersCanLock());
  FaultyEnv faulty;
  faulty.failOpen(lock, -1, EACCES);
  CFileLockGuard refused(lock);
  EXPECT_FALSE(refused.held());
}

}  // namespace
