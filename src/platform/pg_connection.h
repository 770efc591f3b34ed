#pragma once
// Connections to the PostgreSQL server that holds datasets: the dataset URI, one session
// with its prepared statements and bound parameters, results, and a small pool of idle
// sessions so that the many short operations of a designer (a read, a check of the time
// stamp, a save) do not each start a server process. Private to the platform layer.
//
// SQL never meets a value by concatenation: values are bound parameters, sent and received
// in binary form; only identifiers (the dataset's schema, the dictionary's tables and
// columns) are put into the SQL text, always quoted.

#include <libpq-fe.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/qbase_error.h"

// A dataset URI taken apart: "postgresql://host/db?dataset=office" names the dataset
// "office" (the schema of that name) in the database that libpq reaches with the rest,
// "postgresql://host/db". Every form of libpq's URIs works (user, password, port, several
// hosts, query parameters such as host=/run/postgresql or sslmode=require), and libpq's
// environment variables (PGHOST, PGUSER, PGPASSWORD, PGSERVICE...) and password file fill in
// what the URI leaves out.
struct PgLocation {
  std::string conninfo;  // the URI without the dataset parameter, for libpq
  std::string dataset;   // the schema

  // Takes `uri` apart; false, with the reason in `error`, when it is no server URI or names
  // no valid dataset.
  bool parse(std::string_view uri, std::string& error);
  // The two-part key of the dataset's edit lock (an advisory lock of the database).
  int32_t lockKey() const;
};

// A dataset name: 1 to 63 lower-case letters, digits and "_", beginning with a letter and not
// with "pg_" (the server's own schemas).
bool pgIsDatasetName(std::string_view name);
// `name` as a quoted SQL identifier.
std::string pgIdent(std::string_view name);

// The class of every advisory lock that datasets take (the first of the two 32-bit keys).
constexpr int32_t kPgLockClass = 0x564B44;  // "VKD"

// Type ids of the server's types used in parameters and results.
enum pgType : unsigned {
  pgBytea = 17,
  pgInt8 = 20,
  pgInt2 = 21,
  pgInt4 = 23,
  pgText = 25,
  pgFloat4 = 700,
  pgFloat8 = 701,
};

// Parameters of one statement, in binary form.
class CPgParams {
 public:
  CPgParams& null(unsigned type);
  CPgParams& int2(int64_t value);
  CPgParams& int4(int64_t value);
  CPgParams& int8(int64_t value);
  CPgParams& float4(double value);
  CPgParams& text(std::string_view value);
  CPgParams& bytea(std::string_view value);
  void clear();

  int count() const { return static_cast<int>(types_.size()); }
  const unsigned* types() const { return types_.data(); }
  // Pointers into the values: valid until the next change of the parameters.
  const char* const* values();
  const int* lengths() const { return lengths_.data(); }
  const int* formats() const { return formats_.data(); }

 private:
  CPgParams& add(unsigned type, std::string_view bytes, bool isNull = false);

  std::vector<unsigned> types_;
  std::vector<std::string> storage_;
  std::vector<bool> nulls_;
  std::vector<const char*> pointers_;
  std::vector<int> lengths_;
  std::vector<int> formats_;
};

// One result, cleared by its destructor.
class CPgResult {
 public:
  CPgResult() = default;
  explicit CPgResult(PGresult* result) : result_(result) {}
  ~CPgResult() { PQclear(result_); }
  CPgResult(CPgResult&& other) noexcept : result_(other.result_) { other.result_ = nullptr; }
  CPgResult& operator=(CPgResult&& other) noexcept;
  CPgResult(const CPgResult&) = delete;
  CPgResult& operator=(const CPgResult&) = delete;

  PGresult* get() const { return result_; }
  // True for a command or a query that succeeded.
  bool ok() const;
  int rows() const { return result_ ? PQntuples(result_) : 0; }
  bool isNull(int row, int col) const { return PQgetisnull(result_, row, col) != 0; }
  std::string_view bytes(int row, int col) const {
    return {PQgetvalue(result_, row, col), static_cast<size_t>(PQgetlength(result_, row, col))};
  }
  // An integer or real column of any width, as binary results carry them; 0 for NULL.
  int64_t integer(int row, int col) const;
  double real(int row, int col) const;
  // The SQLSTATE of a failure, "" for none.
  std::string sqlState() const;

 private:
  PGresult* result_ = nullptr;
};

// One session with the server. Statements are prepared once per session and kept.
class CPgConnection {
 public:
  // Connects to the database that `conninfo` names (a URI). False, with the reason in
  // `error`, when the server cannot be reached, refuses the login, lacks the database or is
  // unfit for datasets (older than PostgreSQL 13, not UTF8).
  static std::unique_ptr<CPgConnection> connect(const std::string& conninfo, QbaseError& error);
  // A session inherited by a forked process is let go without a word to the server: the
  // parent still uses it.
  ~CPgConnection();
  CPgConnection(const CPgConnection&) = delete;
  CPgConnection& operator=(const CPgConnection&) = delete;

  PGconn* get() const { return conn_; }
  const std::string& conninfo() const { return conninfo_; }
  // True while the session is up and no transaction is open on it.
  bool isIdle() const;
  bool isBroken() const { return PQstatus(conn_) != CONNECTION_OK; }
  // The server process of the session.
  int backendPid() const { return PQbackendPID(conn_); }
  // True when this session was taken over from the pool rather than made for the caller.
  bool reused = false;

  // Runs `sql` (no parameters, no rows wanted). False with the failure in `error`.
  bool exec(const char* sql, QbaseError& error, CQbase::failReason reason = CQbase::reasonFailed);
  // Runs the statement `sql` with `params`, prepared for the session when first run (unless
  // `prepare` is false: statements run once); the rows come back in binary form. A null
  // result when queued statements failed before it.
  CPgResult run(const std::string& sql, CPgParams& params, bool prepare = true);
  // The same without parameters.
  CPgResult run(const std::string& sql);

  // Pipelined statements: `send` queues a statement whose result is not needed at once
  // (a save); `settle` waits for every queued one and returns false, with the first
  // failure in `error`, when any failed. Anything else that runs settles first.
  bool send(const std::string& sql, CPgParams& params, QbaseError& error);
  bool settle(QbaseError& error);
  bool hasQueued() const { return queued_ > 0; }

 private:
  CPgConnection(PGconn* conn, std::string conninfo);

  PGconn* conn_;
  std::string conninfo_;
  pid_t pid_;
  std::unordered_map<std::string, std::string> statements_;
  // Results still to come in the pipeline.
  int queued_ = 0;
};

// The failure of `result` (or of the session when the result is null) into `error`, with
// its reason: a permission or a read-only server is reasonReadOnly, a lock not granted in
// time reasonBusy, a missing database reasonMissing, data damaged on the server
// reasonDamaged; `fallback` otherwise. False.
bool pgFail(QbaseError& error, const CPgConnection& conn, const CPgResult& result,
            const std::string& what, CQbase::failReason fallback = CQbase::reasonFailed);

// Idle sessions kept for the next operation on the same database: at most a few per
// database, for at most a minute. A session goes back only when it is up and idle.
namespace pgPool {
// A session to `conninfo`: an idle one from the pool, else a new one.
std::unique_ptr<CPgConnection> take(const std::string& conninfo, QbaseError& error);
// Gives a session back (or closes it when it is not fit for reuse).
void give(std::unique_ptr<CPgConnection> conn);
}  // namespace pgPool
