#include "impl/session/path_evaluation.hpp"

#include "sdk_log.hpp"

namespace norvik::sdk {

std::string PathEvaluation::begin() {
  const uint32_t sequence = ++evaluate_sequence_;  // From here on no older answer counts.
  evaluate_ready_ = false;
  return id(sequence);
}

void PathEvaluation::update(const kelvorn_proto::EvaluateGoalAvailabilityResponse& response) {
  if (response.task_id() != id(evaluate_sequence_.load())) {
    return;
  }
  evaluate_result_ = response.available();
  SDK_LOG(info) << "evaluate response received " << response.available();
  evaluate_ready_ = true;
}

}  // namespace norvik::sdk
