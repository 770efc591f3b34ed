#pragma once
// CSystemRegistry: single values below one software key ("SOFTWARE\" + company + "\" +
// product) of the current user's or the local machine's registry.
//
// Each root is a file in the registry export format: the current user's is
// $XDG_CONFIG_HOME/tessund/registry.reg (~/.config/... by default), the local machine's
// /etc/tessund/registry.reg; the environment variables VXKD_HKCU and VXKD_HKLM name other
// files. Every call reads the file afresh and holds nothing open. A write takes an advisory
// lock (flock on the sibling "registry.reg.lock"), reads the file again under it, applies
// its change and replaces the file by rename, so a reader sees the old file or the new one,
// and two processes writing at once keep each other's values. A missing or damaged file
// reads as empty.

#include <cstdint>
#include <string>

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

class VXKD_API CSystemRegistry {
 public:
  enum rootKinds : uint8_t { rootNone = 0, rootCurrentUser = 1, rootLocalMachine = 2 };
  // Company and product names are kept up to this many characters.
  static constexpr int maxNameLength = 100;

  CSystemRegistry() = default;

  // Selects the root and the software key below it.
  void initCurrentUserSoftware(const wchar_t* company, const wchar_t* product);
  void initLocalMachineSoftware(const wchar_t* company, const wchar_t* product);
  rootKinds rootKind() const { return rootKind_; }

  // `subPath` is a key below the software key ("" or null: the key itself), `valueName` a
  // value in it ("" or null: the key's default value). Key paths and value names ignore case.

  // True, with the value, only when it exists and is a DWORD; otherwise false and 0.
  bool readDw(const wchar_t* subPath, const wchar_t* valueName, unsigned long& value) const;
  // Stores a DWORD, creating the key. False when not initialised, when `value` does not fit
  // 32 bits, or when the file cannot be written (it is then unchanged).
  bool writeDw(const wchar_t* subPath, const wchar_t* valueName, unsigned long value) const;
  // True, with the text in `buffer` of `size` characters, only when the value exists, is a
  // string and fits with its terminator; otherwise false and "" (a longer text is refused
  // rather than cut, as a cut path would name another folder). Narrow text is UTF-8 and its
  // size counts bytes.
  bool readSz(const wchar_t* subPath, const wchar_t* valueName, char* buffer, int size) const;
  bool readWsz(const wchar_t* subPath, const wchar_t* valueName, wchar_t* buffer, int size) const;
  // The whole string value; false and "" as readWsz.
  bool readWsz(const wchar_t* subPath, const wchar_t* valueName, CWsz& text) const;
  // Stores a string, creating the key; false as writeDw.
  bool writeWsz(const wchar_t* subPath, const wchar_t* valueName, const wchar_t* text) const;
  // Deletes the key `path` (below the software key) with every key below it, after creating
  // its parent when missing. False when not initialised, when `path` is empty, when there is
  // no such key, or when the file cannot be written.
  bool deleteNode(const wchar_t* path) const;

  // The file that holds this registry's root; empty when not initialised.
  std::string filePath() const;
  // The files of the two roots, from the environment.
  static std::string currentUserFile();
  static std::string localMachineFile();

 protected:
  // The full key path of `subPath`: the root's name, "SOFTWARE\" + company + "\" + product
  // and, when `subPath` is not empty, "\" + subPath. False when not initialised.
  bool nodePath(const wchar_t* subPath, std::wstring& path) const;

 private:
  void init(rootKinds kind, const wchar_t* company, const wchar_t* product);

  rootKinds rootKind_ = rootNone;
  CWsz company_;
  CWsz product_;
};
