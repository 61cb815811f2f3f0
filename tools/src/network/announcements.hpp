#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "dds/peer.hpp"

namespace norvik::ovimux::proto {
class TopologyState;
}

namespace norvik::tools {

class Participant;
class SampleTap;

using Announcement = std::shared_ptr<const ovimux::proto::TopologyState>;

// Keeps what processes say of themselves beyond DDS discovery: names of nodes, message types and their schemas. Only
// processes that are built with this library do.
class Announcements {
 public:
  explicit Announcements(Participant& participant);
  ~Announcements();

  // Of processes that have gone as well: ask discovery who is there.
  std::map<PeerId, Announcement> latest() const;
  // Grows with every announcement.
  uint64_t changes() const;

 private:
  mutable std::mutex mutex_;
  std::map<PeerId, Announcement> latest_;
  uint64_t changes_ = 0;
  std::unique_ptr<SampleTap> tap_;  // Last: samples arrive as soon as it exists.
};

}  // namespace norvik::tools
