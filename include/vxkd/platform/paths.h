#pragma once
// Paths of the program and of plain files.

#include <string>
#include <vector>

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

namespace cuFile {

// The folder of the library's own file, without a trailing "/"; empty when unknown.
VXKD_API CWsz libraryFolder();
// `folder` + "/" + `name` (no doubled "/").
VXKD_API CWsz joinPath(const wchar_t* folder, const wchar_t* name);
// True when `path` names an existing file or folder; for a server URI, unless the server
// says that there is no such dataset (an unreachable server is left to the open to report).
VXKD_API bool exists(const wchar_t* path);
// True when `path` is a server URI ("postgresql://..." or "postgres://...") that names a
// dataset on a PostgreSQL server, which every operation on datasets takes in place of a
// file path.
VXKD_API bool isServerUri(const wchar_t* path);
// Why the server URI `path` cannot name a dataset ("the URI names no dataset (add
// ?dataset=NAME)", a malformed name...); "" when it can. Asks no server.
VXKD_API std::string serverUriProblem(const wchar_t* path);
// The narrow (UTF-8) form of a path for the system calls.
VXKD_API std::string nativePath(const wchar_t* path);

// The lines of a UTF-8 text file, without line ends and without a byte order mark; false
// when the file cannot be read.
VXKD_API bool readTextLines(const wchar_t* path, std::vector<std::string>& lines);
// True for a line of the library's data files that carries nothing: blank, or a comment
// beginning with "#" (blanks before it allowed).
VXKD_API bool isCommentOrBlank(const std::string& line);

}  // namespace cuFile
