#include "network/network.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "cli/interrupt.hpp"
#include "host/host_facts.hpp"
#include "network/domain_probe.hpp"

namespace norvik::tools {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::milliseconds kPollPeriod{20};
// Processes of this library announce themselves four times a second, and everybody answers a newcomer at once.
constexpr std::chrono::milliseconds kQuietTime{600};
// The period of programs with the defaults of DDS, whose answer to a newcomer may get lost.
constexpr double kForeignPeriod = 3.2;
constexpr std::chrono::milliseconds kSettleTime{200};
constexpr double kSettleLimit = 1.0;

bool has_channels(const Peer& peer) {
  return std::any_of(peer.endpoints.begin(), peer.endpoints.end(),
                     [](const auto& entry) { return !is_internal(entry.second.topic); });
}

}  // namespace

int effective_domain(const CommonOptions& common) {
  return common.domain.value_or(parse_domain(environment_text("OVIMUX_DOMAIN_ID")).value_or(0));
}

bool is_local(const CommonOptions& common) { return common.local || environment_text("OVIMUX_LOCALHOST_ONLY") == "1"; }

bool wait_until(double limit_s, const std::function<bool()>& condition) {
  const auto start = Clock::now();
  while (!is_interrupted()) {
    if (condition()) {
      return true;
    }
    if (limit_s > 0.0 && Seconds(Clock::now() - start).count() >= limit_s) {
      return false;
    }
    std::this_thread::sleep_for(kPollPeriod);
  }
  return false;
}

void wait_for(double duration_s) {
  wait_until(duration_s, [] { return false; });
}

Network::Environment::Environment(const CommonOptions& common) {
  if (common.domain) {
    ::setenv("OVIMUX_DOMAIN_ID", std::to_string(*common.domain).c_str(), 1);
  }
  if (common.local) {
    ::setenv("OVIMUX_LOCALHOST_ONLY", "1", 1);
  }
}

Network::Network(const CommonOptions& common) : common_(common), environment_(common), announcements_(participant_) {}

Network::~Network() = default;

uint64_t Network::changes() const { return participant_.discovery().changes() + announcements_.changes(); }

const Owner& Network::owner_of(const Peer& peer, const Announcement& announcement) {
  const auto [entry, is_new] = owners_.try_emplace({peer.id, announcement != nullptr});
  if (is_new || peer.addresses.empty()) {
    entry->second = identify(peer, announcement);
  }
  return entry->second;
}

Picture Network::picture() {
  Picture picture;
  const auto announced = announcements_.latest();
  for (Peer& peer : participant_.discovery().peers()) {
    // Other runs of the tool listen, which is not what the user wants to see.
    if (has_channels(peer) && peer.name != participant_.name()) {
      const auto it = announced.find(peer.id);
      const Announcement announcement = it != announced.end() ? it->second : nullptr;
      const Owner owner = owner_of(peer, announcement);
      picture.push_back({std::move(peer), owner, announcement});
    }
  }
  return picture;
}

Picture Network::await_everybody() {
  const auto start = Clock::now();
  await_quiet(common_.timeout_s, kQuietTime,
              [this, start] { return Seconds(Clock::now() - start).count() >= kForeignPeriod && !picture().empty(); });
  return picture();
}

void Network::await_quiet(double limit_s, std::chrono::milliseconds quiet, const std::function<bool()>& condition) {
  uint64_t seen = changes();
  auto changed = Clock::now();
  wait_until(limit_s, [&] {
    if (const uint64_t now = changes(); now != seen) {
      seen = now;
      changed = Clock::now();
    }
    return Clock::now() - changed >= quiet && condition();
  });
}

bool Network::await_target(const std::string& topic, ListenTarget& target, Picture& picture, Complaint& complaint) {
  uint64_t seen = ~uint64_t{0};
  const bool found = wait_until(common_.timeout_s, [&] {
    if (const uint64_t now = changes(); now != seen) {
      seen = now;
      picture = this->picture();
      return find_target(picture, topic, target, complaint);
    }
    return false;
  });
  if (!found) {
    complaint = picture.empty() && !is_interrupted() ? nobody() : complaint;
    return false;
  }
  // What a process announces, and further writers of the topic, may come a moment later.
  await_quiet(kSettleLimit, kSettleTime, [] { return true; });
  picture = this->picture();
  return find_target(picture, topic, target, complaint);
}

Complaint Network::nobody() const {
  const int domain = effective_domain(common_);
  Complaint complaint{fmt::format("nobody answers on domain {}{} within {} s", domain,
                                  is_local(common_) ? " on this machine" : "", common_.timeout_s),
                      {}};
  for (const auto& [other, hosts] : find_other_domains(domain, is_local(common_))) {
    complaint.hints.push_back(fmt::format("somebody uses DDS on domain {} ({}): try --domain {}", other, hosts, other));
  }
  if (is_local(common_)) {
    complaint.hints.emplace_back("only this machine was searched (--local or OVIMUX_LOCALHOST_ONLY=1)");
  }
  complaint.hints.emplace_back("norvik doctor looks for the cause");
  return complaint;
}

}  // namespace norvik::tools
