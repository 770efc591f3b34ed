#pragma once
// The pairing of the items of one kind in two datasets, shared by the comparison and the
// merge.

#include <vector>

#include "merge/kinds.h"

namespace VxKd {

// For each item of `source`, the index of its partner in `current`, or -1. Items pair when
// their match keys are equal (an empty key pairs with nothing); among several items with
// one key the first pairs with the first, the second with the second, and so on. Then the
// items still without a partner pair by their second keys in the same way.
std::vector<int> matchItems(const KindAdapter& kind, const CKdProject& source,
                            const CKdProject& current);

// Enters each source item's partner into `maps` (its id, and its name where others refer to
// it by name); an item without partner as unmatched.
void mapPartners(const KindAdapter& kind, const CKdProject& source, const CKdProject& current,
                 const std::vector<int>& partners, RefMaps& maps);

}  // namespace VxKd
