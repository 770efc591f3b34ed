#pragma once
// Projects that hold some of every kind of definition that the text form, the comparison
// and the merge know, for their tests and benchmarks. Everything is deterministic (GUIDs
// from counters), so two calls give equal projects.

#include "vxkd/dataset/project.h"

namespace vxkd_test {

// A GUID made from two numbers: "SSSSSSSS-0000-4000-8000-NNNNNNNNNNNN" in hexadecimal.
CKdGuid numberedGuid(unsigned series, unsigned long long number);

// The default project plus property definitions of each value type, two more linetypes, a
// second text style, three dimension text formats (one in another style), a small and a
// large symbol, a changed layer, and a definition in each of the four poly-object sets
// with properties of every type, integrated texts, a linetype and a symbol.
void fillSampleProject(CKdProject& project);

// The default project plus `products` poly-object definitions spread over the four sets,
// each with four properties, an integrated text, a linetype and a symbol; `series` sets the
// GUIDs apart (the same series gives the same GUIDs).
void fillLargeProject(CKdProject& project, int products, unsigned series = 1);

}  // namespace vxkd_test
