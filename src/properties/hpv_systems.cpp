#include "vxkd/properties/hpv_systems.h"

#include "platform/ui_thread.h"

namespace {

iHpvSystemProperties* gSource = nullptr;

}  // namespace

namespace HpvSystems {

iHpvSystemProperties* setPropertySource(iHpvSystemProperties* source) {
  iHpvSystemProperties* previous = propertySource();
  gSource = source;
  return previous;
}

iHpvSystemProperties* propertySource() {
  VXKD_ASSERT_UI_THREAD();
  return gSource;
}

bool getSystemPropertyValue(const CWsz& context, long systemId, TypeId typeId, const wchar_t* name,
                            CWsz& value) {
  value.empty();
  const iHpvSystemProperties* source = propertySource();
  if (!source || !name) return false;
  if (source->getPropertyValue(context, systemId, typeId, name, value)) return true;
  value.empty();
  return false;
}

}  // namespace HpvSystems
