// What a preference costs without its cache (one registry read) and with a write, and what
// GUIDs cost to create, print and parse.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "vxkd/foundation/guid.h"
#include "vxkd/foundation/registry.h"

namespace {

// A current-user registry file in a fresh temporary folder holding `values` DWORD values.
class CBenchRegistry {
 public:
  explicit CBenchRegistry(int values) {
    char pattern[] = "/tmp/vxkd-bench-XXXXXX";
    folder_ = mkdtemp(pattern);
    setenv("VXKD_HKCU", (folder_ + "/registry.reg").c_str(), 1);
    key_.initCurrentUserSoftware(L"Tessund", L"Vantrix KD 18");
    for (int i = 0; i < values; ++i)
      key_.writeDw(L"CurVer\\UserPreferences", (L"Value" + std::to_wstring(i)).c_str(), i);
  }
  ~CBenchRegistry() { std::filesystem::remove_all(folder_); }
  const CSystemRegistry& key() const { return key_; }

 private:
  std::string folder_;
  CSystemRegistry key_;
};

void BM_RegistryReadDw(benchmark::State& state) {
  CBenchRegistry registry(static_cast<int>(state.range(0)));
  unsigned long value = 0;
  for (auto _ : state) {
    registry.key().readDw(L"CurVer\\UserPreferences", L"Value0", value);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_RegistryReadDw)->Arg(10)->Arg(100)->Arg(1000);

void BM_RegistryWriteDw(benchmark::State& state) {
  CBenchRegistry registry(static_cast<int>(state.range(0)));
  unsigned long i = 0;
  for (auto _ : state) registry.key().writeDw(L"CurVer\\UserPreferences", L"Value0", ++i);
}
BENCHMARK(BM_RegistryWriteDw)->Arg(10)->Arg(1000)->Unit(benchmark::kMicrosecond);

void BM_GuidCreate(benchmark::State& state) {
  CKdGuid guid;
  for (auto _ : state) benchmark::DoNotOptimize(guid.createValue());
}
BENCHMARK(BM_GuidCreate);

void BM_GuidToSzAndBack(benchmark::State& state) {
  CKdGuid guid, parsed;
  guid.createValue();
  char text[CKdGuid::textBufferSize];
  for (auto _ : state) {
    guid.toSz(text, sizeof text);
    benchmark::DoNotOptimize(parsed.fromSz(text));
  }
}
BENCHMARK(BM_GuidToSzAndBack);

}  // namespace
