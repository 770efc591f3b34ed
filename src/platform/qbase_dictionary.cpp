#include "platform/qbase_dictionary.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "vxkd/platform/env.h"

namespace {

struct TypeEntry {
  const char* name;
  QbaseFieldType type;
  const char* column;    // SQLite's column type
  const char* pgColumn;  // PostgreSQL's: the smallest type that holds every value of the field
  bool hasSize;          // takes a size argument
  bool sizeRequired;     // ... that must be there
};

// The field types of the dictionary syntax. The attachment has its own directive.
constexpr TypeEntry kTypes[] = {
    {"byte", QbaseFieldType::kByte, "INTEGER", "smallint", false, false},
    {"short", QbaseFieldType::kShort, "INTEGER", "smallint", false, false},
    {"long", QbaseFieldType::kLong, "INTEGER", "integer", false, false},
    {"float", QbaseFieldType::kFloat, "REAL", "real", false, false},
    {"sz", QbaseFieldType::kSz, "TEXT", "text", true, false},
    {"wsz", QbaseFieldType::kWsz, "TEXT", "text", false, false},
    {"point", QbaseFieldType::kPoint, "BLOB", "bytea", false, false},
    {"short_array", QbaseFieldType::kShortArray, "BLOB", "bytea", false, false},
    {"float_array", QbaseFieldType::kFloatArray, "BLOB", "bytea", false, false},
    {"binary_array", QbaseFieldType::kBinaryArray, "BLOB", "bytea", true, true},
    {"attachment", QbaseFieldType::kAttachment, "BLOB", "bytea", false, false},
};

constexpr int kMaxKeyWidth = 255;
constexpr int kMaxItemSize = 65535;
constexpr int kMaxLine = 4096;
constexpr size_t kMaxFileSize = 1 << 20;

const TypeEntry* findType(std::string_view name) {
  for (const TypeEntry& t : kTypes) {
    if (name == t.name && t.type != QbaseFieldType::kAttachment) return &t;
  }
  return nullptr;
}

const TypeEntry& typeEntry(QbaseFieldType type) {
  for (const TypeEntry& t : kTypes) {
    if (t.type == type) return t;
  }
  return kTypes[0];
}

std::vector<std::string_view> splitWords(std::string_view line) {
  std::vector<std::string_view> words;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    size_t start = i;
    while (i < line.size() && line[i] != ' ' && line[i] != '\t') ++i;
    if (i == start) break;
    if (line[start] == '#') break;  // a comment runs to the end of the line
    words.push_back(line.substr(start, i - start));
  }
  return words;
}

// Names become SQL identifiers: only these characters keep them safe without escaping.
bool isName(std::string_view s) {
  if (s.empty() || s.size() > 64) return false;
  return std::all_of(s.begin(), s.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
  });
}

bool isCode(std::string_view s) {
  if (s.empty() || s.size() > 8) return false;
  return std::all_of(s.begin(), s.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
  });
}

// A decimal number in [min, max]; false for anything else.
bool parseNumber(std::string_view s, long min, long max, long& value) {
  if (s.empty() || s.size() > 9) return false;
  long v = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
    v = v * 10 + (c - '0');
  }
  if (v < min || v > max) return false;
  value = v;
  return true;
}

}  // namespace

std::string qbaseConcat(std::initializer_list<std::string_view> pieces) {
  size_t size = 0;
  for (std::string_view p : pieces) size += p.size();
  std::string out;
  out.reserve(size);
  for (std::string_view p : pieces) out.append(p);
  return out;
}

const char* qbaseColumnType(QbaseFieldType type) { return typeEntry(type).column; }

const char* qbasePgColumnType(QbaseFieldType type) { return typeEntry(type).pgColumn; }

const char* qbaseTypeName(QbaseFieldType type) { return typeEntry(type).name; }

void QbaseRecordDef::index() {
  positions.clear();
  if (fields.empty()) return;
  short first = fields[0].number, last = first;
  for (const QbaseFieldDef& f : fields) {
    first = std::min(first, f.number);
    last = std::max(last, f.number);
  }
  firstNumber = first;
  positions.assign(static_cast<size_t>(last - first) + 1, -1);
  for (size_t i = 0; i < fields.size(); ++i) {
    positions[fields[i].number - first] = static_cast<int16_t>(i);
  }
}

int CQbaseDictionary::indexOf(std::string_view code) const {
  for (size_t i = 0; i < records_.size(); ++i) {
    if (records_[i].code == code) return static_cast<int>(i);
  }
  return -1;
}

bool CQbaseDictionary::fail(int line, const std::string& message) {
  formatName_.clear();
  formatVersion_ = 0;
  records_.clear();
  error_ = line > 0 ? "dictionary line " + std::to_string(line) + ": " + message
                    : "dictionary: " + message;
  return false;
}

bool CQbaseDictionary::load(const std::string& path) {
  std::string text;
  int error = CEnv::current().readWholeFile(path, text, kMaxFileSize);
  if (error == ENOENT) return fail(0, "cannot open " + path);
  if (error != 0) return fail(0, "cannot read " + path + ": " + std::strerror(error));
  return parse(text);
}

bool CQbaseDictionary::parse(std::string_view text) {
  formatName_.clear();
  formatVersion_ = 0;
  records_.clear();
  error_.clear();
  QbaseRecordDef* open = nullptr;  // the record between "record" and "end"
  int lineNo = 0;
  size_t pos = 0;
  while (pos < text.size()) {
    size_t eol = text.find('\n', pos);
    if (eol == std::string_view::npos) eol = text.size();
    std::string_view line = text.substr(pos, eol - pos);
    pos = eol + 1;
    ++lineNo;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.size() > kMaxLine) return fail(lineNo, "line too long");
    if (line.find('\0') != std::string_view::npos) return fail(lineNo, "NUL character");
    std::vector<std::string_view> w = splitWords(line);
    if (w.empty()) continue;
    const std::string_view directive = w[0];
    long number = 0;

    if (directive == "format") {
      if (open || !formatName_.empty()) return fail(lineNo, "misplaced or repeated format");
      if (w.size() != 3 || w[1].size() > 64 ||
          w[1].find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_-") !=
              std::string_view::npos) {
        return fail(lineNo, "format needs a name and a version");
      }
      if (!parseNumber(w[2], 1, 999999, number)) return fail(lineNo, "bad format version");
      formatName_ = std::string(w[1]);
      formatVersion_ = static_cast<int>(number);
    } else if (directive == "record") {
      if (open) return fail(lineNo, "record inside record " + open->code);
      if (w.size() != 4 && !(w.size() == 6 && w[4] == "like")) {
        return fail(lineNo, "record needs a code, a key width and a name [like <code>]");
      }
      if (!isCode(w[1])) return fail(lineNo, "bad record code");
      if (indexOf(w[1]) >= 0) return fail(lineNo, "record " + std::string(w[1]) + " twice");
      // SQLite's table names ignore case: two such codes would share one table.
      for (const QbaseRecordDef& other : records_) {
        if (sqlite3_stricmp(other.code.c_str(), std::string(w[1]).c_str()) == 0)
          return fail(lineNo, "record " + std::string(w[1]) + " differs from " + other.code +
                                  " only in letter case");
      }
      if (!parseNumber(w[2], 1, kMaxKeyWidth, number)) return fail(lineNo, "bad key width");
      if (!isName(w[3])) return fail(lineNo, "bad record name");
      QbaseRecordDef rec;
      rec.code = std::string(w[1]);
      rec.keyWidth = static_cast<int>(number);
      rec.table = qbaseConcat({rec.code, "_", w[3]});
      if (w.size() == 6) {
        int base = indexOf(w[5]);
        if (base < 0) return fail(lineNo, "unknown record " + std::string(w[5]));
        rec.fields = records_[base].fields;
        rec.index();
      }
      records_.push_back(std::move(rec));
      open = &records_.back();
    } else if (directive == "field") {
      if (!open) return fail(lineNo, "field outside a record");
      if (w.size() < 4 || w.size() > 5) {
        return fail(lineNo, "field needs a number, a name and a type [size]");
      }
      if (!parseNumber(w[1], 1, 32767, number)) return fail(lineNo, "bad field number");
      if (!isName(w[2])) return fail(lineNo, "bad field name");
      const TypeEntry* type = findType(w[3]);
      if (!type) return fail(lineNo, "unknown type " + std::string(w[3]));
      QbaseFieldDef field;
      field.number = static_cast<short>(number);
      field.type = type->type;
      field.column = qbaseConcat({"f", std::to_string(number), "_", w[2]});
      long size = 0;
      if (w.size() == 5) {
        if (!type->hasSize) return fail(lineNo, "type " + std::string(w[3]) + " takes no size");
        if (!parseNumber(w[4], 1, kMaxItemSize, size)) return fail(lineNo, "bad size");
      } else if (type->sizeRequired) {
        return fail(lineNo, "type " + std::string(w[3]) + " needs an item size");
      }
      field.size = static_cast<int>(size);
      if (open->indexOf(field.number) >= 0) {
        return fail(lineNo, "field " + std::to_string(number) + " twice in " + open->code);
      }
      open->fields.push_back(std::move(field));
      open->index();
    } else if (directive == "attachment") {
      if (!open) return fail(lineNo, "attachment outside a record");
      if (w.size() != 2 || !isName(w[1])) return fail(lineNo, "attachment needs a name");
      if (open->indexOf(0) >= 0) return fail(lineNo, "second attachment in " + open->code);
      QbaseFieldDef field;
      field.number = 0;
      field.type = QbaseFieldType::kAttachment;
      field.column = qbaseConcat({"attachment_", w[1]});
      open->fields.push_back(std::move(field));
      open->index();
    } else if (directive == "end") {
      if (!open || w.size() != 1) return fail(lineNo, "misplaced end");
      open = nullptr;
    } else {
      return fail(lineNo, "unknown directive " + std::string(directive));
    }
  }
  if (open) return fail(lineNo, "record " + open->code + " has no end");
  if (formatName_.empty()) return fail(0, "no format line");
  if (records_.empty()) return fail(0, "no records");
  return true;
}
