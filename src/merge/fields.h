#pragma once
// The fields of a kind of definition, once: each field's name in the text form, how it is
// written and read there, how two items are compared on it and how a copied item's
// references are rewritten. The text form, the comparison and the merge walk the same
// tables, so a field added to a kind reaches all three.

#include <bit>
#include <climits>
#include <functional>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "merge/json_reader.h"
#include "merge/json_writer.h"
#include "vxkd/merge/dataset_kind.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/sz.h"
#include "vxkd/platform/wsz.h"

class CKdProject;
class CKdPropertyDefArray;

namespace VxKd {

// Reading a text form: where the reader stands, and the first failure with its line.
class LoadContext {
 public:
  // The field being read, for the messages.
  const char* field = "";
  // The property definitions of the dataset being read, for its property sets.
  const CKdPropertyDefArray* propertyDefs = nullptr;

  // Records the failure (the first one is kept) and returns false.
  bool fail(int line, const std::string& message) {
    if (error.message.empty()) error = {line, message};
    return false;
  }
  bool fail(const JsonNode& at, const std::string& message) { return fail(at.line, message); }
  // "\"field\" must be <what>" at `at`.
  bool mustBe(const JsonNode& at, const std::string& what) {
    return fail(at, "\"" + std::string(field) + "\" must be " + what + ", not " + at.describe());
  }

  JsonError error;
};

// A name as the matching compares it: every character case-folded.
std::wstring foldedName(const wchar_t* name);

// How the references of the source read in the other dataset. A comparison fills it from
// the matching, a merge from its plan. An item with no counterpart reads as kUnmatched (a
// name: as unmatched); a reference to something that the source does not hold at all reads
// as itself when comparing, and as "none" when merging, so that a merge never carries a
// reference to nothing into a dataset where that id may name something else.
class RefMaps {
 public:
  static constexpr long kUnmatched = LONG_MIN;
  enum mode { forComparison, forMerge };

  explicit RefMaps(mode m) : mode_(m) {}
  mode refMode() const { return mode_; }

  void mapId(datasetKind kind, long from, long to) { ids_[kind][from] = to; }
  void mapName(datasetKind kind, const wchar_t* from, const wchar_t* to) {
    names_[kind][nameKey(kind, from)] = {true, to};
  }
  // `display` names the item in the messages of an unresolved reference.
  void unmatchId(datasetKind kind, long from, const CWsz& display) {
    ids_[kind][from] = kUnmatched;
    missing_[kind][from] = display;
  }
  void unmatchName(datasetKind kind, const wchar_t* from) {
    names_[kind][nameKey(kind, from)] = {false, CWsz()};
  }

  // The id `id` of kind `kind` as the other dataset reads it; `none` is the kind's "no
  // reference" value (0, -1), which stays itself.
  long id(datasetKind kind, long id, long none) const;
  // The name `name` as the other dataset reads it: false when its item has no counterpart.
  // A name the source holds no item of (CONTINUOUS, BYLAYER, an empty one) stays itself.
  bool name(datasetKind kind, const wchar_t* name, CWsz& out) const;
  // What users read of an unmatched item of `kind` with id `id`.
  CWsz missingName(datasetKind kind, long id) const;

  // Names of symbols are exact; the other names ignore case.
  static std::wstring nameKey(datasetKind kind, const wchar_t* name);

 private:
  struct NameTarget {
    bool matched = false;
    CWsz name;
  };
  mode mode_;
  std::unordered_map<long, long> ids_[kindCount];
  std::unordered_map<long, CWsz> missing_[kindCount];
  std::unordered_map<std::wstring, NameTarget> names_[kindCount];
};

// What a copy could not resolve: texts such as `Linetype "DASHED"`.
using Unresolved = CWszArray;

template <class T>
struct Field {
  const char* key;
  // The item's own id: in the text form, but never compared and never copied over another.
  bool identity;
  Json (*dump)(const T&);
  bool (*load)(T&, const JsonNode&, LoadContext&);
  // True when a source item (first) and a current item agree on this field.
  bool (*same)(const T&, const T&, const RefMaps&);
  // Rewrites the references of a copy of a source item; null for a field without. Each
  // reference that does not resolve is named in `unresolved`.
  void (*remap)(T&, const RefMaps&, Unresolved&);
  // How the field shows in a difference when its references need the dataset to be read
  // (names instead of ids); null: as dumped.
  Json (*show)(const T&, const CKdProject&);
};

inline Json textJson(const CWsz& text) { return cuSz::toUtf8(text.str()); }

template <class T, auto Get, auto Set>
Field<T> textField(const char* key) {
  return {key,
          false,
          [](const T& o) -> Json { return textJson(std::invoke(Get, o)); },
          [](T& o, const JsonNode& n, LoadContext& c) {
            // A dataset's texts end at the first NUL: one inside would cut the text.
            if (n.type != JsonNode::typeString || n.text.find('\0') != std::string::npos)
              return c.mustBe(n, "a text without the character U+0000");
            std::invoke(Set, o, CWsz(cuSz::fromUtf8(n.text)).wsz());
            return true;
          },
          [](const T& a, const T& b, const RefMaps&) {
            return std::invoke(Get, a) == std::invoke(Get, b);
          },
          nullptr,
          nullptr};
}

// A whole number from Min to Max, of the type that `Get` returns.
template <class T, auto Get, auto Set, long long Min, long long Max, bool Identity = false>
Field<T> intField(const char* key) {
  return {key,
          Identity,
          [](const T& o) -> Json { return static_cast<long long>(std::invoke(Get, o)); },
          [](T& o, const JsonNode& n, LoadContext& c) {
            if (n.type != JsonNode::typeInteger || n.tooLarge || n.integer < Min || n.integer > Max)
              return c.mustBe(
                  n, "a whole number from " + std::to_string(Min) + " to " + std::to_string(Max));
            using Value = std::remove_cvref_t<std::invoke_result_t<decltype(Get), const T&>>;
            std::invoke(Set, o, static_cast<Value>(n.integer));
            return true;
          },
          [](const T& a, const T& b, const RefMaps&) {
            return std::invoke(Get, a) == std::invoke(Get, b);
          },
          nullptr,
          nullptr};
}

template <class T, auto Get, auto Set>
Field<T> floatField(const char* key) {
  return {key, false, [](const T& o) -> Json { return floatJson(std::invoke(Get, o)); },
          [](T& o, const JsonNode& n, LoadContext& c) {
            float value = 0;
            if (!floatFromJson(n, value)) return c.mustBe(n, "a number in the range of a float");
            std::invoke(Set, o, value);
            return true;
          },
          // Bit for bit, so that a NaN agrees with itself and -0 differs from 0, as in the
          // text form.
          [](const T& a, const T& b, const RefMaps&) {
            return std::bit_cast<uint32_t>(static_cast<float>(std::invoke(Get, a))) ==
                   std::bit_cast<uint32_t>(static_cast<float>(std::invoke(Get, b)));
          },
          nullptr, nullptr};
}

template <class T, auto Get, auto Set>
Field<T> boolField(const char* key) {
  return {key,
          false,
          [](const T& o) -> Json { return static_cast<bool>(std::invoke(Get, o)); },
          [](T& o, const JsonNode& n, LoadContext& c) {
            if (n.type != JsonNode::typeBool) return c.mustBe(n, "true or false");
            std::invoke(Set, o, n.boolean);
            return true;
          },
          [](const T& a, const T& b, const RefMaps&) {
            return std::invoke(Get, a) == std::invoke(Get, b);
          },
          nullptr,
          nullptr};
}

// A name of another kind's item (a linetype, a text style, a symbol): compared and copied
// through the maps of `Kind`.
template <class T, auto Get, auto Set, datasetKind Kind>
Field<T> nameRefField(const char* key) {
  Field<T> field = textField<T, Get, Set>(key);
  field.same = [](const T& a, const T& b, const RefMaps& maps) {
    CWsz mapped;
    return maps.name(Kind, CWsz(std::invoke(Get, a)), mapped) &&
           RefMaps::nameKey(Kind, mapped) == RefMaps::nameKey(Kind, CWsz(std::invoke(Get, b)));
  };
  field.remap = [](T& o, const RefMaps& maps, Unresolved& unresolved) {
    const CWsz name(std::invoke(Get, o));
    CWsz mapped;
    if (maps.name(Kind, name, mapped))
      std::invoke(Set, o, mapped.wsz());
    else
      unresolved.append(datasetKindTitle(Kind).cat(L": ").cat(name));
  };
  return field;
}

}  // namespace VxKd
