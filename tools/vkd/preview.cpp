// vkd preview FILE.vkd KIND ID -o OUT.svg: draws a definition into an SVG picture:
//   format ID    the preview of a dimension text format, as the format editor shows it
//   product KEY  a piece of the product's line with its integrated texts placed at their
//                offsets and filled with the product's values, as a drawing shows them
//   symbol KEY   a 2D symbol with its id and description below it

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "show.h"
#include "tool.h"
#include "vxkd/dimtext/dimtext.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/svg_writer.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

// Why a format does not build: what its string holds that the layout refuses.
std::string whyNotBuilt(const CKdDimtextFormat& format) {
  const CWsz& fmt = format.fmt();
  if (fmt.isEmpty()) return "its format string is empty";
  if (fmt.length() > CKdDimtext::kMaxFormatChars)
    return "its format string has " + std::to_string(fmt.length()) + " characters, more than " +
           std::to_string(CKdDimtext::kMaxFormatChars);
  return "its format string has a \"{\" without a \"}\"";
}

// The grey of captions, so that they stand apart from what they describe.
constexpr int16_t kCaptionColor = 8;
constexpr double kCaptionHeight = 1.6;
// The piece of a product's line that is drawn, at least.
constexpr double kMinLineLength = 40;

// A dimension text placed as a drawing places a product's integrated text: its cells filled
// with the product's values, at an offset from the installation point, along the product.
class PlacedText : public CKdDimtext {
 public:
  bool draw(CGmModel& model, const CKdDimtextFormat& format, const CKdProductDef& product,
            const CKdTextStyleDefArray& styles, const CGmPoint& at, const CGmVector& dir,
            const CGmPoint& target) {
    if (!build(format)) return false;
    setFontFromStyles(styles);
    static const CWsz kNote = L"*NOTE*";
    for (int i = 0; i < nCell(); ++i) {
      CKdDimtextCell cell;
      getCellAt(i, cell);
      if (cell.property().isEmpty() || cuSz::equalNoCase(cell.property(), kNote)) continue;
      CWsz value;
      product.getPropertyValue(CWsz(), cell.property(), value);
      cell.setText(value);
      setCellAt(i, cell);
    }
    setNote(kNote, L"");
    sortCells();
    setPos(at);
    setDir(dir);
    addRefPoint(target);
    setAllowMasking(false);
    return createPic(model);
  }
};

int writePicture(const CGmModel& model, const std::string& out, int pixels) {
  CGmSvgWriter writer;
  writer.pixelSize = pixels;
  if (int error = writeOutputFile(out, writer.write(model)))
    return fail("cannot write " + out + ": " + std::strerror(error));
  return exitOk;
}

int previewFormat(const CKdProject& project, const std::string& path, const std::string& key,
                  const std::string& out) {
  long id = 0;
  if (!parseId(key, id) || id < 0) {
    std::fprintf(stderr, "vkd: the format id must be a number, not \"%s\"\n", key.c_str());
    return exitUsage;
  }
  const CKdDimtextFormat* format = project.dimTextFormats().findFmt(id);
  if (!format)
    return failInput(path + " has no dimension text format with id " + std::to_string(id));
  CGmModel model;
  CKdDimtext text;
  if (!text.createPreviewPic(model, *format, project.propertyDefs(), &project.textStyleDefs()))
    return fail("format " + std::to_string(id) + " cannot be laid out: " + whyNotBuilt(*format));
  if (int status = writePicture(model, out, 640)) return status;
  std::printf("Wrote the preview of format %ld \"%s\" to %s\n", id, narrow(format->desc()).c_str(),
              out.c_str());
  return exitOk;
}

int previewProduct(const CKdProject& project, const std::string& key, const std::string& out) {
  const CKdProductDef* product = nullptr;
  const PolySet* set = nullptr;
  if (int status = findPolyProduct(project, key, product, set)) return status;
  CGmModel model;
  // The texts first, so that the line can reach past the widest of them.
  const CKdIntegratedTextArray& texts = product->getIntegratedTexts();
  std::vector<std::string> missing;
  for (int i = 0; i < texts.length(); ++i) {
    const CKdIntegratedText& text = *texts.objAt(i);
    const CKdDimtextFormat* format = project.dimTextFormats().findFmt(text.formatId());
    if (!format) {
      missing.push_back(std::to_string(text.formatId()));
      continue;
    }
    const double angle = text.rotation() * std::numbers::pi / 180;
    PlacedText placed;
    if (!placed.draw(model, *format, *product, project.textStyleDefs(),
                     {text.xOffset(), text.yOffset()}, {std::cos(angle), std::sin(angle)}, {}))
      return fail("format " + std::to_string(format->id()) +
                  " cannot be laid out: " + whyNotBuilt(*format));
  }
  // The line in the product's colour, or its layer's.
  const CGmBox box = model.boundBox();
  const double half =
      std::max(kMinLineLength,
               2 * std::max(std::abs(box.minimum().x), std::abs(box.maximum().x)) + 10) /
      2;
  short colour = product->colorNmb();
  if (colour == CKdProductDef::colorByLayer)
    if (const CKdLayerDef* layer = project.layerDefs().findLayerDef(set->layer))
      colour = layer->colorNmb();
  model.setColor(colour);
  model.addLine({-half, 0}, {half, 0});
  model.closeNode();
  model.setColor(kCaptionColor);
  const double below = std::min(0.0, model.boundBox().minimum().y) - 2.5 * kCaptionHeight;
  model.addText(CWsz::fromUtf8((std::string(set->name) + ":" + std::to_string(product->dbId()) +
                                "  " + narrow(product->desc()))
                                   .c_str()),
                {-half, below}, {1, 0}, kCaptionHeight, CKdDimtext::kDefaultFont);
  model.closeNode();
  if (int status = writePicture(model, out, 800)) return status;
  std::printf("Wrote %s:%ld \"%s\" with %d integrated text%s to %s\n", set->name, product->dbId(),
              narrow(product->desc()).c_str(), texts.length(), texts.length() == 1 ? "" : "s",
              out.c_str());
  for (const std::string& id : missing)
    warn("dimension text format " + id + " is missing; its text is not drawn");
  return exitOk;
}

int previewSymbol(const CKdProject& project, const std::string& key, const std::string& out) {
  Shown shown;
  const CVxSymbolModelArray& symbols = project.symbols();
  long id = 0;
  const CVxSymbolModel* symbol = parseId(key, id) ? symbols.findId(id) : nullptr;
  if (!symbol && symbols.find(key.c_str()) >= 0) symbol = symbols.objAt(symbols.find(key.c_str()));
  if (!symbol) return failInput("the dataset has no symbol \"" + key + "\"");
  CGmModel model;
  symbol->addTo(model);
  model.closeNode();
  const CGmBox box = model.boundBox();
  model.setColor(kCaptionColor);
  const double height = std::max(0.6, std::min(kCaptionHeight, box.width() / 8));
  const double x = (box.minimum().x + box.maximum().x) / 2;
  model.addText(CWsz::fromUtf8(symbol->symbolId()), {x, box.minimum().y - 2.2 * height}, {1, 0},
                height, CKdDimtext::kDefaultFont, CGmAlign::center);
  model.addText(symbol->desc(), {x, box.minimum().y - 3.8 * height}, {1, 0}, 0.8 * height,
                CKdDimtext::kDefaultFont, CGmAlign::center);
  model.closeNode();
  if (int status = writePicture(model, out, 320)) return status;
  std::printf("Wrote symbol %ld \"%s\" to %s\n", symbol->projectId(), symbol->symbolId(),
              out.c_str());
  return exitOk;
}

extern const Command kPreview;

int preview(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  const std::string& path = args[0];
  const std::string& kind = args[1];
  const std::string& out = options.output;
  if ((kind != "format" && kind != "product" && kind != "symbol") || out.empty())
    return usageOf(kPreview);
  CKdProject project;
  if (int status = readProject(path, project, ui)) return status;
  if (kind == "format") return previewFormat(project, path, args[2], out);
  if (kind == "product") return previewProduct(project, args[2], out);
  return previewSymbol(project, args[2], out);
}

const Command kPreview("preview", "FILE.vkd format|product|symbol ID -o OUT.svg",
                       "draw a dimension text format, a product with its texts or a\n"
                       "symbol as an SVG picture",
                       3, "output", preview,
                       "format ID     the format's preview as the format editor shows it, with\n"
                       "              sample values (\"#.#\") and a sample note\n"
                       "product KEY   a piece of the product's line with its integrated texts at\n"
                       "              their offsets, filled with the product's values; KEY as\n"
                       "              for `vkd show` (duct:3, an id or a description)\n"
                       "symbol KEY    a 2D symbol by its id or symbol id, with its caption");

}  // namespace
}  // namespace vkd
