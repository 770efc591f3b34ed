#pragma once
// Record keys: the zero-filled decimal ids under which definitions are stored, and the
// reading of an id back from the current record's key.

#include <string>

class CQbase;

namespace VxKd {

// The largest id that a six-digit key holds: top-level definitions take 1 to this.
inline constexpr long kMaxDbId = 999999;

// "%6.6ld": the key of a top-level definition.
std::string buildDbId(long id);
// "%6.6ld%4.4ld": the key of a definition filed under a group.
std::string buildDbId(long groupId, long id);
// "%4.4ld%3.3ld%3.3ld": the key of a block item, from the group id, the block's number and
// the item's position.
std::string buildDbId(long groupId, long blockNmb, long itemNmb);
// "%8.8ld": the key of a 2D symbol.
std::string buildSymbolDbId(long id);

// Reads the current record's key with "%ld" into `id`; false (id 0) when there is no
// current record or the key does not start with a 32-bit number.
bool readObjId(const CQbase& db, long& id);

}  // namespace VxKd
