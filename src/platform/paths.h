#pragma once
// Paths of the program and of plain files.

#include <string>

#include "platform/export.h"
#include "platform/wsz.h"

namespace cuFile {

// The folder of the library's own file, without a trailing "/"; empty when unknown.
VXKD_API CWsz libraryFolder();
// `folder` + "/" + `name` (no doubled "/").
VXKD_API CWsz joinPath(const wchar_t* folder, const wchar_t* name);
// True when `path` names an existing file or folder.
VXKD_API bool exists(const wchar_t* path);
// The narrow (UTF-8) form of a path for the system calls.
VXKD_API std::string nativePath(const wchar_t* path);

}  // namespace cuFile
