#include "vxkd/platform/file_time.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "support/faulty_env.h"
#include "support/temp_folder.h"

namespace {

using cuFile::CFileTime;
using vxkd_test::FaultyEnv;

constexpr int64_t kSecond = CFileTime::kUnitsPerSecond;
// 2023-11-14 22:13:20 and some 100-ns units: a time no clock stamps by chance.
constexpr uint64_t kT0 = 1700000000 * kSecond + 1234567;

class FileTimeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(folder_.native().empty());
    ASSERT_TRUE(vxkd_test::writeBytes(file_, "first"));
    ASSERT_TRUE(vxkd_test::setModTime(file_, kT0));
  }

  vxkd_test::TempFolder folder_;
  std::string file_ = folder_.native("data.vkd");
  CWsz path_ = folder_.path(L"data.vkd");
};

TEST_F(FileTimeTest, InitForReadsModificationTimeInHundredNanoseconds) {
  FaultyEnv env;
  CFileTime stamp;
  ASSERT_EQ(stamp.initFor(path_), 0);
  EXPECT_EQ(stamp.time(), kT0);
  EXPECT_EQ(stamp.path(), path_);
  EXPECT_TRUE(stamp.isBound());
  // The file is never opened: closing a descriptor would drop the POSIX locks of a record
  // database that has the same file open in this process.
  EXPECT_EQ(env.opened(), 0);

  CFileTime copy(stamp);
  EXPECT_EQ(copy.path(), path_);
  EXPECT_EQ(copy.time(), kT0);
  EXPECT_EQ(copy.initFor(copy.path()), 0);  // rebinding to its own path
  EXPECT_EQ(copy.path(), path_);
}

TEST_F(FileTimeTest, OnlyAStrictlyLaterTimeIsAModification) {
  // The file's new time relative to the stored one, and what isModified reports.
  const std::pair<int64_t, int> cases[] = {{-kSecond, 0}, {-1, 0}, {0, 0}, {1, 1}, {kSecond, 1}};
  for (auto [delta, modified] : cases) {
    SCOPED_TRACE(delta);
    CFileTime stamp;
    ASSERT_EQ(stamp.initFor(path_), 0);
    ASSERT_TRUE(vxkd_test::setModTime(file_, kT0 + delta));
    EXPECT_EQ(stamp.isModified(false), modified);
    EXPECT_EQ(stamp.time(), kT0);
    EXPECT_EQ(stamp.isModified(true), modified);
    EXPECT_EQ(stamp.time(), modified ? kT0 + delta : kT0);
    EXPECT_EQ(stamp.isModified(true), 0);
    ASSERT_TRUE(vxkd_test::setModTime(file_, kT0));
  }
}

// A missing file, a folder, an empty or too long path, a failed stat: each leaves the stamp
// unbound with time 0. The file is never opened: closing a descriptor of it would drop the
// record database's locks on an open dataset.
TEST_F(FileTimeTest, InitForFailureGivesMinusOneAndLeavesStampUnbound) {
  const CWsz paths[] = {folder_.path(L"none.vkd"), folder_.wide(), CWsz(),
                        CWsz(std::wstring(CFileTime::kMaxPath + 1, L'a')), path_};
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    FaultyEnv env;
    CFileTime stamp;
    ASSERT_EQ(stamp.initFor(path_), 0);
    if (i == 4) env.failStatPath(file_, EIO);
    EXPECT_EQ(stamp.initFor(paths[i]), -1);
    EXPECT_FALSE(stamp.isBound());
    EXPECT_EQ(stamp.time(), 0u);
    EXPECT_EQ(env.opened(), 0);
  }
}

TEST_F(FileTimeTest, UnboundStampGivesMinusThreeAndVanishedFileMinusOne) {
  CFileTime stamp;
  EXPECT_EQ(stamp.isModified(true), -3);
  EXPECT_EQ(stamp.update(), -3);
  ASSERT_EQ(stamp.initFor(path_), 0);
  ASSERT_EQ(::unlink(file_.c_str()), 0);
  EXPECT_EQ(stamp.isModified(true), -1);
  EXPECT_EQ(stamp.time(), kT0);
  EXPECT_EQ(stamp.update(), -1);
  EXPECT_EQ(stamp.time(), 0u);
  EXPECT_TRUE(stamp.isBound());

  ASSERT_TRUE(vxkd_test::writeBytes(file_, "again"));
  ASSERT_TRUE(vxkd_test::setModTime(file_, kT0 + kSecond));
  EXPECT_EQ(stamp.update(), 0);
  EXPECT_EQ(stamp.time(), kT0 + kSecond);
}

TEST_F(FileTimeTest, TouchForwardMakesSecondWriteWithinOneTickVisible) {
  CFileTime stamp;
  ASSERT_EQ(stamp.initFor(path_), 0);
  ASSERT_TRUE(vxkd_test::writeBytes(file_, "second"));
  ASSERT_TRUE(vxkd_test::setModTime(file_, kT0));  // the clock did not tick meanwhile
  ASSERT_EQ(stamp.isModified(false), 0);

  EXPECT_TRUE(CFileTime::touchForward(path_, kT0));
  EXPECT_EQ(vxkd_test::modTimeOf(file_), kT0 + 1);
  EXPECT_EQ(stamp.isModified(false), 1);
  // A time already later stays.
  ASSERT_TRUE(vxkd_test::setModTime(file_, kT0 + 5));
  EXPECT_TRUE(CFileTime::touchForward(path_, kT0));
  EXPECT_EQ(vxkd_test::modTimeOf(file_), kT0 + 5);
}

TEST_F(FileTimeTest, TouchForwardStepsPastCoarseClock) {
  FaultyEnv env;
  env.keepWholeSeconds(true);
  EXPECT_TRUE(CFileTime::touchForward(path_, kT0));
  EXPECT_EQ(vxkd_test::modTimeOf(file_), (kT0 / kSecond + 1) * kSecond);
}

TEST_F(FileTimeTest, TouchForwardFailsWhenTimeCannotBeSet) {
  EXPECT_FALSE(CFileTime::touchForward(folder_.path(L"none.vkd"), kT0));
  FaultyEnv env;
  env.failSetTimes(EPERM);
  EXPECT_FALSE(CFileTime::touchForward(path_, kT0));
  EXPECT_EQ(vxkd_test::modTimeOf(file_), kT0);
  EXPECT_EQ(env.opened(), 0);
}

}  // namespace
