#pragma once
// A PostgreSQL 15 server of the test program's own: a database cluster made by initdb in a
// temporary folder, listening only on a Unix socket there, started on first use and stopped
// when the program ends. As root it runs as the unprivileged user "nobody" (the server refuses
// root). The cluster is made once per build folder and copied for each program: initdb takes
// seconds, a copy and a start well under one.

#include <gtest/gtest.h>

#include <string>

namespace vxkd_test {

class PgServer {
 public:
  // The server of this program; null, with the reason in skipReason(), when none can be
  // started (no PostgreSQL 15 installed, no unprivileged user).
  static PgServer* shared();
  static const std::string& skipReason();

  // The URI of dataset `name` on the server.
  std::string uri(const std::string& name) const;
  // A dataset name that no other test of this program uses.
  std::string freshName();
  // Runs `sql` on the server's database as its superuser; false on failure.
  bool run(const std::string& sql) const;
  const std::string& socketFolder() const { return folder_; }

  ~PgServer();

 private:
  PgServer() = default;
  bool start();

  std::string folder_;
  int owner_ = 0;  // the process that started the server, the one that stops it
  int counter_ = 0;
};

}  // namespace vxkd_test

// Skips the test, reported as skipped, when no server can be started.
#define VXKD_REQUIRE_PG_SERVER(server)                         \
  vxkd_test::PgServer* server = vxkd_test::PgServer::shared(); \
  if (!server) GTEST_SKIP() << "no PostgreSQL server: " << vxkd_test::PgServer::skipReason()
