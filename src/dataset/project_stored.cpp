// What the project knows to be stored in its file, so that a save removes the records of the
// definitions that left memory, and only those.

#include <algorithm>
#include <iterator>

#include "dataset/project_records.h"
#include "foundation/record_key.h"

using VxKd::CKdStoredKey;

namespace {

using Keys = std::vector<CKdStoredKey>;

// The ids of `array` that a record can hold, under no group.
void collectIds(const CKdObjArray& array, Keys& keys) {
  for (int i = 0; i < array.length(); ++i)
    if (array.idAt(i) >= 1) keys.emplace_back(0, array.idAt(i));
}

// Deletes the record of the definition `T` of id `key.second` as the definition itself would.
template <typename T>
void deleteDef(const CKdProject&, CQbase& db, const CKdStoredKey& key) {
  T def;
  def.setDbId(key.second);
  def.deleteFrom(db);
}

void deletePolyDef(const CKdProject& p, VxKd::systemTypeIds type, CQbase& db,
                   const CKdStoredKey& key) {
  CKdProductDef def;
  def.setDbId(key.second);
  def.deleteFrom(db, p.polyDefSets(type)->classId());
}

struct StoredKindRow {
  void (*collect)(const CKdProject& p, Keys& keys);
  void (*erase)(const CKdProject& p, CQbase& db, const CKdStoredKey& key);
};

// In the order of VxKd::storedKind.
constexpr StoredKindRow kStoredKinds[] = {
    {[](const CKdProject& p, Keys& keys) { collectIds(p.propertyDefs(), keys); },
     deleteDef<CKdPropertyDef>},
    {[](const CKdProject& p, Keys& keys) { collectIds(p.partIdFormats(), keys); },
     deleteDef<CKdPartIdFormat>},
    {[](const CKdProject& p, Keys& keys) { collectIds(p.textStyleDefs(), keys); },
     deleteDef<CKdTextStyleDef>},
    {[](const CKdProject& p, Keys& keys) { collectIds(p.dimTextFormats(), keys); },
     [](const CKdProject&, CQbase& db, const CKdStoredKey& key) {
       CKdDimtextFormat format;
       format.setId(key.second);
       format.deleteFrom(db);
     }},
    {[](const CKdProject& p, Keys& keys) { collectIds(p.reportDefs(), keys); },
     deleteDef<CKdReport>},
    // The roots have no record of their own (their products have).
    {[](const CKdProject& p, Keys& keys) { collectIds(p.productGroups(), keys); },
     deleteDef<CKdProductGroup>},
    {[](const CKdProject& p, Keys& keys) {
       for (int g = 0; g < p.productGroups().length(); ++g) {
         const CKdProductGroup* group = p.productGroups().objAt(g);
         const long groupId = group->dbId();
         // Only the root of the catalogue stores its products, under their id alone.
         if (groupId < 1 && groupId != CKdProductGroup::rootGroupDefinitions) continue;
         for (int i = 0; i < group->products().length(); ++i)
           if (group->products().idAt(i) >= 1)
             keys.emplace_back(groupId, group->products().idAt(i));
       }
     },
     [](const CKdProject&, CQbase& db, const CKdStoredKey& key) {
       CKdProductDef def;
       def.setDbId(key.second);
       def.deleteFrom(db, key.first);
     }},
    {[](const CKdProject& p, Keys& keys) { collectIds(*p.polyDefSets(VxKd::systemDuct), keys); },
     [](const CKdProject& p, CQbase& db, const CKdStoredKey& key) {
       deletePolyDef(p, VxKd::systemDuct, db, key);
     }},
    {[](const CKdProject& p, Keys& keys) { collectIds(*p.polyDefSets(VxKd::systemPipe), keys); },
     [](const CKdProject& p, CQbase& db, const CKdStoredKey& key) {
       deletePolyDef(p, VxKd::systemPipe, db, key);
     }},
    {[](const CKdProject& p, Keys& keys) {
       collectIds(*p.polyDefSets(VxKd::systemElectric), keys);
     },
     [](const CKdProject& p, CQbase& db, const CKdStoredKey& key) {
       deletePolyDef(p, VxKd::systemElectric, db, key);
     }},
    {[](const CKdProject& p, Keys& keys) { collectIds(*p.polyDefSets(VxKd::systemData), keys); },
     [](const CKdProject& p, CQbase& db, const CKdStoredKey& key) {
       deletePolyDef(p, VxKd::systemData, db, key);
     }},
    {[](const CKdProject& p, Keys& keys) { collectIds(p.symbols(), keys); },
     [](const CKdProject&, CQbase& db, const CKdStoredKey& key) {
       db.deleteRec(VxKd::kSymbolRecord, VxKd::buildSymbolDbId(key.second).c_str());
     }},
};
static_assert(std::size(kStoredKinds) == VxKd::storedKindCount);

}  // namespace

std::vector<std::vector<CKdStoredKey>> CKdProject::recordsInMemory() const {
  std::vector<Keys> records(VxKd::storedKindCount);
  for (int kind = 0; kind < VxKd::storedKindCount; ++kind) {
    kStoredKinds[kind].collect(*this, records[kind]);
    std::sort(records[kind].begin(), records[kind].end());
  }
  return records;
}

void CKdProject::deleteRemovedRecords(CQbase& db, const std::vector<Keys>& inMemory) const {
  for (int kind = 0; kind < static_cast<int>(stored_.size()); ++kind) {
    Keys removed;
    std::set_difference(stored_[kind].begin(), stored_[kind].end(), inMemory[kind].begin(),
                        inMemory[kind].end(), std::back_inserter(removed));
    for (const CKdStoredKey& key : removed) kStoredKinds[kind].erase(*this, db, key);
  }
}

void CKdProject::forgetStored(int kind, const std::vector<long>& ids) {
  if (kind < 0 || kind >= static_cast<int>(stored_.size())) return;
  auto listed = [&ids](long id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); };
  std::erase_if(stored_[kind], [&](const CKdStoredKey& key) { return listed(key.second); });
  if (kind == VxKd::storedGroups)
    std::erase_if(stored_[VxKd::storedGroupProducts],
                  [&](const CKdStoredKey& key) { return listed(key.first); });
}
