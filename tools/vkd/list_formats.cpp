// vkd list FILE.vkd formats: the dimension text formats.

#include <string>

#include "tool.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

// The option's name, or its number when the name is unknown (a value out of range).
std::string optionName(const CWsz& name, short value) {
  return name.isEmpty() ? "? (" + std::to_string(value) + ")" : narrow(name);
}

std::string colourName(short colour) { return colour == 256 ? "by layer" : std::to_string(colour); }

void fillFormats(const CKdProject& project, Table& table) {
  table.columns = {{"Id", true}, {"Description"}, {"Style"},     {"Height", true}, {"Colour"},
                   {"Border"},   {"Refline"},     {"Alignment"}, {"Format"}};
  const CKdDimtextFormatArray& formats = project.dimTextFormats();
  for (int i = 0; i < formats.length(); ++i) {
    const CKdDimtextFormat* f = formats.objAt(i);
    const CKdDimtextOptions& o = f->options();
    table.addRow(
        {std::to_string(f->id()), narrow(f->desc()), narrow(f->styleName()),
         cuSz::format("%g", f->textHeight()), colourName(f->textColor()),
         optionName(CKdDimtextOptions::getBorderTypeName(o.borderType()), o.borderType()),
         optionName(CKdDimtextOptions::getReflineTypeName(o.reflineType()), o.reflineType()),
         optionName(CKdDimtextOptions::getAlignmentFlagName(o.alignmentFlags()),
                    o.alignmentFlags()),
         narrow(f->fmt())});
  }
}

const ListKind kFormats("formats", "the dimension text formats", fillFormats);

}  // namespace
}  // namespace vkd
