#pragma once
// The user's preferences and the installation's folders, as the registry holds them. Each
// cached preference is read once and then served from the program's one settings object; its
// setter updates cache and registry together. Every registry failure gives the value's
// default; nothing is reported.

#include "vxkd/platform/export.h"
#include "vxkd/platform/symbol.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/ui/message_box.h"

namespace VxKd {

// The names the software keys are made of: company, product, and the versioned product (the
// display name, a blank and the version text).
inline constexpr wchar_t companyName[] = L"Tessund";
inline constexpr wchar_t productName[] = L"Vantrix";
inline constexpr wchar_t productDisplayName[] = L"Vantrix KD";
inline constexpr wchar_t versionText[] = L"18";
VXKD_API CWsz versionedProductName();

// The user resolves property conflicts by hand when picking properties. Default true.
VXKD_API bool manualConflictHandling();
// Stores the switch (as 1 or 0); the result is that of the registry write.
VXKD_API bool setManualConflictHandling(bool on);

// Dimension texts may mask what lies under them. Default false.
VXKD_API bool allowDimtextMasking();
VXKD_API bool setAllowDimtextMasking(bool on);

// Diameter in pixels of the pick search circle: 10 when absent, and also when the stored
// value is 0 (or does not count as a positive 32-bit number).
VXKD_API int searchCircleDiameter_pix();
// The diameter divided by 2, rounded towards zero.
VXKD_API int searchCircleRadius_pix();
// Stores a diameter of 1 or more; others change nothing and return false.
VXKD_API bool setSearchCircleDiameter_pix(int diameter);

// The initial connect mode, default 1. A stored value is taken as it stands, even one out of
// range: only the setter checks, deliberately.
VXKD_API short initialConnectMode();
// Stores 0 or 1; others change nothing and return false.
VXKD_API bool setInitialConnectMode(short mode);

// Whether messages naming the program a drawing was created with are shown. Default true.
// Read afresh every time, never cached: one switch serves every such message.
VXKD_API bool displayCreatedWithMsg();
VXKD_API bool setDisplayCreatedWithMsg(bool on);
// The same switch as the message boxes ask for it; initVxKd installs it for them.
VXKD_API iKdMsgBoxPreferences& userMsgBoxPreferences();

// Forgets every cached preference, so that the next read goes to the registry again.
VXKD_API void resetPreferenceCaches();

// The local data folder of the installation ("LocalDataFolder" of the machine); false and ""
// when it is absent or empty.
VXKD_API bool readLocalDataFolder(CWsz& folder);

// The user's symbol folders: `localDataFolder` + "/KdCommonSymbols" and "/KdUserSymbols",
// each replaced by the user's "CommonSymbols" or "UserSymbols" when present and not empty.
VXKD_API void readSymbolFolders(const wchar_t* localDataFolder, CWsz& commonFolder,
                                CWsz& userFolder);

// The interface language the user chose (the machine's choice when the user has none of 1500
// or more); 0 when neither chose one.
VXKD_API long readInterfaceLanguage();

// The active symbol series: the user's "SymbolSeries" split at "," (at most 999 ids of at
// most 99 characters, up to the first empty id), or `library`'s default series when that
// gives none.
VXKD_API void readSymbolSeries(const CVxSymbolDb& library, CWszArray& ids);
// Stores `ids` joined with ",". False, and nothing stored, when the joined text is longer
// than the 300 characters a reader takes, or when the registry cannot be written.
VXKD_API bool writeSymbolSeries(const CWszArray& ids);

}  // namespace VxKd
