#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "norvik/kelvorn_proto/mps_status.pb.h"

namespace norvik::simulator {

// Why a request is not carried out: becomes code and description of its end.
struct BadRequest : std::runtime_error {
  explicit BadRequest(const std::string& text, int32_t error_code = kelvorn_proto::PlannerStatus::PARAM_ERROR)
      : std::runtime_error(text), code(error_code) {}

  int32_t code;
};

}  // namespace norvik::simulator
