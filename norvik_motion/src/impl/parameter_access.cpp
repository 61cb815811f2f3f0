#include "impl/parameter_access.hpp"

#include <mutex>

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

std::mutex& parameter_mutex() {
  static auto* const mutex = new std::mutex;  // Threads may plan while static objects are destroyed.
  return *mutex;
}

}  // namespace

std::optional<Parameter> read_parameter(const std::shared_ptr<Parameter>& parameter, const char* operation) {
  if (!parameter) {
    SDK_LOG(error) << operation << ": params is nullptr.";
    return std::nullopt;
  }
  const std::lock_guard<std::mutex> lock(parameter_mutex());
  return *parameter;
}

void write_plan_path(Parameter& parameter, bool plan_path) {
  const std::lock_guard<std::mutex> lock(parameter_mutex());
  parameter.plan_path = plan_path;
}

void write_actuate_type(Parameter& parameter, ActuateType type) {
  const std::lock_guard<std::mutex> lock(parameter_mutex());
  parameter.actuate_type = type;
}

}  // namespace norvik::sdk
