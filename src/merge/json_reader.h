#pragma once
// The JSON texts that administrators give the library (a dataset's text form, a merge plan)
// read into a tree whose every value knows the line it stands on, so that a message can
// name the line of a wrong value and not only of a syntax error. The syntax is nlohmann's
// parser; this tree only keeps what it reports, with the positions.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace VxKd {

struct JsonMember;

struct JsonNode {
  enum Type : uint8_t {
    typeNull,
    typeBool,
    typeInteger,
    typeReal,
    typeString,
    typeArray,
    typeObject
  };

  Type type = typeNull;
  int line = 0;  // the line of the value's last character (of its opening bracket for a container)
  bool boolean = false;
  // An integer; `tooLarge` when it does not fit 64 bits (it is then only in `real`).
  int64_t integer = 0;
  bool tooLarge = false;
  double real = 0;  // every number, integers included
  std::string text;
  std::vector<JsonNode> elements;   // an array's
  std::vector<JsonMember> members;  // an object's, in the order of the text

  bool isNumber() const { return type == typeInteger || type == typeReal; }
  // The member `key` of an object; null when absent or when this is no object.
  const JsonNode* find(std::string_view key) const;
  // "an object", "a number", ... for messages.
  const char* typeName() const;
  // The value as a message names it: a number or a short text as it stands, "true",
  // "null", "a list", "an object".
  std::string describe() const;
};

struct JsonMember {
  std::string key;
  int line = 0;
  JsonNode value;
};

// Where and why a text could not be taken.
struct JsonError {
  int line = 0;
  std::string message;
};

// Parses `text` (UTF-8, one JSON value and nothing after it) into `root`. False with `error`
// for a syntax error (the line where the parser stopped: for a truncated text its last
// line) and for a key that appears twice in one object.
bool parseJson(std::string_view text, JsonNode& root, JsonError& error);

}  // namespace VxKd
