// What stands between the planning service's wire and the planner: configuration, results that fit, motions.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <future>
#include <map>

#include "services/planning/execution.hpp"
#include "services/planning/messages/bad_request.hpp"
#include "services/planning/messages/planner_settings.hpp"
#include "services/planning/messages/wire_writing.hpp"

namespace norvik::simulator {
namespace {

namespace proto = kelvorn_proto;

planning::PlanningModel load_model() {
  std::string error;
  auto model = planning::PlanningModel::load(*make_robot_model({}), NORVIK_SIMULATOR_MODEL_DIR, error);
  EXPECT_TRUE(model) << error;
  return std::move(*model);
}

void set(const std::vector<double>& values, core_proto::Vector& vector) {
  vector.mutable_data()->Add(values.begin(), values.end());
}

TEST(PlannerSettings, TakeOverAllOfARequestOrNothing) {
  const planning::PlanningModel model = load_model();
  PlannerSettings settings(model);
  const auto& arm = *model.find_chain("left_arm");
  std::vector<double> lower;
  std::vector<double> upper;
  for (const auto& joint : arm.joints) {
    lower.push_back(joint.lower / 2.0);
    upper.push_back(joint.upper / 2.0);
  }
  proto::ConfigSettingRequest request;
  auto& planner = *request.mutable_set_planner_config()->mutable_planner_config();
  planner.set_max_planning_time(0.7);
  planner.set_state_check_resolution(0.02);
  set(lower, *request.mutable_set_ik_soft_limit()->mutable_soft_lower_limit());
  set(upper, *request.mutable_set_ik_soft_limit()->mutable_soft_upper_limit());
  auto& feasibility = *request.mutable_set_feasibility_bound();
  set(std::vector<double>(arm.joints.size(), -0.5), *feasibility.mutable_soft_vel_lower_limit());
  set(std::vector<double>(arm.joints.size(), 0.5), *feasibility.mutable_soft_vel_upper_limit());

  auto bad = request;
  bad.mutable_set_planner_config()->mutable_planner_config()->set_max_planning_time(NAN);
  EXPECT_THROW(settings.apply(bad), BadRequest);
  bad = request;
  bad.mutable_set_ik_soft_limit()->mutable_soft_upper_limit()->add_data(1.0);
  EXPECT_THROW(settings.apply(bad), BadRequest);
  bad = request;
  bad.mutable_set_ik_soft_limit()->mutable_soft_upper_limit()->set_data(0, 100.0);
  EXPECT_THROW(settings.apply(bad), BadRequest);
  bad = request;
  bad.mutable_set_feasibility_bound()->mutable_soft_vel_upper_limit()->set_data(6, 0.0);
  EXPECT_THROW(settings.apply(bad), BadRequest);
  EXPECT_EQ(settings.settings().sampler.max_planning_time, planning::SamplerSettings().max_planning_time);
  EXPECT_TRUE(settings.settings().dynamics.empty());

  settings.apply(request);
  EXPECT_EQ(settings.settings().sampler.max_planning_time, 0.7);
  EXPECT_EQ(settings.settings().ik_limits.at("left_arm").upper, upper);
  EXPECT_EQ(settings.settings().dynamics.at("left_arm").velocity.upper[6], 0.5);
  proto::PlannerStatus status;
  settings.write(status);
  EXPECT_EQ(status.ik_joint_upper_limit().at("left_arm").data(0), upper[0]);
  EXPECT_EQ(status.hard_joint_upper_limit().at("left_arm").data(0), arm.joints[0].upper);

  proto::ConfigSettingRequest refresh;
  refresh.set_refresh_ik_soft_limit(true);
  settings.apply(refresh);
  EXPECT_EQ(settings.settings().ik_limits.at("left_arm").upper[0], arm.joints[0].upper);
}

TEST(PlanResults, FitTheirRoom) {
  const planning::PlanningModel model = load_model();
  planning::Path path{{"left_arm", "right_arm"}, {}, {}};
  for (int i = 0; i <= 10000; ++i) {
    path.points.emplace_back(model.dof(), 1e-4 * i);
    path.times.push_back(0.01 * i);
  }
  for (const size_t room : {500U, 4000U, 60000U, 10000000U}) {
    std::string note;
    const auto target = make_target_within(room, path, model, note);
    const auto& commands = target.target_group_trajectory_map().at("right_arm").group_commands();
    EXPECT_EQ(note.empty(), room == 10000000U);
    EXPECT_TRUE(target.ByteSizeLong() <= room || commands.size() == 2) << target.ByteSizeLong();
    EXPECT_EQ(commands[0].joint_commands(6).position(), 0.0);
    EXPECT_NEAR(commands[commands.size() - 1].joint_commands(6).position(), 1.0, 1e-9);
    EXPECT_NEAR(commands[commands.size() - 1].time_from_start().sec(), 100.0, 1e-9);
  }
}

class Executions : public ::testing::Test {
 protected:
  static std::unique_ptr<World> make_world() {
    auto robot = make_robot_model({});
    std::string error;
    auto kinematics = Kinematics::load(*robot, NORVIK_SIMULATOR_MODEL_DIR, error);
    return std::make_unique<World>(std::move(*robot), std::move(*kinematics));
  }

  // A second for the head and half a one for the arm.
  static tavrinox_proto::TavrinoXTarget target() {
    tavrinox_proto::TavrinoXTarget result;
    for (const auto& [group, joints] : std::map<std::string, int>{{"head", 2}, {"left_arm", 7}}) {
      auto& trajectory = (*result.mutable_target_group_trajectory_map())[group];
      for (int i = 1; i <= joints; ++i) {
        trajectory.add_joint_names(group + "_joint" + std::to_string(i));
      }
      auto& command = *trajectory.add_group_commands();
      command.mutable_time_from_start()->set_sec(joints == 2 ? 1.0 : 0.5);
      for (int i = 0; i < joints; ++i) {
        command.add_joint_commands()->set_position(i == 0 ? 0.2 : 0.0);
      }
    }
    return result;
  }

  // Steps until the motion has ended; `meanwhile` happens when the arm has moved for a while.
  std::string run(const std::function<void()>& meanwhile = [] {}) {
    auto outcome = std::async(std::launch::async, [this] { return execution_.run(target(), "task", stop_); });
    double time = 0.0;
    int moved = 0;
    while (outcome.wait_for(std::chrono::microseconds(100)) != std::future_status::ready && time < 60.0) {
      world_->step(0.01);
      execution_.observe(world_->state(), time += 0.01);
      moved += world_->state().positions()["left_arm_joint1"] != 0.0 ? 1 : 0;
      if (moved == 20) {
        meanwhile();
        ++moved;
      }
    }
    return outcome.get();
  }

  std::unique_ptr<World> world_ = make_world();
  Execution execution_{*world_};
  std::atomic<bool> stop_{false};
};

TEST_F(Executions, EndWhenTheJointsArrive) {
  EXPECT_EQ(run(), "");
  EXPECT_NEAR(world_->state().positions()["left_arm_joint1"], 0.2, 1e-3);
  EXPECT_NEAR(world_->state().positions()["head_joint1"], 0.2, 1e-3);
}

TEST_F(Executions, TellWhatKeepsTheJointsFromArriving) {
  const auto head_is_halted = [this] {
    for (const GroupState& group : world_->state().groups) {
      if (group.name == "head") {
        EXPECT_FALSE(group.progress.target_finished);
        EXPECT_TRUE(group.progress.sampling_finished);
      }
    }
  };
  EXPECT_EQ(run([this] { world_->set_error("left_arm", 0x30001, "hot"); }), "left_arm is in fatal error: hot");
  head_is_halted();
  EXPECT_EQ(run(), "left_arm is in fatal error: hot");  // Refused.
  world_->clear_faults();
  world_->set_position("left_arm_joint1", 0.0);
  EXPECT_EQ(run([this] {
              auto other = target();
              other.mutable_target_group_trajectory_map()->erase("head");
              auto& config = *other.mutable_target_group_trajectory_map()->at("left_arm").mutable_target_config();
              config.set_target_data(1);
              config.set_target_type(14);
              EXPECT_TRUE(world_->follow(other).empty());
            }),
            "left_arm was given another target on its way");
  head_is_halted();
  world_->set_position("left_arm_joint1", 0.0);
  world_->set_frozen("left_arm_joint1", true);
  EXPECT_EQ(run(), "the joints did not arrive in time");
}

TEST_F(Executions, EndSoonWhenTheyAreStopped) {
  stop_ = true;
  EXPECT_EQ(execution_.run(target(), "task", stop_), "the planner ends");
}

}  // namespace
}  // namespace norvik::simulator
