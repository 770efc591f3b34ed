// The project's commands on its product catalogue: deleting groups, asking for a new block.

#include <unordered_set>

#include "dataset/project_records.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/dialog.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/ui_backend.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

using namespace cuWin;

namespace {

constexpr long kRoot = CKdProductGroup::rootGroupDefinitions;
constexpr const wchar_t* kDeleteGroupCaption = L"#Delete Group";
constexpr long kDeleteGroupCaptionId = 11514;

// The controls of the new-block dialog.
enum blockDlgControl : int {
  blockDlgNameLabel = 1001,
  blockDlgName = 1002,
  blockDlgGroupLabel = 1003,
  blockDlgGroups = 1004,
};

// Adds the stored children of `ownerId` under tree item `parent`, each followed by its own
// children, in order-number order. A group is added once however its owner links run.
void addGroupItems(const CKdProductGroupArray& groups, long ownerId, int parent, VxTreeView& tree,
                   std::unordered_set<long>& added) {
  CKdProductGroupArray children;
  groups.getTopSubGroupsOf(ownerId, children);
  for (int i = 0; i < children.length(); ++i) {
    const CKdProductGroup* child = children.objAt(i);
    if (!added.insert(child->dbId()).second) continue;
    const int item = tree.insertItem(child->desc(), child->dbId(), parent);
    addGroupItems(groups, child->dbId(), item, tree, added);
  }
}

}  // namespace

const CKdProductDef* CKdProject::findBlockProduct(const CKdGuid& guid) const {
  return productGroups_.findProduct(guid);
}

bool CKdProject::deleteProductGroup(HWND hwnd, long groupId) {
  const CKdProductGroup* group = productGroups_.findGroup(groupId);
  // A root comes back with every read: deleting it would only delete the whole tree.
  if (!group || group->isRoot()) return false;
  int answer;
  if (group->products().length() > 0)
    answer = VxKd::msgBox(hwnd, 11516,
                          L"#Group has product definitions which\r\nwill be deleted.\r\n\r\n"
                          L"Delete selected group?",
                          kDeleteGroupCaptionId, kDeleteGroupCaption, MB_YESNO, MB_ICONEXCLAMATION);
  else if (productGroups_.hasSubGroupsFor(groupId))
    answer = VxKd::msgBox(hwnd, 11518,
                          L"#Group has sub groups which will \r\n be deleted with their possible "
                          L"\r\n product definitions\r\n\r\nDelete selected group?",
                          kDeleteGroupCaptionId, kDeleteGroupCaption, MB_YESNO, MB_ICONEXCLAMATION);
  else
    answer = VxKd::msgBox(hwnd, 11515, L"#Delete selected group?", kDeleteGroupCaptionId,
                          kDeleteGroupCaption, MB_YESNO, MB_ICONQUESTION);
  return answer == IDYES && deleteGroups(hwnd, groupId, true);
}

bool CKdProject::deleteProductSubGroups(HWND hwnd, long groupId) {
  if (!productGroups_.findGroup(groupId)) return false;
  return VxKd::msgBox(hwnd, 13259, L"#Delete subgroups of selected group?", kDeleteGroupCaptionId,
                      kDeleteGroupCaption, MB_YESNO, MB_ICONQUESTION) == IDYES &&
         deleteGroups(hwnd, groupId, false);
}

bool CKdProject::deleteGroups(HWND hwnd, long groupId, bool withGroup) {
  failReason_ = CQbase::reasonNone;
  CLockFile lock;
  // 1: another user's save was read meanwhile; the user answered about older content.
  if (setEditLock(hwnd, lock) != 0) return false;
  const CKdProductGroup* group = productGroups_.findGroup(groupId);
  if (!group) return false;
  const long owner = group->ownerGroupId();
  CInt32Array ids;
  productGroups_.getAllSubGroupIdsOf(groupId, ids);
  if (withGroup) ids.append(static_cast<int32_t>(groupId));

  const bool stored = deleteAndCommit(
      hwnd, VxKd::storedGroups, productGroups_, [&](CQbase& db, const CKdProductGroupArray&) {
        for (int32_t id : ids) {
          if (const CKdProductGroup* doomed = productGroups_.findGroup(id)) {
            doomed->deleteFrom(db);
            productGroups_.deleteGroup(id);
          }
        }
      });
  if (!stored) return false;
  const long shown = !withGroup ? groupId : owner >= 1 ? owner : kRoot;
  setLastTreePos(lastTreePos_, shown);
  return true;
}

void CKdProject::blocksPlacing(const CKdGuid& guid, CWszArray& names) const {
  names = CWszArray();
  if (guid.isNull()) return;
  for (int g = 0; g < productGroups_.length(); ++g) {
    const CKdBlockArray& blocks = productGroups_.objAt(g)->blocks();
    for (int b = 0; b < blocks.length(); ++b) {
      const CKdBlockItemArray& items = blocks.objAt(b)->items();
      for (int i = 0; i < items.length(); ++i) {
        if (items.objAt(i)->guid() != guid) continue;
        names.append(blocks.objAt(b)->desc());
        break;
      }
    }
  }
}

bool CKdProject::deleteProductDefs(HWND hwnd, CKdProductDefArray& products,
                                   const CInt32Array& indexes) {
  failReason_ = CQbase::reasonNone;
  // Where the products are stored: under their group's key, or in a set of their own.
  const CKdProductGroup* owner = nullptr;
  for (int g = 0; g < productGroups_.length() && !owner; ++g)
    if (&productGroups_.objAt(g)->products() == &products) owner = productGroups_.objAt(g);
  // A poly-object set's products are followed by id; a group's by group and id, and their
  // deleted records may stay listed (deleting an absent record later does nothing).
  int kind = -1;
  const VxKd::systemTypeIds sets[] = {VxKd::systemDuct, VxKd::systemPipe, VxKd::systemElectric,
                                      VxKd::systemData};
  const VxKd::storedKind kinds[] = {VxKd::storedDuctDefs, VxKd::storedPipeDefs,
                                    VxKd::storedElectricDefs, VxKd::storedDataDefs};
  for (int i = 0; i < 4; ++i)
    if (polyDefSets(sets[i]) == &products) kind = kinds[i];
  if (!owner && kind < 0) return false;

  // A block item names its product by GUID: deleting the product would leave it drawing
  // nothing.
  CWszArray placedBy;
  const bool stored =
      deleteAndCommit(hwnd, kind, products, [&](CQbase& db, const CKdProductDefArray& before) {
        CInt32Array doomed;
        for (int32_t index : indexes) {
          if (index < 0 || index >= before.length() || doomed.contains(index)) continue;
          CWszArray blocks;
          blocksPlacing(before.objAt(index)->guid(), blocks);
          for (int b = 0; b < blocks.length(); ++b) placedBy.append(blocks.at(b));
          if (blocks.length() == 0) doomed.append(index);
        }
        for (int32_t index : doomed) {
          if (owner)
            before.objAt(index)->deleteFrom(db, owner->dbId());
          else
            before.objAt(index)->deleteFrom(db, products.classId());
        }
        products.deleteAt(doomed);
      });
  if (!stored) return false;
  if (placedBy.length() == 0) return true;
  CWsz text = VxKd::lngDbText(7528,
                              L"#Some of the selected product definitions could not be deleted. "
                              L"They are used in following items:");
  text.cat(L"\r\n").cat(VxKd::lngDbText(7522, L"#Block definitions")).cat(L":");
  for (int b = 0; b < placedBy.length(); ++b) text.cat(L"\r\n").cat(placedBy.at(b));
  VxKd::msgBox(hwnd, 0, text, 11142, L"#Cannot Delete", MB_OK, MB_ICONEXCLAMATION);
  return false;
}

bool CKdProject::blockDefCreateDlg(HWND hwnd, CWsz& name, long& groupId) {
  VXDialog dialog;
  dialog.setTitle(VxKd::lngDbText(3474, L"#New Block"));
  dialog.setLabel(blockDlgNameLabel, VxKd::lngDbText(3475, L"#Name:"));
  dialog.edit(blockDlgName).setText(name);
  dialog.setLabel(blockDlgGroupLabel, VxKd::lngDbText(3476, L"#Product group:"));
  VxTreeView& tree = dialog.tree(blockDlgGroups);
  const int top = tree.insertItem(VxKd::lngDbText(6214, L"#Group definitions"), kRoot);
  std::unordered_set<long> added;
  addGroupItems(productGroups_, kRoot, top, tree, added);
  const int selected = tree.findData(groupId);
  tree.select(selected != VxTreeView::kNone ? selected : top);

  for (;;) {
    if (CUiBackend::current().runDialog(hwnd, dialog) != IDOK) return false;
    CWsz chosen = dialog.edit(blockDlgName).text();
    chosen.trim();
    const int item = tree.selection();
    const CKdProductGroup* group =
        item == VxTreeView::kNone ? nullptr : productGroups_.findGroup(tree.itemData(item));
    if (chosen.isEmpty())
      VxKd::msgWarningBox(hwnd, 3477, L"#Enter a name for the block.");
    else if (item == VxTreeView::kNone)
      VxKd::msgWarningBox(hwnd, 3478, L"#Choose the product group of the block.");
    else if (group && group->blocks().findName(chosen))
      VxKd::msgWarningBox(hwnd, 3479, L"#The group already has a block of this name.");
    else {
      name = chosen;
      groupId = tree.itemData(item);
      return true;
    }
  }
}
