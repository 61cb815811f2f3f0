// Lists every channel and who holds it.
#include <fmt/format.h>

#include <iostream>
#include <map>
#include <memory>

#include <nlohmann/json.hpp>

#include "network/network.hpp"
#include "network/sample_tap.hpp"
#include "verbs/verbs.hpp"

namespace norvik::tools {
namespace {

using Json = nlohmann::ordered_json;
using Rates = std::map<std::string, StreamReport>;  // By topic.

Rates measure_rates(const std::vector<Channel>& channels, double window_s) {
  std::map<std::string, std::unique_ptr<Meter>> meters;
  ListenTarget target;
  Complaint ignored;
  for (const Channel& channel : channels) {
    if (channel.has(Role::kPublishes) && find_target(channels, channel.name, target, ignored)) {
      meters[channel.name] = std::make_unique<Meter>(target, window_s);
    }
  }
  wait_until(window_s, [] { return false; });
  Rates rates;
  for (const auto& [topic, meter] : meters) {
    rates[topic] = meter->report();
  }
  return rates;
}

Json describe(const Endpoint& endpoint) {
  return {{"role", role_name(endpoint.role)},
          {"process", endpoint.process},
          {"pid", endpoint.pid},
          {"host", endpoint.host},
          {"ip", endpoint.ip},
          {"node", endpoint.node},
          {"type", endpoint.type},
          {"large", endpoint.large},
          {"latched", endpoint.latched}};
}

void print_json(const std::vector<Channel>& channels, const Rates& rates, int domain) {
  Json document = {{"domain", domain}, {"channels", Json::array()}};
  for (const Channel& channel : channels) {
    Json item = {{"name", channel.name},
                 {"kind", channel.is_service() ? "service" : "topic"},
                 {"type", channel.type()},
                 {"endpoints", Json::array()}};
    for (const Endpoint& endpoint : channel.endpoints) {
      item["endpoints"].push_back(describe(endpoint));
    }
    if (const auto rate = rates.find(channel.name); rate != rates.end()) {
      item["measured"] = to_json(rate->second);
    }
    document["channels"].push_back(std::move(item));
  }
  std::cout << document << std::endl;
}

std::string rate_text(const StreamReport& report) {
  if (report.samples < 2) {
    return report.samples == 0 ? "silent" : "1 sample";
  }
  return fmt::format("{:.2f} Hz{}", report.hertz, report.lost > 0 ? fmt::format(", lost {}", report.lost) : "");
}

void print_text(const std::vector<Channel>& channels, const Rates& rates) {
  for (const Channel& channel : channels) {
    const auto rate = rates.find(channel.name);
    std::cout << fmt::format("{}  {}{}{}\n", channel.name, channel.is_service() ? "service of " : "", channel.type(),
                             rate == rates.end() ? "" : "  " + rate_text(rate->second));
    for (const Endpoint& endpoint : channel.endpoints) {
      std::cout << fmt::format("    {:<9}  {}{}\n", role_name(endpoint.role), endpoint.owner(),
                               endpoint.node.empty() ? "" : ", node " + endpoint.node);
    }
  }
  std::cout << std::flush;
}

}  // namespace

int run(const CommonOptions& common, const TopicsOptions& options) {
  const Network network(common);
  const Topology topology = network.await_everybody();
  if (topology.empty()) {
    return complain(common, network.nobody());
  }
  const auto channels = channels_of(topology);
  const Rates rates = options.rate ? measure_rates(channels, options.window_s) : Rates{};
  if (common.json) {
    print_json(channels, rates, effective_domain(common));
  } else {
    print_text(channels, rates);
  }
  return kSuccess;
}

}  // namespace norvik::tools
