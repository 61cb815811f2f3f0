#include "core/signal_watcher.hpp"

#include <semaphore.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

#include "ovimux/log.hpp"

namespace norvik::ovimux {
namespace {

constexpr std::array<int, 2> kSignals = {SIGINT, SIGTERM};

sem_t g_wake;
std::atomic<bool> g_has_thread{false};
std::array<std::atomic<bool>, kSignals.size()> g_installed{};
std::atomic<bool> g_signalled{false};
static_assert(std::atomic<bool>::is_always_lock_free, "is used in a signal handler");

thread_local bool t_is_shutdown_thread = false;

// Only async-signal-safe calls: restore the defaults, so that the next signal kills, and wake the thread.
void handle_signal(int /*signal_number*/) {
  const int saved_errno = errno;
  for (size_t i = 0; i < kSignals.size(); ++i) {
    struct sigaction current {};
    const bool is_ours = g_installed[i].exchange(false) && sigaction(kSignals[i], nullptr, &current) == 0 &&
                         current.sa_handler == handle_signal;
    if (is_ours) {  // The application may have installed its own meanwhile.
      std::signal(kSignals[i], SIG_DFL);
    }
  }
  g_signalled.store(true);
  sem_post(&g_wake);
  errno = saved_errno;
}

void install_where_default(size_t index) {
  struct sigaction current {};
  if (sigaction(kSignals[index], nullptr, &current) != 0 || current.sa_handler != SIG_DFL) {
    return;
  }
  struct sigaction action {};
  action.sa_handler = handle_signal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  g_installed[index].store(true);
  sigaction(kSignals[index], &action, nullptr);
}

void serve(void (*on_event)(bool by_signal)) {
  t_is_shutdown_thread = true;
  bool by_signal = false;
  while (!by_signal) {  // A shutdown without a signal may still be followed by one.
    while (sem_wait(&g_wake) != 0 && errno == EINTR) {
    }
    by_signal = g_signalled.load();
    on_event(by_signal);
  }
}

}  // namespace

void start_shutdown_thread(void (*on_event)(bool by_signal)) {
  sem_init(&g_wake, 0, 0);
  try {
    std::thread(serve, on_event).detach();
  } catch (const std::system_error& error) {
    OVIMUX_LOG(kWarning) << "no thread for signal handling, SIGINT and SIGTERM keep their default: " << error.what();
    return;
  }
  g_has_thread.store(true);
  for (size_t i = 0; i < kSignals.size(); ++i) {
    install_where_default(i);
  }
}

void wake_shutdown_thread() {
  if (g_has_thread.load()) {
    sem_post(&g_wake);
  }
}

bool on_shutdown_thread() { return t_is_shutdown_thread; }

bool termination_signalled() { return g_signalled.load(); }

}  // namespace norvik::ovimux
