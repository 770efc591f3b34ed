// A whole product catalogue through the project against SQLite's C API doing the same work:
// 500 product groups five levels deep with 10,000 product definitions of 20 property values
// each. readDb reads the dataset into a fresh project; the baseline reads the same rows of
// the groups and products into plain structures (each product's property lines split into
// id and value, each product filed under its group). updateDb writes the project back into
// its file (after the file's integrity check); the baseline writes the same rows into a copy
// of the same file in one transaction. Each iteration times both, alternating which goes
// first, and reports both times and their ratio (library / SQLite). Before timing, the
// catalogue must come back from a save and a read unchanged.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench_folder.h"
#include "sqlite_baseline.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/sz.h"

namespace {

constexpr int kGroups = 500;
constexpr int kProductsPerGroup = 20;
constexpr int kProperties = 20;
constexpr int kChildren = 4;  // per group on the upper levels
constexpr int kLevels = 5;
constexpr const char* kGroupTable = "PG_product_groups";
constexpr const char* kProductTable = "PD_product_definitions";

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

// The catalogue: groups 1..500 breadth first, each of the first four levels with four
// children until 500 are made (so the fifth level is the last), 20 products in each group.
CKdProject makeProject() {
  CKdProject p;
  p.buildDefaultProject();
  const CKdPropertyValue::valueTypeId types[] = {
      CKdPropertyValue::typeInt32, CKdPropertyValue::typeDoubleReal, CKdPropertyValue::typeText};
  for (int i = 0; i < kProperties; ++i)
    p.propertyDefs().add((L"Property " + std::to_wstring(i + 1)).c_str(), L"", types[i % 3],
                         CKdUnit(CKdUnit::unitMm), 1);
  CKdProductGroupArray& groups = p.productGroups();
  std::vector<int> level(kGroups + 1, 0);
  int product = 0;
  for (int id = 1; id <= kGroups; ++id) {
    const int owner = id <= kChildren ? CKdProductGroup::rootGroupDefinitions
                                      : (id - kChildren - 1) / kChildren + 1;
    level[id] = owner < 1 ? 1 : level[owner] + 1;
    CKdProductGroup group;
    CKdGuid guid;
    guid.createValue();
    group.init(id, owner, (id - 1) % kChildren + 1, guid,
               (L"Group " + std::to_wstring(id)).c_str());
    for (int k = 1; k <= kProductsPerGroup; ++k, ++product) {
      CKdProductDef def;
      def.setDbId(k);
      CKdGuid productGuid;
      productGuid.createValue();
      def.setGuid(productGuid);
      def.setDesc((L"Fitting \u00D8 " + std::to_wstring(product)).c_str());
      def.setColorNmb(static_cast<short>(product % 255));
      def.setLineType(L"DASHED");
      def.setLineWidth(0.25f);
      for (int i = 0; i < kProperties; ++i) {
        CKdProperty property(*p.propertyDefs().objAt(i));
        property.setValue(valueText(product, i).c_str());
        def.properties().append(&property);
      }
      group.products().append(&def);
    }
    groups.append(&group);
  }
  return level[kGroups] == kLevels ? p : CKdProject();
}

const CKdProject& source() {
  static const CKdProject project = makeProject();
  return project;
}

struct Folder : vxkd_bench::BenchFolder {
  Folder() {
    CKdProject saved(source());
    ok =
        source().productGroups().length() == kGroups && saved.saveDbAs(nullptr, wfile("saved.vkd"));
  }
  // Replaces `name` by a copy of the saved catalogue.
  bool fresh(const char* name) const { return copy("saved.vkd", name); }
  bool ok = false;
};

const Folder& folder() {
  static Folder f;
  return f;
}

// Whether `back` holds the catalogue of `project` as it was: every group with its fields,
// every product with its fields and property values.
bool sameCatalogue(const CKdProject& project, const CKdProject& back) {
  const CKdProductGroupArray& a = project.productGroups();
  const CKdProductGroupArray& b = back.productGroups();
  if (b.length() != a.length() + 1) return false;  // and the root
  for (int i = 0; i < a.length(); ++i) {
    const CKdProductGroup* x = a.objAt(i);
    const CKdProductGroup* y = b.findGroup(x->dbId());
    if (!y || y->ownerGroupId() != x->ownerGroupId() || y->orderNmb() != x->orderNmb() ||
        !(y->guid() == x->guid()) || !(y->desc() == x->desc()) ||
        y->products().length() != x->products().length())
      return false;
    for (int k = 0; k < x->products().length(); ++k) {
      const CKdProductDef* p = x->products().objAt(k);
      const CKdProductDef* q = y->products().findProduct(p->guid());
      if (!q || q->dbId() != p->dbId() || !(q->desc() == p->desc()) ||
          q->colorNmb() != p->colorNmb() || !(q->lineType() == p->lineType()) ||
          q->lineWidth() != p->lineWidth() || !q->properties().isEqualTo(p->properties(), true))
        return false;
    }
  }
  return true;
}

// --- the library ---

// Reads the dataset `name` into the fresh `p`.
bool readProject(const char* name, CKdProject& p) {
  return p.readDb(nullptr, folder().wfile(name));
}

// The number of properties read, as a check that both sides read everything.
int64_t propertiesOf(const CKdProject& p) {
  int64_t sum = 0;
  for (int i = 0; i < p.productGroups().length(); ++i) {
    const CKdProductDefArray& products = p.productGroups().objAt(i)->products();
    for (int k = 0; k < products.length(); ++k) sum += products.objAt(k)->properties().length();
  }
  return sum;
}

int64_t readProject(const char* name) {
  CKdProject p;
  return readProject(name, p) ? propertiesOf(p) : -1;
}

bool updateProject(CKdProject& p, const char* name) {
  p.setFilename(folder().wfile(name));
  return p.updateDb(nullptr);
}

// --- SQLite's C API: the same tables, settings (one thread, no connection mutex) and
// transaction ---

using vxkd_bench::exec;
using vxkd_bench::openRaw;

struct GroupRow {
  std::string key, guid, desc;
  int owner = 0, order = 0;
};
struct ProductRow {
  std::string key, guid, desc, linetype, properties;
  int colour = 0;
  float width = 0;
};

const std::vector<GroupRow>& groupRows() {
  static const std::vector<GroupRow> rows = [] {
    std::vector<GroupRow> out;
    const CKdProductGroupArray& groups = source().productGroups();
    for (int i = 0; i < groups.length(); ++i) {
      const CKdProductGroup* g = groups.objAt(i);
      char key[CKdProductGroup::kDbIdSize], guid[CKdGuid::textBufferSize];
      out.push_back({g->buildDbId(key), g->guid().toSz(guid, sizeof guid), g->desc().toUtf8(),
                     static_cast<int>(g->ownerGroupId()), static_cast<int>(g->orderNmb())});
    }
    return out;
  }();
  return rows;
}

const std::vector<ProductRow>& productRows() {
  static const std::vector<ProductRow> rows = [] {
    std::vector<ProductRow> out;
    const CKdProductGroupArray& groups = source().productGroups();
    for (int i = 0; i < groups.length(); ++i) {
      const CKdProductDefArray& products = groups.objAt(i)->products();
      for (int k = 0; k < products.length(); ++k) {
        const CKdProductDef* p = products.objAt(k);
        char key[CKdProductDef::kDbIdSize], guid[CKdGuid::textBufferSize];
        CWsz lines;
        p->properties().writeAttributeText(lines);
        out.push_back({CKdProductDef::buildDbId(groups.idAt(i), p->dbId(), key),
                       p->guid().toSz(guid, sizeof guid), p->desc().toUtf8(),
                       p->lineType().toUtf8(), lines.toUtf8(), p->colorNmb(), p->lineWidth()});
      }
    }
    return out;
  }();
  return rows;
}

void bindText(sqlite3_stmt* stmt, int column, const std::string& text) {
  sqlite3_bind_text(stmt, column, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

bool writeRaw(const char* name) {
  sqlite3* db = openRaw(folder().file(name));
  if (!db) return false;
  sqlite3_stmt* group = nullptr;
  sqlite3_stmt* product = nullptr;
  sqlite3_prepare_v2(db,
                     (std::string("INSERT OR REPLACE INTO \"") + kGroupTable +
                      "\" (record_key, f1201_owner_group, f1207_order_number, f1502_description, "
                      "f1503_guid) VALUES (?1,?2,?3,?4,?5)")
                         .c_str(),
                     -1, &group, nullptr);
  sqlite3_prepare_v2(db,
                     (std::string("INSERT OR REPLACE INTO \"") + kProductTable +
                      "\" (record_key, f1503_guid, f1502_description, f1102_colour, "
                      "f1506_linetype, f1306_line_width, f1521_properties) "
                      "VALUES (?1,?2,?3,?4,?5,?6,?7)")
                         .c_str(),
                     -1, &product, nullptr);
  bool ok = group && product;
  for (const GroupRow& r : groupRows()) {
    if (!ok) break;
    bindText(group, 1, r.key);
    sqlite3_bind_int64(group, 2, r.owner);
    sqlite3_bind_int64(group, 3, r.order);
    bindText(group, 4, r.desc);
    bindText(group, 5, r.guid);
    ok = sqlite3_step(group) == SQLITE_DONE;
    sqlite3_reset(group);
  }
  for (const ProductRow& r : productRows()) {
    if (!ok) break;
    bindText(product, 1, r.key);
    bindText(product, 2, r.guid);
    bindText(product, 3, r.desc);
    sqlite3_bind_int64(product, 4, r.colour);
    bindText(product, 5, r.linetype);
    sqlite3_bind_double(product, 6, r.width);
    bindText(product, 7, r.properties);
    ok = sqlite3_step(product) == SQLITE_DONE;
    sqlite3_reset(product);
  }
  sqlite3_finalize(group);
  sqlite3_finalize(product);
  ok = exec(db, "COMMIT") && ok;
  sqlite3_close(db);
  return ok;
}

// What the baseline reads: the decoded fields, the property lines split into id and text.
struct ReadProduct {
  long id = 0;
  CKdGuid guid;
  CWsz desc, linetype;
  int colour = 0;
  float width = 0;
  std::vector<std::pair<long, std::wstring>> properties;
};
struct ReadGroup {
  long id = 0, owner = 0, order = 0;
  CKdGuid guid;
  CWsz desc;
  std::vector<ReadProduct> products;
};

std::wstring columnText(sqlite3_stmt* scan, int column) {
  const auto* utf8 = reinterpret_cast<const char*>(sqlite3_column_text(scan, column));
  return utf8 ? cuSz::fromUtf8(std::string_view(utf8, sqlite3_column_bytes(scan, column)))
              : std::wstring();
}

int64_t propertiesOf(const std::vector<ReadGroup>& groups) {
  int64_t sum = 0;
  for (const ReadGroup& g : groups)
    for (const ReadProduct& r : g.products) sum += static_cast<int64_t>(r.properties.size());
  return sum;
}

// Reads the rows of the dataset `name` into the empty `groups`.
bool readRaw(const char* name, std::vector<ReadGroup>& groups) {
  sqlite3* db = openRaw(folder().file(name));
  if (!db) return false;
  std::unordered_map<long, size_t> byId;
  sqlite3_stmt* scan = nullptr;
  sqlite3_prepare_v2(db,
                     (std::string("SELECT record_key, f1201_owner_group, f1207_order_number, "
                                  "f1502_description, f1503_guid FROM \"") +
                      kGroupTable + "\" ORDER BY record_key")
                         .c_str(),
                     -1, &scan, nullptr);
  while (scan && sqlite3_step(scan) == SQLITE_ROW) {
    ReadGroup g;
    g.id = std::strtol(reinterpret_cast<const char*>(sqlite3_column_text(scan, 0)), nullptr, 10);
    g.owner = sqlite3_column_int(scan, 1);
    g.order = sqlite3_column_int(scan, 2);
    g.desc = columnText(scan, 3);
    g.guid.fromSz(reinterpret_cast<const char*>(sqlite3_column_text(scan, 4)));
    byId[g.id] = groups.size();
    groups.push_back(std::move(g));
  }
  sqlite3_finalize(scan);
  scan = nullptr;
  sqlite3_prepare_v2(db,
                     (std::string("SELECT record_key, f1503_guid, f1502_description, f1102_colour, "
                                  "f1506_linetype, f1306_line_width, f1521_properties FROM \"") +
                      kProductTable + "\" ORDER BY record_key")
                         .c_str(),
                     -1, &scan, nullptr);
  while (scan && sqlite3_step(scan) == SQLITE_ROW) {
    const char* key = reinterpret_cast<const char*>(sqlite3_column_text(scan, 0));
    const long groupId = std::strtol(std::string(key, 6).c_str(), nullptr, 10);
    auto it = byId.find(groupId);
    if (it == byId.end()) continue;
    ReadProduct r;
    r.id = std::strtol(key + 6, nullptr, 10);
    r.guid.fromSz(reinterpret_cast<const char*>(sqlite3_column_text(scan, 1)));
    r.desc = columnText(scan, 2);
    r.colour = sqlite3_column_int(scan, 3);
    r.linetype = columnText(scan, 4);
    r.width = static_cast<float>(sqlite3_column_double(scan, 5));
    std::wstring lines = columnText(scan, 6);
    for (size_t start = 0; start < lines.size();) {
      size_t end = lines.find(L"\r\n", start);
      if (end == std::wstring::npos) end = lines.size();
      size_t equals = lines.find(L'=', start);
      if (equals < end)
        r.properties.emplace_back(std::wcstol(lines.c_str() + start, nullptr, 10),
                                  lines.substr(equals + 1, end - equals - 1));
      start = end + 2;
    }
    groups[it->second].products.push_back(std::move(r));
  }
  sqlite3_finalize(scan);
  exec(db, "COMMIT");
  sqlite3_close(db);
  return true;
}

int64_t readRaw(const char* name) {
  std::vector<ReadGroup> groups;
  return readRaw(name, groups) ? propertiesOf(groups) : -1;
}

// The catalogue must come back unchanged before anything is timed.
bool roundTripHolds() {
  static const bool holds = [] {
    CKdProject back;
    return folder().ok && back.readDb(nullptr, folder().wfile("saved.vkd")) &&
           sameCatalogue(source(), back);
  }();
  return holds;
}

// glibc sorts the small blocks freed in bulk into its free lists only when a larger block
// is asked for next. Asking here, outside the clock, keeps the cost of freeing one
// iteration's results out of the next iteration's reads, whichever side comes first.
void settleFreedMemory() {
  void* block = std::malloc(4096);
  benchmark::DoNotOptimize(block);
  std::free(block);
}

void BM_ReadDbCatalogue(benchmark::State& state) {
  if (!roundTripHolds()) {
    state.SkipWithError("the catalogue did not survive a save and a read");
    return;
  }
  vxkd_bench::SqliteBaseline times;
  int64_t a = 0, b = 0;
  bool ok = true;
  for (auto _ : state) {
    {
      // Only the reads are timed: what they read is freed afterwards, outside the clock.
      CKdProject project;
      std::vector<ReadGroup> rows;
      state.SetIterationTime(times.timeBoth([&] { ok = readProject("saved.vkd", project) && ok; },
                                            [&] { ok = readRaw("saved.vkd", rows) && ok; }));
      a = propertiesOf(project);
      b = propertiesOf(rows);
    }
    settleFreedMemory();
  }
  if (!ok || a != b || a != int64_t{kGroups} * kProductsPerGroup * kProperties)
    state.SkipWithError("the two reads differ");
  times.report(state, "readDb");
}

void BM_UpdateDbCatalogue(benchmark::State& state) {
  if (!roundTripHolds()) {
    state.SkipWithError("the catalogue did not survive a save and a read");
    return;
  }
  productRows();
  CKdProject project;
  project.readDb(nullptr, folder().wfile("saved.vkd"));
  vxkd_bench::SqliteBaseline times;
  bool ok = true;
  for (auto _ : state) {
    ok = folder().fresh("v.vkd") && folder().fresh("r.vkd") && ok;
    state.SetIterationTime(times.timeBoth([&] { ok = updateProject(project, "v.vkd") && ok; },
                                          [&] { ok = writeRaw("r.vkd") && ok; }));
  }
  if (!ok) state.SkipWithError("a write failed");
  // Both wrote the same rows over the same catalogue: each reads alike.
  if (readRaw("v.vkd") != readRaw("r.vkd") || readProject("r.vkd") != readProject("v.vkd"))
    state.SkipWithError("the two writes differ");
  times.report(state, "updateDb");
}

// The same catalogue read from a dataset on a PostgreSQL server (library side of the counters)
// against reading the file (the "sqlite" side): ratio = server / file. The server is named by
// $VXKD_BENCH_SERVER, a URI without the dataset ("postgresql:///postgres?host=/tmp/x"); the
// catalogue is saved there once as the dataset bench_catalogue.
void BM_ReadDbCatalogueFromServer(benchmark::State& state) {
  const char* server = std::getenv("VXKD_BENCH_SERVER");
  if (!server || !*server) {
    state.SkipWithError("set VXKD_BENCH_SERVER to a server URI to compare with a server");
    return;
  }
  std::string base = server;
  const CWsz uri = CWsz::fromUtf8(
      (base + (base.find('?') == std::string::npos ? "?" : "&") + "dataset=bench_catalogue")
          .c_str());
  CKdProject onServer(source());
  if (!roundTripHolds() || !onServer.saveDbAs(nullptr, uri)) {
    state.SkipWithError("the catalogue could not be saved on the server");
    return;
  }
  vxkd_bench::SqliteBaseline times;
  int64_t a = 0, b = 0;
  bool ok = true;
  for (auto _ : state) {
    {
      CKdProject fromServer, fromFile;
      state.SetIterationTime(
          times.timeBoth([&] { ok = fromServer.readDb(nullptr, uri) && ok; },
                         [&] { ok = readProject("saved.vkd", fromFile) && ok; }));
      a = propertiesOf(fromServer);
      b = propertiesOf(fromFile);
    }
    settleFreedMemory();
  }
  if (!ok || a != b) state.SkipWithError("the two reads differ");
  times.report(state, "server_readDb");
}

BENCHMARK(BM_ReadDbCatalogue)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_UpdateDbCatalogue)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_ReadDbCatalogueFromServer)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

}  // namespace
