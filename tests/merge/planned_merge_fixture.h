#pragma once
// Two sample datasets that differ in three property definitions, compared, with the default
// plan of merging the source into the current one: Pressure only in the source, Height
// different (2 decimals in the current one), Noise only in the current one.

#include "support/sample_project.h"
#include "support/ui_fixture.h"
#include "vxkd/merge/merge_plan.h"

namespace vxkd_test {

class PlannedMergeTest : public TextsUiTest {
 protected:
  void SetUp() override {
    TextsUiTest::SetUp();
    fillSampleProject(source_);
    fillSampleProject(current_);
    source_.propertyDefs().add(L"Pressure", L"", CKdPropertyValue::typeDoubleReal, CKdUnit(), 1);
    current_.propertyDefs().findName(L"Height")->setDecimals(2);
    current_.propertyDefs().add(L"Noise", L"", CKdPropertyValue::typeInt16, CKdUnit(), 0);
    comparison_.compare(source_, current_);
    plan_.buildDefault(comparison_);
  }

  CKdProject source_;
  CKdProject current_;
  CKdDatasetComparison comparison_;
  CKdMergePlan plan_;
};

}  // namespace vxkd_test
