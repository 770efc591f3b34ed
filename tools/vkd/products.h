#pragma once
// The product definitions of a dataset wherever they are filed, the groups of the catalogue
// and the four poly-object sets, and the keys by which vkd names one: "duct:3" for product 3
// of the duct set (or "SD:3", its record code), "Heating/Valves:2" for product 2 of that
// group (its path as `vkd list FILE groups` shows it).

#include <string>
#include <vector>

#include "json_form.h"
#include "tool.h"

namespace vkd {

// One product definition and where it is filed: a poly-object set or a group.
struct ProductRef {
  const CKdProductDef* product = nullptr;
  const PolySet* set = nullptr;            // the set, or null for a group's product
  const CKdProductGroup* group = nullptr;  // the group, or null for a set's product
  std::string key;                         // "duct:3", "Heating/Valves:2"
};

// Every product definition: those of the groups in the order of the tree, then those of the
// four sets.
std::vector<ProductRef> allProducts(const CKdProject& project);

// The product that `key` names: SET:ID, GROUP-PATH:ID, an id that one product alone has, or
// a description (ignoring case) that one product alone has. Returns exitOk with `out`, or
// exitUsage after saying why there is none or which ones it could be.
int findProduct(const CKdProject& project, const std::string& key, ProductRef& out);

// How a problem report and `vkd show` name a product: `product duct:3 "Round duct Ø125"`.
std::string itemName(const ProductRef& product);

}  // namespace vkd
