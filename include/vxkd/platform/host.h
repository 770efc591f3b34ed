#pragma once
// What a host registers with the library: its callback table, given all at once with
// vxkdui_init_vxkd_callbacks, and in it the host interface through which the library reads
// the host's drawing. Also the library's version number, so that a host that loads the
// library by name can check what it got.

#include <cstdint>
#include <vector>

#include "vxkd/platform/export.h"
#include "vxkd/platform/ui_backend.h"
#include "vxkd/platform/wsz.h"

// One attribute definition of a block in the host's drawing: its tag and its prompt.
struct VxKdAttributeDef {
  // The longest tag and prompt the library takes, in characters; longer ones are cut.
  static constexpr int maxLength = 60;

  CWsz tag;
  CWsz prompt;
};

// The host's side of the library: what only the host can answer. The host implements it and
// registers it (VxKdInterface::set, or in its callback table); without one, whatever needs
// the host reports false.
class VXKD_API iVxKdInterface {
 public:
  // A host interface destroyed while registered is unregistered first. Debug builds stop
  // there: the host was to register another one (or none) beforehand.
  virtual ~iVxKdInterface();

  // Fills `defs` with the attribute definitions of the block named `blockName` in the
  // current drawing, in the block's order. True also when the drawing has no such block
  // (`defs` then stays empty); false when the host cannot read its drawing.
  virtual bool getBlockAttributeDefs(const wchar_t* blockName,
                                     std::vector<VxKdAttributeDef>& defs) = 0;
};

namespace VxKdInterface {

// Registers `host` (null: none) and returns the one it replaces. The host keeps ownership
// and keeps `host` alive while it is registered. REQUIRES the user-interface thread.
VXKD_API iVxKdInterface* set(iVxKdInterface* host);
// The registered host interface, or null. REQUIRES the user-interface thread.
VXKD_API iVxKdInterface* get();

// Empties `defs`, then asks the registered host for the attribute definitions of the block
// `blockName`, each tag and prompt cut to VxKdAttributeDef::maxLength characters. False,
// with `defs` empty, without a host or when the host cannot read its drawing.
VXKD_API bool readBlockAttributeDefs(const wchar_t* blockName, std::vector<VxKdAttributeDef>& defs);

}  // namespace VxKdInterface

// The callbacks of a host on Linux. The host keeps ownership of what it points to and keeps
// it alive while it is registered.
struct VxKdCallbacks {
  // sizeof(VxKdCallbacks) as the host was built; a table shorter than this version's is
  // refused.
  uint32_t size = sizeof(VxKdCallbacks);
  // Message boxes, file dialogs and the show-again box; null: the console backend.
  CUiBackend* ui = nullptr;
  // The host interface; null: none.
  iVxKdInterface* host = nullptr;
};

extern "C" {

// The version of the loaded library: major * 100 + minor (1800 for 18.0). Safe on any thread.
VXKD_API int vxkdui_version_nmb(void);

// Registers the host's callbacks: installs `callbacks->ui` as the user-interface backend and
// registers `callbacks->host` as the host interface, replacing what was there. A table of
// nulls goes back to the console and no host. False, with nothing changed, for a null table
// or one shorter than this version's. REQUIRES the user-interface thread.
VXKD_API bool vxkdui_init_vxkd_callbacks(const VxKdCallbacks* callbacks);

}  // extern "C"
