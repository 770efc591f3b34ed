#include "drawingdefs/def_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <ctime>

#include "vxkd/platform/env.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"
#include "vxkd/platform/ui_backend.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

namespace VxKd {

namespace {

std::string folderOf(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool writeAll(CEnv& env, int fd, const std::string& data, int& error) {
  for (size_t done = 0; done < data.size();) {
    ssize_t n = env.writeFile(fd, data.data() + done, data.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      error = n < 0 ? errno : EIO;
      return false;
    }
    done += static_cast<size_t>(n);
  }
  return true;
}

// Length of the valid UTF-8 sequence at `s`, or 0 when it is not one (overlong forms,
// surrogates and values above U+10FFFF are not).
size_t utf8SequenceLength(const unsigned char* s, const unsigned char* end) {
  unsigned char c = s[0];
  if (c < 0x80) return 1;
  size_t n = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC2 ? 2 : 0;
  if (n == 0 || c > 0xF4 || static_cast<size_t>(end - s) < n) return 0;
  for (size_t i = 1; i < n; ++i)
    if ((s[i] & 0xC0) != 0x80) return 0;
  if (c == 0xE0 && s[1] < 0xA0) return 0;   // overlong
  if (c == 0xED && s[1] >= 0xA0) return 0;  // surrogate
  if (c == 0xF0 && s[1] < 0x90) return 0;   // overlong
  if (c == 0xF4 && s[1] >= 0x90) return 0;  // above U+10FFFF
  return n;
}

bool isValidUtf8(std::string_view bytes) {
  auto* s = reinterpret_cast<const unsigned char*>(bytes.data());
  const unsigned char* end = s + bytes.size();
  while (s < end) {
    size_t n = utf8SequenceLength(s, end);
    if (n == 0) return false;
    s += n;
  }
  return true;
}

// Windows-1252 at 0x80..0x9F; the rest of the code page is Latin-1.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

std::wstring decode(std::string_view bytes) {
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    std::u16string units;
    for (size_t i = 2; i + 1 < bytes.size(); i += 2)
      units.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                            static_cast<unsigned char>(bytes[i + 1]) << 8));
    return cuSz::fromUtf16(units);
  }
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFE &&
      static_cast<unsigned char>(bytes[1]) == 0xFF) {
    std::u16string units;
    for (size_t i = 2; i + 1 < bytes.size(); i += 2)
      units.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) << 8 |
                                            static_cast<unsigned char>(bytes[i + 1])));
    return cuSz::fromUtf16(units);
  }
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  if (isValidUtf8(bytes)) return cuSz::fromUtf8(bytes);
  std::wstring text;
  text.reserve(bytes.size());
  for (char b : bytes) {
    auto c = static_cast<unsigned char>(b);
    text.push_back(c >= 0x80 && c < 0xA0 ? kCp1252High[c - 0x80] : c);
  }
  return text;
}

}  // namespace

bool readDefFile(const wchar_t* path, std::string& bytes, int& error) {
  bytes.clear();
  error = 0;
  if (!path || !*path) {
    error = ENOENT;
    return false;
  }
  CEnv& env = CEnv::current();
  int fd = env.openFile(cuFile::nativePath(path), O_RDONLY);
  if (fd < 0) {
    error = errno;
    return false;
  }
  char chunk[65536];
  for (;;) {
    ssize_t n = env.readFile(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      error = errno;
      break;
    }
    if (n == 0) break;
    if (bytes.size() + static_cast<size_t>(n) > kMaxDefFileBytes) {
      error = EFBIG;
      break;
    }
    bytes.append(chunk, static_cast<size_t>(n));
  }
  env.closeFile(fd);
  if (error) bytes.clear();
  return error == 0;
}

bool writeDefFile(const wchar_t* path, const std::string& bytes, int& error) {
  error = 0;
  if (!path || !*path) {
    error = ENOENT;
    return false;
  }
  CEnv& env = CEnv::current();
  const std::string target = cuFile::nativePath(path);
  mode_t mode = 0644;
  struct stat st {};
  if (env.statPath(target, &st) == 0) {
    if (S_ISDIR(st.st_mode)) {
      error = EISDIR;
      return false;
    }
    mode = st.st_mode & 07777;
  }
  // The process id keeps two programs that export to one file at once from sharing a
  // temporary file; O_EXCL keeps us from writing into someone else's.
  const std::string temp = target + "." + std::to_string(getpid()) + ".tmp";
  int fd = env.openFile(temp, O_WRONLY | O_CREAT | O_EXCL, mode);
  if (fd < 0) {
    error = errno;
    return false;
  }
  bool ok = writeAll(env, fd, bytes, error);
  if (ok && env.syncFile(fd) != 0) {
    error = errno;
    ok = false;
  }
  if (env.closeFile(fd) != 0 && ok) {
    error = errno;
    ok = false;
  }
  if (ok && env.renamePath(temp, target) != 0) {
    error = errno;
    ok = false;
  }
  if (!ok) {
    env.unlinkPath(temp);
    return false;
  }
  int folder = env.openFile(folderOf(target), O_RDONLY | O_DIRECTORY);
  if (folder >= 0) {
    env.syncFile(folder);
    env.closeFile(folder);
  }
  return true;
}

bool splitDefFileLines(const std::string& bytes, std::vector<std::wstring>& lines) {
  lines.clear();
  std::wstring text = decode(bytes);
  if (text.find(L'\0') != std::wstring::npos) return false;
  std::wstring line;
  for (size_t i = 0; i < text.size(); ++i) {
    wchar_t c = text[i];
    if (c != L'\r' && c != L'\n') {
      line.push_back(c);
      continue;
    }
    lines.push_back(std::move(line));
    line.clear();
    if (c == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n') ++i;
  }
  if (!line.empty()) lines.push_back(std::move(line));
  return true;
}

CWsz shortDate() {
  std::time_t now = std::time(nullptr);
  std::tm tm{};
  localtime_r(&now, &tm);
  char buffer[128] = {};
  // The user's date format, not the process's: a host may run in the "C" locale. The
  // process's LC_TIME is switched for this one call and put back at once (the library runs
  // on one thread); newlocale would serve too, but leaks inside the C library when LOCPATH
  // is set.
  const char* current = std::setlocale(LC_TIME, nullptr);
  std::string saved = current ? current : "C";
  if (!std::setlocale(LC_TIME, "")) std::setlocale(LC_TIME, "C");
  size_t n = std::strftime(buffer, sizeof buffer, "%x", &tm);
  std::setlocale(LC_TIME, saved.c_str());
  return CWsz(cuSz::fromUtf8(std::string_view(buffer, n)));
}

CWsz withDefaultExtension(const wchar_t* path, const wchar_t* ext) {
  CWsz out(path);
  std::wstring_view name(out.str());
  size_t slash = name.rfind(L'/');
  if (slash != std::wstring_view::npos) name.remove_prefix(slash + 1);
  if (!name.empty() && name.find(L'.') == std::wstring_view::npos && ext && *ext)
    out.cat(L".").cat(ext);
  return out;
}

bool askExportFileName(cuWin::HWND hwnd, const wchar_t* filter, const wchar_t* ext, CWsz& path) {
  path.empty();
  CWsz chosen;
  if (!CUiBackend::current().saveFileDialog(hwnd, lngDbText(7510, L"#Export File Name"), filter,
                                            ext, chosen) ||
      chosen.isEmpty())
    return false;
  path = withDefaultExtension(chosen, ext);
  return true;
}

bool askImportFileName(cuWin::HWND hwnd, const wchar_t* filter, CWsz& path) {
  path.empty();
  CWsz chosen;
  if (!CUiBackend::current().openFileDialog(hwnd, lngDbText(7512, L"#Import File Name"), filter,
                                            chosen) ||
      chosen.isEmpty())
    return false;
  path = chosen;
  return true;
}

void showWriteError(cuWin::HWND hwnd, const wchar_t* path, int error) {
  CWsz text = lngDbText(7516, L"#The file cannot be written:");
  text.cat(L"\r\n").cat(path).cat(L"\r\n").cat(cuSz::fromUtf8(std::strerror(error)).c_str());
  msgBox(hwnd, 0, text, 7518, L"#Export Failed", cuWin::MB_OK, cuWin::MB_ICONSTOP);
}

}  // namespace VxKd
