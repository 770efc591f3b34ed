#pragma once
// CRecordingUiBackend: a user-interface backend that records every interaction and answers
// from scripts. Without a scripted answer a box answers as the console backend does off a
// terminal, a dialog is cancelled and the show-again box stays ticked.

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "vxkd/platform/ui_backend.h"

class CRecordingUiBackend : public CUiBackend {
 public:
  enum class Kind { messageBox, openFile, saveFile, showAgain, dialog };
  // What a scripted user does in a dialog: changes its controls, returns IDOK or IDCANCEL.
  using DialogAnswer = std::function<int(VXDialog&)>;
  struct Interaction {
    Kind kind;
    std::wstring text;     // message text, or dialog title (caption of a modal dialog)
    std::wstring caption;  // message caption, or the dialog's filter
    unsigned style = 0;    // message style word; 0 for dialogs
  };

  int messageBox(cuWin::HWND owner, const wchar_t* text, const wchar_t* caption,
                 unsigned style) override;
  bool openFileDialog(cuWin::HWND owner, const wchar_t* title, const wchar_t* filter,
                      CWsz& path) override;
  bool saveFileDialog(cuWin::HWND owner, const wchar_t* title, const wchar_t* filter,
                      const wchar_t* defaultExt, CWsz& path) override;
  bool showAgainBox(cuWin::HWND owner, const wchar_t* text, const wchar_t* caption) override;
  int runDialog(cuWin::HWND owner, VXDialog& dialog) override;

  // Scripts the next answers, used in order.
  void answerBoxWith(int button) { boxAnswers_.push_back(button); }
  void answerFileDialogWith(const wchar_t* path) { fileAnswers_.emplace_back(path ? path : L""); }
  void cancelFileDialog() { fileAnswers_.emplace_back(); }
  void answerShowAgainWith(bool keepShowing) { showAgainAnswers_.push_back(keepShowing); }
  void answerDialogWith(DialogAnswer answer) { dialogAnswers_.push_back(std::move(answer)); }

  const std::vector<Interaction>& interactions() const { return interactions_; }
  int boxCount() const;
  // The last message box shown; an empty interaction when none was.
  Interaction lastBox() const;
  void clear() { interactions_.clear(); }

 private:
  std::vector<Interaction> interactions_;
  std::deque<int> boxAnswers_;
  std::deque<std::wstring> fileAnswers_;  // empty: cancel
  std::deque<bool> showAgainAnswers_;
  std::deque<DialogAnswer> dialogAnswers_;  // none left: cancel
};
