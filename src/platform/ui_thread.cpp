#include "platform/ui_thread.h"

#include <atomic>
#include <thread>

namespace {

// No thread yet: the default id, which names no thread.
std::atomic<std::thread::id> gUiThread{};

}  // namespace

namespace cu {

bool onUiThread() {
  std::thread::id self = std::this_thread::get_id();
  std::thread::id known{};
  if (gUiThread.compare_exchange_strong(known, self)) return true;
  return known == self;
}

void claimUiThread() { gUiThread.store(std::this_thread::get_id()); }

void releaseUiThread() { gUiThread.store(std::thread::id{}); }

}  // namespace cu
