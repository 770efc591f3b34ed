#include "support/recording_ui.h"

#include "vxkd/platform/dialog.h"

using cuWin::HWND;

int CRecordingUiBackend::messageBox(HWND, const wchar_t* text, const wchar_t* caption,
                                    unsigned style) {
  interactions_.push_back({Kind::messageBox, text ? text : L"", caption ? caption : L"", style});
  if (boxAnswers_.empty()) return CUiBackend::safeAnswerFor(style);
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

int CRecordingUiBackend::runDialog(HWND, VXDialog& dialog) {
  interactions_.push_back({Kind::dialog, dialog.title().str(), L"", 0});
  if (dialogAnswers_.empty()) return cuWin::IDCANCEL;
  DialogAnswer answer = std::move(dialogAnswers_.front());
  dialogAnswers_.pop_front();
  return answer(dialog);
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
