// Measures a topic without decoding it.
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "cli/interrupt.hpp"
#include "cli/output.hpp"
#include "dds/sample_tap.hpp"
#include "network/network.hpp"
#include "verbs/verbs.hpp"

namespace norvik::tools {
namespace {

bool print_report(const std::string& topic, const StreamReport& report, int publishers, bool json) {
  if (!json) {
    return print_text(to_text(report) + (publishers == 0 ? " | no publisher\n" : "\n"));
  }
  nlohmann::ordered_json document = {{"topic", topic}, {"publishers", publishers}};
  document.update(to_json(report));
  return print_json(document);
}

}  // namespace

int run(const CommonOptions& common, const HzOptions& options) {
  Network network(common);
  ListenTarget target;
  Picture picture;
  Complaint complaint;
  if (!network.await_target(options.topic, target, picture, complaint)) {
    return complain(common, complaint);
  }
  Meter meter(network.participant(), target, options.window_s);
  if (!wait_until(common.timeout_s, [&meter] { return meter.publisher_count() > 0; }) && !is_interrupted()) {
    return complain(common, {fmt::format("no publisher of \"{}\" could be reached", target.topic),
                             {"norvik doctor looks for the cause"}});
  }
  StreamReport report;
  for (uint64_t reports = 0; options.count == 0 || reports < options.count; ++reports) {
    wait_for(options.window_s);
    if (is_interrupted()) {
      break;
    }
    report = meter.report();
    if (!print_report(target.topic, report, meter.publisher_count(), common.json)) {
      break;
    }
  }
  return report.received > 0 ? kSuccess : kFailure;
}

}  // namespace norvik::tools
