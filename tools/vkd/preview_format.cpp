// vkd preview FILE.vkd format ID -o OUT.svg: the preview of a dimension text format, as the
// format editor shows it.

#include <charconv>
#include <cstdint>
#include <cstdio>

#include "tool.h"
#include "vxkd/dimtext/dimtext.h"

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

int drawFormat(const CKdProject& project, const std::string& name, CGmModel& model,
               std::string& what) {
  // The whole argument is the number: "12x" is a typing error, not format 12.
  long id = 0;
  const char* end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data(), end, id);
  if (name.empty() || error != std::errc() || stop != end || id < 0 || id > INT32_MAX) {
    std::fprintf(stderr, "vkd: the format id must be a number, not \"%s\"\n", name.c_str());
    return exitUsage;
  }
  const CKdDimtextFormat* format = project.dimTextFormats().findFmt(id);
  if (!format)
    return fail(narrow(project.fileName()) + " has no dimension text format with id " +
                std::to_string(id));
  CKdDimtext text;
  if (!text.createPreviewPic(model, *format, project.propertyDefs(), &project.textStyleDefs()))
    return fail("format " + std::to_string(id) + " cannot be laid out: " + whyNotBuilt(*format));
  what = "format " + std::to_string(id) + " \"" + narrow(format->desc()) + "\"";
  return exitOk;
}

const PreviewKind kFormat("format", "ID", "a dimension text format as its editor shows it",
                          drawFormat);

}  // namespace
}  // namespace vkd
