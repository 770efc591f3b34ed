#pragma once
// The user-interface backend: every message box and file dialog of the library goes
// through the one installed backend. The console backend is the default; tests install
// a recording backend with scripted answers.

#include <deque>
#include <string>
#include <vector>

#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"

class VXKD_API CUiBackend {
 public:
  virtual ~CUiBackend();

  // Shows a message box; returns the button pressed (IDOK, IDCANCEL, IDYES, IDNO).
  virtual int messageBox(HWND owner, const wchar_t* text, const wchar_t* caption,
                         unsigned style) = 0;
  // The open-file dialog. `filter` is "label|pattern|..." as the callers give it. True with
  // the chosen path, false when cancelled.
  virtual bool openFileDialog(HWND owner, const wchar_t* title, const wchar_t* filter,
                              CWsz& path) = 0;
  // The save-file dialog; `defaultExt` is appended by the caller's rules, not here.
  virtual bool saveFileDialog(HWND owner, const wchar_t* title, const wchar_t* filter,
                              const wchar_t* defaultExt, CWsz& path) = 0;
  // Shows `text` with a "show this message again" check box, ticked when it opens.
  // Returns whether the box was still ticked when the user closed it.
  virtual bool showAgainBox(HWND owner, const wchar_t* text, const wchar_t* caption) = 0;

  // The installed backend (the console backend until another is installed).
  static CUiBackend& current();
  // Installs `backend` (null restores the console backend) and returns the one it replaces.
  // The caller keeps ownership.
  static CUiBackend* install(CUiBackend* backend);
};

// Writes every box to standard error. On a terminal it asks for the answer; otherwise it
// answers OK, or the safe answer of a question (No, Cancel), and cancels file dialogs.
class VXKD_API CConsoleUiBackend : public CUiBackend {
 public:
  int messageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned style) override;
  bool openFileDialog(HWND owner, const wchar_t* title, const wchar_t* filter, CWsz& path) override;
  bool saveFileDialog(HWND owner, const wchar_t* title, const wchar_t* filter,
                      const wchar_t* defaultExt, CWsz& path) override;
  bool showAgainBox(HWND owner, const wchar_t* text, const wchar_t* caption) override;
};

// Records every interaction and answers from scripts. Without a scripted answer a box
// answers as the console backend does off a terminal, a dialog is cancelled and the
// show-again box stays ticked.
class VXKD_API CRecordingUiBackend : public CUiBackend {
 public:
  enum class Kind { messageBox, openFile, saveFile, showAgain };
  struct Interaction {
    Kind kind;
    std::wstring text;     // message text, or dialog title
    std::wstring caption;  // message caption, or the dialog's filter
    unsigned style = 0;    // message style word; 0 for dialogs
  };

  int messageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned style) override;
  bool openFileDialog(HWND owner, const wchar_t* title, const wchar_t* filter, CWsz& path) override;
  bool saveFileDialog(HWND owner, const wchar_t* title, const wchar_t* filter,
                      const wchar_t* defaultExt, CWsz& path) override;
  bool showAgainBox(HWND owner, const wchar_t* text, const wchar_t* caption) override;

  // Scripts the next answers, used in order.
  void answerBoxWith(int button) { boxAnswers_.push_back(button); }
  void answerFileDialogWith(const wchar_t* path) { fileAnswers_.emplace_back(path ? path : L""); }
  void cancelFileDialog() { fileAnswers_.emplace_back(); }
  void answerShowAgainWith(bool keepShowing) { showAgainAnswers_.push_back(keepShowing); }

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
};

// The answer a box gets when nobody can be asked: OK, or the safe answer of a question.
VXKD_API int safeAnswerFor(unsigned style);
