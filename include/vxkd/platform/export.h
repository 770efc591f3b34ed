#pragma once
// VXKD_API marks what the shared library exports; everything else stays hidden.

#if defined(VXKD_BUILDING_LIBRARY)
#define VXKD_API __attribute__((visibility("default")))
#else
#define VXKD_API
#endif
