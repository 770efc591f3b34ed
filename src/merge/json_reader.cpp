#include "merge/json_reader.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

namespace VxKd {

const JsonNode* JsonNode::find(std::string_view key) const {
  for (const JsonMember& member : members)
    if (member.key == key) return &member.value;
  return nullptr;
}

const char* JsonNode::typeName() const {
  switch (type) {
    case typeNull:
      return "null";
    case typeBool:
      return "true or false";
    case typeInteger:
    case typeReal:
      return "a number";
    case typeString:
      return "a text";
    case typeArray:
      return "a list";
    case typeObject:
      return "an object";
  }
  return "a value";
}

std::string JsonNode::describe() const {
  constexpr size_t kMaxShown = 40;
  switch (type) {
    case typeBool:
      return boolean ? "true" : "false";
    case typeInteger:
      return tooLarge ? "a number beyond 64 bits" : std::to_string(integer);
    case typeReal: {
      const std::string shown = nlohmann::json(real).dump();
      return shown == "null" ? "a number" : shown;
    }
    case typeString:
      return text.size() <= kMaxShown
                 ? nlohmann::json(text).dump(-1, ' ', false,
                                             nlohmann::json::error_handler_t::replace)
                 : "a text";
    default:
      return typeName();
  }
}

namespace {

// Where the parser stands: the line of the last character it took that was not white
// space. A token ends on such a character; the one character the parser reads beyond a
// number is white space or belongs to the same line, so at each event this is the line of
// the token just read.
struct LinePosition {
  int line = 1;
  int tokenLine = 1;
};

// A character iterator over the text that keeps LinePosition up to date as the parser
// takes characters.
class CountingIterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  CountingIterator() = default;
  CountingIterator(const char* p, LinePosition* position) : p_(p), position_(position) {}

  reference operator*() const { return *p_; }
  CountingIterator& operator++() {
    const char c = *p_++;
    if (c == '\n')
      ++position_->line;
    else if (c != ' ' && c != '\t' && c != '\r')
      position_->tokenLine = position_->line;
    return *this;
  }
  CountingIterator operator++(int) {
    CountingIterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const CountingIterator& other) const { return p_ == other.p_; }

 private:
  const char* p_ = nullptr;
  LinePosition* position_ = nullptr;
};

// Builds the tree from the parser's events.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
 public:
  TreeBuilder(std::string_view text, const LinePosition& position, JsonNode& root, JsonError& error)
      : text_(text), position_(position), root_(root), error_(error) {}

  bool null() override { return add(JsonNode{}); }
  bool boolean(bool value) override {
    JsonNode node;
    node.type = JsonNode::typeBool;
    node.boolean = value;
    return add(std::move(node));
  }
  bool number_integer(number_integer_t value) override {
    JsonNode node;
    node.type = JsonNode::typeInteger;
    node.integer = value;
    node.real = static_cast<double>(value);
    return add(std::move(node));
  }
  bool number_unsigned(number_unsigned_t value) override {
    JsonNode node;
    node.type = JsonNode::typeInteger;
    node.tooLarge = value > static_cast<number_unsigned_t>(INT64_MAX);
    node.integer = node.tooLarge ? INT64_MAX : static_cast<int64_t>(value);
    node.real = static_cast<double>(value);
    return add(std::move(node));
  }
  bool number_float(number_float_t value, const string_t&) override {
    JsonNode node;
    node.type = JsonNode::typeReal;
    node.real = value;
    return add(std::move(node));
  }
  bool string(string_t& value) override {
    JsonNode node;
    node.type = JsonNode::typeString;
    node.text = std::move(value);
    return add(std::move(node));
  }
  bool binary(binary_t&) override { return fail(position_.tokenLine, "binary data is no JSON"); }
  bool start_object(std::size_t) override { return open(JsonNode::typeObject); }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(JsonNode::typeArray); }
  bool end_array() override { return close(); }
  bool key(string_t& key) override {
    Frame& top = stack_.back();
    for (const JsonMember& member : top.node.members)
      if (member.key == key) return fail(position_.tokenLine, "\"" + key + "\" appears twice");
    top.key = std::move(key);
    top.keyLine = position_.tokenLine;
    return true;
  }
  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception& ex) override {
    // The line of the character the parser stopped at (the last one for a text cut short).
    const size_t end = std::min(position, text_.size());
    const int line =
        end == 0 ? 1
                 : 1 + static_cast<int>(std::count(text_.begin(), text_.begin() + (end - 1), '\n'));
    std::string what = ex.what();
    const size_t at = what.find("syntax error");
    return fail(line, at == std::string::npos ? what : what.substr(at));
  }

 private:
  struct Frame {
    JsonNode node;
    std::string key;
    int keyLine = 0;
  };

  bool fail(int line, std::string message) {
    if (error_.message.empty()) error_ = {line, std::move(message)};
    return false;
  }
  bool open(JsonNode::Type type) {
    Frame frame;
    frame.node.type = type;
    frame.node.line = position_.tokenLine;
    stack_.push_back(std::move(frame));
    return true;
  }
  bool close() {
    JsonNode node = std::move(stack_.back().node);
    stack_.pop_back();
    return place(std::move(node));
  }
  bool add(JsonNode node) {
    node.line = position_.tokenLine;
    return place(std::move(node));
  }
  bool place(JsonNode node) {
    if (stack_.empty()) {
      root_ = std::move(node);
      return true;
    }
    Frame& top = stack_.back();
    if (top.node.type == JsonNode::typeArray)
      top.node.elements.push_back(std::move(node));
    else
      top.node.members.push_back({std::move(top.key), top.keyLine, std::move(node)});
    return true;
  }

  std::string_view text_;
  const LinePosition& position_;
  JsonNode& root_;
  JsonError& error_;
  std::vector<Frame> stack_;
};

}  // namespace

bool parseJson(std::string_view text, JsonNode& root, JsonError& error) {
  root = JsonNode{};
  error = JsonError{};
  LinePosition position;
  TreeBuilder builder(text, position, root, error);
  bool ok = false;
  try {
    ok =
        nlohmann::json::sax_parse(CountingIterator(text.data(), &position),
                                  CountingIterator(text.data() + text.size(), &position), &builder);
  } catch (const std::exception& ex) {  // the parser's own failures: memory, a bad adapter
    error = {position.line, ex.what()};
    ok = false;
  }
  if (!ok && error.message.empty()) error = {position.tokenLine, "the text cannot be read"};
  if (!ok) root = JsonNode{};
  return ok;
}

}  // namespace VxKd
