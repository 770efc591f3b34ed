// Format strings over property sets: buildFmtString runs once per label, dimension text and
// report cell, each time over the whole property set of the object. And the property
// definitions of a large dataset written to and read from its file.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "vxkd/platform/paths.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/properties/format_string.h"
#include "vxkd/properties/property.h"

namespace {

// Fifty properties of mixed types, named P0 .. P49, each with a value.
CKdPropertyArray fiftyProperties() {
  CKdPropertyArray props;
  for (int i = 0; i < 50; ++i) {
    auto type = static_cast<CKdPropertyValue::valueTypeId>(1 + i % 5);
    std::wstring name = L"P" + std::to_wstring(i);
    CKdProperty p(CKdPropertyDef(i + 1, name.c_str(), L"", type, CKdUnit::unitMm, 2));
    p.setValue(std::to_wstring(i * 7 + 1).c_str());
    props.append(&p);
  }
  CKdProperty partId(CKdPropertyDef(-1, L"*PARTID*", L"", CKdPropertyValue::typeText, {}, 0));
  partId.setValue(L"AB-1234");
  props.append(&partId);
  return props;
}

// Ten tokens: a special name and nine properties spread over the set, with literals between.
void BM_BuildFmtStringTenTokensFiftyProperties(benchmark::State& state) {
  CKdPropertyArray props = fiftyProperties();
  const wchar_t* format =
      L"{*PARTID*}: {P0} x {P7}/{P13} - {P21}, {p28} ({P33}) {P40}; {P45} [{P49}]";
  CWsz out;
  for (auto _ : state) {
    benchmark::DoNotOptimize(VxKd::buildFmtString(format, props, out));
    benchmark::DoNotOptimize(out.wsz());
  }
}
BENCHMARK(BM_BuildFmtStringTenTokensFiftyProperties);

constexpr int kDefinitions = 10000;

// 10,000 definitions of mixed types with names and descriptions of everyday length.
CKdPropertyDefArray manyDefinitions() {
  CKdPropertyDefArray defs;
  for (int i = 0; i < kDefinitions; ++i) {
    std::wstring name = L"Property " + std::to_wstring(i);
    std::wstring description = L"Description of property number " + std::to_wstring(i);
    defs.add(name.c_str(), description.c_str(),
             static_cast<CKdPropertyValue::valueTypeId>(1 + i % 5), CKdUnit::unitMm, i % 4);
  }
  return defs;
}

// A folder of its own for the dataset files, removed at the end.
class BenchFolder {
 public:
  BenchFolder() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/vxkd_bench_XXXXXX";
    if (mkdtemp(pattern.data())) folder_ = pattern;
  }
  ~BenchFolder() {
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
  }
  CWsz file(const char* name) const { return CWsz::fromUtf8((folder_ + "/" + name).c_str()); }
  std::string native(const char* name) const { return folder_ + "/" + name; }

 private:
  std::string folder_;
};

CWsz dictionary() { return cuFile::joinPath(cuFile::libraryFolder(), L"VantVkd.ddq"); }

// A new dataset: open, write every definition, commit.
void BM_SaveTenThousandPropertyDefs(benchmark::State& state) {
  CKdPropertyDefArray defs = manyDefinitions();
  BenchFolder folder;
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(folder.native("save.vkd"));
    state.ResumeTiming();
    CQbase db;
    bool ok = db.openDatabase(dictionary(), folder.file("save.vkd"), true) && defs.saveTo(db) &&
              db.closeDatabase();
    if (!ok) state.SkipWithError("cannot write the dataset");
  }
  state.SetItemsProcessed(state.iterations() * kDefinitions);
}
BENCHMARK(BM_SaveTenThousandPropertyDefs)->Unit(benchmark::kMillisecond);

// Open the dataset, read every definition, close.
void BM_ReadTenThousandPropertyDefs(benchmark::State& state) {
  BenchFolder folder;
  {
    CQbase db;
    if (!db.openDatabase(dictionary(), folder.file("read.vkd"), true) ||
        !manyDefinitions().saveTo(db) || !db.closeDatabase()) {
      state.SkipWithError("cannot write the dataset");
      return;
    }
  }
  CKdPropertyDefArray defs;
  for (auto _ : state) {
    CQbase db;
    bool ok = db.openDatabase(dictionary(), folder.file("read.vkd"), false) && defs.readFrom(db) &&
              db.closeDatabase() && defs.length() == kDefinitions;
    if (!ok) state.SkipWithError("cannot read the dataset");
  }
  state.SetItemsProcessed(state.iterations() * kDefinitions);
}
BENCHMARK(BM_ReadTenThousandPropertyDefs)->Unit(benchmark::kMillisecond);

}  // namespace
