#include "support/temp_registry.h"

#include "foundation/preferences.h"

CTempRegistry::CTempRegistry()
    : hkcu_("VXKD_HKCU", folder_.file("hkcu/registry.reg")),
      hklm_("VXKD_HKLM", folder_.file("hklm/registry.reg")) {
  VxKd::resetPreferenceCaches();
}

CTempRegistry::~CTempRegistry() { VxKd::resetPreferenceCaches(); }
