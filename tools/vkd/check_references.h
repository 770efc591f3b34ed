#pragma once
// The checks of `vkd check` that look at what definitions name of each other: references
// that name nothing (a product naming a missing linetype, symbol, dimension text format or
// property definition; a format naming a missing text style or property; a layer naming a
// missing linetype), names that must be unique and are given twice, and format strings that
// the layout cannot read.

#include <string>
#include <vector>

#include "tool.h"

namespace vkd {

// One problem: the definition it concerns, as a person names it, and what is wrong.
struct Problem {
  std::string item;
  std::string text;

  // "item text", the line `vkd check` prints.
  std::string line() const { return item.empty() ? text : item + " " + text; }
};

// The problems of the project as read into memory, in the order of referencesOf and then of
// the kinds with unique names.
std::vector<Problem> checkDefinitions(const CKdProject& project);

// The problems of the dataset file `path` that a read into memory hides: values stored in
// product records for property definitions that the dataset lacks (the read drops them, the
// next save loses them). `project` is the same file, read. False, with `why`, when the file
// cannot be read.
bool checkStoredRecords(const std::string& path, const CKdProject& project,
                        std::vector<Problem>& problems, std::string& why);

}  // namespace vkd
