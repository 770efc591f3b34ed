#pragma once
// CKdObjArray, the container of every definition table: an ordered array of owned heap
// elements that it knows only through the virtual operations a concrete array supplies.
// CKdObjectArray<T> is its template form for elements that store themselves as records.

#include <new>
#include <utility>

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/wsz.h"

class VXKD_API CKdObjArray {
 public:
  CKdObjArray();
  // A concrete array must reset() in its own destructor: only it can delete its elements.
  // Finding elements left here is a programming error, reported by a message box.
  virtual ~CKdObjArray();
  // Concrete arrays define their own copy constructor (hardInit() then copyFrom()). Copying
  // through this one is a programming error: the copy is empty and a message box says so.
  CKdObjArray(const CKdObjArray& other);
  CKdObjArray& operator=(const CKdObjArray& other);

  // The element's id, name and description; 0 and "" here.
  virtual long idAt(int index) const;
  virtual const wchar_t* nameAt(int index) const;
  virtual const wchar_t* descriptionAt(int index) const;

  int length() const { return count_; }
  // The element at `index`, or null outside 0..length()-1. Valid until the element is
  // removed or replaced or the array reset.
  void* objAt(int index) const;

  // Appends a clone of `obj`; false for null or a failed clone.
  bool append(const void* obj);
  // Appends clones of every element of `other`, skipping failed clones. Always true.
  bool append(const CKdObjArray& other);
  // Puts a clone at `index`; an index at or beyond the end appends. False for null or a
  // failed clone.
  bool insertAt(int index, const void* obj);
  // Replaces the element at `index` by a clone of `obj`; false for a bad index or a failed
  // clone (the old element then stays).
  bool updateAt(int index, const void* obj);
  bool deleteAt(int index);
  // Deletes the elements at `indexes`, highest first. False, deleting nothing, when an index
  // occurs twice; indexes out of range are skipped.
  bool deleteAt(const CInt32Array& indexes);
  bool swapAt(int i, int j);

  // The first element with that id, or whose name equals `name` ignoring case; null if none.
  void* findId(long id) const;
  void* findName(const wchar_t* name) const;
  int indexOfId(long id) const;
  int indexOfName(const wchar_t* name) const;

  // True when an element or `reserved` holds `id`. `minId` and `maxId` take no part.
  bool isUsedId(long id, const CInt32Array* reserved, long minId, long maxId) const;
  // The next free id: the larger of `minId` and the highest id + 1 when that is at most
  // `maxId`, else the first gap in minId..maxId, else 0. Values of `reserved` count as used.
  long nextId(long minId, long maxId) const;
  long nextId(const CInt32Array* reserved, long minId, long maxId) const;

  // Sorts by the key that `sortId` selects (its sign gives the direction; 0 leaves the
  // order) and records it as the sort id.
  void sort(int sortId);
  void sortByCurrentSortId() { sort(sortId_); }
  void setSortId(int sortId) { sortId_ = sortId; }
  int sortId() const { return sortId_; }
  // A click on column `sortId`: the same column again flips the direction. Does not sort.
  void updateSortId(int sortId);

  // Deletes every element and clears the sort id.
  void reset();
  // reset(), then the other's sort id and clones of its elements (not re-sorted).
  void copyFrom(const CKdObjArray& other);

  // One shared empty string.
  static const wchar_t* emptyWsz();

 protected:
  // A new heap copy of `obj`, or null (also for a null `obj`).
  virtual void* objClone(const void* obj) const = 0;
  // Destroys an element made by objClone; null is ignored.
  virtual void objDelete(void* obj) const = 0;
  // Compares two elements by the key `sortId` selects; 0 here.
  virtual int sortCmp(int sortId, const void* a, const void* b) const;

  // Forgets count, sort id and table without freeing anything.
  void hardInit();
  // Appends `obj`, an element this array's objClone could have made, without copying it; the
  // array owns it from now on. False (and `obj` deleted) when the table cannot grow.
  bool adopt(void* obj);
  // Deletes this array's elements, then takes over the elements, table and sort id of
  // `other`, which is left empty. REQUIRES both arrays hold elements of the same type.
  void takeFrom(CKdObjArray& other);

 private:
  // Appends an already cloned element; on a failed growth the clone is deleted and the
  // array reports itself empty.
  bool appendClone(void* clone);

  int count_ = 0;
  int capacity_ = 0;  // slots of table_
  int sortId_ = 0;
  void** table_ = nullptr;
};

// CKdOwningArray<T>: the part every concrete array has in common. Its elements are heap
// copies of `T` made with T's copy constructor; copying the array copies them; the
// destructor resets, as a concrete array must. A concrete array derives from it and adds
// what it knows of `T`: ids, names, descriptions and sort keys.
template <typename T>
class CKdOwningArray : public CKdObjArray {
 public:
  CKdOwningArray() = default;
  CKdOwningArray(const CKdOwningArray& other) : CKdObjArray() { copyFrom(other); }
  CKdOwningArray& operator=(const CKdOwningArray& other) {
    if (this != &other) copyFrom(other);
    return *this;
  }
  // Moving hands the elements over without copying them; the source is left empty.
  CKdOwningArray(CKdOwningArray&& other) noexcept : CKdObjArray() { takeFrom(other); }
  CKdOwningArray& operator=(CKdOwningArray&& other) noexcept {
    if (this != &other) takeFrom(other);
    return *this;
  }
  ~CKdOwningArray() override { reset(); }

  T* objAt(int index) const { return static_cast<T*>(CKdObjArray::objAt(index)); }
  bool append(const T* obj) { return CKdObjArray::append(obj); }
  // Appends a new element made from `args` in place, where append would copy one made
  // aside; returns it, or null when it cannot be made.
  template <typename... Args>
  T* emplace(Args&&... args) {
    T* obj = new (std::nothrow) T(std::forward<Args>(args)...);
    return obj && adopt(obj) ? obj : nullptr;
  }
  bool append(const CKdOwningArray& other) { return CKdObjArray::append(other); }
  T* findId(long id) const { return static_cast<T*>(CKdObjArray::findId(id)); }
  T* findName(const wchar_t* name) const { return static_cast<T*>(CKdObjArray::findName(name)); }

 protected:
  void* objClone(const void* obj) const override {
    return obj ? new (std::nothrow) T(*static_cast<const T*>(obj)) : nullptr;
  }
  void objDelete(void* obj) const override { delete static_cast<T*>(obj); }
};

// CKdObjectArray<T>: an array of `T` elements, which copy themselves, have an id and a name,
// and read and write their own records: `T().getClassId()` names their record code,
// `readFrom(db)` reads the current record, `saveTo(db)` writes one.
template <typename T>
class CKdObjectArray : public CKdOwningArray<T> {
 public:
  using CKdOwningArray<T>::objAt;
  using CKdOwningArray<T>::length;

  // Replaces the elements by one per record of T's record code, in key order. A record that
  // does not read still gives an element, as far as it was read. True, also for no records.
  bool readFrom(CQbase& db) {
    this->reset();
    const T prototype;
    for (bool more = db.fetchFirstMember(prototype.getClassId()); more;
         more = db.fetchNextMember()) {
      T obj;
      obj.readFrom(db);
      this->append(&obj);
    }
    return true;
  }
  // Lets each element write its record, in array order. True: a failed record is the
  // element's business.
  bool saveTo(CQbase& db) const {
    for (int i = 0; i < length(); ++i) objAt(i)->saveTo(db);
    return true;
  }

  long idAt(int index) const override {
    const T* obj = objAt(index);
    return obj ? obj->dbId() : 0;
  }
  const wchar_t* nameAt(int index) const override {
    const T* obj = objAt(index);
    return obj ? static_cast<const wchar_t*>(obj->name()) : CKdObjArray::emptyWsz();
  }
};
