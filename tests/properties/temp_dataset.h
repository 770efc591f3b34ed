#pragma once
// A fresh dataset file in a temporary folder, open for the length of a test, made with the
// dictionary shipped beside the library.

#include <gtest/gtest.h>

#include "platform/paths.h"
#include "platform/qbase.h"
#include "support/temp_folder.h"

namespace vxkd_test {

class TempDatasetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.native().empty());
    ASSERT_TRUE(db_.openDatabase(dictionary(), path(), true)) << db_.lastError();
  }

  static CWsz dictionary() { return cuFile::joinPath(cuFile::libraryFolder(), L"VantVkd.ddq"); }
  CWsz path() const { return dir_.path(L"test.vkd"); }
  // Commits what was written and opens the file again in `db`.
  bool reopen(CQbase& db) {
    return db_.closeDatabase() && db.openDatabase(dictionary(), path(), false);
  }

  TempFolder dir_;
  CQbase db_;
};

}  // namespace vxkd_test
