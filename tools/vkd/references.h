#pragma once
// What the definitions of a dataset name of each other. Definitions refer to each other by
// id, GUID or name, never by pointer, so a reference can outlive what it names: a product
// naming a linetype that was deleted, a format naming a text style that was renamed, a group
// whose owner is gone. This file finds every reference of a project, so that `vkd check`
// reports those that name nothing and `vkd show` lists what uses a definition.

#include <string>
#include <vector>

#include "products.h"
#include "tool.h"

namespace vkd {

// The kinds of definition that are referred to.
enum class Target {
  propertyDef,
  specialProperty,
  dimtextFormat,
  partIdFormat,
  linetype,
  textStyle,
  symbol,
  product,
  group,
};

// One reference from one definition to another.
struct Reference {
  std::string from;    // the referring definition as a person names it ("product duct:3
                       // \"Round duct Ø125\"")
  std::string detail;  // where in it, when it has several ("integrated text 2"); may be empty
  Target target;
  std::string key;     // the name referred to, the id as text, or the GUID
  bool byId = false;   // whether `key` is an id or a GUID (printed without quotes)
  bool exists = true;  // whether the dataset has what the reference names
};

// "property definition", "dimension text format", ...
const char* targetName(Target target);
// The reference's target as a person names it: `linetype "DASHED"`, `dimension text format 9`.
std::string targetText(const Reference& reference);

// How a problem report and `vkd show` name a definition.
std::string itemName(const CKdPropertyDef& def);
std::string itemName(const CKdDimtextFormat& format);
std::string itemName(const CKdPartIdFormat& format);
std::string itemName(const CKdLayerDef& layer);
std::string itemName(const CKdLinetypeDef& linetype);
std::string itemName(const CKdTextStyleDef& style);
std::string itemName(const CVxSymbolModel& symbol);
std::string itemName(const CKdReport& report);
std::string itemName(const CKdProductGroupArray& groups, const CKdProductGroup& group);
std::string itemName(const CKdProductGroupArray& groups, const CKdProductGroup& group,
                     const CKdBlock& block);

// Every reference that the definitions of `project` make: formats, layers, products, groups,
// blocks and reports, each in the order of their arrays.
std::vector<Reference> referencesOf(const CKdProject& project);

// The references of the property sets stored in the product records of the dataset file
// `path` to property definitions, against the definitions of `project` (the same file, read).
// A read drops the values of a definition that the dataset lacks, so only the stored records
// show them; the next save of the dataset loses them. False, with `why`, when the file cannot
// be read.
bool storedPropertyReferences(const std::string& path, const CKdProject& project,
                              std::vector<Reference>& out, std::string& why);

}  // namespace vkd
