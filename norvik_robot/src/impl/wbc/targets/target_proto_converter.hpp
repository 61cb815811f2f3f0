#pragma once

#include <memory>
#include <optional>
#include <string>

#include <norvik_sdk/types.hpp>

#include "norvik/tavrinox_proto/tavrinox_target.pb.h"

namespace norvik::sdk {

// Takes a target that the user built to the wire.
class TargetProtoConverter {
 public:
  // The first finding, or nothing when the target is good.
  static std::optional<std::string> validate_target_input(const TavrinoXTarget& target);

  static std::shared_ptr<tavrinox_proto::TavrinoXTarget> convert_target_to_proto(const TavrinoXTarget& target);
};

}  // namespace norvik::sdk
