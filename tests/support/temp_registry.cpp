#include "support/temp_registry.h"

#include <cstdio>

#include "vxkd/foundation/preferences.h"

namespace vxkd_test {

std::string dwordLine(const char* name, unsigned long value) {
  char line[200];
  std::snprintf(line, sizeof line, "\"%s\"=dword:%08lx\n", name, value);
  return line;
}

std::string stringLine(const char* name, const std::string& text) {
  return "\"" + std::string(name) + "\"=\"" + text + "\"\n";
}

TempRegistry::TempRegistry()
    : hkcu_("VXKD_HKCU", folder_.native("hkcu/registry.reg")),
      hklm_("VXKD_HKLM", folder_.native("hklm/registry.reg")) {
  VxKd::resetPreferenceCaches();
}

TempRegistry::~TempRegistry() { VxKd::resetPreferenceCaches(); }

}  // namespace vxkd_test
