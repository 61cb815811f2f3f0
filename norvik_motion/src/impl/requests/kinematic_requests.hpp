#pragma once

#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/requests/planning_requests.hpp"
#include "impl/tables/motion_plan_data_checker.hpp"
#include "norvik/kelvorn_proto/mps_interface.pb.h"

namespace norvik::sdk {

// Builders of kinematic requests. Their arguments have passed the checks, but for those that a builder's status tells.

// Empty vectors leave the state to the service.
void fill_forward_kinematics(const std::string& target_link, const std::string& reference_frame,
                             const std::vector<double>& whole_body, const std::vector<double>& base,
                             kelvorn_proto::ForwardKinematicRequest& request);

struct InverseKinematicsGoal {
  std::string chain;
  std::vector<double> pose;
  std::string target_frame;
  std::string reference_frame;
  bool check_collision = true;
  ActuateType actuate_type = ActuateType::with_chain_only;
};

// INVALID_INPUT, with a log line, for a target frame or a chain that is none.
MotionStatus fill_inverse_kinematics(const InverseKinematicsGoal& goal, const std::vector<double>& whole_body,
                                     const std::vector<double>& base, kelvorn_proto::InverseKinematicRequest& request);

void fill_jacobian(const std::string& link, const std::string& reference_frame, const std::vector<double>& whole_body,
                   const std::vector<double>& base, kelvorn_proto::JacobianRequest& request);

// One state for each joint vector; a base vector at the same place goes with it.
void fill_check_collision(const std::vector<std::vector<double>>& joints, const std::vector<std::vector<double>>& bases,
                          kelvorn_proto::CheckCollisionRequest& request);

}  // namespace norvik::sdk
