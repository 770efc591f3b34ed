#include "foundation/common_list_item.h"

CKdCommonListItemArray::CKdCommonListItemArray(const CKdCommonListItemArray& other)
    : CKdObjArray() {
  hardInit();
  copyFrom(other);
}

CKdCommonListItemArray& CKdCommonListItemArray::operator=(const CKdCommonListItemArray& other) {
  if (this != &other) copyFrom(other);
  return *this;
}

CKdCommonListItemArray::~CKdCommonListItemArray() { reset(); }

long CKdCommonListItemArray::idAt(int index) const {
  const CKdCommonListItem* item = objAt(index);
  return item ? item->id() : 0;
}

const wchar_t* CKdCommonListItemArray::nameAt(int index) const {
  const CKdCommonListItem* item = objAt(index);
  return item ? item->text().wsz() : emptyWsz();
}

const wchar_t* CKdCommonListItemArray::descriptionAt(int index) const {
  const CKdCommonListItem* item = objAt(index);
  return item ? item->desc().wsz() : emptyWsz();
}

bool CKdCommonListItemArray::append(long id, const wchar_t* text, const wchar_t* description) {
  CKdCommonListItem item(id, text, description);
  return append(&item);
}

void* CKdCommonListItemArray::objClone(const void* obj) const {
  return obj ? new (std::nothrow) CKdCommonListItem(*static_cast<const CKdCommonListItem*>(obj))
             : nullptr;
}

void CKdCommonListItemArray::objDelete(void* obj) const {
  delete static_cast<CKdCommonListItem*>(obj);
}
