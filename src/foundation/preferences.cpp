#include "vxkd/foundation/preferences.h"

#include <cstdint>

#include "platform/ui_thread.h"
#include "vxkd/foundation/registry.h"
#include "vxkd/platform/paths.h"

namespace VxKd {

namespace {

constexpr wchar_t kUserPreferences[] = L"CurVer\\UserPreferences";
constexpr wchar_t kDirectories[] = L"CurVer\\Directories";

// Lengths of the string values a reader takes, in characters.
constexpr int kMaxFolderLength = 300;
constexpr int kMaxSeriesTextLength = 300;
constexpr int kMaxSeriesCount = 999;
constexpr int kMaxSeriesIdLength = 99;

// Interface languages are numbered from here; a smaller value is not a choice.
constexpr long kFirstLanguageId = 1500;

// A DWORD as the signed 32-bit number the program means by it.
long asSigned(unsigned long stored) { return static_cast<int32_t>(static_cast<uint32_t>(stored)); }

long asFlag(unsigned long stored) { return stored != 0 ? 1 : 0; }
long asShort(unsigned long stored) { return static_cast<int16_t>(stored); }

bool isFlagKnown(long cached) { return cached != 2; }
bool isPositive(long value) { return value >= 1; }
bool isNotNegative(long value) { return value >= 0; }
bool isAnyValue(long) { return true; }
bool isZeroOrOne(long value) { return value == 0 || value == 1; }

// The cached DWORD preferences below "CurVer\UserPreferences".
enum Pref { prefManualConflicts, prefDimtextMasking, prefSearchCircle, prefConnectMode, prefCount };

struct PrefRule {
  const wchar_t* valueName;
  long defaultValue;
  long unknown;                       // what the cache holds before the first read
  bool (*isKnown)(long cached);       // whether the cache holds a value
  long (*fromStored)(unsigned long);  // the stored value as the program takes it
  bool (*isUsable)(long value);       // whether a value read is taken (else the default)
  bool (*isAccepted)(long value);     // whether a setter stores `value`
};

constexpr PrefRule kPrefs[prefCount] = {
    {L"ManualConflictHandling", 1, 2, isFlagKnown, asFlag, isAnyValue, isAnyValue},
    {L"AllowDimtextMasking", 0, 2, isFlagKnown, asFlag, isAnyValue, isAnyValue},
    {L"SearchCircleSize", 10, 0, isPositive, asSigned, isPositive, isPositive},
    {L"ConnectMode", 1, -1, isNotNegative, asShort, isAnyValue, isZeroOrOne},
};

// The program's one settings object: the preference caches.
struct CVxKdSettings {
  long cache[prefCount];
  CVxKdSettings() { reset(); }
  void reset() {
    for (int p = 0; p < prefCount; ++p) cache[p] = kPrefs[p].unknown;
  }
};

CVxKdSettings& settings() {
  VXKD_ASSERT_UI_THREAD();
  static CVxKdSettings s;
  return s;
}

class CRegistryMsgBoxPreferences final : public iKdMsgBoxPreferences {
 public:
  bool displayCreatedWithMsg() const override { return VxKd::displayCreatedWithMsg(); }
  bool setDisplayCreatedWithMsg(bool on) override { return VxKd::setDisplayCreatedWithMsg(on); }
};

CSystemRegistry versionedUserKey() {
  CSystemRegistry key;
  key.initCurrentUserSoftware(companyName, versionedProductName());
  return key;
}

CSystemRegistry userKey() {
  CSystemRegistry key;
  key.initCurrentUserSoftware(companyName, productName);
  return key;
}

CSystemRegistry machineKey() {
  CSystemRegistry key;
  key.initLocalMachineSoftware(companyName, productName);
  return key;
}

long cachedPref(Pref p) {
  const PrefRule& rule = kPrefs[p];
  long& cache = settings().cache[p];
  if (rule.isKnown(cache)) return cache;
  unsigned long stored = 0;
  long value = rule.defaultValue;
  if (versionedUserKey().readDw(kUserPreferences, rule.valueName, stored) &&
      rule.isUsable(rule.fromStored(stored)))
    value = rule.fromStored(stored);
  cache = value;
  return value;
}

bool setPref(Pref p, long value) {
  const PrefRule& rule = kPrefs[p];
  if (!rule.isAccepted(value)) return false;
  settings().cache[p] = value;
  return versionedUserKey().writeDw(kUserPreferences, rule.valueName,
                                    static_cast<unsigned long>(value));
}

long readLanguage(const CSystemRegistry& key) {
  unsigned long stored = 0;
  return key.readDw(L"", L"InterfaceLng", stored) ? asSigned(stored) : 0;
}

CWsz folderOr(const CSystemRegistry& key, const wchar_t* valueName, CWsz defaultFolder) {
  wchar_t buffer[kMaxFolderLength + 1];
  if (key.readWsz(kDirectories, valueName, buffer, kMaxFolderLength + 1) && buffer[0])
    return CWsz(buffer);
  return defaultFolder;
}

}  // namespace

CWsz versionedProductName() { return CWsz(productDisplayName).cat(L' ').cat(versionText); }

bool manualConflictHandling() { return cachedPref(prefManualConflicts) != 0; }
bool setManualConflictHandling(bool on) { return setPref(prefManualConflicts, on ? 1 : 0); }

bool allowDimtextMasking() { return cachedPref(prefDimtextMasking) != 0; }
bool setAllowDimtextMasking(bool on) { return setPref(prefDimtextMasking, on ? 1 : 0); }

int searchCircleDiameter_pix() { return static_cast<int>(cachedPref(prefSearchCircle)); }
int searchCircleRadius_pix() { return searchCircleDiameter_pix() / 2; }
bool setSearchCircleDiameter_pix(int diameter) { return setPref(prefSearchCircle, diameter); }

short initialConnectMode() { return static_cast<short>(cachedPref(prefConnectMode)); }
bool setInitialConnectMode(short mode) { return setPref(prefConnectMode, mode); }

bool displayCreatedWithMsg() {
  unsigned long stored = 0;
  return !userKey().readDw(L"", L"DisplayCreatedWithMsg", stored) || stored != 0;
}

bool setDisplayCreatedWithMsg(bool on) {
  return userKey().writeDw(L"", L"DisplayCreatedWithMsg", on ? 1 : 0);
}

iKdMsgBoxPreferences& userMsgBoxPreferences() {
  static CRegistryMsgBoxPreferences preferences;
  return preferences;
}

void resetPreferenceCaches() { settings().reset(); }

bool readLocalDataFolder(CWsz& folder) {
  wchar_t buffer[kMaxFolderLength + 1];
  bool found =
      machineKey().readWsz(L"", L"LocalDataFolder", buffer, kMaxFolderLength + 1) && buffer[0];
  folder = found ? CWsz(buffer) : CWsz();
  return found;
}

void readSymbolFolders(const wchar_t* localDataFolder, CWsz& commonFolder, CWsz& userFolder) {
  CSystemRegistry key = versionedUserKey();
  commonFolder =
      folderOr(key, L"CommonSymbols", cuFile::joinPath(localDataFolder, L"KdCommonSymbols"));
  userFolder = folderOr(key, L"UserSymbols", cuFile::joinPath(localDataFolder, L"KdUserSymbols"));
}

long readInterfaceLanguage() {
  long language = readLanguage(userKey());
  if (language < kFirstLanguageId) language = readLanguage(machineKey());
  return language >= kFirstLanguageId ? language : 0;
}

void readSymbolSeries(const CVxSymbolDb& library, CWszArray& ids) {
  ids.empty();
  wchar_t buffer[kMaxSeriesTextLength + 1];
  if (versionedUserKey().readWsz(kUserPreferences, L"SymbolSeries", buffer,
                                 kMaxSeriesTextLength + 1)) {
    std::wstring_view rest = buffer;
    while (!rest.empty() && ids.length() < kMaxSeriesCount) {
      size_t comma = rest.find(L',');
      std::wstring_view id = rest.substr(0, comma);
      if (id.empty()) break;  // an empty id ends the list: "A,,B" is just A
      ids.append(CWsz(id.substr(0, kMaxSeriesIdLength)));
      if (comma == std::wstring_view::npos) break;
      rest.remove_prefix(comma + 1);
    }
  }
  if (ids.isEmpty()) library.defaultSeries(ids);
}

bool writeSymbolSeries(const CWszArray& ids) {
  CWsz text = ids.join(L",");
  if (text.length() > kMaxSeriesTextLength) return false;
  return versionedUserKey().writeWsz(kUserPreferences, L"SymbolSeries", text);
}

}  // namespace VxKd
