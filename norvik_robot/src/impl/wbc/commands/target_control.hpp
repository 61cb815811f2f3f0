#pragma once

#include <memory>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/commands/wbc_modules.hpp"

namespace norvik::sdk {

// Targets that the user builds whole. Safe from any thread.
class TargetControl {
 public:
  explicit TargetControl(const WbcModulesSlot& modules) : modules_(modules) {}

  ControlStatus PublishTarget(const TavrinoXTarget& target) const;

  // The controller's report, or one of the library's own for a target that it refuses. Empty without modules, before
  // the first error report of the robot, and when no answer came within 5 s.
  std::shared_ptr<ErrorInfo> RequestTarget(const TavrinoXTarget& target) const;

 private:
  const WbcModulesSlot& modules_;
};

}  // namespace norvik::sdk
