#include "version/exit_gate.hpp"

#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

namespace norvik::sdk::exit_gate {
namespace {

// Reading the trusted certificates, the longest of a transfer's steps, takes some 50 ms.
constexpr std::chrono::milliseconds kLongestWait{500};
constexpr std::chrono::milliseconds kPollPeriod{1};

// Constant-initialised and trivially destroyed: valid to the very end.
std::atomic<int> g_inside{0};
std::atomic<bool> g_closed{false};
std::atomic<pid_t> g_process{0};
std::once_flag g_handler_once;
thread_local bool t_inside = false;

void close_at_exit() {
  if (::getpid() != g_process) return;  // a forked child does not have the thread
  g_closed = true;
  const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
  while (g_inside > 0 && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(kPollPeriod);
}

}  // namespace

bool enter() {
  std::call_once(g_handler_once, [] {
    g_process = ::getpid();
    g_closed = ::on_exit([](int, void*) { close_at_exit(); }, nullptr) != 0;
  });
  ++g_inside;
  if (!g_closed) return true;
  --g_inside;
  return false;
}

void adopt() { t_inside = true; }

void leave() {
  if (std::exchange(t_inside, false)) --g_inside;
}

void stop_here_at_exit() {
  if (!t_inside || !g_closed) return;
  leave();
  for (;;) ::pause();
}

}  // namespace norvik::sdk::exit_gate
