#include "network/picture.hpp"

#include <unistd.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>

#include "host/host_facts.hpp"
#include "host/port_owners.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::tools {
namespace {

constexpr const char* kInternalPrefix = "ovimux/";
// What Fast DDS calls a participant that was given no name.
constexpr const char* kDefaultName = "RTPSParticipant";

std::string host_name() {
  std::array<char, 256> name{};
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

bool is_of_this_machine(const PeerAddress& address) {
  const auto own = list_addresses();
  return address.ip.empty() || std::find(own.begin(), own.end(), address.ip) != own.end();
}

// Completes what can be seen of a process of this machine.
void look_up_here(const Peer& peer, Owner& owner) {
  owner.host = owner.host.empty() ? host_name() : owner.host;
  for (const PeerAddress& address : peer.addresses) {
    if (const auto process = find_port_owner(address.port)) {
      owner.pid = process->pid;  // As this machine counts; a container may count differently.
      owner.process = process->name;
      return;
    }
  }
}

std::string name_of_participant(const Peer& peer) {
  if (!peer.name.empty() && peer.name != kDefaultName) {
    return peer.name;
  }
  return fmt::format("participant {:02x}", fmt::join(peer.id, ""));
}

}  // namespace

std::string Owner::text() const {
  return process + (pid != 0 ? fmt::format(" ({})", pid) : "") + (host.empty() ? "" : " on " + host);
}

bool is_internal(const std::string& topic) { return topic.rfind(kInternalPrefix, 0) == 0; }

Owner identify(const Peer& peer, const Announcement& announcement) {
  Owner owner{"", peer.pid, peer.host, peer.addresses.empty() ? "" : peer.addresses.front().ip};
  if (announcement) {
    const std::string ip = announcement->roles().empty() ? "" : announcement->roles(0).host_ip();
    return {announcement->process_name(), announcement->process_id(), announcement->host_name(),
            ip.empty() ? owner.ip : ip};
  }
  const bool is_here = std::any_of(peer.addresses.begin(), peer.addresses.end(), is_of_this_machine);
  if (is_here) {
    look_up_here(peer, owner);
  }
  owner.process = owner.process.empty() ? name_of_participant(peer) : owner.process;
  owner.host = owner.host.empty() ? owner.ip : owner.host;
  return owner;
}

}  // namespace norvik::tools
