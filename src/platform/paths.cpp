#include "vxkd/platform/paths.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <fstream>

#include "vxkd/platform/sz.h"

namespace cuFile {

CWsz libraryFolder() {
  Dl_info info{};
  if (!dladdr(reinterpret_cast<void*>(&libraryFolder), &info) || !info.dli_fname) return CWsz();
  std::string path = info.dli_fname;
  auto slash = path.rfind('/');
  if (slash == std::string::npos) return CWsz(L".");
  return CWsz::fromUtf8(path.substr(0, slash).c_str());
}

CWsz joinPath(const wchar_t* folder, const wchar_t* name) {
  CWsz out(folder);
  if (!out.isEmpty() && out.at(out.length() - 1) != L'/') out.cat(L'/');
  const wchar_t* n = name ? name : L"";
  while (*n == L'/' && !out.isEmpty()) ++n;
  return out.cat(n);
}

bool exists(const wchar_t* path) {
  if (!path || !*path) return false;
  struct stat st {};
  return ::stat(nativePath(path).c_str(), &st) == 0;
}

std::string nativePath(const wchar_t* path) { return cuSz::toUtf8(path ? path : L""); }

bool readTextLines(const wchar_t* path, std::vector<std::string>& lines) {
  lines.clear();
  if (!path || !*path) return false;
  std::ifstream in(nativePath(path), std::ios::binary);
  if (!in) return false;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
  }
  // A byte order mark written by an editor is not part of the first line.
  if (!lines.empty() && lines[0].rfind("\xEF\xBB\xBF", 0) == 0) lines[0].erase(0, 3);
  return !in.bad();
}

bool isCommentOrBlank(const std::string& line) {
  size_t first = line.find_first_not_of(" \t");
  return first == std::string::npos || line[first] == '#';
}

}  // namespace cuFile
