#include "log_sinks/unblocked_write.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

namespace norvik::sdk {

bool write_unblocked(int descriptor, std::string_view text) {
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

}  // namespace norvik::sdk
