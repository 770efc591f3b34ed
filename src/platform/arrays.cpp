#include "vxkd/platform/arrays.h"

void CByteBuffer::set(const void* data, int size) {
  bytes_.clear();
  append(data, size);
}

void CByteBuffer::append(const void* data, int size) {
  if (!data || size <= 0) return;
  const auto* p = static_cast<const uint8_t*>(data);
  bytes_.insert(bytes_.end(), p, p + size);
}

void CChBuffer::set(const char* text, int maxLength) {
  str_ = text ? text : "";
  if (maxLength < 0 || static_cast<int>(str_.size()) <= maxLength) return;
  size_t n = maxLength;
  // Step back over continuation bytes so that no UTF-8 sequence is cut in two.
  while (n > 0 && (static_cast<unsigned char>(str_[n]) & 0xC0) == 0x80) --n;
  str_.resize(n);
}
