#include "vxkd/platform/ui_backend.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "vxkd/platform/sz.h"

CUiBackend::~CUiBackend() = default;

namespace {

CConsoleUiBackend& consoleBackend() {
  static CConsoleUiBackend backend;
  return backend;
}

CUiBackend* gInstalled = nullptr;

bool onTerminal() { return isatty(STDIN_FILENO) && isatty(STDERR_FILENO); }

std::string readAnswerLine() {
  std::string line;
  std::getline(std::cin, line);
  return line;
}

}  // namespace

CUiBackend& CUiBackend::current() { return gInstalled ? *gInstalled : consoleBackend(); }

CUiBackend* CUiBackend::install(CUiBackend* backend) {
  CUiBackend* previous = &current();
  gInstalled = backend;
  return previous;
}

int safeAnswerFor(unsigned style) {
  switch (style & MB_TYPEMASK) {
    case MB_YESNO:
      return IDNO;
    case MB_OKCANCEL:
      return IDCANCEL;
    default:
      return IDOK;
  }
}

int CConsoleUiBackend::messageBox(HWND, const wchar_t* text, const wchar_t* caption,
                                  unsigned style) {
  std::string out = "[";
  out.append(cuSz::toUtf8(caption ? caption : L"")).append("] ");
  out.append(cuSz::toUtf8(text ? text : L""));
  for (auto& c : out)
    if (c == '\r') c = ' ';
  std::fprintf(stderr, "%s\n", out.c_str());
  unsigned type = style & MB_TYPEMASK;
  if (type == MB_OK || !onTerminal()) return safeAnswerFor(style);
  const char* prompt = type == MB_YESNO ? "(y/n) " : "(o=OK/c=Cancel) ";
  std::fprintf(stderr, "%s", prompt);
  std::string answer = readAnswerLine();
  char c = answer.empty() ? '\0' : static_cast<char>(answer[0] | 0x20);
  if (type == MB_YESNO) return c == 'y' ? IDYES : IDNO;
  return c == 'o' ? IDOK : IDCANCEL;
}

bool CConsoleUiBackend::openFileDialog(HWND, const wchar_t* title, const wchar_t*, CWsz& path) {
  if (!onTerminal()) return false;
  std::fprintf(stderr, "%s: ", cuSz::toUtf8(title ? title : L"").c_str());
  std::string answer = readAnswerLine();
  if (answer.empty()) return false;
  path = CWsz::fromUtf8(answer.c_str());
  return true;
}

bool CConsoleUiBackend::saveFileDialog(HWND owner, const wchar_t* title, const wchar_t* filter,
                                       const wchar_t*, CWsz& path) {
  return openFileDialog(owner, title, filter, path);
}

bool CConsoleUiBackend::showAgainBox(HWND owner, const wchar_t* text, const wchar_t* caption) {
  messageBox(owner, text, caption, MB_OK);
  return true;
}

int CRecordingUiBackend::messageBox(HWND, const wchar_t* text, const wchar_t* caption,
                                    unsigned style) {
  interactions_.push_back({Kind::messageBox, text ? text : L"", caption ? caption : L"", style});
  if (boxAnswers_.empty()) return safeAnswerFor(style);
  int answer = boxAnswers_.front();
  boxAnswers_.pop_front();
  return answer;
}

bool CRecordingUiBackend::openFileDialog(HWND, const wchar_t* title, const wchar_t* filter,
                                         CWsz& path) {
  interactions_.push_back({Kind::openFile, title ? title : L"", filter ? filter : L"", 0});
  if (fileAnswers_.empty() || fileAnswers_.front().empty()) {
    if (!fileAnswers_.empty()) fileAnswers_.pop_front();
    return false;
  }
  path = fileAnswers_.front();
  fileAnswers_.pop_front();
  return true;
}

bool CRecordingUiBackend::saveFileDialog(HWND owner, const wchar_t* title, const wchar_t* filter,
                                         const wchar_t*, CWsz& path) {
  bool ok = openFileDialog(owner, title, filter, path);
  interactions_.back().kind = Kind::saveFile;
  return ok;
}

bool CRecordingUiBackend::showAgainBox(HWND, const wchar_t* text, const wchar_t* caption) {
  interactions_.push_back({Kind::showAgain, text ? text : L"", caption ? caption : L"", 0});
  if (showAgainAnswers_.empty()) return true;
  bool answer = showAgainAnswers_.front();
  showAgainAnswers_.pop_front();
  return answer;
}

int CRecordingUiBackend::boxCount() const {
  int n = 0;
  for (const auto& i : interactions_)
    if (i.kind == Kind::messageBox) ++n;
  return n;
}

CRecordingUiBackend::Interaction CRecordingUiBackend::lastBox() const {
  for (auto it = interactions_.rbegin(); it != interactions_.rend(); ++it)
    if (it->kind == Kind::messageBox) return *it;
  return {Kind::messageBox, L"", L"", 0};
}
