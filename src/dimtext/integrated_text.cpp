#include "vxkd/dimtext/integrated_text.h"

#include <algorithm>
#include <bit>

#include "vxkd/platform/qbase.h"

namespace {

// Little-endian, one byte at a time.
void putU32(uint8_t* out, uint32_t value) {
  for (int i = 0; i < 4; ++i) out[i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t getU32(const uint8_t* in) {
  uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(in[i]) << (8 * i);
  return value;
}

}  // namespace

// ---- sddimtextreftype ----

void sddimtextreftype::toBytes(uint8_t* out) const {
  putU32(out, static_cast<uint32_t>(formatId));
  putU32(out + 4, std::bit_cast<uint32_t>(xOffset));
  putU32(out + 8, std::bit_cast<uint32_t>(yOffset));
  auto flag = static_cast<uint16_t>(directionByUcs);
  out[12] = static_cast<uint8_t>(flag);
  out[13] = static_cast<uint8_t>(flag >> 8);
}

sddimtextreftype sddimtextreftype::fromBytes(const uint8_t* in) {
  sddimtextreftype ref;
  ref.formatId = static_cast<int32_t>(getU32(in));
  ref.xOffset = std::bit_cast<float>(getU32(in + 4));
  ref.yOffset = std::bit_cast<float>(getU32(in + 8));
  ref.directionByUcs = static_cast<int16_t>(in[12] | (in[13] << 8));
  return ref;
}

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
