#include "impl/sensors/sensor_json.hpp"

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "impl/common/proto_time.hpp"
#include "impl/sensors/sensor_tables.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {
namespace {

using nlohmann::json;

constexpr uint64_t kNanosecondsPerMicrosecond = 1000;
constexpr double kMillimetresPerMetre = 1000.0;

// Unsigned, so that a time out of range wraps instead of overflowing.
int64_t nanoseconds_from_microseconds(const json& microseconds) {
  const int64_t value =
      microseconds.is_number_float() ? clamped_int64(microseconds.get<double>()) : microseconds.get<int64_t>();
  return static_cast<int64_t>(static_cast<uint64_t>(value) * kNanosecondsPerMicrosecond);
}

struct UltrasonicReport {
  int64_t timestamp_ns;
  json fields;
};

// Empty, with a record in the log, when the report cannot be used.
std::optional<UltrasonicReport> read_report(std::string_view text) {
  try {
    json fields = json::parse(text);
    if (!fields.is_object() || !fields.contains("timestamp")) {
      SDK_LOG(error) << "ultrasonic_callback: timestamp field missing";
      return std::nullopt;
    }
    const int64_t timestamp_ns = nanoseconds_from_microseconds(fields["timestamp"]);
    return UltrasonicReport{timestamp_ns, std::move(fields)};
  } catch (const std::exception& error) {
    SDK_LOG(error) << "ultrasonic_callback: json parse error: " << error.what();
    return std::nullopt;
  }
}

// Null, with a record in the log, for what is no number.
std::shared_ptr<UltrasonicData> read_distance(const json& distance, const std::string& key, int64_t timestamp_ns) {
  try {
    auto sample = std::make_shared<UltrasonicData>();
    sample->timestamp_ns = timestamp_ns;
    sample->distance = distance.get<double>() / kMillimetresPerMetre;
    return sample;
  } catch (const std::exception& error) {
    SDK_LOG(error) << "ultrasonic_callback: parse field " << key << " failed: " << error.what();
    return nullptr;
  }
}

}  // namespace

UltrasonicSamples parse_ultrasonic_report(std::string_view text) {
  const auto report = read_report(text);
  if (!report) {
    return {};
  }
  UltrasonicSamples samples;
  for (const auto& [type, key] : ultrasonic_keys()) {
    const auto distance = report->fields.find(key);
    if (distance == report->fields.end()) {
      continue;
    }
    if (auto sample = read_distance(*distance, key, report->timestamp_ns)) {
      samples.emplace_back(type, std::move(sample));
    }
  }
  return samples;
}

bool is_infrared_on(const char* callback, std::string_view parameters) {
  try {
    const json report = json::parse(parameters);
    if (!report.is_object() || !report.contains("ir_enabled")) {
      SDK_LOG(error) << callback << ": ir_enabled field missing";
      return false;
    }
    return report["ir_enabled"].get<bool>();
  } catch (const std::exception& error) {
    SDK_LOG(error) << callback << ": json parse error: " << error.what();
    return false;
  }
}

}  // namespace norvik::sdk
