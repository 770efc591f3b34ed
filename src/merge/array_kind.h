#pragma once
// ArrayKind: a kind of definition made of its traits, which say where a project keeps the
// items, their fields (fields.h) and what is particular to them; the text form, the
// comparison and the merge are the same for every kind. Items filed under product groups
// (products, blocks) are "grouped": their group is written and compared as the field
// "group", and a copy goes into the group that the source's group became.

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "merge/common_fields.h"
#include "merge/kinds.h"

namespace VxKd {

// What every kind's traits may leave out. `D` is the traits class itself; a traits class
// defines Item, kKind, kMaxId, count, at (both forms), fields, id, setId, append and either
// the item forms (matchKey, planKey, displayName) or the project forms (...At) of the keys.
template <class D>
struct TraitsBase {
  static constexpr bool kCanCreate = true;
  static constexpr bool kHasIds = true;
  static constexpr bool kGrouped = false;
  static constexpr long kMinId = 1;

  static std::wstring matchKeyAt(const CKdProject& p, int i) { return D::matchKey(*D::at(p, i)); }
  static std::wstring secondKeyAt(const CKdProject&, int) { return {}; }
  static std::string planKeyAt(const CKdProject& p, int i) { return D::planKey(*D::at(p, i)); }
  static CWsz displayNameAt(const CKdProject& p, int i) { return D::displayName(*D::at(p, i)); }
  template <class T>
  static CWsz refName(const T&) {
    return {};
  }
  template <class T>
  static bool check(const CKdProject&, const T&, const JsonNode&, LoadContext&) {
    return true;
  }
  // After the whole list of the kind was read.
  static bool afterLoad(CKdProject&, const JsonNode&, LoadContext&) { return true; }
  template <class T>
  static bool isProgramDefault(const T&) {
    return false;
  }
  static long maxIdIn(long) { return D::kMaxId; }
  template <class T>
  static void afterCopy(const CKdProject&, T&) {}
  // Adds a copy under `id` to `target`; `group` is the target's group of a grouped item.
  template <class T>
  static void create(CKdProject& target, const CKdProject&, int, T& copy, long id, long group) {
    D::setId(copy, id);
    if constexpr (D::kGrouped)
      D::appendTo(target, group, copy);
    else
      D::append(target, copy);
  }
  // The target's item takes every field of `copy` but keeps its id.
  template <class T>
  static void replace(CKdProject& project, int index, const T& copy) {
    T* item = D::at(project, index);
    const long id = D::id(*item);
    *item = copy;
    D::setId(*item, id);
  }
  template <class T>
  static void afterOverwrite(CKdProject&, const T&) {}
};

// The group `id` of the source as the other dataset reads it: a root stays itself.
inline long mapGroupId(const RefMaps& maps, long id) {
  return id < 1 ? id : maps.id(kindProductGroups, id, 0);
}

// The path of group `id` as a difference shows it ("" for a root).
Json groupPathJson(const CKdProject& project, long id);

template <class Traits>
class ArrayKind final : public KindAdapter {
 public:
  using T = typename Traits::Item;

  datasetKind kind() const override { return Traits::kKind; }
  int count(const CKdProject& p) const override { return Traits::count(p); }
  std::wstring matchKey(const CKdProject& p, int i) const override {
    return Traits::matchKeyAt(p, i);
  }
  std::wstring secondKey(const CKdProject& p, int i) const override {
    return Traits::secondKeyAt(p, i);
  }
  std::string planKey(const CKdProject& p, int i) const override { return Traits::planKeyAt(p, i); }
  CWsz displayName(const CKdProject& p, int i) const override {
    return Traits::displayNameAt(p, i);
  }
  long idAt(const CKdProject& p, int i) const override { return Traits::id(at(p, i)); }
  bool isProgramDefault(const CKdProject& p, int i) const override {
    return Traits::isProgramDefault(at(p, i));
  }
  CWsz refNameAt(const CKdProject& p, int i) const override { return Traits::refName(at(p, i)); }
  long scopeAt(const CKdProject& p, int i) const override {
    if constexpr (Traits::kGrouped) return Traits::groupOf(p, i);
    return 0;
  }
  long targetScope(const CKdProject& source, int s, const RefMaps& maps) const override {
    if constexpr (Traits::kGrouped) return mapGroupId(maps, Traits::groupOf(source, s));
    return 0;
  }

  Json dump(const CKdProject& p, int i) const override {
    const T& item = at(p, i);
    Json out = Json::object();
    if constexpr (Traits::kGrouped) out["group"] = Traits::groupOf(p, i);
    for (const Field<T>& f : fields()) out[f.key] = f.dump(item);
    return out;
  }

  bool load(CKdProject& p, const JsonNode& items, LoadContext& c) const override {
    c.field = datasetKindKey(Traits::kKind);
    if (items.type != JsonNode::typeArray) return c.mustBe(items, "a list");
    std::unordered_set<long long> ids;
    c.propertyDefs = &p.propertyDefs();
    for (const JsonNode& element : items.elements) {
      if (element.type != JsonNode::typeObject) {
        c.field = datasetKindKey(Traits::kKind);
        return c.mustBe(element, "a list of objects");
      }
      T item{};
      long group = 0;
      for (const JsonMember& member : element.members) {
        if (Traits::kGrouped && member.key == "group") {
          if (!readGroup(p, member.value, group, c)) return false;
          continue;
        }
        const Field<T>* f = find(member.key);
        if (!f)
          return c.fail(member.line, "unknown field \"" + member.key + "\" in \"" +
                                         datasetKindKey(Traits::kKind) + "\"");
        c.field = f->key;
        if (!f->load(item, member.value, c)) return false;
      }
      if (Traits::kGrouped && !element.find("group"))
        return c.fail(element, "\"group\" is missing in an item of \"" +
                                   std::string(datasetKindKey(Traits::kKind)) + "\"");
      for (const Field<T>& f : fields())
        if (!element.find(f.key))
          return c.fail(element, "\"" + std::string(f.key) + "\" is missing in an item of \"" +
                                     datasetKindKey(Traits::kKind) + "\"");
      // Ids are unique within their group.
      if (Traits::kHasIds && !ids.insert((static_cast<long long>(group) << 32) ^
                                         static_cast<uint32_t>(Traits::id(item)))
                                  .second)
        return c.fail(*element.find(identity().key),
                      std::string(datasetKindKey(Traits::kKind)) + ": the id " +
                          std::to_string(Traits::id(item)) + " appears twice");
      if (Traits::kHasIds && Traits::kGrouped && Traits::id(item) > Traits::maxIdIn(group))
        return c.fail(*element.find(identity().key),
                      "the id " + std::to_string(Traits::id(item)) + " is too large for a key in " +
                          (group < 1 ? "no group" : "a group") + ": at most " +
                          std::to_string(Traits::maxIdIn(group)));
      if (!Traits::check(p, item, element, c)) return false;
      bool added = false;
      if constexpr (Traits::kGrouped)
        added = Traits::appendTo(p, group, item);
      else
        added = Traits::append(p, item);
      if (!added) return c.fail(element, "out of memory");
    }
    return Traits::afterLoad(p, items, c);
  }

  void compare(const CKdProject& source, int s, const CKdProject& current, int c,
               const RefMaps& maps, std::vector<CKdFieldDifference>& out) const override {
    if constexpr (Traits::kGrouped) {
      const long from = Traits::groupOf(source, s);
      const long to = Traits::groupOf(current, c);
      if (mapGroupId(maps, from) != to)
        out.push_back(
            {"group", text(groupPathJson(source, from)), text(groupPathJson(current, to))});
    }
    const T& a = at(source, s);
    const T& b = at(current, c);
    for (const Field<T>& f : fields()) {
      if (f.identity || f.same(a, b, maps)) continue;
      out.push_back({f.key, text(f.show ? f.show(a, source) : f.dump(a)),
                     text(f.show ? f.show(b, current) : f.dump(b))});
    }
  }

  bool canCreate() const override { return Traits::kCanCreate; }
  bool hasIds() const override { return Traits::kHasIds; }
  long minId() const override { return Traits::kMinId; }
  long maxIdIn(long scope) const override { return Traits::maxIdIn(scope); }

  void create(CKdProject& target, const CKdProject& source, int s, long id, const RefMaps& maps,
              Unresolved& unresolved) const override {
    T copy = copyOf(target, source, s, maps, unresolved);
    const long group = targetScope(source, s, maps);
    if constexpr (Traits::kGrouped) {
      if (group == RefMaps::kUnmatched || group == 0) {
        unresolved.append(
            datasetKindTitle(kindProductGroups)
                .cat(L": ")
                .cat(maps.missingName(kindProductGroups, Traits::groupOf(source, s))));
        return;
      }
    }
    Traits::create(target, source, s, copy, id, group);
    invalidateCatalogueIndexes();
  }

  void overwrite(CKdProject& target, int t, const CKdProject& source, int s, const RefMaps& maps,
                 Unresolved& unresolved) const override {
    const T copy = copyOf(target, source, s, maps, unresolved);
    Traits::replace(target, t, copy);
    invalidateCatalogueIndexes();
    Traits::afterOverwrite(target, *Traits::at(target, t));
  }

 private:
  static const T& at(const CKdProject& p, int i) { return *Traits::at(p, i); }
  static std::string text(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
  }
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
  // A grouped item's "group": the root -1 or a group the text defines before it.
  static bool readGroup(const CKdProject& p, const JsonNode& n, long& group, LoadContext& c) {
    const CKdProductGroup* found = n.type == JsonNode::typeInteger && !n.tooLarge &&
                                           n.integer >= INT32_MIN && n.integer <= INT32_MAX
                                       ? p.productGroups().findGroup(static_cast<long>(n.integer))
                                       : nullptr;
    if (!found || (found->isRoot() && found->dbId() != CKdProductGroup::rootGroupDefinitions))
      return c.fail(
          n, "\"group\" must be -1 or the id of a group of \"productGroups\", not " + n.describe());
    group = found->dbId();
    return true;
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

}  // namespace VxKd
