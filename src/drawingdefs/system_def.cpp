#include "vxkd/drawingdefs/system_def.h"

#include <cstdlib>
#include <utility>

#include "vxkd/platform/sz.h"

long CKdSystemDefArray::idAt(int index) const {
  const CKdSystemDef* def = objAt(index);
  return def ? def->getId() : 0;
}

const wchar_t* CKdSystemDefArray::nameAt(int index) const {
  const CKdSystemDef* def = objAt(index);
  return def ? def->getName().wsz() : emptyWsz();
}

int CKdSystemDefArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto* x = static_cast<const CKdSystemDef*>(a);
  const auto* y = static_cast<const CKdSystemDef*>(b);
  switch (std::abs(sortId)) {
    case sortByName:
      return cuSz::compareNoCase(x->getName(), y->getName());
    case sortByUserCode:
      return cuSz::compareNoCase(x->getUserCode(), y->getUserCode());
    default:
      return 0;
  }
}
