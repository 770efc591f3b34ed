// The kinds of definition that `vkd show` finds: how each is looked up by id or name, and
// what its text form adds to the JSON form (unit labels, the descriptions of named formats).

#include <cstdio>

#include "json_form.h"
#include "show.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

int notFound(const char* what, const std::string& key) {
  return failInput("the dataset has no " + std::string(what) + " " + quoted(key));
}

CWsz wide(const std::string& text) { return CWsz::fromUtf8(text.c_str()); }

// A unit as people read it: "[mm], Length or distance".
Json unitText(CKdUnit unit) {
  if (unit.id() == CKdUnit::unitNone) return nullptr;
  CWsz label, quantity;
  unit.getLabel(label);
  unit.getDescription(quantity);
  if (label.isEmpty()) return "unit " + std::to_string(unit.id()) + " (not a unit of the program)";
  return narrow(label) + ", " + narrow(quantity);
}

int findProperty(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdPropertyDefArray& defs = project.propertyDefs();
  long id = 0;
  const CKdPropertyDef* def = parseId(key, id) ? defs.findId(id) : nullptr;
  if (!def) def = defs.findName(wide(key));
  if (!def) return notFound("property definition", key);
  out.title = itemName(*def);
  out.fields = toJson(*def);
  out.textFields = out.fields;
  out.textFields["unit"] = unitText(def->unit());
  out.target = Target::propertyDef;
  out.key = narrow(def->name());
  out.alsoKey = std::to_string(def->dbId());
  out.alsoById = true;
  return exitOk;
}

int findFormat(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdDimtextFormatArray& formats = project.dimTextFormats();
  long id = 0;
  const CKdDimtextFormat* format = parseId(key, id) ? formats.findFmt(id) : nullptr;
  if (!format) format = formats.findFmt(wide(key), nullptr);
  if (!format) return notFound("dimension text format", key);
  out.title = itemName(*format);
  out.fields = toJson(*format);
  out.target = Target::dimtextFormat;
  out.key = std::to_string(format->id());
  out.byId = true;
  return exitOk;
}

int findLayer(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdLayerDefArray& layers = project.layerDefs();
  long number = 0;
  const CKdLayerDef* layer = parseId(key, number) ? layers.findLayerDef(number) : nullptr;
  if (!layer) layer = layers.findName(wide(key));
  if (!layer) return notFound("layer", key);
  out.title = itemName(*layer);
  out.fields = toJson(*layer);
  out.textFields = out.fields;
  CKdLayerDef copy = *layer;
  out.textFields["lineweight"] = narrow(copy.lineWeightDisplayName());
  out.target = Target::linetype;  // nothing names a layer: no key, no users
  return exitOk;
}

int findLinetype(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdLinetypeDef* linetype = project.linetypeDefs().findLinetypeDef(wide(key));
  if (!linetype) return notFound("linetype", key);
  out.title = itemName(*linetype);
  out.fields = toJson(*linetype);
  out.target = Target::linetype;
  out.key = narrow(linetype->name());
  return exitOk;
}

int findStyle(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdTextStyleDefArray& styles = project.textStyleDefs();
  long id = 0;
  const CKdTextStyleDef* style = parseId(key, id) ? styles.findId(id) : nullptr;
  if (!style) style = styles.findStyle(wide(key));
  if (!style) return notFound("text style", key);
  out.title = itemName(*style);
  out.fields = toJson(*style);
  out.target = Target::textStyle;
  out.key = narrow(style->name());
  return exitOk;
}

int findSymbol(const CKdProject& project, const std::string& key, Shown& out) {
  const CVxSymbolModelArray& symbols = project.symbols();
  long id = 0;
  const CVxSymbolModel* symbol = parseId(key, id) ? symbols.findId(id) : nullptr;
  if (!symbol && symbols.find(key.c_str()) >= 0) symbol = symbols.objAt(symbols.find(key.c_str()));
  // Letter case counts for symbol ids; a key that matches only ignoring case is still taken
  // when it matches one symbol alone.
  for (int i = 0; !symbol && i < symbols.length(); ++i)
    if (cuSz::equalNoCase(wide(symbols.objAt(i)->symbolId()), wide(key))) symbol = symbols.objAt(i);
  if (!symbol) return notFound("symbol", key);
  out.title = itemName(*symbol);
  out.fields = toJson(*symbol);
  out.textFields = out.fields;
  const CGmBox box = [&] {
    CGmModel model;
    symbol->addTo(model);
    return model.boundBox();
  }();
  char size[64];
  std::snprintf(size, sizeof size, "%g x %g", box.width(), box.height());
  out.textFields["nodes"] = symbol->nodeCount();
  out.textFields["size"] = size;
  out.target = Target::symbol;
  out.key = symbol->symbolId();
  return exitOk;
}

}  // namespace

int findPolyProduct(const CKdProject& project, const std::string& key, const CKdProductDef*& found,
                    const PolySet*& foundSet) {
  std::vector<std::pair<const CKdProductDef*, const PolySet*>> hits;
  const size_t colon = key.find(':');
  long id = 0;
  if (colon != std::string::npos) {
    const PolySet* set = findPolySet(key.substr(0, colon));
    if (!set || !parseId(key.substr(colon + 1), id))
      return failInput(
          "a product is named by SET:ID (duct:3, SD:3), an id or a description, "
          "not " +
          quoted(key));
    if (const CKdProductDef* product = project.polyDefSets(set->type)->findId(id))
      hits.push_back({product, set});
  } else {
    const bool isId = parseId(key, id);
    for (const PolySet& set : kPolySets) {
      const CKdProductDefArray& products = *project.polyDefSets(set.type);
      for (int i = 0; i < products.length(); ++i) {
        const CKdProductDef* product = products.objAt(i);
        if (isId ? product->dbId() == id : cuSz::equalNoCase(product->desc(), wide(key)))
          hits.push_back({product, &set});
      }
    }
  }
  if (hits.empty()) return notFound("product definition", key);
  if (hits.size() > 1) {
    Table which;
    which.columns = {{""}, {""}};
    for (const auto& hit : hits)
      which.addRow({std::string(hit.second->name) + ":" + std::to_string(hit.first->dbId()),
                    narrow(hit.first->desc())});
    std::string list;
    for (const std::string& line : which.lines(false)) list += "\n  " + line;
    return failInput(quoted(key) + " names " + std::to_string(hits.size()) +
                     " product definitions; name one by SET:ID:" + list);
  }
  found = hits[0].first;
  foundSet = hits[0].second;
  return exitOk;
}

namespace {

int findProduct(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdProductDef* product = nullptr;
  const PolySet* set = nullptr;
  if (int status = findPolyProduct(project, key, product, set)) return status;
  out.title = itemName(*product, set->name);
  out.fields = toJson(*product, set);
  // The text form: values with their units, formats with their descriptions.
  out.textFields = out.fields;
  Json values = Json::object();
  for (int i = 0; i < product->properties().length(); ++i) {
    const CKdProperty* property = product->properties().objAt(i);
    CWsz label;
    property->unit().getLabel(label);
    std::string value = narrow(property->getValueAsText(false));
    if (property->hasValue() && !label.isEmpty()) value += " " + narrow(label);
    values[narrow(property->name())] = property->hasValue() ? Json(value) : Json();
  }
  out.textFields["properties"] = std::move(values);
  Json texts = Json::array();
  const CKdIntegratedTextArray& integrated = product->getIntegratedTexts();
  for (int i = 0; i < integrated.length(); ++i) {
    const CKdIntegratedText* text = integrated.objAt(i);
    const CKdDimtextFormat* format = project.dimTextFormats().findFmt(text->formatId());
    std::string line = "format " + std::to_string(text->formatId()) +
                       (format ? " " + quoted(narrow(format->desc())) : " (missing)") +
                       cuSz::format(", offset %g, %g", text->xOffset(), text->yOffset());
    if (text->rotation()) line += ", rotated " + std::to_string(text->rotation());
    if (text->directionByUcs()) line += ", in the direction of the UCS";
    texts.push_back(line);
  }
  out.textFields["texts"] = std::move(texts);
  out.target = Target::symbol;  // nothing names a product yet: no key, no users
  return exitOk;
}

const ShowKind kProperty("property", "properties", "a property definition, by id or name",
                         findProperty);
const ShowKind kFormat("format", "formats", "a dimension text format, by id or description",
                       findFormat);
const ShowKind kLayer("layer", "layers", "a layer, by number or name", findLayer);
const ShowKind kLinetype("linetype", "linetypes", "a linetype, by name", findLinetype);
const ShowKind kStyle("style", "styles", "a text style, by id or name", findStyle);
const ShowKind kSymbol("symbol", "symbols", "a 2D symbol, by id or symbol id", findSymbol);
const ShowKind kProduct("product", "products", "a product definition, by SET:ID, id or description",
                        findProduct);

}  // namespace
}  // namespace vkd
