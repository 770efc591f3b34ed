#pragma once
// The user-interface thread. The library's global state (installed backends, the language
// database, preferences, start-up folders) belongs to one thread, as the host's windows do:
// the thread that called initVxKd, or before that the first thread that reached that state.
// Debug builds assert it where the state is reached; release builds do not check.

#include <cassert>

namespace cu {

// True on the user-interface thread; the first thread to ask while none is known becomes it.
bool onUiThread();
// Makes the calling thread the user-interface thread (initVxKd), or forgets it (exitVxKd).
void claimUiThread();
void releaseUiThread();

}  // namespace cu

// Stops a debug build when called off the user-interface thread.
#define VXKD_ASSERT_UI_THREAD() \
  assert(cu::onUiThread() && "vxkd is called off its user-interface thread")
