#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "cli/complaint.hpp"
#include "cli/options.hpp"
#include "dds/participant.hpp"
#include "network/channel.hpp"
#include "network/picture.hpp"

namespace norvik::tools {

// The DDS domain of this run.
int effective_domain(const CommonOptions& common);
bool is_local(const CommonOptions& common);

// Waits until `condition` holds, at most `limit_s` (0: no limit) or until interrupted. Returns whether it holds.
bool wait_until(double limit_s, const std::function<bool()>& condition);
// Lets the time pass, unless interrupted.
void wait_for(double duration_s);

// The tool's presence on the network, one a process. It joins the domain and leaves it with the object. Used by one
// thread.
class Network {
 public:
  explicit Network(const CommonOptions& common);
  ~Network();
  Network(const Network&) = delete;
  Network& operator=(const Network&) = delete;

  Participant& participant() { return participant_; }

  // Everybody who has come up by now.
  Picture picture();

  // Everybody, once nobody new comes up; empty when nobody answers in time.
  Picture await_everybody();

  // Waits for a topic that can be listened to. On failure the complaint says why.
  bool await_target(const std::string& topic, ListenTarget& target, Picture& picture, Complaint& complaint);

  // That nobody answers, and where somebody might be. Looks for other domains, which takes a second.
  Complaint nobody() const;

 private:
  uint64_t changes() const;
  // Until nothing has changed for a while and the condition holds, or the limit is reached.
  void await_quiet(double limit_s, std::chrono::milliseconds quiet, const std::function<bool()>& condition);
  const Owner& owner_of(const Peer& peer, const Announcement& announcement);

  // Sets the environment that the participant is made from.
  struct Environment {
    explicit Environment(const CommonOptions& common);
  };

  const CommonOptions common_;
  const Environment environment_;
  Participant participant_;
  Announcements announcements_;
  std::map<std::pair<PeerId, bool>, Owner> owners_;  // By participant, and whether it announces itself.
};

}  // namespace norvik::tools
