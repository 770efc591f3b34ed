#pragma once
// The table behind cuSz::foldCase; generated, see scripts/gen-casefold.pl.

#include <cstdint>

namespace cuSz::detail {

struct CaseFoldPair {
  char32_t from;
  char32_t to;
};

// Sorted by `from`.
extern const CaseFoldPair kCaseFoldTable[];
extern const int kCaseFoldTableSize;

}  // namespace cuSz::detail
