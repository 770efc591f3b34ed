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

// The blocks of one group, to be stored.
struct CKdGroupBlocks {
  long groupId;
  const CKdBlockArray* blocks;
};

// Replaces the stored blocks of each group as CKdBlockArray::saveTo does for it, in one pass
// over "BS" and one over "BI" rather than one per group and block: the records of the groups
// (and those whose key does not parse) are deleted, then the blocks written. A group whose
// blocks no key can carry is left as the file has it. True when every block was stored.
bool saveGroupBlocks(CQbase& db, const std::vector<CKdGroupBlocks>& groups);

}  // namespace VxKd
