// vkd preview FILE.vkd symbol ID -o OUT.svg: a 2D symbol with its id and description below.

#include <algorithm>

#include "references.h"
#include "show.h"
#include "tool.h"
#include "vxkd/dimtext/dimtext.h"

namespace vkd {
namespace {

constexpr int16_t kCaptionColor = 8;

int drawSymbol(const CKdProject& project, const std::string& key, CGmModel& model,
               std::string& what) {
  const CVxSymbolModelArray& symbols = project.symbols();
  long id = 0;
  const CVxSymbolModel* symbol = parseId(key, id) ? symbols.findId(id) : nullptr;
  if (!symbol && symbols.find(key.c_str()) >= 0) symbol = symbols.objAt(symbols.find(key.c_str()));
  if (!symbol) return failInput("the dataset has no symbol \"" + key + "\"");
  symbol->addTo(model);
  model.closeNode();
  const CGmBox box = model.boundBox();
  model.setColor(kCaptionColor);
  const double height = std::max(0.6, std::min(1.6, box.width() / 8));
  const double x = (box.minimum().x + box.maximum().x) / 2;
  model.addText(CWsz::fromUtf8(symbol->symbolId()), {x, box.minimum().y - 2.2 * height}, {1, 0},
                height, CKdDimtext::kDefaultFont, CGmAlign::center);
  model.addText(symbol->desc(), {x, box.minimum().y - 3.8 * height}, {1, 0}, 0.8 * height,
                CKdDimtext::kDefaultFont, CGmAlign::center);
  model.closeNode();
  what = itemName(*symbol);
  return exitOk;
}

const PreviewKind kSymbol("symbol", "ID", "a 2D symbol with its caption", drawSymbol);

}  // namespace
}  // namespace vkd
