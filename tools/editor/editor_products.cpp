#include "editor_products.h"

#include <charconv>

#include "editor_forms.h"
#include "editor_text.h"
#include "vxkd/drawingdefs/linetype_def.h"
#include "vxkd/properties/format_string.h"

using json = nlohmann::json;

namespace vkdedit {
namespace {

// The colours a product may have: the host's indexes, 0 "by block" and 256 "by layer".
constexpr int kMaxProductColor = 256;
// The widest line a product draws with, in drawing units.
constexpr double kMaxLineWidth = 100;

struct PolySet {
  const char* name;
  VxKd::systemTypeIds type;
};
constexpr PolySet kPolySets[] = {{"ductDefs", VxKd::systemDuct},
                                 {"pipeDefs", VxKd::systemPipe},
                                 {"electricDefs", VxKd::systemElectric},
                                 {"dataDefs", VxKd::systemData}};

// The scalar fields of a product, checked as every form's fields are.
const FormKind& productFields() {
  static const FormKind kind = {
      "products",
      {{"desc", "Description", FormField::text},
       {"partIdFormat", "Part ID format", FormField::integer, nullptr, 0,
        CKdPartIdFormatArray::kMaxId},
       {"linetype", "Linetype", FormField::text},
       {"color", "Colour", FormField::integer, nullptr, 0, kMaxProductColor},
       {"lineWidth", "Line width", FormField::real, nullptr, 0, kMaxLineWidth}},
      false,
      false,
      nullptr,
      nullptr,
      nullptr,
      nullptr};
  return kind;
}

std::string propertiesText(const CKdPropertyArray& properties) {
  std::string text;
  for (int i = 0; i < properties.length(); ++i) {
    const CKdProperty* property = properties.objAt(i);
    if (i) text += ", ";
    text += utf8(property->name()) + "=" + utf8(property->getValueAsText(false));
  }
  return text;
}

// The names in the array `key` of `body`; false when it is there and is no array of texts.
bool namesIn(const json& body, const char* key, std::vector<std::string>& names) {
  auto it = body.find(key);
  if (it == body.end()) return true;
  if (!it->is_array()) return false;
  for (const json& name : *it) {
    if (!name.is_string()) return false;
    names.push_back(name.get<std::string>());
  }
  return true;
}

}  // namespace

CWsz productPartId(const CKdProject& project, const CKdProductDef& product) {
  const CKdPartIdFormat* format =
      product.partIdFmtId() > 0 ? project.partIdFormats().findId(product.partIdFmtId()) : nullptr;
  if (!format) return product.partId();
  CWsz partId;
  VxKd::buildFmtString(format->format(), product.properties(), partId);
  return partId;
}

const std::vector<std::string>& polySetNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> out;
    for (const PolySet& set : kPolySets) out.push_back(set.name);
    return out;
  }();
  return names;
}

bool findProductOwner(CKdProject& project, const std::string& name, ProductOwner& owner) {
  owner = ProductOwner();
  for (const PolySet& set : kPolySets) {
    if (name != set.name) continue;
    owner.products = project.polyDefSets(set.type);
    owner.maxId = CKdProductDefArray::kMaxId;
    return owner.products != nullptr;
  }
  long id = 0;
  const char* end = name.data() + name.size();
  auto [stop, error] = std::from_chars(name.data(), end, id);
  if (name.empty() || error != std::errc() || stop != end) return false;
  CKdProductGroup* group = project.productGroups().findGroup(id);
  if (!group) return false;
  owner.products = &group->products();
  owner.group = group;
  owner.maxId =
      group->isRoot() ? CKdProductDefArray::kMaxId : CKdProductDefArray::kMaxGroupProductId;
  return true;
}

json productRow(const CKdProject& project, const CKdProductDef& product) {
  return {{"id", product.dbId()},
          {"desc", utf8(product.desc())},
          {"partId", utf8(productPartId(project, product))},
          {"linetype", utf8(product.lineType())},
          {"color", product.colorNmb()},
          {"properties", propertiesText(product.properties())}};
}

json productJson(const CKdProject& project, const CKdProductDef& product) {
  json properties = json::array();
  for (int i = 0; i < product.properties().length(); ++i) {
    const CKdProperty& property = *product.properties().objAt(i);
    CWsz label;
    property.unit().getLabel(label);
    properties.push_back({{"name", utf8(property.name())},
                          {"value", utf8(property.getValueAsText(false))},
                          {"unitLabel", utf8(label)},
                          {"valueType", static_cast<int>(property.valueType())}});
  }
  json available = json::array();
  const CKdPropertyDefArray& defs = project.propertyDefs();
  for (int i = 0; i < defs.length(); ++i)
    if (!product.properties().findProperty(defs.objAt(i)->name()))
      available.push_back(utf8(defs.objAt(i)->name()));
  return {{"id", product.dbId()},
          {"desc", utf8(product.desc())},
          {"partId", utf8(productPartId(project, product))},
          {"partIdFormat", product.partIdFmtId()},
          {"linetype", utf8(product.lineType())},
          {"color", product.colorNmb()},
          {"lineWidth", product.lineWidth()},
          {"properties", properties},
          {"available", available}};
}

std::string checkProductFields(const CKdProject& project, const json& body) {
  if (std::string bad = checkFormFields(productFields(), project, body); !bad.empty()) return bad;
  std::vector<std::string> names;
  if (!namesIn(body, "removeProperties", names) || !namesIn(body, "addProperties", names))
    return "addProperties and removeProperties must be lists of names";
  auto values = body.find("properties");
  if (values != body.end() && !values->is_object()) return "properties must map names to values";
  return "";
}

std::string applyProductFields(const CKdProject& project, CKdProductDef& product,
                               const json& body) {
  if (std::string bad = checkProductFields(project, body); !bad.empty()) return bad;
  if (auto it = body.find("desc"); it != body.end()) {
    if (it->get<std::string>().empty()) return "a product needs a description";
    product.setDesc(wide(*it));
  }
  if (auto it = body.find("partIdFormat"); it != body.end()) {
    const long id = it->get<long>();
    if (id != 0 && !project.partIdFormats().findId(id))
      return "the dataset has no part ID format with id " + std::to_string(id);
    product.setPartIdFmtId(id);
  }
  if (auto it = body.find("linetype"); it != body.end()) {
    // Empty draws with the layer's linetype, as BYLAYER does.
    const CWsz name = wide(*it);
    if (!name.isEmpty() && !VxKd::isCommonLinetypeName(name) &&
        !project.linetypeDefs().findLinetypeDef(name))
      return "the dataset has no linetype \"" + it->get<std::string>() + "\"";
    product.setLineType(name);
  }
  if (auto it = body.find("color"); it != body.end())
    product.setColorNmb(static_cast<short>(it->get<int>()));
  if (auto it = body.find("lineWidth"); it != body.end())
    product.setLineWidth(static_cast<float>(it->get<double>()));

  CKdPropertyArray& properties = product.properties();
  std::vector<std::string> removed, added;
  namesIn(body, "removeProperties", removed);
  namesIn(body, "addProperties", added);
  for (const std::string& name : removed) {
    int index = -1;
    if (!properties.findProperty(wide(name), index))
      return "the product has no property \"" + name + "\"";
    properties.deleteAt(index);
  }
  for (const std::string& name : added) {
    const CKdPropertyDef* def = project.propertyDefs().findName(wide(name));
    if (!def) return "the dataset has no property definition \"" + name + "\"";
    if (properties.findProperty(def->name()))
      return "the product has the property \"" + name + "\" already";
    const CKdProperty property(*def);
    properties.append(&property);
  }
  if (auto values = body.find("properties"); values != body.end())
    for (const auto& [name, value] : values->items()) {
      CKdProperty* property = properties.findProperty(wide(name));
      if (!property || !value.is_string()) return "the product has no property \"" + name + "\"";
      if (!property->setValue(wide(value.get<std::string>())))
        return "\"" + value.get<std::string>() + "\" is no value of " + name;
    }

  const CKdPartIdFormat* format =
      product.partIdFmtId() > 0 ? project.partIdFormats().findId(product.partIdFmtId()) : nullptr;
  // The part ID is not stored: it is what the format builds, and nothing without one.
  product.setPartIdFmt(product.partIdFmtId(), format ? format->format().wsz() : L"");
  product.setPartId(format ? productPartId(project, product).wsz() : L"");
  return "";
}

std::string removeProduct(CKdProject& project, const ProductOwner& owner, int index) {
  if (project.deleteProductDefs(nullptr, *owner.products, CInt32Array{index})) return "";
  return "the product is placed by a block or the dataset cannot be written";
}

}  // namespace vkdedit
