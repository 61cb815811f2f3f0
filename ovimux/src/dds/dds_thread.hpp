#pragma once

#include <functional>

namespace norvik::ovimux {

// Marks the calling thread as one of DDS for its life time. Listener calls make one, since an entity that is deleted
// inside a listener call hangs.
class DdsThreadScope {
 public:
  DdsThreadScope();
  ~DdsThreadScope();
  DdsThreadScope(const DdsThreadScope&) = delete;
  DdsThreadScope& operator=(const DdsThreadScope&) = delete;
};

// True inside a listener call.
bool on_dds_thread();

// Runs `work` here, or on a helper thread if the calling thread is one of DDS. Not at all in a forked child.
void run_off_dds_threads(std::function<void()> work);

}  // namespace norvik::ovimux
