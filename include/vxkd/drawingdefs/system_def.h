#pragma once
// CKdSystemDef, one system (a number, a name and the user's code for it) to which product
// definitions belong, and CKdSystemDefArray, a plain in-memory list of them that callers fill
// and show in lists; systems keep no records of their own.

#include <cstdint>

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

class VXKD_API CKdSystemDef {
 public:
  CKdSystemDef() = default;
  CKdSystemDef(short id, const CWsz& name, const CWsz& userCode)
      : id_(id), name_(name), userCode_(userCode) {}

  short getId() const { return id_; }
  void setId(short id) { id_ = id; }
  const CWsz& getName() const { return name_; }
  void setName(const CWsz& name) { name_ = name; }
  const CWsz& getUserCode() const { return userCode_; }
  void setUserCode(const CWsz& userCode) { userCode_ = userCode; }

 private:
  int16_t id_ = 0;
  CWsz name_;
  CWsz userCode_;
};

class VXKD_API CKdSystemDefArray : public CKdOwningArray<CKdSystemDef> {
 public:
  // The sort keys of the list; negative for descending.
  enum sortKey { sortByName = 1, sortByUserCode = 2 };

  long idAt(int index) const override;
  const wchar_t* nameAt(int index) const override;

 protected:
  // Keys: name, user code (both ignoring case).
  int sortCmp(int sortId, const void* a, const void* b) const override;
};
