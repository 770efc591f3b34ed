#include "vxkd/foundation/registry.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <vector>

#include "foundation/reg_file.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/sz.h"

namespace {

// A registry file larger than this is not a registry file: it reads as empty, and a write
// refuses to replace it.
constexpr size_t kMaxFileSize = 16 << 20;

std::string envValue(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string homeFolder() {
  std::string home = envValue("HOME");
  if (!home.empty()) return home;
  struct passwd entry {};
  struct passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
      found->pw_dir)
    return found->pw_dir;
  return "";
}

enum class ReadResult { ok, missing, failed };

// The registry file at `path` and its permission, which a rewrite keeps.
ReadResult readWhole(const std::string& path, std::string& data, mode_t& mode) {
  CEnv& env = CEnv::current();
  int error = env.readWholeFile(path, data, kMaxFileSize);
  if (error == ENOENT || error == ENOTDIR) return ReadResult::missing;
  if (error != 0) return ReadResult::failed;
  struct stat st {};
  mode = env.statPath(path, &st) == 0 ? (st.st_mode & 07777) : 0644;
  return ReadResult::ok;
}

// Applies `change` to the registry file at `path` under the lock. `change` returns false to
// give up; the file is then left as it is. A file that exists but cannot be read is never
// replaced, so a passing fault does not cost the values in it.
template <typename Change>
bool updateFile(const std::string& path, mode_t folderMode, Change change) {
  if (path.empty()) return false;
  // A folder that cannot be made shows up as the lock file that cannot be opened.
  CEnv::current().makeFolders(cuFile::folderOfPath(path), folderMode);
  CFileLockGuard lock(path + ".lock");
  if (!lock.held()) return false;
  std::string old;
  mode_t mode = 0644;
  ReadResult read = readWhole(path, old, mode);
  if (read == ReadResult::failed) return false;
  CRegFile file;
  file.parse(old);
  if (!change(file)) return false;
  std::string text = file.text();
  if (read == ReadResult::ok && text == old) return true;
  return CEnv::current().writeFileAtomically(path, text, mode) == 0;
}

void loadFile(const std::string& path, CRegFile& file) {
  std::string data;
  mode_t mode = 0;
  if (!path.empty() && readWhole(path, data, mode) == ReadResult::ok) file.parse(data);
}

const wchar_t* orEmpty(const wchar_t* text) { return text ? text : L""; }

// The machine's registry folder is readable by every user; a user's own is private.
mode_t folderModeFor(CSystemRegistry::rootKinds kind) {
  return kind == CSystemRegistry::rootCurrentUser ? 0700 : 0755;
}

}  // namespace

void CSystemRegistry::initCurrentUserSoftware(const wchar_t* company, const wchar_t* product) {
  init(rootCurrentUser, company, product);
}

void CSystemRegistry::initLocalMachineSoftware(const wchar_t* company, const wchar_t* product) {
  init(rootLocalMachine, company, product);
}

void CSystemRegistry::init(rootKinds kind, const wchar_t* company, const wchar_t* product) {
  rootKind_ = kind;
  company_ = CWsz(orEmpty(company)).left(maxNameLength);
  product_ = CWsz(orEmpty(product)).left(maxNameLength);
}

std::string CSystemRegistry::currentUserFile() {
  std::string path = envValue("VXKD_HKCU");
  if (!path.empty()) return path;
  std::string config = envValue("XDG_CONFIG_HOME");
  if (config.empty() || config[0] != '/') {
    std::string home = homeFolder();
    if (home.empty()) return "";
    config = home + "/.config";
  }
  return config + "/tessund/registry.reg";
}

std::string CSystemRegistry::localMachineFile() {
  std::string path = envValue("VXKD_HKLM");
  return path.empty() ? "/etc/tessund/registry.reg" : path;
}

std::string CSystemRegistry::filePath() const {
  switch (rootKind_) {
    case rootCurrentUser:
      return currentUserFile();
    case rootLocalMachine:
      return localMachineFile();
    default:
      return "";
  }
}

bool CSystemRegistry::nodePath(const wchar_t* subPath, std::wstring& path) const {
  path.clear();
  if (rootKind_ == rootNone) return false;
  path = rootKind_ == rootCurrentUser ? L"HKEY_CURRENT_USER" : L"HKEY_LOCAL_MACHINE";
  path += L"\\SOFTWARE\\" + company_.str() + L"\\" + product_.str();
  if (subPath && *subPath) path += std::wstring(L"\\") + subPath;
  return true;
}

bool CSystemRegistry::readDw(const wchar_t* subPath, const wchar_t* valueName,
                             unsigned long& value) const {
  value = 0;
  std::wstring key;
  if (!nodePath(subPath, key)) return false;
  CRegFile file;
  loadFile(filePath(), file);
  const CRegFile::Value* found = file.findValue(key, orEmpty(valueName));
  if (!found || found->type != CRegFile::typeDword) return false;
  value = found->dword;
  return true;
}

bool CSystemRegistry::writeDw(const wchar_t* subPath, const wchar_t* valueName,
                              unsigned long value) const {
  std::wstring key;
  if (!nodePath(subPath, key) || value > std::numeric_limits<uint32_t>::max()) return false;
  CRegFile::Value v;
  v.name = orEmpty(valueName);
  v.type = CRegFile::typeDword;
  v.dword = static_cast<uint32_t>(value);
  return updateFile(filePath(), folderModeFor(rootKind_),
                    [&](CRegFile& file) { return file.setValue(key, v); });
}

bool CSystemRegistry::readWsz(const wchar_t* subPath, const wchar_t* valueName, CWsz& text) const {
  text.empty();
  std::wstring key;
  if (!nodePath(subPath, key)) return false;
  CRegFile file;
  loadFile(filePath(), file);
  const CRegFile::Value* found = file.findValue(key, orEmpty(valueName));
  if (!found || found->type != CRegFile::typeSz) return false;
  // A string reads up to its first NUL, as every reader of the value sees it; the file keeps
  // the rest, so that writing other values changes nothing of it.
  text = found->text.substr(0, found->text.find(L'\0'));
  return true;
}

bool CSystemRegistry::readWsz(const wchar_t* subPath, const wchar_t* valueName, wchar_t* buffer,
                              int size) const {
  CWsz text;
  bool ok = readWsz(subPath, valueName, text) && text.length() < size;
  cuSz::copyTo(buffer, size, ok ? text.str() : std::wstring());
  return ok;
}

bool CSystemRegistry::readSz(const wchar_t* subPath, const wchar_t* valueName, char* buffer,
                             int size) const {
  CWsz text;
  std::string narrow;
  bool ok = readWsz(subPath, valueName, text);
  if (ok) narrow = text.toUtf8();
  ok = ok && static_cast<int>(narrow.size()) < size;
  cuSz::copyTo(buffer, size, ok ? narrow : std::string());
  return ok;
}

bool CSystemRegistry::writeWsz(const wchar_t* subPath, const wchar_t* valueName,
                               const wchar_t* text) const {
  std::wstring key;
  if (!nodePath(subPath, key)) return false;
  CRegFile::Value v;
  v.name = orEmpty(valueName);
  v.type = CRegFile::typeSz;
  v.text = orEmpty(text);
  return updateFile(filePath(), folderModeFor(rootKind_),
                    [&](CRegFile& file) { return file.setValue(key, v); });
}

bool CSystemRegistry::deleteNode(const wchar_t* path) const {
  std::wstring relative = CRegFile::normalizePath(orEmpty(path));
  std::wstring parent;
  if (relative.empty()) return false;
  size_t split = relative.rfind(L'\\');
  if (!nodePath(split == std::wstring::npos ? L"" : relative.substr(0, split).c_str(), parent))
    return false;
  std::wstring node = parent + L"\\" + relative.substr(split + 1);
  return updateFile(filePath(), folderModeFor(rootKind_), [&](CRegFile& file) {
    // The parent stays as a key of its own even when the deleted node was all it held.
    return file.deleteTree(node) && file.createKey(parent);
  });
}
