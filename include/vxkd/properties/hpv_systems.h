#pragma once
// The systems of the companion HVAC application: their type ids, and the narrow interface
// through which that application answers the system properties of an object (system code
// and name, the six system variables, the temperatures, the system type name). The
// application is not part of this library: it registers its source, and until it does, no
// object has a system property.

#include <cstdint>

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

namespace HpvSystems {

// A system type of the companion application.
using TypeId = int32_t;
// No system type.
inline constexpr TypeId noTypeId = -1;

}  // namespace HpvSystems

// What the companion application implements to answer system properties.
class VXKD_API iHpvSystemProperties {
 public:
  virtual ~iHpvSystemProperties() = default;
  // The value, as text, of the property `name` (a special name such as "*SYSNAME*", any
  // case) of the system `systemId` of type `typeId`, for an object in `context` (the drawing
  // or document the caller works in; may be empty). True when the application knows the name
  // for that system, with the value in `value`; false when it does not.
  virtual bool getPropertyValue(const CWsz& context, long systemId, HpvSystems::TypeId typeId,
                                const wchar_t* name, CWsz& value) const = 0;
};

namespace HpvSystems {

// Registers `source` (null: none) and returns the one it replaces. The caller keeps
// ownership and keeps `source` alive while it is registered. REQUIRES the user-interface
// thread.
VXKD_API iHpvSystemProperties* setPropertySource(iHpvSystemProperties* source);
// The registered source, or null. REQUIRES the user-interface thread.
VXKD_API iHpvSystemProperties* propertySource();

// Empties `value`, then asks the registered source for the property `name` of that system.
// False, with `value` empty, without a source or when the source does not know the name.
VXKD_API bool getSystemPropertyValue(const CWsz& context, long systemId, TypeId typeId,
                                     const wchar_t* name, CWsz& value);

}  // namespace HpvSystems
