#pragma once

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <norvik_sdk/sensors.hpp>
#include <norvik_sdk/types.hpp>

// The sensor messages that are JSON text. What cannot be read is logged and left out; nothing is thrown.
namespace norvik::sdk {

using UltrasonicSamples = std::vector<std::pair<UltrasonicType, std::shared_ptr<UltrasonicData>>>;

// One sample for each readable distance of a report; none for a report without a time. Distances come in millimetres
// and times in microseconds.
UltrasonicSamples parse_ultrasonic_report(std::string_view text);

// Whether an arm camera's parameters say that its infrared imagers run. `callback` begins the log texts.
bool is_infrared_on(const char* callback, std::string_view parameters);

}  // namespace norvik::sdk
