// Comparing two datasets of 10,000 product definitions each against reading both. The
// datasets share their definitions and most products: one product in twenty has another
// value, one in fifty is only in the second, so that the comparison pairs, compares field by
// field and reports. Each iteration reads both files (timed as the baseline), then compares
// the two projects (timed as the iteration); the counters give both times and their ratio
// (comparison / reading both), which the comparison keeps at 2 or below.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "sqlite_baseline.h"
#include "vxkd/dataset/project.h"
#include "vxkd/merge/comparison.h"

namespace {

using vxkd_bench::seconds;

constexpr int kProducts = 10000;
constexpr int kProperties = 10;
constexpr VxKd::systemTypeIds kSets[] = {VxKd::systemDuct, VxKd::systemPipe, VxKd::systemData,
                                         VxKd::systemElectric};

// A dataset of kProducts products; `second` changes one in twenty and replaces one in fifty
// by a product of its own.
CKdProject makeProject(bool second) {
  CKdProject project;
  project.buildDefaultProject();
  const CKdPropertyValue::valueTypeId types[] = {
      CKdPropertyValue::typeInt32, CKdPropertyValue::typeDoubleReal, CKdPropertyValue::typeText};
  for (int k = 0; k < kProperties; ++k)
    project.propertyDefs().add((L"Property " + std::to_wstring(k + 1)).c_str(), L"", types[k % 3],
                               CKdUnit(CKdUnit::unitMm), 1);
  for (int f = 1; f <= 3; ++f) {
    CKdDimtextFormat format;
    format.setId(f);
    format.setDesc((L"Format " + std::to_wstring(f)).c_str());
    format.setFmt(L"{Property 1} x {Property 2}");
    project.dimTextFormats().append(&format);
  }
  const CKdLinetypeDef dashed(L"DASHED", L"", L"A,.5,-.25");
  project.linetypeDefs().append(&dashed);
  for (int i = 0; i < kProducts; ++i) {
    const bool own = second && i % 50 == 0;
    CKdProductDef p;
    p.setDbId(i / 4 + 1);
    char guid[40];
    std::snprintf(guid, sizeof guid, "%08X-0000-4000-8000-%012X", own ? 2u : 1u, i);
    p.setGuid(CKdGuid(guid));
    p.setDesc((L"Product " + std::to_wstring(i)).c_str());
    p.setLineType(L"DASHED");
    p.setColorNmb(static_cast<short>(i % 255));
    for (int t = 0; t < 2; ++t) {
      CKdIntegratedText text(sddimtextreftype{1 + (i + t) % 3, 1.5f, -2.0f, 0}, 0);
      p.getIntegratedTexts().append(&text);
    }
    for (int k = 0; k < kProperties; ++k) {
      CKdProperty property(*project.propertyDefs().objAt(k));
      const int value = second && i % 20 == 0 && k == 0 ? i + 1 : i + k;
      property.setValue(std::to_wstring(value).c_str());
      p.properties().append(&property);
    }
    project.polyDefSets(kSets[i % 4])->append(&p);
  }
  return project;
}

struct Files {
  Files() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/vxkd-bench-XXXXXX";
    if (mkdtemp(pattern.data())) folder = pattern;
    ok = makeProject(false).saveDbAs(nullptr, path("a.vkd")) &&
         makeProject(true).saveDbAs(nullptr, path("b.vkd"));
  }
  ~Files() { std::filesystem::remove_all(folder); }
  CWsz path(const char* name) const { return CWsz::fromUtf8((folder + "/" + name).c_str()); }
  std::string folder;
  bool ok = false;
};

void BM_Compare10kProductsAgainstReadingBoth(benchmark::State& state) {
  static const Files files;
  if (!files.ok) {
    state.SkipWithError("cannot write the two datasets");
    return;
  }
  double reading = 0, comparing = 0;
  int different = 0;
  for (auto _ : state) {
    CKdProject a, b;
    reading += seconds([&] {
      a.readDb(nullptr, files.path("a.vkd"));
      b.readDb(nullptr, files.path("b.vkd"));
    });
    CKdDatasetComparison comparison;
    const double t = seconds([&] { comparison.compare(a, b); });
    comparing += t;
    state.SetIterationTime(t);
    different = comparison.count(CKdComparisonItem::different);
  }
  // 500 changed values; the 200 products of its own are not among the pairs.
  if (different != kProducts / 20 - kProducts / 100)
    state.SkipWithError("the comparison did not find the changes");
  const double n = static_cast<double>(state.iterations());
  state.counters["compare_ms"] = benchmark::Counter(comparing * 1000 / n);
  state.counters["read_both_ms"] = benchmark::Counter(reading * 1000 / n);
  state.counters["ratio"] = benchmark::Counter(reading > 0 ? comparing / reading : 0);
}

BENCHMARK(BM_Compare10kProductsAgainstReadingBoth)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
