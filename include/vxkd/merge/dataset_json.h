#pragma once
// The text form of a dataset: every definition it stores, with every stored field, as JSON
// in one canonical layout (stable key order, one field per line), so that a dataset can be
// kept in version control and compared with any diff tool, and built again from the text.
//
// The form is an object with "format": "vxkd-dataset", "version": 1 and one list per kind
// of definition (dataset_kind.h), in the order the project holds them. Ids and GUIDs are
// kept; a symbol's drawing is a list of nodes with their numbers; a product's properties
// name their definitions by id, with values typed as the definition says (null for none).
// Products and blocks name their group ("group": -1 for the root); a block item's stored
// graphics are hexadecimal digits.
// Values that no JSON number can hold are the texts "NaN", "Infinity", "-Infinity". What a
// dataset does not store is not in the text: the built-in linetype CONTINUOUS, the layers'
// descriptions and lineweights, the big font file of a text style.

#include <string>
#include <string_view>

#include "vxkd/dataset/project.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"

namespace VxKd {

// The text form of `project`. Texts are UTF-8; the same content gives the same bytes.
VXKD_API std::string datasetToJson(const CKdProject& project);

// Replaces `project` by a project of the definitions of the text form `text`, bound to no
// file. Every item must
// have all its fields with values of the right type and range; ids must be unique within
// their kind; a property must name a definition the text defines; a kind may be left out
// (it is then empty). On failure shows an error box naming the line and the reason, leaves
// `project` as it was and returns false, with the line (of the value at fault; for a text
// cut short, its last line) in `errorLine` and the reason in `errorText` when given.
VXKD_API bool datasetFromJson(cuWin::HWND hwnd, std::string_view text, CKdProject& project,
                              int* errorLine = nullptr, std::string* errorText = nullptr);

}  // namespace VxKd
