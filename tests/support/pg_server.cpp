#include "support/pg_server.h"

#include <fcntl.h>
#include <libpq-fe.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

namespace vxkd_test {

namespace {

constexpr const char* kBin = "/usr/lib/postgresql/15/bin";
constexpr const char* kRunAs = "nobody";

std::string reason;

std::string shellQuoted(const std::string& arg) {
  std::string q = "'";
  for (char c : arg) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

std::string tempBase() {
  const char* base = std::getenv("TMPDIR");
  return base && *base ? base : "/tmp";
}

// `command` through the shell, as the unprivileged user when this process is root.
bool shell(const std::string& command) {
  std::string line = geteuid() == 0
                         ? "runuser -u " + std::string(kRunAs) + " -- sh -c " + shellQuoted(command)
                         : command;
  return std::system((line + " >/dev/null 2>&1").c_str()) == 0;
}

// Gives `path` (and all below it) to the unprivileged user when this process is root.
bool handOver(const std::string& path) {
  if (geteuid() != 0) return true;
  passwd* user = getpwnam(kRunAs);
  if (!user) return false;
  return std::system(("chown -R " + std::string(kRunAs) + " " + shellQuoted(path)).c_str()) == 0;
}

// The cluster that every test program copies, made once (under a lock: programs run at once).
bool makeTemplate(const std::string& cluster) {
  if (std::filesystem::exists(cluster + "/data/PG_VERSION")) return true;
  int lock = open((cluster + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (lock < 0 || flock(lock, LOCK_EX) != 0) return false;
  bool ok = std::filesystem::exists(cluster + "/data/PG_VERSION");
  if (!ok) {
    std::string fresh = cluster + ".new-" + std::to_string(getpid());
    ok = mkdir(fresh.c_str(), 0700) == 0 && handOver(fresh) &&
         shell(std::string(kBin) + "/initdb -D " + shellQuoted(fresh + "/data") +
               " -A trust -U vxkd -E UTF8 --locale=C.UTF-8 --no-sync") &&
         std::rename(fresh.c_str(), cluster.c_str()) == 0;
    if (!ok) std::filesystem::remove_all(fresh);
  }
  close(lock);
  return ok;
}

}  // namespace

PgServer* PgServer::shared() {
  static std::unique_ptr<PgServer> server = [] {
    std::unique_ptr<PgServer> s(new PgServer());
    if (!s->start()) s.reset();
    return s;
  }();
  return server.get();
}

const std::string& PgServer::skipReason() { return reason; }

bool PgServer::start() {
  if (!std::filesystem::exists(std::string(kBin) + "/pg_ctl")) {
    reason = std::string(kBin) + "/pg_ctl is not installed (Debian's postgresql-15)";
    return false;
  }
  if (geteuid() == 0 && (!getpwnam(kRunAs) || std::system("command -v runuser >/dev/null") != 0)) {
    reason = "running as root without the user nobody or runuser";
    return false;
  }
  const std::string cluster = tempBase() + "/vxkd_pg15_cluster_" + std::to_string(geteuid());
  if (!makeTemplate(cluster)) {
    reason = "initdb failed";
    return false;
  }
  std::string pattern = tempBase() + "/vxkd_pg_XXXXXX";
  if (!mkdtemp(pattern.data())) {
    reason = "no temporary folder";
    return false;
  }
  folder_ = pattern;
  owner_ = getpid();
  const std::string data = folder_ + "/data";
  bool ok =
      std::system(("cp -a " + shellQuoted(cluster + "/data") + " " + shellQuoted(data)).c_str()) ==
          0 &&
      handOver(folder_) &&
      shell(std::string(kBin) + "/pg_ctl -D " + shellQuoted(data) + " -l " +
            shellQuoted(folder_ + "/log") + " -w -t 30 -o " +
            shellQuoted("-k " + folder_ + " -c listen_addresses= -F") + " start");
  if (!ok) {
    reason = "the server did not start (see " + folder_ + "/log)";
    return false;
  }
  return true;
}

PgServer::~PgServer() {
  // A forked child of a test leaves the server to its parent.
  if (folder_.empty() || owner_ != getpid()) return;
  shell(std::string(kBin) + "/pg_ctl -D " + shellQuoted(folder_ + "/data") +
        " -m immediate -w stop");
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string PgServer::uri(const std::string& name) const {
  return "postgresql:///postgres?host=" + folder_ + "&user=vxkd&dataset=" + name;
}

std::string PgServer::freshName() {
  return "t" + std::to_string(++counter_) + "_" + std::to_string(getpid());
}

bool PgServer::run(const std::string& sql) const {
  std::string conninfo = "postgresql:///postgres?host=" + folder_ + "&user=vxkd";
  PGconn* conn = PQconnectdb(conninfo.c_str());
  bool ok = PQstatus(conn) == CONNECTION_OK;
  if (ok) {
    PGresult* r = PQexec(conn, sql.c_str());
    ok = PQresultStatus(r) == PGRES_COMMAND_OK || PQresultStatus(r) == PGRES_TUPLES_OK;
    PQclear(r);
  }
  PQfinish(conn);
  return ok;
}

}  // namespace vxkd_test
