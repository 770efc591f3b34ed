#pragma once
// CVxSymbolModelArray: an owned list of symbol models, such as the 2D symbols of a project.
// It lives here rather than beside CVxSymbolModel because it is a CKdObjArray, which the
// platform layer below cannot know.

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/symbol.h"

class VXKD_API CVxSymbolModelArray : public CKdOwningArray<CVxSymbolModel> {
 public:
  // An element's id is its project id, its description the model's.
  long idAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // Appends a copy of `model`; false for null or when the copy cannot be made.

  // Index of the first model whose symbol id equals `symbolId` exactly (letter case counts),
  // or -1.
  int find(const char* symbolId) const;
};
