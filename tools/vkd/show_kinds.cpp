// The kinds of definition that `vkd show` finds: how each is looked up by id or name, and
// what its text form adds to the JSON form (unit labels, the descriptions of named formats).

#include <cstdio>

#include "json_form.h"
#include "products.h"
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

int showProduct(const CKdProject& project, const std::string& key, Shown& out) {
  ProductRef ref;
  if (int status = findProduct(project, key, ref)) return status;
  const CKdProductDef* product = ref.product;
  out.title = itemName(ref);
  out.fields = toJson(*product, ref.set);
  if (ref.group) {
    Json fields = Json::object();
    fields["group"] = groupPathOf(project.productGroups(), ref.group->dbId());
    for (auto it = out.fields.begin(); it != out.fields.end(); ++it) fields[it.key()] = *it;
    out.fields = std::move(fields);
  }
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
  if (product->partIdFmtId() > 0) {
    const CKdPartIdFormat* format = project.partIdFormats().findId(product->partIdFmtId());
    out.textFields["partIdFormat"] = std::to_string(product->partIdFmtId()) +
                                     (format ? " " + quoted(narrow(format->desc())) : " (missing)");
    // What the format makes of the product's values.
    out.textFields["partId"] = narrow(product->partId());
  }
  // Block items name a product by its GUID.
  out.target = Target::product;
  out.key = narrow(product->guid().toWsz());
  out.byId = true;
  return exitOk;
}

int showPartIdFormat(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdPartIdFormatArray& formats = project.partIdFormats();
  long id = 0;
  const CKdPartIdFormat* format = parseId(key, id) ? formats.findId(id) : nullptr;
  if (!format) format = formats.findName(wide(key));
  if (!format) return notFound("part ID format", key);
  out.title = itemName(*format);
  out.fields = toJson(*format);
  out.target = Target::partIdFormat;
  out.key = std::to_string(format->dbId());
  out.byId = true;
  return exitOk;
}

// A group by its id or its path ("Heating/Valves", the letter case ignored where no group
// has the path as written).
const CKdProductGroup* groupOf(const CKdProject& project, const std::string& key) {
  const CKdProductGroupArray& groups = project.productGroups();
  long id = 0;
  if (parseId(key, id))
    if (const CKdProductGroup* g = groups.findGroup(id)) return g;
  const CWsz path = wide(key);
  if (const CKdProductGroup* g = groups.findGroup(CKdProductGroup::rootGroupDefinitions, path))
    return g;
  for (int i = 0; i < groups.length(); ++i)
    if (cuSz::equalNoCase(CWsz::fromUtf8(groupPathOf(groups, groups.idAt(i)).c_str()), path))
      return groups.objAt(i);
  return nullptr;
}

int showGroup(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdProductGroup* group = groupOf(project, key);
  if (!group) return notFound("product group", key);
  const CKdProductGroupArray& groups = project.productGroups();
  out.title = itemName(groups, *group);
  Json fields = Json::object();
  fields["id"] = group->dbId();
  if (!group->guid().isNull()) fields["guid"] = narrow(group->guid().toWsz());
  fields["description"] = narrow(group->desc());
  fields["path"] = groupPathOf(groups, group->dbId());
  fields["owner"] = group->ownerGroupId();
  fields["order"] = group->orderNmb();
  Json products = Json::array(), blocks = Json::array(), sub = Json::array();
  for (int i = 0; i < group->products().length(); ++i)
    products.push_back(std::to_string(group->products().objAt(i)->dbId()) + " " +
                       narrow(group->products().objAt(i)->desc()));
  for (int i = 0; i < group->blocks().length(); ++i)
    blocks.push_back(narrow(group->blocks().objAt(i)->desc()));
  CKdProductGroupArray children;
  groups.getTopSubGroupsOf(group->dbId(), children);
  for (int i = 0; i < children.length(); ++i) sub.push_back(narrow(children.objAt(i)->desc()));
  fields["products"] = std::move(products);
  fields["blocks"] = std::move(blocks);
  fields["groups"] = std::move(sub);
  out.fields = std::move(fields);
  out.target = Target::group;
  out.key = std::to_string(group->dbId());
  out.byId = true;
  out.alsoKey = narrow(group->guid().toWsz());
  out.alsoById = true;
  return exitOk;
}

int showBlock(const CKdProject& project, const std::string& key, Shown& out) {
  // NAME, or GROUP-PATH/NAME where several groups have a block of that name.
  const CKdProductGroupArray& groups = project.productGroups();
  std::vector<std::pair<const CKdProductGroup*, const CKdBlock*>> hits;
  for (int i = 0; i < groups.length(); ++i)
    if (const CKdBlock* b = groups.objAt(i)->blocks().findName(wide(key)))
      hits.push_back({groups.objAt(i), b});
  const size_t slash = key.rfind('/');
  if (hits.empty() && slash != std::string::npos)
    if (const CKdProductGroup* g = groupOf(project, key.substr(0, slash)))
      if (const CKdBlock* b = g->blocks().findName(wide(key.substr(slash + 1))))
        hits.push_back({g, b});
  if (hits.empty()) return notFound("block", key);
  if (hits.size() > 1)
    return failInput(std::to_string(hits.size()) + " blocks are named " + quoted(key) +
                     "; name one as GROUP-PATH/NAME");
  const CKdProductGroup& group = *hits[0].first;
  const CKdBlock& block = *hits[0].second;
  out.title = itemName(groups, group, block);
  Json fields = Json::object();
  fields["group"] = groupPathOf(groups, group.dbId());
  fields["name"] = narrow(block.desc());
  if (!block.guid().isNull()) fields["guid"] = narrow(block.guid().toWsz());
  const std::vector<ProductRef> products = allProducts(project);
  Json items = Json::array();
  for (int i = 0; i < block.items().length(); ++i) {
    const CKdBlockItem& item = *block.items().objAt(i);
    Json entry = Json::object();
    if (!item.name().isEmpty()) entry["name"] = narrow(item.name());
    if (item.hasGraphics()) {
      entry["graphics"] = std::to_string(item.graphicsData().size()) + " bytes";
    } else if (!item.guid().isNull()) {
      std::string product = narrow(item.guid().toWsz());
      for (const ProductRef& ref : products)
        if (ref.product->guid() == item.guid()) product = ref.key;
      entry["product"] = product;
    }
    entry["at"] = Json::array(
        {real(static_cast<float>(item.position().x)), real(static_cast<float>(item.position().y))});
    if (item.scale() != 1.0f) entry["scale"] = real(item.scale());
    items.push_back(std::move(entry));
  }
  fields["items"] = std::move(items);
  out.fields = std::move(fields);
  out.target = Target::group;  // nothing names a block: no key, no users
  return exitOk;
}

int showReport(const CKdProject& project, const std::string& key, Shown& out) {
  const CKdObjectArray<CKdReport>& reports = project.reportDefs();
  long id = 0;
  const CKdReport* report = parseId(key, id) ? reports.findId(id) : nullptr;
  if (!report) report = reports.findName(wide(key));
  if (!report) return notFound("report definition", key);
  out.title = itemName(*report);
  Json fields = Json::object();
  fields["id"] = report->dbId();
  fields["description"] = narrow(report->desc());
  fields["orientation"] = narrow(CKdReport::getOrientationName(report->orientation()));
  Json lists = Json::array();
  for (int16_t kind : report->entityTypeIds())
    lists.push_back(nameOf(kEntityNames, kind) ? nameOf(kEntityNames, kind) : "?");
  fields["lists"] = std::move(lists);
  Json columns = Json::array();
  for (int i = 0; i < report->columns().length(); ++i) {
    const CSReportColumn& c = *report->columns().at(i);
    const CKdPropertyDef* def = project.propertyDefs().findId(c.propertyId());
    std::string text = def ? narrow(def->name()) : "property " + std::to_string(c.propertyId());
    text += cuSz::format(", %g wide", c.length());
    if (*c.header1())
      text += ", " + quoted(std::string(c.header1()) + (*c.header2() ? " / " : "") + c.header2());
    columns.push_back(text);
  }
  fields["columns"] = std::move(columns);
  if (report->sortPropertyId() != 0) {
    const CKdPropertyDef* def = project.propertyDefs().findId(report->sortPropertyId());
    fields["sortBy"] = (def ? narrow(def->name()) : std::to_string(report->sortPropertyId())) +
                       ", " + narrow(VxKd::getSortTypeName(report->sortType()));
  }
  fields["style"] = narrow(report->fontStyleName());
  fields["fontHeight"] = real(report->fontHeight());
  fields["width"] = real(report->calcTotalWidth(1));
  out.fields = std::move(fields);
  out.target = Target::group;  // nothing names a report: no key, no users
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
const ShowKind kProduct("product", "products",
                        "a product definition, by SET:ID, GROUP-PATH:ID, id or description",
                        showProduct);
const ShowKind kPartIdFormat("partid", "partids", "a part ID format, by id or description",
                             showPartIdFormat);
const ShowKind kGroup("group", "groups", "a product group, by id or path", showGroup);
const ShowKind kBlock("block", "blocks", "a block, by name or GROUP-PATH/NAME", showBlock);
const ShowKind kReport("report", "reports", "a report definition, by id or description",
                       showReport);

}  // namespace
}  // namespace vkd
