#pragma once
// The canonical layout of the JSON texts the library writes, so that the same content gives
// the same bytes and a diff tool shows one changed field as one changed line: two blanks of
// indentation per level, one member per line, members in the order they were added; lists
// of plain values on one line; the elements of the lists named in `compactKeys` (a
// property set, a symbol's nodes) each on one line. Texts are UTF-8, bytes that are no UTF-8
// written as U+FFFD; the text ends with a line break.

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace VxKd {

using Json = nlohmann::ordered_json;

std::string writeCanonicalJson(const Json& value, const std::vector<std::string_view>& compactKeys);

// A float as the shortest decimal number that reads back as the same float (0.35f gives
// 0.35, not 0.3499999940395355); a value that is not finite as the text "NaN", "Infinity"
// or "-Infinity", which JSON numbers cannot hold.
Json floatJson(float value);
// The inverse for a number or one of those three texts; false for anything else or a number
// beyond the range of a float.
struct JsonNode;
bool floatFromJson(const JsonNode& node, float& value);

}  // namespace VxKd
