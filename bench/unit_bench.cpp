// Unit conversion and value printing: the two operations that run once per printed cell of
// a dimension text or report.

#include <benchmark/benchmark.h>

#include "properties/property_value.h"
#include "properties/unit.h"

namespace {

// The first row of the conversion table: the cheapest look-up.
void BM_ConvertFirstRow(benchmark::State& state) {
  CKdUnit meters(CKdUnit::unitM);
  double value = 1.0;
  for (auto _ : state) {
    value = 1.0;
    benchmark::DoNotOptimize(meters.convertValueTo(value, CKdUnit::unitMm));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_ConvertFirstRow);

// The last row, reversed: the whole table is walked.
void BM_ConvertLastRowReversed(benchmark::State& state) {
  CKdUnit grams(CKdUnit::unitGpkg);
  double value = 1.0;
  for (auto _ : state) {
    value = 1.0;
    benchmark::DoNotOptimize(grams.convertValueTo(value, CKdUnit::unitKgpkg));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_ConvertLastRowReversed);

// No row at all: the whole table is walked and nothing found.
void BM_ConvertNotConvertible(benchmark::State& state) {
  CKdUnit decibel(CKdUnit::unitDB);
  double value = 1.0;
  for (auto _ : state) benchmark::DoNotOptimize(decibel.convertValueTo(value, CKdUnit::unitDBA));
}
BENCHMARK(BM_ConvertNotConvertible);

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
