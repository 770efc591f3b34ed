#include "products.h"

#include "show.h"
#include "vxkd/platform/sz.h"

namespace vkd {

std::vector<ProductRef> allProducts(const CKdProject& project) {
  std::vector<ProductRef> out;
  const CKdProductGroupArray& groups = project.productGroups();
  for (const GroupRow& row : groupTree(groups, CKdProductGroup::rootGroupDefinitions)) {
    const std::string path = groupPathOf(groups, row.group->dbId());
    const CKdProductDefArray& products = row.group->products();
    for (int i = 0; i < products.length(); ++i)
      out.push_back({products.objAt(i), nullptr, row.group,
                     path + ":" + std::to_string(products.objAt(i)->dbId())});
  }
  // Groups that the tree does not reach (their owner is missing) hold products all the same.
  for (int g = 0; g < groups.length(); ++g) {
    const CKdProductGroup* group = groups.objAt(g);
    bool listed = false;
    for (const ProductRef& p : out) listed = listed || p.group == group;
    if (listed || group->products().length() == 0) continue;
    const std::string path = groupPathOf(groups, group->dbId());
    for (int i = 0; i < group->products().length(); ++i)
      out.push_back({group->products().objAt(i), nullptr, group,
                     path + ":" + std::to_string(group->products().objAt(i)->dbId())});
  }
  for (const PolySet& set : kPolySets) {
    const CKdProductDefArray& products = *project.polyDefSets(set.type);
    for (int i = 0; i < products.length(); ++i)
      out.push_back({products.objAt(i), &set, nullptr,
                     std::string(set.name) + ":" + std::to_string(products.objAt(i)->dbId())});
  }
  return out;
}

int findProduct(const CKdProject& project, const std::string& key, ProductRef& out) {
  const std::vector<ProductRef> all = allProducts(project);
  std::vector<const ProductRef*> hits;
  const size_t colon = key.rfind(':');
  long id = 0;
  if (colon != std::string::npos && parseId(key.substr(colon + 1), id)) {
    // SET:ID or GROUP-PATH:ID; a set is also known by its record code.
    const std::string where = key.substr(0, colon);
    const PolySet* set = findPolySet(where);
    for (const ProductRef& p : all)
      if (p.product->dbId() == id &&
          (set ? p.set == set
               : p.group &&
                     cuSz::equalNoCase(CWsz::fromUtf8(p.key.substr(0, p.key.rfind(':')).c_str()),
                                       CWsz::fromUtf8(where.c_str()))))
        hits.push_back(&p);
  } else {
    const bool isId = parseId(key, id);
    const CWsz wide = CWsz::fromUtf8(key.c_str());
    for (const ProductRef& p : all)
      if (isId ? p.product->dbId() == id : cuSz::equalNoCase(p.product->desc(), wide))
        hits.push_back(&p);
  }
  if (hits.empty())
    return failInput("the dataset has no product definition \"" + key +
                     "\" (a product is named by SET:ID, GROUP-PATH:ID, an id or a description)");
  if (hits.size() > 1) {
    Table which;
    which.columns = {{""}, {""}};
    for (const ProductRef* hit : hits) which.addRow({hit->key, narrow(hit->product->desc())});
    std::string list;
    for (const std::string& line : which.lines(false)) list += "\n  " + line;
    return failInput("\"" + key + "\" names " + std::to_string(hits.size()) +
                     " product definitions; name one by its key:" + list);
  }
  out = *hits.front();
  return exitOk;
}

std::string itemName(const ProductRef& product) {
  return "product " + product.key + " \"" + narrow(product.product->desc()) + "\"";
}

}  // namespace vkd
