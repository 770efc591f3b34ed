#include "vxkd/catalogue/block.h"

#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "catalogue/block_records.h"
#include "foundation/record_key.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

constexpr const char* kBlockRecord = "BS";
constexpr const char* kItemRecord = "BI";

// The fields of a block's record.
constexpr short kFieldGuid = 1503;  // narrow, at most 100 characters
constexpr short kFieldDescription = 1502;

// The fields of an item's record. The property set goes into the field its array writes.
enum itemField : short {
  fieldPosition = 1450,    // point
  fieldFirstAxis = 1451,   // point
  fieldSecondAxis = 1452,  // point
  fieldGraphics = 1605,    // binary array of graphicsItemSize-byte items
  fieldType = 1110,        // short
  fieldLineWidth = 1306,   // float
  fieldLinetype = 1506,    // wide
  fieldName = 1524,        // wide
  fieldColor = 1102,       // short; left out for 256
  fieldScale = 1303,       // float
};

// The group whose blocks and items are keyed with the group part 0.
constexpr long kNoGroup = -1;
// Characters of the group part of a block's key, and of the group and block parts of an
// item's key.
constexpr int kBlockKeyGroupDigits = 6;
constexpr int kItemKeyGroupDigits = 4;
constexpr int kItemKeyBlockEnd = 7;

long keyGroupOf(long groupId) { return groupId == kNoGroup ? 0 : groupId; }

// `text` read as "%ld" into `value`; false when no number begins it.
bool scan(const std::string& text, long& value) { return cuSz::scanLong(text.c_str(), value); }

void getPoint(CQbase& db, short field, CGmPoint& p) {
  double x = 0, y = 0, z = 0;
  if (db.getPoint(field, x, y, z)) p = CGmPoint(x, y, z);
}

void getVector(CQbase& db, short field, CGmVector& v) {
  double x = 0, y = 0, z = 0;
  if (db.getPoint(field, x, y, z)) v = CGmVector(x, y, z);
}

}  // namespace

// ---- CKdBlockItem ----

bool CKdBlockItem::setGraphicsData(const void* data, int size) {
  if (size < 0 || size > maxGraphicsBytes || (size > 0 && !data)) return false;
  graphics_.set(data, size);
  return true;
}

bool CKdBlockItem::setGraphics(const CGmModel& model) {
  CByteBuffer stored;
  if (!model.store(stored, maxGraphicsBytes)) return false;
  graphics_ = std::move(stored);
  return true;
}

bool CKdBlockItem::canBuildDbId(long groupId, long blockNmb, long itemNmb) {
  return (groupId == kNoGroup || (groupId >= 1 && groupId <= kMaxKeyGroupId)) && blockNmb >= 1 &&
         blockNmb <= kMaxKeyBlockNmb && itemNmb >= 0 && itemNmb <= kMaxKeyItemNmb;
}

bool CKdBlockItem::parseDbId(CQbase& db, long& groupId, long& blockNmb, long& itemNmb) {
  groupId = kNoGroup;
  blockNmb = 0;
  itemNmb = 0;
  CChBuffer key;
  if (!db.getObjId(key) || key.length() <= kItemKeyBlockEnd) return false;
  const std::string& text = key.str();
  long item = 0, block = 0, group = 0;
  if (!scan(text.substr(kItemKeyBlockEnd), item) || item < 0) return false;
  itemNmb = item;
  if (!scan(text.substr(kItemKeyGroupDigits, kItemKeyBlockEnd - kItemKeyGroupDigits), block) ||
      block < 1)
    return false;
  blockNmb = block;
  if (!scan(text.substr(0, kItemKeyGroupDigits), group) || group < 0) return false;
  groupId = group == 0 ? kNoGroup : group;
  return true;
}

bool CKdBlockItem::readFrom(CQbase& db, const CKdPropertyDefArray& defs) {
  *this = CKdBlockItem();
  CChBuffer text;
  if (db.getSz(kFieldGuid, text) && !text.isEmpty()) guid_.fromSz(text);
  getPoint(db, fieldPosition, position_);
  getVector(db, fieldFirstAxis, firstAxis_);
  getVector(db, fieldSecondAxis, secondAxis_);
  int count = 0;
  if (!db.getBinaryArray(fieldGraphics, graphics_, count)) graphics_.empty();
  db.getShort(fieldType, type_);
  db.getFloat(fieldLineWidth, lineWidth_);
  db.getWsz(fieldLinetype, lineType_);
  db.getWsz(fieldName, name_);
  // The writer leaves out 256 alone, so a record without a colour held 256.
  if (!db.getShort(fieldColor, colorNmb_)) colorNmb_ = colorByLayer;
  db.getFloat(fieldScale, scale_);
  return properties_.readFromAttributeOf(db, defs);
}

bool CKdBlockItem::saveTo(CQbase& db, long groupId, long blockNmb, long itemNmb) const {
  if (!canBuildDbId(groupId, blockNmb, itemNmb)) return false;
  if (!db.createRec(kItemRecord, VxKd::buildDbId(keyGroupOf(groupId), blockNmb, itemNmb).c_str()))
    return false;
  char guid[CKdGuid::textBufferSize];
  bool ok = db.setSz(kFieldGuid, guid_.toSz(guid, sizeof guid));
  ok = properties_.writeToAttributeOf(db) && ok;
  ok = db.setPoint(fieldPosition, position_.x, position_.y, position_.z) && ok;
  ok = db.setPoint(fieldFirstAxis, firstAxis_.x, firstAxis_.y, firstAxis_.z) && ok;
  ok = db.setPoint(fieldSecondAxis, secondAxis_.x, secondAxis_.y, secondAxis_.z) && ok;
  if (hasGraphics()) {
    // The field holds whole items: the stored form is padded with zero bytes, which the
    // graphics model reads as the end of its form.
    CByteBuffer padded(graphics_);
    const int count = (padded.size() + graphicsItemSize - 1) / graphicsItemSize;
    padded.resize(count * graphicsItemSize);
    ok = db.setBinaryArray(fieldGraphics, padded.data(), count) && ok;
  }
  ok = db.setShort(fieldType, type_) && ok;
  ok = db.setFloat(fieldLineWidth, lineWidth_) && ok;
  ok = db.setWsz(fieldLinetype, lineType_) && ok;
  ok = db.setWsz(fieldName, name_) && ok;
  if (colorNmb_ != colorByLayer) ok = db.setShort(fieldColor, colorNmb_) && ok;
  ok = db.setFloat(fieldScale, scale_) && ok;
  return db.saveRec() && ok;
}

CKdBlockItem::drawResult CKdBlockItem::addTo(CGmModel& model,
                                             const iKdBlockModelSource& source) const {
  // An item names its product by the product's GUID (see guid()).
  if (hasGraphics())
    return model.addStoredGraphics(graphics_.data(), graphics_.size()) ? drawnStoredGraphics
                                                                       : damagedGraphics;
  const CKdProductDef* product = guid_.isNull() ? nullptr : source.findBlockProduct(guid_);
  if (!product) return noProduct;
  if (!product->hasSymbol()) return noSymbol;
  CVxSymbolModel symbol;
  if (!source.find2dSymbol(product->symbolId(), symbol)) return unknownSymbol;
  const int16_t color = model.color();
  model.setColor(colorNmb_);
  symbol.addTo(model, CGmTransform::placement(scale_, position_, firstAxis_, secondAxis_));
  model.setColor(color);
  return drawnSymbol;
}

// ---- CKdBlockItemArray ----

const wchar_t* CKdBlockItemArray::nameAt(int index) const {
  const CKdBlockItem* item = objAt(index);
  return item ? item->name().wsz() : emptyWsz();
}

bool CKdBlockItemArray::readFrom(CQbase& db, long groupId, long blockNmb,
                                 const CKdPropertyDefArray& defs) {
  for (bool more = db.fetchFirstMember(kItemRecord); more; more = db.fetchNextMember()) {
    long group = 0, block = 0, item = 0;
    if (!CKdBlockItem::parseDbId(db, group, block, item) || group != groupId || block != blockNmb)
      continue;
    // Read in place: an item read aside would be copied, properties and all, by append.
    if (CKdBlockItem* added = emplace()) added->readFrom(db, defs);
  }
  return true;
}

bool CKdBlockItemArray::saveTo(CQbase& db, long groupId, long blockNmb) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i) ok = objAt(i)->saveTo(db, groupId, blockNmb, i) && ok;
  return ok;
}

// ---- CKdBlock ----

CKdBlock::CKdBlock() { guid_.createValue(); }

bool CKdBlock::canBuildDbIds(long groupId, long blockNmb) const {
  if (groupId != kNoGroup && (groupId < 1 || groupId > kMaxKeyGroupId)) return false;
  if (blockNmb < 1 || blockNmb > kMaxKeyBlockNmb) return false;
  for (int i = 0; i < items_.length(); ++i)
    if (!CKdBlockItem::canBuildDbId(groupId, blockNmb, i)) return false;
  return true;
}

bool CKdBlock::parseDbId(CQbase& db, long& groupId, long& blockNmb) {
  groupId = 0;
  blockNmb = 0;
  CChBuffer key;
  if (!db.getObjId(key)) return false;
  const std::string& text = key.str();
  long group = 0, block = 0;
  // A block of a group keeps its group also when its number is 0: read as a block without
  // a group, it would land in another group than the one it was stored in.
  if (text.length() > kBlockKeyGroupDigits && scan(text.substr(0, kBlockKeyGroupDigits), group) &&
      group >= 1 && scan(text.substr(kBlockKeyGroupDigits), block) && block >= 0) {
    groupId = group;
    blockNmb = block;
    return true;
  }
  if (!scan(text, block) || block < 1) return false;
  groupId = kNoGroup;
  blockNmb = block;
  return true;
}

bool CKdBlock::readFrom(CQbase& db) {
  CChBuffer text;
  if (db.getSz(kFieldGuid, text) && !text.isEmpty()) guid_.fromSz(text);
  desc_.empty();
  db.getWsz(kFieldDescription, desc_);
  return true;
}

bool CKdBlock::readItemsFrom(CQbase& db, long groupId, long blockNmb,
                             const CKdPropertyDefArray& defs) {
  items_.reset();
  return items_.readFrom(db, groupId, blockNmb, defs);
}

bool CKdBlock::saveTo(CQbase& db, long groupId, long blockNmb) const {
  if (!canBuildDbIds(groupId, blockNmb)) return false;
  if (!db.createRec(kBlockRecord, VxKd::buildDbId(keyGroupOf(groupId), blockNmb).c_str()))
    return false;
  char guid[CKdGuid::textBufferSize];
  db.setSz(kFieldGuid, guid_.toSz(guid, sizeof guid));
  db.setWsz(kFieldDescription, desc_);
  if (!db.saveRec()) return false;
  return items_.saveTo(db, groupId, blockNmb);
}

bool CKdBlock::getModel(CGmModel& model, const iKdBlockModelSource& source, bool firstOnly) const {
  model.clear();
  for (int i = 0; i < items_.length(); ++i) {
    items_.objAt(i)->addTo(model, source);
    model.closeNode();
    if (firstOnly) break;
  }
  return true;
}

// ---- reading many blocks ----

void VxKd::readBlockItems(CQbase& db, const std::vector<CKdBlockItemTarget>& targets,
                          const CKdPropertyDefArray& defs) {
  std::multimap<std::pair<long, long>, CKdBlock*> waiting;
  for (const CKdBlockItemTarget& target : targets) {
    target.block->items().reset();
    waiting.emplace(std::make_pair(target.groupId, target.blockNmb), target.block);
  }
  if (waiting.empty()) return;
  for (bool more = db.fetchFirstMember(kItemRecord); more; more = db.fetchNextMember()) {
    long group = 0, block = 0, item = 0;
    if (!CKdBlockItem::parseDbId(db, group, block, item)) continue;
    const auto [first, last] = waiting.equal_range({group, block});
    for (auto it = first; it != last; ++it) {
      if (CKdBlockItem* added = it->second->items().emplace()) added->readFrom(db, defs);
    }
  }
}

bool VxKd::saveGroupBlocks(CQbase& db, const std::vector<CKdGroupBlocks>& groups) {
  bool ok = true;
  std::vector<CKdGroupBlocks> saving;
  std::set<long> savingIds;
  for (const CKdGroupBlocks& g : groups) {
    bool keyed = true;
    for (int i = 0; i < g.blocks->length() && keyed; ++i)
      keyed = g.blocks->objAt(i)->canBuildDbIds(g.groupId, i + 1);
    if (!keyed) {
      ok = false;
      continue;
    }
    saving.push_back(g);
    savingIds.insert(g.groupId);
  }
  if (saving.empty()) return ok;

  // The blocks deleted, by group and number; a key that does not parse counts as number 0,
  // whose items are those whose key does not parse either.
  std::set<std::pair<long, long>> deleted;
  for (bool more = db.fetchFirstMember(kBlockRecord); more; more = db.fetchNextMember()) {
    long group = 0, number = 0;
    const bool parsed = CKdBlock::parseDbId(db, group, number);
    if (parsed && !savingIds.count(group)) continue;
    CChBuffer key;
    if (!db.getObjId(key) || !db.deleteRec(kBlockRecord, key)) continue;
    deleted.emplace(parsed ? group : saving.front().groupId, number);
  }
  if (!deleted.empty()) {
    for (bool more = db.fetchFirstMember(kItemRecord); more; more = db.fetchNextMember()) {
      long group = 0, block = 0, item = 0;
      if (CKdBlockItem::parseDbId(db, group, block, item) && !deleted.count({group, block}))
        continue;
      CChBuffer key;
      if (db.getObjId(key)) db.deleteRec(kItemRecord, key);
    }
  }
  for (const CKdGroupBlocks& g : saving)
    for (int i = 0; i < g.blocks->length(); ++i)
      ok = g.blocks->objAt(i)->saveTo(db, g.groupId, i + 1) && ok;
  return ok;
}

// ---- CKdBlockArray ----

const wchar_t* CKdBlockArray::nameAt(int index) const {
  const CKdBlock* block = objAt(index);
  return block ? block->desc().wsz() : emptyWsz();
}

CKdBlock* CKdBlockArray::find(const CKdGuid& guid) const {
  if (guid.isNull()) return nullptr;
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->guid().isEqualTo(guid)) return objAt(i);
  return nullptr;
}

bool CKdBlockArray::readFrom(CQbase& db, const CKdPropertyDefArray& defs, CInt32Array* groupIds) {
  reset();
  if (groupIds) groupIds->empty();
  std::vector<std::pair<long, long>> keys;  // group and number of each block
  for (bool more = db.fetchFirstMember(kBlockRecord); more; more = db.fetchNextMember()) {
    long group = 0, number = 0;
    if (!CKdBlock::parseDbId(db, group, number)) continue;
    CKdBlock block;
    block.readFrom(db);
    if (!append(&block)) continue;
    keys.emplace_back(group, number);
  }
  std::vector<VxKd::CKdBlockItemTarget> targets;
  for (int i = 0; i < length(); ++i) {
    targets.push_back({objAt(i), keys[i].first, keys[i].second});
    if (groupIds) groupIds->append(static_cast<int32_t>(keys[i].first));
  }
  VxKd::readBlockItems(db, targets, defs);
  return true;
}

bool CKdBlockArray::readFrom(CQbase& db, long groupId, const CKdPropertyDefArray& defs) {
  reset();
  std::vector<long> numbers;
  for (bool more = db.fetchFirstMember(kBlockRecord); more; more = db.fetchNextMember()) {
    long group = 0, number = 0;
    if (!CKdBlock::parseDbId(db, group, number) || group != groupId) continue;
    CKdBlock block;
    block.readFrom(db);
    if (append(&block)) numbers.push_back(number);
  }
  std::vector<VxKd::CKdBlockItemTarget> targets;
  for (int i = 0; i < length(); ++i) targets.push_back({objAt(i), groupId, numbers[i]});
  VxKd::readBlockItems(db, targets, defs);
  return true;
}

bool CKdBlockArray::saveTo(CQbase& db, long groupId) const {
  return VxKd::saveGroupBlocks(db, {{groupId, this}});
}

bool CKdBlockArray::deleteBlockRecs(CQbase& db, long groupId) const {
  CInt32Array numbers;
  for (bool more = db.fetchFirstMember(kBlockRecord); more; more = db.fetchNextMember()) {
    long group = 0, number = 0;
    const bool parsed = CKdBlock::parseDbId(db, group, number);
    if (parsed && group != groupId) continue;
    CChBuffer key;
    if (!db.getObjId(key) || !db.deleteRec(kBlockRecord, key)) continue;
    // A key that does not parse gives the number 0, whose items are the unparsable ones.
    if (!numbers.contains(static_cast<int32_t>(number)))
      numbers.append(static_cast<int32_t>(number));
  }
  for (int32_t number : numbers) deleteBlockItemRecs(db, groupId, number);
  return true;
}

bool CKdBlockArray::deleteBlockItemRecs(CQbase& db, long groupId, long blockNmb) const {
  for (bool more = db.fetchFirstMember(kItemRecord); more; more = db.fetchNextMember()) {
    long group = 0, block = 0, item = 0;
    if (CKdBlockItem::parseDbId(db, group, block, item) && (group != groupId || block != blockNmb))
      continue;
    CChBuffer key;
    if (db.getObjId(key)) db.deleteRec(kItemRecord, key);
  }
  return true;
}

int CKdBlockArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  if (std::abs(sortId) != sortByDescription) return 0;
  return cuSz::compareNoCase(static_cast<const CKdBlock*>(a)->desc(),
                             static_cast<const CKdBlock*>(b)->desc());
}
