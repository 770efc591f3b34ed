#pragma once
// Integrated texts: the dimension text formats that a product definition places with every
// installed product, each with its offset from the installation point, its rotation and
// whether it follows the user coordinate system. A product definition keeps them in two
// fields of its record: the 14-byte items in a binary array, their rotations in field 1111.

#include <bit>
#include <cstdint>

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"

class CQbase;

// The stored part of one integrated text. Its file form is 14 bytes, little-endian, without
// padding: format id (signed 32-bit), x and y offset (32-bit floats), direction-by-UCS flag
// (signed 16-bit). toBytes and fromBytes write and read it byte by byte, so the layout never
// depends on the compiler's. They are inline: the type is plain data, with nothing to export.
struct sddimtextreftype {
  static constexpr int kSize = 14;

  int32_t formatId = -1;  // -1: none
  float xOffset = 0.0f;
  float yOffset = 0.0f;
  int16_t directionByUcs = 0;  // 1: placed in the direction of the current UCS

  // REQUIRES `out` holds kSize bytes.
  void toBytes(uint8_t* out) const {
    putLe(out, static_cast<uint32_t>(formatId), 4);
    putLe(out + 4, std::bit_cast<uint32_t>(xOffset), 4);
    putLe(out + 8, std::bit_cast<uint32_t>(yOffset), 4);
    putLe(out + 12, static_cast<uint16_t>(directionByUcs), 2);
  }
  // REQUIRES `in` holds kSize bytes.
  static sddimtextreftype fromBytes(const uint8_t* in) {
    return {static_cast<int32_t>(getLe(in, 4)), std::bit_cast<float>(getLe(in + 4, 4)),
            std::bit_cast<float>(getLe(in + 8, 4)), static_cast<int16_t>(getLe(in + 12, 2))};
  }

  bool operator==(const sddimtextreftype& other) const = default;

 private:
  static void putLe(uint8_t* out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out[i] = static_cast<uint8_t>(value >> (8 * i));
  }
  static uint32_t getLe(const uint8_t* in, int bytes) {
    uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) value |= static_cast<uint32_t>(in[i]) << (8 * i);
    return value;
  }
};

// One integrated text: the stored part and its rotation.
class VXKD_API CKdIntegratedText {
 public:
  // No format, no offset, no rotation, following the product.
  CKdIntegratedText() = default;
  CKdIntegratedText(const sddimtextreftype& ref, short rotation) : ref_(ref), rotation_(rotation) {}
  CKdIntegratedText(const CKdIntegratedText& other) = default;
  CKdIntegratedText& operator=(const CKdIntegratedText& other) = default;

  const sddimtextreftype& ref() const { return ref_; }
  long formatId() const { return ref_.formatId; }
  void setFormatId(long id) { ref_.formatId = static_cast<int32_t>(id); }
  float xOffset() const { return ref_.xOffset; }
  float yOffset() const { return ref_.yOffset; }
  void setOffset(float x, float y) {
    ref_.xOffset = x;
    ref_.yOffset = y;
  }
  short rotation() const { return rotation_; }
  void setRotation(short rotation) { rotation_ = rotation; }
  // True when the flag is not 0: the text keeps the direction of the current UCS.
  bool directionByUcs() const { return ref_.directionByUcs != 0; }
  void setDirectionByUcs(bool byUcs) { ref_.directionByUcs = byUcs ? 1 : 0; }

  bool operator==(const CKdIntegratedText& other) const = default;

 private:
  sddimtextreftype ref_;
  short rotation_ = 0;
};

// The integrated texts of a product definition, with an optional maximum size.
class VXKD_API CKdIntegratedTextArray : public CKdOwningArray<CKdIntegratedText> {
 public:
  // The field of the rotations, beside the field of the items that the owner names.
  static constexpr short kRotationField = 1111;
  // What loadFrom reads at most when no maximum is set.
  static constexpr int kMaxItemsRead = 1000;

  CKdIntegratedTextArray() = default;
  // Copies the items and the maximum.
  CKdIntegratedTextArray(const CKdIntegratedTextArray& other);
  CKdIntegratedTextArray& operator=(const CKdIntegratedTextArray& other);
  ~CKdIntegratedTextArray() override = default;

  // A negative maximum (the default) means unlimited.
  void setMaxSize(int maxSize) { maxSize_ = maxSize; }
  int maxSize() const { return maxSize_; }

  // The format id of the item.
  long idAt(int index) const override;
  // True when some item names format `formatId`.
  bool contains(long formatId) const { return indexOfId(formatId) >= 0; }

  // Writes the items into the binary-array field `fieldNo` of the current record and their
  // rotations into field 1111. An empty array, or one over its maximum, writes nothing and
  // returns false, which the owner takes as having no integrated texts. Otherwise true when
  // both fields were set.
  bool saveTo(CQbase& db, short fieldNo) const;
  // Replaces the items by those of field `fieldNo` of the current record: at most the
  // maximum, or 1000 without one. Rotations come from field 1111 when it holds one per
  // stored item; otherwise every rotation is 0. False, with the array empty, when the field
  // is missing or holds no whole item.
  bool loadFrom(CQbase& db, short fieldNo);

 protected:
  // The items' 14-byte forms in array order. False when empty or over the maximum.
  bool getAsByteBuffer(CByteBuffer& bytes) const;
  // The rotations appended in array order. False when empty or over the maximum.
  bool getRotationArray(CInt16Array& rotations) const;

 private:
  bool isStorable() const { return length() > 0 && (maxSize_ < 0 || length() <= maxSize_); }

  int maxSize_ = -1;
};
