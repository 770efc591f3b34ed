#include "foundation/symbol_model_array.h"

#include <cstring>

CVxSymbolModelArray::CVxSymbolModelArray(const CVxSymbolModelArray& other) : CKdObjArray() {
  hardInit();
  copyFrom(other);
}

CVxSymbolModelArray& CVxSymbolModelArray::operator=(const CVxSymbolModelArray& other) {
  if (this != &other) copyFrom(other);
  return *this;
}

CVxSymbolModelArray::~CVxSymbolModelArray() { reset(); }

long CVxSymbolModelArray::idAt(int index) const {
  const CVxSymbolModel* model = objAt(index);
  return model ? model->projectId() : 0;
}

const wchar_t* CVxSymbolModelArray::descriptionAt(int index) const {
  const CVxSymbolModel* model = objAt(index);
  return model ? model->desc().wsz() : emptyWsz();
}

int CVxSymbolModelArray::find(const char* symbolId) const {
  for (int i = 0; i < length(); ++i)
    if (std::strcmp(objAt(i)->symbolId(), symbolId ? symbolId : "") == 0) return i;
  return -1;
}

void* CVxSymbolModelArray::objClone(const void* obj) const {
  return obj ? new (std::nothrow) CVxSymbolModel(*static_cast<const CVxSymbolModel*>(obj))
             : nullptr;
}

void CVxSymbolModelArray::objDelete(void* obj) const { delete static_cast<CVxSymbolModel*>(obj); }
