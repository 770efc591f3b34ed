#pragma once
// CVxSymbolModelArray: an owned list of symbol models, such as the 2D symbols of a project.
// It lives here rather than beside CVxSymbolModel because it is a CKdObjArray, which the
// platform layer below cannot know.

#include "foundation/obj_array.h"
#include "platform/export.h"
#include "platform/symbol.h"

class VXKD_API CVxSymbolModelArray : public CKdObjArray {
 public:
  CVxSymbolModelArray() = default;
  CVxSymbolModelArray(const CVxSymbolModelArray& other);
  CVxSymbolModelArray& operator=(const CVxSymbolModelArray& other);
  ~CVxSymbolModelArray() override;

  // An element's id is its project id, its description the model's.
  long idAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  CVxSymbolModel* objAt(int index) const {
    return static_cast<CVxSymbolModel*>(CKdObjArray::objAt(index));
  }
  // Appends a copy of `model`; false for null or when the copy cannot be made.
  bool append(const CVxSymbolModel* model) { return CKdObjArray::append(model); }
  bool append(const CVxSymbolModelArray& other) { return CKdObjArray::append(other); }

  // Index of the first model whose symbol id equals `symbolId` exactly (letter case counts),
  // or -1.
  int find(const char* symbolId) const;

 protected:
  void* objClone(const void* obj) const override;
  void objDelete(void* obj) const override;
};
