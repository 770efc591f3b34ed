#pragma once
// A private registry for one test: VXKD_HKCU and VXKD_HKLM name files in a fresh temporary
// folder (neither file exists at first) and the preference caches are dropped, before and
// after, so no test sees another's values or the real ones.

#include <gtest/gtest.h>

#include <string>

#include "support/temp_folder.h"

namespace vxkd_test {

// The section lines of the keys the library reads, for registry files written by hand.
inline constexpr char kUserVantrixKey[] = "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix]\n";
inline constexpr char kMachineVantrixKey[] = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tessund\\Vantrix]\n";
inline constexpr char kUserPreferencesKey[] =
    "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix KD 18\\CurVer\\UserPreferences]\n";

// A value line: "name"=dword:0000001f, and "name"="text".
std::string dwordLine(const char* name, unsigned long value);
std::string stringLine(const char* name, const std::string& text);

class TempRegistry {
 public:
  TempRegistry();
  ~TempRegistry();
  TempRegistry(const TempRegistry&) = delete;
  TempRegistry& operator=(const TempRegistry&) = delete;

  const TempFolder& folder() const { return folder_; }
  std::string currentUserFile() const { return folder_.native("hkcu/registry.reg"); }
  std::string localMachineFile() const { return folder_.native("hklm/registry.reg"); }

  // Writes a registry file by hand, and reads one back.
  void writeCurrentUser(const std::string& text) const { folder_.write("hkcu/registry.reg", text); }
  void writeLocalMachine(const std::string& text) const {
    folder_.write("hklm/registry.reg", text);
  }
  std::string currentUserText() const { return folder_.read("hkcu/registry.reg"); }
  std::string localMachineText() const { return folder_.read("hklm/registry.reg"); }

 private:
  TempFolder folder_;
  ScopedEnv hkcu_;
  ScopedEnv hklm_;
};

// A test with its own registry.
class RegistryTest : public ::testing::Test {
 protected:
  TempRegistry registry_;
};

}  // namespace vxkd_test
