#pragma once
// CQbaseDictionary: the data dictionary of a record database, read from its text file (the
// syntax is documented at the top of data/VantVkd.ddq). It names the record codes, their
// key widths and tables, and each field's number, column and type. Private to CQbase.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

// The stored types of a field.
enum class QbaseFieldType : uint8_t {
  kByte,
  kShort,
  kLong,
  kFloat,
  kSz,
  kWsz,
  kPoint,
  kShortArray,
  kFloatArray,
  kBinaryArray,
  kAttachment,
};

// One field of a record. The attachment is the field with number 0.
struct QbaseFieldDef {
  short number = 0;
  QbaseFieldType type = QbaseFieldType::kByte;
  // The item size of a binary array; the maximum bytes of a narrow string (0: unlimited).
  int size = 0;
  // The column name in the table ("f1501_name", "attachment_nodes").
  std::string column;
};

// One record code and its table.
struct QbaseRecordDef {
  std::string code;
  int keyWidth = 0;
  std::string table;
  std::vector<QbaseFieldDef> fields;

  // The position of field `number` in `fields`, or -1.
  int indexOf(short number) const {
    int i = number - firstNumber;
    return i >= 0 && i < static_cast<int>(positions.size()) ? positions[i] : -1;
  }
  // Builds the index that indexOf reads; called whenever `fields` changed.
  void index();

  // positions[number - firstNumber]: the position of that field, or -1.
  short firstNumber = 0;
  std::vector<int16_t> positions;
};

class CQbaseDictionary {
 public:
  // Reads the dictionary file at `path` (UTF-8). False, with error() saying why and where,
  // when the file cannot be read or is malformed; the dictionary is then empty.
  bool load(const std::string& path);
  // The same for a text in memory.
  bool parse(std::string_view text);

  // The format name and version that mark a database as one of this dictionary's.
  const std::string& formatName() const { return formatName_; }
  int formatVersion() const { return formatVersion_; }
  const std::vector<QbaseRecordDef>& records() const { return records_; }
  // The position of record `code` in records(), or -1.
  int indexOf(std::string_view code) const;
  const std::string& error() const { return error_; }

 private:
  bool fail(int line, const std::string& message);

  std::string formatName_;
  int formatVersion_ = 0;
  std::vector<QbaseRecordDef> records_;
  std::string error_;
};

// The pieces joined into one string.
std::string qbaseConcat(std::initializer_list<std::string_view> pieces);

// The SQL column type of a field type ("INTEGER", "REAL", "TEXT", "BLOB").
const char* qbaseColumnType(QbaseFieldType type);
// The PostgreSQL column type of a field type ("smallint", "integer", "real", "text", "bytea").
const char* qbasePgColumnType(QbaseFieldType type);
// The dictionary name of a field type ("short_array").
const char* qbaseTypeName(QbaseFieldType type);
