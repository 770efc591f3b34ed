#pragma once
// A temporary folder for a benchmark's files, under $TMPDIR (or /tmp), removed with all it
// holds when the benchmark program ends.

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "vxkd/platform/wsz.h"

namespace vxkd_bench {

class BenchFolder {
 public:
  BenchFolder() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/vxkd-bench-XXXXXX";
    if (mkdtemp(pattern.data())) path = pattern;
  }
  ~BenchFolder() {
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove_all(path, ignored);
  }
  BenchFolder(const BenchFolder&) = delete;
  BenchFolder& operator=(const BenchFolder&) = delete;

  std::string file(const char* name) const { return path + "/" + name; }
  CWsz wfile(const char* name) const { return CWsz::fromUtf8(file(name).c_str()); }
  // Replaces the file `to` by a copy of the file `from`.
  bool copy(const char* from, const char* to) const {
    std::error_code error;
    return std::filesystem::copy_file(file(from), file(to),
                                      std::filesystem::copy_options::overwrite_existing, error);
  }

  std::string path;  // empty when the folder could not be made
};

}  // namespace vxkd_bench
