// vkd diff [--format json] A.vkd B.vkd: compares two datasets item by item, grouped by kind
// of definition, as the merge of A into B sees them. Exits with 0 when they are equal, 1
// when they differ and 2 when they cannot be compared, as diff(1) does.

#include <algorithm>
#include <cstdio>

#include "tool.h"
#include "vxkd/merge/comparison.h"

namespace vkd {
namespace {

constexpr int kDiffTrouble = 2;

void printText(const CKdDatasetComparison& comparison, const std::string& a, const std::string& b) {
  const std::string onlyInA = "only in " + a;
  const std::string onlyInB = "only in " + b;
  for (int k = 0; k < VxKd::kindCount; ++k) {
    const auto kind = static_cast<VxKd::datasetKind>(k);
    const int equal = comparison.count(kind, CKdComparisonItem::equal);
    bool headed = false;
    for (const CKdComparisonItem& item : comparison.items()) {
      if (item.kind != kind || item.itemState == CKdComparisonItem::equal) continue;
      if (!headed) {
        std::printf("%s (%d equal)\n", narrow(VxKd::datasetKindTitle(kind)).c_str(), equal);
        headed = true;
      }
      const std::string state = item.itemState == CKdComparisonItem::different      ? "different"
                                : item.itemState == CKdComparisonItem::onlyInSource ? onlyInA
                                                                                    : onlyInB;
      std::printf("  %-*s  %s\n", static_cast<int>(std::max(onlyInA.size(), onlyInB.size())),
                  state.c_str(), narrow(item.name).c_str());
      for (const CKdFieldDifference& field : item.fields)
        std::printf("      %s: %s %s, %s %s\n", field.field.c_str(), a.c_str(),
                    field.source.c_str(), b.c_str(), field.current.c_str());
    }
  }
  std::printf("%d equal, %d different, %d %s, %d %s\n", comparison.count(CKdComparisonItem::equal),
              comparison.count(CKdComparisonItem::different),
              comparison.count(CKdComparisonItem::onlyInSource), onlyInA.c_str(),
              comparison.count(CKdComparisonItem::onlyInCurrent), onlyInB.c_str());
}

int runDiff(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  CKdProject a, b;
  if (!a.readDb(nullptr, CWsz::fromUtf8(args[0].c_str()))) {
    fail("cannot read " + args[0] + ": " + failureOf(a, ui));
    return kDiffTrouble;
  }
  if (!b.readDb(nullptr, CWsz::fromUtf8(args[1].c_str()))) {
    fail("cannot read " + args[1] + ": " + failureOf(b, ui));
    return kDiffTrouble;
  }
  CKdDatasetComparison comparison;
  comparison.compare(a, b);
  if (options.format == "json")
    std::printf("%s", comparison.toJson().c_str());
  else
    printText(comparison, args[0], args[1]);
  return comparison.isEqual() ? exitOk : exitFailure;
}

const Command kDiff("diff", "[--format json] A.vkd B.vkd",
                    "compare two datasets item by item; exit 0 when equal,\n"
                    "1 when they differ, 2 when they cannot be compared",
                    2, "format", runDiff);

}  // namespace
}  // namespace vkd
