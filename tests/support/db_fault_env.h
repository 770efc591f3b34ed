#pragma once
// DbFaultEnv: a CEnv that injects the failures of a record database's files: a disk that
// fills up at the Nth write. Installed for its
// lifetime; the previous environment comes back when it ends.

#include <cerrno>
#include <string>

#include "platform/env.h"

namespace vxkd_test {

class DbFaultEnv : public CEnv {
 public:
  DbFaultEnv();
  ~DbFaultEnv() override;
  DbFaultEnv(const DbFaultEnv&) = delete;
  DbFaultEnv& operator=(const DbFaultEnv&) = delete;

  // The `first`-th database write from now on (counting from 1) fails with `error`, and
  // every later one too when `sticky` (a disk stays full). 0 lets every write through.
  void failWrites(int first, int error = ENOSPC, bool sticky = true);

  // Database writes asked about so far, and how many of them failed.
  int writes() const { return writes_; }
  int failures() const { return failures_; }

  int checkDatabaseWrite(const std::string& path, size_t size) override;

 private:
  CEnv* previous_ = nullptr;
  int writes_ = 0;
  int failures_ = 0;
  int failAt_ = 0;
  int error_ = ENOSPC;
  bool sticky_ = true;
};

}  // namespace vxkd_test
