#pragma once
// The kinds of definition that a dataset holds, as its text form, the comparison and the
// merge name them: in the order in which the project holds them.

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

namespace VxKd {

enum datasetKind : int {
  kindPropertyDefs,
  kindPartIdFormats,
  kindLayers,
  kindProductGroups,
  kindProducts,  // the product definitions of the product groups
  kindBlocks,
  kindSymbols,
  kindTextStyles,
  kindLinetypes,
  kindDimtextFormats,
  kindReports,
  kindDuctDefs,
  kindPipeDefs,
  kindDataDefs,
  kindElectricDefs,
  kindCount,
};

// The name of a kind in the text forms (a dataset's, a merge plan's, a comparison's):
// "propertyDefinitions", "layers", ...; "" for a value out of range.
VXKD_API const char* datasetKindKey(datasetKind kind);
// The kind named `key` (exactly); false when no kind has that name.
VXKD_API bool datasetKindFromKey(const char* key, datasetKind& kind);
// The heading users read, in the active language: "Property definitions", ...
VXKD_API CWsz datasetKindTitle(datasetKind kind);

}  // namespace VxKd
