#pragma once
// The special properties: values that are not stored as property values but come from the
// object, the drawing or the HVAC systems (part id, handles, GUIDs, a new line, a count).
// Their names begin and end with "*", which user names may not contain, and their ids are
// negative, so they never collide with user definitions (1..999999).

#include <cstdint>

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_value.h"
#include "vxkd/properties/unit.h"

namespace VxKd {

// The fixed ids of the special properties, in table order.
enum specialPropertyId : int32_t {
  spPartId = -1,
  spNewLine = -2,  // "*CRNL*": a line break
  spNote = -3,
  spDescription = -4,
  spLineWidth = -5,
  spLinetype = -6,
  spGuid = -7,
  spTypeGuid = -8,
  spGroupGuid = -9,
  spGroupDescription = -10,
  spClassName = -11,
  spAcadHandle = -12,
  spDwgName = -13,
  spCount = -14,
  spEmpty = -15,  // "*EMPTY*": an empty value
  spSysCode = -16,
  spSysName = -17,
  spSv1 = -18,
  spSv2 = -19,
  spSv3 = -20,
  spSv4 = -21,
  spSv5 = -22,
  spSv6 = -23,
  spSysTempSupply = -24,
  spSysTempReturn = -25,
  spSysTempCold = -26,
  spSysTempHot = -27,
  spSysTempCirculation = -28,
  spHpvSysTypeName = -29,
};

// The number of special properties; their ids run from -1 to -getSpecialPropertyCount().
VXKD_API int getSpecialPropertyCount();

// The look-ups by name consider a name only when it begins with "*" and compare it with the
// table's names ignoring case; a name not found gives the neutral result named.

// The id of the special property `name`; 0 when there is none.
VXKD_API long getSpecialPropertyDbId(const wchar_t* name);
// The name ("*PARTID*") of the special property with exactly that id; null when none has it.
VXKD_API const wchar_t* getSpecialPropertyName(long dbId);
// The value type; typeNone when not found.
VXKD_API CKdPropertyValue::valueTypeId getSpecialPropertyValueType(const wchar_t* name);
// The unit; unit 0 when not found.
VXKD_API CKdUnit getSpecialPropertyUnit(const wchar_t* name);
// The number of decimals; 0 when not found.
VXKD_API int getSpecialPropertyDecimals(const wchar_t* name);
// The translated description, followed by a blank and the unit's label when the label is
// not empty ("System supply pipe temperature [C]"); "" when not found.
VXKD_API CWsz getSpecialPropertyDescription(const wchar_t* name);

}  // namespace VxKd
