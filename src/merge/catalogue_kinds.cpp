// The kinds of the product catalogue: the product groups, the product definitions filed under
// them and the block definitions with their items. The catalogue is one flat array of groups
// in a project; the products and blocks are reached through an index of the groups.

#include <unordered_map>

#include "merge/array_kind.h"

namespace VxKd {

namespace {

constexpr long kRoot = CKdProductGroup::rootGroupDefinitions;

// The groups, products and blocks of one project as the kinds count them: the stored groups
// (ids of 1 or more) in array order, and the products and blocks of those and of the root
// -1 (the only root whose products and blocks are stored), group by group.
struct CatalogueIndex {
  std::vector<int> groups;
  std::vector<std::pair<int, int>> products;  // (group index, position)
  std::vector<std::pair<int, int>> blocks;
};

std::unordered_map<const CKdProject*, CatalogueIndex>& indexes() {
  thread_local std::unordered_map<const CKdProject*, CatalogueIndex> all;
  return all;
}

const CatalogueIndex& indexOf(const CKdProject& project) {
  auto it = indexes().find(&project);
  if (it != indexes().end()) return it->second;
  CatalogueIndex& index = indexes()[&project];
  const CKdProductGroupArray& groups = project.productGroups();
  for (int g = 0; g < groups.length(); ++g) {
    const CKdProductGroup& group = *groups.objAt(g);
    if (!group.isRoot()) index.groups.push_back(g);
    if (group.isRoot() && group.dbId() != kRoot) continue;
    for (int k = 0; k < group.products().length(); ++k) index.products.emplace_back(g, k);
    for (int k = 0; k < group.blocks().length(); ++k) index.blocks.emplace_back(g, k);
  }
  return index;
}

const CKdProductGroup& groupAt(const CKdProject& p, int index) {
  return *p.productGroups().objAt(index);
}
CKdProductGroup& groupAt(CKdProject& p, int index) { return *p.productGroups().objAt(index); }

// By GUID; an item without one by its description.
template <class T>
std::wstring guidOrDescriptionKey(const T& o) {
  if (!o.guid().isNull()) return L"g:" + std::wstring(o.guid().toWsz().str());
  return L"d:" + foldedName(o.desc());
}
template <class T>
std::string guidOrDescription(const T& o) {
  return o.guid().isNull() ? utf8(o.desc()) : utf8(o.guid().toWsz());
}

// A group's place in the tree: the root its topmost group hangs under (whether the array
// holds that root or not) and its path, ignoring case.
std::wstring pathKey(const CKdProject& p, const CKdProductGroup& g) {
  std::vector<CKdProductGroup*> path;
  p.productGroups().getGroupPath(g.dbId(), path);
  const long root = path.empty() ? g.ownerGroupId() : path.front()->ownerGroupId();
  return L"p:" + std::to_wstring(root) + L":" +
         foldedName(p.productGroups().getGroupPath(g.dbId()));
}

// A group's owner: the root -1 or another group, compared and copied through the groups'
// maps.
Field<CKdProductGroup> ownerField() {
  using Item = CKdProductGroup;
  Field<Item> field =
      intField<Item, &Item::ownerGroupId, &Item::setOwnerId, INT32_MIN, INT32_MAX>("owner");
  field.same = [](const Item& a, const Item& b, const RefMaps& maps) {
    return mapGroupId(maps, a.ownerGroupId()) == b.ownerGroupId();
  };
  field.remap = [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
    const long owner = mapGroupId(maps, o.ownerGroupId());
    if (owner == RefMaps::kUnmatched || (o.ownerGroupId() >= 1 && owner == 0))
      unresolved.append(datasetKindTitle(kindProductGroups)
                            .cat(L": ")
                            .cat(maps.missingName(kindProductGroups, o.ownerGroupId())));
    else
      o.setOwnerId(owner);
  };
  field.show = [](const Item& o, const CKdProject& project) {
    return groupPathJson(project, o.ownerGroupId());
  };
  return field;
}

struct GroupTraits : TraitsBase<GroupTraits> {
  using Item = CKdProductGroup;
  static constexpr datasetKind kKind = kindProductGroups;
  static constexpr long kMaxId = CKdProductGroup::kMaxId;

  static int count(const CKdProject& p) { return static_cast<int>(indexOf(p).groups.size()); }
  static const Item* at(const CKdProject& p, int i) { return &groupAt(p, indexOf(p).groups[i]); }
  static Item* at(CKdProject& p, int i) { return &groupAt(p, indexOf(p).groups[i]); }
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::dbId, &Item::setDbId, 1, kMaxId, true>("id"), ownerField(),
            intField<Item, &Item::orderNmb, &Item::setOrderNmb, INT32_MIN, INT32_MAX>("order"),
            guidField<Item>("guid"), textField<Item, &Item::desc, &Item::setDesc>("description")};
  }
  // By GUID, then by the path for those that the GUIDs left alone; a group without a GUID by
  // its path at once.
  static std::wstring matchKeyAt(const CKdProject& p, int i) {
    const Item& g = *at(p, i);
    return g.guid().isNull() ? pathKey(p, g) : L"g:" + std::wstring(g.guid().toWsz().str());
  }
  static std::wstring secondKeyAt(const CKdProject& p, int i) {
    const Item& g = *at(p, i);
    return g.guid().isNull() ? std::wstring() : pathKey(p, g);
  }
  static std::string planKeyAt(const CKdProject& p, int i) {
    const Item& g = *at(p, i);
    return g.guid().isNull() ? utf8(p.productGroups().getGroupPath(g.dbId()))
                             : utf8(g.guid().toWsz());
  }
  static CWsz displayNameAt(const CKdProject& p, int i) {
    return p.productGroups().getGroupPath(at(p, i)->dbId());
  }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  // Report definitions name their device groups by GUID.
  static CWsz refName(const Item& o) { return o.guid().isNull() ? CWsz() : o.guid().toWsz(); }
  static bool append(CKdProject& p, const Item& o) {
    invalidateCatalogueIndexes();
    return p.productGroups().append(&o);
  }
  // Owners may come after the groups they own: they are checked once all are read.
  static bool afterLoad(CKdProject& p, const JsonNode& items, LoadContext& c) {
    for (const JsonNode& element : items.elements) {
      const JsonNode& owner = *element.find("owner");
      const long id = static_cast<long>(owner.integer);
      const CKdProductGroup* group = p.productGroups().findGroup(id);
      if (id != kRoot && (id < 1 || !group || group->dbId() == element.find("id")->integer))
        return c.fail(owner,
                      "\"owner\" must be -1 or the id of another group, not " + owner.describe());
    }
    return true;
  }
  // Placed with appendGroupPath: under the target's group that the owner became, with the
  // source's GUID unless a group of the target has it already.
  static void create(CKdProject& target, const CKdProject&, int, Item& copy, long id, long) {
    CKdProductGroupArray& groups = target.productGroups();
    const long parent = copy.ownerGroupId();
    std::vector<CKdProductGroup*> path;
    if (parent >= 1) groups.getGroupPath(parent, path);
    CKdProductGroup placed;
    placed.init(id, parent, copy.orderNmb(), copy.guid(), copy.desc());
    path.push_back(&placed);
    // An owner whose links lead to no root (a loop) puts the group at the top.
    long root = parent >= 1 ? groups.findRootGroupId(parent) : parent;
    if (root == 0) {
      root = kRoot;
      path.assign(1, &placed);
    }
    groups.appendGroupPath(path, static_cast<CKdProductGroup::groupRootId>(root));
  }
  // The target's group keeps its id, products and blocks.
  static void replace(CKdProject& p, int index, const Item& copy) {
    Item* group = at(p, index);
    group->setOwnerId(copy.ownerGroupId());
    group->setOrderNmb(copy.orderNmb());
    group->setGuid(copy.guid());
    group->setDesc(copy.desc());
  }
};

struct ProductTraits : TraitsBase<ProductTraits> {
  using Item = CKdProductDef;
  static constexpr datasetKind kKind = kindProducts;
  static constexpr bool kGrouped = true;
  static constexpr long kMaxId = CKdProductDefArray::kMaxId;

  static int count(const CKdProject& p) { return static_cast<int>(indexOf(p).products.size()); }
  static const Item* at(const CKdProject& p, int i) {
    const auto [g, k] = indexOf(p).products[i];
    return groupAt(p, g).products().objAt(k);
  }
  static Item* at(CKdProject& p, int i) {
    const auto [g, k] = indexOf(p).products[i];
    return groupAt(p, g).products().objAt(k);
  }
  static long groupOf(const CKdProject& p, int i) {
    return groupAt(p, indexOf(p).products[i].first).dbId();
  }
  static std::vector<Field<Item>> fields() { return productFields(); }
  static std::wstring matchKey(const Item& o) { return guidOrDescriptionKey(o); }
  static std::string planKey(const Item& o) { return guidOrDescription(o); }
  static CWsz displayName(const Item& o) { return o.desc(); }
  // Block items name their products by GUID.
  static CWsz refName(const Item& o) { return o.guid().isNull() ? CWsz() : o.guid().toWsz(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  // The key of a group's product holds four digits of its id, that of the root's six.
  static long maxIdIn(long group) {
    return group == kRoot ? CKdProductDefArray::kMaxId : CKdProductDefArray::kMaxGroupProductId;
  }
  static bool appendTo(CKdProject& p, long group, const Item& o) {
    CKdProductGroup* g = p.productGroups().findGroup(group);
    invalidateCatalogueIndexes();
    return g && g->products().append(&o);
  }
  static void afterCopy(const CKdProject& target, Item& o) {
    adoptDefinitions(o.properties(), target.propertyDefs());
  }
};

// ---- Block items ----

// A point or vector: three numbers, kept in single precision as the dataset stores them.
template <class T, class P, const P& (T::*Get)() const, void (T::*Set)(const P&)>
Field<T> pointField(const char* key) {
  return {
      key,
      false,
      [](const T& o) -> Json {
        const P& v = (o.*Get)();
        return Json::array({floatJson(static_cast<float>(v.x)), floatJson(static_cast<float>(v.y)),
                            floatJson(static_cast<float>(v.z))});
      },
      [](T& o, const JsonNode& n, LoadContext& c) {
        float xyz[3] = {};
        if (n.type != JsonNode::typeArray || n.elements.size() != 3 ||
            !floatFromJson(n.elements[0], xyz[0]) || !floatFromJson(n.elements[1], xyz[1]) ||
            !floatFromJson(n.elements[2], xyz[2]))
          return c.mustBe(n, "a list of three numbers in the range of a float");
        P v;
        v.x = xyz[0];
        v.y = xyz[1];
        v.z = xyz[2];
        (o.*Set)(v);
        return true;
      },
      [](const T& a, const T& b, const RefMaps&) {
        const P& x = (a.*Get)();
        const P& y = (b.*Get)();
        return sameFloat(static_cast<float>(x.x), static_cast<float>(y.x)) &&
               sameFloat(static_cast<float>(x.y), static_cast<float>(y.y)) &&
               sameFloat(static_cast<float>(x.z), static_cast<float>(y.z));
      },
      nullptr,
      nullptr};
}

// An item's stored graphics as hexadecimal digits, two per byte; "" for none.
Field<CKdBlockItem> graphicsField() {
  using Item = CKdBlockItem;
  return {"graphics",
          false,
          [](const Item& o) -> Json {
            static constexpr char kDigits[] = "0123456789ABCDEF";
            std::string hex;
            const CByteBuffer& bytes = o.graphicsData();
            hex.reserve(static_cast<size_t>(bytes.size()) * 2);
            for (int i = 0; i < bytes.size(); ++i) {
              hex += kDigits[bytes.data()[i] >> 4];
              hex += kDigits[bytes.data()[i] & 15];
            }
            return hex;
          },
          [](Item& o, const JsonNode& n, LoadContext& c) {
            auto digit = [](char h) {
              return h >= '0' && h <= '9'   ? h - '0'
                     : h >= 'A' && h <= 'F' ? h - 'A' + 10
                     : h >= 'a' && h <= 'f' ? h - 'a' + 10
                                            : -1;
            };
            std::vector<uint8_t> bytes;
            bool ok = n.type == JsonNode::typeString && n.text.size() % 2 == 0;
            for (size_t i = 0; ok && i < n.text.size(); i += 2) {
              const int high = digit(n.text[i]), low = digit(n.text[i + 1]);
              ok = high >= 0 && low >= 0;
              bytes.push_back(static_cast<uint8_t>(high * 16 + low));
            }
            if (!ok) return c.mustBe(n, "hexadecimal digits, two per byte");
            if (!o.setGraphicsData(bytes.data(), static_cast<int>(bytes.size())))
              return c.fail(n, "\"graphics\" holds more than " +
                                   std::to_string(CKdBlockItem::maxGraphicsBytes) + " bytes");
            return true;
          },
          [](const Item& a, const Item& b, const RefMaps&) {
            return a.graphicsData() == b.graphicsData();
          },
          nullptr,
          nullptr};
}

// The product an item stands for, by its GUID, compared and copied through the products'
// maps.
Field<CKdBlockItem> itemProductField() {
  using Item = CKdBlockItem;
  Field<Item> field = guidField<Item>("product");
  field.same = [](const Item& a, const Item& b, const RefMaps& maps) {
    CWsz mapped;
    return maps.name(kindProducts, a.guid().isNull() ? CWsz() : a.guid().toWsz(), mapped) &&
           RefMaps::nameKey(kindProducts, mapped) ==
               RefMaps::nameKey(kindProducts, b.guid().isNull() ? CWsz() : b.guid().toWsz());
  };
  field.remap = [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
    if (o.guid().isNull()) return;
    CWsz mapped;
    if (!maps.name(kindProducts, o.guid().toWsz(), mapped)) {
      unresolved.append(datasetKindTitle(kindProducts).cat(L": ").cat(o.guid().toWsz()));
      return;
    }
    CKdGuid guid;
    guid.fromWsz(mapped);
    o.setGuid(guid);
  };
  return field;
}

const std::vector<Field<CKdBlockItem>>& blockItemFields() {
  using Item = CKdBlockItem;
  static const std::vector<Field<Item>> fields = {
      itemProductField(),
      textField<Item, &Item::name, &Item::setName>("name"),
      intField<Item, &Item::getType, &Item::setType, INT16_MIN, INT16_MAX>("type"),
      pointField<Item, CGmPoint, &Item::position, &Item::setPosition>("position"),
      pointField<Item, CGmVector, &Item::firstAxis, &Item::setFirstAxis>("firstAxis"),
      pointField<Item, CGmVector, &Item::secondAxis, &Item::setSecondAxis>("secondAxis"),
      floatField<Item, &Item::lineWidth, &Item::setLineWidth>("lineWidth"),
      nameRefField<Item, &Item::lineType, &Item::setLineType, kindLinetypes>("linetype"),
      intField<Item, &Item::colorNmb, &Item::setColorNmb, INT16_MIN, INT16_MAX>("color"),
      floatField<Item, &Item::scale, &Item::setScale>("scale"),
      graphicsField(),
      propertiesField<Item>()};
  return fields;
}

// A block's items: a list of objects of the item fields, compared item by item in order.
Field<CKdBlock> blockItemsField() {
  using Item = CKdBlock;
  return {"items",
          false,
          [](const Item& o) -> Json {
            Json list = Json::array();
            for (int i = 0; i < o.items().length(); ++i) {
              Json entry = Json::object();
              for (const Field<CKdBlockItem>& f : blockItemFields())
                entry[f.key] = f.dump(*o.items().objAt(i));
              list.push_back(std::move(entry));
            }
            return list;
          },
          [](Item& o, const JsonNode& n, LoadContext& c) {
            if (n.type != JsonNode::typeArray) return c.mustBe(n, "a list");
            o.items().reset();
            for (const JsonNode& e : n.elements) {
              if (e.type != JsonNode::typeObject) return c.mustBe(e, "a list of objects");
              CKdBlockItem item;
              for (const JsonMember& member : e.members) {
                const Field<CKdBlockItem>* found = nullptr;
                for (const Field<CKdBlockItem>& f : blockItemFields())
                  if (member.key == f.key) found = &f;
                if (!found)
                  return c.fail(member.line, "unknown field \"" + member.key + "\" in \"items\"");
                c.field = found->key;
                if (!found->load(item, member.value, c)) return false;
              }
              for (const Field<CKdBlockItem>& f : blockItemFields())
                if (!e.find(f.key))
                  return c.fail(e, "\"" + std::string(f.key) + "\" is missing in \"items\"");
              o.items().append(&item);
            }
            return true;
          },
          [](const Item& a, const Item& b, const RefMaps& maps) {
            if (a.items().length() != b.items().length()) return false;
            for (int i = 0; i < a.items().length(); ++i)
              for (const Field<CKdBlockItem>& f : blockItemFields())
                if (!f.same(*a.items().objAt(i), *b.items().objAt(i), maps)) return false;
            return true;
          },
          [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
            for (int i = 0; i < o.items().length(); ++i)
              for (const Field<CKdBlockItem>& f : blockItemFields())
                if (f.remap) f.remap(*o.items().objAt(i), maps, unresolved);
          },
          nullptr};
}

struct BlockTraits : TraitsBase<BlockTraits> {
  using Item = CKdBlock;
  static constexpr datasetKind kKind = kindBlocks;
  static constexpr bool kGrouped = true;
  static constexpr bool kHasIds = false;
  static constexpr long kMaxId = 0;

  static int count(const CKdProject& p) { return static_cast<int>(indexOf(p).blocks.size()); }
  static const Item* at(const CKdProject& p, int i) {
    const auto [g, k] = indexOf(p).blocks[i];
    return groupAt(p, g).blocks().objAt(k);
  }
  static Item* at(CKdProject& p, int i) {
    const auto [g, k] = indexOf(p).blocks[i];
    return groupAt(p, g).blocks().objAt(k);
  }
  static long groupOf(const CKdProject& p, int i) {
    return groupAt(p, indexOf(p).blocks[i].first).dbId();
  }
  static std::vector<Field<Item>> fields() {
    return {guidField<Item>("guid"), textField<Item, &Item::desc, &Item::setDesc>("description"),
            blockItemsField()};
  }
  static std::wstring matchKey(const Item& o) { return guidOrDescriptionKey(o); }
  static std::string planKey(const Item& o) { return guidOrDescription(o); }
  static CWsz displayName(const Item& o) { return o.desc(); }
  static long id(const Item&) { return 0; }
  static void setId(Item&, long) {}
  // A block is stored only when its key and those of all its items can be written: the
  // group takes six digits in a block's key but four in an item's.
  static bool appendTo(CKdProject& p, long group, const Item& o) {
    CKdProductGroup* g = p.productGroups().findGroup(group);
    invalidateCatalogueIndexes();
    return g && g->blocks().append(&o);
  }
  static bool check(const CKdProject& p, const Item& o, const JsonNode& n, LoadContext& c) {
    const long group = static_cast<long>(n.find("group")->integer);
    const CKdProductGroup* g = p.productGroups().findGroup(group);
    const long number = g ? g->blocks().length() + 1 : 1;
    if (o.canBuildDbIds(group, number)) return true;
    return c.fail(n, "block \"" + utf8(o.desc()) + "\" cannot be stored: its group id, its " +
                         "number in the group or its count of items is beyond what the keys "
                         "hold");
  }
  static void afterCopy(const CKdProject& target, Item& o) {
    for (int i = 0; i < o.items().length(); ++i)
      adoptDefinitions(o.items().objAt(i)->properties(), target.propertyDefs());
  }
};

const ArrayKind<GroupTraits> kGroupKind;
const ArrayKind<ProductTraits> kProductKind;
const ArrayKind<BlockTraits> kBlockKind;

}  // namespace

void invalidateCatalogueIndexes() { indexes().clear(); }

Json groupPathJson(const CKdProject& project, long id) {
  return id < 1 ? Json("") : textJson(project.productGroups().getGroupPath(id));
}

const KindAdapter* catalogueKind(datasetKind kind) {
  switch (kind) {
    case kindProductGroups:
      return &kGroupKind;
    case kindProducts:
      return &kProductKind;
    case kindBlocks:
      return &kBlockKind;
    default:
      return nullptr;
  }
}

}  // namespace VxKd
