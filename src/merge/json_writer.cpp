#include "merge/json_writer.h"

#include <cfloat>
#include <charconv>
#include <vector>

#include "merge/json_reader.h"

namespace VxKd {

namespace {

bool isPlain(const Json& value) { return !value.is_object() && !value.is_array(); }

void writeValue(const Json& value, int indent, bool compact,
                const std::vector<std::string_view>& compactKeys, std::string& out);

void writeScalar(const Json& value, std::string& out) {
  out += value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void newline(int indent, std::string& out) {
  out += '\n';
  out.append(static_cast<size_t>(indent), ' ');
}

bool isCompactKey(std::string_view key, const std::vector<std::string_view>& compactKeys) {
  for (std::string_view k : compactKeys)
    if (k == key) return true;
  return false;
}

void writeObject(const Json& value, int indent, bool compact,
                 const std::vector<std::string_view>& compactKeys, std::string& out) {
  if (value.empty()) {
    out += "{}";
    return;
  }
  out += '{';
  bool first = true;
  for (auto it = value.begin(); it != value.end(); ++it) {
    if (!first) out += compact ? ", " : ",";
    first = false;
    if (!compact) newline(indent + 2, out);
    writeScalar(Json(it.key()), out);
    out += ": ";
    const bool elementsCompact = compact || isCompactKey(it.key(), compactKeys);
    if (it->is_array())
      writeValue(*it, indent + 2, elementsCompact, compactKeys, out);
    else
      writeValue(*it, indent + 2, compact, compactKeys, out);
  }
  if (!compact) newline(indent, out);
  out += '}';
}

// `elementsCompact`: each element on one line.
void writeArray(const Json& value, int indent, bool elementsCompact,
                const std::vector<std::string_view>& compactKeys, std::string& out) {
  if (value.empty()) {
    out += "[]";
    return;
  }
  bool plain = true;
  for (const Json& element : value) plain = plain && isPlain(element);
  out += '[';
  bool first = true;
  for (const Json& element : value) {
    if (!first) out += plain ? ", " : ",";
    first = false;
    if (!plain) newline(indent + 2, out);
    writeValue(element, indent + 2, elementsCompact, compactKeys, out);
  }
  if (!plain) newline(indent, out);
  out += ']';
}

void writeValue(const Json& value, int indent, bool compact,
                const std::vector<std::string_view>& compactKeys, std::string& out) {
  if (value.is_object())
    writeObject(value, indent, compact, compactKeys, out);
  else if (value.is_array())
    writeArray(value, indent, compact, compactKeys, out);
  else
    writeScalar(value, out);
}

}  // namespace

std::string writeCanonicalJson(const Json& value,
                               const std::vector<std::string_view>& compactKeys) {
  std::string out;
  writeValue(value, 0, false, compactKeys, out);
  out += '\n';
  return out;
}

Json floatJson(float value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
  // The fewest significant digits that give the float back (to_chars never looks at the
  // locale), also when the text is read as a double and then narrowed, as floatFromJson
  // does; where that rounds differently, the float's exact value as a double.
  char buffer[64];
  const auto written = std::to_chars(buffer, buffer + sizeof buffer, value);
  double read = 0;
  std::from_chars(buffer, written.ptr, read);
  if (static_cast<float>(read) == value) return read;
  return static_cast<double>(value);
}

bool floatFromJson(const JsonNode& node, float& value) {
  if (node.type == JsonNode::typeString) {
    if (node.text == "NaN")
      value = NAN;
    else if (node.text == "Infinity")
      value = INFINITY;
    else if (node.text == "-Infinity")
      value = -INFINITY;
    else
      return false;
    return true;
  }
  if (!node.isNumber() || node.tooLarge) return false;
  // What rounds to the largest float is taken; what rounds beyond it is not.
  const float narrowed = static_cast<float>(node.real);
  if (std::isinf(narrowed)) return false;
  value = narrowed;
  return true;
}

}  // namespace VxKd
