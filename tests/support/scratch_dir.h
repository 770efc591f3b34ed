#pragma once
// ScratchDir: a fresh folder under the temporary folder, removed with everything in it when
// the fixture ends.

#include <string>

#include "platform/wsz.h"

namespace vxkd_test {

class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::string& path() const { return path_; }
  // The path of `name` inside the folder, narrow and wide.
  std::string file(const std::string& name) const;
  CWsz wfile(const std::string& name) const;

 private:
  std::string path_;
};

// Reads a whole file; "" when it cannot be read.
std::string readFileBytes(const std::string& path);
// Replaces a file's contents; false on failure.
bool writeFileBytes(const std::string& path, const std::string& bytes);

}  // namespace vxkd_test
