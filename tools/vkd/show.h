#pragma once
// What `vkd show FILE KIND ID-OR-NAME` knows of each kind of definition. Each kind registers
// itself with a static ShowKind object (show_kinds.cpp); show.cpp reads the dataset, finds
// the definition and prints it.

#include <string>
#include <vector>

#include "json_form.h"
#include "references.h"
#include "tool.h"

namespace vkd {

// One definition as `vkd show` prints it.
struct Shown {
  std::string title;  // "property definition 1 \"Width\""
  Json fields;        // the definition in the JSON form of dataset descriptions
  // The same for people, where it says more than the JSON form (units beside values, the
  // descriptions of the formats a product names); null: `fields`.
  Json textFields;
  Target target;    // what references to the definition name
  std::string key;  // ... and by which name or id
  bool byId = false;
  std::string alsoKey;  // a second name by which it is referred to (a property's id)
  bool alsoById = false;
};

// One kind of definition that `vkd show` finds.
struct ShowKind {
  // Finds the definition `key` names in `project` (an id where the kind has one, else a
  // name, ignoring case). Returns exitOk with `out` filled, or exitUsage after saying why
  // there is none (or several).
  using Find = int (*)(const CKdProject& project, const std::string& key, Shown& out);
  ShowKind(const char* name, const char* plural, const char* help, Find find);

  const char* name;    // "property"
  const char* plural;  // "properties", accepted as well
  const char* help;
  Find find;
};
// Every registered kind, in the order of their names.
std::vector<const ShowKind*> showKinds();

// The number that the whole of `text` spells, in `value`; false for anything else ("12x").
bool parseId(const std::string& text, long& value);

}  // namespace vkd
