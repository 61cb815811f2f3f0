#include "log_sinks/unblocked_write.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <string>

namespace norvik::sdk {

namespace {

// A terminal that is ready may still take less than it is given, and then lets the writer wait; opened anew, with a
// flag that is only this library's, it does not. -1 for everything else, and where that is not allowed.
int open_terminal_anew(int descriptor) {
  if (::isatty(descriptor) == 0) return -1;
  const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
  return ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

bool write_what_is_taken(int descriptor, std::string_view text) {
  while (!text.empty()) {
    pollfd writable{descriptor, POLLOUT, 0};
    if (::poll(&writable, 1, 0) != 1 || writable.revents != POLLOUT) return false;
    // A pipe that is ready takes this much at once.
    const ssize_t count = ::write(descriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (count <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace

bool write_unblocked(int descriptor, std::string_view text) {
  const int terminal = open_terminal_anew(descriptor);
  if (terminal < 0) return write_what_is_taken(descriptor, text);
  const bool written = write_what_is_taken(terminal, text);
  ::close(terminal);
  return written;
}

}  // namespace norvik::sdk
