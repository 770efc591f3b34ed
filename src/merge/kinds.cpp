#include "merge/kinds.h"

#include <cstring>
#include <unordered_set>

#include "vxkd/ui/language.h"

namespace VxKd {

namespace {

// The names of the kinds in the text forms, and their headings.
struct KindName {
  const char* key;
  long textId;
  const wchar_t* title;
};
constexpr KindName kKindNames[kindCount] = {
    {"propertyDefinitions", 18410, L"#Property definitions"},
    {"layers", 18411, L"#Layer definitions"},
    {"symbols", 18412, L"#2D symbols"},
    {"textStyles", 18413, L"#Text styles"},
    {"linetypes", 18414, L"#Linetypes"},
    {"dimensionTextFormats", 18415, L"#Dimension text formats"},
    {"ductDefinitions", 18416, L"#Duct definitions"},
    {"pipeDefinitions", 18417, L"#Pipe definitions"},
    {"dataDefinitions", 18418, L"#Data cable definitions"},
    {"electricDefinitions", 18419, L"#Electric cable definitions"},
};

// The value types by their names in the text form.
constexpr const char* kValueTypeNames[] = {"none", "text", "int16", "int32", "single", "double"};
constexpr int kValueTypeCount = sizeof kValueTypeNames / sizeof kValueTypeNames[0];

std::string utf8(const wchar_t* text) { return cuSz::toUtf8(text ? text : L""); }

// What every kind's traits may leave out. `D` is the traits class itself.
template <class D>
struct TraitsBase {
  static constexpr bool kCanCreate = true;
  static constexpr bool kHasIds = true;
  static constexpr long kMinId = 1;
  template <class T>
  static CWsz refName(const T&) {
    return {};
  }
  template <class T>
  static bool check(const CKdProject&, const T&, const JsonNode&, LoadContext&) {
    return true;
  }
  template <class T>
  static bool isProgramDefault(const T&) {
    return false;
  }
  template <class T>
  static void afterCopy(const CKdProject&, T&) {}
  template <class T>
  static void afterOverwrite(CKdProject&, const T&) {}
  // The target's item takes every field of `copy` but keeps its id.
  template <class T>
  static void replace(CKdProject& project, int index, const T& copy) {
    T* item = D::at(project, index);
    const long id = D::id(*item);
    *item = copy;
    D::setId(*item, id);
  }
};

// ---- Fields that more than one kind has ----

// A unit id: any 16-bit value is kept.
template <class T>
Field<T> unitField(const char* key) {
  return {key,
          false,
          [](const T& o) -> Json { return static_cast<int>(o.unit().id()); },
          [](T& o, const JsonNode& n, LoadContext& c) {
            if (n.type != JsonNode::typeInteger || n.integer < INT16_MIN || n.integer > INT16_MAX)
              return c.mustBe(n, "a unit id from -32768 to 32767");
            o.setUnit(CKdUnit(static_cast<CKdUnit::unitId>(n.integer)));
            return true;
          },
          [](const T& a, const T& b, const RefMaps&) { return a.unit().id() == b.unit().id(); },
          nullptr,
          nullptr};
}

// A value type by name ("int32"); a stored value outside the known types as its number.
template <class T>
Field<T> valueTypeField(const char* key) {
  return {
      key,
      false,
      [](const T& o) -> Json {
        const int type = o.valueType();
        if (type < kValueTypeCount) return kValueTypeNames[type];
        return type;
      },
      [](T& o, const JsonNode& n, LoadContext& c) {
        if (n.type == JsonNode::typeInteger && !n.tooLarge && n.integer >= 0 && n.integer <= 255) {
          o.setValueType(static_cast<CKdPropertyValue::valueTypeId>(n.integer));
          return true;
        }
        if (n.type == JsonNode::typeString)
          for (int type = 0; type < kValueTypeCount; ++type)
            if (n.text == kValueTypeNames[type]) {
              o.setValueType(static_cast<CKdPropertyValue::valueTypeId>(type));
              return true;
            }
        return c.mustBe(n, "one of none, text, int16, int32, single, double");
      },
      [](const T& a, const T& b, const RefMaps&) { return a.valueType() == b.valueType(); },
      nullptr,
      nullptr};
}

// A narrow UTF-8 text of at most 99 bytes (a symbol id), read and written by `Get` and `Set`.
template <class T, auto Get, auto Set>
Field<T> symbolIdField(const char* key) {
  return {key,
          false,
          [](const T& o) -> Json { return std::string(std::invoke(Get, o)); },
          [](T& o, const JsonNode& n, LoadContext& c) {
            if (n.type != JsonNode::typeString) return c.mustBe(n, "a text");
            if (n.text.size() > static_cast<size_t>(CVxSymbolModel::maxSymbolIdLength) ||
                n.text.find('\0') != std::string::npos)
              return c.fail(
                  n, "\"" + std::string(c.field) + "\" must be a symbol id of at most 99 bytes");
            std::invoke(Set, o, n.text.c_str());
            return true;
          },
          [](const T& a, const T& b, const RefMaps&) {
            return std::strcmp(std::invoke(Get, a), std::invoke(Get, b)) == 0;
          },
          nullptr,
          nullptr};
}

// Checks that `n` is an object with exactly the members `keys`; on failure names the first
// one missing or unknown.
bool checkMembers(const JsonNode& n, std::initializer_list<const char*> keys, LoadContext& c) {
  if (n.type != JsonNode::typeObject) return c.mustBe(n, "a list of objects");
  for (const JsonMember& member : n.members) {
    bool known = false;
    for (const char* key : keys) known = known || member.key == key;
    if (!known)
      return c.fail(member.line, "unknown field \"" + member.key + "\" in \"" + c.field + "\"");
  }
  for (const char* key : keys)
    if (!n.find(key))
      return c.fail(n, "\"" + std::string(key) + "\" is missing in \"" + c.field + "\"");
  return true;
}

bool intMember(const JsonNode& n, const char* key, long long min, long long max, long long& value,
               LoadContext& c) {
  const JsonNode& v = *n.find(key);
  if (v.type != JsonNode::typeInteger || v.tooLarge || v.integer < min || v.integer > max)
    return c.fail(v, "\"" + std::string(key) + "\" must be a whole number from " +
                         std::to_string(min) + " to " + std::to_string(max) + ", not " +
                         v.describe());
  value = v.integer;
  return true;
}

bool floatMember(const JsonNode& n, const char* key, float& value, LoadContext& c) {
  const JsonNode& v = *n.find(key);
  if (!floatFromJson(v, value))
    return c.fail(v, "\"" + std::string(key) + "\" must be a number in the range of a float, not " +
                         v.describe());
  return true;
}

bool sameFloat(float a, float b) {
  return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

// ---- Property values ----

Json valueJson(const CKdProperty& p) {
  if (!p.hasValue()) return nullptr;
  const CKdPropertyValue& v = p.value();
  switch (v.typeId()) {
    case CKdPropertyValue::typeText: {
      CWsz text;
      v.getText(text);
      return textJson(text);
    }
    case CKdPropertyValue::typeInt16: {
      int16_t i = 0;
      v.getInt16(i);
      return i;
    }
    case CKdPropertyValue::typeInt32: {
      int32_t i = 0;
      v.getInt32(i);
      return i;
    }
    case CKdPropertyValue::typeSingleReal: {
      float f = 0;
      v.getSingleReal(f);
      return floatJson(f);
    }
    case CKdPropertyValue::typeDoubleReal: {
      double d = 0;
      v.getDoubleReal(d);
      return d;
    }
    default:
      return nullptr;
  }
}

// Sets the value of `p`, whose type is its definition's, from `n`. A value that the property
// refuses (one that its stored set could not give back) is refused here too.
bool valueFromJson(CKdProperty& p, const JsonNode& n, LoadContext& c) {
  const auto type = p.valueType();
  CKdPropertyValue value;
  value.setTypeId(type);
  if (n.type == JsonNode::typeNull) return p.setValue(value);
  auto wrong = [&](const char* what) {
    return c.fail(n, "the value of property \"" + utf8(p.name()) + "\" must be " + what +
                         " or null, not " + n.describe());
  };
  switch (type) {
    case CKdPropertyValue::typeText:
      if (n.type != JsonNode::typeString) return wrong("a text");
      value.setText(CWsz(cuSz::fromUtf8(n.text)));
      break;
    case CKdPropertyValue::typeInt16:
      if (n.type != JsonNode::typeInteger || n.integer < INT16_MIN || n.integer > INT16_MAX)
        return wrong("a whole number from -32768 to 32767");
      value.setInt16(static_cast<int16_t>(n.integer));
      break;
    case CKdPropertyValue::typeInt32:
      if (n.type != JsonNode::typeInteger || n.integer < INT32_MIN || n.integer > INT32_MAX)
        return wrong("a whole number of 32 bits");
      value.setInt32(static_cast<int32_t>(n.integer));
      break;
    case CKdPropertyValue::typeSingleReal: {
      float f = 0;
      if (!n.isNumber() || !floatFromJson(n, f)) return wrong("a number in the range of a float");
      value.setSingleReal(f);
      break;
    }
    case CKdPropertyValue::typeDoubleReal:
      if (!n.isNumber() || n.tooLarge) return wrong("a number");
      value.setDoubleReal(n.real);
      break;
    default:
      return wrong("nothing (its definition has no value type)");
  }
  if (!p.setValue(value)) return wrong("a value that its stored set can give back");
  return true;
}

// Equal values of equal types, exactly as the text form shows them.
bool sameValue(const CKdProperty& a, const CKdProperty& b) {
  if (a.valueType() != b.valueType() || a.hasValue() != b.hasValue()) return false;
  if (!a.hasValue()) return true;
  if (a.valueType() == CKdPropertyValue::typeSingleReal) {
    float x = 0, y = 0;
    a.value().getSingleReal(x);
    b.value().getSingleReal(y);
    return sameFloat(x, y);
  }
  return valueJson(a) == valueJson(b);
}

// A product's property set: [{"id": definition id, "value": typed value}], compared by the
// definitions they belong to, in any order.
Field<CKdProductDef> propertiesField() {
  using Item = CKdProductDef;
  return {"properties",
          false,
          [](const Item& o) -> Json {
            Json list = Json::array();
            for (int i = 0; i < o.properties().length(); ++i) {
              const CKdProperty& p = *o.properties().objAt(i);
              Json entry = Json::object();
              entry["id"] = p.dbId();
              entry["value"] = valueJson(p);
              list.push_back(std::move(entry));
            }
            return list;
          },
          [](Item& o, const JsonNode& n, LoadContext& c) {
            // The definitions are those of the dataset being loaded: the loader hands them
            // over in `c`.
            if (n.type != JsonNode::typeArray) return c.mustBe(n, "a list");
            o.properties().reset();
            for (const JsonNode& e : n.elements) {
              if (!checkMembers(e, {"id", "value"}, c)) return false;
              long long id = 0;
              if (!intMember(e, "id", 1, CKdPropertyDefArray::kMaxId, id, c)) return false;
              const CKdPropertyDef* def = c.propertyDefs ? c.propertyDefs->findId(id) : nullptr;
              if (!def)
                return c.fail(*e.find("id"),
                              "property definition " + std::to_string(id) + " is not defined");
              CKdProperty property(*def);
              if (!valueFromJson(property, *e.find("value"), c)) return false;
              o.properties().append(&property);
            }
            return true;
          },
          [](const Item& a, const Item& b, const RefMaps& maps) {
            const CKdPropertyArray& x = a.properties();
            const CKdPropertyArray& y = b.properties();
            if (x.length() != y.length()) return false;
            std::vector<bool> taken(static_cast<size_t>(y.length()), false);
            for (int i = 0; i < x.length(); ++i) {
              const CKdProperty& p = *x.objAt(i);
              const long id = maps.id(kindPropertyDefs, p.dbId(), 0);
              bool found = false;
              for (int j = 0; j < y.length() && !found; ++j)
                if (!taken[j] && y.objAt(j)->dbId() == id && sameValue(p, *y.objAt(j)))
                  taken[j] = found = true;
              if (!found) return false;
            }
            return true;
          },
          [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
            for (int i = 0; i < o.properties().length(); ++i) {
              CKdProperty& p = *o.properties().objAt(i);
              const long id = maps.id(kindPropertyDefs, p.dbId(), 0);
              if (id == RefMaps::kUnmatched)
                unresolved.append(datasetKindTitle(kindPropertyDefs).cat(L": ").cat(p.name()));
              else
                p.setDbId(id);
            }
          },
          [](const Item& o, const CKdProject&) -> Json {
            // By name: ids mean nothing in the other dataset.
            Json shown = Json::object();
            for (int i = 0; i < o.properties().length(); ++i) {
              const CKdProperty& p = *o.properties().objAt(i);
              shown[utf8(p.name())] = valueJson(p);
            }
            return shown;
          }};
}

// A product's integrated texts: [{"format", "x", "y", "directionByUcs", "rotation"}].
Field<CKdProductDef> integratedTextsField() {
  using Item = CKdProductDef;
  return {"integratedTexts",
          false,
          [](const Item& o) -> Json {
            Json list = Json::array();
            const CKdIntegratedTextArray& texts = o.getIntegratedTexts();
            for (int i = 0; i < texts.length(); ++i) {
              const CKdIntegratedText& t = *texts.objAt(i);
              Json entry = Json::object();
              entry["format"] = t.formatId();
              entry["x"] = floatJson(t.xOffset());
              entry["y"] = floatJson(t.yOffset());
              entry["directionByUcs"] = t.ref().directionByUcs;
              entry["rotation"] = t.rotation();
              list.push_back(std::move(entry));
            }
            return list;
          },
          [](Item& o, const JsonNode& n, LoadContext& c) {
            if (n.type != JsonNode::typeArray) return c.mustBe(n, "a list");
            CKdIntegratedTextArray& texts = o.getIntegratedTexts();
            texts.reset();
            if (n.elements.size() > CKdIntegratedTextArray::kMaxItemsRead)
              return c.fail(n, "a product holds at most 1000 integrated texts");
            for (const JsonNode& e : n.elements) {
              if (!checkMembers(e, {"format", "x", "y", "directionByUcs", "rotation"}, c))
                return false;
              long long format = 0, byUcs = 0, rotation = 0;
              float x = 0, y = 0;
              if (!intMember(e, "format", INT32_MIN, INT32_MAX, format, c) ||
                  !floatMember(e, "x", x, c) || !floatMember(e, "y", y, c) ||
                  !intMember(e, "directionByUcs", INT16_MIN, INT16_MAX, byUcs, c) ||
                  !intMember(e, "rotation", INT16_MIN, INT16_MAX, rotation, c))
                return false;
              sddimtextreftype ref;
              ref.formatId = static_cast<int32_t>(format);
              ref.xOffset = x;
              ref.yOffset = y;
              ref.directionByUcs = static_cast<int16_t>(byUcs);
              const CKdIntegratedText text(ref, static_cast<short>(rotation));
              texts.append(&text);
            }
            return true;
          },
          [](const Item& a, const Item& b, const RefMaps& maps) {
            const CKdIntegratedTextArray& x = a.getIntegratedTexts();
            const CKdIntegratedTextArray& y = b.getIntegratedTexts();
            if (x.length() != y.length()) return false;
            for (int i = 0; i < x.length(); ++i) {
              const CKdIntegratedText& s = *x.objAt(i);
              const CKdIntegratedText& t = *y.objAt(i);
              if (maps.id(kindDimtextFormats, s.formatId(), -1) != t.formatId() ||
                  !sameFloat(s.xOffset(), t.xOffset()) || !sameFloat(s.yOffset(), t.yOffset()) ||
                  s.ref().directionByUcs != t.ref().directionByUcs || s.rotation() != t.rotation())
                return false;
            }
            return true;
          },
          [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
            CKdIntegratedTextArray& texts = o.getIntegratedTexts();
            for (int i = 0; i < texts.length(); ++i) {
              CKdIntegratedText& t = *texts.objAt(i);
              const long id = maps.id(kindDimtextFormats, t.formatId(), -1);
              if (id == RefMaps::kUnmatched)
                unresolved.append(datasetKindTitle(kindDimtextFormats)
                                      .cat(L": ")
                                      .cat(maps.missingName(kindDimtextFormats, t.formatId())));
              else
                t.setFormatId(id);
            }
          },
          [](const Item& o, const CKdProject& project) -> Json {
            Json shown = Json::array();
            const CKdIntegratedTextArray& texts = o.getIntegratedTexts();
            for (int i = 0; i < texts.length(); ++i) {
              const CKdIntegratedText& t = *texts.objAt(i);
              const CKdDimtextFormat* format = project.dimTextFormats().findFmt(t.formatId());
              Json entry = Json::object();
              entry["format"] = format ? textJson(format->desc()) : Json(t.formatId());
              entry["x"] = floatJson(t.xOffset());
              entry["y"] = floatJson(t.yOffset());
              entry["directionByUcs"] = t.ref().directionByUcs;
              entry["rotation"] = t.rotation();
              shown.push_back(std::move(entry));
            }
            return shown;
          }};
}

// A GUID in its text form; "" for the null GUID.
template <class T>
Field<T> guidField(const char* key) {
  return {key,
          false,
          [](const T& o) -> Json { return utf8(o.guid().toWsz()); },
          [](T& o, const JsonNode& n, LoadContext& c) {
            CKdGuid guid;
            if (n.type != JsonNode::typeString || (!n.text.empty() && !guid.fromSz(n.text.c_str())))
              return c.mustBe(n,
                              "a GUID of 36 characters such as "
                              "\"0A1B2C3D-0000-4000-8000-00000000000F\", or \"\"");
            o.setGuid(guid);
            return true;
          },
          [](const T& a, const T& b, const RefMaps&) { return a.guid() == b.guid(); },
          nullptr,
          nullptr};
}

// A symbol's drawing: [{"type", "flags", "v": [six numbers]}].
Field<CVxSymbolModel> nodesField() {
  using Item = CVxSymbolModel;
  return {"nodes",
          false,
          [](const Item& o) -> Json {
            Json list = Json::array();
            for (const CGmNode& node : o.nodes()) {
              Json entry = Json::object();
              entry["type"] = node.type;
              entry["flags"] = node.flags;
              Json v = Json::array();
              for (float f : node.v) v.push_back(floatJson(f));
              entry["v"] = std::move(v);
              list.push_back(std::move(entry));
            }
            return list;
          },
          [](Item& o, const JsonNode& n, LoadContext& c) {
            if (n.type != JsonNode::typeArray) return c.mustBe(n, "a list");
            std::vector<CGmNode> nodes;
            nodes.reserve(n.elements.size());
            for (const JsonNode& e : n.elements) {
              if (!checkMembers(e, {"type", "flags", "v"}, c)) return false;
              long long type = 0, flags = 0;
              if (!intMember(e, "type", INT16_MIN, INT16_MAX, type, c) ||
                  !intMember(e, "flags", 0, UINT16_MAX, flags, c))
                return false;
              const JsonNode& v = *e.find("v");
              if (v.type != JsonNode::typeArray || v.elements.size() != 6)
                return c.fail(v, "\"v\" must be a list of six numbers");
              CGmNode node;
              node.type = static_cast<int16_t>(type);
              node.flags = static_cast<uint16_t>(flags);
              for (int i = 0; i < 6; ++i)
                if (!floatFromJson(v.elements[i], node.v[i]))
                  return c.fail(v.elements[i],
                                "\"v\" must be a list of six numbers in the range "
                                "of a float");
              nodes.push_back(node);
            }
            o.setNodes(std::move(nodes));
            return true;
          },
          [](const Item& a, const Item& b, const RefMaps&) {
            return a.nodeCount() == b.nodeCount() &&
                   (a.nodeCount() == 0 ||
                    std::memcmp(a.nodes().data(), b.nodes().data(),
                                static_cast<size_t>(a.nodeCount()) * sizeof(CGmNode)) == 0);
          },
          nullptr,
          nullptr};
}

// A product's symbol: a symbol id, compared and copied through the symbols' maps.
Field<CKdProductDef> productSymbolField() {
  using Item = CKdProductDef;
  Field<Item> field = symbolIdField<Item, &Item::symbolId, &Item::setSymbolId>("symbol");
  field.same = [](const Item& a, const Item& b, const RefMaps& maps) {
    CWsz mapped;
    return maps.name(kindSymbols, CWsz(cuSz::fromUtf8(a.symbolId())), mapped) &&
           mapped.toUtf8() == b.symbolId();
  };
  field.remap = [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
    const CWsz name(cuSz::fromUtf8(o.symbolId()));
    CWsz mapped;
    if (maps.name(kindSymbols, name, mapped))
      o.setSymbolId(mapped.toUtf8().c_str());
    else
      unresolved.append(datasetKindTitle(kindSymbols).cat(L": ").cat(name));
  };
  return field;
}

// ---- The kinds ----

struct PropertyDefTraits : TraitsBase<PropertyDefTraits> {
  using Item = CKdPropertyDef;
  static constexpr datasetKind kKind = kindPropertyDefs;
  static constexpr long kMaxId = CKdPropertyDefArray::kMaxId;

  static int count(const CKdProject& p) { return p.propertyDefs().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.propertyDefs().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.propertyDefs().objAt(i); }
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::dbId, &Item::setDbId, 1, kMaxId, true>("id"),
            textField<Item, &Item::name, &Item::setName>("name"),
            textField<Item, &Item::desc, &Item::setDesc>("description"),
            valueTypeField<Item>("valueType"),
            unitField<Item>("unit"),
            intField<Item, &Item::decimals, &Item::setDecimals, 0, 255>("decimals")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.name()); }
  static std::string planKey(const Item& o) { return utf8(o.name()); }
  static CWsz displayName(const Item& o) { return o.name(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  static bool append(CKdProject& p, const Item& o) { return p.propertyDefs().append(&o); }
  // Every product's copy of the definition follows it.
  static void afterOverwrite(CKdProject& p, const Item& o) {
    p.updatePropertyDefModificationToRefs(o);
  }
};

struct LayerTraits : TraitsBase<LayerTraits> {
  using Item = CKdLayerDef;
  static constexpr datasetKind kKind = kindLayers;
  static constexpr bool kCanCreate = false;
  static constexpr long kMaxId = 999999;

  static int count(const CKdProject& p) { return p.layerDefs().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.layerDefs().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.layerDefs().objAt(i); }
  // The description comes from the language and the lineweight is not stored: neither is a
  // field of the dataset.
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::layerNumber, &Item::setLayerNumber, 1, kMaxId, true>("number"),
            textField<Item, &Item::name, &Item::setName>("name"),
            nameRefField<Item, &Item::linetype, &Item::setLinetype, kindLinetypes>("linetype"),
            intField<Item, &Item::colorNmb, &Item::setColorNmb, INT16_MIN, INT16_MAX>("color")};
  }
  static std::wstring matchKey(const Item& o) { return std::to_wstring(o.layerNumber()); }
  static std::string planKey(const Item& o) { return std::to_string(o.layerNumber()); }
  static CWsz displayName(const Item& o) {
    return CWsz(o.desc()).cat(L" (").cat(static_cast<int>(o.layerNumber()), 0).cat(L")");
  }
  static long id(const Item& o) { return o.layerNumber(); }
  static void setId(Item& o, long id) { o.setLayerNumber(id); }
  static bool isProgramDefault(const Item& o) {
    Item row;
    return row.setDefaultsFor(o.layerNumber()) && row.name() == o.name() &&
           row.linetype() == o.linetype() && row.colorNmb() == o.colorNmb();
  }
  static bool check(const CKdProject& p, const Item& o, const JsonNode& n, LoadContext& c) {
    if (p.layerDefs().findLayerDef(o.layerNumber())) return true;
    return c.fail(*n.find("number"), "layer " + std::to_string(o.layerNumber()) +
                                         " is not one of the program's layers");
  }
  // The layers are the program's: a stored one only changes name, linetype and colour.
  static void replace(CKdProject& p, int index, const Item& o) {
    Item* layer = at(p, index);
    layer->setName(o.name());
    layer->setLinetype(o.linetype());
    layer->setColorNmb(o.colorNmb());
  }
  static bool append(CKdProject& p, const Item& o) {
    const int index = p.layerDefs().indexOfId(o.layerNumber());
    if (index < 0) return false;
    replace(p, index, o);
    return true;
  }
};

struct SymbolTraits : TraitsBase<SymbolTraits> {
  using Item = CVxSymbolModel;
  static constexpr datasetKind kKind = kindSymbols;
  static constexpr long kMaxId = 99999999;

  static int count(const CKdProject& p) { return p.symbols().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.symbols().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.symbols().objAt(i); }
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::projectId, &Item::setProjectId, 1, kMaxId, true>("id"),
            symbolIdField<Item, &Item::symbolId, &Item::setSymbolId>("symbolId"),
            textField<Item, &Item::desc, &Item::setDesc>("description"), nodesField()};
  }
  static std::wstring matchKey(const Item& o) { return cuSz::fromUtf8(o.symbolId()); }
  static std::string planKey(const Item& o) { return o.symbolId(); }
  static CWsz displayName(const Item& o) { return CWsz(cuSz::fromUtf8(o.symbolId())); }
  static CWsz refName(const Item& o) { return CWsz(cuSz::fromUtf8(o.symbolId())); }
  static long id(const Item& o) { return o.projectId(); }
  static void setId(Item& o, long id) { o.setProjectId(id); }
  static bool check(const CKdProject&, const Item& o, const JsonNode& n, LoadContext& c) {
    if (o.nodeCount() > 0) return true;
    return c.fail(*n.find("nodes"),
                  "symbol \"" + std::string(o.symbolId()) +
                      "\" has no nodes: a dataset keeps no symbol without a drawing");
  }
  static bool append(CKdProject& p, const Item& o) { return p.symbols().append(&o); }
};

struct TextStyleTraits : TraitsBase<TextStyleTraits> {
  using Item = CKdTextStyleDef;
  static constexpr datasetKind kKind = kindTextStyles;
  static constexpr long kMaxId = CKdTextStyleDefArray::kMaxId;

  static int count(const CKdProject& p) { return p.textStyleDefs().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.textStyleDefs().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.textStyleDefs().objAt(i); }
  // The big font file is not stored in a dataset (only STY files carry it).
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::dbId, &Item::setDbId, 1, kMaxId, true>("id"),
            textField<Item, &Item::name, &Item::setName>("name"),
            textField<Item, &Item::typeFace, &Item::setTypeFace>("typeFace"),
            textField<Item, &Item::fontFile, &Item::setFontFile>("fontFile"),
            boolField<Item, &Item::isBold, &Item::setBold>("bold"),
            boolField<Item, &Item::isItalic, &Item::setItalic>("italic"),
            boolField<Item, &Item::hasShapeFile, &Item::setHasShapeFile>("hasShapeFile"),
            boolField<Item, &Item::isVertical, &Item::setVertical>("vertical"),
            intField<Item, &Item::charSet, &Item::setCharSet, INT32_MIN, INT32_MAX>("charSet"),
            intField<Item, &Item::pitch, &Item::setPitch, INT32_MIN, INT32_MAX>("pitch"),
            intField<Item, &Item::family, &Item::setFamily, INT32_MIN, INT32_MAX>("family"),
            intField<Item, &Item::flags, &Item::setFlags, 0, 255>("flags"),
            floatField<Item, &Item::oblAngle, &Item::setOblAngle>("obliqueAngle"),
            floatField<Item, &Item::textSize, &Item::setTextSize>("textSize"),
            floatField<Item, &Item::xScale, &Item::setXScale>("xScale")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.name()); }
  static std::string planKey(const Item& o) { return utf8(o.name()); }
  static CWsz displayName(const Item& o) { return o.name(); }
  static CWsz refName(const Item& o) { return o.name(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  static bool isProgramDefault(const Item& o) {
    CKdProject fresh;
    fresh.buildDefaultTextStyleDefs();
    Item standard = *fresh.textStyleDefs().objAt(0);
    standard.setDbId(o.dbId());
    standard.setBigFontFile(o.bigFontFile());
    return standard == o;
  }
  static bool append(CKdProject& p, const Item& o) { return p.textStyleDefs().append(&o); }
};

struct LinetypeTraits : TraitsBase<LinetypeTraits> {
  using Item = CKdLinetypeDef;
  static constexpr datasetKind kKind = kindLinetypes;
  static constexpr bool kHasIds = false;
  static constexpr long kMaxId = 0;

  // The built-in solid linetype is no definition of the dataset: it is never stored, and
  // every project has it.
  static int count(const CKdProject& p) {
    int n = 0;
    for (int i = 0; i < p.linetypeDefs().length(); ++i)
      if (!CKdLinetypeDefArray::isBuiltInName(p.linetypeDefs().objAt(i)->name())) ++n;
    return n;
  }
  static int arrayIndex(const CKdProject& p, int index) {
    for (int i = 0; i < p.linetypeDefs().length(); ++i)
      if (!CKdLinetypeDefArray::isBuiltInName(p.linetypeDefs().objAt(i)->name()) && index-- == 0)
        return i;
    return -1;
  }
  static const Item* at(const CKdProject& p, int i) {
    return p.linetypeDefs().objAt(arrayIndex(p, i));
  }
  static Item* at(CKdProject& p, int i) { return p.linetypeDefs().objAt(arrayIndex(p, i)); }
  static std::vector<Field<Item>> fields() {
    return {textField<Item, &Item::name, &Item::setName>("name"),
            textField<Item, &Item::desc, &Item::setDesc>("description"),
            textField<Item, &Item::data, &Item::setData>("pattern")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.name()); }
  static std::string planKey(const Item& o) { return utf8(o.name()); }
  static CWsz displayName(const Item& o) { return o.name(); }
  static CWsz refName(const Item& o) { return o.name(); }
  static long id(const Item&) { return 0; }
  static void setId(Item&, long) {}
  static bool check(const CKdProject&, const Item& o, const JsonNode& n, LoadContext& c) {
    if (!CKdLinetypeDefArray::isBuiltInName(o.name())) return true;
    return c.fail(*n.find("name"),
                  "the linetype CONTINUOUS is built in: a dataset does not store it");
  }
  static bool append(CKdProject& p, const Item& o) { return p.linetypeDefs().append(&o); }
};

struct DimtextFormatTraits : TraitsBase<DimtextFormatTraits> {
  using Item = CKdDimtextFormat;
  static constexpr datasetKind kKind = kindDimtextFormats;
  static constexpr long kMinId = 1;
  static constexpr long kMaxId = 999999;

  static short refline(const Item& o) { return o.options().reflineType(); }
  static void setRefline(Item& o, short v) { o.options().setReflineType(v); }
  static short alignment(const Item& o) { return o.options().alignmentFlags(); }
  static void setAlignment(Item& o, short v) { o.options().setAlignmentFlags(v); }
  static short border(const Item& o) { return o.options().borderType(); }
  static void setBorder(Item& o, short v) { o.options().setBorderType(v); }

  static int count(const CKdProject& p) { return p.dimTextFormats().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.dimTextFormats().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.dimTextFormats().objAt(i); }
  static std::vector<Field<Item>> fields() {
    // A stored format may have the id 0 (a record whose key gave none).
    return {
        intField<Item, &Item::id, &Item::setId, 0, kMaxId, true>("id"),
        textField<Item, &Item::desc, &Item::setDesc>("description"),
        textField<Item, &Item::fmt, &Item::setFmt>("format"),
        nameRefField<Item, &Item::styleName, &Item::setStyleName, kindTextStyles>("textStyle"),
        floatField<Item, &Item::textHeight, &Item::setTextHeight>("textHeight"),
        floatField<Item, &Item::fixedBorderDim, &Item::setFixedBorderDim>("fixedBorderSize"),
        floatField<Item, &Item::refItemSize, &Item::setRefItemSize>("refItemSize"),
        intField<Item, &Item::textColor, &Item::setTextColor, INT16_MIN, INT16_MAX>("textColor"),
        intField<Item, &refline, &setRefline, INT16_MIN, INT16_MAX>("reflineType"),
        intField<Item, &alignment, &setAlignment, INT16_MIN, INT16_MAX>("alignment"),
        intField<Item, &border, &setBorder, INT16_MIN, INT16_MAX>("borderType")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.desc()); }
  static std::string planKey(const Item& o) { return utf8(o.desc()); }
  static CWsz displayName(const Item& o) { return o.desc(); }
  static long id(const Item& o) { return o.id(); }
  static void setId(Item& o, long id) { o.setId(id); }
  static bool append(CKdProject& p, const Item& o) { return p.dimTextFormats().append(&o); }
};

// The definitions of one kind of poly object.
template <VxKd::systemTypeIds Type, datasetKind Kind>
struct PolyDefTraits : TraitsBase<PolyDefTraits<Type, Kind>> {
  using Item = CKdProductDef;
  static constexpr datasetKind kKind = Kind;
  static constexpr long kMaxId = CKdProductDefArray::kMaxId;

  static int count(const CKdProject& p) { return p.polyDefSets(Type)->length(); }
  static const Item* at(const CKdProject& p, int i) { return p.polyDefSets(Type)->objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.polyDefSets(Type)->objAt(i); }
  // The part id and its format's text are worked out when a drawing needs them; the position
  // and the two flags belong to a drawing. None is stored.
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::dbId, &Item::setDbId, 1, kMaxId, true>("id"),
            guidField<Item>("guid"),
            textField<Item, &Item::desc, &Item::setDesc>("description"),
            intField<Item, &Item::partIdFmtId, &Item::setPartIdFmtId, INT32_MIN, INT32_MAX>(
                "partIdFormat"),
            nameRefField<Item, &Item::lineType, &Item::setLineType, kindLinetypes>("linetype"),
            intField<Item, &Item::colorNmb, &Item::setColorNmb, INT16_MIN, INT16_MAX>("color"),
            floatField<Item, &Item::lineWidth, &Item::setLineWidth>("lineWidth"),
            productSymbolField(),
            intField<Item, &Item::systemId, &Item::setSystemId, INT32_MIN, INT32_MAX>("system"),
            intField<Item, &Item::hpvSystemTypeId, &Item::setHpvSystemTypeId, INT32_MIN, INT32_MAX>(
                "hpvSystemType"),
            integratedTextsField(),
            propertiesField()};
  }
  // By GUID; a definition without one by its description.
  static std::wstring matchKey(const Item& o) {
    if (!o.guid().isNull()) return L"g:" + std::wstring(o.guid().toWsz().str());
    return L"d:" + foldedName(o.desc());
  }
  static std::string planKey(const Item& o) {
    return o.guid().isNull() ? utf8(o.desc()) : utf8(o.guid().toWsz());
  }
  static CWsz displayName(const Item& o) { return o.desc(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  static bool append(CKdProject& p, const Item& o) { return p.polyDefSets(Type)->append(&o); }
  // The copied properties take the target's definitions: their names, units and decimals, and
  // their value types (a value is printed and read again as the target's type). A property
  // whose definition the target lacks would vanish when the dataset is read: it goes now.
  static void afterCopy(const CKdProject& target, Item& o) {
    CKdPropertyArray& properties = o.properties();
    for (int i = properties.length() - 1; i >= 0; --i) {
      const CKdPropertyDef* def = target.propertyDefs().findId(properties.objAt(i)->dbId());
      if (def)
        o.updatePropertyDefModification(*def);
      else
        properties.deleteAt(i);
    }
  }
};

template <class Traits>
class ArrayKind final : public KindAdapter {
 public:
  using T = typename Traits::Item;

  datasetKind kind() const override { return Traits::kKind; }
  int count(const CKdProject& p) const override { return Traits::count(p); }
  std::wstring matchKey(const CKdProject& p, int i) const override {
    return Traits::matchKey(at(p, i));
  }
  std::string planKey(const CKdProject& p, int i) const override {
    return Traits::planKey(at(p, i));
  }
  CWsz displayName(const CKdProject& p, int i) const override {
    return Traits::displayName(at(p, i));
  }
  long idAt(const CKdProject& p, int i) const override { return Traits::id(at(p, i)); }
  bool isProgramDefault(const CKdProject& p, int i) const override {
    return Traits::isProgramDefault(at(p, i));
  }
  CWsz refNameAt(const CKdProject& p, int i) const override { return Traits::refName(at(p, i)); }

  Json dump(const CKdProject& p, int i) const override {
    const T& item = at(p, i);
    Json out = Json::object();
    for (const Field<T>& f : fields()) out[f.key] = f.dump(item);
    return out;
  }

  bool load(CKdProject& p, const JsonNode& items, LoadContext& c) const override {
    c.field = datasetKindKey(Traits::kKind);
    if (items.type != JsonNode::typeArray) return c.mustBe(items, "a list");
    std::unordered_set<long> ids;
    c.propertyDefs = &p.propertyDefs();
    for (const JsonNode& element : items.elements) {
      if (element.type != JsonNode::typeObject) {
        c.field = datasetKindKey(Traits::kKind);
        return c.mustBe(element, "a list of objects");
      }
      T item{};
      for (const JsonMember& member : element.members) {
        const Field<T>* f = find(member.key);
        if (!f)
          return c.fail(member.line, "unknown field \"" + member.key + "\" in \"" +
                                         datasetKindKey(Traits::kKind) + "\"");
        c.field = f->key;
        if (!f->load(item, member.value, c)) return false;
      }
      for (const Field<T>& f : fields())
        if (!element.find(f.key))
          return c.fail(element, "\"" + std::string(f.key) + "\" is missing in an item of \"" +
                                     datasetKindKey(Traits::kKind) + "\"");
      if (Traits::kHasIds && !ids.insert(Traits::id(item)).second)
        return c.fail(*element.find(identity().key),
                      std::string(datasetKindKey(Traits::kKind)) + ": the id " +
                          std::to_string(Traits::id(item)) + " appears twice");
      if (!Traits::check(p, item, element, c)) return false;
      if (!Traits::append(p, item)) return c.fail(element, "out of memory");
    }
    return true;
  }

  void compare(const CKdProject& source, int s, const CKdProject& current, int c,
               const RefMaps& maps, std::vector<CKdFieldDifference>& out) const override {
    const T& a = at(source, s);
    const T& b = at(current, c);
    for (const Field<T>& f : fields()) {
      if (f.identity || f.same(a, b, maps)) continue;
      const Json x = f.show ? f.show(a, source) : f.dump(a);
      const Json y = f.show ? f.show(b, current) : f.dump(b);
      out.push_back({f.key, x.dump(-1, ' ', false, Json::error_handler_t::replace),
                     y.dump(-1, ' ', false, Json::error_handler_t::replace)});
    }
  }

  bool canCreate() const override { return Traits::kCanCreate; }
  bool hasIds() const override { return Traits::kHasIds; }
  long minId() const override { return Traits::kMinId; }
  long maxId() const override { return Traits::kMaxId; }

  void create(CKdProject& target, const CKdProject& source, int s, long id, const RefMaps& maps,
              Unresolved& unresolved) const override {
    T copy = copyOf(target, source, s, maps, unresolved);
    Traits::setId(copy, id);
    Traits::append(target, copy);
  }

  void overwrite(CKdProject& target, int t, const CKdProject& source, int s, const RefMaps& maps,
                 Unresolved& unresolved) const override {
    const T copy = copyOf(target, source, s, maps, unresolved);
    Traits::replace(target, t, copy);
    Traits::afterOverwrite(target, *Traits::at(target, t));
  }

 private:
  static const T& at(const CKdProject& p, int i) { return *Traits::at(p, i); }
  static const std::vector<Field<T>>& fields() {
    static const std::vector<Field<T>> table = Traits::fields();
    return table;
  }
  // The field of the item's own id. REQUIRES a kind with ids.
  static const Field<T>& identity() {
    for (const Field<T>& f : fields())
      if (f.identity) return f;
    return fields().front();
  }
  static const Field<T>* find(const std::string& key) {
    for (const Field<T>& f : fields())
      if (key == f.key) return &f;
    return nullptr;
  }
  static T copyOf(const CKdProject& target, const CKdProject& source, int s, const RefMaps& maps,
                  Unresolved& unresolved) {
    T copy = at(source, s);
    for (const Field<T>& f : fields())
      if (f.remap) f.remap(copy, maps, unresolved);
    Traits::afterCopy(target, copy);
    return copy;
  }
};

const ArrayKind<PropertyDefTraits> kPropertyDefKind;
const ArrayKind<LayerTraits> kLayerKind;
const ArrayKind<SymbolTraits> kSymbolKind;
const ArrayKind<TextStyleTraits> kTextStyleKind;
const ArrayKind<LinetypeTraits> kLinetypeKind;
const ArrayKind<DimtextFormatTraits> kDimtextFormatKind;
const ArrayKind<PolyDefTraits<VxKd::systemDuct, kindDuctDefs>> kDuctKind;
const ArrayKind<PolyDefTraits<VxKd::systemPipe, kindPipeDefs>> kPipeKind;
const ArrayKind<PolyDefTraits<VxKd::systemData, kindDataDefs>> kDataKind;
const ArrayKind<PolyDefTraits<VxKd::systemElectric, kindElectricDefs>> kElectricKind;

constexpr const KindAdapter* kKinds[kindCount] = {
    &kPropertyDefKind,   &kLayerKind, &kSymbolKind, &kTextStyleKind, &kLinetypeKind,
    &kDimtextFormatKind, &kDuctKind,  &kPipeKind,   &kDataKind,      &kElectricKind,
};

}  // namespace

const KindAdapter& kindAdapter(datasetKind kind) { return *kKinds[kind]; }

const std::vector<std::string_view>& compactJsonKeys() {
  static const std::vector<std::string_view> keys = {"properties", "integratedTexts", "nodes"};
  return keys;
}

const char* datasetKindKey(datasetKind kind) {
  return kind >= 0 && kind < kindCount ? kKindNames[kind].key : "";
}

bool datasetKindFromKey(const char* key, datasetKind& kind) {
  for (int k = 0; k < kindCount; ++k)
    if (key && std::strcmp(key, kKindNames[k].key) == 0) {
      kind = static_cast<datasetKind>(k);
      return true;
    }
  return false;
}

CWsz datasetKindTitle(datasetKind kind) {
  if (kind < 0 || kind >= kindCount) return {};
  return lngDbText(kKindNames[kind].textId, kKindNames[kind].title);
}

std::wstring foldedName(const wchar_t* name) {
  std::wstring out;
  for (const wchar_t* p = name ? name : L""; *p; ++p)
    out += static_cast<wchar_t>(cuSz::foldCase(static_cast<char32_t>(*p)));
  return out;
}

long RefMaps::id(datasetKind kind, long id, long none) const {
  if (id == none) return id;
  const auto it = ids_[kind].find(id);
  if (it != ids_[kind].end()) return it->second;
  return mode_ == forComparison ? id : none;
}

bool RefMaps::name(datasetKind kind, const wchar_t* name, CWsz& out) const {
  const auto it = names_[kind].find(nameKey(kind, name));
  if (it == names_[kind].end()) {
    out = name;
    return true;
  }
  out = it->second.name;
  return it->second.matched;
}

CWsz RefMaps::missingName(datasetKind kind, long id) const {
  const auto it = missing_[kind].find(id);
  return it != missing_[kind].end() ? it->second : CWsz(std::to_wstring(id));
}

std::wstring RefMaps::nameKey(datasetKind kind, const wchar_t* name) {
  return kind == kindSymbols ? std::wstring(name ? name : L"") : foldedName(name);
}

}  // namespace VxKd
