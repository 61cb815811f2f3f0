#include "network/network.hpp"

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "host/host_facts.hpp"
#include "network/domain_probe.hpp"
#include "ovimux/core/manager.hpp"
#include "ovimux/ovimux.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::tools {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::milliseconds kPollPeriod{20};
// Processes announce themselves four times a second, and answer a newcomer at once.
constexpr std::chrono::milliseconds kQuietTime{600};

Topology snapshot() { return ovimux::Manager::Instance()->Snapshot(); }

}  // namespace

int effective_domain(const CommonOptions& common) {
  return common.domain.value_or(parse_domain(environment_text("OVIMUX_DOMAIN_ID")).value_or(0));
}

bool is_local(const CommonOptions& common) { return common.local || environment_text("OVIMUX_LOCALHOST_ONLY") == "1"; }

bool wait_until(double limit_s, const std::function<bool()>& condition) {
  const auto start = Clock::now();
  while (ovimux::OK()) {
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

Network::Network(const CommonOptions& common) : common_(common) {
  if (common.domain) {
    ::setenv("OVIMUX_DOMAIN_ID", std::to_string(*common.domain).c_str(), 1);
  }
  if (common.local) {
    ::setenv("OVIMUX_LOCALHOST_ONLY", "1", 1);
  }
  ovimux::OvimuxInit();
}

Network::~Network() { ovimux::Clear(); }

Topology Network::await_everybody() const {
  Topology latest;
  auto changed = Clock::now();
  wait_until(common_.timeout_s, [&] {
    Topology current = snapshot();
    if (current != latest) {
      latest = std::move(current);
      changed = Clock::now();
    }
    return !latest.empty() && Clock::now() - changed >= kQuietTime;
  });
  return latest;
}

bool Network::await_target(const std::string& topic, ListenTarget& target, Topology& topology,
                           Complaint& complaint) const {
  const bool found = wait_until(common_.timeout_s, [&] {
    topology = snapshot();
    return find_target(channels_of(topology), topic, target, complaint);
  });
  if (!found && topology.empty()) {
    complaint = nobody();
  }
  return found;
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
