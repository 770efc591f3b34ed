#include "vxkd/foundation/common_list_item.h"

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
