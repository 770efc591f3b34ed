#include "vxkd/merge/dataset_json.h"

#include "merge/json_reader.h"
#include "merge/json_writer.h"
#include "merge/kinds.h"
#include "vxkd/ui/message_box.h"

namespace VxKd {

namespace {

constexpr const char* kFormatName = "vxkd-dataset";
constexpr int kFormatVersion = 1;

bool readRoot(const JsonNode& root, CKdProject& project, LoadContext& context) {
  if (root.type != JsonNode::typeObject)
    return context.fail(root, "a dataset text is an object, not " + std::string(root.typeName()));
  const JsonNode* format = root.find("format");
  if (!format || format->type != JsonNode::typeString || format->text != kFormatName)
    return context.fail(format ? *format : root,
                        "\"format\" must be \"" + std::string(kFormatName) + "\"");
  const JsonNode* version = root.find("version");
  if (!version || version->type != JsonNode::typeInteger || version->integer != kFormatVersion)
    return context.fail(version ? *version : root,
                        "\"version\" must be " + std::to_string(kFormatVersion) +
                            " (a text written by a newer program cannot be read)");
  for (const JsonMember& member : root.members) {
    datasetKind kind;
    if (member.key != "format" && member.key != "version" &&
        !datasetKindFromKey(member.key.c_str(), kind))
      return context.fail(member.line, "unknown kind \"" + member.key + "\"");
  }
  // In the order of the kinds, whatever the order of the text: the property sets of the
  // products need the definitions first.
  for (int k = 0; k < kindCount; ++k) {
    const datasetKind kind = static_cast<datasetKind>(k);
    const JsonNode* items = root.find(datasetKindKey(kind));
    if (items && !kindAdapter(kind).load(project, *items, context)) return false;
    // The root -1 holds the products and blocks without a group; every catalogue has it
    // after the stored groups, as a read gives it.
    if (kind == kindProductGroups &&
        !project.productGroups().findGroup(CKdProductGroup::rootGroupDefinitions)) {
      const CKdProductGroup rootGroup = CKdProductGroup::defaultRoot();
      project.productGroups().append(&rootGroup);
      invalidateCatalogueIndexes();
    }
  }
  return true;
}

}  // namespace

std::string datasetToJson(const CKdProject& project) {
  invalidateCatalogueIndexes();
  Json root = Json::object();
  root["format"] = kFormatName;
  root["version"] = kFormatVersion;
  for (int k = 0; k < kindCount; ++k) {
    const KindAdapter& kind = kindAdapter(static_cast<datasetKind>(k));
    Json items = Json::array();
    const int n = kind.count(project);
    for (int i = 0; i < n; ++i) items.push_back(kind.dump(project, i));
    root[datasetKindKey(kind.kind())] = std::move(items);
  }
  return writeCanonicalJson(root, compactJsonKeys());
}

bool datasetFromJson(cuWin::HWND hwnd, std::string_view text, CKdProject& project, int* errorLine,
                     std::string* errorText) {
  invalidateCatalogueIndexes();
  JsonNode root;
  LoadContext context;
  CKdProject loaded;
  loaded.resetData();
  bool ok = false;
  try {
    ok = parseJson(text, root, context.error) && readRoot(root, loaded, context);
  } catch (const std::exception& ex) {  // out of memory
    context.fail(0, ex.what());
  }
  if (!ok) {
    if (errorLine) *errorLine = context.error.line;
    if (errorText) *errorText = context.error.message;
    const CWsz detail(cuSz::wformat(L"%ls %d: %ls", lngDbText(18402, L"#Line").wsz(),
                                    context.error.line,
                                    CWsz(cuSz::fromUtf8(context.error.message)).wsz()));
    msgBox(
        hwnd, -1,
        lngDbText(18401, L"#The dataset cannot be built from the text:").cat(L"\r\n").cat(detail),
        18400, L"#Cannot Load Dataset", cuWin::MB_OK, cuWin::MB_ICONSTOP);
    return false;
  }
  project = loaded;
  invalidateCatalogueIndexes();
  return true;
}

}  // namespace VxKd
