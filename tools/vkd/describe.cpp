// vkd describe FILE.vkd [-o OUT.json]: the dataset as a JSON description, the form that vkd
// new --from builds a dataset of: so a dataset can be read, kept under version control,
// edited and built again.

#include <cstdio>
#include <cstring>

#include "json_form.h"
#include "tool.h"

namespace vkd {
namespace {

Json describe(const CKdProject& project) {
  Json out = Json::object();
  out["about"] =
      Json::array({"A dataset description written by vkd describe: vkd new --from "
                   "builds the dataset it describes."});
  auto section = [&](const char* key, const auto& array) {
    Json list = Json::array();
    for (int i = 0; i < array.length(); ++i) list.push_back(toJson(*array.objAt(i)));
    out[key] = std::move(list);
  };
  section("propertyDefinitions", project.propertyDefs());
  // The built-in CONTINUOUS is in every dataset and is not described.
  Json linetypes = Json::array();
  for (int i = 0; i < project.linetypeDefs().length(); ++i) {
    const CKdLinetypeDef& linetype = *project.linetypeDefs().objAt(i);
    if (!CKdLinetypeDefArray::isBuiltInName(linetype.name())) linetypes.push_back(toJson(linetype));
  }
  out["linetypes"] = std::move(linetypes);
  section("textStyles", project.textStyleDefs());
  section("layers", project.layerDefs());
  section("dimensionTextFormats", project.dimTextFormats());
  section("symbols", project.symbols());
  Json products = Json::array();
  for (const PolySet& set : kPolySets) {
    const CKdProductDefArray& defs = *project.polyDefSets(set.type);
    for (int i = 0; i < defs.length(); ++i) products.push_back(toJson(*defs.objAt(i), &set));
  }
  out["polyObjectDefinitions"] = std::move(products);
  return out;
}

int runDescribe(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  const std::string text =
      describe(project).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  if (options.output.empty()) {
    std::fputs(text.c_str(), stdout);
    return exitOk;
  }
  if (int error = writeOutputFile(options.output, text))
    return fail("cannot write " + options.output + ": " + std::strerror(error));
  std::printf("Wrote the description of %s to %s\n", args[0].c_str(), options.output.c_str());
  return exitOk;
}

const Command kDescribe("describe", "FILE.vkd [-o OUT.json]",
                        "write the dataset as a JSON description, which vkd new --from\n"
                        "builds again",
                        1, "output", runDescribe,
                        "The description lists every definition in the form of the sample\n"
                        "(sample-dataset.json in the program folder): property definitions,\n"
                        "linetypes (but the built-in CONTINUOUS), text styles, the 24 layers,\n"
                        "dimension text formats, symbols and the poly-object definitions. It\n"
                        "goes to standard output, or into OUT.json with -o.");

}  // namespace
}  // namespace vkd
