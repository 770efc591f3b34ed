#pragma once
// Start-up of the library: the program and data folders, the language database with the
// user's interface language, the symbol library and the active symbol series. Nothing else
// is global: a dataset lives in the project object its host creates.

#include "vxkd/platform/export.h"
#include "vxkd/platform/symbol.h"
#include "vxkd/platform/wsz.h"

namespace VxKd {

// Initialises the library once; later calls do nothing and return the first call's result.
// In order: the program folder; the local data folder ("LocalDataFolder" of the machine, else
// the program folder); the symbol folders below it, or the user's own; the language database
// ("VantQLG.ddq" and "VxKd.qlg" in the program folder), whose failure is shown to the user
// ("Cannot initialize language database") while start-up goes on with the built-in texts;
// the user's interface language; the symbol library ("VantVxs.ddq" in the program folder)
// with its series; the active symbol series. False only when the language database could
// not be opened.
VXKD_API bool initVxKd();
// Undoes initVxKd: closes the language database and the symbol library, forgets the folders
// and the cached preferences; the next initVxKd starts afresh. For hosts that unload the
// library, and for tests.
VXKD_API void exitVxKd();
VXKD_API bool isVxKdInitialized();

// The folder of the dictionaries and the language texts: $VXKD_PROGRAM_DIR when set; else
// the library's own folder when they lie beside it (the build tree); else the installed data
// folder (<prefix>/share/vxkd beside <prefix>/lib). Valid before initVxKd too.
VXKD_API CWsz programFolder();
// The folders found by initVxKd; empty before it.
VXKD_API CWsz localDataFolder();
VXKD_API CWsz commonSymbolFolder();
VXKD_API CWsz userSymbolFolder();

// The program's one symbol library (closed before initVxKd).
VXKD_API CVxSymbolDb& symbolDb();

// The ids of the active symbol series, as initVxKd read them.
VXKD_API const CWszArray& activeSymbolSeries();
// Reads the active series from the registry again (the library's defaults without a choice).
VXKD_API void readActiveSymbolSeries();
// Makes `ids` the active series and stores them; the result is that of the store.
VXKD_API bool setActiveSymbolSeries(const CWszArray& ids);

}  // namespace VxKd
