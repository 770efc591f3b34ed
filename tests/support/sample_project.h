#pragma once
// Projects that hold some of every kind of definition that the text form, the comparison
// and the merge know, for their tests and benchmarks. Everything is deterministic (GUIDs
// from counters), so two calls give equal projects.

#include "vxkd/dataset/project.h"

namespace vxkd_test {

// A GUID made from two numbers: "SSSSSSSS-0000-4000-8000-NNNNNNNNNNNN" in hexadecimal.
CKdGuid numberedGuid(unsigned series, unsigned long long number);

// The default project plus property definitions of each value type, a part ID format, two
// more linetypes, a second text style, three dimension text formats (one in another style),
// a small and a large symbol, a changed layer, a definition in each of the four poly-object
// sets with properties of every type, integrated texts, a linetype and a symbol; four
// product groups (Ventilation/Grilles, Electrical/Cable trays\ladders) with three products
// (one of the root), a block of two items (one standing for a product, one of stored
// graphics) and a report definition of two columns listing the devices of a group.
void fillSampleProject(CKdProject& project);
// fillSampleProject saved as a new dataset file at `path`; false when it cannot be saved.
bool saveSampleDataset(const CWsz& path);

// The default project plus 500 product groups (50 under the root with 9 sub groups each) and
// `products` product definitions spread over them, each with four properties, an integrated
// text, a linetype and a symbol; `series` sets the GUIDs apart (the same series gives the
// same GUIDs).
void fillLargeProject(CKdProject& project, int products, unsigned series = 1);

}  // namespace vxkd_test
