#include "dataset_json.h"

#include <cmath>
#include <map>
#include <set>

#include "json_form.h"
#include "symbol_drawing.h"
#include "vxkd/foundation/startup.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"

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
    static const std::set<std::string> kSections = {
        "about",  "propertyDefinitions",  "linetypes", "textStyles",
        "layers", "dimensionTextFormats", "symbols",   "polyObjectDefinitions"};
    for (auto it = root.begin(); it != root.end(); ++it)
      if (!kSections.count(it.key())) return fail(why, "", "unknown section \"" + it.key() + "\"");
    return section(root, "propertyDefinitions", why, &DescriptionReader::propertyDef) &&
           section(root, "linetypes", why, &DescriptionReader::linetype) &&
           section(root, "textStyles", why, &DescriptionReader::textStyle) &&
           section(root, "layers", why, &DescriptionReader::layer) &&
           section(root, "dimensionTextFormats", why, &DescriptionReader::format) &&
           section(root, "symbols", why, &DescriptionReader::symbol) &&
           section(root, "polyObjectDefinitions", why, &DescriptionReader::product);
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
    if (!it->is_array()) return fail(why, key, "a list of definitions ([ ... ])");
    if (std::string(key) == "textStyles") project_.textStyleDefs().reset();
    for (size_t i = 0; i < it->size(); ++i) {
      const Json& item = (*it)[i];
      std::string where = std::string(key) + "[" + std::to_string(i) + "]";
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

  bool product(const Json&, Members& m, std::string& name) {
    std::string setName, guid, linetype, symbol;
    long id = 0, partIdFormat = 0, system = 0, hpvType = HpvSystems::noTypeId;
    short colour = CKdProductDef::colorByLayer;
    float width = 0;
    if (!m.text("set", setName, true)) return false;
    const PolySet* set = findPolySet(setName);
    if (!set) return m.fail("\"set\" is \"duct\", \"pipe\", \"electric\" or \"data\"");
    CKdProductDefArray& products = *project_.polyDefSets(set->type);
    if (!m.whole("id", id, 1, CKdProductDefArray::kMaxId) || !m.text("description", name) ||
        !m.text("guid", guid) || !m.whole("partIdFormat", partIdFormat, 0, INT32_MAX) ||
        !m.colour("colour", colour) || !m.text("linetype", linetype) ||
        !m.real("lineWidth", width) || !m.text("symbol", symbol) ||
        !m.whole("system", system, 0, INT32_MAX) ||
        !m.whole("hpvSystemType", hpvType, INT32_MIN, INT32_MAX))
      return false;
    if (id == 0) id = products.nextId(1, CKdProductDefArray::kMaxId);
    if (products.findId(id))
      return m.fail("id " + std::to_string(id) + " of the " + set->name + " set is listed before");
    CKdProductDef product;
    product.setDbId(id);
    CKdGuid value;
    if (guid.empty() ? !value.createValue() : !value.fromSz(guid.c_str()))
      return m.fail("\"guid\" is 36 hexadecimal digits and hyphens (8-4-4-4-12)");
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
    if (!properties(m.find("properties"), product, m) || !texts(m.find("texts"), product, m))
      return false;
    products.append(&product);
    return true;
  }

  // The product's values: an object from property names to values.
  bool properties(const Json* values, CKdProductDef& product, Members& m) {
    if (!values) return true;
    if (!values->is_object()) return m.fail("\"properties\" is an object of names and values");
    for (auto it = values->begin(); it != values->end(); ++it) {
      const std::string where = "\"properties\": \"" + it.key() + "\": ";
      const CKdPropertyDef* def =
          project_.propertyDefs().findName(CWsz::fromUtf8(it.key().c_str()));
      if (!def) return m.fail(where + "no property definition has that name");
      if (product.properties().findName(def->name()))
        return m.fail(where + "the property is given twice");
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
      product.properties().append(&property);
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

  CKdProject& project_;
  std::set<long> changedLayers_;
};

}  // namespace

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
