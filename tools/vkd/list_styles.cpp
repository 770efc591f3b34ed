// vkd list FILE.vkd styles: the text styles.

#include <string>

#include "tool.h"
#include "vxkd/properties/property_value.h"

namespace vkd {
namespace {

std::string real(float value) { return narrow(CKdPropertyValue::printReal(value, 2)); }

void fillStyles(const CKdProject& project, Table& table) {
  table.columns = {{"Id", true},   {"Name"},        {"Font file"},     {"Type face"},
                   {"Size", true}, {"Width", true}, {"Oblique", true}, {"Bold/italic"}};
  const CKdTextStyleDefArray& styles = project.textStyleDefs();
  for (int i = 0; i < styles.length(); ++i) {
    const CKdTextStyleDef* s = styles.objAt(i);
    std::string look =
        s->isBold() ? (s->isItalic() ? "bold italic" : "bold") : (s->isItalic() ? "italic" : "-");
    table.addRow({std::to_string(s->dbId()), narrow(s->name()), narrow(s->fontFile()),
                  narrow(s->typeFace()), real(s->textSize()), real(s->xScale()),
                  real(s->oblAngle()), look});
  }
}

const ListKind kStyles("styles", "the text styles", fillStyles);

}  // namespace
}  // namespace vkd
