#include "impl/system/bms_info.hpp"

#include <cmath>
#include <cstdint>

#include <nlohmann/json.hpp>

namespace norvik::sdk {
namespace {

using nlohmann::json;

double read_number(const json& report, const char* key) {
  const auto member = report.find(key);
  return member == report.end() ? 0.0 : member->get<double>();
}

float read_float(const json& report, const char* key) { return static_cast<float>(read_number(report, key)); }

// The robot reports states as integers of which only "not zero" has a meaning.
uint8_t read_flag(const json& report, const char* key) { return std::trunc(read_number(report, key)) != 0.0 ? 1 : 0; }

}  // namespace

BmsInfo parse_bms_info(std::string_view json_text) {
  const json report = json::parse(json_text);
  BmsInfo info{};
  if (!report.is_object()) {
    return info;
  }
  info.voltage = read_float(report, report.contains("voltage") ? "voltage" : "average_voltage");
  info.current = read_float(report, "current");
  info.soc = read_float(report, "soc");
  info.temperature = read_float(report, "average_tempture");
  info.charge_status = read_flag(report, "charge_status");
  info.protect_state = read_flag(report, "protect_state");
  info.capacity = read_float(report, "capacity");
  return info;
}

}  // namespace norvik::sdk
