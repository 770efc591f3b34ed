// vkd show FILE.vkd KIND ID-OR-NAME: one definition with all its fields and what uses it, as
// labelled lines or as JSON (the form of dataset descriptions).

#include "show.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

#include "vxkd/platform/sz.h"

namespace vkd {

namespace {

std::map<std::string, const ShowKind*>& kindRegistry() {
  static std::map<std::string, const ShowKind*> kinds;
  return kinds;
}

}  // namespace

ShowKind::ShowKind(const char* name, const char* plural, const char* help, Find find)
    : name(name), plural(plural), help(help), find(find) {
  kindRegistry()[name] = this;
}

std::vector<const ShowKind*> showKinds() {
  std::vector<const ShowKind*> out;
  for (const auto& entry : kindRegistry()) out.push_back(entry.second);
  return out;
}

bool parseId(const std::string& text, long& value) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return !text.empty() && error == std::errc() && stop == end && value >= INT32_MIN &&
         value <= INT32_MAX;
}

namespace {

// Keys whose words are abbreviations, and their labels.
constexpr struct {
  const char* key;
  const char* label;
} kLabels[] = {{"guid", "GUID"}, {"partId", "Part ID"}, {"partIdFormat", "Part ID format"}};

// "fixedBorderSize" gives "Fixed border size".
std::string labelOf(const std::string& key) {
  for (const auto& known : kLabels)
    if (key == known.key) return known.label;
  std::string label;
  for (char c : key) {
    if (std::isupper(static_cast<unsigned char>(c))) {
      label += ' ';
      label += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else {
      label += c;
    }
  }
  if (!label.empty())
    label[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(label[0])));
  return label;
}

// A value on one line: a text as it stands, a list of plain values joined by ", ", anything
// else as compact JSON.
std::string inline_(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_null()) return "-";
  if (value.is_array() && value.empty()) return "none";
  if (value.is_array()) {
    bool plain = true;
    for (const Json& item : value) plain = plain && !item.is_structured();
    if (plain) {
      std::string out;
      for (const Json& item : value) out += (out.empty() ? "" : ", ") + inline_(item);
      return out;
    }
  }
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// The plain members of `fields` as aligned labels and values, then each object, list of
// objects or list of texts as a heading with its entries indented below.
void printFields(const Json& fields) {
  auto isBlock = [](const Json& value) {
    return value.is_object() || (value.is_array() && !value.empty() &&
                                 (value.front().is_structured() || value.front().is_string()));
  };
  Table plain;
  plain.columns = {{""}, {""}};
  for (auto it = fields.begin(); it != fields.end(); ++it)
    if (!isBlock(*it)) plain.addRow({labelOf(it.key()), inline_(*it)});
  for (const std::string& line : plain.lines(false)) std::printf("%s\n", line.c_str());
  for (auto it = fields.begin(); it != fields.end(); ++it) {
    if (!isBlock(*it)) continue;
    std::printf("%s:\n", labelOf(it.key()).c_str());
    Table entries;
    if (it->is_object()) {
      entries.columns = {{""}, {""}};
      for (auto m = it->begin(); m != it->end(); ++m) entries.addRow({m.key(), inline_(*m)});
    } else {
      entries.columns = {{""}};
      for (const Json& item : *it) entries.addRow({inline_(item)});
    }
    for (const std::string& line : entries.lines(false)) std::printf("  %s\n", line.c_str());
  }
}

// True when `reference` names the definition shown.
bool namesShown(const Reference& reference, const Shown& shown) {
  auto same = [&](const std::string& key, bool byId) {
    if (key.empty() || byId != reference.byId) return false;
    return byId ? key == reference.key
                : cuSz::equalNoCase(CWsz::fromUtf8(key.c_str()),
                                    CWsz::fromUtf8(reference.key.c_str()));
  };
  return reference.target == shown.target &&
         (same(shown.key, shown.byId) || same(shown.alsoKey, shown.alsoById));
}

// At most this many users are listed in the text form; JSON lists all.
constexpr size_t kMaxUsersShown = 20;

const ShowKind* findKind(const std::string& name) {
  for (const ShowKind* kind : showKinds())
    if (name == kind->name || name == kind->plural) return kind;
  return nullptr;
}

int runShow(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  const ShowKind* kind = findKind(args[1]);
  if (!kind) {
    std::fprintf(stderr, "vkd: unknown kind of definition \"%s\"\nkinds of definition:\n",
                 args[1].c_str());
    for (const ShowKind* k : showKinds()) std::fprintf(stderr, "  %-24s%s\n", k->name, k->help);
    return exitUsage;
  }
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  Shown shown;
  if (int status = kind->find(project, args[2], shown)) return status;

  // Each user once, however many of its parts refer to the definition.
  std::vector<std::string> users;
  for (const Reference& reference : referencesOf(project))
    if (namesShown(reference, shown) && (users.empty() || users.back() != reference.from))
      users.push_back(reference.from);

  if (options.json()) {
    Json out = shown.fields;
    out["usedBy"] = users;
    printJson(out);
    return exitOk;
  }
  std::printf("%s\n\n", shown.title.c_str());
  printFields(shown.textFields.is_null() ? shown.fields : shown.textFields);
  if (users.empty()) {
    std::printf("\nUsed by: nothing\n");
    return exitOk;
  }
  std::printf("\nUsed by:\n");
  for (size_t i = 0; i < users.size() && i < kMaxUsersShown; ++i)
    std::printf("  %s\n", users[i].c_str());
  if (users.size() > kMaxUsersShown)
    std::printf("  ... and %zu more\n", users.size() - kMaxUsersShown);
  return exitOk;
}

constexpr const char* kShowDetails =
    "KIND is property, partid, format, layer, linetype, style, symbol, group,\n"
    "product, block or report (the plural is taken too). A number is taken for an\n"
    "id where the kind has ids (a layer's number), any other text for a name,\n"
    "description or group path, ignoring case. A product is named by its key:\n"
    "SET:ID (duct:3 or SD:3) or GROUP-PATH:ID (Heating/Valves:2), by an id that\n"
    "one product alone has, or by its description.\n"
    "\"Used by\" lists the definitions that refer to it. With --format json: the\n"
    "definition in the form of dataset descriptions (sample-dataset.json), with\n"
    "the member usedBy.";

const Command kShow("show", "FILE.vkd KIND ID-OR-NAME [--format json]",
                    "show one definition with all its fields and what uses it", 3, "format",
                    runShow, kShowDetails);

}  // namespace
}  // namespace vkd
