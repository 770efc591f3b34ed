// Look-up, id allocation and sorting over an array of 10,000 definitions.

#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/sz.h"

namespace {

struct Def {
  long id;
  CWsz name;
};

class DefArray : public CKdObjArray {
 public:
  ~DefArray() override { reset(); }
  long idAt(int i) const override { return def(i) ? def(i)->id : 0; }
  const wchar_t* nameAt(int i) const override { return def(i) ? def(i)->name.wsz() : emptyWsz(); }
  const Def* def(int i) const { return static_cast<const Def*>(objAt(i)); }

 protected:
  void* objClone(const void* obj) const override {
    return obj ? new Def(*static_cast<const Def*>(obj)) : nullptr;
  }
  void objDelete(void* obj) const override { delete static_cast<Def*>(obj); }
  int sortCmp(int sortId, const void* a, const void* b) const override {
    if (sortId < 1) std::swap(a, b);
    return cuSz::compareNoCase(static_cast<const Def*>(a)->name, static_cast<const Def*>(b)->name);
  }
};

constexpr int kCount = 10000;

// Names in random order, ids 1..kCount shuffled.
void fill(DefArray& a) {
  std::mt19937 rng(7);
  std::vector<long> ids(kCount);
  for (int i = 0; i < kCount; ++i) ids[i] = i + 1;
  std::shuffle(ids.begin(), ids.end(), rng);
  for (long id : ids) {
    Def d{id, CWsz(L"Définition " + std::to_wstring(rng() % 1000000))};
    a.append(&d);
  }
}

void BM_FindNameLast(benchmark::State& state) {
  DefArray a;
  fill(a);
  std::wstring name = a.nameAt(kCount - 1);
  for (auto& c : name) c = static_cast<wchar_t>(cuSz::foldCase(c));  // differs in case only
  for (auto _ : state) benchmark::DoNotOptimize(a.findName(name.c_str()));
}
BENCHMARK(BM_FindNameLast)->Unit(benchmark::kMicrosecond);

void BM_NextIdAppend(benchmark::State& state) {
  DefArray a;
  fill(a);
  for (auto _ : state) benchmark::DoNotOptimize(a.nextId(1, 999999));
}
BENCHMARK(BM_NextIdAppend)->Unit(benchmark::kMicrosecond);

void BM_NextIdGapSearch(benchmark::State& state) {
  // The highest id is the maximum, so the search walks the range for a gap: here the id
  // in the middle, each candidate a linear scan.
  DefArray a;
  fill(a);
  a.deleteAt(a.indexOfId(kCount / 2));
  for (auto _ : state) benchmark::DoNotOptimize(a.nextId(1, kCount));
}
BENCHMARK(BM_NextIdGapSearch)->Unit(benchmark::kMillisecond);

void BM_SortByName(benchmark::State& state) {
  DefArray source;
  fill(source);
  for (auto _ : state) {
    state.PauseTiming();
    DefArray a;
    a.append(source);
    state.ResumeTiming();
    a.sort(1);
    benchmark::DoNotOptimize(a.objAt(0));
  }
}
BENCHMARK(BM_SortByName)->Unit(benchmark::kMillisecond);

}  // namespace
