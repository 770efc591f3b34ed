// Building, laying out and drawing a dimension text, as the drawing side does for every
// installed duct, pipe and cable: a three-row text of eight cells must take under 20 µs.

#include <benchmark/benchmark.h>

#include "vxkd/dimtext/dimtext.h"
#include "vxkd/platform/graphics_model.h"

namespace {

// Three rows, eight cells: "DN ", Diameter | Flow, " m/s ", System | "L = ", Length, " m".
constexpr const wchar_t* kFormat =
    L"DN {Diameter}{*CRNL*}{Flow} m/s {System}{*CRNL*}L = {Length} m";
const struct {
  const wchar_t* property;
  const wchar_t* value;
} kValues[] = {
    {L"Diameter", L"125"}, {L"Flow", L"3,5"}, {L"System", L"Zuluft"}, {L"Length", L"12,5"}};

// The drawing side's text: it fills the values and draws through createPic.
class PlacedText : public CKdDimtext {
 public:
  using CKdDimtext::createPic;
};

CKdDimtextFormat benchFormat() {
  CKdDimtextFormat format;
  format.setFmt(kFormat);
  format.setTextHeight(2.5f);
  format.setRefItemSize(1.5f);
  format.options().setBorderType(CKdDimtextOptions::borderRectangle);
  format.options().setReflineType(CKdDimtextOptions::reflineArrow);
  format.options().setAlignmentFlags(CKdDimtextOptions::alignCenter);
  return format;
}

void buildAndDraw(PlacedText& text, const CKdDimtextFormat& format, CGmModel& model) {
  model.clear();
  text.build(format);
  for (const auto& v : kValues) text.findProperty(v.property)->setText(v.value);
  text.setPos({100, 50});
  text.setDir({0.8, 0.6});
  text.addRefPoint({80, 30});
  text.setAllowMasking(true);
  text.createPic(model);
}

void BM_BuildLayOutAndDrawThreeRowText(benchmark::State& state) {
  const CKdDimtextFormat format = benchFormat();
  PlacedText text;
  CGmModel model;
  buildAndDraw(text, format, model);  // the font opened, the glyphs read
  if (text.nCell() != 8 || text.rowCount() != 3)
    state.SkipWithError("not eight cells in three rows");
  for (auto _ : state) {
    buildAndDraw(text, format, model);
    benchmark::DoNotOptimize(model.itemCount());
  }
}
BENCHMARK(BM_BuildLayOutAndDrawThreeRowText)->Unit(benchmark::kMicrosecond);

// The same as the format editor's preview: sample texts and the note filled in.
void BM_PreviewThreeRowText(benchmark::State& state) {
  const CKdDimtextFormat format = benchFormat();
  const CKdPropertyDefArray defs;
  CKdDimtext text;
  CGmModel model;
  for (auto _ : state) {
    model.clear();
    text.createPreviewPic(model, format, defs);
    benchmark::DoNotOptimize(model.itemCount());
  }
}
BENCHMARK(BM_PreviewThreeRowText)->Unit(benchmark::kMicrosecond);

}  // namespace
