#include "platform/pg_connection.h"

#include <fcntl.h>
#include <unistd.h>

#include <bit>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "vxkd/platform/sz.h"

namespace {

// How long a connection attempt waits for the server, unless PGCONNECT_TIMEOUT says.
constexpr const char* kConnectTimeoutSeconds = "10";
// The oldest server that datasets work with: pg_current_xact_id came with 13.
constexpr int kMinServerVersion = 130000;
// Statements queued before the pipeline is settled: their results must never fill the
// socket while we still write, or both sides would wait for each other.
constexpr int kMaxQueued = 256;
// Idle sessions per database, and how long one is kept.
constexpr size_t kMaxIdle = 2;
constexpr auto kMaxIdleTime = std::chrono::seconds(60);

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
  return true;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// A percent-encoded URI component decoded; false for a broken escape.
bool percentDecoded(std::string_view in, std::string& out) {
  out.clear();
  for (size_t i = 0; i < in.size(); ++i) {
    if (in[i] != '%') {
      out += in[i];
      continue;
    }
    if (i + 2 >= in.size()) return false;
    int hi = hexValue(in[i + 1]), lo = hexValue(in[i + 2]);
    if (hi < 0 || lo < 0) return false;
    out += static_cast<char>(hi * 16 + lo);
    i += 2;
  }
  return true;
}

template <typename T>
std::string bigEndian(T value) {
  std::string bytes(sizeof(T), '\0');
  auto bits = static_cast<std::make_unsigned_t<T>>(value);
  for (size_t i = 0; i < sizeof(T); ++i)
    bytes[sizeof(T) - 1 - i] = static_cast<char>((bits >> (8 * i)) & 0xFF);
  return bytes;
}

uint64_t fromBigEndian(std::string_view bytes) {
  uint64_t v = 0;
  for (char c : bytes) v = (v << 8) | static_cast<uint8_t>(c);
  return v;
}

}  // namespace

// ---------------------------------------------------------------------------------------
// The dataset URI

bool pgIsDatasetName(std::string_view name) {
  if (name.empty() || name.size() > 63 || name.rfind("pg_", 0) == 0) return false;
  if (name[0] < 'a' || name[0] > 'z') return false;
  for (char c : name)
    if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_')) return false;
  return true;
}

std::string pgIdent(std::string_view name) {
  std::string quoted = "\"";
  for (char c : name) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

bool PgLocation::parse(std::string_view uri, std::string& error) {
  conninfo.clear();
  dataset.clear();
  if (!startsWithNoCase(uri, "postgresql://") && !startsWithNoCase(uri, "postgres://")) {
    error = "not a server URI (postgresql://...)";
    return false;
  }
  size_t question = uri.find('?');
  conninfo.assign(uri.substr(0, question));
  if (question != std::string_view::npos) {
    std::string_view query = uri.substr(question + 1);
    std::string rest;
    bool found = false;
    while (!query.empty()) {
      size_t amp = query.find('&');
      std::string_view pair = query.substr(0, amp);
      query = amp == std::string_view::npos ? std::string_view() : query.substr(amp + 1);
      if (pair.rfind("dataset=", 0) == 0) {
        if (found) {
          error = "the URI names the dataset twice";
          return false;
        }
        found = true;
        if (!percentDecoded(pair.substr(8), dataset)) {
          error = "the dataset name in the URI is badly encoded";
          return false;
        }
        continue;
      }
      if (!pair.empty()) rest += (rest.empty() ? "" : "&") + std::string(pair);
    }
    if (!rest.empty()) conninfo += "?" + rest;
  }
  if (dataset.empty()) {
    error = "the URI names no dataset (add ?dataset=NAME)";
    return false;
  }
  if (!pgIsDatasetName(dataset)) {
    error = "\"" + dataset +
            "\" is no dataset name: 1 to 63 lower-case letters, digits and _, beginning with "
            "a letter (and not with pg_)";
    return false;
  }
  return true;
}

// FNV-1a of the dataset name: the same dataset gets the same lock in every process, whatever
// URI reached it; two names of one hash would only share a lock.
int32_t PgLocation::lockKey() const {
  uint32_t h = 2166136261u;
  for (char c : dataset) {
    h ^= static_cast<uint8_t>(c);
    h *= 16777619u;
  }
  return static_cast<int32_t>(h);
}

// ---------------------------------------------------------------------------------------
// Parameters and results

CPgParams& CPgParams::add(unsigned type, std::string_view bytes, bool isNull) {
  types_.push_back(type);
  storage_.emplace_back(bytes);
  nulls_.push_back(isNull);
  lengths_.push_back(static_cast<int>(bytes.size()));
  formats_.push_back(1);
  return *this;
}

CPgParams& CPgParams::null(unsigned type) { return add(type, {}, true); }
CPgParams& CPgParams::int2(int64_t v) { return add(pgInt2, bigEndian(static_cast<int16_t>(v))); }
CPgParams& CPgParams::int4(int64_t v) { return add(pgInt4, bigEndian(static_cast<int32_t>(v))); }
CPgParams& CPgParams::int8(int64_t v) { return add(pgInt8, bigEndian(v)); }
CPgParams& CPgParams::float4(double v) {
  return add(pgFloat4, bigEndian(std::bit_cast<uint32_t>(static_cast<float>(v))));
}
CPgParams& CPgParams::text(std::string_view v) { return add(pgText, v); }
CPgParams& CPgParams::bytea(std::string_view v) { return add(pgBytea, v); }

void CPgParams::clear() {
  types_.clear();
  storage_.clear();
  nulls_.clear();
  pointers_.clear();
  lengths_.clear();
  formats_.clear();
}

const char* const* CPgParams::values() {
  pointers_.resize(storage_.size());
  for (size_t i = 0; i < storage_.size(); ++i)
    pointers_[i] = nulls_[i] ? nullptr : storage_[i].data();
  return pointers_.data();
}

CPgResult& CPgResult::operator=(CPgResult&& other) noexcept {
  if (this != &other) {
    PQclear(result_);
    result_ = other.result_;
    other.result_ = nullptr;
  }
  return *this;
}

bool CPgResult::ok() const {
  if (!result_) return false;
  ExecStatusType s = PQresultStatus(result_);
  return s == PGRES_COMMAND_OK || s == PGRES_TUPLES_OK;
}

int64_t CPgResult::integer(int row, int col) const {
  if (isNull(row, col)) return 0;
  std::string_view b = bytes(row, col);
  switch (PQftype(result_, col)) {
    case pgInt2:
      return static_cast<int16_t>(fromBigEndian(b));
    case pgInt4:
      return static_cast<int32_t>(fromBigEndian(b));
    case pgFloat4:
    case pgFloat8:
      return static_cast<int64_t>(real(row, col));
    default:
      return static_cast<int64_t>(fromBigEndian(b));
  }
}

double CPgResult::real(int row, int col) const {
  if (isNull(row, col)) return 0;
  std::string_view b = bytes(row, col);
  switch (PQftype(result_, col)) {
    case pgFloat4:
      return std::bit_cast<float>(static_cast<uint32_t>(fromBigEndian(b)));
    case pgFloat8:
      return std::bit_cast<double>(fromBigEndian(b));
    default:
      return static_cast<double>(integer(row, col));
  }
}

std::string CPgResult::sqlState() const {
  const char* state = result_ ? PQresultErrorField(result_, PG_DIAG_SQLSTATE) : nullptr;
  return state ? state : "";
}

// ---------------------------------------------------------------------------------------
// The session

namespace {

CQbase::failReason reasonOfState(const std::string& state, CQbase::failReason fallback) {
  if (state == "42501" || state == "25006") return CQbase::reasonReadOnly;
  if (state == "55P03" || state == "40001" || state == "40P01" || state == "57014")
    return CQbase::reasonBusy;
  if (state == "3D000" || state == "3F000") return CQbase::reasonMissing;
  if (state == "XX001" || state == "XX002") return CQbase::reasonDamaged;
  return fallback;
}

// The first line of a server message, without its line end.
std::string firstLine(const char* text) {
  std::string line = text ? text : "";
  size_t end = line.find('\n');
  if (end != std::string::npos) line.resize(end);
  return line;
}

}  // namespace

bool pgFail(QbaseError& error, const CPgConnection& conn, const CPgResult& result,
            const std::string& what, CQbase::failReason fallback) {
  const char* message = result.get() ? PQresultErrorMessage(result.get()) : nullptr;
  if (!message || !*message) message = PQerrorMessage(conn.get());
  return error.fail(reasonOfState(result.sqlState(), fallback), what + ": " + firstLine(message));
}

CPgConnection::CPgConnection(PGconn* conn, std::string conninfo)
    : conn_(conn), conninfo_(std::move(conninfo)), pid_(getpid()) {}

CPgConnection::~CPgConnection() {
  if (!conn_) return;
  if (pid_ != getpid() && PQsocket(conn_) >= 0) {
    // The parent's session: whatever PQfinish says goes to /dev/null instead of the server.
    int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
      dup2(nowhere, PQsocket(conn_));
      ::close(nowhere);
    }
  }
  PQfinish(conn_);
}

std::unique_ptr<CPgConnection> CPgConnection::connect(const std::string& conninfo,
                                                      QbaseError& error) {
  // Defaults first: what the URI says overrides them. The encoding comes last: the record
  // database speaks UTF-8 whatever the URI or the environment say.
  std::vector<const char*> keys, values;
  if (!std::getenv("PGCONNECT_TIMEOUT")) {
    keys.push_back("connect_timeout");
    values.push_back(kConnectTimeoutSeconds);
  }
  keys.insert(keys.end(), {"fallback_application_name", "dbname", "client_encoding", nullptr});
  values.insert(values.end(), {"vxkd", conninfo.c_str(), "UTF8", nullptr});
  PGconn* conn = PQconnectdbParams(keys.data(), values.data(), 1);
  if (!conn) {
    error.fail(CQbase::reasonFailed, "out of memory");
    return nullptr;
  }
  std::unique_ptr<CPgConnection> session(new CPgConnection(conn, conninfo));
  if (PQstatus(conn) != CONNECTION_OK) {
    std::string message = firstLine(PQerrorMessage(conn));
    // libpq keeps no SQLSTATE for a failed login; a missing database is told by its words.
    CQbase::failReason reason = message.find("does not exist") != std::string::npos &&
                                        message.find("database") != std::string::npos
                                    ? CQbase::reasonMissing
                                    : CQbase::reasonFailed;
    error.fail(reason, "cannot connect to the server: " + message);
    return nullptr;
  }
  if (PQserverVersion(conn) < kMinServerVersion) {
    error.fail(CQbase::reasonFailed, "the server is older than PostgreSQL 13");
    return nullptr;
  }
  const char* encoding = PQparameterStatus(conn, "server_encoding");
  if (!encoding ||
      (std::strcmp(encoding, "UTF8") != 0 && std::strcmp(encoding, "SQL_ASCII") != 0)) {
    error.fail(CQbase::reasonFailed, std::string("the database's encoding is ") +
                                         (encoding ? encoding : "unknown") +
                                         "; datasets need a UTF8 database");
    return nullptr;
  }
  return session;
}

bool CPgConnection::isIdle() const {
  return PQstatus(conn_) == CONNECTION_OK && PQtransactionStatus(conn_) == PQTRANS_IDLE &&
         queued_ == 0;
}

bool CPgConnection::exec(const char* sql, QbaseError& error, CQbase::failReason reason) {
  CPgParams none;
  CPgResult result = run(sql, none, false);
  return result.ok() || pgFail(error, *this, result, sql, reason);
}

CPgResult CPgConnection::run(const std::string& sql, CPgParams& params, bool prepare) {
  if (PQpipelineStatus(conn_) != PQ_PIPELINE_OFF) {
    QbaseError failure;
    if (!settle(failure)) return CPgResult();
  }
  if (!prepare)
    return CPgResult(PQexecParams(conn_, sql.c_str(), params.count(), params.types(),
                                  params.values(), params.lengths(), params.formats(), 1));
  auto found = statements_.find(sql);
  if (found == statements_.end()) {
    std::string name = "vxkd_" + std::to_string(statements_.size() + 1);
    CPgResult made(PQprepare(conn_, name.c_str(), sql.c_str(), params.count(), params.types()));
    if (!made.ok()) return made;  // the failure, with its SQLSTATE
    found = statements_.emplace(sql, std::move(name)).first;
  }
  return CPgResult(PQexecPrepared(conn_, found->second.c_str(), params.count(), params.values(),
                                  params.lengths(), params.formats(), 1));
}

CPgResult CPgConnection::run(const std::string& sql) {
  CPgParams none;
  return run(sql, none);
}

bool CPgConnection::send(const std::string& sql, CPgParams& params, QbaseError& error) {
  if (queued_ >= kMaxQueued && !settle(error)) return false;
  if (PQpipelineStatus(conn_) == PQ_PIPELINE_OFF && !PQenterPipelineMode(conn_))
    return error.fail(CQbase::reasonFailed, firstLine(PQerrorMessage(conn_)));
  auto found = statements_.find(sql);
  bool sent = true;
  if (found == statements_.end()) {
    // Prepared in the pipeline: its result comes in order, and settle looks at it.
    std::string name = "vxkd_" + std::to_string(statements_.size() + 1);
    sent = PQsendPrepare(conn_, name.c_str(), sql.c_str(), params.count(), params.types());
    if (sent) {
      ++queued_;
      found = statements_.emplace(sql, std::move(name)).first;
    }
  }
  sent = sent && PQsendQueryPrepared(conn_, found->second.c_str(), params.count(), params.values(),
                                     params.lengths(), params.formats(), 1);
  if (!sent) {
    std::string failure = firstLine(PQerrorMessage(conn_));
    settle(error);
    return error.fail(CQbase::reasonFailed, sql + ": " + failure);
  }
  ++queued_;
  return true;
}

bool CPgConnection::settle(QbaseError& error) {
  if (PQpipelineStatus(conn_) == PQ_PIPELINE_OFF) return true;
  std::string failure, state;
  if (!PQpipelineSync(conn_)) failure = firstLine(PQerrorMessage(conn_));
  // Each queued statement's results end with a null; the sync point has a result of its own.
  // A session that broke gives nulls only.
  for (int ends = 0; failure.empty() || !isBroken();) {
    PGresult* r = PQgetResult(conn_);
    if (!r) {
      if (++ends > queued_ + 1 || isBroken()) break;
      continue;
    }
    CPgResult result(r);
    ExecStatusType status = PQresultStatus(r);
    if (status == PGRES_PIPELINE_SYNC) break;
    if (status == PGRES_FATAL_ERROR && failure.empty()) {
      failure = firstLine(PQresultErrorMessage(r));
      state = result.sqlState();
    }
  }
  if (isBroken() && failure.empty()) failure = firstLine(PQerrorMessage(conn_));
  queued_ = 0;
  PQexitPipelineMode(conn_);
  if (failure.empty()) return true;
  return error.fail(reasonOfState(state, CQbase::reasonFailed), failure);
}

// ---------------------------------------------------------------------------------------
// The pool

namespace {

struct IdleSession {
  std::unique_ptr<CPgConnection> conn;
  std::chrono::steady_clock::time_point since;
};

struct Pool {
  pid_t pid = getpid();
  std::vector<IdleSession> idle;

  // A forked child has its parent's sessions: they are let go (see ~CPgConnection).
  void forgetParents() {
    if (pid == getpid()) return;
    idle.clear();
    pid = getpid();
  }
};

Pool& pool() {
  static Pool instance;
  return instance;
}

}  // namespace

namespace pgPool {

std::unique_ptr<CPgConnection> take(const std::string& conninfo, QbaseError& error) {
  Pool& p = pool();
  p.forgetParents();
  auto now = std::chrono::steady_clock::now();
  std::unique_ptr<CPgConnection> found;
  for (size_t i = p.idle.size(); i-- > 0;) {
    IdleSession& s = p.idle[i];
    bool expired = now - s.since > kMaxIdleTime;
    if (!expired && !found && s.conn->conninfo() == conninfo) found = std::move(s.conn);
    if (expired || !s.conn) p.idle.erase(p.idle.begin() + static_cast<std::ptrdiff_t>(i));
  }
  if (found) {
    found->reused = true;
    return found;
  }
  return CPgConnection::connect(conninfo, error);
}

void give(std::unique_ptr<CPgConnection> conn) {
  if (!conn || !conn->isIdle()) return;
  Pool& p = pool();
  p.forgetParents();
  size_t same = 0;
  for (const IdleSession& s : p.idle) same += s.conn->conninfo() == conn->conninfo();
  if (same >= kMaxIdle) return;
  conn->reused = false;
  p.idle.push_back({std::move(conn), std::chrono::steady_clock::now()});
}

}  // namespace pgPool
