#pragma once
// The JSON form of definitions: the names that a dataset description (data/
// sample-dataset.json, read by `vkd new --from`) and the JSON output of `vkd show` use for
// value types, units, colours, the options of dimension texts and the poly-object sets, and
// each kind of definition as one JSON object. Reading and writing use the same tables, so
// that what `vkd show --format json` prints can be put back into a description.

#include <string>

#include "tool.h"
#include "vxkd/foundation/system_type.h"

namespace vkd {

// A name of the JSON form and the value it stands for.
struct NamedValue {
  int value;
  const char* name;
};

// The value types of properties: "text", "int16", "int32", "float", "double".
extern const NamedValue kValueTypeNames[5];
// The options of dimension texts, by the names the format editor shows in English.
extern const NamedValue kBorderNames[9];
extern const NamedValue kReflineNames[5];
extern const NamedValue kAlignmentNames[3];
// Of report definitions: the orientations, the kinds of object listed, the separators of a
// column in the DWG report, the sort directions.
extern const NamedValue kOrientationNames[2];
extern const NamedValue kEntityNames[5];
extern const NamedValue kColumnLineNames[3];
extern const NamedValue kSortNames[2];

// One of the four definition sets of poly objects: its name in the JSON form ("duct"), its
// system type, its record code and the layer its lines are drawn on.
struct PolySet {
  const char* name;
  VxKd::systemTypeIds type;
  const char* classId;
  VxKd::layerNumbers layer;
};
extern const PolySet kPolySets[4];
// The set of that name ("duct", "pipe", "electric", "data") or record code ("SD"...),
// ignoring case; null when none.
const PolySet* findPolySet(const std::string& nameOrClassId);
// The set of that system type; null when none.
const PolySet* polySetOf(VxKd::systemTypeIds type);

// The name of `value` in `table`, or null.
template <size_t N>
const char* nameOf(const NamedValue (&table)[N], int value) {
  for (const NamedValue& entry : table)
    if (entry.value == value) return entry.name;
  return nullptr;
}
// The value of `name` in `table` (ignoring case); false when it has none.
template <size_t N>
bool valueOf(const NamedValue (&table)[N], const std::string& name, int& value);
// The names of `table` as the list a message offers: "none, rectangle or circle".
template <size_t N>
std::string namesOf(const NamedValue (&table)[N]);
// A float as JSON without the noise of its binary form: 2.5f gives 2.5, 0.35f gives 0.35.
Json real(float value);

// A unit in the JSON form: its label ("[mm]") when no other unit has that label, else its
// id; null for no unit (0).
Json unitJson(CKdUnit unit);
// The unit a JSON value names: a label (ignoring case) that one unit alone has, or a unit
// id of the unit table. False, with `why` saying so, for anything else.
bool unitFromJson(const Json& value, CKdUnit& unit, std::string& why);

// A colour in the JSON form: "by layer" for 256, else the colour number.
Json colourJson(short colour);
// The colour a JSON value names: "by layer" (ignoring case), "by block" (0) or a number of
// 0 to 256. False, with `why`, for anything else.
bool colourFromJson(const Json& value, short& colour, std::string& why);

// The JSON objects of single definitions, in the form a dataset description holds them.
// Members whose value is the default of a new definition are left out.
Json toJson(const CKdPropertyDef& def);
Json toJson(const CKdLinetypeDef& linetype);
Json toJson(const CKdTextStyleDef& style);
Json toJson(const CKdLayerDef& layer);
Json toJson(const CKdDimtextFormat& format);
Json toJson(const CVxSymbolModel& symbol);
Json toJson(const CKdPartIdFormat& format);
// A product definition of a poly-object set `set` (null for a group's product; its id is
// then the group's, and it has no "set").
Json toJson(const CKdProductDef& product, const PolySet* set);

// The value of a property in the JSON form: a number for the numeric types, a text for
// text, null when it has no value.
Json propertyValueJson(const CKdProperty& property);

}  // namespace vkd
