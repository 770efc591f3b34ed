#include "vxkd/foundation/obj_array.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "vxkd/platform/sz.h"
#include "vxkd/ui/message_box.h"

CKdObjArray::CKdObjArray() = default;

CKdObjArray::~CKdObjArray() {
  if (count_ >= 1)
    VxKd::msgBox(nullptr, 0, L"Application error: Array class destructor not defined", 0,
                 VxKd::appTitle(), cuWin::MB_OK, cuWin::MB_ICONSTOP);
  // The elements are left undeleted: only the concrete array knew how. The table is ours.
  std::free(table_);
}

CKdObjArray::CKdObjArray(const CKdObjArray&) {
  hardInit();
  VxKd::msgBox(nullptr, 0, L"Application error: Array copy constructor not defined, but is used", 0,
               VxKd::appTitle(), cuWin::MB_OK, cuWin::MB_ICONSTOP);
}

CKdObjArray& CKdObjArray::operator=(const CKdObjArray& other) {
  if (this != &other) copyFrom(other);
  return *this;
}

long CKdObjArray::idAt(int) const { return 0; }
const wchar_t* CKdObjArray::nameAt(int) const { return emptyWsz(); }
const wchar_t* CKdObjArray::descriptionAt(int) const { return emptyWsz(); }
int CKdObjArray::sortCmp(int, const void*, const void*) const { return 0; }

const wchar_t* CKdObjArray::emptyWsz() {
  static const wchar_t kEmpty[] = L"";
  return kEmpty;
}

void CKdObjArray::hardInit() {
  count_ = 0;
  capacity_ = 0;
  sortId_ = 0;
  table_ = nullptr;
}

void* CKdObjArray::objAt(int index) const {
  return index >= 0 && index < count_ ? table_[index] : nullptr;
}

bool CKdObjArray::appendClone(void* clone) {
  // The table doubles when full: a catalogue appends hundreds of thousands of elements.
  if (count_ == capacity_) {
    const int capacity = capacity_ < 4 ? 4 : 2 * capacity_;
    auto** grown = static_cast<void**>(std::realloc(table_, sizeof(void*) * capacity));
    if (!grown) {
      objDelete(clone);
      count_ = 0;
      return false;
    }
    table_ = grown;
    capacity_ = capacity;
  }
  table_[count_++] = clone;
  return true;
}

bool CKdObjArray::adopt(void* obj) { return obj && appendClone(obj); }

bool CKdObjArray::append(const void* obj) {
  if (!obj) return false;
  void* clone = objClone(obj);
  return clone && appendClone(clone);
}

bool CKdObjArray::append(const CKdObjArray& other) {
  for (int i = 0; i < other.count_; ++i) {
    if (!other.table_[i]) continue;
    if (void* clone = objClone(other.table_[i])) appendClone(clone);
  }
  return true;
}

bool CKdObjArray::insertAt(int index, const void* obj) {
  if (!obj) return false;
  void* clone = objClone(obj);
  if (!clone || !appendClone(clone)) return false;
  if (index < 0) index = 0;
  if (index < count_ - 1) {
    std::memmove(table_ + index + 1, table_ + index, sizeof(void*) * (count_ - 1 - index));
    table_[index] = clone;
  }
  return true;
}

bool CKdObjArray::updateAt(int index, const void* obj) {
  if (index < 0 || index >= count_) return false;
  void* clone = objClone(obj);
  if (!clone) return false;
  objDelete(table_[index]);
  table_[index] = clone;
  return true;
}

bool CKdObjArray::deleteAt(int index) {
  if (index < 0 || index >= count_) return false;
  objDelete(table_[index]);
  std::memmove(table_ + index, table_ + index + 1, sizeof(void*) * (count_ - 1 - index));
  --count_;
  return true;
}

bool CKdObjArray::deleteAt(const CInt32Array& indexes) {
  std::vector<int32_t> sorted(indexes.begin(), indexes.end());
  std::sort(sorted.begin(), sorted.end());
  if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end()) return false;
  // Highest first, so that the indexes still to come stay valid.
  for (auto it = sorted.rbegin(); it != sorted.rend(); ++it) deleteAt(*it);
  return true;
}

bool CKdObjArray::swapAt(int i, int j) {
  if (i < 0 || i >= count_ || j < 0 || j >= count_) return false;
  std::swap(table_[i], table_[j]);
  return true;
}

int CKdObjArray::indexOfId(long id) const {
  for (int i = 0; i < count_; ++i)
    if (idAt(i) == id) return i;
  return -1;
}

int CKdObjArray::indexOfName(const wchar_t* name) const {
  for (int i = 0; i < count_; ++i)
    if (cuSz::equalNoCase(nameAt(i), name)) return i;
  return -1;
}

void* CKdObjArray::findId(long id) const { return objAt(indexOfId(id)); }

void* CKdObjArray::findName(const wchar_t* name) const { return objAt(indexOfName(name)); }

bool CKdObjArray::isUsedId(long id, const CInt32Array* reserved, long, long) const {
  return indexOfId(id) >= 0 || (reserved && reserved->contains(static_cast<int32_t>(id)));
}

long CKdObjArray::nextId(long minId, long maxId) const { return nextId(nullptr, minId, maxId); }

long CKdObjArray::nextId(const CInt32Array* reserved, long minId, long maxId) const {
  long candidate = minId;
  for (int i = 0; i < count_; ++i)
    if (idAt(i) >= candidate) candidate = idAt(i) + 1;
  if (reserved)
    for (int32_t r : *reserved)
      if (r >= candidate) candidate = r + 1;
  if (candidate <= maxId) return candidate;
  for (long c = minId; c <= maxId; ++c)
    if (!isUsedId(c, reserved, minId, maxId)) return c;
  return 0;
}

void CKdObjArray::sort(int sortId) {
  sortId_ = sortId;
  for (int i = 1; i < count_; ++i) {
    void* x = table_[i];
    if (sortCmp(sortId, table_[i - 1], x) <= 0) continue;
    int pos;
    if (i - 1 < 10) {
      // Short prefix: scan down, stopping at the first element not greater than x, so that
      // equal elements keep their order.
      pos = i - 1;
      while (pos > 0 && sortCmp(sortId, table_[pos - 1], x) > 0) --pos;
    } else {
      // Longer prefix: binary search. table_[upper] is known to be greater than x; an equal
      // element found on the way takes x in front of it at once, so equal elements need not
      // keep their order here.
      int lower = 0;
      int upper = i - 1;
      pos = -1;
      while (lower < upper) {
        int m = (lower + upper) / 2;
        int c = sortCmp(sortId, table_[m], x);
        if (c == 0) {
          pos = m;
          break;
        }
        if (c < 0)
          lower = m + 1;
        else
          upper = m;
      }
      if (pos < 0) pos = lower;
    }
    std::memmove(table_ + pos + 1, table_ + pos, sizeof(void*) * (i - pos));
    table_[pos] = x;
  }
}

void CKdObjArray::updateSortId(int sortId) {
  if (sortId == std::abs(sortId_))
    sortId_ = -sortId_;
  else
    sortId_ = sortId;
}

void CKdObjArray::reset() {
  for (int i = 0; i < count_; ++i) objDelete(table_[i]);
  std::free(table_);
  hardInit();
}

void CKdObjArray::takeFrom(CKdObjArray& other) {
  if (this == &other) return;
  reset();
  count_ = other.count_;
  capacity_ = other.capacity_;
  sortId_ = other.sortId_;
  table_ = other.table_;
  other.hardInit();
}

void CKdObjArray::copyFrom(const CKdObjArray& other) {
  if (this == &other) return;
  reset();
  sortId_ = other.sortId_;
  append(other);
}
