#include "vxkd/ui/message_box.h"

#include "platform/ui_thread.h"
#include "vxkd/platform/ui_backend.h"

using namespace cuWin;

namespace VxKd {

namespace {

// The switch of a program that has not installed preferences of its own: on until the user
// unticks a show-again box, for the life of the process.
class CMemoryMsgBoxPreferences final : public iKdMsgBoxPreferences {
 public:
  bool displayCreatedWithMsg() const override { return on_; }
  bool setDisplayCreatedWithMsg(bool on) override {
    on_ = on;
    return true;
  }

 private:
  bool on_ = true;
};

CMemoryMsgBoxPreferences gMemoryPreferences;
iKdMsgBoxPreferences* gPreferences = &gMemoryPreferences;

int show(HWND hwnd, const CWsz& text, const CWsz& caption, unsigned style) {
  return CUiBackend::current().messageBox(hwnd, text, caption, style | MB_TASKMODAL);
}

int showWithAppTitle(HWND hwnd, long textId, const wchar_t* text, unsigned style) {
  return show(hwnd, lngDbText(textId, text), CWsz(appTitle()), style);
}

}  // namespace

iKdMsgBoxPreferences* setMsgBoxPreferences(iKdMsgBoxPreferences* preferences) {
  iKdMsgBoxPreferences* previous = &msgBoxPreferences();
  if (!preferences) {
    gMemoryPreferences = CMemoryMsgBoxPreferences();
    preferences = &gMemoryPreferences;
  }
  gPreferences = preferences;
  return previous;
}

iKdMsgBoxPreferences& msgBoxPreferences() {
  VXKD_ASSERT_UI_THREAD();
  return *gPreferences;
}

int msgBox(HWND hwnd, long textId, const wchar_t* text) {
  return showWithAppTitle(hwnd, textId, text, MB_OK);
}

int msgErrorBox(HWND hwnd, long textId, const wchar_t* text) {
  return showWithAppTitle(hwnd, textId, text, MB_OK | MB_ICONSTOP);
}

int msgWarningBox(HWND hwnd, long textId, const wchar_t* text) {
  return showWithAppTitle(hwnd, textId, text, MB_OK | MB_ICONEXCLAMATION);
}

int okCancelMsgBox(HWND hwnd, long textId, const wchar_t* text) {
  return showWithAppTitle(hwnd, textId, text, MB_OKCANCEL);
}

int yesNoMsgBox(HWND hwnd, long textId, const wchar_t* text) {
  return showWithAppTitle(hwnd, textId, text, MB_YESNO | MB_ICONQUESTION);
}

int yesNoMsgBox(HWND hwnd, long textId, const wchar_t* text, long captionId,
                const wchar_t* caption) {
  return show(hwnd, lngDbText(textId, text), lngDbText(captionId, caption),
              MB_YESNO | MB_ICONQUESTION);
}

int yesNoWarningMsgBox(HWND hwnd, long textId, const wchar_t* text) {
  return showWithAppTitle(hwnd, textId, text, MB_YESNO | MB_ICONEXCLAMATION);
}

int msgBox(HWND hwnd, long textId, const wchar_t* text, long captionId, const wchar_t* caption,
           int style1, int style2) {
  return show(hwnd, lngDbText(textId, text), lngDbText(captionId, caption),
              static_cast<unsigned>(style1) | static_cast<unsigned>(style2));
}

int msgBox(HWND hwnd, long textId, const wchar_t* text, long captionId, const wchar_t* caption,
           const CWszArray& items) {
  CWsz body = lngDbText(textId, text);
  body.cat(L"\r\n");
  for (const CWsz& item : items) body.cat(L"\r\n - ").cat(item);
  return show(hwnd, body, lngDbText(captionId, caption), MB_OK | MB_ICONINFORMATION);
}

int commonSaveErrorMsgBox(HWND hwnd) {
  return msgBox(hwnd, 10132, L"#Cannot save data", 10134, L"#Save Failed", MB_OK, MB_ICONSTOP);
}

void warnIfWantedMsgBox(HWND hwnd, int condition, long textId, const wchar_t* text) {
  iKdMsgBoxPreferences& preferences = msgBoxPreferences();
  if (condition != 1 || !preferences.displayCreatedWithMsg()) return;
  if (!CUiBackend::current().showAgainBox(hwnd, lngDbText(textId, text), appTitle()))
    preferences.setDisplayCreatedWithMsg(false);
}

}  // namespace VxKd
