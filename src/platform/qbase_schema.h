#pragma once
// CQbaseSchema: how a data dictionary becomes the tables of one open SQLite database. It
// checks that a file is a dataset of the dictionary's format, creates the format row and the
// tables of a new file, upgrades an older file (a newer format version, tables and columns
// that the file lacks), and keeps each record table's prepared statements. Private to
// CQbase.

#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/qbase_dictionary.h"
#include "platform/qbase_statement.h"

// The statements of a record table. Every one selects or binds the key first and then the
// dictionary's fields in their order.
enum class QbaseStatementKind : uint8_t { insert, select, remove, scanAll, scanAfter, count };

// One record table of the open database.
struct QbaseTable {
  const QbaseRecordDef* def = nullptr;
  std::array<CQbaseStatement, static_cast<size_t>(QbaseStatementKind::count)> statements;
  // Saves and deletions so far, so that an enumeration notices that its query went stale.
  uint64_t writes = 0;
  // Which of the dictionary's fields the file's table has (all when empty), and whether the
  // file has the table at all. Only a file opened for reading can lack them: an update adds
  // them first.
  bool inFile = true;
  std::vector<bool> columnInFile;
};

class CQbaseSchema {
 public:
  // Failures are described in `error`, which must outlive the schema.
  explicit CQbaseSchema(QbaseError& error) : error_(error) {}
  CQbaseSchema(const CQbaseSchema&) = delete;
  CQbaseSchema& operator=(const CQbaseSchema&) = delete;

  // Works on `db` (the file at `path`) with the record codes of `dict`; both must outlive
  // the attachment. Prepares nothing yet.
  void attach(sqlite3* db, const CQbaseDictionary& dict, const std::string& path);
  // Finalizes every statement and forgets the database.
  void detach();

  // Reads the format row: false when the file is no dataset of the dictionary's format or
  // was written by a newer version. With `upgrade`, an older version is raised to the
  // dictionary's (a write).
  bool checkFormat(bool upgrade);
  // SQLite writes whole pages: false when the file ends inside one (it has lost its end).
  bool checkWholePages();
  // Writes the format row of a new file.
  bool createFormat();
  // Creates the tables and adds the columns that the file lacks (writes).
  bool ensureTables();
  // Notes the tables and columns that the file lacks, so that the reading statements
  // read them as absent (no writes).
  bool findMissingColumns();
  // SQLite's integrity check of the whole file: false, with the reason "damaged", when it
  // finds anything (a broken page, keys out of order, a lost record).
  bool checkIntegrity();
  // True when one of the calls above wrote to the file.
  bool changed() const { return changed_; }

  // The table of record `code`, or null (with the reason in the error) for an unknown code.
  QbaseTable* table(const char* code);
  // The statement `kind` of `t`, prepared when first asked for; null when it cannot be.
  CQbaseStatement* statement(QbaseTable& t, QbaseStatementKind kind);
  // Finalizes every prepared statement; they are prepared again when next asked for.
  void finalizeStatements();

 private:
  std::string sqlOf(const QbaseTable& t, QbaseStatementKind kind) const;
  // The columns of `table` in the file; false when they cannot be read.
  bool columnsOf(CQbaseStatement& info, const std::string& table, std::vector<std::string>& out);

  QbaseError& error_;
  sqlite3* db_ = nullptr;
  const CQbaseDictionary* dict_ = nullptr;
  std::string path_;
  std::vector<QbaseTable> tables_;
  QbaseTable* lastTable_ = nullptr;
  bool changed_ = false;
};
