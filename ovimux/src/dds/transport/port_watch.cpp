#include "dds/transport/port_watch.hpp"

namespace norvik::ovimux {

// A port that could not be opened has no file yet and is asked for again with its next message.
void PortWatch::remember_unseen() {
  for (const uint32_t port : unseen_) {
    if (const FileId file = look_(port); file != 0) {
      files_.emplace(port, file);
    }
  }
  unseen_.clear();
}

std::optional<uint32_t> PortWatch::replaced_port() const {
  for (const auto& [port, file] : files_) {
    if (const FileId now = look_(port); now != 0 && now != file) {
      return port;
    }
  }
  return std::nullopt;
}

}  // namespace norvik::ovimux
