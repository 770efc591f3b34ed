#pragma once
// The dataset editor of a host's project. The editor is a program of its own, the front end
// "vkd-edit", installed beside vkd; this library only starts it and takes in what it saved.

#include "vxkd/dataset/project.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"

extern "C" {

// Opens the dataset editor on the file of `project` and waits until the user closes it; when
// the editor has saved the file meanwhile, the project is read again from it (edits the
// host had not stored are then gone: store them before). The front end is the program
// "vkd-edit" of the program folder (the build tree, or $VXKD_PROGRAM_DIR), else of the
// installed bin folder (<prefix>/bin beside <prefix>/lib). True when the editor ran and
// ended without error. False with a message box over `parent` when no front end is
// installed, when the project is bound to no file (neither read nor saved), or when the
// front end cannot be started; false without one when the editor ended with an error (it
// has told the user why). REQUIRES the user-interface thread and a project.
VXKD_API bool vxkdui_projectDlg(cuWin::HWND parent, CKdProject* project);

}  // extern "C"
