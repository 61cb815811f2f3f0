#include "messages/sample_text.hpp"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>
#include <limits>

#include <nlohmann/json.hpp>

#include "network/channel.hpp"

namespace norvik::tools {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kLongestString = 200;  // Characters of a string that people are shown.
constexpr size_t kMostHexBytes = 256;   // Bytes of a payload that cannot be decoded.
constexpr size_t kNoLimit = std::numeric_limits<size_t>::max();
constexpr int64_t kNanosecondsPerSecond = 1000000000;

// An object with "message", "text" or "hex", and "error" when the payload is not what its topic announces.
Json describe_bytes(const Bytes& payload, bool complete) {
  if (is_plain_text(payload)) {
    return {{"text", std::string(payload.begin(), payload.end())}};
  }
  return {{"hex", hex_text(payload, complete ? kNoLimit : kMostHexBytes)}};
}

Json describe_payload(const Sample& sample, const SampleStyle& style, MessageDecoder& decoder) {
  if (sample.header.malformed) {
    return {{"error", "malformed envelope"}};
  }
  if (style.raw) {
    return describe_bytes(sample.payload, true);
  }
  if (style.type == kRawType || style.type == kUnknownType) {
    auto value = parse_json(sample.payload);
    return value ? Json{{"message", std::move(*value)}} : describe_bytes(sample.payload, style.json);
  }
  const auto decoded = decoder.decode(sample.payload);
  if (decoded.error.empty()) {
    return {{"message", Json::parse(decoded.json, nullptr, false)}};
  }
  return {{"error", decoded.error}, {"hex", hex_text(sample.payload, style.json ? kNoLimit : kMostHexBytes)}};
}

std::string dump(const Json& value, int indent) {
  return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

std::string heading(const SampleHeader& header) {
  std::string text = fmt::format("seq {}", header.seq);
  if (header.has_stamp()) {
    const auto stamp = static_cast<std::time_t>(header.stamp_ns / kNanosecondsPerSecond);
    text +=
        fmt::format(", {:%Y-%m-%d %H:%M:%S}.{:06} UTC, latency {:.2f} ms", fmt::gmtime(stamp),
                    header.stamp_ns % kNanosecondsPerSecond / 1000, static_cast<double>(header.latency_ns()) * 1e-6);
  }
  text += fmt::format(", {} bytes", header.size);
  return text + (header.sender.pid != 0 ? fmt::format(", process {}\n", header.sender.pid) : "\n");
}

std::string for_people(const SampleHeader& header, Json body) {
  std::string text = header.malformed ? "" : heading(header);
  if (body.contains("error")) {
    text += "not readable: " + body["error"].get<std::string>() + '\n';
  }
  for (const char* key : {"text", "hex"}) {
    if (body.contains(key)) {
      text += body[key].get<std::string>() + '\n';
    }
  }
  if (body.contains("message")) {
    shorten_strings(body["message"], kLongestString);
    text += dump(body["message"], 2) + '\n';
  }
  return text + "---\n";
}

}  // namespace

std::string sample_text(const Sample& sample, const SampleStyle& style, MessageDecoder& decoder) {
  Json body = describe_payload(sample, style, decoder);
  const SampleHeader& header = sample.header;
  if (!style.json) {
    return for_people(header, std::move(body));
  }
  Json document = {{"topic", style.topic},
                   {"type", style.type},
                   {"seq", header.seq},
                   {"pid", header.sender.pid != 0 ? Json(header.sender.pid) : Json()},
                   {"stamp_ns", header.has_stamp() ? Json(header.stamp_ns) : Json()},
                   {"latency_s", header.has_stamp() ? Json(static_cast<double>(header.latency_ns()) * 1e-9) : Json()},
                   {"size", header.size}};
  document.update(body);
  return dump(document, -1) + '\n';
}

}  // namespace norvik::tools
