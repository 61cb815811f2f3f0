#pragma once

#include <functional>
#include <string>

#include "cli/options.hpp"
#include "network/channel.hpp"

namespace norvik::tools {

// The DDS domain of this run.
int effective_domain(const CommonOptions& common);
bool is_local(const CommonOptions& common);

// Waits until `condition` holds, at most `limit_s` (0: no limit) or until interrupted. Returns whether it holds.
bool wait_until(double limit_s, const std::function<bool()>& condition);

// The tool's presence on the network, one a process. It joins the domain and leaves it with the object.
class Network {
 public:
  explicit Network(const CommonOptions& common);
  ~Network();
  Network(const Network&) = delete;
  Network& operator=(const Network&) = delete;

  // Everybody's announcements, once no new ones come in; empty when nobody answers in time.
  Topology await_everybody() const;

  // Waits for a topic that can be listened to. On failure the complaint says why.
  bool await_target(const std::string& topic, ListenTarget& target, Topology& topology, Complaint& complaint) const;

  // That nobody answers, and where somebody might be. Looks for other domains, which takes a second.
  Complaint nobody() const;

 private:
  const CommonOptions common_;
};

}  // namespace norvik::tools
