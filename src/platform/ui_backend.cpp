#include "vxkd/platform/ui_backend.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "platform/ui_thread.h"
#include "vxkd/platform/sz.h"

using namespace cuWin;

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

CUiBackend::~CUiBackend() {
  assert(gInstalled != this && "a user-interface backend is destroyed while installed");
  if (gInstalled == this) gInstalled = nullptr;
}

CUiBackend& CUiBackend::current() {
  VXKD_ASSERT_UI_THREAD();
  return gInstalled ? *gInstalled : consoleBackend();
}

CUiBackend* CUiBackend::install(CUiBackend* backend) {
  CUiBackend* previous = &current();
  // The console backend is installed as none: it outlives every installation.
  gInstalled = backend == &consoleBackend() ? nullptr : backend;
  return previous;
}

int CUiBackend::runDialog(HWND, VXDialog&) { return IDCANCEL; }

int CUiBackend::safeAnswerFor(unsigned style) {
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
