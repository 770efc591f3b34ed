#pragma once
// What the benchmarks that measure the library against SQLite's C API doing the same work
// share: the connection settings of the baseline, the two sides timed once each per iteration, in
// turns of order so that neither always finds the caches warm, and both times reported with their
// ratio (library / SQLite).

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <functional>
#include <string>

namespace vxkd_bench {

inline bool exec(sqlite3* db, const char* sql) {
  return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// Opens `path` (creating it when it is missing) with the settings of the dataset: one
// thread, no connection mutex, the rollback journal, full syncs, and begins the one write
// transaction. Null when any of it fails.
inline sqlite3* openRaw(const std::string& path) {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                      nullptr) != SQLITE_OK ||
      !exec(db, "PRAGMA journal_mode=DELETE") || !exec(db, "PRAGMA synchronous=FULL") ||
      !exec(db, "BEGIN IMMEDIATE")) {
    sqlite3_close(db);
    return nullptr;
  }
  return db;
}

// Wall-clock seconds that `work` takes.
inline double seconds(const std::function<void()>& work) {
  auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Sums of the two sides' times over the iterations of one benchmark.
class SqliteBaseline {
 public:
  // Runs `library` and `raw` once each, `library` first every other time, adds their times
  // and returns the library's, for State::SetIterationTime.
  double timeBoth(const std::function<void()>& library, const std::function<void()>& raw) {
    double l = 0, r = 0;
    if (libraryFirst_) {
      l = seconds(library);
      r = seconds(raw);
    } else {
      r = seconds(raw);
      l = seconds(library);
    }
    libraryFirst_ = !libraryFirst_;
    library_ += l;
    raw_ += r;
    return l;
  }

  // The counters "<libraryName>_ms", "sqlite_ms" (per iteration) and "ratio".
  void report(benchmark::State& state, const std::string& libraryName) const {
    state.counters[libraryName + "_ms"] = benchmark::Counter(library_ * 1000 / state.iterations());
    state.counters["sqlite_ms"] = benchmark::Counter(raw_ * 1000 / state.iterations());
    state.counters["ratio"] = benchmark::Counter(raw_ > 0 ? library_ / raw_ : 0);
  }

 private:
  bool libraryFirst_ = true;
  double library_ = 0;
  double raw_ = 0;
};

}  // namespace vxkd_bench
