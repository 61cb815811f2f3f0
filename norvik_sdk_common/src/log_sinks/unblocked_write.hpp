#pragma once

#include <string_view>

namespace norvik::sdk {

// Writes `text` to a file descriptor as far as that goes without waiting for a reader: a full pipe and a stopped
// terminal take nothing. True when all of it was written. Never raises SIGPIPE for a pipe whose reader has gone before.
bool write_unblocked(int descriptor, std::string_view text);

}  // namespace norvik::sdk
