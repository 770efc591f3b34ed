// The graphics model's share of drawing a dimension text: measuring the cells' texts and
// drawing rows, border and reference line into a model. A three-row text of eight cells
// must be built, laid out and drawn in under 20 µs, so measuring one short text has to cost
// well under a microsecond once the font is open.

#include <benchmark/benchmark.h>

#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/svg_writer.h"
#include "vxkd/platform/text_metrics.h"

namespace {

const wchar_t* const kCells[] = {L"DN 125", L" / ",        L"3,5 m/s", L"Zuluft",
                                 L" ",      L"L = 12,5 m", L"Stahl",   L" verzinkt"};
const int kRowOfCell[] = {0, 0, 0, 1, 1, 1, 2, 2};
constexpr double kHeight = 2.5;

// One short text in a font already open: the cost every cell pays.
void BM_TextWidthShort(benchmark::State& state) {
  CGmTextMetrics& metrics = CGmTextMetrics::standard();
  metrics.textWidth(L"DN 125", L"Arial", kHeight);
  for (auto _ : state) benchmark::DoNotOptimize(metrics.textWidth(L"DN 125", L"Arial", kHeight));
}
BENCHMARK(BM_TextWidthShort);

// The first measurement of new metrics: the font file is opened and the glyphs read.
void BM_TextWidthFirstUse(benchmark::State& state) {
  for (auto _ : state) {
    CGmTextMetrics metrics;
    benchmark::DoNotOptimize(metrics.textWidth(L"DN 125", L"Arial", kHeight));
  }
}
BENCHMARK(BM_TextWidthFirstUse)->Unit(benchmark::kMicrosecond);

// What a dimension text of eight cells in three rows asks of the platform: a width per
// cell, a text line per row, a wipeout and a rectangle, a reference line with an arrow,
// and the bounding box.
void drawThreeRowText(CGmModel& model) {
  CGmTextMetrics& metrics = model.metrics();
  double rowWidth[3] = {0, 0, 0};
  std::wstring rowText[3];
  for (int i = 0; i < 8; ++i) {
    rowWidth[kRowOfCell[i]] += metrics.textWidth(kCells[i], L"Arial", kHeight);
    rowText[kRowOfCell[i]] += kCells[i];
  }
  const double width = std::max({rowWidth[0], rowWidth[1], rowWidth[2]});
  const double margin = 0.3 * kHeight, pitch = 1.6 * kHeight;
  const double height = 3 * kHeight + 2 * 2 * margin;
  const CGmTransform place = CGmTransform::coordinateSystem({100, 50}, {1, 0}, {0, 1});
  model.clear();
  const CGmPointArray frame{{-margin, -margin},
                            {width + margin, -margin},
                            {width + margin, height + margin},
                            {-margin, height + margin}};
  model.addPolyline(frame, true, CGmFill::wipeout, place);
  model.addPolyline(frame, true, CGmFill::none, place);
  for (int row = 0; row < 3; ++row)
    model.addText(rowText[row].c_str(), {0, height - kHeight - row * pitch}, {1, 0}, kHeight,
                  L"Arial", CGmAlign::left, place);
  model.addLine({-margin, -margin}, {-10, -10}, place);
  model.addPolyline({{-10, -10}, {-8.5, -9.2}, {-9.2, -8.5}}, true, CGmFill::solid, place);
  model.closeNode();
  benchmark::DoNotOptimize(model.boundBox());
}

void BM_DrawThreeRowText(benchmark::State& state) {
  CGmModel model;
  drawThreeRowText(model);
  for (auto _ : state) drawThreeRowText(model);
}
BENCHMARK(BM_DrawThreeRowText)->Unit(benchmark::kMicrosecond);

void BM_WriteSvg(benchmark::State& state) {
  CGmModel model;
  drawThreeRowText(model);
  CGmSvgWriter writer;
  for (auto _ : state) benchmark::DoNotOptimize(writer.write(model));
}
BENCHMARK(BM_WriteSvg)->Unit(benchmark::kMicrosecond);

}  // namespace
