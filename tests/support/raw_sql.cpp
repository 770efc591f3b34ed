#include <sqlite3.h>

#include "support/temp_dataset.h"
#include "vxkd/platform/paths.h"

namespace vxkd_test {

bool runSql(const CWsz& path, const std::string& sql, const std::string& text) {
  sqlite3* db = nullptr;
  bool ok = sqlite3_open_v2(cuFile::nativePath(path).c_str(), &db, SQLITE_OPEN_READWRITE,
                            nullptr) == SQLITE_OK;
  sqlite3_stmt* stmt = nullptr;
  ok = ok && sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK;
  if (ok && sqlite3_bind_parameter_count(stmt) > 0)
    ok = sqlite3_bind_text(stmt, 1, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT) ==
         SQLITE_OK;
  ok = ok && sqlite3_step(stmt) == SQLITE_DONE;
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return ok;
}

bool TempDatasetTest::runSql(const std::string& sql, const std::string& text) {
  return db_.closeDatabase() && vxkd_test::runSql(path(), sql, text) &&
         db_.openDatabase(datasetDictionary(), path(), false);
}

}  // namespace vxkd_test
