#include "vxkd/foundation/startup.h"

#include <cstdlib>

#include "vxkd/foundation/preferences.h"
#include "vxkd/platform/paths.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

namespace VxKd {

namespace {

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

CStartupState& state() {
  static CStartupState s;
  return s;
}

bool openLanguageDb(const CWsz& folder) {
  if (lngDb().open(cuFile::joinPath(folder, L"VantQLG.ddq"), cuFile::joinPath(folder, L"VxKd.qlg")))
    return true;
  // No text id: the language database that would translate it is what failed.
  msgBox(nullptr, 0, L"Cannot initialize language database", 0, appTitle(), MB_OK, MB_ICONSTOP);
  return false;
}

}  // namespace

bool initVxKd() {
  CStartupState& s = state();
  if (s.initialized) return s.languageDbOpen;
  s.programFolder = programFolder();  // while not initialised: from the environment
  s.initialized = true;

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
  state() = CStartupState();
}

bool isVxKdInitialized() { return state().initialized; }

CWsz programFolder() {
  if (state().initialized) return state().programFolder;
  const char* folder = std::getenv("VXKD_PROGRAM_DIR");
  return folder && *folder ? CWsz::fromUtf8(folder) : cuFile::libraryFolder();
}

CWsz localDataFolder() { return state().localDataFolder; }
CWsz commonSymbolFolder() { return state().commonSymbolFolder; }
CWsz userSymbolFolder() { return state().userSymbolFolder; }

CVxSymbolDb& symbolDb() {
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
