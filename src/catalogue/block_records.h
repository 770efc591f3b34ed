#pragma once
// Reading the items of many blocks at once, for the readers of whole datasets.

#include <vector>

#include "vxkd/catalogue/block.h"

namespace VxKd {

// A block that waits for its items: those of group `groupId` and block `blockNmb`.
struct CKdBlockItemTarget {
  CKdBlock* block;
  long groupId;
  long blockNmb;
};

// Replaces the items of every target as CKdBlock::readItemsFrom does, in one pass over the
// "BI" records instead of one per block.
void readBlockItems(CQbase& db, const std::vector<CKdBlockItemTarget>& targets,
                    const CKdPropertyDefArray& defs);

}  // namespace VxKd
