#pragma once
// A fresh dataset file in a temporary folder, open for the length of a test, made with the
// dictionary shipped beside the library.

#include <gtest/gtest.h>

#include "support/temp_folder.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"

namespace vxkd_test {

// The dataset dictionary shipped beside the library.
inline CWsz datasetDictionary() {
  return cuFile::joinPath(cuFile::libraryFolder(), L"VantVkd.ddq");
}

// `db_` is a new dataset "test.vkd" in `dir_`, open for writing.
class TempDatasetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.native().empty());
    ASSERT_TRUE(db_.openDatabase(datasetDictionary(), path(), true)) << db_.lastError();
  }

  CWsz path() const { return dir_.path(L"test.vkd"); }
  // Commits what was written and opens the file again in `db`.
  bool reopen(CQbase& db) {
    return db_.closeDatabase() && db.openDatabase(datasetDictionary(), path(), false);
  }

  TempFolder dir_;
  CQbase db_;
};

}  // namespace vxkd_test
