#include "vxkd/platform/host.h"

#include "platform/ui_thread.h"
#include "vxkd/platform/version.h"

namespace {

iVxKdInterface* gHost = nullptr;

CWsz cut(const CWsz& text) { return text.left(VxKdAttributeDef::maxLength); }

}  // namespace

iVxKdInterface::~iVxKdInterface() {
  assert(gHost != this && "a host interface is destroyed while registered");
  if (gHost == this) gHost = nullptr;
}

namespace VxKdInterface {

iVxKdInterface* set(iVxKdInterface* host) {
  iVxKdInterface* previous = get();
  gHost = host;
  return previous;
}

iVxKdInterface* get() {
  VXKD_ASSERT_UI_THREAD();
  return gHost;
}

bool readBlockAttributeDefs(const wchar_t* blockName, std::vector<VxKdAttributeDef>& defs) {
  defs.clear();
  iVxKdInterface* host = get();
  if (!host) return false;
  if (!host->getBlockAttributeDefs(blockName ? blockName : L"", defs)) {
    defs.clear();
    return false;
  }
  for (VxKdAttributeDef& def : defs) {
    def.tag = cut(def.tag);
    def.prompt = cut(def.prompt);
  }
  return true;
}

}  // namespace VxKdInterface

extern "C" {

int vxkdui_version_nmb(void) { return VXKD_VERSION_NUMBER; }

bool vxkdui_init_vxkd_callbacks(const VxKdCallbacks* callbacks) {
  if (!callbacks || callbacks->size < sizeof(VxKdCallbacks)) return false;
  CUiBackend::install(callbacks->ui);
  VxKdInterface::set(callbacks->host);
  return true;
}

}  // extern "C"
