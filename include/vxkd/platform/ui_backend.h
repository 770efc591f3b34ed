#pragma once
// The user-interface backend: every message box and file dialog of the library goes
// through the one installed backend. The console backend is the default; a host installs
// its own (see vxkdui_init_vxkd_callbacks), tests install one with scripted answers.

#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"

class VXDialog;

class VXKD_API CUiBackend {
 public:
  // A backend destroyed while installed is uninstalled first (the console backend takes
  // over). Debug builds stop there: the caller was to install another one beforehand.
  virtual ~CUiBackend();

  // Shows a message box; returns the button pressed (IDOK, IDCANCEL, IDYES, IDNO).
  virtual int messageBox(cuWin::HWND owner, const wchar_t* text, const wchar_t* caption,
                         unsigned style) = 0;
  // The open-file dialog. `filter` is "label|pattern|..." as the callers give it. True with
  // the chosen path, false when cancelled.
  virtual bool openFileDialog(cuWin::HWND owner, const wchar_t* title, const wchar_t* filter,
                              CWsz& path) = 0;
  // The save-file dialog; `defaultExt` is appended by the caller's rules, not here.
  virtual bool saveFileDialog(cuWin::HWND owner, const wchar_t* title, const wchar_t* filter,
                              const wchar_t* defaultExt, CWsz& path) = 0;
  // Shows `text` with a "show this message again" check box, ticked when it opens.
  // Returns whether the box was still ticked when the user closed it.
  virtual bool showAgainBox(cuWin::HWND owner, const wchar_t* text, const wchar_t* caption) = 0;
  // Shows `dialog` (dialog.h) modally until the user closes it, with the controls as the
  // caller filled them; what the user changed is in them afterwards. Returns IDOK or
  // IDCANCEL. Here nobody can fill a dialog in: it is cancelled.
  virtual int runDialog(cuWin::HWND owner, VXDialog& dialog);

  // The installed backend (the console backend until another is installed). REQUIRES the
  // user-interface thread.
  static CUiBackend& current();
  // Installs `backend` (null restores the console backend) and returns the one it replaces.
  // The caller keeps ownership and keeps `backend` alive while it is installed. REQUIRES the
  // user-interface thread.
  static CUiBackend* install(CUiBackend* backend);

  // The answer a box gets when nobody can be asked: OK, or the safe answer of a question
  // (No, Cancel).
  static int safeAnswerFor(unsigned style);
};

// Writes every box to standard error. On a terminal it asks for the answer; otherwise it
// answers OK, or the safe answer of a question (No, Cancel), and cancels file dialogs.
class VXKD_API CConsoleUiBackend : public CUiBackend {
 public:
  int messageBox(cuWin::HWND owner, const wchar_t* text, const wchar_t* caption,
                 unsigned style) override;
  bool openFileDialog(cuWin::HWND owner, const wchar_t* title, const wchar_t* filter,
                      CWsz& path) override;
  bool saveFileDialog(cuWin::HWND owner, const wchar_t* title, const wchar_t* filter,
                      const wchar_t* defaultExt, CWsz& path) override;
  bool showAgainBox(cuWin::HWND owner, const wchar_t* text, const wchar_t* caption) override;
};
