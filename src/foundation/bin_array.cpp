#include "vxkd/foundation/bin_array.h"

#include <cstdint>
#include <cstring>
#include <new>

CKdBinArray::CKdBinArray(int objSize) : objSize_(objSize > 0 ? objSize : 0) {}

CKdBinArray::CKdBinArray(const CKdBinArray& other) : CKdObjArray(), objSize_(other.objSize_) {
  copyFrom(other);
}

CKdBinArray& CKdBinArray::operator=(const CKdBinArray& other) {
  if (this != &other) {
    reset();  // the old records go with the old size
    objSize_ = other.objSize_;
    copyFrom(other);
  }
  return *this;
}

CKdBinArray::~CKdBinArray() { reset(); }

void CKdBinArray::initObjSize(int objSize) {
  reset();
  objSize_ = objSize > 0 ? objSize : 0;
}

bool CKdBinArray::getAt(int index, void* out) const {
  const void* record = objAt(index);
  if (!record || !out) return false;
  std::memcpy(out, record, static_cast<size_t>(objSize_));
  return true;
}

void* CKdBinArray::objClone(const void* obj) const {
  if (!obj) return nullptr;
  // At least one byte, so that a record of size 0 is still a member of its own.
  auto* copy = new (std::nothrow) uint8_t[objSize_ > 0 ? objSize_ : 1];
  if (copy && objSize_ > 0) std::memcpy(copy, obj, static_cast<size_t>(objSize_));
  return copy;
}

void CKdBinArray::objDelete(void* obj) const { delete[] static_cast<uint8_t*>(obj); }
