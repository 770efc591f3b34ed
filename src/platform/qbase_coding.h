#pragma once
// The value coding of the record database: the numbers inside stored BLOBs (short and float
// arrays, points) are little-endian whatever the machine, so that a file moves between
// machines unchanged. Private to CQbase.

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/byte_order.h"
#include "vxkd/platform/arrays.h"

namespace qbaseCoding {

inline void storeLe16(char* p, uint16_t v) { cuBytes::putLe16(reinterpret_cast<uint8_t*>(p), v); }

inline void storeLe32(char* p, uint32_t v) { cuBytes::putLe32(reinterpret_cast<uint8_t*>(p), v); }

inline uint16_t loadLe16(const char* p) {
  return cuBytes::getLe16(reinterpret_cast<const uint8_t*>(p));
}

inline uint32_t loadLe32(const char* p) {
  return cuBytes::getLe32(reinterpret_cast<const uint8_t*>(p));
}

// The items of a stored array from their little-endian bytes (a trailing part item is
// dropped); a plain copy where the machine is little-endian.
template <typename T>
void decodeItems(const std::string& bytes, CValueArray<T>& values) {
  static_assert(sizeof(T) == 2 || sizeof(T) == 4);
  int n = static_cast<int>(bytes.size() / sizeof(T));
  values.resize(n);
  if constexpr (std::endian::native == std::endian::little) {
    if (n > 0) std::memcpy(values.data(), bytes.data(), n * sizeof(T));
  } else {
    for (int i = 0; i < n; ++i) {
      const char* p = bytes.data() + i * sizeof(T);
      if constexpr (sizeof(T) == 2) {
        values.data()[i] = std::bit_cast<T>(loadLe16(p));
      } else {
        values.data()[i] = std::bit_cast<T>(loadLe32(p));
      }
    }
  }
}

// The little-endian bytes of an array's items.
template <typename T>
void encodeItems(const CValueArray<T>& values, std::string& bytes) {
  static_assert(sizeof(T) == 2 || sizeof(T) == 4);
  bytes.resize(static_cast<size_t>(values.length()) * sizeof(T));
  if constexpr (std::endian::native == std::endian::little) {
    if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
  } else {
    for (int i = 0; i < values.length(); ++i) {
      char* p = bytes.data() + i * sizeof(T);
      if constexpr (sizeof(T) == 2) {
        storeLe16(p, std::bit_cast<uint16_t>(values.data()[i]));
      } else {
        storeLe32(p, std::bit_cast<uint32_t>(values.data()[i]));
      }
    }
  }
}

// A point: three coordinates in single precision, 12 bytes.
constexpr size_t kPointBytes = 12;

inline void encodePoint(double x, double y, double z, char out[kPointBytes]) {
  storeLe32(out, std::bit_cast<uint32_t>(static_cast<float>(x)));
  storeLe32(out + 4, std::bit_cast<uint32_t>(static_cast<float>(y)));
  storeLe32(out + 8, std::bit_cast<uint32_t>(static_cast<float>(z)));
}

inline void decodePoint(const char* p, double& x, double& y, double& z) {
  x = std::bit_cast<float>(loadLe32(p));
  y = std::bit_cast<float>(loadLe32(p + 4));
  z = std::bit_cast<float>(loadLe32(p + 8));
}

}  // namespace qbaseCoding
