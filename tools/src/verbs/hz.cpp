// Measures a topic without decoding it.
#include <fmt/format.h>

#include <iostream>

#include <nlohmann/json.hpp>

#include "network/network.hpp"
#include "network/sample_tap.hpp"
#include "ovimux/ovimux.hpp"
#include "verbs/verbs.hpp"

namespace norvik::tools {
namespace {

void print(const std::string& topic, const StreamReport& report, int publishers, bool json) {
  if (json) {
    nlohmann::ordered_json document = {{"topic", topic}, {"publishers", publishers}};
    document.update(to_json(report));
    std::cout << document << std::endl;
  } else {
    std::cout << to_text(report) << (publishers == 0 ? " | no publisher" : "") << std::endl;
  }
}

}  // namespace

int run(const CommonOptions& common, const HzOptions& options) {
  const Network network(common);
  ListenTarget target;
  Topology topology;
  Complaint complaint;
  if (!network.await_target(options.topic, target, topology, complaint)) {
    return complain(common, complaint);
  }
  Meter meter(target, options.window_s);
  if (!wait_until(common.timeout_s, [&meter] { return meter.publisher_count() > 0; }) && ovimux::OK()) {
    return complain(common, {fmt::format("no publisher of \"{}\" could be reached", target.topic),
                             {"norvik doctor looks for the cause"}});
  }
  StreamReport report;
  for (uint64_t reports = 0; options.count == 0 || reports < options.count; ++reports) {
    wait_until(options.window_s, [] { return false; });
    if (!ovimux::OK()) {
      break;
    }
    report = meter.report();
    print(target.topic, report, meter.publisher_count(), common.json);
  }
  return report.received > 0 ? kSuccess : kFailure;
}

}  // namespace norvik::tools
