#include "network/announcements.hpp"

#include "dds/sample_tap.hpp"
#include "ovimux/dds/bare_dds.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::tools {
namespace {

ListenTarget announcement_topic() {
  ListenTarget target;
  target.topic = ovimux::AnnouncementTopic();
  target.dds_type = ovimux::kLargeEnvelopeName;
  target.is_reliable = true;
  target.is_latched = true;
  return target;
}

}  // namespace

Announcements::Announcements(Participant& participant) {
  tap_ = std::make_unique<SampleTap>(
      participant, announcement_topic(), true, [this](const SampleHeader& header, Bytes& payload) {
        auto state = std::make_shared<ovimux::proto::TopologyState>();
        if (header.malformed || !state->ParseFromArray(payload.data(), static_cast<int>(payload.size()))) {
          return;
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        latest_[peer_of(header.sender.writer)] = std::move(state);
        ++changes_;
      });
}

Announcements::~Announcements() = default;

std::map<PeerId, Announcement> Announcements::latest() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return latest_;
}

uint64_t Announcements::changes() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return changes_;
}

}  // namespace norvik::tools
