// Product definitions through the dataset against SQLite's C API doing the same work: 10,000
// definitions of a poly-object set, each with 20 property values and 2 integrated texts,
// written into an empty dataset in one open and close, and read back by enumerating the set.
// The baseline writes the same rows into the same table (the property set as its "id=value"
// lines, the texts as their 14-byte items) and reads them back into plain structures.
// Each iteration times both, one after the other (alternating which goes first), and
// reports both times and their ratio (library / SQLite).

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench_folder.h"
#include "sqlite_baseline.h"
#include "vxkd/catalogue/product_def.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

constexpr int kProducts = 10000;
constexpr int kProperties = 20;
constexpr int kTexts = 2;
constexpr const char* kSet = "SD";
constexpr const char* kTable = "SD_duct_definitions";

// Ids 1..20: int32, double with 1 decimal, text, in turn.
const CKdPropertyDefArray& defs() {
  static const CKdPropertyDefArray all = [] {
    CKdPropertyDefArray out;
    const CKdPropertyValue::valueTypeId types[] = {
        CKdPropertyValue::typeInt32, CKdPropertyValue::typeDoubleReal, CKdPropertyValue::typeText};
    for (int i = 0; i < kProperties; ++i)
      out.add((L"Property " + std::to_wstring(i + 1)).c_str(), L"", types[i % 3],
              CKdUnit(CKdUnit::unitMm), 1);
    return out;
  }();
  return all;
}

std::wstring valueText(int product, int property) {
  switch (property % 3) {
    case 0:
      return std::to_wstring(product * 7 + property);
    case 1:
      return std::to_wstring(product % 1000) + L"." + std::to_wstring(property % 10);
    default:
      return L"Material " + std::to_wstring(product % 97);
  }
}

const CKdProductDefArray& products() {
  static const CKdProductDefArray all = [] {
    CKdProductDefArray out(kSet);
    for (int i = 0; i < kProducts; ++i) {
      CKdProductDef p;
      p.setDbId(i + 1);
      CKdGuid guid;
      guid.createValue();
      p.setGuid(guid);
      p.setDesc((L"Rectangular duct \u00D8 " + std::to_wstring(i)).c_str());
      p.setColorNmb(static_cast<short>(i % 255));
      p.setLineType(L"DASHED");
      p.setLineWidth(0.25f);
      for (int t = 0; t < kTexts; ++t) {
        CKdIntegratedText text(sddimtextreftype{t + 1, 1.5f * t, -2.0f, 0},
                               static_cast<short>(90 * t));
        p.getIntegratedTexts().append(&text);
      }
      for (int k = 0; k < kProperties; ++k) {
        CKdProperty property(*defs().objAt(k));
        property.setValue(valueText(i, k).c_str());
        p.properties().append(&property);
      }
      out.append(&p);
    }
    return out;
  }();
  return all;
}

// What the baseline writes per row: the columns as the dataset stores them.
struct Row {
  std::string key, guid, desc, linetype, properties;
  int colour;
  float width;
  uint8_t texts[kTexts * sddimtextreftype::kSize];
  int16_t rotations[kTexts];
};

const std::vector<Row>& rows() {
  static const std::vector<Row> all = [] {
    std::vector<Row> out(kProducts);
    for (int i = 0; i < kProducts; ++i) {
      const CKdProductDef* p = products().objAt(i);
      Row& r = out[i];
      char key[CKdProductDef::kDbIdSize];
      r.key = CKdProductDef::buildDbId(p->dbId(), key);
      char guid[CKdGuid::textBufferSize];
      r.guid = p->guid().toSz(guid, sizeof guid);
      r.desc = p->desc().toUtf8();
      r.linetype = p->lineType().toUtf8();
      r.colour = p->colorNmb();
      r.width = p->lineWidth();
      CWsz text;
      p->properties().writeAttributeText(text);
      r.properties = text.toUtf8();
      for (int t = 0; t < kTexts; ++t) {
        p->getIntegratedTexts().objAt(t)->ref().toBytes(r.texts + t * sddimtextreftype::kSize);
        r.rotations[t] = p->getIntegratedTexts().objAt(t)->rotation();
      }
    }
    return out;
  }();
  return all;
}

struct Folder : vxkd_bench::BenchFolder {
  Folder() {
    // An empty dataset, copied as the start of every write.
    CQbase db;
    ok = db.openDatabase(CKdProject::dictionaryPath(), wfile("empty.vkd"), true) &&
         db.closeDatabase();
  }
  // Replaces `name` by a copy of the empty dataset.
  bool fresh(const char* name) const { return copy("empty.vkd", name); }
  bool ok = false;
};

const Folder& folder() {
  static Folder f;
  return f;
}

// --- the library ---

bool writeProducts(const char* name) {
  CQbase db;
  if (!db.openDatabase(CKdProject::dictionaryPath(), folder().wfile(name), false)) return false;
  bool ok = products().saveTo(db, -1);
  return db.closeDatabase() && ok;
}

// The number of properties read, as a check that both sides read everything.
int64_t readProducts(const char* name) {
  CQbase db;
  if (!db.openDatabase(CKdProject::dictionaryPath(), folder().wfile(name), false)) return -1;
  CKdProductDefArray back(kSet);
  back.readFrom(db, defs());
  db.abandon();
  int64_t sum = 0;
  for (int i = 0; i < back.length(); ++i)
    sum += back.objAt(i)->properties().length() + back.objAt(i)->getIntegratedTexts().length();
  return sum;
}

// --- SQLite's C API: the same table, settings (one thread, no connection mutex) and
// transaction ---

using vxkd_bench::exec;
using vxkd_bench::openRaw;

bool writeRaw(const char* name) {
  sqlite3* db = openRaw(folder().file(name));
  if (!db) return false;
  sqlite3_stmt* insert = nullptr;
  std::string sql = std::string("INSERT OR REPLACE INTO \"") + kTable +
                    "\" (record_key, f1503_guid, f1502_description, f1102_colour, "
                    "f1506_linetype, f1306_line_width, f1602_integrated_texts, "
                    "f1111_integrated_text_rotations, f1521_properties) "
                    "VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9)";
  sqlite3_prepare_v2(db, sql.c_str(), -1, &insert, nullptr);
  bool ok = insert != nullptr;
  for (const Row& r : rows()) {
    if (!ok) break;
    sqlite3_bind_text(insert, 1, r.key.data(), static_cast<int>(r.key.size()), SQLITE_STATIC);
    sqlite3_bind_text(insert, 2, r.guid.data(), static_cast<int>(r.guid.size()), SQLITE_STATIC);
    sqlite3_bind_text(insert, 3, r.desc.data(), static_cast<int>(r.desc.size()), SQLITE_STATIC);
    sqlite3_bind_int64(insert, 4, r.colour);
    sqlite3_bind_text(insert, 5, r.linetype.data(), static_cast<int>(r.linetype.size()),
                      SQLITE_STATIC);
    sqlite3_bind_double(insert, 6, r.width);
    sqlite3_bind_blob(insert, 7, r.texts, sizeof r.texts, SQLITE_STATIC);
    sqlite3_bind_blob(insert, 8, r.rotations, sizeof r.rotations, SQLITE_STATIC);  // LE host
    sqlite3_bind_text(insert, 9, r.properties.data(), static_cast<int>(r.properties.size()),
                      SQLITE_STATIC);
    ok = sqlite3_step(insert) == SQLITE_DONE;
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  ok = exec(db, "COMMIT") && ok;
  sqlite3_close(db);
  return ok;
}

// One row read back: the fields decoded, the property lines split into id and value text.
struct ReadRow {
  long id = 0;
  CKdGuid guid;
  CWsz desc, linetype;
  int colour = 0;
  float width = 0;
  std::vector<sddimtextreftype> texts;
  std::vector<std::pair<long, std::wstring>> properties;
};

std::wstring columnText(sqlite3_stmt* scan, int column) {
  const auto* utf8 = reinterpret_cast<const char*>(sqlite3_column_text(scan, column));
  return utf8 ? cuSz::fromUtf8(std::string_view(utf8, sqlite3_column_bytes(scan, column)))
              : std::wstring();
}

int64_t readRaw(const char* name) {
  sqlite3* db = openRaw(folder().file(name));
  if (!db) return -1;
  sqlite3_stmt* scan = nullptr;
  std::string sql = std::string(
                        "SELECT record_key, f1503_guid, f1502_description, f1102_colour, "
                        "f1506_linetype, f1306_line_width, f1602_integrated_texts, "
                        "f1111_integrated_text_rotations, f1521_properties FROM \"") +
                    kTable + "\" ORDER BY record_key";
  sqlite3_prepare_v2(db, sql.c_str(), -1, &scan, nullptr);
  std::vector<ReadRow> out;
  while (scan && sqlite3_step(scan) == SQLITE_ROW) {
    ReadRow r;
    r.id = std::strtol(reinterpret_cast<const char*>(sqlite3_column_text(scan, 0)), nullptr, 10);
    r.guid.fromSz(reinterpret_cast<const char*>(sqlite3_column_text(scan, 1)));
    r.desc = columnText(scan, 2);
    r.colour = sqlite3_column_int(scan, 3);
    r.linetype = columnText(scan, 4);
    r.width = static_cast<float>(sqlite3_column_double(scan, 5));
    const auto* texts = static_cast<const uint8_t*>(sqlite3_column_blob(scan, 6));
    for (int n = sqlite3_column_bytes(scan, 6) / sddimtextreftype::kSize, t = 0; t < n; ++t)
      r.texts.push_back(sddimtextreftype::fromBytes(texts + t * sddimtextreftype::kSize));
    std::wstring lines = columnText(scan, 8);
    for (size_t start = 0; start < lines.size();) {
      size_t end = lines.find(L"\r\n", start);
      if (end == std::wstring::npos) end = lines.size();
      size_t equals = lines.find(L'=', start);
      if (equals < end)
        r.properties.emplace_back(std::wcstol(lines.c_str() + start, nullptr, 10),
                                  lines.substr(equals + 1, end - equals - 1));
      start = end + 2;
    }
    out.push_back(std::move(r));
  }
  sqlite3_finalize(scan);
  exec(db, "COMMIT");
  sqlite3_close(db);
  int64_t sum = 0;
  for (const ReadRow& r : out) sum += r.properties.size() + r.texts.size();
  return sum;
}

void BM_Write10kProductDefs(benchmark::State& state) {
  rows();
  if (!folder().ok) {
    state.SkipWithError("cannot create the empty dataset");
    return;
  }
  vxkd_bench::SqliteBaseline times;
  bool ok = true;
  for (auto _ : state) {
    ok = folder().fresh("v.vkd") && folder().fresh("r.vkd") && ok;
    state.SetIterationTime(times.timeBoth([&] { ok = writeProducts("v.vkd") && ok; },
                                          [&] { ok = writeRaw("r.vkd") && ok; }));
  }
  if (!ok) state.SkipWithError("a write failed");
  // Both wrote the same rows: each side reads the other's file alike.
  if (readProducts("r.vkd") != readProducts("v.vkd") || readRaw("v.vkd") != readRaw("r.vkd"))
    state.SkipWithError("the two writes differ");
  times.report(state, "vxkd");
}

void BM_Read10kProductDefs(benchmark::State& state) {
  rows();
  if (!folder().ok || !folder().fresh("read.vkd") || !writeProducts("read.vkd")) {
    state.SkipWithError("could not write the dataset");
    return;
  }
  vxkd_bench::SqliteBaseline times;
  int64_t a = 0, b = 0;
  for (auto _ : state)
    state.SetIterationTime(
        times.timeBoth([&] { a = readProducts("read.vkd"); }, [&] { b = readRaw("read.vkd"); }));
  if (a != b || a != int64_t{kProducts} * (kProperties + kTexts))
    state.SkipWithError("the two reads differ");
  times.report(state, "vxkd");
}

BENCHMARK(BM_Write10kProductDefs)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(6);
BENCHMARK(BM_Read10kProductDefs)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(6);

}  // namespace
