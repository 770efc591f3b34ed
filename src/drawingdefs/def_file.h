#pragma once
// The text files in which definitions are exchanged with other programs (LIN linetype files,
// STY text style files): reading one whole, writing one so that it is either whole or not
// there, the lines of one, and the boxes that tell the user about them. Every file access of
// the drawing definitions goes through here, and here through CEnv, so that a test can put a
// full disk or an unreadable file under it.

#include <string>
#include <vector>

#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"

namespace VxKd {

// Files larger than this are no definition files: they are refused before being read.
inline constexpr size_t kMaxDefFileBytes = 16u << 20;

// Reads the whole file at `path` into `bytes`. False, with errno's value in `error`
// (EFBIG for a file above kMaxDefFileBytes), when it cannot be read.
bool readDefFile(const wchar_t* path, std::string& bytes, int& error);

// Replaces the file at `path` by `bytes`: they go to a temporary file beside it, which is
// flushed and then renamed over `path`, so that `path` is never half written. An existing
// file keeps its permissions. False, with errno's value in `error` and no temporary file
// left behind, when any step fails; `path` is then as it was.
bool writeDefFile(const wchar_t* path, const std::string& bytes, int& error);

// The lines of a definition file's bytes, without their line ends ("\r\n", "\n" or a lone
// "\r"). The text is UTF-16 when it begins with a UTF-16 byte order mark, UTF-8 when it is
// valid UTF-8 (a byte order mark dropped), and otherwise Windows-1252, in which the
// programs of the host's platform write such files. False, with no lines, for a binary file:
// one holding a NUL character once decoded.
bool splitDefFileLines(const std::string& bytes, std::vector<std::wstring>& lines);

// Today's date in the user's short date format (strftime "%x" under the user's LC_TIME, as
// the environment gives it, whatever locale the process runs in).
CWsz shortDate();

// `path` with ".`ext`" appended when its file name has no extension, as the save-file dialog
// of the host's platform does.
CWsz withDefaultExtension(const wchar_t* path, const wchar_t* ext);

// The file name of an export, asked with the save-file dialog titled "Export File Name";
// false when cancelled.
bool askExportFileName(cuWin::HWND hwnd, const wchar_t* filter, const wchar_t* ext, CWsz& path);
// The file name of an import, asked with the open-file dialog; false when cancelled.
bool askImportFileName(cuWin::HWND hwnd, const wchar_t* filter, CWsz& path);

// The error box of a failed export: the file and the system's reason.
void showWriteError(cuWin::HWND hwnd, const wchar_t* path, int error);

}  // namespace VxKd
