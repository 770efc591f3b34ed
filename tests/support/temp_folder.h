#pragma once
// A temporary folder for the tests that work on real files, small file helpers, and
// environment variables set for one scope.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vxkd/platform/wsz.h"

namespace vxkd_test {

// A fresh folder under $TMPDIR (default /tmp), removed with its contents when destroyed.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  // The folder itself; empty when it could not be created.
  const std::string& native() const { return folder_; }
  // The path of `name` inside the folder, narrow and wide.
  std::string native(std::string_view name) const;
  CWsz path(const wchar_t* name) const;
  CWsz wide() const { return CWsz::fromUtf8(folder_.c_str()); }
  // Writes `bytes` as the whole file `name`, creating the folders on its way; and reads it
  // back ("" when it cannot be read).
  bool write(std::string_view name, std::string_view bytes) const;
  std::string read(std::string_view name) const;
  // The names in the folder `sub` ("" for the folder itself), sorted.
  std::vector<std::string> names(std::string_view sub = "") const;

 private:
  std::string folder_;
};

// Replaces the file `path` by `bytes`; false on failure.
bool writeBytes(const std::string& path, std::string_view bytes);
// The whole content of `path`; empty when it cannot be read.
std::string readBytes(const std::string& path);
// The last-write time of `path` in 100-ns units since 1970, 0 when it cannot be read; and
// setting it.
uint64_t modTimeOf(const std::string& path);
bool setModTime(const std::string& path, uint64_t units);

// Sets an environment variable for the life of the object, then restores the old value (or
// its absence).
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::string old_;
  bool hadOld_ = false;
};

}  // namespace vxkd_test
