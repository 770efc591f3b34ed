// The product page of the dataset editor (vkd edit): one page of the product table of a
// group of 10,000 products, as the page asks for it while the table is scrolled, and a
// filtered page. The answer must come well under 200 ms.

#include <benchmark/benchmark.h>

#include <string>

#include "bench_folder.h"
#include "editor_api.h"
#include "vxkd/dataset/project.h"
#include "vxkd/foundation/startup.h"

namespace {

constexpr int kProducts = 10000;

CKdGuid newGuid() {
  CKdGuid guid;
  guid.createValue();
  return guid;
}

// A dataset with one group of kProducts products, each with two properties; opened by the
// editor's interface once for all benchmarks.
vkdedit::EditorApi& editor() {
  static vxkd_bench::BenchFolder folder;
  static vkdedit::EditorApi* api = [] {
    VxKd::initVxKd();
    CKdProject project;
    project.buildDefaultProject();
    project.propertyDefs().add(L"Width", L"", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
    project.propertyDefs().add(L"Material", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
    CKdProductGroup root = CKdProductGroup::defaultRoot();
    project.productGroups().append(&root);
    CKdProductGroup group;
    group.init(1, root.dbId(), 1, newGuid(), L"Grilles");
    project.productGroups().append(&group);
    CKdProductGroup* stored = project.productGroups().findGroup(1);
    for (int i = 0; i < kProducts; ++i) {
      CKdProductDef product;
      product.setDbId(i + 1);
      product.setGuid(newGuid());
      product.setDesc(CWsz::fromUtf8(("Grille " + std::to_string(i)).c_str()));
      CKdProperty width(*project.propertyDefs().findName(L"Width"));
      width.setValue(CWsz::fromUtf8(std::to_string(100 + i % 900).c_str()));
      CKdProperty material(*project.propertyDefs().findName(L"Material"));
      material.setValue(i % 2 ? L"Steel" : L"Aluminium");
      product.properties().append(&width);
      product.properties().append(&material);
      stored->products().append(&product);
    }
    const std::string path = folder.file("large.vkd");
    project.saveDbAs(nullptr, CWsz::fromUtf8(path.c_str()));
    auto* opened = new vkdedit::EditorApi(path);
    std::string why;
    if (!opened->open(why)) std::fprintf(stderr, "%s\n", why.c_str());
    return opened;
  }();
  return *api;
}

void BM_ProductPage(benchmark::State& state) {
  vkdedit::EditorApi& api = editor();
  const vkdedit::ApiRequest request{
      "GET", "/products", {{"group", "1"}, {"offset", "5000"}, {"limit", "100"}}, ""};
  for (auto _ : state) {
    vkdedit::ApiReply reply = api.handle(request);
    benchmark::DoNotOptimize(reply.body.dump());
  }
}
BENCHMARK(BM_ProductPage)->Unit(benchmark::kMillisecond);

void BM_ProductPageFiltered(benchmark::State& state) {
  vkdedit::EditorApi& api = editor();
  const vkdedit::ApiRequest request{
      "GET", "/products", {{"group", "1"}, {"filter", "grille 9"}, {"limit", "100"}}, ""};
  for (auto _ : state) {
    vkdedit::ApiReply reply = api.handle(request);
    benchmark::DoNotOptimize(reply.body.dump());
  }
}
BENCHMARK(BM_ProductPageFiltered)->Unit(benchmark::kMillisecond);

}  // namespace
