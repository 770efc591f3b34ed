// vkd preview FILE.vkd format ID -o OUT.svg: draws the preview of a dimension text format,
// as the format editor shows it, into an SVG picture.

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "tool.h"
#include "vxkd/dimtext/dimtext.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/svg_writer.h"

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

extern const Command kPreview;

int preview(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  const std::string& path = args[0];
  const std::string& out = options.output;
  if (args[1] != "format" || out.empty()) return usageOf(kPreview);
  // The whole argument is the number: "12x" is a typing error, not format 12.
  long id = 0;
  const char* end = args[2].data() + args[2].size();
  const auto [stop, error] = std::from_chars(args[2].data(), end, id);
  if (args[2].empty() || error != std::errc() || stop != end || id < 0 || id > INT32_MAX) {
    std::fprintf(stderr, "vkd: the format id must be a number, not \"%s\"\n", args[2].c_str());
    return 2;
  }
  CKdProject project;
  if (!project.readDb(nullptr, CWsz::fromUtf8(path.c_str())))
    return failWithBox("cannot read " + path, ui);
  const CKdDimtextFormat* format = project.dimTextFormats().findFmt(id);
  if (!format) return fail(path + " has no dimension text format with id " + std::to_string(id));

  CGmModel model;
  CKdDimtext text;
  if (!text.createPreviewPic(model, *format, project.propertyDefs(), &project.textStyleDefs()))
    return fail("format " + std::to_string(id) + " cannot be laid out: " + whyNotBuilt(*format));
  CGmSvgWriter writer;
  writer.pixelSize = 640;
  if (int error = writeOutputFile(out, writer.write(model)))
    return fail("cannot write " + out + ": " + std::strerror(error));
  std::printf("Wrote the preview of format %ld \"%s\" to %s\n", id, narrow(format->desc()).c_str(),
              out.c_str());
  return 0;
}

const Command kPreview("preview", "FILE.vkd format ID -o OUT.svg",
                       "draw the preview of dimension text format ID as an SVG picture", 3,
                       "output", preview);

}  // namespace
}  // namespace vkd
