#pragma once
// CKdBinArray: an array of fixed-size binary records, such as the items of a binary-array
// field. Every member is a raw block of the array's object size, cloned and freed as such.

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"

class VXKD_API CKdBinArray : public CKdObjArray {
 public:
  // An empty array of records of `objSize` bytes (a size below 0 counts as 0).
  explicit CKdBinArray(int objSize = 0);
  // Copies the object size and clones of the records.
  CKdBinArray(const CKdBinArray& other);
  CKdBinArray& operator=(const CKdBinArray& other);
  ~CKdBinArray() override;

  int objSize() const { return objSize_; }
  // Empties the array and sets the size of its records: records of another size could not
  // be read back whole.
  void initObjSize(int objSize);
  // Copies record `index` (objSize() bytes) into `out`; false, copying nothing, when the
  // index is out of range or `out` is null.
  bool getAt(int index, void* out) const;

 protected:
  // A new block holding objSize() bytes of `obj`; null for a null `obj`.
  void* objClone(const void* obj) const override;
  void objDelete(void* obj) const override;

 private:
  int objSize_ = 0;
};
