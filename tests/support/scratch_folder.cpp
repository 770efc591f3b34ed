#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

CScratchFolder::CScratchFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vxkd-test-XXXXXX").string();
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (!mkdtemp(buffer.data())) ADD_FAILURE() << "cannot create a temporary folder";
  path_ = buffer.data();
}

CScratchFolder::~CScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void CScratchFolder::write(const std::string& name, const std::string& bytes) const {
  std::filesystem::path target = file(name);
  std::filesystem::create_directories(target.parent_path());
  std::ofstream out(target, std::ios::binary | std::ios::trunc);
  out << bytes;
  if (!out) ADD_FAILURE() << "cannot write " << target;
}

std::string CScratchFolder::read(const std::string& name) const {
  std::ifstream in(file(name), std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

CScopedEnv::CScopedEnv(const char* name, const std::string& value) : name_(name) {
  if (const char* old = std::getenv(name)) {
    old_ = old;
    hadOld_ = true;
  }
  setenv(name, value.c_str(), 1);
}

CScopedEnv::~CScopedEnv() {
  if (hadOld_)
    setenv(name_.c_str(), old_.c_str(), 1);
  else
    unsetenv(name_.c_str());
}
