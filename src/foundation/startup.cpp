#include "vxkd/foundation/startup.h"

#include <cstdlib>
#include <filesystem>

#include "platform/ui_thread.h"
#include "vxkd/foundation/preferences.h"
#include "vxkd/platform/paths.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

namespace VxKd {

namespace {

// The installed data folder relative to the installed library's folder; the build sets it
// from the installation folders it was configured with.
#ifndef VXKD_DATA_DIR_FROM_LIBRARY
#define VXKD_DATA_DIR_FROM_LIBRARY "../share/vxkd"
#endif

// The data file whose presence beside the library marks the build tree's program folder.
constexpr wchar_t kDataMarker[] = L"VantVkd.ddq";

// The symbol library's application code: schematic symbols.
constexpr char kSymbolApplication[] = "S";

struct CStartupState {
  bool initialized = false;
  bool languageDbOpen = false;
  CWsz programFolder;
  CWsz localDataFolder;
  CWsz commonSymbolFolder;
  CWsz userSymbolFolder;
  CWszArray activeSeries;
};

CStartupState& startupState() {
  static CStartupState s;
  return s;
}

CStartupState& state() {
  VXKD_ASSERT_UI_THREAD();
  return startupState();
}

bool openLanguageDb(const CWsz& folder) {
  if (lngDb().open(cuFile::joinPath(folder, L"VantQLG.ddq"), cuFile::joinPath(folder, L"VxKd.qlg")))
    return true;
  // No text id: the language database that would translate it is what failed.
  msgBox(nullptr, 0, L"Cannot initialize language database", 0, appTitle(), cuWin::MB_OK,
         cuWin::MB_ICONSTOP);
  return false;
}

}  // namespace

bool initVxKd() {
  // The thread that starts the library is its user-interface thread.
  if (!startupState().initialized) cu::claimUiThread();
  CStartupState& s = state();
  if (s.initialized) return s.languageDbOpen;
  s.programFolder = programFolder();  // while not initialised: from the environment
  s.initialized = true;
  setMsgBoxPreferences(&userMsgBoxPreferences());

  if (!readLocalDataFolder(s.localDataFolder)) s.localDataFolder = s.programFolder;
  readSymbolFolders(s.localDataFolder, s.commonSymbolFolder, s.userSymbolFolder);

  s.languageDbOpen = openLanguageDb(s.programFolder);
  if (long language = readInterfaceLanguage()) lngDb().setActiveLanguage(language);

  CVxSymbolDb& symbols = symbolDb();
  symbols.open(cuFile::joinPath(s.programFolder, L"VantVxs.ddq"), kSymbolApplication,
               lngDb().activeLanguage(), s.commonSymbolFolder, s.userSymbolFolder);
  symbols.refreshSeries();
  readActiveSymbolSeries();
  return s.languageDbOpen;
}

void exitVxKd() {
  lngDb().close();
  symbolDb().close();
  resetPreferenceCaches();
  if (&msgBoxPreferences() == &userMsgBoxPreferences()) setMsgBoxPreferences(nullptr);
  state() = CStartupState();
  cu::releaseUiThread();
}

bool isVxKdInitialized() { return state().initialized; }

CWsz programFolder() {
  if (state().initialized) return state().programFolder;
  const char* folder = std::getenv("VXKD_PROGRAM_DIR");
  if (folder && *folder) return CWsz::fromUtf8(folder);
  CWsz library = cuFile::libraryFolder();
  if (library.isEmpty() || cuFile::exists(cuFile::joinPath(library, kDataMarker))) return library;
  std::filesystem::path installed =
      std::filesystem::path(cuFile::nativePath(library)) / VXKD_DATA_DIR_FROM_LIBRARY;
  return CWsz::fromUtf8(installed.lexically_normal().c_str());
}

CWsz localDataFolder() { return state().localDataFolder; }
CWsz commonSymbolFolder() { return state().commonSymbolFolder; }
CWsz userSymbolFolder() { return state().userSymbolFolder; }

CVxSymbolDb& symbolDb() {
  VXKD_ASSERT_UI_THREAD();
  static CVxSymbolDb db;
  return db;
}

const CWszArray& activeSymbolSeries() { return state().activeSeries; }

void readActiveSymbolSeries() { readSymbolSeries(symbolDb(), state().activeSeries); }

bool setActiveSymbolSeries(const CWszArray& ids) {
  state().activeSeries = ids;
  return writeSymbolSeries(ids);
}

}  // namespace VxKd
