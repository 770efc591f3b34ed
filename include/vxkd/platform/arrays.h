#pragma once
// The plain arrays of the signatures: CInt16Array, CInt32Array, CByteBuffer, CChBuffer.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "vxkd/platform/export.h"

// A growable array of plain values, a thin wrapper over std::vector.
template <typename T>
class CValueArray {
 public:
  CValueArray() = default;
  CValueArray(std::initializer_list<T> values) : items_(values) {}

  int length() const { return static_cast<int>(items_.size()); }
  bool isEmpty() const { return items_.empty(); }
  void empty() { items_.clear(); }
  // The value at `i`; 0 for an index out of range.
  T at(int i) const { return i >= 0 && i < length() ? items_[i] : T{}; }
  T operator[](int i) const { return at(i); }
  bool setAt(int i, T value) {
    if (i < 0 || i >= length()) return false;
    items_[i] = value;
    return true;
  }
  void append(T value) { items_.push_back(value); }
  bool removeAt(int i) {
    if (i < 0 || i >= length()) return false;
    items_.erase(items_.begin() + i);
    return true;
  }
  // Index of the first element equal to `value`, or -1.
  int find(T value) const {
    auto it = std::find(items_.begin(), items_.end(), value);
    return it == items_.end() ? -1 : static_cast<int>(it - items_.begin());
  }
  bool contains(T value) const { return find(value) >= 0; }
  void sortAscending() { std::sort(items_.begin(), items_.end()); }
  void resize(int n) { items_.resize(n > 0 ? n : 0); }
  T* data() { return items_.data(); }
  const T* data() const { return items_.data(); }

  typename std::vector<T>::const_iterator begin() const { return items_.begin(); }
  typename std::vector<T>::const_iterator end() const { return items_.end(); }
  bool operator==(const CValueArray& other) const { return items_ == other.items_; }

 private:
  std::vector<T> items_;
};

using CInt16Array = CValueArray<int16_t>;
using CInt32Array = CValueArray<int32_t>;
using CFloatArray = CValueArray<float>;

// An owned block of bytes.
class VXKD_API CByteBuffer {
 public:
  CByteBuffer() = default;
  CByteBuffer(const void* data, int size) { set(data, size); }

  int size() const { return static_cast<int>(bytes_.size()); }
  bool isEmpty() const { return bytes_.empty(); }
  void empty() { bytes_.clear(); }
  // Resizes to `size` bytes; new bytes are 0.
  void resize(int size) { bytes_.resize(size > 0 ? size : 0); }
  void set(const void* data, int size);
  void append(const void* data, int size);
  uint8_t* data() { return bytes_.data(); }
  const uint8_t* data() const { return bytes_.data(); }
  bool operator==(const CByteBuffer& other) const { return bytes_ == other.bytes_; }

 private:
  std::vector<uint8_t> bytes_;
};

// An owned narrow (UTF-8) string buffer; converts to `const char*`, never null.
class VXKD_API CChBuffer {
 public:
  CChBuffer() = default;
  CChBuffer(const char* text) : str_(text ? text : "") {}  // NOLINT: implicit on purpose

  operator const char*() const { return str_.c_str(); }  // NOLINT
  const char* sz() const { return str_.c_str(); }
  const std::string& str() const { return str_; }
  int length() const { return static_cast<int>(str_.size()); }
  bool isEmpty() const { return str_.empty(); }
  void empty() { str_.clear(); }
  // Stores at most `maxLength` bytes of `text` (all of it when maxLength < 0), never cutting
  // a UTF-8 sequence in two.
  void set(const char* text, int maxLength = -1);
  void cat(const char* text) { str_ += text ? text : ""; }
  bool operator==(const CChBuffer& other) const { return str_ == other.str_; }

 private:
  std::string str_;
};
