#include "vxkd/dataset/project.h"

#include <algorithm>
#include <cwchar>
#include <utility>

#include "dataset/project_records.h"
#include "foundation/record_key.h"
#include "vxkd/foundation/startup.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/platform/ui_backend.h"
#include "vxkd/ui/message_box.h"

using namespace cuWin;

namespace {

using VxKd::kSymbolRecord;
constexpr short kFieldSymbolId = 1504;
constexpr short kFieldDescription = 1502;
constexpr short kFieldNodes = 1601;
// Drawings of fewer nodes go into the node field, larger ones into the attachment.
constexpr int kMaxFieldNodes = 125;
// What is read back at most.
constexpr int kMaxNodes = 5002;
constexpr long kMaxSymbolId = 99999999;

constexpr const wchar_t* kDatasetFilter = L"*.vkd|*.vkd|";
constexpr const wchar_t* kDatasetExtension = L".vkd";

// How often a read starts again when a save renamed a new file over the one being read.
constexpr int kReadAttempts = 5;

// The poly-object definition sets are read in one order and written, and told of changed
// property definitions, in another: the data set before the electrical one.
constexpr VxKd::systemTypeIds kPolyDefSetReadOrder[] = {VxKd::systemDuct, VxKd::systemPipe,
                                                        VxKd::systemElectric, VxKd::systemData};
constexpr VxKd::systemTypeIds kPolyDefSetWriteOrder[] = {VxKd::systemDuct, VxKd::systemPipe,
                                                         VxKd::systemData, VxKd::systemElectric};
// Group-less products are keyed by their id in six digits.
constexpr long kNoGroup = -1;

// The error boxes of creating and opening a file: stop icon, one OK button.
void errorBox(HWND hwnd, long textId, const wchar_t* text, long captionId, const wchar_t* caption) {
  VxKd::msgBox(hwnd, textId, text, captionId, caption, MB_OK, MB_ICONSTOP);
}

// Deletes the elements of `array` at `indexes` that none of `users` uses, and the records of
// those gone (`before` is the array as it was) from the open `db`.
template <typename Array, typename User>
void deleteUnusedFrom(HWND hwnd, CQbase& db, Array& array, const Array& before,
                      const CInt32Array& indexes, const std::vector<const User*>& users) {
  array.deleteUnused(hwnd, indexes, users);
  for (int i = 0; i < before.length(); ++i)
    if (!array.findId(before.idAt(i))) before.objAt(i)->deleteFrom(db);
}

}  // namespace

CKdProject::CKdProject() = default;

CKdProject::~CKdProject() = default;

CWsz CKdProject::dictionaryPath() {
  return cuFile::joinPath(VxKd::programFolder(), L"VantVkd.ddq");
}

bool CKdProject::createDb(HWND hwnd, CQbase& db, const wchar_t* path) {
  CWsz dictionary = dictionaryPath();
  if (!cuFile::exists(dictionary)) {
    failReason_ = CQbase::reasonFailed;
    errorBox(hwnd, 12518, L"#Vkd data dictionary not found", 12520, L"#Cannot Create Dataset");
    return false;
  }
  // The dialogs have asked before: at this level an existing file is simply replaced, but
  // only once the new one is complete (the database builds it beside and renames it).
  db.setWarnings(false);
  if (!db.openDatabase(dictionary, path, CQbase::openCreate)) {
    failReason_ = db.reason();
    errorBox(hwnd, 12522, L"#Dataset creation failed", 12524, L"#Cannot Create Dataset");
    return false;
  }
  return true;
}

bool CKdProject::openDb(HWND hwnd, CQbase& db, const wchar_t* path, bool forUpdate) {
  if (!path || !*path) {
    failReason_ = CQbase::reasonMissing;
    return false;
  }
  CWsz dictionary = dictionaryPath();
  if (!cuFile::exists(dictionary)) {
    failReason_ = CQbase::reasonFailed;
    // The creation text is reused here on purpose.
    errorBox(hwnd, 12526, L"#Dataset creation failed", 12528, L"#Cannot Open Dataset");
    return false;
  }
  if (!cuFile::exists(path)) {
    failReason_ = CQbase::reasonMissing;
    errorBox(hwnd, 12530, L"#Selected file cannot be found", 12532, L"#File Not Found");
    return false;
  }
  db.setWarnings(false);
  // A reader opens the file read-only and shares it with other readers; only an update
  // takes the exclusive write transaction (and checks the file first).
  if (!db.openDatabase(dictionary, path, forUpdate ? CQbase::openUpdate : CQbase::openRead)) {
    failReason_ = db.reason();
    errorBox(hwnd, 12534, L"#Dataset cannot be opened", 12536, L"#Cannot Open Dataset");
    return false;
  }
  return true;
}

bool CKdProject::openDb(HWND hwnd, CQbase& db, bool forUpdate) {
  return openDb(hwnd, db, CWsz(fileName_), forUpdate);
}

bool CKdProject::newDb(HWND hwnd, const wchar_t* path) {
  CWsz target(path);
  fileName_.empty();
  failReason_ = CQbase::reasonNone;
  CQbase db;
  if (!createDb(hwnd, db, target)) return false;
  bool committed = db.closeDatabase();
  if (!committed) {
    failReason_ = db.reason();
    return false;
  }
  fileName_ = target;
  db.timeStamp(timeStamp_);
  stored_.clear();  // the new file holds nothing yet
  return true;
}

bool CKdProject::readFile(HWND hwnd, const CWsz& path) {
  failReason_ = CQbase::reasonNone;
  // A save elsewhere may rename a new file over the one being read; what was read is then
  // older than the file, and its time stamp would not be the file's. Read again.
  for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
    CQbase db;
    if (!openDb(hwnd, db, path, false)) return false;
    CKdProject loaded(*this);
    loaded.readFromDb(hwnd, db);
    // The stamp is taken while the dataset is still open: it belongs to the content just
    // read, whoever saves meanwhile.
    cuFile::CFileTime stamp;
    db.timeStamp(stamp);
    bool current = db.isCurrentFile();
    if (!db.closeDatabase()) {
      // A read that failed in the middle (a damaged page): a part is no dataset.
      failReason_ = db.reason();
      errorBox(hwnd, 12534, L"#Dataset cannot be opened", 12536, L"#Cannot Open Dataset");
      return false;
    }
    if (!current) continue;
    loaded.fileName_ = path;
    loaded.timeStamp_ = stamp;
    loaded.stored_ = loaded.recordsInMemory();
    // A catalogue holds many thousands of elements: they are handed over, not copied.
    *this = std::move(loaded);
    return true;
  }
  failReason_ = CQbase::reasonBusy;
  errorBox(hwnd, 12534, L"#Dataset cannot be opened", 12536, L"#Cannot Open Dataset");
  return false;
}

bool CKdProject::readDb(HWND hwnd, const wchar_t* path) {
  return readFile(hwnd, CWsz(path));  // `path` may be our own file name, which reading replaces
}

bool CKdProject::readFromDb(HWND, CQbase& db) {
  resetData();
  propertyDefs_.readFrom(db);
  partIdFormats_.readFrom(db);
  layerDefs_.readFrom(db);
  productGroups_.readFrom(db, propertyDefs_);
  productGroups_.updatePartIdFormatsToProductDefs(partIdFormats_);
  linetypeDefs_.readFrom(db);
  textStyleDefs_.readFrom(db);
  dimTextFormats_.readFrom(db);
  reportDefs_.readFrom(db);
  for (VxKd::systemTypeIds type : kPolyDefSetReadOrder)
    polyDefSets(type)->readFrom(db, propertyDefs_);
  read2dSymbols(db);
  return false;
}

bool CKdProject::writeDb(HWND, CQbase& db) {
  // Each array brings its records up to date; a failed record does not stop the others.
  propertyDefs_.saveTo(db);
  for (int i = 0; i < productGroups_.length(); ++i) {
    // As for the poly-object sets below: a product's key must hold its id, in four digits
    // under a group, in six under the root.
    CKdProductGroup* group = productGroups_.objAt(i);
    group->products().assignFreeIds(group->isRoot() ? CKdProductDefArray::kMaxId
                                                    : CKdProductDefArray::kMaxGroupProductId);
  }
  productGroups_.saveTo(db);
  partIdFormats_.saveTo(db);
  layerDefs_.saveTo(db);
  linetypeDefs_.saveTo(db);
  textStyleDefs_.saveTo(db);
  dimTextFormats_.saveTo(db);
  reportDefs_.saveTo(db);  // each report definition in array order
  for (VxKd::systemTypeIds type : kPolyDefSetWriteOrder) {
    CKdProductDefArray* set = polyDefSets(type);
    // A definition without an id of its own would be stored under a key that is never read
    // back, or over another's record.
    set->assignFreeIds(CKdProductDefArray::kMaxId);
    set->saveTo(db, kNoGroup);
  }
  write2dSymbols(db);
  // The definitions that left memory since the file was read or last written leave the file.
  std::vector<std::vector<std::pair<long, long>>> inMemory = recordsInMemory();
  deleteRemovedRecords(db, inMemory);
  bool committed = db.closeDatabase();
  // After a failed commit the old stamp stays: the dataset is as it was when it was taken.
  if (committed) {
    db.timeStamp(timeStamp_);
    stored_ = std::move(inMemory);
  } else {
    failReason_ = db.reason();
  }
  return committed;
}

bool CKdProject::updateDb(HWND hwnd) {
  failReason_ = CQbase::reasonNone;
  CQbase db;
  return openDb(hwnd, db, true) && writeDb(hwnd, db);
}

bool CKdProject::saveDbAs(HWND hwnd, const wchar_t* path) {
  CWsz target(path);
  failReason_ = CQbase::reasonNone;
  CQbase db;
  if (!createDb(hwnd, db, target)) return false;
  fileName_ = target;
  stored_.clear();  // a new file: nothing in it to delete
  return writeDb(hwnd, db);
}

bool CKdProject::askOpenFileName(HWND hwnd, CWsz& path) {
  path.empty();
  CWsz chosen;
  if (!CUiBackend::current().openFileDialog(hwnd, VxKd::lngDbText(12514, L"#Select Dataset"),
                                            kDatasetFilter, chosen))
    return false;
  path = chosen.left(300);
  return true;
}

bool CKdProject::askSaveFileName(HWND hwnd, CWsz& path) {
  path.empty();
  CWsz chosen;
  if (!CUiBackend::current().saveFileDialog(hwnd, VxKd::lngDbText(12516, L"#Save Dataset As"),
                                            kDatasetFilter, L"vkd", chosen))
    return false;
  // "office" would be locked by "offlck": a dataset name ends in its extension.
  constexpr int kMaxPath = 300;
  const int ext = static_cast<int>(std::wcslen(kDatasetExtension));
  if (chosen.length() < ext ||
      !cuSz::equalNoCase(chosen.mid(chosen.length() - ext), kDatasetExtension))
    chosen = chosen.left(kMaxPath - ext).cat(kDatasetExtension);
  path = chosen.left(kMaxPath);
  return true;
}

void CKdProject::resetData() {
  propertyDefs_.reset();
  partIdFormats_.reset();
  layerDefs_.buildHardDefaultsArray();
  productGroups_.reset();
  symbols_.reset();
  textStyleDefs_.reset();
  linetypeDefs_.resetToBuiltIn();
  dimTextFormats_.reset();
  reportDefs_.reset();
  for (VxKd::systemTypeIds type : kPolyDefSetReadOrder) polyDefSets(type)->reset();
  lastInstalledDimtextId_ = 0;
}

void CKdProject::buildDefaultProject() {
  propertyDefs_.reset();
  productGroups_.reset();
  reportDefs_.reset();
  buildDefaultLinetypes();
  buildDefaultTextStyleDefs();
  buildDefaultDimTextFormats();
}

void CKdProject::buildDefaultLinetypes() {
  linetypeDefs_.reset();
  CKdLinetypeDef solid(VxKd::getCommonString(VxKd::commonStringContinuous),
                       VxKd::getCommonString(VxKd::commonStringSolidLine), L"");
  linetypeDefs_.append(&solid);
}

void CKdProject::buildDefaultTextStyleDefs() {
  textStyleDefs_.reset();
  CKdTextStyleDef standard;
  standard.setName(L"Standard");
  standard.setFontFile(L"txt");
  standard.setCharSet(1);
  // Without an id the style could not be read back once stored: it gets the first one.
  textStyleDefs_.append(&standard);
}

void CKdProject::buildDefaultDimTextFormats() { dimTextFormats_.reset(); }

CKdProductDefArray* CKdProject::polyDefSets(VxKd::systemTypeIds type) {
  return const_cast<CKdProductDefArray*>(std::as_const(*this).polyDefSets(type));
}

const CKdProductDefArray* CKdProject::polyDefSets(VxKd::systemTypeIds type) const {
  switch (type) {
    case VxKd::systemDuct:
      return &ductDefs_;
    case VxKd::systemPipe:
      return &pipeDefs_;
    case VxKd::systemElectric:
      return &electricDefs_;
    case VxKd::systemData:
      return &dataDefs_;
  }
  return nullptr;
}

bool CKdProject::hasPolyDefSets() const {
  for (VxKd::systemTypeIds type : kPolyDefSetReadOrder)
    if (polyDefSets(type)->length() > 0) return true;
  return false;
}

void CKdProject::updatePropertyDefModificationToRefs(const CKdPropertyDef& def) {
  productGroups_.updatePropertyDefModification(def);
  for (VxKd::systemTypeIds type : kPolyDefSetWriteOrder)
    polyDefSets(type)->updatePropertyDefModification(def);
}

int CKdProject::reload(HWND hwnd, bool notify) {
  if (notify)
    VxKd::msgBox(hwnd, 12510, L"#Someone else has just updated file\r\nDataset will be reloaded",
                 12512, L"#Dataset Changed", MB_OK, MB_ICONINFORMATION);
  // On failure the project stays as it was, with the old time stamp: the next check tries
  // again.
  return readFile(hwnd, CWsz(fileName_)) ? 1 : -1;
}

int CKdProject::checkUpdated(HWND hwnd, bool notify) {
  int r = timeStamp_.isModified(false);
  if (r < 0) return -1;
  if (r == 0) return 0;
  return reload(hwnd, notify);
}

bool CKdProject::setLockFile(HWND hwnd, CLockFile& lock) {
  int r = lock.set(CLockFile::lockFileNameFor(fileName_), L"", nullptr);
  if (r == 0) return true;
  if (r == -2)
    errorBox(hwnd, 12502, L"#Somebody other is currently updating file\r\nOperation cancelled",
             12504, L"#Update Failed");
  else
    errorBox(hwnd, 12506, L"#Cannot update file", 12508, L"#Update Failed");
  return false;
}

int CKdProject::setEditLock(HWND hwnd, CLockFile& lock) {
  int r = checkUpdated(hwnd, true);
  if (r != 0) return r;
  if (!setLockFile(hwnd, lock)) return -1;
  // Another user may have saved between the check and the lock; only under the lock is
  // the answer final. Storing an edit made against older content would lose theirs.
  r = timeStamp_.isModified(false);
  if (r == 0) return 0;
  lock.release();
  return r < 0 ? -1 : reload(hwnd, true);
}

bool CKdProject::deletePropertyDefs(HWND hwnd, const CInt32Array& indexes,
                                    const std::vector<const iKdPropertyDefUser*>& users) {
  return deleteAndCommit(hwnd, VxKd::storedPropertyDefs, propertyDefs_,
                         [&](CQbase& db, const CKdPropertyDefArray& before) {
                           deleteUnusedFrom(hwnd, db, propertyDefs_, before, indexes, users);
                         });
}

bool CKdProject::deleteDimTextFormats(HWND hwnd, const CInt32Array& indexes,
                                      const std::vector<const iKdDimtextFormatUser*>& users) {
  return deleteAndCommit(hwnd, VxKd::storedDimTextFormats, dimTextFormats_,
                         [&](CQbase& db, const CKdDimtextFormatArray& before) {
                           deleteUnusedFrom(hwnd, db, dimTextFormats_, before, indexes, users);
                         });
}

bool CKdProject::deletePartIdFormats(HWND hwnd, const CInt32Array& indexes) {
  const int before = partIdFormats_.length();
  const bool stored =
      deleteAndCommit(hwnd, VxKd::storedPartIdFormats, partIdFormats_,
                      [&](CQbase& db, const CKdPartIdFormatArray& old) {
                        // A format is in use by any product that names it, also one of a
                        // poly-object set: deleting it would leave that product without its part
                        // ID.
                        std::vector<const CKdProductDefArray*> users;
                        for (int i = 0; i < productGroups_.length(); ++i)
                          users.push_back(&productGroups_.objAt(i)->products());
                        for (VxKd::systemTypeIds type : kPolyDefSetReadOrder)
                          users.push_back(polyDefSets(type));
                        deleteUnusedFrom(hwnd, db, partIdFormats_, old, indexes, users);
                      });
  if (!stored) return false;
  CInt32Array selected;
  for (int32_t index : indexes)
    if (index >= 0 && index < before && !selected.contains(index)) selected.append(index);
  return before - partIdFormats_.length() == selected.length();
}

bool CKdProject::deleteTextStyles(HWND hwnd, const CInt32Array& indexes) {
  // A style named by a format or a report would leave its texts without a style.
  bool usedByFormat = false, usedByReport = false;
  const bool stored =
      deleteAndCommit(hwnd, VxKd::storedTextStyles, textStyleDefs_,
                      [&](CQbase& db, const CKdTextStyleDefArray& before) {
                        CInt32Array unused;
                        for (int i = 0; i < before.length(); ++i) {
                          if (!indexes.contains(i) || unused.contains(i)) continue;
                          bool byFormat = false, byReport = false;
                          if (!usesTextStyle(before.objAt(i)->name(), byFormat, byReport))
                            unused.append(i);
                          usedByFormat = usedByFormat || byFormat;
                          usedByReport = usedByReport || byReport;
                        }
                        for (int32_t index : unused) before.objAt(index)->deleteFrom(db);
                        textStyleDefs_.deleteAt(unused);
                      });
  if (!stored) return false;
  if (!usedByFormat && !usedByReport) return true;
  CWsz text = VxKd::lngDbText(
      7526,
      L"#Some of the selected text styles could not be deleted. They are used in following items:");
  if (usedByFormat) text.cat(L"\r\n").cat(VxKd::lngDbText(18415, L"#Dimension text formats"));
  if (usedByReport) text.cat(L"\r\n").cat(VxKd::lngDbText(11128, L"#Report definitions"));
  VxKd::msgBox(hwnd, 0, text, 11142, L"#Cannot Delete", MB_OK, MB_ICONEXCLAMATION);
  return false;
}

bool CKdProject::deleteReportDefs(HWND hwnd, const CInt32Array& indexes) {
  return deleteAndCommit(hwnd, VxKd::storedReports, reportDefs_,
                         [&](CQbase& db, const CKdObjectArray<CKdReport>& before) {
                           CInt32Array selected;
                           for (int32_t index : indexes)
                             if (index >= 0 && index < before.length() && !selected.contains(index))
                               selected.append(index);
                           for (int32_t index : selected) before.objAt(index)->deleteFrom(db);
                           reportDefs_.deleteAt(selected);
                         });
}

bool CKdProject::usesTextStyle(const wchar_t* name, bool& byFormat, bool& byReport) const {
  byFormat = byReport = false;
  for (int f = 0; f < dimTextFormats_.length() && !byFormat; ++f)
    byFormat = cuSz::equalNoCase(dimTextFormats_.objAt(f)->styleName(), name);
  for (int r = 0; r < reportDefs_.length() && !byReport; ++r)
    byReport = cuSz::equalNoCase(reportDefs_.objAt(r)->fontStyleName(), name);
  return byFormat || byReport;
}

long CKdProject::nextSymbolDbId() const { return symbols_.nextId(1, kMaxSymbolId); }

bool CKdProject::save2dSymbol(CQbase& db, const CVxSymbolModel& symbol) {
  if (!db.createRec(kSymbolRecord, VxKd::buildSymbolDbId(symbol.projectId()).c_str())) return false;
  db.setSz(kFieldSymbolId, symbol.symbolId());
  db.setWsz(kFieldDescription, symbol.desc());
  CByteBuffer nodes = symbol.nodeBytes();
  if (symbol.nodeCount() <= kMaxFieldNodes)
    db.setBinaryArray(kFieldNodes, nodes.data(), symbol.nodeCount());
  else
    db.setAttachment(nodes);
  return db.saveRec();
}

bool CKdProject::read2dSymbols(CQbase& db) {
  symbols_.reset();
  for (bool more = db.fetchFirstMember(kSymbolRecord); more; more = db.fetchNextMember()) {
    long id = 0;
    if (!VxKd::readObjId(db, id) || id < 1) continue;
    CVxSymbolModel symbol;
    symbol.setProjectId(id);
    CChBuffer symbolId;
    db.getSz(kFieldSymbolId, symbolId);
    symbol.setSymbolId(symbolId);
    CWsz desc;
    db.getWsz(kFieldDescription, desc);
    symbol.setDesc(desc);
    CByteBuffer bytes;
    int count = 0;
    int size = 0;
    if (db.getBinaryArray(kFieldNodes, bytes, count) && count > 0)
      size = std::min(bytes.size(), std::min(count, kMaxNodes) * CVxSymbolModel::nodeSize);
    // No nodes in the field: the drawing is in the attachment, if anywhere.
    if (size < CVxSymbolModel::nodeSize && db.getAttachment(bytes))
      size = std::min(bytes.size(), kMaxNodes * CVxSymbolModel::nodeSize);
    if (symbol.setNodeBytes(bytes.data(), size) < 1) continue;
    symbols_.append(&symbol);
  }
  return true;
}

bool CKdProject::write2dSymbols(CQbase& db) {
  for (int i = 0; i < symbols_.length(); ++i) {
    CVxSymbolModel* symbol = symbols_.objAt(i);
    if (symbol->projectId() < 1) symbol->setProjectId(nextSymbolDbId());
    if (symbol->projectId() > 0) save2dSymbol(db, *symbol);
  }
  return true;
}

bool CKdProject::find2dSymbol(const char* symbolId, CVxSymbolModel& out) const {
  out = CVxSymbolModel();
  const CVxSymbolModel* found = symbols_.objAt(symbols_.find(symbolId));
  if (!found) return false;
  out = *found;
  return true;
}

bool CKdProject::delete2dSymbolIfNotUsed(CQbase& db, const char* symbolId) {
  if (!symbolId || !*symbolId) return false;
  if (productGroups_.usesSymbol(symbolId)) return false;
  for (VxKd::systemTypeIds type : kPolyDefSetReadOrder)
    if (polyDefSets(type)->usesSymbol(symbolId)) return false;
  int index = symbols_.find(symbolId);
  if (index < 0) return false;
  if (!db.deleteRec(kSymbolRecord,
                    VxKd::buildSymbolDbId(symbols_.objAt(index)->projectId()).c_str()))
    return false;
  forgetStored(VxKd::storedSymbols, {symbols_.idAt(index)});
  return symbols_.deleteAt(index);
}

bool CKdProject::delete2dSymbolIfNotUsed(CQbase& db, const wchar_t* symbolId) {
  CChBuffer narrow;
  narrow.set(CWsz(symbolId).toUtf8().c_str(), 41);
  return delete2dSymbolIfNotUsed(db, narrow.sz());
}
