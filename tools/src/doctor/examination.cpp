#include "doctor/examination.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <map>
#include <memory>
#include <mutex>
#include <set>

#include <nlohmann/json.hpp>

#include "dds/sample_tap.hpp"
#include "doctor/link_findings.hpp"
#include "doctor/wire_findings.hpp"
#include "messages/message_decoder.hpp"
#include "network/domain_probe.hpp"
#include "network/network.hpp"
#include "ovimux/dds/envelope.hpp"

namespace norvik::tools {
namespace {

constexpr double kListenTime = 1.5;
constexpr const char* kReportTopic = "/norvik/mission_manager/onboard_config";

void append(Findings& findings, const Findings& more) { findings.insert(findings.end(), more.begin(), more.end()); }

Finding list_processes(const Picture& picture) {
  std::set<std::string> names;
  for (const Member& member : picture) {
    names.insert(member.owner.text());
  }
  return {Level::kOk, "processes", fmt::format("{}", fmt::join(names, ", ")), ""};
}

std::map<PeerId, std::string> owners_of(const Picture& picture) {
  std::map<PeerId, std::string> owners;
  for (const Member& member : picture) {
    owners[member.peer.id] = member.owner.text();
  }
  return owners;
}

// Listens to every small topic: pictures would load the network that is to be examined.
Findings listen_to_streams(Network& network, const Picture& picture) {
  std::map<std::string, std::unique_ptr<Meter>> meters;
  ListenTarget target;
  Complaint ignored;
  for (const Channel& channel : channels_of(picture)) {
    if (channel.has(Role::kPublishes) && find_target(picture, channel.name, target, ignored) &&
        target.dds_type == ovimux::kSmallEnvelopeName) {
      meters[channel.name] = std::make_unique<Meter>(network.participant(), target, kListenTime);
    }
  }
  wait_for(kListenTime);
  const auto owners = owners_of(picture);
  std::map<std::string, std::vector<double>> least_latencies;
  std::map<std::string, uint64_t> lost;
  for (const auto& [topic, meter] : meters) {
    for (const auto& [sender, count] : meter->senders()) {
      const auto owner = owners.find(peer_of(sender.writer));
      if (owner != owners.end() && count.has_latency()) {
        least_latencies[owner->second].push_back(static_cast<double>(count.least_latency_ns) * 1e-9);
      }
      lost[topic] += count.lost;
    }
  }
  Findings findings = judge_clocks(least_latencies);
  append(findings, judge_losses(lost));
  return findings;
}

// The last report of each robot, as JSON. Waits for those that publish one.
std::vector<nlohmann::ordered_json> collect_reports(Network& network, const Picture& picture,
                                                    const ListenTarget& target) {
  std::mutex mutex;
  std::map<EndpointId, Bytes> latest;
  const SampleTap tap(network.participant(), target, true, [&](const SampleHeader& header, Bytes& payload) {
    const std::lock_guard<std::mutex> lock(mutex);
    latest[header.sender.writer] = std::move(payload);
  });
  wait_until(kListenTime, [&] {
    const std::lock_guard<std::mutex> lock(mutex);
    return tap.publisher_count() > 0 && latest.size() >= static_cast<size_t>(tap.publisher_count());
  });
  MessageDecoder decoder(picture, target.type);
  std::vector<nlohmann::ordered_json> reports;
  const std::lock_guard<std::mutex> lock(mutex);
  for (const auto& [writer, payload] : latest) {
    auto report = nlohmann::ordered_json::parse(decoder.decode(payload).json, nullptr, false);
    if (report.is_object()) {
      reports.push_back(std::move(report));
    }
  }
  return reports;
}

Findings ask_robots(Network& network, const Picture& picture, const std::string& model) {
  ListenTarget target;
  Complaint ignored;
  if (!find_target(picture, kReportTopic, target, ignored)) {
    return {};
  }
  Findings findings;
  for (const auto& report : collect_reports(network, picture, target)) {
    append(findings, judge_robot(report, model));
  }
  if (findings.empty()) {
    findings.push_back({Level::kWarning, "robot", "the robot does not report its model and versions",
                        fmt::format("norvik echo {}", kReportTopic)});
  }
  return findings;
}

}  // namespace

Findings examine_network(const CommonOptions& common, const std::string& model) {
  Network network(common);
  const Picture picture = network.await_everybody();
  if (picture.empty()) {
    const int domain = effective_domain(common);
    return {judge_silence(domain, find_other_domains(domain, is_local(common)))};
  }
  const auto channels = channels_of(picture);
  Findings findings = {list_processes(picture)};
  append(findings, judge_compatibility(picture, model));
  append(findings, judge_servers(channels));
  append(findings, ask_robots(network, picture, model));
  if (!model.empty()) {
    append(findings, judge_model(channels, model));
  }
  append(findings, listen_to_streams(network, picture));
  return findings;
}

}  // namespace norvik::tools
