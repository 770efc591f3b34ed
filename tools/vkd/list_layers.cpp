// vkd list FILE.vkd layers: the layers with the dataset's names, linetypes and colours.

#include <string>

#include "tool.h"

namespace vkd {
namespace {

void fillLayers(const CKdProject& project, Table& table) {
  table.columns = {{"Number", true}, {"Name"},         {"Description"},
                   {"Linetype"},     {"Colour", true}, {"Lineweight", true}};
  const CKdLayerDefArray& layers = project.layerDefs();
  for (int i = 0; i < layers.length(); ++i) {
    CKdLayerDef* def = layers.objAt(i);
    table.addRow({std::to_string(def->layerNumber()), narrow(def->name()), narrow(def->desc()),
                  narrow(def->linetype()), std::to_string(def->colorNmb()),
                  narrow(def->lineWeightDisplayName())});
  }
}

const ListKind kLayers("layers", "the layers", fillLayers);

}  // namespace
}  // namespace vkd
