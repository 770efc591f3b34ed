#pragma once
// The products of the editor: those of a product group and the poly-object definitions of
// the four sets, shown and changed with one form. A product is addressed by its owner (the
// group's id, or "ductDefs", "pipeDefs", "electricDefs", "dataDefs") and its id. The caller
// takes the edit lock before a change and stores the project after (see storeChange in
// editor_api.cpp).

#include <nlohmann/json.hpp>
#include <string>

#include "vxkd/dataset/project.h"

namespace vkdedit {

// Where products are kept: a group's product array or one of the poly-object sets.
struct ProductOwner {
  CKdProductDefArray* products = nullptr;
  const CKdProductGroup* group = nullptr;  // null for a poly-object set
  long maxId = 0;                          // the largest id its products' keys hold
};

// The owner that `name` names; false when none has that name.
bool findProductOwner(CKdProject& project, const std::string& name, ProductOwner& owner);
// The page names of the poly-object sets, in the order of the page's tree.
const std::vector<std::string>& polySetNames();

// The part ID that the product's format builds from its properties; the stored one when it
// has no format the dataset knows.
CWsz productPartId(const CKdProject& project, const CKdProductDef& product);
// A product as the form shows it: its fields, its properties with units and types, and the
// property definitions it does not have yet (to add).
nlohmann::json productJson(const CKdProject& project, const CKdProductDef& product);
// A product as a row of the product table.
nlohmann::json productRow(const CKdProject& project, const CKdProductDef& product);

// Checks the form of the fields of `body` (types, ranges, one line of text) before the edit
// lock is taken; "" when they are fine.
std::string checkProductFields(const CKdProject& project, const nlohmann::json& body);
// Checks the fields of `body` ("desc", "partIdFormat", "linetype", "color", "lineWidth",
// "addProperties", "removeProperties", "properties") and applies them to `product`, whose
// part ID is then built again. "" when applied; otherwise the reason, with `product` partly
// changed (callers change a copy).
std::string applyProductFields(const CKdProject& project, CKdProductDef& product,
                               const nlohmann::json& body);

// Deletes the product at `index` of `owner` with the library's check that no block places
// it; "" when deleted.
std::string removeProduct(CKdProject& project, const ProductOwner& owner, int index);

}  // namespace vkdedit
