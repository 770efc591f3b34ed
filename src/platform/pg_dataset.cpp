#include "platform/pg_dataset.h"

#include <unistd.h>

#include <map>

namespace {

// The edit locks this process holds: dataset (connection + name) → server process of the
// holding session.
std::map<std::string, int>& heldLocks() {
  static std::map<std::string, int> locks;
  static pid_t owner = getpid();
  // A forked child holds none of its parent's locks.
  if (owner != getpid()) {
    locks.clear();
    owner = getpid();
  }
  return locks;
}

std::string lockId(const PgLocation& location) {
  return location.conninfo + '\n' + location.dataset;
}

// The owner text kept beside a lock: 100 characters at most, as in a lock file.
constexpr size_t kMaxOwnerChars = 100;

std::string ownerCut(const std::string& owner) {
  size_t chars = 0;
  for (size_t i = 0; i < owner.size(); ++i) {
    if ((static_cast<unsigned char>(owner[i]) & 0xC0) != 0x80 && chars++ == kMaxOwnerChars)
      return owner.substr(0, i);
  }
  return owner;
}

// A session to the database of `uri` from the pool; null when the URI is bad or no server
// is reached.
std::unique_ptr<CPgConnection> sessionFor(const std::string& uri, PgLocation& location) {
  std::string why;
  QbaseError error;
  if (!location.parse(uri, why)) return nullptr;
  return pgPool::take(location.conninfo, error);
}

std::string qualifiedLockTable(const PgLocation& location) {
  return pgIdent(location.dataset) + ".vxkd_lock";
}

}  // namespace

const char* const kPgLockHeldBySql =
    "SELECT count(*) FROM pg_catalog.pg_locks WHERE locktype = 'advisory' AND granted AND "
    "database = (SELECT oid FROM pg_catalog.pg_database WHERE datname = current_database()) "
    "AND classid = $1::int4::oid AND objid = $2::int4::oid AND objsubid = 2 AND "
    "($3 = 0 OR pid = $3)";

int pgDatasetExists(const std::string& uri) {
  PgLocation location;
  std::string why;
  if (!location.parse(uri, why)) return 0;
  QbaseError error;
  std::unique_ptr<CPgConnection> conn = pgPool::take(location.conninfo, error);
  if (!conn) return error.reason == CQbase::reasonMissing ? 0 : -1;
  CPgParams name;
  name.text(location.dataset);
  CPgResult found =
      conn->run("SELECT count(*) FROM pg_catalog.pg_namespace WHERE nspname = $1", name);
  int result = found.ok() ? (found.integer(0, 0) > 0 ? 1 : 0) : -1;
  pgPool::give(std::move(conn));
  return result;
}

bool pgDatasetStamp(const std::string& uri, uint64_t& stamp) {
  PgLocation location;
  std::unique_ptr<CPgConnection> conn = sessionFor(uri, location);
  if (!conn) return false;
  CPgResult row = conn->run("SELECT stamp FROM " + pgIdent(location.dataset) + ".vxkd_state");
  bool ok = row.ok() && row.rows() == 1;
  if (ok) stamp = static_cast<uint64_t>(row.integer(0, 0));
  pgPool::give(std::move(conn));
  return ok;
}

int pgHeldLockPid(const PgLocation& location) {
  auto& locks = heldLocks();
  auto found = locks.find(lockId(location));
  return found == locks.end() ? 0 : found->second;
}

CPgEditLock::~CPgEditLock() { release(); }

int CPgEditLock::set(const std::string& uri, const std::string& owner, std::string& otherOwner) {
  release();
  otherOwner.clear();
  PgLocation location;
  std::unique_ptr<CPgConnection> conn = sessionFor(uri, location);
  if (!conn) return -1;
  CPgParams key;
  key.int4(kPgLockClass).int4(location.lockKey());
  CPgResult taken = conn->run("SELECT pg_try_advisory_lock($1, $2)", key);
  if (!taken.ok() || taken.rows() != 1) return -1;
  const std::string table = qualifiedLockTable(location);
  if (taken.integer(0, 0) == 0) {
    // Held by another session: its owner text, if the dataset keeps one.
    CPgResult who = conn->run("SELECT owner FROM " + table);
    int result = -2;
    if (who.ok()) {
      if (who.rows() > 0) otherOwner.assign(who.bytes(0, 0));
    } else if (who.sqlState() != "42P01" && who.sqlState() != "3F000") {
      result = -3;
    }
    pgPool::give(std::move(conn));
    return result;
  }
  // The owner text replaces any left by a holder that died. A dataset that is not there yet
  // (about to be made) keeps none; a user who may not write it cannot hold its lock.
  QbaseError error;
  CPgParams text;
  text.text(ownerCut(owner));
  bool written = conn->exec("BEGIN", error) && conn->run("DELETE FROM " + table).ok() &&
                 conn->run("INSERT INTO " + table + " (owner) VALUES ($1)", text).ok() &&
                 conn->exec("COMMIT", error);
  if (!written) {
    conn->exec("ROLLBACK", error);
    // Without a lock table the dataset is not there yet, and may be locked for its creation.
    CPgParams name;
    name.text(location.dataset);
    CPgResult missing =
        conn->run("SELECT to_regclass(quote_ident($1) || '.vxkd_lock') IS NULL", name);
    if (!missing.ok() || missing.integer(0, 0) == 0) return -1;  // the lock ends with the session
  }
  location_ = location;
  session_ = std::move(conn);
  heldLocks()[lockId(location_)] = session_->backendPid();
  return 0;
}

void CPgEditLock::release() {
  if (!session_) return;
  heldLocks().erase(lockId(location_));
  if (session_->isBroken() || !session_->isIdle()) {
    session_.reset();  // the server drops the lock with the session
    return;
  }
  session_->run("DELETE FROM " + qualifiedLockTable(location_));
  CPgParams key;
  key.int4(kPgLockClass).int4(location_.lockKey());
  CPgResult unlocked = session_->run("SELECT pg_advisory_unlock($1, $2)", key);
  // A session that still holds a lock must not serve anyone else.
  if (unlocked.ok() && unlocked.rows() == 1 && unlocked.integer(0, 0) != 0)
    pgPool::give(std::move(session_));
  session_.reset();
}

int CPgEditLock::query(const std::string& uri, std::string& owner) {
  owner.clear();
  PgLocation location;
  std::string why;
  if (!location.parse(uri, why)) return 0;
  QbaseError error;
  std::unique_ptr<CPgConnection> conn = pgPool::take(location.conninfo, error);
  if (!conn) return error.reason == CQbase::reasonMissing ? 0 : -3;
  CPgParams key;
  key.int4(kPgLockClass).int4(location.lockKey()).int4(0);
  CPgResult held = conn->run(kPgLockHeldBySql, key);
  CPgResult who = conn->run("SELECT owner FROM " + qualifiedLockTable(location));
  int result = -3;
  bool noTable = who.sqlState() == "42P01" || who.sqlState() == "3F000";
  if (held.ok() && (who.ok() || noTable)) {
    bool hasOwner = who.ok() && who.rows() > 0;
    if (hasOwner) owner.assign(who.bytes(0, 0));
    result = held.integer(0, 0) > 0 ? -2 : hasOwner ? 1 : 0;
  }
  pgPool::give(std::move(conn));
  return result;
}
