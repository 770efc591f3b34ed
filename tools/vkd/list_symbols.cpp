// vkd list FILE.vkd symbols: the dataset's 2D symbols.

#include <string>

#include "tool.h"

namespace vkd {
namespace {

void fillSymbols(const CKdProject& project, Table& table) {
  table.columns = {{"Id", true}, {"Symbol"}, {"Nodes", true}, {"Description"}};
  const CVxSymbolModelArray& symbols = project.symbols();
  for (int i = 0; i < symbols.length(); ++i) {
    const CVxSymbolModel* symbol = symbols.objAt(i);
    table.addRow({std::to_string(symbol->projectId()), symbol->symbolId(),
                  std::to_string(symbol->nodeCount()), narrow(symbol->desc())});
  }
}

const ListKind kSymbols("symbols", "the 2D symbols", fillSymbols);

}  // namespace
}  // namespace vkd
