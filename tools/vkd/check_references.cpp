#include "check_references.h"

#include <map>

#include "json_form.h"
#include "references.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

void addMissing(const Reference& reference, std::vector<Problem>& problems) {
  if (reference.exists) return;
  std::string text = "names " + targetText(reference) + ", which the dataset lacks";
  if (reference.target == Target::specialProperty)
    text = "names " + targetText(reference) + ", which does not exist";
  if (!reference.detail.empty()) text += " (" + reference.detail + ")";
  problems.push_back({reference.from, text});
}

// Adds a problem for each element of `items` whose name an earlier element has (ignoring
// case): `name(i)` gives an element's name, `item(i)` how a person names the element.
template <typename Name, typename Item>
void checkUnique(int count, Name name, Item item, const char* what,
                 std::vector<Problem>& problems) {
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < i; ++j)
      if (cuSz::equalNoCase(name(i), name(j))) {
        problems.push_back({item(i), std::string("has the name of ") + item(j) + "; " + what +
                                         " names must be unique (ignoring case)"});
        break;
      }
}

// A "{" without its "}": the layout builds no text of the format.
void checkBraces(const CKdDimtextFormat& format, std::vector<Problem>& problems) {
  const CWsz& fmt = format.fmt();
  for (int open = fmt.find(L'{'); open >= 0; open = fmt.find(L'{', open + 1)) {
    const int close = fmt.find(L'}', open);
    if (close < 0) {
      problems.push_back({itemName(format),
                          "has a format string with a \"{\" without \"}\"; no text can be laid "
                          "out of it"});
      return;
    }
    open = close;
  }
}

}  // namespace

std::vector<Problem> checkDefinitions(const CKdProject& project) {
  std::vector<Problem> problems;
  for (const Reference& reference : referencesOf(project)) addMissing(reference, problems);

  const CKdDimtextFormatArray& formats = project.dimTextFormats();
  for (int i = 0; i < formats.length(); ++i) checkBraces(*formats.objAt(i), problems);

  const CKdPropertyDefArray& defs = project.propertyDefs();
  checkUnique(
      defs.length(), [&](int i) { return defs.nameAt(i); },
      [&](int i) { return itemName(*defs.objAt(i)); }, "property definition", problems);
  const CKdLinetypeDefArray& linetypes = project.linetypeDefs();
  checkUnique(
      linetypes.length(), [&](int i) { return linetypes.nameAt(i); },
      [&](int i) { return itemName(*linetypes.objAt(i)); }, "linetype", problems);
  const CKdTextStyleDefArray& styles = project.textStyleDefs();
  checkUnique(
      styles.length(), [&](int i) { return styles.nameAt(i); },
      [&](int i) { return itemName(*styles.objAt(i)); }, "text style", problems);
  const CKdLayerDefArray& layers = project.layerDefs();
  checkUnique(
      layers.length(), [&](int i) { return layers.nameAt(i); },
      [&](int i) { return itemName(*layers.objAt(i)); }, "layer", problems);
  // Symbol ids are compared as they stand: products find their symbol by the exact id.
  const CVxSymbolModelArray& symbols = project.symbols();
  for (int i = 0; i < symbols.length(); ++i) {
    const int first = symbols.find(symbols.objAt(i)->symbolId());
    if (first != i)
      problems.push_back({itemName(*symbols.objAt(i)),
                          "has the symbol id of " + itemName(*symbols.objAt(first)) +
                              "; products name symbols by their id, which must be unique"});
  }
  return problems;
}

bool checkStoredRecords(const std::string& path, const CKdProject& project,
                        std::vector<Problem>& problems, std::string& why) {
  std::vector<Reference> references;
  if (!storedPropertyReferences(path, project, references, why)) return false;
  for (Reference& reference : references) {
    reference.detail += ", lost on the next save";
    addMissing(reference, problems);
  }
  return true;
}

}  // namespace vkd
