#pragma once
// CRegFile: the contents of one registry root as the text of a registry export file
// ("Windows Registry Editor Version 5.00", "[key path]" sections, "name"=value lines).
// Internal to CSystemRegistry, which reads and rewrites the files; not exported.
//
// Understood values: "text" strings with \\ and \" escapes, dword: with all eight digits,
// and hex:, hex(n): byte lists (continued over lines by a trailing backslash). hex(1) is read
// as a string (UTF-16LE with its terminator) and hex(4) of four bytes as a DWORD; other hex
// values are kept as they stand. A line cut short therefore never reads as a value. "@"
// names the key's default value, "name"=- and [-key] delete. Key paths and value names
// compare ignoring case. Whatever cannot be understood (binary garbage, a truncated line,
// dword:zz) is skipped, so a damaged file reads as the values that survive in it.

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class CRegFile {
 public:
  // Registry value types.
  static constexpr uint32_t typeSz = 1;
  static constexpr uint32_t typeBinary = 3;
  static constexpr uint32_t typeDword = 4;

  struct Value {
    std::wstring name;
    uint32_t type = typeSz;
    uint32_t dword = 0;          // typeDword
    std::wstring text;           // typeSz
    std::vector<uint8_t> bytes;  // any other type
  };
  struct Key {
    std::wstring path;  // backslash-separated, without empty components
    std::vector<Value> values;
    // The case-folded name of each value and its position in `values`.
    std::unordered_map<std::wstring, size_t> valueIndex;
  };

  // Replaces the contents by what `data` holds (UTF-8, or UTF-16LE with its byte order
  // mark). Never fails: what cannot be understood is skipped.
  void parse(std::string_view data);
  // The export text of the contents, UTF-8, one section per key in key order.
  std::string text() const;

  // The value `name` of key `path`, or null.
  const Value* findValue(std::wstring_view path, std::wstring_view name) const;
  // Sets `value` in key `path`, creating the key; a value of the same name is replaced in
  // place. False, and nothing changed, when the path or the name cannot be written
  // (an empty path, a line break, a "]" in the path).
  bool setValue(std::wstring_view path, Value value);
  // Creates key `path` unless it exists. False when the path cannot be written.
  bool createKey(std::wstring_view path);
  // Removes key `path` with every key below it; false when there was none.
  bool deleteTree(std::wstring_view path);

  // `path` with its empty components removed ("A\\B\" is "A\B").
  static std::wstring normalizePath(std::wstring_view path);

 private:
  const Key* findKey(std::wstring_view normalizedPath) const;
  Key& keyFor(const std::wstring& normalizedPath);
  static void putValue(Key& key, Value value);
  static void eraseValue(Key& key, std::wstring_view name);
  void reindexKeys();

  std::vector<Key> keys_;
  // The case-folded path of each key and its position in `keys_`.
  std::unordered_map<std::wstring, size_t> keyIndex_;
};
