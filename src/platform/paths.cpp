#include "vxkd/platform/paths.h"

#include <dlfcn.h>

#include <string_view>

#include "platform/pg_dataset.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/sz.h"

namespace cuFile {

namespace {

// The library's text files (dictionaries, language texts, symbol series) are far smaller;
// a larger file is not one of them.
constexpr size_t kMaxTextFileSize = 64 << 20;

}  // namespace

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
  if (isServerUri(path)) return pgDatasetExists(nativePath(path)) != 0;
  return path && *path && CEnv::current().exists(nativePath(path));
}

bool isServerUri(const wchar_t* path) {
  if (!path) return false;
  for (const wchar_t* scheme : {L"postgresql://", L"postgres://"}) {
    size_t i = 0;
    // The scheme ignores case, in ASCII whatever the locale.
    auto lower = [](wchar_t c) { return c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c; };
    while (scheme[i] && lower(path[i]) == scheme[i]) ++i;
    if (!scheme[i]) return true;
  }
  return false;
}

std::string serverUriProblem(const wchar_t* path) {
  PgLocation location;
  std::string error;
  return location.parse(nativePath(path), error) ? std::string() : error;
}

std::string nativePath(const wchar_t* path) { return cuSz::toUtf8(path ? path : L""); }

bool readTextLines(const wchar_t* path, std::vector<std::string>& lines) {
  lines.clear();
  if (!path || !*path) return false;
  std::string text;
  if (CEnv::current().readWholeFile(nativePath(path), text, kMaxTextFileSize) != 0) return false;
  std::string_view rest = text;
  while (!rest.empty()) {
    size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.emplace_back(line);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
  // A byte order mark written by an editor is not part of the first line.
  if (!lines.empty() && lines[0].rfind("\xEF\xBB\xBF", 0) == 0) lines[0].erase(0, 3);
  return true;
}

bool isCommentOrBlank(const std::string& line) {
  size_t first = line.find_first_not_of(" \t");
  return first == std::string::npos || line[first] == '#';
}

}  // namespace cuFile
