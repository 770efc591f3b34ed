// Comparing two datasets of 500 product groups and 10,000 product definitions each against
// reading both. The datasets share their definitions, groups and most products: one product in
// twenty has another value, one in fifty is only in the second, so that the comparison pairs,
// compares field by field and reports. Each iteration reads both files (timed as the baseline),
// then compares the two projects (timed as the iteration); the counters give both times and their
// ratio (comparison / reading both), which the comparison keeps at 2 or below.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench_folder.h"
#include "sqlite_baseline.h"
#include "vxkd/dataset/project.h"
#include "vxkd/merge/comparison.h"

namespace {

using vxkd_bench::seconds;

constexpr int kProducts = 10000;
constexpr int kProperties = 10;
// 50 groups under the root with 9 sub groups each.
constexpr int kGroups = 500;

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
  for (int g = 1; g <= kGroups; ++g) {
    CKdProductGroup group;
    char guid[40];
    std::snprintf(guid, sizeof guid, "0000FFFF-0000-4000-8000-%012X", g);
    group.init(g, g <= 50 ? -1 : (g - 51) / 9 + 1, g, CKdGuid(guid),
               (L"Group " + std::to_wstring(g)).c_str());
    project.productGroups().append(&group);
  }
  for (int i = 0; i < kProducts; ++i) {
    const bool own = second && i % 50 == 0;
    CKdProductDef p;
    p.setDbId(i / kGroups + 1);
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
    project.productGroups().findGroup(i % kGroups + 1)->products().append(&p);
  }
  return project;
}

struct Files : vxkd_bench::BenchFolder {
  Files() {
    ok = makeProject(false).saveDbAs(nullptr, wfile("a.vkd")) &&
         makeProject(true).saveDbAs(nullptr, wfile("b.vkd"));
  }
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
      a.readDb(nullptr, files.wfile("a.vkd"));
      b.readDb(nullptr, files.wfile("b.vkd"));
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
