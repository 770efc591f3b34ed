#include "support/db_fault_env.h"

namespace vxkd_test {

DbFaultEnv::DbFaultEnv() { previous_ = CEnv::install(this); }

DbFaultEnv::~DbFaultEnv() { CEnv::install(previous_); }

void DbFaultEnv::failWrites(int first, int error, bool sticky) {
  failAt_ = first > 0 ? writes_ + first : 0;
  error_ = error;
  sticky_ = sticky;
}

int DbFaultEnv::checkDatabaseWrite(const std::string& path, size_t size) {
  ++writes_;
  if (failAt_ > 0 && (writes_ == failAt_ || (sticky_ && writes_ > failAt_))) {
    ++failures_;
    return error_;
  }
  return CEnv::checkDatabaseWrite(path, size);
}

}  // namespace vxkd_test
