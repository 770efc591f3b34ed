// vkd list FILE.vkd products: every product definition of the dataset, one row each: those
// of the four poly-object sets (ducts, pipes, electrical and data lines), set after set.

#include <string>

#include "json_form.h"
#include "tool.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

// The ids of the integrated text formats, blank-separated.
std::string textFormats(const CKdIntegratedTextArray& texts) {
  std::string out;
  for (int i = 0; i < texts.length(); ++i) {
    if (i) out += ' ';
    out += std::to_string(texts.idAt(i));
  }
  return out;
}

void fillProducts(const CKdProject& project, Table& table) {
  table.columns = {{"Set"},         {"Id", true}, {"Description"},
                   {"Symbol"},      {"Linetype"}, {"Colour", true},
                   {"Width", true}, {"Texts"},    {"Properties", true}};
  for (const PolySet& set : kPolySets) {
    const CKdProductDefArray& products = *project.polyDefSets(set.type);
    for (int i = 0; i < products.length(); ++i) {
      const CKdProductDef& p = *products.objAt(i);
      table.addRow({set.name, std::to_string(p.dbId()), narrow(p.desc()), p.symbolId(),
                    narrow(p.lineType()), colourText(p.colorNmb()),
                    p.lineWidth() > CKdProductDef::minStoredLineWidth
                        ? cuSz::format("%g", p.lineWidth())
                        : std::string(),
                    textFormats(p.getIntegratedTexts()), std::to_string(p.properties().length())});
    }
  }
}

const ListKind kProducts("products", "the product definitions of the poly-object sets",
                         fillProducts);

}  // namespace
}  // namespace vkd
