#include "network/channel.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "network/held_channels.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::tools {
namespace {

using ovimux::proto::RoleAttributes;

ovimux::proto::RoleType announced_role(Role role) {
  static constexpr ovimux::proto::RoleType kRoles[] = {ovimux::proto::ROLE_TYPE_WRITER, ovimux::proto::ROLE_TYPE_READER,
                                                       ovimux::proto::ROLE_TYPE_SERVER,
                                                       ovimux::proto::ROLE_TYPE_CLIENT};
  return kRoles[static_cast<int>(role)];
}

// Hands out each announced endpoint once.
class AnnouncedRoles {
 public:
  explicit AnnouncedRoles(const Announcement& announcement) {
    if (announcement) {
      for (const RoleAttributes& attributes : announcement->roles()) {
        roles_.emplace(std::pair(attributes.channel_name(), attributes.role_type()), &attributes);
      }
    }
  }

  const RoleAttributes* take(const std::string& channel, Role role) {
    const auto it = roles_.find({channel, announced_role(role)});
    return it == roles_.end() ? nullptr : roles_.extract(it).mapped();
  }

 private:
  std::multimap<std::pair<std::string, ovimux::proto::RoleType>, const RoleAttributes*> roles_;
};

std::string type_of(const HeldChannel& held, const RoleAttributes* announced) {
  if (!held.dds->is_enveloped()) {
    return kUnknownType;
  }
  if (announced != nullptr) {
    return announced->message_type().empty() ? kRawType : announced->message_type();
  }
  const ModelChannel* known = known_channel(held.name);
  return known != nullptr ? known->type : kUnknownType;
}

Endpoint make_endpoint(const Member& member, const HeldChannel& held, const RoleAttributes* announced) {
  return {held.role,
          member.owner,
          announced != nullptr ? announced->node_name() : "",
          type_of(held, announced),
          announced != nullptr,
          *held.dds};
}

void sort_by_role(std::vector<Endpoint>& endpoints) {
  std::stable_sort(endpoints.begin(), endpoints.end(),
                   [](const Endpoint& a, const Endpoint& b) { return a.role < b.role; });
}

}  // namespace

bool Channel::has(Role role) const {
  return std::any_of(endpoints.begin(), endpoints.end(), [role](const Endpoint& e) { return e.role == role; });
}

std::string Channel::type() const {
  std::string fallback = kUnknownType;
  for (const Role role : {Role::kPublishes, Role::kServes, Role::kCalls, Role::kReads}) {
    for (const Endpoint& endpoint : endpoints) {
      if (endpoint.role == role && endpoint.type != kRawType && endpoint.type != kUnknownType) {
        return endpoint.type;
      }
      fallback = endpoint.type == kRawType ? kRawType : fallback;
    }
  }
  return fallback;
}

std::vector<Channel> channels_of(const Picture& picture) {
  std::map<std::string, Channel> by_name;
  for (const Member& member : picture) {
    AnnouncedRoles announced(member.announcement);
    for (const HeldChannel& held : channels_held_by(member.peer)) {
      Channel& channel = by_name[held.name];
      channel.name = held.name;
      // What is announced travels in envelopes.
      const RoleAttributes* attributes = held.dds->is_enveloped() ? announced.take(held.name, held.role) : nullptr;
      channel.endpoints.push_back(make_endpoint(member, held, attributes));
    }
  }
  std::vector<Channel> channels;
  for (auto& [name, channel] : by_name) {
    sort_by_role(channel.endpoints);
    channels.push_back(std::move(channel));
  }
  return channels;
}

}  // namespace norvik::tools
