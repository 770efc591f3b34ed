#pragma once
// The system types of line-like objects (ducts, pipes, power and data cables) and what each
// type fixes: the GUID of its poly-object group, its display text and its default colour.

#include "vxkd/foundation/guid.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

namespace VxKd {

enum systemTypeIds {
  systemDuct = 200,
  systemPipe = 300,
  systemElectric = 700,  // power cables
  systemData = 720,      // data cables
};

// Sets `out` to the fixed group GUID of `type` and returns true; for a type without one,
// resets `out` and returns false.
VXKD_API bool getPolyObjectGroupGuid(systemTypeIds type, CKdGuid& out);
// True, with the type in `type`, when `guid` is the group GUID of a system type; otherwise
// false with `type` 0.
VXKD_API bool isPolyObjectGroupGuid(const CKdGuid& guid, systemTypeIds& type);
// The host colour index a new object of `type` gets; 7 for an unknown type.
VXKD_API int defaultSystemColor(systemTypeIds type);
// The display text of `type` in the active language; empty for an unknown type.
VXKD_API CWsz getPolyObjectTypeDescription(systemTypeIds type);

}  // namespace VxKd
