#include "foundation/record_key.h"

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace VxKd {

std::string buildDbId(long id) { return cuSz::format("%6.6ld", id); }

std::string buildDbId(long groupId, long id) { return cuSz::format("%6.6ld%4.4ld", groupId, id); }

std::string buildDbId(long groupId, long blockNmb, long itemNmb) {
  return cuSz::format("%4.4ld%3.3ld%3.3ld", groupId, blockNmb, itemNmb);
}

std::string buildSymbolDbId(long id) { return cuSz::format("%8.8ld", id); }

bool readObjId(const CQbase& db, long& id) {
  id = 0;
  CChBuffer key;
  return db.getObjId(key) && cuSz::scanLong(key.sz(), id);
}

}  // namespace VxKd
