#pragma once
// A fresh dataset file in a temporary folder, open for the length of a test, made with the
// dictionary shipped beside the library.

#include <gtest/gtest.h>

#include <string>

#include "support/temp_folder.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"

namespace vxkd_test {

// Runs one statement of `sql` on the SQLite file `path`, with `text` bound to its parameter
// ?1 if it has one: what another program (or a hand edit) does to a dataset. False on any
// failure.
bool runSql(const CWsz& path, const std::string& sql, const std::string& text = "");

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
  // Commits what was written, runs `sql` on the file as another program would (with `text`
  // bound to its parameter ?1, if it has one) and opens the file again in `db_`.
  bool runSql(const std::string& sql, const std::string& text = "");

  TempFolder dir_;
  CQbase db_;
};

}  // namespace vxkd_test
