#include "json_form.h"

#include <cmath>
#include <cstdlib>

#include "symbol_drawing.h"
#include "vxkd/platform/sz.h"

namespace vkd {

const NamedValue kValueTypeNames[5] = {
    {CKdPropertyValue::typeText, "text"},         {CKdPropertyValue::typeInt16, "int16"},
    {CKdPropertyValue::typeInt32, "int32"},       {CKdPropertyValue::typeSingleReal, "float"},
    {CKdPropertyValue::typeDoubleReal, "double"},
};

const NamedValue kBorderNames[9] = {
    {CKdDimtextOptions::borderNone, "none"},
    {CKdDimtextOptions::borderFirstRowUnderlined, "first row underlined"},
    {CKdDimtextOptions::borderAllRowsUnderlined, "all rows underlined"},
    {CKdDimtextOptions::borderRectangle, "rectangle"},
    {CKdDimtextOptions::borderDiamond, "diamond"},
    {CKdDimtextOptions::borderCircle, "circle"},
    {CKdDimtextOptions::borderSplitCircle, "split circle"},
    {CKdDimtextOptions::borderBreakLine, "break line"},
    {CKdDimtextOptions::borderHexagon, "hexagon"},
};

const NamedValue kReflineNames[5] = {
    {CKdDimtextOptions::reflineNone, "none"},
    {CKdDimtextOptions::reflineLineOnly, "line only"},
    {CKdDimtextOptions::reflineLineAndTarget, "line and target line"},
    {CKdDimtextOptions::reflineArrow, "arrow"},
    {CKdDimtextOptions::reflineFilledCircle, "filled circle"},
};

const NamedValue kAlignmentNames[3] = {
    {CKdDimtextOptions::alignLeft, "left"},
    {CKdDimtextOptions::alignCenter, "center"},
    {CKdDimtextOptions::alignRight, "right"},
};

const NamedValue kOrientationNames[2] = {{CKdReport::horizontal, "horizontal"},
                                         {CKdReport::vertical, "vertical"}};

const NamedValue kEntityNames[5] = {
    {CKdReport::entityDevices, "devices"},
    {CKdReport::entityDucts, "ducts"},
    {CKdReport::entityPipes, "pipes"},
    {CKdReport::entityPowerCables, "power cables"},
    {CKdReport::entityDataCables, "data cables"},
};

const NamedValue kColumnLineNames[3] = {{0, "none"},
                                        {CSReportColumn::lineAfterColumn, "after column"},
                                        {CSReportColumn::lineToFirstRowOnly, "first row only"}};

const NamedValue kSortNames[2] = {{VxKd::sortAscending, "ascending"},
                                  {VxKd::sortDescending, "descending"}};

const PolySet kPolySets[4] = {
    {"duct", VxKd::systemDuct, "SD", VxKd::layerDuct},
    {"pipe", VxKd::systemPipe, "SP", VxKd::layerPipe},
    {"electric", VxKd::systemElectric, "SE", VxKd::layerElectric},
    {"data", VxKd::systemData, "SA", VxKd::layerData},
};

namespace {

bool sameText(const std::string& a, const std::string& b) {
  return cuSz::equalNoCase(CWsz::fromUtf8(a.c_str()), CWsz::fromUtf8(b.c_str()));
}

}  // namespace

const PolySet* findPolySet(const std::string& nameOrClassId) {
  for (const PolySet& set : kPolySets)
    if (sameText(set.name, nameOrClassId) || sameText(set.classId, nameOrClassId)) return &set;
  return nullptr;
}

const PolySet* polySetOf(VxKd::systemTypeIds type) {
  for (const PolySet& set : kPolySets)
    if (set.type == type) return &set;
  return nullptr;
}

template <size_t N>
bool valueOf(const NamedValue (&table)[N], const std::string& name, int& value) {
  for (const NamedValue& entry : table)
    if (sameText(entry.name, name)) {
      value = entry.value;
      return true;
    }
  return false;
}

template <size_t N>
std::string namesOf(const NamedValue (&table)[N]) {
  std::string out;
  for (size_t i = 0; i < N; ++i)
    out += (i == 0 ? "" : i + 1 == N ? " or " : ", ") + std::string("\"") + table[i].name + "\"";
  return out;
}

template bool valueOf(const NamedValue (&)[2], const std::string&, int&);
template bool valueOf(const NamedValue (&)[3], const std::string&, int&);
template bool valueOf(const NamedValue (&)[5], const std::string&, int&);
template bool valueOf(const NamedValue (&)[9], const std::string&, int&);
template std::string namesOf(const NamedValue (&)[2]);
template std::string namesOf(const NamedValue (&)[3]);
template std::string namesOf(const NamedValue (&)[5]);
template std::string namesOf(const NamedValue (&)[9]);

namespace {

// The units whose label is `label`, ignoring case.
std::vector<int16_t> unitsLabelled(const std::string& label) {
  std::vector<int16_t> ids;
  const CUnitDefArray& units = CUnitDefArray::units();
  for (int i = 0; i < units.length(); ++i)
    if (cuSz::equalNoCase(units.at(i).label, CWsz::fromUtf8(label.c_str())))
      ids.push_back(units.at(i).unitId);
  return ids;
}

}  // namespace

Json unitJson(CKdUnit unit) {
  if (unit.id() == CKdUnit::unitNone) return nullptr;
  CWsz label;
  unit.getLabel(label);
  if (!label.isEmpty() && unitsLabelled(narrow(label)).size() == 1) return narrow(label);
  return static_cast<int>(unit.id());
}

bool unitFromJson(const Json& value, CKdUnit& unit, std::string& why) {
  if (value.is_null()) {
    unit = CKdUnit();
    return true;
  }
  if (value.is_number_integer()) {
    const auto id = value.get<long long>();
    if (id == 0 || (id > 0 && id <= INT16_MAX && CKdUnit::isValidId(static_cast<int16_t>(id)))) {
      unit.setUnitId(static_cast<CKdUnit::unitId>(id));
      return true;
    }
    why = "no unit has the id " + std::to_string(id);
    return false;
  }
  if (!value.is_string()) {
    why = "a unit is its label (\"[mm]\") or its id (11)";
    return false;
  }
  const std::string label = value.get<std::string>();
  const std::vector<int16_t> ids = unitsLabelled(label);
  if (ids.size() == 1) {
    unit.setUnitId(static_cast<CKdUnit::unitId>(ids[0]));
    return true;
  }
  if (ids.empty()) {
    why = "no unit has the label \"" + label + "\"";
    return false;
  }
  why = "the label \"" + label + "\" belongs to several units; give the id:";
  for (int16_t id : ids) {
    CWsz description;
    CKdUnit(static_cast<CKdUnit::unitId>(id)).getDescription(description);
    why += " " + std::to_string(id) + " (" + narrow(description) + ")";
  }
  return false;
}

Json colourJson(short colour) {
  if (colour == CKdProductDef::colorByLayer) return "by layer";
  return colour;
}

bool colourFromJson(const Json& value, short& colour, std::string& why) {
  if (value.is_string() && sameText(value.get<std::string>(), "by layer")) {
    colour = CKdProductDef::colorByLayer;
    return true;
  }
  if (value.is_string() && sameText(value.get<std::string>(), "by block")) {
    colour = 0;
    return true;
  }
  if (value.is_number_integer() && value.get<long long>() >= 0 && value.get<long long>() <= 256) {
    colour = static_cast<short>(value.get<long long>());
    return true;
  }
  why = "a colour is a number of 0 to 256 or \"by layer\"";
  return false;
}

Json real(float value) {
  Json parsed = Json::parse(cuSz::format("%.7g", value), nullptr, false);
  return parsed.is_number() ? parsed : Json(static_cast<double>(value));
}

Json toJson(const CKdPropertyDef& def) {
  Json out = Json::object();
  out["id"] = def.dbId();
  out["name"] = narrow(def.name());
  if (!def.desc().isEmpty()) out["description"] = narrow(def.desc());
  const char* type = nameOf(kValueTypeNames, def.valueType());
  out["type"] = type ? Json(type) : Json(static_cast<int>(def.valueType()));
  if (def.unit().id() != CKdUnit::unitNone) out["unit"] = unitJson(def.unit());
  out["decimals"] = def.decimals();
  return out;
}

Json toJson(const CKdLinetypeDef& linetype) {
  return Json{{"name", narrow(linetype.name())},
              {"description", narrow(linetype.desc())},
              {"pattern", narrow(linetype.data())}};
}

Json toJson(const CKdTextStyleDef& style) {
  const CKdTextStyleDef defaults;
  Json out = Json::object();
  out["id"] = style.dbId();
  out["name"] = narrow(style.name());
  auto text = [&](const char* key, const CWsz& value) {
    if (!value.isEmpty()) out[key] = narrow(value);
  };
  text("typeFace", style.typeFace());
  text("fontFile", style.fontFile());
  text("bigFontFile", style.bigFontFile());
  auto flag = [&](const char* key, bool value) {
    if (value) out[key] = true;
  };
  flag("bold", style.isBold());
  flag("italic", style.isItalic());
  flag("vertical", style.isVertical());
  flag("hasShapeFile", style.hasShapeFile());
  auto number = [&](const char* key, long value) {
    if (value) out[key] = value;
  };
  number("charSet", style.charSet());
  number("pitch", style.pitch());
  number("family", style.family());
  number("flags", style.flags());
  if (style.oblAngle() != defaults.oblAngle()) out["oblAngle"] = real(style.oblAngle());
  if (style.textSize() != defaults.textSize()) out["textSize"] = real(style.textSize());
  if (style.xScale() != defaults.xScale()) out["xScale"] = real(style.xScale());
  return out;
}

Json toJson(const CKdLayerDef& layer) {
  return Json{{"number", layer.layerNumber()},
              {"description", narrow(layer.desc())},
              {"name", narrow(layer.name())},
              {"linetype", narrow(layer.linetype())},
              {"colour", layer.colorNmb()}};
}

Json toJson(const CKdDimtextFormat& format) {
  const CKdDimtextFormat defaults;
  const CKdDimtextOptions& o = format.options();
  auto option = [](const char* name, short value) { return name ? Json(name) : Json(value); };
  Json out = Json::object();
  out["id"] = format.id();
  out["description"] = narrow(format.desc());
  out["format"] = narrow(format.fmt());
  out["style"] = narrow(format.styleName());
  out["height"] = real(format.textHeight());
  out["colour"] = colourJson(format.textColor());
  out["border"] = option(nameOf(kBorderNames, o.borderType()), o.borderType());
  out["refline"] = option(nameOf(kReflineNames, o.reflineType()), o.reflineType());
  out["alignment"] = option(nameOf(kAlignmentNames, o.alignmentFlags()), o.alignmentFlags());
  if (format.fixedBorderDim() != defaults.fixedBorderDim())
    out["fixedBorderSize"] = real(format.fixedBorderDim());
  if (format.refItemSize() != defaults.refItemSize())
    out["refItemSize"] = real(format.refItemSize());
  return out;
}

Json toJson(const CVxSymbolModel& symbol) {
  Json out = Json::object();
  out["id"] = symbol.projectId();
  out["symbol"] = symbol.symbolId();
  if (!symbol.desc().isEmpty()) out["description"] = narrow(symbol.desc());
  out["drawing"] = drawingJson(symbol.nodes());
  return out;
}

Json toJson(const CKdPartIdFormat& format) {
  Json out = Json::object();
  out["id"] = format.dbId();
  if (!format.guid().isNull()) out["guid"] = narrow(format.guid().toWsz());
  out["description"] = narrow(format.desc());
  out["format"] = narrow(format.format());
  return out;
}

Json propertyValueJson(const CKdProperty& property) {
  if (!property.hasValue()) return nullptr;
  const std::string text = narrow(property.getValueAsText(false));
  if (property.valueType() == CKdPropertyValue::typeText) return text;
  Json number = Json::parse(text, nullptr, false);
  return number.is_number() ? number : Json(text);
}

Json toJson(const CKdProductDef& product, const PolySet* set) {
  Json out = Json::object();
  if (set) out["set"] = set->name;
  out["id"] = product.dbId();
  if (!product.guid().isNull()) out["guid"] = narrow(product.guid().toWsz());
  out["description"] = narrow(product.desc());
  if (product.partIdFmtId() > 0) out["partIdFormat"] = product.partIdFmtId();
  if (product.colorNmb() != CKdProductDef::colorByLayer)
    out["colour"] = colourJson(product.colorNmb());
  if (!product.lineType().isEmpty()) out["linetype"] = narrow(product.lineType());
  if (product.lineWidth() > CKdProductDef::minStoredLineWidth)
    out["lineWidth"] = real(product.lineWidth());
  if (product.hasSymbol()) out["symbol"] = product.symbolId();
  if (product.systemId() > 0) out["system"] = product.systemId();
  if (product.hpvSystemTypeId() != HpvSystems::noTypeId)
    out["hpvSystemType"] = product.hpvSystemTypeId();
  Json properties = Json::object();
  for (int i = 0; i < product.properties().length(); ++i) {
    const CKdProperty* property = product.properties().objAt(i);
    properties[narrow(property->name())] = propertyValueJson(*property);
  }
  out["properties"] = std::move(properties);
  Json texts = Json::array();
  const CKdIntegratedTextArray& integrated = product.getIntegratedTexts();
  for (int i = 0; i < integrated.length(); ++i) {
    const CKdIntegratedText* text = integrated.objAt(i);
    Json item = Json::object();
    item["format"] = text->formatId();
    item["offset"] = Json::array({real(text->xOffset()), real(text->yOffset())});
    if (text->rotation() != 0) item["rotation"] = text->rotation();
    if (text->directionByUcs()) item["ucsDirection"] = true;
    texts.push_back(std::move(item));
  }
  out["texts"] = std::move(texts);
  return out;
}

}  // namespace vkd
