// vkd merge [--plan FILE | --write-plan FILE] [--dry-run] [--format json] SOURCE.vkd
// TARGET.vkd: takes the definitions of SOURCE into TARGET. Without a plan, what only SOURCE
// has is created, what is equal is left as it is, and what differs is skipped. --write-plan
// writes that plan for an administrator to edit instead of merging; --plan follows an
// edited one; --dry-run shows the report and changes nothing. TARGET is changed under its
// edit lock in one transaction: all of the plan or nothing.

#include <cstdio>
#include <cstring>

#include "tool.h"
#include "vxkd/merge/comparison.h"
#include "vxkd/merge/dataset_merge.h"
#include "vxkd/merge/merge_plan.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

// A plan larger than this is not read.
constexpr size_t kMaxPlanBytes = size_t{1} << 28;

extern const Command kMerge;

void printReport(const CKdMergeReport& report, const std::string& heading) {
  std::printf("%s: %d created, %d overwritten, %d mapped, %d skipped\n", heading.c_str(),
              report.count(CKdMergePlan::actionCreate), report.count(CKdMergePlan::actionOverwrite),
              report.count(CKdMergePlan::actionMap), report.count(CKdMergePlan::actionSkip));
  for (int k = 0; k < VxKd::kindCount; ++k) {
    const auto kind = static_cast<VxKd::datasetKind>(k);
    bool headed = false;
    for (const CKdMergeReport::Line& line : report.lines()) {
      // An item mapped to its namesake is the everyday case: only the count shows it.
      if (line.kind != kind ||
          (line.act == CKdMergePlan::actionMap && cuSz::equalNoCase(line.name, line.targetName)))
        continue;
      if (!headed) {
        std::printf("%s\n", narrow(VxKd::datasetKindTitle(kind)).c_str());
        headed = true;
      }
      std::string text = narrow(line.name);
      switch (line.act) {
        case CKdMergePlan::actionCreate:
          if (line.targetId) text += " (id " + std::to_string(line.targetId) + ")";
          break;
        case CKdMergePlan::actionMap:
          text += " to " + narrow(line.targetName);
          break;
        case CKdMergePlan::actionSkip:
          text += line.targetName.isEmpty() ? " (not taken)" : " (the current one stays)";
          break;
        default:
          break;
      }
      std::printf("  %-11s %s\n", narrow(CKdMergePlan::actionTitle(line.act)).c_str(),
                  text.c_str());
    }
  }
}

int runMerge(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  if (!options.plan.empty() && !options.writePlan.empty()) {
    std::fprintf(stderr, "vkd: give --plan or --write-plan, not both\n");
    return usageOf(kMerge);
  }
  if (options.dryRun && !options.writePlan.empty()) {
    std::fprintf(stderr, "vkd: --write-plan merges nothing already; --dry-run goes with --plan\n");
    return usageOf(kMerge);
  }
  const std::string& from = args[0];
  const std::string& into = args[1];
  std::string planText;
  if (!options.plan.empty())
    if (int error = CEnv::current().readWholeFile(options.plan, planText, kMaxPlanBytes))
      return fail("cannot read the plan " + options.plan + ": " + std::strerror(error));
  CKdProject source;
  if (!source.readDb(nullptr, CWsz::fromUtf8(from.c_str())))
    return fail("cannot read " + from + ": " + failureOf(source, ui));
  CKdProject target;
  if (!target.readDb(nullptr, CWsz::fromUtf8(into.c_str())))
    return fail("cannot read " + into + ": " + failureOf(target, ui));

  // A second round when another user saved TARGET between reading and locking it: the plan
  // is made again for what TARGET holds now.
  for (int round = 0; round < 2; ++round) {
    CKdDatasetComparison comparison;
    comparison.compare(source, target);
    CKdMergePlan plan;
    if (planText.empty()) {
      plan.buildDefault(comparison);
    } else {
      int line = 0;
      std::string why;
      if (!plan.fromJson(nullptr, planText, comparison, source, target, &line, &why))
        return fail(options.plan + " line " + std::to_string(line) + ": " + why +
                    "; nothing was merged");
    }
    if (!options.writePlan.empty()) {
      if (int error = writeOutputFile(options.writePlan, plan.toJson(comparison, source, target)))
        return fail("cannot write " + options.writePlan + ": " + std::strerror(error));
      std::printf(
          "Wrote the plan of merging %s into %s to %s: %d to create, %d to map, %d to skip\n"
          "Edit the \"action\" of an item (create, overwrite, map, skip; \"target\" names the\n"
          "item to map to) and merge with --plan %s\n",
          from.c_str(), into.c_str(), options.writePlan.c_str(),
          comparison.count(CKdComparisonItem::onlyInSource),
          comparison.count(CKdComparisonItem::equal),
          comparison.count(CKdComparisonItem::different), options.writePlan.c_str());
      return exitOk;
    }
    CKdMergeReport report;
    if (options.dryRun) {
      CKdProject copy(target);
      if (!VxKd::applyMergePlan(nullptr, source, copy, plan, report))
        return failWithBox("cannot merge " + from + " into " + into, ui);
      if (options.format == "json")
        std::printf("%s", report.toJson().c_str());
      else
        printReport(report, "Would merge " + from + " into " + into + " (nothing was changed)");
      return exitOk;
    }
    const int merged = VxKd::mergeIntoDataset(nullptr, source, target, plan, report);
    if (merged == 0) {
      if (options.format == "json")
        std::printf("%s", report.toJson().c_str());
      else
        printReport(report, "Merged " + from + " into " + into);
      return exitOk;
    }
    if (merged != 1) break;
  }
  return failWithBox("cannot merge " + from + " into " + into + "; nothing was changed", ui);
}

const Command kMerge("merge",
                     "[--plan FILE | --write-plan FILE] [--dry-run] [--format json] "
                     "SOURCE.vkd TARGET.vkd",
                     "take the definitions of SOURCE into TARGET: create what only\n"
                     "SOURCE has, keep what is equal, skip what differs, or follow\n"
                     "a plan that --write-plan wrote and an administrator edited",
                     2, "plan,write-plan,dry-run,format", runMerge);

}  // namespace
}  // namespace vkd
