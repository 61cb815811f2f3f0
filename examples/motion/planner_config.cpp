// Reads the configuration of the planner, prints it, changes the planning time and the limits of an arm, and reads it
// again.

#include "motion_support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kPlanningTime = 1.5;  // seconds

const KinematicsBoundary* find(const std::vector<KinematicsBoundary>& limits, const std::string& chain) {
  for (const KinematicsBoundary& boundary : limits) {
    if (boundary.chain_name == chain) {
      return &boundary;
    }
  }
  return nullptr;
}

bool change(NorvikRobot&, NorvikMotion& motion) {
  auto [status, config] = motion.get_motion_plan_config();
  const KinematicsBoundary* hard = find(config.hard_joint_limit, "left_arm");
  if (status != MotionStatus::SUCCESS || !config.sampler_config || hard == nullptr) {
    return false;
  }
  config.print();  // Into the log.
  std::cout << "Planning time: " << config.sampler_config->max_planning_time << " s, first joint of the left arm from "
            << hard->lower_limit[0] << " to " << hard->upper_limit[0] << " rad" << std::endl;

  auto changes = std::make_shared<MotionPlanConfig>();  // What is left empty stays as it is.
  changes->sampler_config = std::make_shared<SamplerConfig>(*config.sampler_config);
  changes->sampler_config->max_planning_time = kPlanningTime;
  KinematicsBoundary narrow = *hard;
  narrow.lower_limit[0] /= 2.0;
  narrow.upper_limit[0] /= 2.0;
  changes->sampler_joint_limit = {narrow};
  if (!examples::report_motion("Change", [&] { return motion.set_motion_plan_config(changes); })) {
    return false;
  }
  // The planner reports its configuration ten times a second.
  return examples::wait_until(
      [&, lower = narrow.lower_limit[0]] {
        const auto now = std::get<1>(motion.get_motion_plan_config());
        const KinematicsBoundary* limit = find(now.sampler_joint_limit, "left_arm");
        return now.sampler_config && now.sampler_config->max_planning_time == kPlanningTime && limit != nullptr &&
               limit->lower_limit[0] == lower;
      },
      2.0);
}

}  // namespace

int main() { return examples::run_with_planner(change); }
