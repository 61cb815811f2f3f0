#include "cli/interrupt.hpp"

#include <csignal>

#include <atomic>
#include <initializer_list>

namespace norvik::tools {
namespace {

constexpr int kSignalStatus = 128;

std::atomic<int> g_signal{0};
static_assert(std::atomic<int>::is_always_lock_free, "set in a signal handler");

void remember(int signal) { g_signal = signal; }

}  // namespace

void watch_signals() {
  struct sigaction action = {};
  action.sa_handler = remember;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // No SA_RESTART: a blocked write has to return.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction present = {};
    if (::sigaction(signal, nullptr, &present) == 0 && present.sa_handler != SIG_IGN) {  // Ignored under nohup.
      ::sigaction(signal, &action, nullptr);
    }
  }
  ::signal(SIGPIPE, SIG_IGN);
}

bool is_interrupted() { return g_signal != 0; }

int interrupted_status() { return kSignalStatus + g_signal; }

}  // namespace norvik::tools
