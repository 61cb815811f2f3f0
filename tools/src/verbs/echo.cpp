// Prints the messages of a topic.
#include <fmt/format.h>

#include <iostream>

#include "cli/interrupt.hpp"
#include "cli/output.hpp"
#include "dds/sample_inbox.hpp"
#include "dds/sample_tap.hpp"
#include "messages/sample_text.hpp"
#include "network/network.hpp"
#include "verbs/verbs.hpp"

namespace norvik::tools {
namespace {

constexpr size_t kInboxBytes = 64U << 20U;
constexpr double kPublisherCheckPeriod = 0.2;

Complaint silent(const ListenTarget& target, double timeout_s, int publishers) {
  return {
      fmt::format("no message on \"{}\" within {} s", target.topic, timeout_s),
      {fmt::format("{} connected", publishers == 1 ? "1 publisher is" : fmt::format("{} publishers are", publishers)),
       "a topic that is used rarely may need a longer --timeout; 0 waits without limit"}};
}

// Prints what has come in, `count` messages at most (0: no limit), and returns how many.
uint64_t print_received(SampleInbox& inbox, const SampleStyle& style, MessageDecoder& decoder, uint64_t count) {
  uint64_t printed = 0;
  while (count == 0 || printed < count) {
    const auto sample = inbox.take();
    if (!sample || !print(sample_text(*sample, style, decoder))) {
      break;
    }
    ++printed;
  }
  if (const uint64_t skipped = inbox.take_skipped(); skipped > 0) {
    std::cerr << fmt::format("norvik: {} messages came faster than they could be printed\n", skipped);
  }
  return printed;
}

}  // namespace

int run(const CommonOptions& common, const EchoOptions& options) {
  Network network(common);
  ListenTarget target;
  Picture picture;
  Complaint complaint;
  if (!network.await_target(options.topic, target, picture, complaint)) {
    return complain(common, complaint);
  }
  MessageDecoder decoder(picture, target.type);
  const SampleStyle style{target.topic, target.type, options.raw, common.json};
  SampleInbox inbox(kInboxBytes);
  const SampleTap tap(network.participant(), target, true,
                      [&inbox](const SampleHeader& header, Bytes& payload) { inbox.put(header, payload); });
  const auto something_came = [&inbox] { return !inbox.is_empty(); };
  if (!wait_until(common.timeout_s, something_came)) {
    return complain(common, silent(target, common.timeout_s, tap.publisher_count()));
  }
  uint64_t printed = 0;
  while (!is_interrupted() && !is_output_lost() && (options.count == 0 || printed < options.count)) {
    printed += print_received(inbox, style, decoder, options.count == 0 ? 0 : options.count - printed);
    const bool finished = options.count != 0 && printed == options.count;
    if (!finished && !wait_until(kPublisherCheckPeriod, something_came) && !is_interrupted() &&
        tap.publisher_count() == 0) {
      return complain(common, {fmt::format("the last publisher of \"{}\" is gone", target.topic), {}});
    }
  }
  return kSuccess;
}

}  // namespace norvik::tools
