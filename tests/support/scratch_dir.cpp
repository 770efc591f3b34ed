#include "support/scratch_dir.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace vxkd_test {

ScratchDir::ScratchDir() {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/vxkd-test-XXXXXX";
  if (char* made = mkdtemp(pattern.data())) path_ = made;
}

ScratchDir::~ScratchDir() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::string ScratchDir::file(const std::string& name) const { return path_ + "/" + name; }

CWsz ScratchDir::wfile(const std::string& name) const { return CWsz::fromUtf8(file(name).c_str()); }

std::string readFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool writeFileBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

}  // namespace vxkd_test
