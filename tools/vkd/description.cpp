#include "description.h"

#include <cmath>
#include <map>
#include <set>

#include "json_form.h"
#include "products.h"
#include "symbol_drawing.h"
#include "vxkd/foundation/startup.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"

namespace vkd {

std::string sampleDescriptionPath() {
  return narrow(cuFile::joinPath(VxKd::programFolder(), L"sample-dataset.json"));
}

namespace {

// The members of one JSON object, read one by one: each getter takes a member out of the
// list of those not yet read, so that finish() can refuse a member nobody asked for (a
// typing error). Every getter returns false, with the reason in `why`, when the member has
// the wrong kind of value; a member left out keeps the caller's default.
class Members {
 public:
  Members(const Json& object, std::string& why) : object_(object), why_(why) {
    for (auto it = object.begin(); it != object.end(); ++it) unread_.insert(it.key());
  }

  // The member's value, or null when it is left out.
  const Json* find(const char* key) {
    unread_.erase(key);
    auto it = object_.find(key);
    return it == object_.end() ? nullptr : &*it;
  }

  bool text(const char* key, std::string& out, bool required = false) {
    const Json* value = find(key);
    if (!value) return !required || fail(std::string("\"") + key + "\" is missing");
    if (!value->is_string()) return fail(std::string("\"") + key + "\" is a text");
    out = value->get<std::string>();
    if (required && out.empty()) return fail(std::string("\"") + key + "\" is empty");
    return true;
  }

  bool whole(const char* key, long& out, long min, long max) {
    const Json* value = find(key);
    if (!value) return true;
    if (!value->is_number_integer() || value->get<long long>() < min ||
        value->get<long long>() > max)
      return fail(std::string("\"") + key + "\" is a whole number of " + std::to_string(min) +
                  " to " + std::to_string(max));
    out = static_cast<long>(value->get<long long>());
    return true;
  }

  bool real(const char* key, float& out) {
    const Json* value = find(key);
    if (!value) return true;
    if (!value->is_number() || !std::isfinite(value->get<float>()))
      return fail(std::string("\"") + key + "\" is a number");
    out = value->get<float>();
    return true;
  }

  bool flag(const char* key, bool& out) {
    const Json* value = find(key);
    if (!value) return true;
    if (!value->is_boolean()) return fail(std::string("\"") + key + "\" is true or false");
    out = value->get<bool>();
    return true;
  }

  template <size_t N>
  bool named(const char* key, const NamedValue (&table)[N], short& out) {
    const Json* value = find(key);
    if (!value) return true;
    int found = 0;
    if (!value->is_string() || !valueOf(table, value->get<std::string>(), found))
      return fail(std::string("\"") + key + "\" is " + namesOf(table));
    out = static_cast<short>(found);
    return true;
  }

  bool colour(const char* key, short& out) {
    const Json* value = find(key);
    std::string why;
    if (value && !colourFromJson(*value, out, why))
      return fail("\"" + std::string(key) + "\": " + why);
    return true;
  }

  // Refuses the members that no getter read.
  bool finish() {
    if (unread_.empty()) return true;
    return fail("unknown member \"" + *unread_.begin() + "\"");
  }

  bool fail(const std::string& why) {
    if (why_.empty()) why_ = why;
    return false;
  }

 private:
  const Json& object_;
  std::string& why_;
  std::set<std::string> unread_;
};

// Builds a project from the sections of a description, one after the other in the order
// their references need: property definitions before the products that hold values of
// them.
class DescriptionReader {
 public:
  explicit DescriptionReader(CKdProject& project) : project_(project) {}

  bool read(const Json& root, std::string& why) {
    if (!root.is_object()) return fail(why, "", "a dataset description is a JSON object");
    static const std::set<std::string> kSections = {"about",
                                                    "propertyDefinitions",
                                                    "partIdFormats",
                                                    "linetypes",
                                                    "textStyles",
                                                    "layers",
                                                    "dimensionTextFormats",
                                                    "symbols",
                                                    "polyObjectDefinitions",
                                                    "catalogue",
                                                    "reports"};
    for (auto it = root.begin(); it != root.end(); ++it)
      if (!kSections.count(it.key())) return fail(why, "", "unknown section \"" + it.key() + "\"");
    return section(root, "propertyDefinitions", why, &DescriptionReader::propertyDef) &&
           section(root, "partIdFormats", why, &DescriptionReader::partIdFormat) &&
           section(root, "linetypes", why, &DescriptionReader::linetype) &&
           section(root, "textStyles", why, &DescriptionReader::textStyle) &&
           section(root, "layers", why, &DescriptionReader::layer) &&
           section(root, "dimensionTextFormats", why, &DescriptionReader::format) &&
           section(root, "symbols", why, &DescriptionReader::symbol) &&
           section(root, "polyObjectDefinitions", why, &DescriptionReader::polyProduct) &&
           catalogue(root, why) && resolveItems(why) &&
           section(root, "reports", why, &DescriptionReader::report);
  }

 private:
  using ItemReader = bool (DescriptionReader::*)(const Json& item, Members& members,
                                                 std::string& name);

  static bool fail(std::string& why, const std::string& where, const std::string& what) {
    why = where.empty() ? what : where + ": " + what;
    return false;
  }

  // Reads each item of the list `key`, naming the item ("layers[3]", with its name when it
  // has one) in a failure.
  bool section(const Json& root, const char* key, std::string& why, ItemReader readItem) {
    auto it = root.find(key);
    if (it == root.end()) return true;
    if (std::string(key) == "textStyles") project_.textStyleDefs().reset();
    return list(*it, key, why, readItem);
  }

  // Reads each item of the list `items`, found at `place`.
  bool list(const Json& items, const std::string& place, std::string& why, ItemReader readItem) {
    if (!items.is_array()) return fail(why, place, "a list of definitions ([ ... ])");
    for (size_t i = 0; i < items.size(); ++i) {
      const Json& item = items[i];
      std::string where = place + "[" + std::to_string(i) + "]";
      place_ = where;
      if (!item.is_object()) return fail(why, where, "a definition is an object ({ ... })");
      std::string problem, name;
      Members members(item, problem);
      const bool ok = (this->*readItem)(item, members, name) && members.finish();
      if (!ok) {
        if (!name.empty()) where += " (\"" + name + "\")";
        return fail(why, where, problem);
      }
    }
    return true;
  }

  bool propertyDef(const Json&, Members& m, std::string& name) {
    CKdPropertyDefArray& defs = project_.propertyDefs();
    std::string desc, typeName;
    long id = 0;
    if (!m.text("name", name, true) || !m.whole("id", id, 1, CKdPropertyDefArray::kMaxId) ||
        !m.text("description", desc) || !m.text("type", typeName, true))
      return false;
    int type = 0;
    if (!valueOf(kValueTypeNames, typeName, type))
      return m.fail("\"type\" is " + namesOf(kValueTypeNames));
    CKdUnit unit;
    std::string why;
    if (const Json* value = m.find("unit"); value && !unitFromJson(*value, unit, why))
      return m.fail("\"unit\": " + why);
    long decimals = unit.defaultCountOfDesimal();
    if (!m.whole("decimals", decimals, 0, 15)) return false;
    const CWsz wideName = CWsz::fromUtf8(name.c_str());
    if (defs.findName(wideName))
      return m.fail("a property definition of that name is listed before");
    if (!CKdPropertyDefArray::validateName(nullptr, defs, wideName, nullptr))
      return m.fail("not a name of a property definition: " + lastBox());
    if (id == 0) id = defs.nextId(1, CKdPropertyDefArray::kMaxId);
    if (defs.findId(id)) return m.fail("id " + std::to_string(id) + " is listed before");
    CKdPropertyDef def(id, wideName, CWsz::fromUtf8(desc.c_str()),
                       static_cast<CKdPropertyValue::valueTypeId>(type), unit,
                       static_cast<int>(decimals));
    defs.append(&def);
    return true;
  }

  bool linetype(const Json&, Members& m, std::string& name) {
    std::string desc, pattern;
    if (!m.text("name", name, true) || !m.text("description", desc) || !m.text("pattern", pattern))
      return false;
    const CWsz wideName = CWsz::fromUtf8(name.c_str());
    if (VxKd::isCommonLinetypeName(wideName))
      return m.fail("BYLAYER, BYBLOCK and CONTINUOUS are built in");
    if (project_.linetypeDefs().findLinetypeDef(wideName))
      return m.fail("a linetype of that name is listed before");
    CKdLinetypeDef def(wideName, CWsz::fromUtf8(desc.c_str()), CWsz::fromUtf8(pattern.c_str()));
    project_.linetypeDefs().append(&def);
    return true;
  }

  bool textStyle(const Json&, Members& m, std::string& name) {
    CKdTextStyleDef style;
    std::string typeFace, fontFile, bigFontFile;
    long id = 0, charSet = 0, pitch = 0, family = 0, flags = 0;
    bool bold = false, italic = false, vertical = false, shapeFile = false;
    float obl = style.oblAngle(), size = style.textSize(), xScale = style.xScale();
    if (!m.text("name", name, true) || !m.whole("id", id, 1, CKdTextStyleDefArray::kMaxId) ||
        !m.text("typeFace", typeFace) || !m.text("fontFile", fontFile) ||
        !m.text("bigFontFile", bigFontFile) || !m.flag("bold", bold) || !m.flag("italic", italic) ||
        !m.flag("vertical", vertical) || !m.flag("hasShapeFile", shapeFile) ||
        !m.whole("charSet", charSet, INT32_MIN, INT32_MAX) ||
        !m.whole("pitch", pitch, INT32_MIN, INT32_MAX) ||
        !m.whole("family", family, INT32_MIN, INT32_MAX) || !m.whole("flags", flags, 0, 255) ||
        !m.real("oblAngle", obl) || !m.real("textSize", size) || !m.real("xScale", xScale))
      return false;
    CKdTextStyleDefArray& styles = project_.textStyleDefs();
    if (styles.findStyle(CWsz::fromUtf8(name.c_str())))
      return m.fail("a text style of that name is listed before");
    if (id && styles.findId(id)) return m.fail("id " + std::to_string(id) + " is listed before");
    style.setDbId(id);
    style.setName(CWsz::fromUtf8(name.c_str()));
    style.setTypeFace(CWsz::fromUtf8(typeFace.c_str()));
    style.setFontFile(CWsz::fromUtf8(fontFile.c_str()));
    style.setBigFontFile(CWsz::fromUtf8(bigFontFile.c_str()));
    style.setBold(bold);
    style.setItalic(italic);
    style.setVertical(vertical);
    style.setHasShapeFile(shapeFile);
    style.setCharSet(charSet);
    style.setPitch(pitch);
    style.setFamily(family);
    style.setFlags(static_cast<uint8_t>(flags));
    style.setOblAngle(obl);
    style.setTextSize(size);
    style.setXScale(xScale);
    if (!styles.append(&style)) return m.fail("no id is free");
    return true;
  }

  bool layer(const Json&, Members& m, std::string& name) {
    long number = 0;
    std::string linetype;
    if (!m.whole("number", number, 1, INT32_MAX)) return false;
    // A new project holds no layers until it is read back: they are the hard defaults then.
    if (project_.layerDefs().length() == 0) project_.layerDefs().buildHardDefaultsArray();
    CKdLayerDef* def = project_.layerDefs().findLayerDef(number);
    if (!def) return m.fail("no layer has the number " + std::to_string(number));
    short colour = def->colorNmb();
    name = narrow(def->name());
    linetype = narrow(def->linetype());
    // The description is the program's, and listed only so that a layer shown by `vkd
    // show` can be put back.
    std::string desc;
    if (!m.text("name", name) || !m.text("linetype", linetype) || !m.colour("colour", colour) ||
        !m.text("description", desc))
      return false;
    if (name.empty()) return m.fail("\"name\" is empty");
    if (!changedLayers_.insert(number).second) return m.fail("the layer is listed before");
    def->setName(CWsz::fromUtf8(name.c_str()));
    def->setLinetype(CWsz::fromUtf8(linetype.c_str()));
    def->setColorNmb(colour);
    return true;
  }

  bool format(const Json&, Members& m, std::string& name) {
    CKdDimtextFormat format;
    long id = 0;
    std::string fmt, style = narrow(format.styleName());
    float height = format.textHeight(), fixed = format.fixedBorderDim(),
          itemSize = format.refItemSize();
    short colour = format.textColor(), border = 0, refline = 0, alignment = 0;
    if (!m.whole("id", id, 1, CKdPropertyDefArray::kMaxId) || !m.text("description", name) ||
        !m.text("format", fmt, true) || !m.text("style", style) || !m.real("height", height) ||
        !m.colour("colour", colour) || !m.named("border", kBorderNames, border) ||
        !m.named("refline", kReflineNames, refline) ||
        !m.named("alignment", kAlignmentNames, alignment) || !m.real("fixedBorderSize", fixed) ||
        !m.real("refItemSize", itemSize))
      return false;
    CKdDimtextFormatArray& formats = project_.dimTextFormats();
    if (id == 0) id = formats.nextId(1, CKdPropertyDefArray::kMaxId);
    if (formats.findFmt(id)) return m.fail("id " + std::to_string(id) + " is listed before");
    if (height <= 0) return m.fail("\"height\" is above 0");
    format.setId(id);
    format.setDesc(CWsz::fromUtf8(name.c_str()));
    format.setFmt(CWsz::fromUtf8(fmt.c_str()));
    format.setStyleName(CWsz::fromUtf8(style.c_str()));
    format.setTextHeight(height);
    format.setFixedBorderDim(fixed);
    format.setRefItemSize(itemSize);
    format.setTextColor(colour);
    format.options().setBorderType(border);
    format.options().setReflineType(refline);
    format.options().setAlignmentFlags(alignment);
    formats.append(&format);
    return true;
  }

  bool symbol(const Json&, Members& m, std::string& name) {
    long id = 0;
    std::string desc;
    if (!m.text("symbol", name, true) || !m.whole("id", id, 1, 99999999) ||
        !m.text("description", desc))
      return false;
    if (name.size() > CVxSymbolModel::maxSymbolIdLength)
      return m.fail("a symbol id has at most " + std::to_string(CVxSymbolModel::maxSymbolIdLength) +
                    " bytes");
    CVxSymbolModelArray& symbols = project_.symbols();
    if (symbols.find(name.c_str()) >= 0) return m.fail("a symbol of that id is listed before");
    if (id == 0) id = project_.nextSymbolDbId();
    if (symbols.findId(id)) return m.fail("id " + std::to_string(id) + " is listed before");
    std::vector<CGmNode> nodes;
    std::string why;
    const Json* drawing = m.find("drawing");
    if (!drawing) return m.fail("\"drawing\" is missing");
    if (!drawingFromJson(*drawing, nodes, why)) return m.fail("\"drawing\": " + why);
    // A symbol without a drawing is not read back from a dataset.
    if (nodes.empty()) return m.fail("\"drawing\" is empty");
    CVxSymbolModel model(id, name.c_str(), CWsz::fromUtf8(desc.c_str()), std::move(nodes));
    symbols.append(&model);
    return true;
  }

  bool partIdFormat(const Json&, Members& m, std::string& name) {
    long id = 0;
    std::string guid, format;
    if (!m.whole("id", id, 1, CKdPartIdFormatArray::kMaxId) || !m.text("guid", guid) ||
        !m.text("description", name) || !m.text("format", format))
      return false;
    CKdPartIdFormatArray& formats = project_.partIdFormats();
    if (id == 0) id = formats.nextId(1, CKdPartIdFormatArray::kMaxId);
    if (formats.findId(id)) return m.fail("id " + std::to_string(id) + " is listed before");
    CKdGuid value;
    if (!guidOf(guid, value)) return m.fail(kGuidForm);
    CKdPartIdFormat def;
    def.setDbId(id);
    def.setGuid(value);
    def.setDesc(CWsz::fromUtf8(name.c_str()));
    def.setFormat(CWsz::fromUtf8(format.c_str()));
    formats.append(&def);
    return true;
  }

  // A product of a poly-object set: its "set", then what every product has.
  bool polyProduct(const Json&, Members& m, std::string& name) {
    std::string setName;
    if (!m.text("set", setName, true)) return false;
    const PolySet* set = findPolySet(setName);
    if (!set) return m.fail("\"set\" is \"duct\", \"pipe\", \"electric\" or \"data\"");
    return product(m, *project_.polyDefSets(set->type), CKdProductDefArray::kMaxId,
                   std::string(" of the ") + set->name + " set", name);
  }

  // A group's product.
  bool groupProduct(const Json&, Members& m, std::string& name) {
    return product(m, group_->products(), CKdProductDefArray::kMaxGroupProductId, " in the group",
                   name);
  }

  // What every product has, appended to `products` (ids 1 to `maxId`).
  bool product(Members& m, CKdProductDefArray& products, long maxId, const std::string& in,
               std::string& name) {
    std::string guid, linetype, symbol;
    long id = 0, partIdFormat = 0, system = 0, hpvType = HpvSystems::noTypeId;
    short colour = CKdProductDef::colorByLayer;
    float width = 0;
    if (!m.whole("id", id, 1, maxId) || !m.text("description", name) || !m.text("guid", guid) ||
        !m.whole("partIdFormat", partIdFormat, 0, INT32_MAX) || !m.colour("colour", colour) ||
        !m.text("linetype", linetype) || !m.real("lineWidth", width) || !m.text("symbol", symbol) ||
        !m.whole("system", system, 0, INT32_MAX) ||
        !m.whole("hpvSystemType", hpvType, INT32_MIN, INT32_MAX))
      return false;
    if (id == 0) id = products.nextId(1, maxId);
    if (id == 0) return m.fail("no id of 1 to " + std::to_string(maxId) + " is free" + in);
    if (products.findId(id)) return m.fail("id " + std::to_string(id) + in + " is listed before");
    CKdProductDef product;
    product.setDbId(id);
    CKdGuid value;
    if (!guidOf(guid, value)) return m.fail(kGuidForm);
    if (!value.isNull() &&
        !guids_.insert(guid.empty() ? narrow(value.toWsz()) : upper(guid)).second)
      return m.fail("the GUID " + guid + " is another product's");
    product.setGuid(value);
    product.setDesc(CWsz::fromUtf8(name.c_str()));
    product.setPartIdFmtId(partIdFormat);
    product.setColorNmb(colour);
    product.setLineType(CWsz::fromUtf8(linetype.c_str()));
    product.setLineWidth(width);
    if (symbol.size() > CKdProductDef::maxSymbolIdLength)
      return m.fail("a symbol id has at most " + std::to_string(CKdProductDef::maxSymbolIdLength) +
                    " bytes");
    product.setSymbolId(symbol.c_str());
    product.setSystemId(system);
    product.setHpvSystemTypeId(static_cast<HpvSystems::TypeId>(hpvType));
    if (!properties(m.find("properties"), product.properties(), m) ||
        !texts(m.find("texts"), product, m))
      return false;
    products.append(&product);
    return true;
  }

  // The catalogue: the root of the group tree with its products, blocks and top groups.
  bool catalogue(const Json& root, std::string& why) {
    auto it = root.find("catalogue");
    if (it == root.end()) return true;
    if (!it->is_object()) return fail(why, "catalogue", "the catalogue is an object ({ ... })");
    for (auto member = it->begin(); member != it->end(); ++member)
      if (member.key() != "products" && member.key() != "blocks" && member.key() != "groups")
        return fail(why, "catalogue",
                    "unknown member \"" + member.key() + "\" (products, blocks, groups)");
    return groupContent(*it, CKdProductGroup::rootGroupDefinitions, "catalogue", why);
  }

  // The products, blocks and sub groups of the group `id`, whose place is `place`.
  bool groupContent(const Json& object, long id, const std::string& place, std::string& why) {
    CKdProductGroupArray& groups = project_.productGroups();
    if (!groups.findGroup(CKdProductGroup::rootGroupDefinitions)) {
      CKdProductGroup root;
      root.init(CKdProductGroup::rootGroupDefinitions, 0, 0, CKdGuid(),
                VxKd::lngDbText(6214, L"#Group definitions"));
      groups.append(&root);
    }
    for (const char* key : {"products", "blocks"}) {
      auto it = object.find(key);
      if (it == object.end()) continue;
      group_ = groups.findGroup(id);
      if (!list(*it, place + "." + key, why,
                std::string(key) == "products" ? &DescriptionReader::groupProduct
                                               : &DescriptionReader::block))
        return false;
    }
    auto it = object.find("groups");
    if (it == object.end()) return true;
    if (!it->is_array()) return fail(why, place + ".groups", "a list of groups ([ ... ])");
    for (size_t i = 0; i < it->size(); ++i) {
      const Json& item = (*it)[i];
      std::string where = place + ".groups[" + std::to_string(i) + "]";
      if (!item.is_object()) return fail(why, where, "a group is an object ({ ... })");
      std::string problem, name;
      long child = 0;
      {
        Members m(item, problem);
        // The content is read below, group by group.
        m.find("products");
        m.find("blocks");
        m.find("groups");
        // A group that a dataset holds outside the tree names its owner.
        long owner = id;
        if (!m.whole("owner", owner, INT32_MIN, INT32_MAX) || !group(m, owner, name, child) ||
            !m.finish()) {
          if (!name.empty()) where += " (\"" + name + "\")";
          return fail(why, where, problem);
        }
      }
      if (!name.empty()) where += " (\"" + name + "\")";
      if (!groupContent(item, child, where, why)) return false;
    }
    return true;
  }

  // A group under `owner`; its id into `id`.
  bool group(Members& m, long owner, std::string& name, long& id) {
    CKdProductGroupArray& groups = project_.productGroups();
    std::string guid;
    long order = 0;
    id = 0;
    if (!m.whole("id", id, 1, CKdProductGroup::kMaxId) || !m.text("description", name, true) ||
        !m.text("guid", guid) || !m.whole("order", order, 1, INT32_MAX))
      return false;
    if (id == 0) id = groups.nextId(1, CKdProductGroup::kMaxId);
    if (groups.findGroup(id)) return m.fail("id " + std::to_string(id) + " is listed before");
    CKdGuid value;
    if (!guidOf(guid, value)) return m.fail(kGuidForm);
    if (!value.isNull() && groups.findGroup(value)) return m.fail("the GUID is another group's");
    CKdProductGroup group;
    group.init(id, owner, order ? order : groups.nextSortOrderNmbUnderGroup(owner), value,
               CWsz::fromUtf8(name.c_str()));
    groups.append(&group);
    return true;
  }

  // A block of the group being read.
  bool block(const Json&, Members& m, std::string& name) {
    std::string guid;
    if (!m.text("name", name, true) || !m.text("guid", guid)) return false;
    CKdGuid value;
    if (!guidOf(guid, value)) return m.fail(kGuidForm);
    CKdBlock block;
    block.setGuid(value);
    block.setDesc(CWsz::fromUtf8(name.c_str()));
    const Json* items = m.find("items");
    if (items && !items->is_array()) return m.fail("\"items\" is a list of items");
    for (size_t i = 0; items && i < items->size(); ++i) {
      const std::string where = "\"items\"[" + std::to_string(i) + "]: ";
      if (!(*items)[i].is_object()) return m.fail(where + "an item is an object");
      std::string product;
      CKdBlockItem read;
      if (!blockItem((*items)[i], read, product)) return m.fail(where + problem_);
      block.add(read);
      if (!product.empty())
        pending_.push_back({place_ + " (\"" + name + "\"): " + where, group_->dbId(),
                            group_->blocks().length(), static_cast<int>(i), product});
    }
    group_->blocks().append(&block);
    return true;
  }

  // One item of a block; the product it names into `product`, to be found when the whole
  // catalogue is read.
  bool blockItem(const Json& object, CKdBlockItem& item, std::string& product) {
    problem_.clear();
    Members m(object, problem_);
    std::string name, linetype;
    long type = 0;
    short colour = 0;
    float scale = 1, width = 0;
    CGmPoint at;
    CGmVector xAxis(1, 0), yAxis;
    if (!m.text("name", name) || !m.text("product", product) || !m.text("linetype", linetype) ||
        !m.colour("colour", colour) || !m.real("scale", scale) || !m.real("lineWidth", width) ||
        !m.whole("type", type, INT16_MIN, INT16_MAX) || !point(m, "at", at) ||
        !vector(m, "xAxis", xAxis))
      return false;
    yAxis = xAxis.perpendicular();
    if (!vector(m, "yAxis", yAxis)) return false;
    if (const Json* graphics = m.find("graphics")) {
      CGmModel model;
      std::string why;
      if (!graphicsFromJson(*graphics, model, why)) return m.fail("\"graphics\": " + why);
      if (!item.setGraphics(model))
        return m.fail("\"graphics\": more than an item can store (" +
                      std::to_string(CKdBlockItem::maxGraphicsBytes) + " bytes)");
    }
    item.setName(CWsz::fromUtf8(name.c_str()));
    item.setLineType(CWsz::fromUtf8(linetype.c_str()));
    item.setColorNmb(colour);
    item.setScale(scale);
    item.setLineWidth(width);
    item.setType(static_cast<short>(type));
    item.setPosition(at);
    item.setFirstAxis(xAxis);
    item.setSecondAxis(yAxis);
    if (!properties(m.find("properties"), item.properties(), m)) return false;
    return m.finish();
  }

  bool point(Members& m, const char* key, CGmPoint& out) {
    CGmVector v(out.x, out.y);
    if (!vector(m, key, v)) return false;
    out = CGmPoint(v.x, v.y);
    return true;
  }

  bool vector(Members& m, const char* key, CGmVector& out) {
    const Json* value = m.find(key);
    if (!value) return true;
    if (!value->is_array() || value->size() != 2 || !(*value)[0].is_number() ||
        !(*value)[1].is_number())
      return m.fail(std::string("\"") + key + "\" is [x, y]");
    out = CGmVector((*value)[0].get<double>(), (*value)[1].get<double>());
    return true;
  }

  // The products that block items name, now that every product is there: by GUID, or by a
  // key (duct:3, GROUP-PATH:ID).
  bool resolveItems(std::string& why) {
    if (pending_.empty()) return true;
    const std::vector<ProductRef> products = allProducts(project_);
    for (const PendingItem& p : pending_) {
      CKdGuid guid;
      if (!guid.fromSz(p.product.c_str())) {
        for (const ProductRef& ref : products)
          if (cuSz::equalNoCase(CWsz::fromUtf8(ref.key.c_str()), CWsz::fromUtf8(p.product.c_str())))
            guid = ref.product->guid();
        if (guid.isNull())
          return fail(why, p.where.substr(0, p.where.size() - 2),
                      "\"product\": no product has the key \"" + p.product +
                          "\" (duct:3, GROUP-PATH:ID) or GUID");
      }
      CKdProductGroup* group = project_.productGroups().findGroup(p.group);
      CKdBlock* block = group->blocks().objAt(p.block);
      block->items().objAt(p.item)->setGuid(guid);
    }
    return true;
  }

  bool report(const Json&, Members& m, std::string& name) {
    CKdReport report;
    long id = 0;
    std::string orientation, style = narrow(report.fontStyleName()), sortBy, sortOrder;
    float fontHeight = report.fontHeight(), cellHeight = report.cellHeight(),
          cellWidth = report.cellWidth(), firstColWidth = report.firstColWidth(),
          firstRowHeight = -1;
    bool vertical = false;
    if (!m.whole("id", id, 1, CKdPropertyDefArray::kMaxId) || !m.text("description", name) ||
        !m.text("orientation", orientation) || !m.text("style", style) ||
        !m.real("fontHeight", fontHeight) || !m.real("cellHeight", cellHeight) ||
        !m.real("cellWidth", cellWidth) || !m.real("firstColWidth", firstColWidth) ||
        !m.real("firstRowHeight", firstRowHeight) || !m.flag("verticalHeadings", vertical) ||
        !m.text("sortOrder", sortOrder))
      return false;
    CKdObjectArray<CKdReport>& reports = project_.reportDefs();
    if (id == 0) id = reports.nextId(1, CKdPropertyDefArray::kMaxId);
    if (reports.findId(id)) return m.fail("id " + std::to_string(id) + " is listed before");
    report.setDbId(id);
    report.setDesc(CWsz::fromUtf8(name.c_str()));
    int value = CKdReport::horizontal;
    if (!orientation.empty() && !valueOf(kOrientationNames, orientation, value))
      return m.fail("\"orientation\" is " + namesOf(kOrientationNames));
    report.setOrientation(static_cast<CKdReport::reportOrient>(value));
    report.setFontStyleName(CWsz::fromUtf8(style.c_str()));
    report.setFontHeight(fontHeight);
    report.setCellHeight(cellHeight);
    report.setCellWidth(cellWidth);
    report.setFirstColWidth(firstColWidth);
    report.setVerticalTextsInFirstRow(vertical);
    if (const Json* lists = m.find("lists")) {
      if (!lists->is_array()) return m.fail("\"lists\" is a list of " + namesOf(kEntityNames));
      report.entityTypeIds().empty();
      for (const Json& entity : *lists) {
        int kind = 0;
        if (!entity.is_string() || !valueOf(kEntityNames, entity.get<std::string>(), kind))
          return m.fail("\"lists\" is a list of " + namesOf(kEntityNames));
        report.entityTypeIds().append(static_cast<int16_t>(kind));
      }
    }
    if (const Json* groups = m.find("deviceGroups")) {
      if (!groups->is_array()) return m.fail("\"deviceGroups\" is a list of group paths");
      for (const Json& path : *groups) {
        const CKdProductGroup* group =
            path.is_string() ? groupAt(path.get<std::string>()) : nullptr;
        if (!group) return m.fail("\"deviceGroups\": no group has the path or GUID " + path.dump());
        report.devGroups().append(&group->guid());
      }
    }
    if (const Json* columns = m.find("columns")) {
      if (!columns->is_array()) return m.fail("\"columns\" is a list of columns");
      for (size_t i = 0; i < columns->size(); ++i) {
        const std::string where = "\"columns\"[" + std::to_string(i) + "]: ";
        std::string problem, header1, header2, line;
        Members c((*columns)[i], problem);
        CSReportColumn column;
        float length = column.length();
        long property = 0;
        if (!(*columns)[i].is_object()) return m.fail(where + "a column is an object");
        if (!propertyRef(c, "property", property) || !c.real("length", length) ||
            !c.text("header1", header1) || !c.text("header2", header2) || !c.text("line", line) ||
            !c.finish())
          return m.fail(where + problem);
        int lineType = 0;
        if (!line.empty() && !valueOf(kColumnLineNames, line, lineType))
          return m.fail(where + "\"line\" is " + namesOf(kColumnLineNames));
        column.setPropertyId(property);
        column.setLength(length);
        column.setHeader1(header1.c_str());
        column.setHeader2(header2.c_str());
        column.setLineType(static_cast<short>(lineType));
        if (!report.columns().append(&column))
          return m.fail(where + "a report has at most 130 columns");
      }
    }
    long sortProperty = 0;
    if (!propertyRef(m, "sortBy", sortProperty)) return false;
    report.setSortPropertyId(sortProperty);
    int order = VxKd::sortAscending;
    if (!sortOrder.empty() && !valueOf(kSortNames, sortOrder, order))
      return m.fail("\"sortOrder\" is " + namesOf(kSortNames));
    report.setSortType(static_cast<VxKd::SortType>(order));
    // The heading row is as high as its headings need, unless the description says.
    report.setFirstRowHeight(firstRowHeight > 0 ? firstRowHeight : report.calcFirstRowHeight());
    reports.append(&report);
    return true;
  }

  // A property definition named by its name or given by its id (a special property's
  // negative id included), into `id`; 0 when left out.
  bool propertyRef(Members& m, const char* key, long& id) {
    const Json* value = m.find(key);
    if (!value) return true;
    if (value->is_number_integer()) {
      id = static_cast<long>(value->get<long long>());
      return true;
    }
    const CKdPropertyDef* def =
        value->is_string()
            ? project_.propertyDefs().findName(CWsz::fromUtf8(value->get<std::string>().c_str()))
            : nullptr;
    if (!def)
      return m.fail(std::string("\"") + key + "\": no property definition has the name " +
                    value->dump());
    id = def->dbId();
    return true;
  }

  // The group of a path ("Heating/Valves") or GUID.
  const CKdProductGroup* groupAt(const std::string& text) const {
    CKdGuid guid;
    if (guid.fromSz(text.c_str())) return project_.productGroups().findGroup(guid);
    return project_.productGroups().findGroup(CKdProductGroup::rootGroupDefinitions,
                                              CWsz::fromUtf8(text.c_str()));
  }

  static constexpr const char* kGuidForm =
      "\"guid\" is 36 hexadecimal digits and hyphens (8-4-4-4-12)";

  // The GUID of `text`, or a fresh one for an empty text.
  static bool guidOf(const std::string& text, CKdGuid& out) {
    return text.empty() ? out.createValue() : out.fromSz(text.c_str());
  }

  static std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
  }

  // The values of a product or block item: an object from property names to values.
  bool properties(const Json* values, CKdPropertyArray& out, Members& m) {
    if (!values) return true;
    if (!values->is_object()) return m.fail("\"properties\" is an object of names and values");
    for (auto it = values->begin(); it != values->end(); ++it) {
      const std::string where = "\"properties\": \"" + it.key() + "\": ";
      const CKdPropertyDef* def =
          project_.propertyDefs().findName(CWsz::fromUtf8(it.key().c_str()));
      if (!def) return m.fail(where + "no property definition has that name");
      if (out.findName(def->name())) return m.fail(where + "the property is given twice");
      CKdProperty property(*def);
      const Json& value = it.value();
      std::string text;
      if (value.is_string())
        text = value.get<std::string>();
      else if (value.is_number())
        text = value.dump();
      else if (!value.is_null())
        return m.fail(where + "a value is a number, a text or null");
      if (!property.setValue(CWsz::fromUtf8(text.c_str())))
        return m.fail(where + "\"" + text + "\" is not a value of type " +
                      nameOf(kValueTypeNames, def->valueType()));
      out.append(&property);
    }
    return true;
  }

  // The product's integrated texts: a list of {"format": id, "offset": [x, y], "rotation":
  // degrees, "ucsDirection": bool}.
  bool texts(const Json* list, CKdProductDef& product, Members& m) {
    if (!list) return true;
    if (!list->is_array()) return m.fail("\"texts\" is a list of integrated texts");
    for (size_t i = 0; i < list->size(); ++i) {
      const std::string where = "\"texts\"[" + std::to_string(i) + "]: ";
      std::string problem;
      Members t((*list)[i], problem);
      long formatId = 0, rotation = 0;
      bool ucs = false;
      float offset[2] = {0, 0};
      if (!(*list)[i].is_object()) return m.fail(where + "an integrated text is an object");
      if (const Json* at = t.find("offset")) {
        if (!at->is_array() || at->size() != 2 || !(*at)[0].is_number() || !(*at)[1].is_number())
          return m.fail(where + "\"offset\" is [x, y]");
        offset[0] = (*at)[0].get<float>();
        offset[1] = (*at)[1].get<float>();
      }
      if (!t.whole("format", formatId, -1, INT32_MAX) ||
          !t.whole("rotation", rotation, INT16_MIN, INT16_MAX) || !t.flag("ucsDirection", ucs) ||
          !t.finish())
        return m.fail(where + problem);
      if (formatId == 0) return m.fail(where + "\"format\" is the id of a dimension text format");
      CKdIntegratedText text;
      text.setFormatId(formatId);
      text.setOffset(offset[0], offset[1]);
      text.setRotation(static_cast<short>(rotation));
      text.setDirectionByUcs(ucs);
      product.getIntegratedTexts().append(&text);
    }
    return true;
  }

  // The words of the box the library showed last, for a name it refused.
  std::string lastBox() const {
    const auto* ui = dynamic_cast<const ToolUiBackend*>(&CUiBackend::current());
    return ui ? ui->lastMessage() : std::string();
  }

  // A block item's product, found once the whole catalogue is read.
  struct PendingItem {
    std::string where;
    long group;
    int block;  // its index in the group's blocks
    int item;
    std::string product;
  };

  CKdProject& project_;
  std::set<long> changedLayers_;
  std::set<std::string> guids_;       // of the products read so far
  CKdProductGroup* group_ = nullptr;  // the group whose products or blocks are read
  std::string place_;                 // of the definition read
  std::string problem_;               // of the block item read
  std::vector<PendingItem> pending_;
};

// Writes a project as a description.
class DescriptionWriter {
 public:
  explicit DescriptionWriter(const CKdProject& project)
      : project_(project), products_(allProducts(project)) {}

  Json describe() const {
    Json out = Json::object();
    out["about"] =
        Json::array({"A dataset description written by vkd describe: vkd new --from "
                     "builds the dataset it describes."});
    out["propertyDefinitions"] = list(project_.propertyDefs());
    out["partIdFormats"] = list(project_.partIdFormats());
    // The built-in CONTINUOUS is in every dataset and is not described.
    Json linetypes = Json::array();
    for (int i = 0; i < project_.linetypeDefs().length(); ++i) {
      const CKdLinetypeDef& linetype = *project_.linetypeDefs().objAt(i);
      if (!CKdLinetypeDefArray::isBuiltInName(linetype.name()))
        linetypes.push_back(toJson(linetype));
    }
    out["linetypes"] = std::move(linetypes);
    out["textStyles"] = list(project_.textStyleDefs());
    out["layers"] = list(project_.layerDefs());
    out["dimensionTextFormats"] = list(project_.dimTextFormats());
    out["symbols"] = list(project_.symbols());
    Json products = Json::array();
    for (const PolySet& set : kPolySets) {
      const CKdProductDefArray& defs = *project_.polyDefSets(set.type);
      for (int i = 0; i < defs.length(); ++i) products.push_back(toJson(*defs.objAt(i), &set));
    }
    out["polyObjectDefinitions"] = std::move(products);
    out["catalogue"] = catalogue();
    Json reports = Json::array();
    for (int i = 0; i < project_.reportDefs().length(); ++i)
      reports.push_back(report(*project_.reportDefs().objAt(i)));
    out["reports"] = std::move(reports);
    return out;
  }

 private:
  template <typename Array>
  static Json list(const Array& array) {
    Json out = Json::array();
    for (int i = 0; i < array.length(); ++i) out.push_back(toJson(*array.objAt(i)));
    return out;
  }

  // The root with its content and the groups under it, then the groups that the tree does not
  // reach, each with its owner.
  Json catalogue() const {
    const CKdProductGroupArray& groups = project_.productGroups();
    Json out = Json::object();
    std::set<long> written;
    const CKdProductGroup* root = groups.findGroup(CKdProductGroup::rootGroupDefinitions);
    if (root) content(*root, out, written);
    for (int i = 0; i < groups.length(); ++i) {
      const CKdProductGroup& g = *groups.objAt(i);
      if (g.isRoot() || written.count(g.dbId())) continue;
      Json orphan = group(g, written);
      orphan["owner"] = g.ownerGroupId();
      out["groups"].push_back(std::move(orphan));
    }
    return out;
  }

  Json group(const CKdProductGroup& g, std::set<long>& written) const {
    written.insert(g.dbId());
    Json out = Json::object();
    out["id"] = g.dbId();
    if (!g.guid().isNull()) out["guid"] = narrow(g.guid().toWsz());
    out["description"] = narrow(g.desc());
    out["order"] = g.orderNmb();
    content(g, out, written);
    return out;
  }

  void content(const CKdProductGroup& g, Json& out, std::set<long>& written) const {
    if (g.products().length()) {
      Json products = Json::array();
      for (int i = 0; i < g.products().length(); ++i)
        products.push_back(toJson(*g.products().objAt(i), nullptr));
      out["products"] = std::move(products);
    }
    if (g.blocks().length()) {
      Json blocks = Json::array();
      for (int i = 0; i < g.blocks().length(); ++i) blocks.push_back(block(*g.blocks().objAt(i)));
      out["blocks"] = std::move(blocks);
    }
    CKdProductGroupArray children;
    project_.productGroups().getTopSubGroupsOf(g.dbId(), children);
    Json sub = Json::array();
    for (int i = 0; i < children.length(); ++i) {
      const CKdProductGroup* child = project_.productGroups().findGroup(children.idAt(i));
      if (child && !written.count(child->dbId())) sub.push_back(group(*child, written));
    }
    if (!sub.empty()) out["groups"] = std::move(sub);
  }

  Json block(const CKdBlock& b) const {
    Json out = Json::object();
    out["name"] = narrow(b.desc());
    if (!b.guid().isNull()) out["guid"] = narrow(b.guid().toWsz());
    Json items = Json::array();
    for (int i = 0; i < b.items().length(); ++i) items.push_back(item(*b.items().objAt(i)));
    out["items"] = std::move(items);
    return out;
  }

  Json item(const CKdBlockItem& item) const {
    Json out = Json::object();
    if (!item.name().isEmpty()) out["name"] = narrow(item.name());
    if (!item.guid().isNull()) {
      // The product by its key where the dataset has it, else the GUID as it stands.
      std::string product = narrow(item.guid().toWsz());
      for (const ProductRef& ref : products_)
        if (ref.product->guid() == item.guid()) product = ref.key;
      out["product"] = product;
    }
    if (item.hasGraphics()) {
      CGmModel model;
      if (model.load(item.graphicsData().data(), item.graphicsData().size()))
        out["graphics"] = graphicsJson(model);
    }
    auto xy = [](double x, double y) {
      return Json::array({real(static_cast<float>(x)), real(static_cast<float>(y))});
    };
    out["at"] = xy(item.position().x, item.position().y);
    out["xAxis"] = xy(item.firstAxis().x, item.firstAxis().y);
    out["yAxis"] = xy(item.secondAxis().x, item.secondAxis().y);
    if (item.scale() != 1.0f) out["scale"] = real(item.scale());
    if (item.colorNmb() != 0) out["colour"] = colourJson(item.colorNmb());
    if (!item.lineType().isEmpty()) out["linetype"] = narrow(item.lineType());
    if (item.lineWidth() != 0) out["lineWidth"] = real(item.lineWidth());
    if (item.getType() != 0) out["type"] = item.getType();
    if (item.properties().length()) {
      Json values = Json::object();
      for (int i = 0; i < item.properties().length(); ++i) {
        const CKdProperty* property = item.properties().objAt(i);
        values[narrow(property->name())] = propertyValueJson(*property);
      }
      out["properties"] = std::move(values);
    }
    return out;
  }

  // A property definition by its name where the dataset has it, else by its id.
  Json propertyRef(long id) const {
    const CKdPropertyDef* def = project_.propertyDefs().findId(id);
    return def ? Json(narrow(def->name())) : Json(id);
  }

  Json report(const CKdReport& r) const {
    Json out = Json::object();
    out["id"] = r.dbId();
    out["description"] = narrow(r.desc());
    out["orientation"] = nameOf(kOrientationNames, r.orientation())
                             ? Json(nameOf(kOrientationNames, r.orientation()))
                             : Json(static_cast<int>(r.orientation()));
    Json lists = Json::array();
    for (int16_t id : r.entityTypeIds())
      lists.push_back(nameOf(kEntityNames, id) ? Json(nameOf(kEntityNames, id)) : Json(id));
    out["lists"] = std::move(lists);
    if (r.devGroups().length()) {
      Json groups = Json::array();
      for (int i = 0; i < r.devGroups().length(); ++i) {
        const CKdGuid& guid = *r.devGroups().objAt(i);
        const CKdProductGroup* g = project_.productGroups().findGroup(guid);
        groups.push_back(g ? groupPathOf(project_.productGroups(), g->dbId())
                           : narrow(guid.toWsz()));
      }
      out["deviceGroups"] = std::move(groups);
    }
    Json columns = Json::array();
    for (int i = 0; i < r.columns().length(); ++i) {
      const CSReportColumn& c = *r.columns().at(i);
      Json column = Json::object();
      column["property"] = propertyRef(c.propertyId());
      column["length"] = real(c.length());
      if (*c.header1()) column["header1"] = c.header1();
      if (*c.header2()) column["header2"] = c.header2();
      const char* line = nameOf(kColumnLineNames, c.lineType());
      if (c.lineType() != 0) column["line"] = line ? Json(line) : Json(c.lineType());
      columns.push_back(std::move(column));
    }
    out["columns"] = std::move(columns);
    if (r.sortPropertyId() != 0) {
      out["sortBy"] = propertyRef(r.sortPropertyId());
      out["sortOrder"] = nameOf(kSortNames, r.sortType());
    }
    out["style"] = narrow(r.fontStyleName());
    out["fontHeight"] = real(r.fontHeight());
    out["cellHeight"] = real(r.cellHeight());
    out["cellWidth"] = real(r.cellWidth());
    out["firstRowHeight"] = real(r.firstRowHeight());
    out["firstColWidth"] = real(r.firstColWidth());
    if (r.verticalTextsInFirstRow()) out["verticalHeadings"] = true;
    return out;
  }

  const CKdProject& project_;
  const std::vector<ProductRef> products_;
};

}  // namespace

Json describeDataset(const CKdProject& project) { return DescriptionWriter(project).describe(); }

bool buildFromDescription(const std::string& text, CKdProject& project, std::string& why) {
  Json root = Json::parse(text, nullptr, false);
  if (root.is_discarded()) {
    // Parsed again for the place of the error: only the throwing parser says where. Its
    // message begins with the exception's own name, which says nothing to a reader.
    try {
      Json ignored = Json::parse(text);
    } catch (const Json::parse_error& e) {
      const std::string what = e.what();
      const size_t name = what.find("] ");
      why = "not JSON: " + (name == std::string::npos ? what : what.substr(name + 2));
    }
    if (why.empty()) why = "not JSON";
    return false;
  }
  return DescriptionReader(project).read(root, why);
}

}  // namespace vkd
