#pragma once
// Little-endian numbers in byte buffers: how the binary layouts of datasets and symbol files
// store them, whatever the machine's own byte order.

#include <bit>
#include <cstdint>

namespace cuBytes {

inline void putLe16(uint8_t* out, uint16_t v) {
  out[0] = static_cast<uint8_t>(v);
  out[1] = static_cast<uint8_t>(v >> 8);
}

inline void putLe32(uint8_t* out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out[i] = static_cast<uint8_t>(v >> (8 * i));
}

inline uint16_t getLe16(const uint8_t* in) { return static_cast<uint16_t>(in[0] | in[1] << 8); }

inline uint32_t getLe32(const uint8_t* in) {
  return static_cast<uint32_t>(in[0]) | static_cast<uint32_t>(in[1]) << 8 |
         static_cast<uint32_t>(in[2]) << 16 | static_cast<uint32_t>(in[3]) << 24;
}

// A single-precision float as its four IEEE bytes.
inline void putFloatLe(uint8_t* out, float v) { putLe32(out, std::bit_cast<uint32_t>(v)); }
inline float getFloatLe(const uint8_t* in) { return std::bit_cast<float>(getLe32(in)); }

}  // namespace cuBytes
