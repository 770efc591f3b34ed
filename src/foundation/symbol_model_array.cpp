#include "vxkd/foundation/symbol_model_array.h"

#include <cstring>

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
