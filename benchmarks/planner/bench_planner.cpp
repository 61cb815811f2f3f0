// How often and how fast the simulated robot's planner finds its way among boxes.
//
//   bench_planner MODEL_FOLDER [PLANS]
//
// For each model and arm: PLANS (200) random postures that touch nothing, to poses of as many others. Prints the share
// of plans found within the planning time and the median and greatest time of a plan. Exit status 0 when every arm
// finds 95 %.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "planning/planner.hpp"

namespace {

using namespace norvik::simulator;
using namespace norvik::simulator::planning;

constexpr double kPlanningTime = 2.0;  // Seconds.
constexpr double kWanted = 0.95;

RobotState anywhere(const Planner& planner, const std::string& chain, const RobotState& rest, const Scene& scene,
                    std::mt19937& random) {
  RobotState state = rest;
  do {
    for (const size_t i : planner.model().joints_of({chain})) {
      const ChainJoint& joint = planner.model().joint(i);
      state.joints[i] = std::uniform_real_distribution<>(joint.lower, joint.upper)(random);
    }
  } while (planner.check_collision(state, scene, {}));
  return state;
}

Scene eight_boxes(const Planner& planner, const RobotState& rest, std::mt19937& random) {
  std::uniform_real_distribution<> across(-0.8, 0.8);
  std::uniform_real_distribution<> up(0.4, 1.6);
  std::uniform_real_distribution<> size(0.1, 0.25);
  Scene scene;
  while (scene.obstacles().size() < 8) {
    ObjectSpec box;
    box.name = "box" + std::to_string(scene.obstacles().size());
    box.pose = KDL::Frame(KDL::Rotation::RotZ(across(random)), KDL::Vector(across(random), across(random), up(random)));
    box.shape = Box{{size(random), size(random), size(random)}};
    Scene more = scene;
    more.add_obstacle(planner.model(), box, rest);
    if (!planner.check_collision(rest, more, {})) {
      scene = more;
    }
  }
  return scene;
}

bool measure(const Planner& planner, const std::string& model, const std::string& chain, int plans) {
  using Clock = std::chrono::steady_clock;
  std::mt19937 random(11);
  RobotState rest{Joints(planner.model().dof()), KDL::Frame::Identity()};
  for (const size_t lift : planner.model().joints_of({"torso"})) {
    rest.joints[lift] = 0.4;
  }
  const Scene scene = eight_boxes(planner, rest, random);
  const std::string link = planner.model().find_chain(chain)->end_effector_link;
  Settings settings;
  settings.sampler.max_planning_time = kPlanningTime;
  std::vector<double> times;
  int found = 0;
  for (int n = 0; n < plans; ++n) {
    const RobotState start = anywhere(planner, chain, rest, scene, random);
    const RobotState goal = anywhere(planner, chain, rest, scene, random);
    PoseTarget target{planner.forward_kinematics(link, FrameRef::base(), goal).pose, FrameRef::base()};
    const auto begin = Clock::now();
    const PlanResult result = planner.plan({start, {{chain, {target}}}}, scene, settings);
    times.push_back(std::chrono::duration<double>(Clock::now() - begin).count());
    found += result.outcome ? 1 : 0;
    if (!result.outcome) {
      std::printf("  %s %s, plan %d: %s\n", model.c_str(), chain.c_str(), n, result.outcome.description.c_str());
    }
  }
  std::sort(times.begin(), times.end());
  const double share = static_cast<double>(found) / plans;
  std::printf("%s %-9s %d of %d (%.1f %%) in at most %.1f s of planning, median %.3f s, greatest %.3f s\n",
              model.c_str(), chain.c_str(), found, plans, 100.0 * share, kPlanningTime, times[times.size() / 2],
              times.back());
  return share >= kWanted;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s MODEL_FOLDER [PLANS]\n", argv[0]);
    return 2;
  }
  const int plans = argc > 2 ? std::max(1, std::atoi(argv[2])) : 200;
  bool good = true;
  for (const std::string& model : supported_models()) {
    RobotOptions options;
    options.model = model;
    std::string error;
    const auto begin = std::chrono::steady_clock::now();
    const auto planner = Planner::load(*make_robot_model(options), argv[1], error);
    if (!planner) {
      std::fprintf(stderr, "%s: %s\n", model.c_str(), error.c_str());
      return 2;
    }
    std::printf("%s loaded in %.3f s\n", model.c_str(),
                std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    for (const char* chain : {"left_arm", "right_arm"}) {
      good = measure(*planner, model, chain, plans) && good;
    }
  }
  return good ? 0 : 1;
}
