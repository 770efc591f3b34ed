#pragma once
// CKdProject: the in-memory image of one dataset file. It owns every definition array, knows
// its file and the file's last-write time, and creates, opens, reads, writes and saves the
// file. The file is never held open between operations.

#include <vector>

#include "vxkd/catalogue/block.h"
#include "vxkd/catalogue/part_id_format.h"
#include "vxkd/catalogue/product_def.h"
#include "vxkd/catalogue/product_group.h"
#include "vxkd/dimtext/dimtext_format.h"
#include "vxkd/drawingdefs/layer_def.h"
#include "vxkd/drawingdefs/linetype_def.h"
#include "vxkd/drawingdefs/text_style_def.h"
#include "vxkd/foundation/symbol_model_array.h"
#include "vxkd/foundation/system_type.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/file_time.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_def.h"
#include "vxkd/reports/report.h"

// As the source of block drawings it answers with the products of its product groups and its
// 2D symbols.
class VXKD_API CKdProject : public iKdBlockModelSource {
 public:
  // An empty project bound to no file.
  CKdProject();
  // Copies every array deeply.
  CKdProject(const CKdProject& other) = default;
  CKdProject& operator=(const CKdProject& other) = default;
  // Moves the arrays without copying their elements.
  CKdProject(CKdProject&& other) = default;
  CKdProject& operator=(CKdProject&& other) = default;
  ~CKdProject() override;

  const CWsz& fileName() const { return fileName_; }
  void setFilename(const wchar_t* path) { fileName_.set(path); }
  const cuFile::CFileTime& timeStamp() const { return timeStamp_; }

  CKdPropertyDefArray& propertyDefs() { return propertyDefs_; }
  const CKdPropertyDefArray& propertyDefs() const { return propertyDefs_; }
  CKdPartIdFormatArray& partIdFormats() { return partIdFormats_; }
  const CKdPartIdFormatArray& partIdFormats() const { return partIdFormats_; }
  CKdLayerDefArray& layerDefs() { return layerDefs_; }
  const CKdLayerDefArray& layerDefs() const { return layerDefs_; }
  CKdProductGroupArray& productGroups() { return productGroups_; }
  const CKdProductGroupArray& productGroups() const { return productGroups_; }
  CVxSymbolModelArray& symbols() { return symbols_; }
  const CVxSymbolModelArray& symbols() const { return symbols_; }
  CKdTextStyleDefArray& textStyleDefs() { return textStyleDefs_; }
  const CKdTextStyleDefArray& textStyleDefs() const { return textStyleDefs_; }
  CKdLinetypeDefArray& linetypeDefs() { return linetypeDefs_; }
  const CKdLinetypeDefArray& linetypeDefs() const { return linetypeDefs_; }
  CKdDimtextFormatArray& dimTextFormats() { return dimTextFormats_; }
  const CKdDimtextFormatArray& dimTextFormats() const { return dimTextFormats_; }
  CKdObjectArray<CKdReport>& reportDefs() { return reportDefs_; }
  const CKdObjectArray<CKdReport>& reportDefs() const { return reportDefs_; }
  // The definition set of the poly objects of `type`: ducts "SD", pipes "SP", electrical
  // lines "SE", data lines "SA"; null for any other type.
  CKdProductDefArray* polyDefSets(VxKd::systemTypeIds type);
  const CKdProductDefArray* polyDefSets(VxKd::systemTypeIds type) const;
  // True when any of the four sets holds a definition.
  bool hasPolyDefSets() const;

  // Kept in memory only, never in the file.
  long lastInstalledDimtextId() const { return lastInstalledDimtextId_; }
  void setLastInstalledDimtextId(long id) { lastInstalledDimtextId_ = id; }
  int lastTreePos() const { return lastTreePos_; }
  long lastTreePosId() const { return lastTreePosId_; }
  void setLastTreePos(int pos, long id) {
    lastTreePos_ = pos;
    lastTreePosId_ = id;
  }

  // Creates an empty dataset file at `path` and binds the project to it; the definitions in
  // memory are neither reset nor written. A file at `path` is replaced, but only by the
  // complete new one (built beside it and renamed into place). False, with the message
  // shown and failReason() set, when the file cannot be created.
  bool newDb(cuWin::HWND hwnd, const wchar_t* path);
  // Reads the dataset at `path` into the project and binds the project to it. The file is
  // opened read-only and shared with other readers. False, with the message shown,
  // failReason() set and the project untouched, when the file cannot be opened or a read
  // fails in the middle (a damaged file).
  bool readDb(cuWin::HWND hwnd, const wchar_t* path);
  // Writes every array into the open `db`, deletes the records of the definitions removed
  // since the last read or write (see updateDb), commits and closes it, and takes the new
  // time stamp. False when the commit failed: the file is then as it was before.
  bool writeDb(cuWin::HWND hwnd, CQbase& db);
  // Writes the project back to its file in one transaction, after the file passed its
  // integrity check. Each array saves its records over the stored ones, and the records of
  // definitions that this project read or wrote and has since removed from memory are
  // deleted; a record it never read (another user's, stored after the read) stays. False,
  // with failReason() set (and the open's message shown when the file cannot be opened),
  // when nothing was written.
  bool updateDb(cuWin::HWND hwnd);
  // Writes the project to a new file at `path` and binds to it. A file at `path`, the
  // project's own included, is replaced only by the complete new one, so a crash or a full
  // disk in between leaves the old file whole. False with failReason() set.
  bool saveDbAs(cuWin::HWND hwnd, const wchar_t* path);
  // Why the last readDb, updateDb, newDb, saveDbAs or deletePropertyDefs failed (the
  // record database's reason: not a database, not a dataset, newer format, damaged,
  // read-only, busy, missing); reasonNone after a success.
  CQbase::failReason failReason() const { return failReason_; }

  // The open- and save-file dialogs of datasets; false when cancelled. The save dialog
  // appends ".vkd" to a name without it, so that the lock file (the name's last three
  // characters replaced by "lck") lies beside the dataset under a name of its own.
  static bool askOpenFileName(cuWin::HWND hwnd, CWsz& path);
  static bool askSaveFileName(cuWin::HWND hwnd, CWsz& path);

  // Empties every definition array and the symbol list, then gives the layers their hard
  // defaults, and forgets the last installed dimension text. The linetypes keep their
  // built-in solid linetype: that array is never empty.
  void resetData();
  // The starting content of a new dataset: no property definitions, product groups or report
  // definitions, the default linetypes and text styles, no dimension text formats.
  void buildDefaultProject();
  // The linetypes of a new dataset: the solid linetype "CONTINUOUS" alone.
  void buildDefaultLinetypes();
  // The text styles of a new dataset: "Standard" with the font file "txt", character set 1,
  // x scale 1.0.
  void buildDefaultTextStyleDefs();
  // Empties the dimension text formats: a new dataset starts without any.
  void buildDefaultDimTextFormats();
  // Re-reads the file's last-write time: -3 unbound, -1 unreadable, 0 done.
  int updateTimeStamp() { return timeStamp_.update(); }

  // Another user's save: -1 when the time stamp is unbound or the file cannot be reopened,
  // 0 when nothing changed, 1 when the file changed and the project was reloaded (with an
  // information box first when `notify` is set).
  int checkUpdated(cuWin::HWND hwnd, bool notify);
  // Takes the lock file of the project's dataset; false, with the message shown, when
  // someone else holds it or it cannot be made.
  bool setLockFile(cuWin::HWND hwnd, CLockFile& lock);
  // Called before an edit is stored. 0: the lock is held, store the edit, then updateDb and
  // release. 1: another user had saved, the project was reloaded and the lock is not held;
  // the edit must not be stored. -1: the dataset cannot be locked or reread.
  int setEditLock(cuWin::HWND hwnd, CLockFile& lock);

  // Deletes the property definitions at `indexes` that none of `users` uses, from the file
  // and from memory; the ones kept are named to the user in one message. REQUIRES the edit
  // lock (setEditLock returned 0). False, with nothing deleted, when the file cannot be
  // opened or the change cannot be committed.
  bool deletePropertyDefs(cuWin::HWND hwnd, const CInt32Array& indexes,
                          const std::vector<const iKdPropertyDefUser*>& users);
  // The same for the dimension text formats at `indexes`.
  bool deleteDimTextFormats(cuWin::HWND hwnd, const CInt32Array& indexes,
                            const std::vector<const iKdDimtextFormatUser*>& users);

  // Hands a changed property definition to every product definition that holds a copy of
  // it: those of the product groups, then those of the four poly-object sets, in the order
  // "SD", "SP", "SA", "SE".
  void updatePropertyDefModificationToRefs(const CKdPropertyDef& def);

  // Deletes the part ID formats at `indexes` that no product definition uses (of a group or
  // of a poly-object set), from the file and from memory; one message names the products
  // that keep the others. REQUIRES the edit lock. False, with nothing deleted, when the file
  // cannot be opened or the change cannot be committed; false too when a format was kept.
  bool deletePartIdFormats(cuWin::HWND hwnd, const CInt32Array& indexes);
  // Deletes the text styles at `indexes` that no dimension text format and no report
  // definition names (ignoring case), from the file and from memory; when one is kept, the
  // message "Cannot Delete" names who uses it. REQUIRES the edit lock. False, with nothing
  // deleted, when the file cannot be opened or the change cannot be committed; false too
  // when a style was kept.
  bool deleteTextStyles(cuWin::HWND hwnd, const CInt32Array& indexes);
  // Whether a dimension text format (`byFormat`) or a report definition (`byReport`) names
  // the text style `name`, ignoring case; true when either does.
  bool usesTextStyle(const wchar_t* name, bool& byFormat, bool& byReport) const;
  // Deletes the report definitions at `indexes` (nothing refers to a report), from the file
  // and from memory. REQUIRES the edit lock. False, with nothing deleted, when the file
  // cannot be opened or the change cannot be committed. Indexes out of range are skipped.
  bool deleteReportDefs(cuWin::HWND hwnd, const CInt32Array& indexes);

  // Deletes the products at `indexes` of `products`, which is the product array of one of
  // the project's groups or one of its poly-object sets, from the file and from memory. A
  // product that a block places (by its GUID) is kept, and the message "Cannot Delete" names
  // those blocks. REQUIRES the edit lock. False, with nothing deleted, when `products` is
  // none of the project's arrays, the file cannot be opened or the change cannot be
  // committed; false too when a product was kept.
  bool deleteProductDefs(cuWin::HWND hwnd, CKdProductDefArray& products,
                         const CInt32Array& indexes);
  // The names of the blocks that place the product with GUID `guid` (emptied first); the
  // null GUID is placed by none.
  void blocksPlacing(const CKdGuid& guid, CWszArray& names) const;

  // The dataset editor's "delete group": asks whether to delete group `groupId` (naming its
  // products or sub groups, if any), and on Yes deletes it and all its descendants with
  // their products, from the file under the edit lock and from memory; their blocks' records
  // stay in the file. The editor's tree then stands at the group's owner. False when the
  // user says No, the group is unknown or a root, the dataset cannot be locked or written,
  // or another user's save made the project reload (the question was about older content).
  bool deleteProductGroup(cuWin::HWND hwnd, long groupId);
  // The same for "delete subgroups of selected group": the descendants only; a root's too.
  bool deleteProductSubGroups(cuWin::HWND hwnd, long groupId);

  // Asks for the name of a new block and the group to file it under, in a dialog that shows
  // `name` and selects `groupId` at first; on OK (with a name that no block of the chosen
  // group has) both hold the answer. False when cancelled. Nothing is stored.
  bool blockDefCreateDlg(cuWin::HWND hwnd, CWsz& name, long& groupId);

  // As the source of block drawings: the first product of a product group with GUID `guid`.
  const CKdProductDef* findBlockProduct(const CKdGuid& guid) const override;

  // 2D symbols. The next free project id: the highest + 1 up to 99,999,999, else the
  // first gap, else 0.
  long nextSymbolDbId() const;
  // Stores `symbol` as its own record; false when it cannot be written.
  bool save2dSymbol(CQbase& db, const CVxSymbolModel& symbol);
  // A copy of the symbol whose symbol id is `symbolId`; false (and `out` cleared) if none.
  bool find2dSymbol(const char* symbolId, CVxSymbolModel& out) const override;
  // Deletes the symbol `symbolId` from `db` and the list; false when it is unknown, a
  // product definition uses it (of a group or of a poly-object set: either would lose its
  // drawing) or its record cannot be deleted.
  bool delete2dSymbolIfNotUsed(CQbase& db, const char* symbolId);
  bool delete2dSymbolIfNotUsed(CQbase& db, const wchar_t* symbolId);

  // The dictionary of dataset files: "VantVkd.ddq" in the program folder.
  static CWsz dictionaryPath();

 protected:
  bool createDb(cuWin::HWND hwnd, CQbase& db, const wchar_t* path);
  bool openDb(cuWin::HWND hwnd, CQbase& db, const wchar_t* path, bool forUpdate);
  bool openDb(cuWin::HWND hwnd, CQbase& db, bool forUpdate);
  // Replaces the project's content by the file's. Each array reads what it can: the
  // result is always false and callers ignore it.
  bool readFromDb(cuWin::HWND hwnd, CQbase& db);
  bool read2dSymbols(CQbase& db);
  bool write2dSymbols(CQbase& db);

 private:
  // Reloads after another user's save; -1 or 1 as checkUpdated.
  int reload(cuWin::HWND hwnd, bool notify);
  // Reads the file at `path` into the project, all or nothing, and binds to it.
  bool readFile(cuWin::HWND hwnd, const CWsz& path);
  // Deletes the descendants of group `groupId`, and the group itself `withGroup`, under the
  // edit lock; see deleteProductGroup.
  bool deleteGroups(cuWin::HWND hwnd, long groupId, bool withGroup);
  // The one shape of the delete commands: opens the file for update, lets `remove(db,
  // before)` delete elements of `array` and their records (`before` is the array as it
  // was), and commits. False when the file cannot be opened (nothing changed) or the commit
  // fails: the array then gets its elements back, as the file kept their records, and
  // failReason() says why. On success the project takes the commit's time stamp, and the
  // removed elements of `kind` (VxKd::storedKind) no longer count as stored. Defined in
  // src/dataset/project_records.h.
  template <typename Array, typename Remove>
  bool deleteAndCommit(cuWin::HWND hwnd, int kind, Array& array, Remove&& remove);
  // The records of the definitions in memory, by kind; see stored_.
  std::vector<std::vector<std::pair<long, long>>> recordsInMemory() const;
  // Deletes from the open `db` the records of stored_ whose definitions left memory
  // (`inMemory`, as recordsInMemory gives it).
  void deleteRemovedRecords(CQbase& db,
                            const std::vector<std::vector<std::pair<long, long>>>& inMemory) const;
  // The ids of `kind` whose records were deleted: not stored any more (a group's products
  // with the group).
  void forgetStored(int kind, const std::vector<long>& ids);

  CWsz fileName_;
  cuFile::CFileTime timeStamp_;
  CKdPropertyDefArray propertyDefs_;
  CKdPartIdFormatArray partIdFormats_;
  CKdLayerDefArray layerDefs_;
  CKdProductGroupArray productGroups_;
  CVxSymbolModelArray symbols_;
  CKdTextStyleDefArray textStyleDefs_;
  CKdLinetypeDefArray linetypeDefs_;
  CKdDimtextFormatArray dimTextFormats_;
  CKdObjectArray<CKdReport> reportDefs_;
  CKdProductDefArray ductDefs_{"SD"};
  CKdProductDefArray pipeDefs_{"SP"};
  CKdProductDefArray dataDefs_{"SA"};
  CKdProductDefArray electricDefs_{"SE"};
  long lastInstalledDimtextId_ = 0;
  int lastTreePos_ = 0;
  long lastTreePosId_ = 0;
  CQbase::failReason failReason_ = CQbase::reasonNone;
  // The records this image read from its file or last wrote there, by VxKd::storedKind: the
  // group (0 for none) and the id of each, sorted. A save deletes the records of those no
  // longer in memory and no others, so that a record another user stored after this image
  // was read is never touched. A record that did not read is not here: it is kept.
  std::vector<std::vector<std::pair<long, long>>> stored_;
};
