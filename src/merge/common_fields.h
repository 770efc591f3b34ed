#pragma once
// The fields that several kinds of definition share (units, value types, GUIDs, symbol ids,
// property sets, integrated texts, a symbol's nodes, references to part ID formats), and
// the helpers that read the members of an object of a text form.

#include <cstring>
#include <initializer_list>

#include "merge/fields.h"
#include "vxkd/dataset/project.h"

namespace VxKd {

// The value types by their names in the text form.
inline constexpr const char* kValueTypeNames[] = {"none",  "text",   "int16",
                                                  "int32", "single", "double"};
inline constexpr int kValueTypeCount = sizeof kValueTypeNames / sizeof kValueTypeNames[0];

inline std::string utf8(const wchar_t* text) { return cuSz::toUtf8(text ? text : L""); }

// Checks that `n` is an object with exactly the members `keys`; on failure names the first
// one missing or unknown.
bool checkMembers(const JsonNode& n, std::initializer_list<const char*> keys, LoadContext& c);
// The member `key` (which checkMembers found) as a whole number from `min` to `max`, or as
// a float.
bool intMember(const JsonNode& n, const char* key, long long min, long long max, long long& value,
               LoadContext& c);
bool floatMember(const JsonNode& n, const char* key, float& value, LoadContext& c);
// Bit for bit, as the text form shows floats.
bool sameFloat(float a, float b);

// A property's value as the text form holds it: typed as its definition, null for none.
Json valueJson(const CKdProperty& p);
// Sets the value of `p`, whose type is its definition's, from `n`.
bool valueFromJson(CKdProperty& p, const JsonNode& n, LoadContext& c);
// Equal values of equal types, exactly as the text form shows them.
bool sameValue(const CKdProperty& a, const CKdProperty& b);
// Gives each property of `properties` the definition of its id in `defs`: its name, unit and
// decimals, and its value type (a value is printed and read again as the new type). A
// property whose definition `defs` lacks is removed: it would vanish when the dataset is
// read.
void adoptDefinitions(CKdPropertyArray& properties, const CKdPropertyDefArray& defs);

// A product's integrated texts, a symbol's nodes, a product's symbol, a product's part ID
// format.
Field<CKdProductDef> integratedTextsField();
Field<CVxSymbolModel> nodesField();
Field<CKdProductDef> productSymbolField();
Field<CKdProductDef> partIdFormatField();
// Every field of a product definition, those of a poly-object set and a group's alike. The
// part ID and its template are worked out when a drawing needs them; the position and the
// two flags belong to a drawing. None is stored.
std::vector<Field<CKdProductDef>> productFields();

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

// A property set (a product's, a block item's): [{"id": definition id, "value": typed
// value}], compared by the definitions they belong to, in any order.
template <class Item>
Field<Item> propertiesField() {
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

}  // namespace VxKd
