#pragma once

#include <memory>
#include <optional>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// Callers share parameters, most of all the default one, and some operations write into them: every access of this
// library goes through here, behind one lock.

// A copy. Nothing, with a log line of `operation`, for an empty pointer.
std::optional<Parameter> read_parameter(const std::shared_ptr<Parameter>& parameter, const char* operation);

void write_plan_path(Parameter& parameter, bool plan_path);
void write_actuate_type(Parameter& parameter, ActuateType type);

}  // namespace norvik::sdk
