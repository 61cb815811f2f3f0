#pragma once

#include <string>
#include <vector>

#include <norvik_sdk/motion_plan_config.hpp>

namespace norvik::sdk {

// The lines that a record's print() writes.
std::vector<std::string> config_lines(const SamplerConfig& config);
std::vector<std::string> config_lines(const IKSolverConfig& config);
std::vector<std::string> config_lines(const TrajectoryPlanConfig& config);
std::vector<std::string> config_lines(const CollisionCheckOption& config);
std::vector<std::string> config_lines(const TrajectoryFeasibilityCheckOption& config);
std::vector<std::string> config_lines(const LineTrajCheckPrimitive& config);
std::vector<std::string> config_lines(const KinematicsBoundary& boundary);
std::vector<std::string> config_lines(const MotionPlanConfig& config);

}  // namespace norvik::sdk
