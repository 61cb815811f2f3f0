#include "core/signal_watcher.hpp"

#include <semaphore.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

#include "ovimux/log.hpp"

namespace norvik::ovimux {
namespace {

sem_t g_signalled;

// Only async-signal-safe calls: restore the default, so that the next signal kills, and wake the helper thread.
void handle_signal(int signal_number) {
  const int saved_errno = errno;
  std::signal(signal_number, SIG_DFL);
  sem_post(&g_signalled);
  errno = saved_errno;
}

bool install_where_default(int signal_number) {
  struct sigaction current {};
  if (sigaction(signal_number, nullptr, &current) != 0 || current.sa_handler != SIG_DFL) {
    return false;
  }
  struct sigaction action {};
  action.sa_handler = handle_signal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  return sigaction(signal_number, &action, nullptr) == 0;
}

void wait_for_signal(void (*on_signal)()) {
  while (sem_wait(&g_signalled) != 0 && errno == EINTR) {
  }
  on_signal();
}

}  // namespace

void watch_termination_signals(void (*on_signal)()) {
  sem_init(&g_signalled, 0, 0);
  try {
    std::thread(wait_for_signal, on_signal).detach();
  } catch (const std::system_error& error) {
    OVIMUX_LOG(kWarning) << "no thread for signal handling, SIGINT and SIGTERM keep their default: " << error.what();
    return;
  }
  install_where_default(SIGINT);
  install_where_default(SIGTERM);
}

}  // namespace norvik::ovimux
