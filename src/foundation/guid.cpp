#include "vxkd/foundation/guid.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "vxkd/platform/env.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

// Texts are looked at up to this many characters, so a long text is refused for its length
// rather than for a valid prefix.
constexpr int kMaxConsidered = 99;

// Positions of the hyphens in the text form.
constexpr bool isHyphenPosition(int i) { return i == 8 || i == 13 || i == 18 || i == 23; }

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The sixteen bytes in text order: Data1, Data2 and Data3 most significant digit first, then
// the eight bytes of Data4.
void toTextOrder(const _GUID& g, uint8_t out[16]) {
  for (int i = 0; i < 4; ++i) out[i] = static_cast<uint8_t>(g.Data1 >> (24 - 8 * i));
  out[4] = static_cast<uint8_t>(g.Data2 >> 8);
  out[5] = static_cast<uint8_t>(g.Data2);
  out[6] = static_cast<uint8_t>(g.Data3 >> 8);
  out[7] = static_cast<uint8_t>(g.Data3);
  std::memcpy(out + 8, g.Data4, 8);
}

void fromTextOrder(const uint8_t in[16], _GUID& g) {
  g.Data1 = static_cast<uint32_t>(in[0]) << 24 | static_cast<uint32_t>(in[1]) << 16 |
            static_cast<uint32_t>(in[2]) << 8 | in[3];
  g.Data2 = static_cast<uint16_t>(in[4] << 8 | in[5]);
  g.Data3 = static_cast<uint16_t>(in[6] << 8 | in[7]);
  std::memcpy(g.Data4, in + 8, 8);
}

// Parses exactly the 36 characters of the text form into `g`.
bool parseText(const char* text, _GUID& g) {
  int length = 0;
  while (length <= kMaxConsidered && text[length]) ++length;
  if (length != CKdGuid::textLength) return false;
  uint8_t bytes[16];
  int n = 0;
  for (int i = 0; i < CKdGuid::textLength; ++i) {
    if (isHyphenPosition(i)) {
      if (text[i] != '-') return false;
      continue;
    }
    int high = hexValue(text[i]);
    int low = hexValue(text[++i]);
    if (high < 0 || low < 0) return false;
    bytes[n++] = static_cast<uint8_t>(high << 4 | low);
  }
  fromTextOrder(bytes, g);
  return true;
}

// Reads `size` bytes from the kernel's random source: getrandom(2), or /dev/urandom where
// the kernel lacks it.
bool readRandom(void* buffer, size_t size) {
  auto* out = static_cast<uint8_t*>(buffer);
  size_t done = 0;
  while (done < size) {
    ssize_t n = getrandom(out + done, size - done, 0);
    if (n > 0) {
      done += static_cast<size_t>(n);
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else if (n < 0 && errno == ENOSYS) {
      break;
    } else {
      return false;
    }
  }
  if (done == size) return true;
  CEnv& env = CEnv::current();
  int fd = env.openFile("/dev/urandom", O_RDONLY);
  if (fd < 0) return false;
  while (done < size) {
    ssize_t n = env.readFile(fd, out + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  env.closeFile(fd);
  return done == size;
}

}  // namespace

CKdGuid::CKdGuid() { reset(); }

CKdGuid::CKdGuid(const char* text) { fromSz(text); }

bool CKdGuid::createValue() {
  uint8_t bytes[16];
  if (!readRandom(bytes, sizeof bytes)) {
    reset();
    return false;
  }
  bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4: random
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);  // the variant of RFC 4122
  fromTextOrder(bytes, value_);
  return true;
}

bool CKdGuid::fromSz(const char* text) {
  if (!text || !*text || !parseText(text, value_)) {
    reset();
    return false;
  }
  return true;
}

bool CKdGuid::fromWsz(const wchar_t* text) {
  if (!text) return fromSz(nullptr);
  char narrow[kMaxConsidered + 1];
  int n = 0;
  for (; n < kMaxConsidered && text[n]; ++n)
    narrow[n] = text[n] > 0 && text[n] < 0x80 ? static_cast<char>(text[n]) : '?';
  narrow[n] = '\0';
  return fromSz(narrow);
}

char* CKdGuid::toSz(char* buffer, int size) const {
  if (isNull()) return cuSz::copyTo(buffer, size, "");
  static constexpr char kDigits[] = "0123456789ABCDEF";
  uint8_t bytes[16];
  toTextOrder(value_, bytes);
  char text[textBufferSize];
  int n = 0;
  for (int i = 0; i < 16; ++i) {
    if (isHyphenPosition(n)) text[n++] = '-';
    text[n++] = kDigits[bytes[i] >> 4];
    text[n++] = kDigits[bytes[i] & 0x0F];
  }
  return cuSz::copyTo(buffer, size, std::string_view(text, n));
}

CWsz CKdGuid::toWsz() const {
  char text[textBufferSize];
  toSz(text, sizeof text);
  return CWsz(std::wstring(text, text + std::strlen(text)));
}

void CKdGuid::getValue(_GUID& out) const { out = value_; }

void CKdGuid::setValue(const _GUID& value) { value_ = value; }

bool CKdGuid::isEqualTo(const CKdGuid& other) const {
  return std::memcmp(&value_, &other.value_, sizeof value_) == 0;
}

bool CKdGuid::isNull() const { return isEqualTo(CKdGuid()); }

void CKdGuid::reset() { std::memset(&value_, 0, sizeof value_); }

bool CKdGuidArray::append(const CKdGuidArray& other) {
  bool all = true;
  const int count = other.length();  // appending an array to itself copies it once
  for (int i = 0; i < count; ++i) all = append(other.objAt(i)) && all;
  return all;
}

int CKdGuidArray::find(const CKdGuid& guid) const {
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->isEqualTo(guid)) return i;
  return -1;
}

namespace {

constexpr int kSlotSize = 36;

}  // namespace

bool CKdGuidArray::saveTo(CQbase& db, short fieldNo) const {
  if (length() == 0) return true;
  std::vector<char> slots(static_cast<size_t>(length()) * kSlotSize, '\0');
  for (int i = 0; i < length(); ++i) {
    char text[kSlotSize + 1];
    objAt(i)->toSz(text, sizeof text);  // a null GUID gives "", so its slot starts with 0
    std::memcpy(slots.data() + static_cast<size_t>(i) * kSlotSize, text, std::strlen(text));
  }
  return db.setBinaryArray(fieldNo, slots.data(), length());
}

bool CKdGuidArray::readFrom(CQbase& db, short fieldNo) {
  reset();
  CByteBuffer data;
  int count = 0;
  if (!db.getBinaryArray(fieldNo, data, count) || count <= 0) return true;
  if (data.size() < count * kSlotSize) return false;
  for (int i = 0; i < count; ++i) {
    char text[kSlotSize + 1];
    std::memcpy(text, data.data() + static_cast<size_t>(i) * kSlotSize, kSlotSize);
    text[kSlotSize] = '\0';
    CKdGuid guid;
    if (text[0] == '\0' || !guid.fromSz(text)) continue;
    append(&guid);
  }
  return true;
}
