#include "foundation/record_key.h"

#include <charconv>

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace VxKd {

namespace {

// Appends "%N.Nld" of `value` with N = `digits`: at least that many digits, zeros in front,
// a minus sign before them. Written out rather than printed: a catalogue's save builds a key
// for each of its ten thousand products.
void appendDigits(std::string& out, long value, int digits) {
  char text[24];
  char* end = std::to_chars(text, text + sizeof text, value).ptr;
  const char* first = text;
  if (value < 0) {
    out += '-';
    ++first;
  }
  for (auto n = end - first; n < digits; ++n) out += '0';
  out.append(first, static_cast<size_t>(end - first));
}

}  // namespace

std::string buildDbId(long id) {
  std::string key;
  appendDigits(key, id, 6);
  return key;
}

std::string buildDbId(long groupId, long id) {
  std::string key;
  appendDigits(key, groupId, 6);
  appendDigits(key, id, 4);
  return key;
}

std::string buildDbId(long groupId, long blockNmb, long itemNmb) {
  std::string key;
  appendDigits(key, groupId, 4);
  appendDigits(key, blockNmb, 3);
  appendDigits(key, itemNmb, 3);
  return key;
}

std::string buildSymbolDbId(long id) {
  std::string key;
  appendDigits(key, id, 8);
  return key;
}

bool readObjId(const CQbase& db, long& id) {
  id = 0;
  CChBuffer key;
  return db.getObjId(key) && cuSz::scanLong(key.sz(), id);
}

}  // namespace VxKd
