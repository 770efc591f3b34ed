// Unit conversion and value printing: the two operations that run once per printed cell of
// a dimension text or report.

#include <benchmark/benchmark.h>

#include "vxkd/properties/property_value.h"
#include "vxkd/properties/unit.h"

namespace {

// One conversion from `from` to `to`. The cases: the first row of the conversion table (the
// cheapest look-up), the last row reversed (the whole table is walked), and no row at all
// (walked, nothing found).
void BM_Convert(benchmark::State& state, CKdUnit::unitId from, CKdUnit::unitId to) {
  CKdUnit unit(from);
  double value = 1.0;
  for (auto _ : state) {
    value = 1.0;
    benchmark::DoNotOptimize(unit.convertValueTo(value, to));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK_CAPTURE(BM_Convert, FirstRow, CKdUnit::unitM, CKdUnit::unitMm);
BENCHMARK_CAPTURE(BM_Convert, LastRowReversed, CKdUnit::unitGpkg, CKdUnit::unitKgpkg);
BENCHMARK_CAPTURE(BM_Convert, NotConvertible, CKdUnit::unitDB, CKdUnit::unitDBA);

void BM_PrintDoubleValue(benchmark::State& state) {
  CKdPropertyValue value;
  value.setDoubleReal(12345.6789);
  CWsz out;
  for (auto _ : state) {
    value.printValue(out, 2);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_PrintDoubleValue);

}  // namespace
