#pragma once

#include <string>
#include <vector>

#include "dds/peer.hpp"
#include "network/announcements.hpp"

namespace norvik::tools {

// Whose a participant is. What nobody tells is empty, a pid 0.
struct Owner {
  std::string process;
  int pid = 0;
  std::string host;
  std::string ip;

  // "norvik_simulator (1234) on robot"
  std::string text() const;
};

struct Member {
  Peer peer;
  Owner owner;
  Announcement announcement;  // Null: it announces nothing.
};

// Everybody on the network who has a writer or a reader.
using Picture = std::vector<Member>;

// Topics of the middleware's own, which are no channels of anybody.
bool is_internal(const std::string& topic);

// What the participant itself tells of its owner, and what the tables of this machine tell when it is here.
Owner identify(const Peer& peer, const Announcement& announcement);

}  // namespace norvik::tools
