#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

#include "dds/transport/shared_memory_files.hpp"

namespace norvik::ovimux {

// Remembers which file stood behind each port when it was first sent to, and tells when another one has taken its name:
// whoever still has the first one mapped then sends to nobody. For one thread at a time.
class PortWatch {
 public:
  // The file behind a port, 0 when there is none.
  using Look = std::function<FileId(uint32_t port)>;

  explicit PortWatch(Look look) : look_(std::move(look)) {}

  // A message is going to this port, or has just gone.
  void sends_to(uint32_t port) {
    if (files_.count(port) == 0) {
      unseen_.push_back(port);
    }
  }
  // The message has gone, so that the files of all its ports are open by now.
  void sent() {
    if (!unseen_.empty()) {
      remember_unseen();
    }
  }
  // A port whose name leads to another file than at first. A file that is missing may yet be put back.
  std::optional<uint32_t> replaced_port() const;

 private:
  void remember_unseen();

  Look look_;
  std::unordered_map<uint32_t, FileId> files_;
  std::vector<uint32_t> unseen_;
};

}  // namespace norvik::ovimux
