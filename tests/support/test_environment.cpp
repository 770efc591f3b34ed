// Compiled into every test program: before any test runs, the registry is pointed at files
// under the build folder, never at the user's own, and the locales that the build made for
// the tests become reachable. A variable already set by the caller is kept.

#include <cstdlib>

namespace {

struct TestEnvironment {
  TestEnvironment() {
    setenv("VXKD_HKCU", VXKD_TEST_REGISTRY "/hkcu.reg", 0);
    setenv("VXKD_HKLM", VXKD_TEST_REGISTRY "/hklm.reg", 0);
    setenv("LOCPATH", VXKD_TEST_LOCALES, 0);
    // For the programs the tests run: a leak of the system's libraries is not theirs.
    setenv("LSAN_OPTIONS",
           "print_suppressions=0:suppressions=" VXKD_TEST_SOURCE_DIR "/support/lsan.supp", 0);
  }
} testEnvironment;

}  // namespace
