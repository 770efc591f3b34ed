// Format strings over property sets: buildFmtString runs once per label, dimension text and
// report cell, each time over the whole property set of the object.

#include <benchmark/benchmark.h>

#include <string>

#include "properties/format_string.h"
#include "properties/property.h"

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

}  // namespace
