#include "support/temp_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "vxkd/platform/sz.h"

namespace vxkd_test {

namespace {
constexpr uint64_t kUnitsPerSecond = 10000000;
}

TempFolder::TempFolder() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/vxkd_test_XXXXXX";
  if (mkdtemp(pattern.data())) folder_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
}

std::string TempFolder::native(std::string_view name) const {
  return folder_ + "/" + std::string(name);
}

CWsz TempFolder::path(const wchar_t* name) const {
  return CWsz(cuSz::fromUtf8(native(cuSz::toUtf8(name))));
}

bool TempFolder::write(std::string_view name, std::string_view bytes) const {
  std::filesystem::path target = native(name);
  std::error_code ignored;
  std::filesystem::create_directories(target.parent_path(), ignored);
  return writeBytes(target.string(), bytes);
}

std::string TempFolder::read(std::string_view name) const { return readBytes(native(name)); }

std::vector<std::string> TempFolder::names(std::string_view sub) const {
  std::vector<std::string> out;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(native(sub), ignored))
    out.push_back(entry.path().filename().string());
  std::sort(out.begin(), out.end());
  return out;
}

bool writeBytes(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

std::string readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

uint64_t modTimeOf(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return 0;
  return static_cast<uint64_t>(st.st_mtim.tv_sec) * kUnitsPerSecond +
         static_cast<uint64_t>(st.st_mtim.tv_nsec) / 100;
}

bool setModTime(const std::string& path, uint64_t units) {
  struct timespec times[2] = {{0, UTIME_OMIT}, {}};
  times[1].tv_sec = static_cast<time_t>(units / kUnitsPerSecond);
  times[1].tv_nsec = static_cast<long>(units % kUnitsPerSecond) * 100;
  return ::utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

ScopedEnv::ScopedEnv(const char* name, const std::string& value) : name_(name) {
  if (const char* old = std::getenv(name)) {
    old_ = old;
    hadOld_ = true;
  }
  setenv(name, value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
  if (hadOld_)
    setenv(name_.c_str(), old_.c_str(), 1);
  else
    unsetenv(name_.c_str());
}

}  // namespace vxkd_test
