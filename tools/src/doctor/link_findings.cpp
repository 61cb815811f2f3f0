#include "doctor/link_findings.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <map>
#include <set>
#include <tuple>

#include "network/held_channels.hpp"
#include "ovimux/dds/envelope.hpp"

namespace norvik::tools {
namespace {

// Sender, receiver and reason; what differs only in the topic is one finding.
using Mismatches = std::map<std::tuple<std::string, std::string, std::string>, std::set<std::string>>;

std::string type_mismatch(const DdsEndpoint& writer, const DdsEndpoint& reader) {
  if (writer.is_enveloped() && reader.is_enveloped()) {
    return fmt::format("one side uses the {} envelope, the other does not", writer.is_large() ? "large" : "small");
  }
  return fmt::format("DDS type {} is sent, {} is expected", writer.type, reader.type);
}

// Why DDS does not connect the two; empty if it does.
std::string mismatch(const DdsEndpoint& writer, const DdsEndpoint& reader) {
  if (writer.type != reader.type) {
    return type_mismatch(writer, reader);
  }
  if (reader.is_reliable && !writer.is_reliable) {
    return "it is sent best effort, the reader asks for reliable delivery";
  }
  if (reader.is_latched && !writer.is_latched) {
    return "the reader asks for the last message of before its start, the writer does not keep it";
  }
  if (reader.is_keyed != writer.is_keyed || reader.is_exclusive != writer.is_exclusive) {
    return "one side tells instances or owners apart, the other does not";
  }
  return "";
}

void compare(const Member& sender, const Member& receiver, Mismatches& found) {
  for (const auto& [writer_id, writer] : sender.peer.endpoints) {
    if (!writer.is_writer || is_internal(writer.topic)) {
      continue;
    }
    for (const auto& [reader_id, reader] : receiver.peer.endpoints) {
      const bool is_counterpart = !reader.is_writer && reader.topic == writer.topic;
      const std::string reason = is_counterpart ? mismatch(writer, reader) : "";
      if (!reason.empty()) {
        found[{sender.owner.text(), receiver.owner.text(), reason}].insert(writer.topic);
      }
    }
  }
}

bool are_counterparts(const Endpoint& sender, const Endpoint& receiver) {
  return (sender.role == Role::kPublishes && receiver.role == Role::kReads) ||
         (sender.role == Role::kCalls && receiver.role == Role::kServes);
}

bool is_message_type(const std::string& type) { return type != kRawType && type != kUnknownType; }

void compare_messages(const Channel& channel, Mismatches& found) {
  for (const Endpoint& sender : channel.endpoints) {
    for (const Endpoint& receiver : channel.endpoints) {
      if (are_counterparts(sender, receiver) && is_message_type(sender.type) && is_message_type(receiver.type) &&
          sender.type != receiver.type) {
        found[{sender.owner.text(), receiver.owner.text(),
               fmt::format("{} is sent, {} is expected", sender.type, receiver.type)}]
            .insert(channel.name);
      }
    }
  }
}

void add_endpoint(Peer& peer, const std::string& topic, bool is_writer, const ModelChannel& channel) {
  DdsEndpoint endpoint;
  endpoint.topic = topic;
  endpoint.type = channel.large ? ovimux::kLargeEnvelopeName : ovimux::kSmallEnvelopeName;
  endpoint.is_writer = is_writer;
  endpoint.is_reliable = true;
  endpoint.is_latched = channel.latched;
  EndpointId id{};
  id.back() = static_cast<uint8_t>(peer.endpoints.size());
  peer.endpoints[id] = std::move(endpoint);
}

// An application that uses all that a robot of the model has to offer.
Member application_for(const std::string& model) {
  Member application;
  application.owner.process = "programs of this release";
  for (const ModelChannel& channel : channels_of_model(model)) {
    if (channel.need == Need::kOptional) {
      continue;
    }
    if (channel.role == Role::kServes) {
      add_endpoint(application.peer, request_topic(channel.name), true, channel);
      add_endpoint(application.peer, response_topic(channel.name), false, channel);
    } else {
      add_endpoint(application.peer, channel.name, channel.role == Role::kReads, channel);
    }
  }
  return application;
}

Finding describe(const Mismatches::value_type& entry) {
  const auto& [sender, receiver, reason] = entry.first;
  return {Level::kProblem, "mismatch",
          fmt::format("\"{}\" of {} {} not reach {}: {}", fmt::join(entry.second, "\", \""), sender,
                      entry.second.size() == 1 ? "does" : "do", receiver, reason),
          "run programs of the same release on both sides"};
}

}  // namespace

Findings judge_compatibility(const Picture& picture, const std::string& model) {
  Mismatches found;
  for (const Member& sender : picture) {
    for (const Member& receiver : picture) {
      compare(sender, receiver, found);
    }
  }
  const auto channels = channels_of(picture);
  for (const Channel& channel : channels) {
    compare_messages(channel, found);
  }
  if (!model.empty()) {
    const Member application = application_for(model);
    for (const Member& member : picture) {
      compare(member, application, found);
      compare(application, member, found);
    }
  }
  Findings findings;
  for (const auto& entry : found) {
    findings.push_back(describe(entry));
  }
  if (findings.empty()) {
    findings.push_back({Level::kOk, "channels", fmt::format("{}, writers and readers fit", channels.size()), ""});
  }
  return findings;
}

}  // namespace norvik::tools
