#pragma once
// VXKD_API marks what the shared library exports; everything else stays hidden. VXKD_LOCAL
// keeps a part of an exported class (its implementation) out of the export.

#if defined(VXKD_BUILDING_LIBRARY)
#define VXKD_API __attribute__((visibility("default")))
#define VXKD_LOCAL __attribute__((visibility("hidden")))
#else
#define VXKD_API
#define VXKD_LOCAL
#endif
