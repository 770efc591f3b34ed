// The record database against SQLite's C API doing the same work: 100,000 records of eight
// fields of mixed types written in one open and close, and read back by enumerating the
// set in key order (read-only, in a deferred transaction, as both readers do). Each
// iteration times both, one after the other (alternating which goes first), and reports
// both times and their ratio (CQbase / SQLite). A third benchmark measures what an update
// costs before it writes anything, the integrity check of the whole file, against the raw
// read of the same file.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench_folder.h"
#include "sqlite_baseline.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

constexpr int kRecords = 100000;

constexpr const char* kDictionary = R"(format vxkd-dataset 1
record BM 8 bench_records
  field 1201 number long
  field 1101 count short
  field 1301 size float
  field 1501 name wsz
  field 1504 code sz
  field 1001 kind byte
  field 1308 dims float_array
  field 1603 blob binary_array 16
end
)";

// The table as CQbase makes it from the dictionary above.
constexpr const char* kCreateTable =
    "CREATE TABLE \"BM_bench_records\" (\"record_key\" TEXT PRIMARY KEY NOT NULL, "
    "\"f1201_number\" INTEGER, \"f1101_count\" INTEGER, \"f1301_size\" REAL, \"f1501_name\" "
    "TEXT, \"f1504_code\" TEXT, \"f1001_kind\" INTEGER, \"f1308_dims\" BLOB, \"f1603_blob\" "
    "BLOB) WITHOUT ROWID";
constexpr const char* kColumns =
    "\"record_key\",\"f1201_number\",\"f1101_count\",\"f1301_size\",\"f1501_name\","
    "\"f1504_code\",\"f1001_kind\",\"f1308_dims\",\"f1603_blob\"";

struct Record {
  std::string key;
  long number;
  short count;
  float size;
  std::wstring name;
  std::string code;
  uint8_t kind;
  CFloatArray dims;
  char blob[16];
};

const std::vector<Record>& records() {
  static const std::vector<Record> all = [] {
    std::vector<Record> out(kRecords);
    for (int i = 0; i < kRecords; ++i) {
      Record& r = out[i];
      char key[16];
      snprintf(key, sizeof key, "%8.8d", i + 1);
      r.key = key;
      r.number = i * 7;
      r.count = static_cast<short>(i % 30000);
      r.size = i * 0.25f;
      r.name = L"Product definition \u00D8 " + std::to_wstring(i);
      r.code = "CODE-" + std::to_string(i);
      r.kind = static_cast<uint8_t>(i % 200);
      r.dims = {1.0f * i, 2.0f, 3.5f, -1.0f};
      for (int b = 0; b < 16; ++b) r.blob[b] = static_cast<char>(i + b);
    }
    return out;
  }();
  return all;
}

struct Folder : vxkd_bench::BenchFolder {
  Folder() { std::ofstream(file("bench.ddq")) << kDictionary; }
};

const Folder& folder() {
  static Folder f;
  return f;
}

// --- CQbase ---

bool writeQbase(const char* name) {
  std::filesystem::remove(folder().file(name));
  CQbase db;
  if (!db.openDatabase(folder().wfile("bench.ddq"), folder().wfile(name), true)) return false;
  bool ok = true;
  for (const Record& r : records()) {
    ok = db.createRec("BM", r.key.c_str()) && db.setLong(1201, r.number) &&
         db.setShort(1101, r.count) && db.setFloat(1301, r.size) &&
         db.setWsz(1501, r.name.c_str()) && db.setSz(1504, r.code.c_str()) &&
         db.setByte(1001, r.kind) && db.setFloatArray(1308, r.dims) &&
         db.setBinaryArray(1603, r.blob, 1) && db.saveRec() && ok;
  }
  return db.closeDatabase() && ok;
}

int64_t readQbase(const char* name) {
  CQbase db;
  if (!db.openDatabase(folder().wfile("bench.ddq"), folder().wfile(name), CQbase::openRead))
    return -1;
  int64_t sum = 0;
  CChBuffer key, code;
  CWsz text;
  CFloatArray dims;
  CByteBuffer blob;
  for (bool ok = db.fetchFirstMember("BM"); ok; ok = db.fetchNextMember()) {
    long number = 0;
    short count = 0;
    float size = 0;
    uint8_t kind = 0;
    int items = 0;
    db.getObjId(key);
    db.getLong(1201, number);
    db.getShort(1101, count);
    db.getFloat(1301, size);
    db.getWsz(1501, text);
    db.getSz(1504, code);
    db.getByte(1001, kind);
    db.getFloatArray(1308, dims);
    db.getBinaryArray(1603, blob, items);
    sum += key.length() + number + count + static_cast<int64_t>(size) + text.length() +
           code.length() + kind + dims.length() + blob.size() + items;
  }
  return db.closeDatabase() ? sum : -1;
}

// An update that writes nothing: the open checks the whole file first.
bool openForUpdate(const char* name) {
  CQbase db;
  return db.openDatabase(folder().wfile("bench.ddq"), folder().wfile(name), CQbase::openUpdate) &&
         db.closeDatabase();
}

// --- SQLite's C API: the same schema, settings (one thread, no connection mutex) and
// transaction ---

using vxkd_bench::exec;
using vxkd_bench::openRaw;

bool writeRaw(const char* name) {
  std::filesystem::remove(folder().file(name));
  sqlite3* db = openRaw(folder().file(name));
  if (!db || !exec(db, kCreateTable)) return false;
  sqlite3_stmt* insert = nullptr;
  std::string sql = std::string("INSERT OR REPLACE INTO \"BM_bench_records\" (") + kColumns +
                    ") VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9)";
  sqlite3_prepare_v2(db, sql.c_str(), -1, &insert, nullptr);
  bool ok = insert != nullptr;
  for (const Record& r : records()) {
    if (!ok) break;
    std::string name = cuSz::toUtf8(r.name);
    sqlite3_bind_text(insert, 1, r.key.data(), static_cast<int>(r.key.size()), SQLITE_STATIC);
    sqlite3_bind_int64(insert, 2, r.number);
    sqlite3_bind_int64(insert, 3, r.count);
    sqlite3_bind_double(insert, 4, r.size);
    sqlite3_bind_text(insert, 5, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
    sqlite3_bind_text(insert, 6, r.code.data(), static_cast<int>(r.code.size()), SQLITE_STATIC);
    sqlite3_bind_int64(insert, 7, r.kind);
    sqlite3_bind_blob(insert, 8, r.dims.data(), r.dims.length() * 4, SQLITE_STATIC);  // LE host
    sqlite3_bind_blob(insert, 9, r.blob, 16, SQLITE_STATIC);
    ok = sqlite3_step(insert) == SQLITE_DONE;
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  ok = exec(db, "COMMIT") && ok;
  sqlite3_close(db);
  return ok;
}

int64_t readRaw(const char* name) {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(folder().file(name).c_str(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX,
                      nullptr) != SQLITE_OK ||
      !exec(db, "BEGIN")) {
    sqlite3_close(db);
    return -1;
  }
  sqlite3_stmt* scan = nullptr;
  std::string sql =
      std::string("SELECT ") + kColumns + " FROM \"BM_bench_records\" ORDER BY \"record_key\"";
  sqlite3_prepare_v2(db, sql.c_str(), -1, &scan, nullptr);
  int64_t sum = 0;
  CChBuffer key, code;
  CWsz text;
  CFloatArray dims;
  CByteBuffer blob;
  while (scan && sqlite3_step(scan) == SQLITE_ROW) {
    key.set(reinterpret_cast<const char*>(sqlite3_column_text(scan, 0)));
    long number = static_cast<long>(sqlite3_column_int64(scan, 1));
    short count = static_cast<short>(sqlite3_column_int64(scan, 2));
    float size = static_cast<float>(sqlite3_column_double(scan, 3));
    const auto* utf8 = reinterpret_cast<const char*>(sqlite3_column_text(scan, 4));
    text = CWsz(cuSz::fromUtf8(std::string_view(utf8, sqlite3_column_bytes(scan, 4))));
    code.set(reinterpret_cast<const char*>(sqlite3_column_text(scan, 5)));
    auto kind = static_cast<uint8_t>(sqlite3_column_int64(scan, 6));
    const void* d = sqlite3_column_blob(scan, 7);
    dims.resize(sqlite3_column_bytes(scan, 7) / 4);
    std::memcpy(dims.data(), d, dims.length() * 4);  // LE host
    const void* b = sqlite3_column_blob(scan, 8);
    blob.set(b, sqlite3_column_bytes(scan, 8));
    int items = (blob.size() + 15) / 16;
    sum += key.length() + number + count + static_cast<int64_t>(size) + text.length() +
           code.length() + kind + dims.length() + blob.size() + items;
  }
  sqlite3_finalize(scan);
  exec(db, "COMMIT");
  sqlite3_close(db);
  return sum;
}

void BM_Write100kRecords(benchmark::State& state) {
  records();
  vxkd_bench::SqliteBaseline times;
  bool ok = true;
  for (auto _ : state)
    state.SetIterationTime(times.timeBoth([&] { ok = writeQbase("q.vkd") && ok; },
                                          [&] { ok = writeRaw("r.vkd") && ok; }));
  if (!ok) state.SkipWithError("a write failed");
  times.report(state, "qbase");
}

void BM_Read100kRecords(benchmark::State& state) {
  records();
  if (!writeQbase("read.vkd")) {
    state.SkipWithError("could not write the dataset");
    return;
  }
  vxkd_bench::SqliteBaseline times;
  int64_t a = 0, b = 0;
  for (auto _ : state)
    state.SetIterationTime(
        times.timeBoth([&] { a = readQbase("read.vkd"); }, [&] { b = readRaw("read.vkd"); }));
  if (a != b || a <= 0) state.SkipWithError("the two reads differ");
  times.report(state, "qbase");
}

void BM_CheckBeforeWrite100kRecords(benchmark::State& state) {
  records();
  if (!writeQbase("check.vkd")) {
    state.SkipWithError("could not write the dataset");
    return;
  }
  vxkd_bench::SqliteBaseline times;
  bool ok = true;
  for (auto _ : state)
    state.SetIterationTime(times.timeBoth([&] { ok = openForUpdate("check.vkd") && ok; },
                                          [&] { ok = readRaw("check.vkd") > 0 && ok; }));
  if (!ok) state.SkipWithError("the check or the read failed");
  times.report(state, "check");
}

BENCHMARK(BM_Write100kRecords)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(6);
BENCHMARK(BM_Read100kRecords)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_CheckBeforeWrite100kRecords)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(6);

}  // namespace
