#include "vxkd/dimtext/integrated_text.h"

#include <algorithm>

#include "vxkd/platform/qbase.h"

// ---- CKdIntegratedTextArray ----

CKdIntegratedTextArray::CKdIntegratedTextArray(const CKdIntegratedTextArray& other)
    : CKdOwningArray(other), maxSize_(other.maxSize_) {}

CKdIntegratedTextArray& CKdIntegratedTextArray::operator=(const CKdIntegratedTextArray& other) {
  CKdOwningArray::operator=(other);
  maxSize_ = other.maxSize_;
  return *this;
}

long CKdIntegratedTextArray::idAt(int index) const {
  const CKdIntegratedText* text = objAt(index);
  return text ? text->formatId() : 0;
}

bool CKdIntegratedTextArray::getAsByteBuffer(CByteBuffer& bytes) const {
  if (!isStorable()) return false;
  bytes.resize(length() * sddimtextreftype::kSize);
  for (int i = 0; i < length(); ++i)
    objAt(i)->ref().toBytes(bytes.data() + i * sddimtextreftype::kSize);
  return true;
}

bool CKdIntegratedTextArray::getRotationArray(CInt16Array& rotations) const {
  if (!isStorable()) return false;
  for (int i = 0; i < length(); ++i) rotations.append(objAt(i)->rotation());
  return true;
}

bool CKdIntegratedTextArray::saveTo(CQbase& db, short fieldNo) const {
  CByteBuffer bytes;
  CInt16Array rotations;
  if (!getAsByteBuffer(bytes) || !getRotationArray(rotations)) return false;
  bool ok = db.setBinaryArray(fieldNo, bytes.data(), length());
  // The binary array keeps at most its capacity of items; the rotations stay one per item
  // kept, so that they still match when read.
  rotations.resize(std::min(rotations.length(), CQbase::kMaxBinaryArrayItems));
  return db.setShortArray(kRotationField, rotations) && ok;
}

bool CKdIntegratedTextArray::loadFrom(CQbase& db, short fieldNo) {
  reset();
  CByteBuffer bytes;
  int stored = 0;
  if (!db.getBinaryArray(fieldNo, bytes, stored)) return false;
  // Only whole items: a damaged field may end in part of one.
  int count =
      std::min(bytes.size() / sddimtextreftype::kSize, maxSize_ < 0 ? kMaxItemsRead : maxSize_);
  if (count < 1) return false;
  // The rotations belong to the stored items one by one; a list of another length cannot
  // be matched to them.
  CInt16Array rotations;
  bool matched = db.getShortArray(kRotationField, rotations) && rotations.length() == stored;
  for (int i = 0; i < count; ++i) {
    CKdIntegratedText text(sddimtextreftype::fromBytes(bytes.data() + i * sddimtextreftype::kSize),
                           matched ? rotations[i] : 0);
    append(&text);
  }
  return true;
}
