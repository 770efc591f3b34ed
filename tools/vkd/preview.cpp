// vkd preview FILE.vkd KIND NAME -o OUT.svg: draws one definition into an SVG picture. The
// kinds live in the preview_*.cpp files: a dimension text format as its editor shows it, a
// block as its items place it.

#include <cstdio>
#include <cstring>

#include "tool.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/svg_writer.h"

namespace vkd {
namespace {

extern const Command kPreview;

int preview(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  const std::string& path = args[0];
  const std::string& out = options.output;
  if (out.empty()) return usageOf(kPreview);
  const PreviewKind* kind = nullptr;
  for (const PreviewKind* k : previewKinds())
    if (args[1] == k->name) kind = k;
  if (!kind) {
    std::fprintf(stderr, "vkd: nothing of the kind \"%s\" can be previewed\nkinds of preview:\n",
                 args[1].c_str());
    for (const PreviewKind* k : previewKinds())
      std::fprintf(stderr, "  %s %-*s%s\n", k->name, 22 - static_cast<int>(std::strlen(k->name)),
                   k->argument, k->help);
    return exitUsage;
  }
  CKdProject project;
  if (!project.readDb(nullptr, CWsz::fromUtf8(path.c_str())))
    return failWithBox("cannot read " + path, ui);
  CGmModel model;
  std::string what;
  if (int result = kind->draw(project, args[2], model, what)) return result;
  CGmSvgWriter writer;
  writer.pixelSize = 640;
  if (int error = writeOutputFile(out, writer.write(model)))
    return fail("cannot write " + out + ": " + std::strerror(error));
  std::printf("Wrote the preview of %s to %s\n", what.c_str(), out.c_str());
  return exitOk;
}

const Command kPreview("preview", "FILE.vkd KIND NAME -o OUT.svg",
                       "draw a definition as an SVG picture: a dimension text format\n"
                       "(format ID) or a block (block NAME)",
                       3, "output", preview);

}  // namespace
}  // namespace vkd
