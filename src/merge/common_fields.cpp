#include "merge/common_fields.h"

namespace VxKd {

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

bool valueFromJson(CKdProperty& p, const JsonNode& n, LoadContext& c) {
  auto wrong = [&](const char* what) {
    return c.fail(n, "the value of property \"" + utf8(p.name()) + "\" must be " + what +
                         " or null, not " + n.describe());
  };
  CKdPropertyValue value;
  value.setTypeId(p.valueType());
  if (n.type != JsonNode::typeNull) {
    switch (p.valueType()) {
      case CKdPropertyValue::typeText:
        if (n.type != JsonNode::typeString || n.text.find('\0') != std::string::npos)
          return wrong("a text without the character U+0000");
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
  }
  // The property takes a value as a stored set gives it back (an empty text is none, line
  // breaks are blanks); what no set can store is refused.
  if (!p.setValue(value))
    return c.fail(
        n, "the value of property \"" + utf8(p.name()) + "\" cannot be stored: " + n.describe());
  return true;
}

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

void adoptDefinitions(CKdPropertyArray& properties, const CKdPropertyDefArray& defs) {
  // A product definition applies a definition to its copy of it; the set is lent to one.
  CKdProductDef holder;
  holder.properties() = properties;
  for (int i = holder.properties().length() - 1; i >= 0; --i) {
    const CKdPropertyDef* def = defs.findId(holder.properties().objAt(i)->dbId());
    if (def)
      holder.updatePropertyDefModification(*def);
    else
      holder.properties().deleteAt(i);
  }
  properties = holder.properties();
}

// Part ID formats are referred to by id; 0 is none.
Field<CKdProductDef> partIdFormatField() {
  using Item = CKdProductDef;
  Field<Item> field =
      intField<Item, &Item::partIdFmtId, &Item::setPartIdFmtId, INT32_MIN, INT32_MAX>(
          "partIdFormat");
  field.same = [](const Item& a, const Item& b, const RefMaps& maps) {
    return maps.id(kindPartIdFormats, a.partIdFmtId(), 0) == b.partIdFmtId();
  };
  field.remap = [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
    const long id = maps.id(kindPartIdFormats, o.partIdFmtId(), 0);
    if (id == RefMaps::kUnmatched)
      unresolved.append(datasetKindTitle(kindPartIdFormats)
                            .cat(L": ")
                            .cat(maps.missingName(kindPartIdFormats, o.partIdFmtId())));
    else
      o.setPartIdFmtId(id);
  };
  field.show = [](const Item& o, const CKdProject& project) -> Json {
    const CKdPartIdFormat* format = project.partIdFormats().findId(o.partIdFmtId());
    return format ? textJson(format->desc()) : Json(o.partIdFmtId());
  };
  return field;
}

std::vector<Field<CKdProductDef>> productFields() {
  using Item = CKdProductDef;
  return {intField<Item, &Item::dbId, &Item::setDbId, 1, CKdProductDefArray::kMaxId, true>("id"),
          guidField<Item>("guid"),
          textField<Item, &Item::desc, &Item::setDesc>("description"),
          partIdFormatField(),
          nameRefField<Item, &Item::lineType, &Item::setLineType, kindLinetypes>("linetype"),
          intField<Item, &Item::colorNmb, &Item::setColorNmb, INT16_MIN, INT16_MAX>("color"),
          floatField<Item, &Item::lineWidth, &Item::setLineWidth>("lineWidth"),
          productSymbolField(),
          intField<Item, &Item::systemId, &Item::setSystemId, INT32_MIN, INT32_MAX>("system"),
          intField<Item, &Item::hpvSystemTypeId, &Item::setHpvSystemTypeId, INT32_MIN, INT32_MAX>(
              "hpvSystemType"),
          integratedTextsField(),
          propertiesField<Item>()};
}

}  // namespace VxKd
