// Lists every channel and who holds it.
#include <fmt/format.h>

#include <map>
#include <memory>

#include <nlohmann/json.hpp>

#include "cli/interrupt.hpp"
#include "cli/output.hpp"
#include "dds/sample_tap.hpp"
#include "network/network.hpp"
#include "verbs/verbs.hpp"

namespace norvik::tools {
namespace {

using Json = nlohmann::ordered_json;
using Rates = std::map<std::string, StreamReport>;  // By topic.

Rates measure_rates(Network& network, const Picture& picture, double window_s) {
  std::map<std::string, std::unique_ptr<Meter>> meters;
  ListenTarget target;
  Complaint ignored;
  for (const Channel& channel : channels_of(picture)) {
    if (channel.has(Role::kPublishes) && find_target(picture, channel.name, target, ignored)) {
      meters[channel.name] = std::make_unique<Meter>(network.participant(), target, window_s);
    }
  }
  wait_for(window_s);
  Rates rates;
  for (const auto& [topic, meter] : meters) {
    rates[topic] = meter->report();
  }
  return rates;
}

Json describe(const Endpoint& endpoint) {
  const Owner& owner = endpoint.owner;
  return {{"role", role_name(endpoint.role)},
          {"process", owner.process},
          {"pid", owner.pid != 0 ? Json(owner.pid) : Json()},
          {"host", owner.host},
          {"ip", owner.ip},
          {"node", endpoint.node},
          {"type", endpoint.type},
          {"announced", endpoint.is_announced},
          {"dds_type", endpoint.dds.type},
          {"large", endpoint.dds.is_large()},
          {"reliable", endpoint.dds.is_reliable},
          {"latched", endpoint.dds.is_latched}};
}

bool print_channels_as_json(const std::vector<Channel>& channels, const Rates& rates, int domain) {
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
  return print_json(document);
}

std::string type_text(const Channel& channel) {
  const DdsEndpoint& dds = channel.endpoints.front().dds;
  return dds.is_enveloped() ? channel.type() : "DDS type " + dds.type;
}

std::string rate_text(const StreamReport& report) {
  if (report.samples < 2) {
    return report.samples == 0 ? "silent" : "1 sample";
  }
  return fmt::format("{:.2f} Hz{}", report.hertz, report.lost > 0 ? fmt::format(", lost {}", report.lost) : "");
}

bool print_channels(const std::vector<Channel>& channels, const Rates& rates) {
  std::string text;
  for (const Channel& channel : channels) {
    const auto rate = rates.find(channel.name);
    text += fmt::format("{}  {}{}{}\n", channel.name, channel.is_service() ? "service of " : "", type_text(channel),
                        rate == rates.end() ? "" : "  " + rate_text(rate->second));
    for (const Endpoint& endpoint : channel.endpoints) {
      text += fmt::format("    {:<9}  {}{}\n", role_name(endpoint.role), endpoint.owner.text(),
                          endpoint.node.empty() ? "" : ", node " + endpoint.node);
    }
  }
  return print_text(text);
}

}  // namespace

int run(const CommonOptions& common, const TopicsOptions& options) {
  Network network(common);
  const Picture picture = network.await_everybody();
  if (picture.empty()) {
    return complain(common, network.nobody());
  }
  const auto channels = channels_of(picture);
  const Rates rates = options.rate ? measure_rates(network, picture, options.window_s) : Rates{};
  if (common.json) {
    print_channels_as_json(channels, rates, effective_domain(common));
  } else {
    print_channels(channels, rates);
  }
  return kSuccess;
}

}  // namespace norvik::tools
