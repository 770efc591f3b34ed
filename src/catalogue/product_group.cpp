#include "vxkd/catalogue/product_group.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "catalogue/block_records.h"
#include "foundation/record_key.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/properties/format_string.h"
#include "vxkd/ui/language.h"

namespace {

constexpr const char* kGroupRecord = "PG";
constexpr const char* kBlockRecord = "BS";

// The fields of a group's record.
enum groupField : short {
  fieldOwner = 1201,        // long
  fieldOrder = 1207,        // long
  fieldDescription = 1502,  // wide; written when not empty
  fieldGuid = 1503,         // narrow, at most 100 characters
};

constexpr long kRoot = CKdProductGroup::rootGroupDefinitions;
// The longest key that holds a product of the root: its id alone, in six digits.
constexpr int kRootProductKeyLength = 6;
// A root's owner: no group.
constexpr long kNoOwner = 0;

// The description with each "/" written as "\", so that it cannot be taken for a separator
// of a path.
CWsz pathPart(const CWsz& desc) {
  CWsz part(desc);
  part.replace(L'/', L'\\');
  return part;
}

// Whether group `g` hangs under group `id`. Owner 0 is a root's "no parent", never a group,
// and no group is its own child.
bool isChildOf(const CKdProductGroup& g, long id) {
  return id != kNoOwner && g.ownerGroupId() == id && g.dbId() != id;
}

// A root other than -1 stores nothing: no key holds its id, and the products and blocks
// written under it would never be read back.
bool isUnstoredRoot(const CKdProductGroup& group) {
  return group.isRoot() && group.dbId() != kRoot;
}

// The part ID of `product` built with its format's template.
void applyFormat(CKdProductDef& product, const CKdPartIdFormat& format) {
  product.setPartIdFmt(format.dbId(), format.format());
  CWsz partId;
  VxKd::buildFmtString(format.format(), product.properties(), partId);
  product.setPartId(partId);
}

}  // namespace

// ---- CKdProductGroup ----

void CKdProductGroup::init(long dbId, long ownerId, long orderNmb, const CKdGuid& guid,
                           const wchar_t* desc) {
  reset();
  setDbId(dbId);
  setOwnerId(ownerId);
  setOrderNmb(orderNmb);
  guid_ = guid;
  desc_.set(desc);
}

CKdProductGroup CKdProductGroup::defaultRoot() {
  CKdProductGroup root;
  root.init(kRoot, kNoOwner, 0, CKdGuid(), VxKd::lngDbText(6214, L"#Group definitions"));
  return root;
}

char* CKdProductGroup::buildDbId(char* buf) const {
  return cuSz::copyTo(buf, kDbIdSize, VxKd::buildDbId(dbId_));
}

bool CKdProductGroup::readDefinitionsFrom(CQbase& db) {
  reset();
  long id = 0;
  if (!VxKd::readObjId(db, id) || id < 1) return false;
  setDbId(id);
  long number = 0;
  if (db.getLong(fieldOwner, number)) setOwnerId(number);
  number = 0;
  db.getLong(fieldOrder, number);
  setOrderNmb(number < 1 ? id : number);
  db.getWsz(fieldDescription, desc_);
  CChBuffer text;
  if (db.getSz(fieldGuid, text) && !text.isEmpty()) guid_.fromSz(text);
  return true;
}

bool CKdProductGroup::saveDefinitionsTo(CQbase& db) const {
  if (!db.createRec(kGroupRecord, VxKd::buildDbId(dbId_).c_str())) return false;
  char guid[CKdGuid::textBufferSize];
  bool ok = db.setLong(fieldOwner, ownerGroupId_);
  ok = db.setLong(fieldOrder, orderNmb_) && ok;
  ok = db.setSz(fieldGuid, guid_.toSz(guid, sizeof guid)) && ok;
  if (!desc_.isEmpty()) ok = db.setWsz(fieldDescription, desc_) && ok;
  return db.saveRec() && ok;
}

bool CKdProductGroup::saveProductsTo(CQbase& db) const { return products_.saveTo(db, dbId_); }

bool CKdProductGroup::saveBlocksTo(CQbase& db) const { return blocks_.saveTo(db, dbId_); }

bool CKdProductGroup::deleteFrom(CQbase& db) const {
  if (!db.deleteRec(kGroupRecord, VxKd::buildDbId(dbId_).c_str())) return false;
  for (int i = 0; i < products_.length(); ++i) products_.objAt(i)->deleteFrom(db, dbId_);
  return true;
}

// ---- CKdProductGroupArray ----

long CKdProductGroupArray::idAt(int index) const {
  const CKdProductGroup* group = objAt(index);
  return group ? group->dbId() : 0;
}

const wchar_t* CKdProductGroupArray::nameAt(int index) const {
  const CKdProductGroup* group = objAt(index);
  return group ? group->desc().wsz() : emptyWsz();
}

bool CKdProductGroupArray::readFrom(CQbase& db, const CKdPropertyDefArray& defs) {
  reset();
  for (bool more = db.fetchFirstMember(kGroupRecord); more; more = db.fetchNextMember()) {
    if (CKdProductGroup* added = emplace()) added->readDefinitionsFrom(db);
  }
  // The first group of each id takes the records keyed by it.
  std::unordered_map<long, CKdProductGroup*> byId;
  for (int i = length() - 1; i >= 0; --i) byId[idAt(i)] = objAt(i);

  // Products without a group part in their key belong to the root, which may come last.
  CKdProductDefArray rootProducts;
  for (bool more = db.fetchFirstMember(CKdProductDefArray::groupClassId); more;
       more = db.fetchNextMember()) {
    long groupId = 0, productId = 0;
    CKdProductDefArray* products = nullptr;
    if (CKdProductDef::parseDbId(db, groupId, productId)) {
      auto it = byId.find(groupId);
      if (it != byId.end()) products = &it->second->products();
    } else {
      CChBuffer key;
      if (db.getObjId(key) && key.length() <= kRootProductKeyLength &&
          VxKd::readObjId(db, productId) && productId >= 1)
        products = &rootProducts;
    }
    if (!products) continue;
    // Read in place: a product read aside would be copied, properties and all, by append.
    CKdProductDef* added = products->emplace();
    if (added && !added->readAttributesFrom(db, productId, defs))
      products->deleteAt(products->length() - 1);
  }
  if (!findGroup(kRoot)) {
    const CKdProductGroup root = CKdProductGroup::defaultRoot();
    append(&root);
  }
  CKdProductGroup* root = findGroup(kRoot);
  byId[kRoot] = root;
  root->products().append(rootProducts);
  for (int i = 0; i < length(); ++i)
    objAt(i)->products().sort(CKdProductDefArray::sortByDescription);

  std::vector<VxKd::CKdBlockItemTarget> targets;
  for (bool more = db.fetchFirstMember(kBlockRecord); more; more = db.fetchNextMember()) {
    long groupId = 0, blockNmb = 0;
    if (!CKdBlock::parseDbId(db, groupId, blockNmb)) continue;
    auto it = byId.find(groupId);
    if (it == byId.end()) continue;
    CKdBlock block;
    block.readFrom(db);
    CKdBlockArray& blocks = it->second->blocks();
    if (!blocks.append(&block)) continue;
    targets.push_back({blocks.objAt(blocks.length() - 1), groupId, blockNmb});
  }
  VxKd::readBlockItems(db, targets, defs);
  return true;
}

bool CKdProductGroupArray::saveTo(CQbase& db) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i) {
    const CKdProductGroup* group = objAt(i);
    if (isUnstoredRoot(*group)) continue;
    // The root -1 has no record, but its products and blocks are stored like any others.
    if (!group->isRoot()) ok = group->saveDefinitionsTo(db) && ok;
    ok = group->saveProductsTo(db) && ok;
  }
  // All groups' blocks at once: the same records as group by group, in one pass.
  return saveBlocksTo(db) && ok;
}

bool CKdProductGroupArray::saveProductsTo(CQbase& db) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i)
    if (!isUnstoredRoot(*objAt(i))) ok = objAt(i)->saveProductsTo(db) && ok;
  return ok;
}

bool CKdProductGroupArray::saveBlocksTo(CQbase& db) const {
  std::vector<VxKd::CKdGroupBlocks> groups;
  for (int i = 0; i < length(); ++i)
    if (!isUnstoredRoot(*objAt(i))) groups.push_back({idAt(i), &objAt(i)->blocks()});
  return VxKd::saveGroupBlocks(db, groups);
}

bool CKdProductGroupArray::deleteGroup(const CKdGuid& guid) {
  if (guid.isNull()) return false;
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->guid().isEqualTo(guid)) return deleteAt(i);
  return false;
}

bool CKdProductGroupArray::deleteGroup(long id) {
  const int index = indexOfId(id);
  return index >= 0 && deleteAt(index);
}

CKdProductGroup* CKdProductGroupArray::findGroup(long id) const { return findId(id); }

CKdProductGroup* CKdProductGroupArray::findGroup(const CKdGuid& guid) const {
  if (guid.isNull()) return nullptr;
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->guid().isEqualTo(guid)) return objAt(i);
  return nullptr;
}

std::vector<CKdProductGroup*> CKdProductGroupArray::storedChildrenOf(long ownerId) const {
  std::vector<CKdProductGroup*> children;
  for (int i = 0; i < length(); ++i)
    if (!objAt(i)->isRoot() && isChildOf(*objAt(i), ownerId)) children.push_back(objAt(i));
  std::stable_sort(children.begin(), children.end(),
                   [](const CKdProductGroup* a, const CKdProductGroup* b) {
                     return a->orderNmb() < b->orderNmb();
                   });
  return children;
}

CKdProductGroup* CKdProductGroupArray::findGroup(CKdProductGroup::groupRootId root,
                                                 const wchar_t* path) const {
  const std::wstring text = CWsz(path).left(kMaxPathChars).str();
  if (text.empty()) return nullptr;
  CKdProductGroup* found = nullptr;
  long parent = root;
  for (size_t start = 0; start <= text.size();) {
    size_t end = text.find(L'/', start);
    if (end == std::wstring::npos) end = text.size();
    const std::wstring part = text.substr(start, end - start);
    found = nullptr;
    for (CKdProductGroup* child : storedChildrenOf(parent))
      if (pathPart(child->desc()).str() == part) {
        found = child;
        break;
      }
    if (!found) return nullptr;
    parent = found->dbId();
    start = end + 1;
  }
  return found;
}

int CKdProductGroupArray::findRootGroupId(long id) const {
  // Owner links that loop never reach a root: after as many steps as there are groups the
  // walk has been round one.
  for (int step = 0; step <= length(); ++step) {
    const CKdProductGroup* group = findGroup(id);
    if (!group) return 0;
    if (group->isRoot()) return static_cast<int>(group->dbId());
    id = group->ownerGroupId();
  }
  return 0;
}

CKdProductDef* CKdProductGroupArray::findProduct(long groupId, long productId) {
  return const_cast<CKdProductDef*>(std::as_const(*this).findProduct(groupId, productId));
}

const CKdProductDef* CKdProductGroupArray::findProduct(long groupId, long productId) const {
  for (int i = 0; i < length(); ++i) {
    if (groupId >= 1 && idAt(i) != groupId) continue;
    if (const CKdProductDef* product = objAt(i)->products().findId(productId)) return product;
  }
  return nullptr;
}

CKdProductDef* CKdProductGroupArray::findProduct(const wchar_t* name, long groupId) {
  return const_cast<CKdProductDef*>(std::as_const(*this).findProduct(name, groupId));
}

const CKdProductDef* CKdProductGroupArray::findProduct(const wchar_t* name, long groupId) const {
  for (int i = 0; i < length(); ++i) {
    if (groupId >= 1 && idAt(i) != groupId) continue;
    if (const CKdProductDef* product = objAt(i)->products().findName(name)) return product;
  }
  return nullptr;
}

const CKdProductDef* CKdProductGroupArray::findProduct(const CKdGuid& guid) const {
  for (int i = 0; i < length(); ++i)
    if (const CKdProductDef* product = objAt(i)->products().findProduct(guid)) return product;
  return nullptr;
}

CKdBlock* CKdProductGroupArray::findBlock(long groupId, int index) const {
  for (int i = 0; i < length(); ++i) {
    if (groupId >= 1 && idAt(i) != groupId) continue;
    if (CKdBlock* block = objAt(i)->blocks().objAt(index)) return block;
  }
  return nullptr;
}

CKdBlock* CKdProductGroupArray::findBlock(const wchar_t* name, long groupId, long* foundIn) const {
  for (int i = 0; i < length(); ++i) {
    if (groupId >= 1 && idAt(i) != groupId) continue;
    if (CKdBlock* block = objAt(i)->blocks().findName(name)) {
      if (foundIn) *foundIn = idAt(i);
      return block;
    }
  }
  return nullptr;
}

void CKdProductGroupArray::getAllProductDefs(CKdProductDefArray& out) const {
  for (int i = 0; i < length(); ++i) out.append(objAt(i)->products());
}

bool CKdProductGroupArray::hasSubGroupsFor(long id) const {
  for (int i = 0; i < length(); ++i)
    if (isChildOf(*objAt(i), id)) return true;
  return false;
}

long CKdProductGroupArray::nextSortOrderNmbUnderGroup(long ownerId) const {
  long highest = 0;
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->ownerGroupId() == ownerId) highest = std::max(highest, objAt(i)->orderNmb());
  return highest + 1;
}

void CKdProductGroupArray::getTopSubGroupsOf(long ownerId, CKdProductGroupArray& out) const {
  out.reset();
  for (int i = 0; i < length(); ++i) {
    const CKdProductGroup* group = objAt(i);
    if (!group->isRoot() && group->ownerGroupId() == ownerId) out.append(group);
  }
  out.sort(sortByOrderNmb);
}

void CKdProductGroupArray::getAllSubGroupIdsOf(long id, CInt32Array& out) const {
  out.empty();
  std::unordered_set<long> listed{id};
  for (int next = -1; next < out.length(); ++next) {
    const long parent = next < 0 ? id : out.at(next);
    for (int i = 0; i < length(); ++i) {
      const CKdProductGroup* group = objAt(i);
      if (isChildOf(*group, parent) && listed.insert(group->dbId()).second)
        out.append(static_cast<int32_t>(group->dbId()));
    }
  }
}

void CKdProductGroupArray::getAllSubGroupsOf(long id, CKdProductGroupArray& out) const {
  out.reset();
  CInt32Array ids;
  getAllSubGroupIdsOf(id, ids);
  for (int32_t sub : ids) out.append(findGroup(sub));
}

void CKdProductGroupArray::getAllSubGroupGuidsOf(const CKdGuid& guid, CKdGuidArray& out) const {
  out.reset();
  const CKdProductGroup* group = findGroup(guid);
  if (!group) return;
  CInt32Array ids;
  getAllSubGroupIdsOf(group->dbId(), ids);
  for (int32_t sub : ids) out.append(&findGroup(sub)->guid());
}

void CKdProductGroupArray::getGroupPath(long id, std::vector<CKdProductGroup*>& path) const {
  path.clear();
  for (int step = 0; step < kMaxPathSteps && id >= 1; ++step) {
    CKdProductGroup* group = findGroup(id);
    if (!group) break;
    path.insert(path.begin(), group);
    id = group->ownerGroupId();
  }
}

CWsz CKdProductGroupArray::getGroupPath(long id) const {
  std::vector<CKdProductGroup*> path;
  getGroupPath(id, path);
  CWsz text;
  for (size_t i = 0; i < path.size(); ++i) {
    if (i) text.cat(L"/");
    text.cat(pathPart(path[i]->desc()));
  }
  return text;
}

void CKdProductGroupArray::getGuidsForIds(const CInt32Array& ids, CKdGuidArray& out) const {
  out.reset();
  for (int32_t id : ids)
    if (const CKdProductGroup* group = findGroup(id)) out.append(&group->guid());
}

void CKdProductGroupArray::getIdsForGuids(const CKdGuidArray& guids, CInt32Array& out) const {
  out.empty();
  for (int i = 0; i < guids.length(); ++i)
    if (const CKdProductGroup* group = findGroup(*guids.objAt(i)))
      out.append(static_cast<int32_t>(group->dbId()));
}

void CKdProductGroupArray::getDescForGuids(const CKdGuidArray& guids, CWszArray& out,
                                           bool fullPath) const {
  out.empty();
  for (int i = 0; i < guids.length(); ++i)
    if (const CKdProductGroup* group = findGroup(*guids.objAt(i)))
      out.append(fullPath ? getGroupPath(group->dbId()) : group->desc());
}

CWsz CKdProductGroupArray::getDescForGuids(const CKdGuidArray& guids, bool fullPath,
                                           const wchar_t* separator) const {
  CWszArray texts;
  getDescForGuids(guids, texts, fullPath);
  return texts.join(separator ? separator : L"");
}

CKdProductGroup* CKdProductGroupArray::appendGroupPath(const std::vector<CKdProductGroup*>& path,
                                                       CKdProductGroup::groupRootId root) {
  CKdProductGroup* result = nullptr;
  long parent = root;
  for (const CKdProductGroup* wanted : path) {
    result = nullptr;
    for (CKdProductGroup* child : storedChildrenOf(parent))
      if (cuSz::equalNoCase(child->desc(), wanted->desc())) {
        result = child;
        break;
      }
    if (!result) {
      long id = wanted->dbId();
      if (id < 1 || id > CKdProductGroup::kMaxId || findGroup(id))
        id = nextId(1, CKdProductGroup::kMaxId);
      if (id == 0) return nullptr;
      CKdGuid guid = wanted->guid();
      if (findGroup(guid)) guid.createValue();
      CKdProductGroup group;
      group.init(id, parent, wanted->orderNmb(), guid, wanted->desc());
      if (!append(&group)) return nullptr;
      result = findGroup(id);
      if (!result) return nullptr;
    }
    parent = result->dbId();
  }
  return result;
}

void CKdProductGroupArray::updatePartIdFormatToProductDefs(const CKdPartIdFormat& format) {
  for (int i = 0; i < length(); ++i) {
    CKdProductDefArray& products = objAt(i)->products();
    for (int p = 0; p < products.length(); ++p)
      if (products.objAt(p)->partIdFmtId() == format.dbId())
        applyFormat(*products.objAt(p), format);
  }
}

void CKdProductGroupArray::updatePartIdFormatsToProductDefs(const CKdPartIdFormatArray& formats) {
  for (int i = 0; i < length(); ++i) {
    CKdProductDefArray& products = objAt(i)->products();
    for (int p = 0; p < products.length(); ++p) {
      CKdProductDef& product = *products.objAt(p);
      if (product.partIdFmtId() == 0) continue;
      if (const CKdPartIdFormat* format = formats.findId(product.partIdFmtId())) {
        applyFormat(product, *format);
      } else {
        product.setPartIdFmt(product.partIdFmtId(), L"");
        product.setPartId(L"");
      }
    }
  }
}

void CKdProductGroupArray::updatePropertyDefModification(const CKdPropertyDef& def) {
  for (int i = 0; i < length(); ++i) objAt(i)->products().updatePropertyDefModification(def);
}

bool CKdProductGroupArray::usesPropertyDef(long id) const {
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->products().usesPropertyDef(id)) return true;
  return false;
}

bool CKdProductGroupArray::usesDimtextFormat(long id, CWszArray& items) const {
  bool used = false;
  for (int i = 0; i < length(); ++i)
    used = objAt(i)->products().usesDimtextFormat(id, items) || used;
  return used;
}

bool CKdProductGroupArray::usesLinetype(const wchar_t* name) const {
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->products().usesLinetype(name)) return true;
  return false;
}

bool CKdProductGroupArray::usesSymbol(const char* symbolId) const {
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->products().usesSymbol(symbolId)) return true;
  return false;
}

int CKdProductGroupArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto& x = *static_cast<const CKdProductGroup*>(a);
  const auto& y = *static_cast<const CKdProductGroup*>(b);
  switch (std::abs(sortId)) {
    case sortByDescription:
      return cuSz::compareNoCase(x.desc(), y.desc());
    case sortByOrderNmb:
      return x.orderNmb() < y.orderNmb() ? -1 : x.orderNmb() > y.orderNmb() ? 1 : 0;
    default:
      return 0;
  }
}
