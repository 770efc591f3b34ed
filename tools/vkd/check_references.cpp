// vkd check: what the definitions name of each other. References that name nothing (a
// product naming a missing part ID format, linetype, symbol, dimension text format or
// property definition; a group whose owner is missing; a block item naming a missing product
// or linetype; a format naming a missing text style or property; a report naming a missing
// property definition, text style or device group; a layer naming a missing linetype), names
// given twice where names must be unique, and format strings that the layout cannot read.

#include <string>
#include <vector>

#include "references.h"
#include "tool.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

std::string missing(const Reference& reference) {
  std::string text = reference.from + " names " + targetText(reference) +
                     (reference.target == Target::specialProperty ? ", which does not exist"
                                                                  : ", which the dataset lacks");
  if (!reference.detail.empty()) text += " (" + reference.detail + ")";
  return text;
}

void checkReferences(const CKdProject& project, std::vector<std::string>& problems) {
  for (const Reference& reference : referencesOf(project))
    if (!reference.exists) problems.push_back(missing(reference));
}

// Values stored for property definitions that the dataset lacks: the read dropped them, so
// only the file shows them. A project that has no file yet has none.
void checkStoredValues(const CKdProject& project, std::vector<std::string>& problems) {
  if (project.fileName().isEmpty()) return;
  std::vector<Reference> references;
  std::string why;
  if (!storedPropertyReferences(narrow(project.fileName()), project, references, why)) {
    problems.push_back("the product records cannot be read for their stored values: " + why);
    return;
  }
  for (Reference& reference : references) {
    if (reference.exists) continue;
    reference.detail += ", lost on the next save";
    problems.push_back(missing(reference));
  }
}

// A "{" without its "}": the layout builds no text of a dimension text format, and a part ID
// format loses what follows.
void checkBraces(const std::string& item, const CWsz& fmt, std::vector<std::string>& problems) {
  for (int open = fmt.find(L'{'); open >= 0; open = fmt.find(L'{', open + 1)) {
    const int close = fmt.find(L'}', open);
    if (close < 0) {
      problems.push_back(item +
                         " has a format string with a \"{\" without \"}\"; what follows "
                         "it is lost");
      return;
    }
    open = close;
  }
}

void checkFormatStrings(const CKdProject& project, std::vector<std::string>& problems) {
  const CKdDimtextFormatArray& formats = project.dimTextFormats();
  for (int i = 0; i < formats.length(); ++i)
    checkBraces(itemName(*formats.objAt(i)), formats.objAt(i)->fmt(), problems);
  const CKdPartIdFormatArray& partIds = project.partIdFormats();
  for (int i = 0; i < partIds.length(); ++i)
    checkBraces(itemName(*partIds.objAt(i)), partIds.objAt(i)->format(), problems);
}

// Adds a problem for each of `count` elements whose name an earlier one has (ignoring case):
// `name(i)` gives an element's name, `item(i)` how a person names the element.
template <typename Name, typename Item>
void checkUnique(int count, Name name, Item item, const std::string& rule,
                 std::vector<std::string>& problems) {
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < i; ++j)
      if (cuSz::equalNoCase(name(i), name(j))) {
        problems.push_back(item(i) + " has the name of " + item(j) + "; " + rule);
        break;
      }
}

template <typename Array>
void checkUniqueIn(const Array& items, const char* what, std::vector<std::string>& problems) {
  checkUnique(
      items.length(), [&](int i) { return items.nameAt(i); },
      [&](int i) { return itemName(*items.objAt(i)); },
      std::string(what) + " names must be unique (ignoring case)", problems);
}

void checkUniqueNames(const CKdProject& project, std::vector<std::string>& problems) {
  checkUniqueIn(project.propertyDefs(), "property definition", problems);
  checkUniqueIn(project.linetypeDefs(), "linetype", problems);
  checkUniqueIn(project.textStyleDefs(), "text style", problems);
  checkUniqueIn(project.layerDefs(), "layer", problems);
  // Symbol ids are compared as they stand: products find their symbol by the exact id.
  const CVxSymbolModelArray& symbols = project.symbols();
  for (int i = 0; i < symbols.length(); ++i) {
    const int first = symbols.find(symbols.objAt(i)->symbolId());
    if (first != i)
      problems.push_back(itemName(*symbols.objAt(i)) + " has the symbol id of " +
                         itemName(*symbols.objAt(first)) +
                         "; products name symbols by their id, which must be unique");
  }
  // A group's path, and a block's name in its group, name one of them only.
  const CKdProductGroupArray& groups = project.productGroups();
  std::vector<const CKdProductGroup*> stored;
  for (int i = 0; i < groups.length(); ++i)
    if (!groups.objAt(i)->isRoot()) stored.push_back(groups.objAt(i));
  for (size_t i = 0; i < stored.size(); ++i)
    for (size_t j = 0; j < i; ++j)
      if (stored[i]->ownerGroupId() == stored[j]->ownerGroupId() &&
          cuSz::equalNoCase(stored[i]->desc(), stored[j]->desc())) {
        problems.push_back(itemName(groups, *stored[i]) + " has the description of " +
                           itemName(groups, *stored[j]) +
                           " under the same owner; a group's path must name one group");
        break;
      }
  for (int g = 0; g < groups.length(); ++g) {
    const CKdProductGroup& group = *groups.objAt(g);
    const CKdBlockArray& blocks = group.blocks();
    checkUnique(
        blocks.length(), [&](int i) { return blocks.nameAt(i); },
        [&](int i) {
          return itemName(groups, group, *blocks.objAt(i)) + " (block " + std::to_string(i + 1) +
                 ")";
        },
        "block names must be unique in a group (ignoring case)", problems);
  }
}

const Check kReferences("references", checkReferences);
const Check kStoredValues("stored values", checkStoredValues);
const Check kFormatStrings("format strings", checkFormatStrings);
const Check kUniqueNames("unique names", checkUniqueNames);

}  // namespace
}  // namespace vkd
