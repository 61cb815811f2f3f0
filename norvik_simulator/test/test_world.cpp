#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "wire/state_messages.hpp"
#include "world/world.hpp"

namespace norvik::simulator {
namespace {

namespace proto = norvik::tavrinox_proto;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::unique_ptr<World> make_world(const RobotOptions& options = {}) {
  auto robot = make_robot_model(options);
  std::string error;
  auto kinematics = Kinematics::load(*robot, NORVIK_SIMULATOR_MODEL_DIR, error);
  EXPECT_TRUE(kinematics) << error;
  return std::make_unique<World>(std::move(*robot), std::move(*kinematics));
}

void run(World& world, double seconds) {
  for (int i = 0; i < std::lround(seconds / 0.01); ++i) {
    world.step(0.01);
  }
}

proto::TargetGroupTrajectory& add_group(proto::TavrinoXTarget& target, const std::string& group,
                                        const std::vector<double>& positions, double time_s = 1.0) {
  auto& trajectory = (*target.mutable_target_group_trajectory_map())[group];
  trajectory.mutable_target_config()->set_target_data(proto::TARGET_DATA_DEFAULT);
  trajectory.mutable_target_config()->set_target_type(proto::TARGET_TYPE_PROVERRIDE);
  auto& command = *trajectory.add_group_commands();
  command.mutable_time_from_start()->set_sec(time_s);
  for (size_t i = 0; i < positions.size(); ++i) {
    trajectory.add_joint_names(group + "_joint" + std::to_string(i + 1));
    command.add_joint_commands()->set_position(positions[i]);
  }
  return trajectory;
}

proto::TargetTaskTrajectory& add_task(proto::TavrinoXTarget& target, const std::string& task, int32_t data) {
  auto& trajectory = (*target.mutable_target_task_trajectory_map())[task];
  trajectory.mutable_target_config()->set_target_data(data);
  trajectory.mutable_target_config()->set_target_type(proto::TARGET_TYPE_OVERRIDE);
  trajectory.mutable_target_config()->set_target_sampling(proto::TARGET_SAMPLING_DIRECT_PASS);
  trajectory.add_task_commands()->mutable_time_from_start()->set_sec(1.0);
  return trajectory;
}

proto::TavrinoXTarget twist_target(const std::string& chassis, double vx, double wz) {
  proto::TavrinoXTarget target;
  auto& triad =
      *add_task(target, chassis, proto::TARGET_DATA_FRAME_TWIST).mutable_task_commands(0)->add_subtask_commands();
  triad.mutable_twist_msg()->mutable_twist()->mutable_linear()->set_x(vx);
  triad.mutable_twist_msg()->mutable_twist()->mutable_angular()->set_z(wz);
  return target;
}

proto::TavrinoXTarget pose_target(const std::string& chassis, const std::string& frame, double x, double y,
                                  double yaw) {
  proto::TavrinoXTarget target;
  auto& trajectory = add_task(target, chassis, proto::TARGET_DATA_FRAME_POSE);
  trajectory.mutable_target_config()->set_target_sampling(proto::TARGET_SAMPLING_LINEAR_INTERPOLATE);
  auto& triad = *trajectory.mutable_task_commands(0)->add_subtask_commands();
  triad.mutable_header()->set_frame_id(frame);
  auto& pose = *triad.mutable_pose_msg()->mutable_pose();
  pose.mutable_position()->set_x(x);
  pose.mutable_position()->set_y(y);
  pose.mutable_orientation()->set_z(std::sin(yaw / 2));
  pose.mutable_orientation()->set_w(std::cos(yaw / 2));
  return target;
}

void add_frame(proto::TavrinoXTarget& target, const std::string& frame, const KDL::Frame& wanted) {
  auto& triad = *add_task(target, "wbc", proto::TARGET_DATA_DEFAULT).mutable_task_commands(0)->add_subtask_commands();
  triad.mutable_header()->set_frame_id(frame);
  triad.set_reference_frame_id("world");
  auto& pose = *triad.mutable_pose_msg()->mutable_pose();
  pose.mutable_position()->set_x(wanted.p.x());
  pose.mutable_position()->set_y(wanted.p.y());
  pose.mutable_position()->set_z(wanted.p.z());
  double x, y, z, w;
  wanted.M.GetQuaternion(x, y, z, w);
  pose.mutable_orientation()->set_x(x);
  pose.mutable_orientation()->set_y(y);
  pose.mutable_orientation()->set_z(z);
  pose.mutable_orientation()->set_w(w);
}

proto::TavrinoXController controller_request(const std::string& group, proto::ControllerOption option, int id = 0) {
  proto::TavrinoXController request;
  auto& config = (*request.mutable_ctrl_config_map())[group];
  config.set_ctrl_option(option);
  config.set_ctrl_id(id);
  return request;
}

std::string first_reason(const Refusals& refusals) { return refusals.empty() ? "" : refusals[0].reason; }

TEST(World, RefusesWhatItCannotDoAndThenDoesNothing) {
  struct Row {
    const char* reason;
    std::function<void(proto::TavrinoXTarget&)> build;
  };
  const std::vector<double> seven(7, 0.2);
  const Row rows[] = {
      {"wing is no group of this robot", [](auto& t) { add_group(t, "wing", {0.1}); }},
      {"dance is no task of this robot", [](auto& t) { add_task(t, "dance", 16); }},
      {"chassis takes no joint targets",
       [](auto& t) {
         add_group(t, "chassis", {1, 1, 1, 1});
       }},
      {"head has no joint head_joint3",
       [](auto& t) {
         add_group(t, "head", {0.1, 0.1, 0.1});
       }},
      {"head names joint head_joint1 twice",
       [](auto& t) {
         add_group(t, "head", {0.1, 0.1}).set_joint_names(1, "head_joint1");
       }},
      {"head has 1 joint commands for 2 joints",
       [](auto& t) {
         add_group(t, "head", {0.1, 0.1}).mutable_group_commands(0)->mutable_joint_commands()->RemoveLast();
       }},
      {"head names no joint", [](auto& t) { add_group(t, "head", {0.1}).clear_joint_names(); }},
      {"head has a value that is not finite or too large for joint head_joint2",
       [](auto& t) {
         add_group(t, "head", {0.1, kNan});
       }},
      {"head has a value that is not finite or too large for joint head_joint1",
       [](auto& t) {
         add_group(t, "head", {1e300, 0.0});
       }},
      {"head time_from_start is negative, not finite or too long",
       [](auto& t) {
         add_group(t, "head", {0.1, 0.1}, -0.1);
       }},
      {"head time_from_start is negative, not finite or too long",
       [](auto& t) {
         add_group(t, "head", {0.1, 0.1}, kNan);
       }},
      {"head time_from_start decreases",
       [](auto& t) {
         auto& head = add_group(t, "head", {0.1, 0.1}, 2.0);
         *head.add_group_commands() = head.group_commands(0);
         head.mutable_group_commands(1)->mutable_time_from_start()->set_sec(1.0);
       }},
      {"head has target_type 0, which is not simulated",
       [](auto& t) {
         add_group(t, "head", {0.1, 0.1}).mutable_target_config()->set_target_type(0);
       }},
      {"head has target_sampling 7, which is not simulated",
       [](auto& t) {
         add_group(t, "head", {0.1, 0.1})
             .mutable_target_config()
             ->set_target_sampling(proto::TARGET_SAMPLING_B_SPLINES);
       }},
      {"head has target_data 2 without joint positions, which is not simulated",
       [](auto& t) {
         add_group(t, "head", {0.1, 0.1}).mutable_target_config()->set_target_data(2);
       }},
      {"chassis got a twist, but its twist controller is not active",
       [](auto& t) { t = twist_target("chassis", 1, 0); }},
      {"chassis has a pose in unknown frame moon", [](auto& t) { t = pose_target("chassis", "moon", 1, 0, 0); }},
      {"chassis has a pose that is not finite, too large, or without orientation",
       [](auto& t) { t = pose_target("chassis", "odom", kNan, 0, 0); }},
      {"wbc needs exactly one command", [](auto& t) { add_task(t, "wbc", 255).clear_task_commands(); }},
      {"wbc has unknown frame left_hand", [](auto& t) { add_frame(t, "left_hand", KDL::Frame::Identity()); }},
      {"wbc has frame base_link, which no joint that takes targets moves",
       [](auto& t) { add_frame(t, "base_link", KDL::Frame::Identity()); }},
      {"wbc has frame chassis_link1, which no joint that takes targets moves",
       [](auto& t) { add_frame(t, "chassis_link1", KDL::Frame::Identity()); }},
  };
  const auto world = make_world();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    proto::TavrinoXTarget target;
    row.build(target);
    add_group(target, "left_arm", seven);
    const Refusals refusals = world->follow(target);
    ASSERT_EQ(refusals.size(), 1u);
    EXPECT_EQ(refusals[0].reason, row.reason);
    run(*world, 0.05);
    EXPECT_EQ(world->state().positions().at("left_arm_joint1"), 0.0);
  }
}

TEST(World, RefusalsFromTheWireAreBounded) {
  const auto world = make_world();
  proto::TavrinoXTarget target;
  for (int i = 0; i < 10000; ++i) {
    add_group(target, std::string(1000, '\x01') + std::to_string(i), {});
  }
  const Refusals refusals = world->follow(target);
  EXPECT_EQ(refusals.size(), 32u);
  for (const Refusal& refusal : refusals) {
    EXPECT_LE(refusal.reason.size(), 200u);
    EXPECT_EQ(refusal.reason.find('\x01'), std::string::npos);
  }
}

TEST(World, ArmMovesInItsTimeAndHoldsUnnamedJoints) {
  const auto world = make_world();
  world->set_position("left_arm_joint5", 0.7);
  proto::TavrinoXTarget target;
  add_group(target, "left_arm", {0.2, 0.2, 0.2}, 2.0);
  ASSERT_EQ(first_reason(world->follow(target)), "");
  run(*world, 1.0);
  EXPECT_NEAR(world->state().positions().at("left_arm_joint1"), 0.1, 0.01);
  run(*world, 1.1);
  const auto info = make_wbc_info(world->state(), world->kinematics(), now_stamp());
  const proto::GroupInfo& arm = info->group_info_map().at("left_arm");
  EXPECT_TRUE(arm.target_info().sampling_finished());
  EXPECT_LT(arm.error_final_pos_norm(), 1e-6);
  EXPECT_NEAR(world->state().positions().at("left_arm_joint5"), 0.7, 1e-9);
  EXPECT_EQ(info->joint_info().names_size(), info->joint_info().state_cur_size());
}

TEST(World, FatalErrorEmergencyStopAndReleaseRefuseMotion) {
  const auto world = make_world();
  proto::TavrinoXTarget target;
  add_group(target, "head", {0.5, 0.5});

  world->set_error("head", kFatalErrorCode - 1, "warm");
  EXPECT_EQ(first_reason(world->follow(target)), "");
  run(*world, 0.2);
  for (const int32_t code : {kFatalErrorCode, -1}) {
    world->set_error("head", code, "hot");
    EXPECT_EQ(first_reason(world->follow(target)), "head is in fatal error: hot");
  }
  const double stopped_at = world->state().positions().at("head_joint1");
  run(*world, 0.5);
  EXPECT_EQ(world->state().positions().at("head_joint1"), stopped_at);
  EXPECT_GT(stopped_at, 0.0);
  world->set_error("head", 0, "");
  EXPECT_EQ(first_reason(world->follow(target)), "");

  struct Row {
    proto::ControllerOption option;
    std::string group;
    const char* reason;
  };
  const Row rows[] = {
      {proto::CONTROLLER_OPTIONS_CONTROLER_RELEASE, "head", "head has no controller, it was released"},
      {proto::CONTROLLER_OPTIONS_CONTROLER_STOP, "head", "head has no controller, it was released"},
      {proto::CONTROLLER_OPTIONS_CONTROLER_START, "head", ""},
      {proto::CONTROLLER_OPTIONS_CONTROLER_RELEASE, "all", "head has no controller, it was released"},
      {proto::CONTROLLER_OPTIONS_CONTROLER_RELOAD, "all", ""},
      {proto::CONTROLLER_OPTIONS_SOFT_EMERGENCY_STOP, "all", "head is in emergency stop"},
      {proto::CONTROLLER_OPTIONS_SOFT_EMERGENCY_RESUME, "all", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(proto::ControllerOption_Name(row.option) + " " + row.group);
    EXPECT_EQ(first_reason(world->control(controller_request(row.group, row.option))), "");
    EXPECT_EQ(first_reason(world->follow(target)), row.reason);
  }
  EXPECT_EQ(first_reason(world->control(controller_request("wing", proto::CONTROLLER_OPTIONS_CONTROLER_STOP))),
            "wing is no group of this robot");
  EXPECT_EQ(first_reason(world->control(controller_request("head", proto::CONTROLLER_OPTIONS_CONTROLER_SWITCH, 7))),
            "head has no controller 7");
  EXPECT_EQ(first_reason(world->control(controller_request("head", proto::CONTROLLER_OPTIONS_NONE))),
            "head has controller option 0, which does not exist");
}

// Whatever ends a motion early, the robot must not report it as one that arrived.
TEST(World, MotionCutShortKeepsItsError) {
  struct Row {
    const char* name;
    std::function<void(World&)> cut;
  };
  const auto control = [](proto::ControllerOption option, const std::string& group) {
    return [=](World& world) { world.control(controller_request(group, option)); };
  };
  const auto reload = control(proto::CONTROLLER_OPTIONS_CONTROLER_RELOAD, "left_arm");
  const auto stop = control(proto::CONTROLLER_OPTIONS_CONTROLER_STOP, "left_arm");
  const auto clear = [](World& world) {
    proto::TavrinoXTarget target;
    auto& arm = add_group(target, "left_arm", {});
    arm.mutable_target_config()->set_target_type(proto::TARGET_TYPE_CLEAR);
    arm.clear_group_commands();
    world.follow(target);
  };
  const Row rows[] = {
      {"fault", [](World& world) { world.set_error("left_arm", kFatalErrorCode, "hot"); }},
      {"fault that goes again",
       [](World& world) {
         world.set_error("left_arm", kFatalErrorCode, "hot");
         world.clear_faults();
       }},
      {"stop", stop},
      {"stop of all", control(proto::CONTROLLER_OPTIONS_CONTROLER_STOP, "all")},
      {"stop twice", [&](World& world) { stop(world), stop(world); }},
      {"release", control(proto::CONTROLLER_OPTIONS_CONTROLER_RELEASE, "left_arm")},
      {"reload", reload},
      {"reload after stop", [&](World& world) { stop(world), reload(world); }},
      {"emergency stop", control(proto::CONTROLLER_OPTIONS_SOFT_EMERGENCY_STOP, "left_arm")},
      {"another controller",
       [](World& world) {
         world.control(controller_request("left_arm", proto::CONTROLLER_OPTIONS_CONTROLER_SWITCH, 0));
       }},
      {"cleared target", clear},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const auto world = make_world();
    proto::TavrinoXTarget target;
    add_group(target, "left_arm", std::vector<double>(7, 0.4));
    ASSERT_EQ(first_reason(world->follow(target)), "");
    run(*world, 0.5);
    row.cut(*world);
    run(*world, 2.0);
    const auto state = world->state();
    EXPECT_TRUE(state.is_at_rest());
    const auto arm = make_wbc_info(state, world->kinematics(), now_stamp())->group_info_map().at("left_arm");
    EXPECT_NEAR(arm.error_final_pos_norm(), 0.2 * std::sqrt(7.0), 0.02);
    EXPECT_NEAR(arm.error_final_pos(0), 0.2, 0.01);
    EXPECT_TRUE(arm.target_info().sampling_finished());
    EXPECT_FALSE(arm.target_info().target_finished());
    EXPECT_NEAR(arm.target_info().sampling_percent(), 50.0, 2.0);
  }
}

// The change of the base's velocity in the odometry frame from step to step, the largest of each axis.
double hardest_acceleration(World& world, double seconds, double dt) {
  double hardest = 0.0;
  PlanarPose last = world.state().base_pose;
  PlanarTwist speed;
  bool has_speed = false;
  for (double time = 0.0; time < seconds; time += dt) {
    world.step(dt);
    const PlanarPose pose = world.state().base_pose;
    const PlanarTwist now = {(pose.x - last.x) / dt, (pose.y - last.y) / dt, (pose.yaw - last.yaw) / dt};
    if (has_speed) {
      hardest = std::max({hardest, std::abs(now.vx - speed.vx) / dt, std::abs(now.vy - speed.vy) / dt,
                          std::abs(now.wz - speed.wz) / dt / 2.0});
    }
    last = pose;
    speed = now;
    has_speed = true;
  }
  return hardest;
}

// 4 m/s² and 8 rad/s², whatever takes over from what.
TEST(World, BaseNeverJerks) {
  const auto switch_to = [](World& world, int id) {
    world.control(controller_request("chassis", proto::CONTROLLER_OPTIONS_CONTROLER_SWITCH, id));
  };
  const auto stop = [](World& world) {
    world.control(controller_request("chassis", proto::CONTROLLER_OPTIONS_CONTROLER_STOP));
  };
  for (const double dt : {0.01, 0.0025}) {
    SCOPED_TRACE(dt);
    const auto world = make_world();
    switch_to(*world, 1);
    ASSERT_EQ(first_reason(world->follow(twist_target("chassis", 2.0, 0.0))), "");
    EXPECT_LT(hardest_acceleration(*world, 1.0, dt), 4.01);
    switch_to(*world, 0);
    ASSERT_EQ(first_reason(world->follow(pose_target("chassis", "odom", 0.5, 0.3, 0.4))), "");
    EXPECT_LT(hardest_acceleration(*world, 4.0, dt), 4.01);
    EXPECT_NEAR(world->state().base_pose.x, 0.5, 1e-9);
    EXPECT_NEAR(world->state().base_pose.yaw, 0.4, 1e-9);
    EXPECT_TRUE(world->state().is_at_rest());
    ASSERT_EQ(first_reason(world->follow(pose_target("chassis", "odom", 2.5, 0.3, 2.4))), "");
    EXPECT_LT(hardest_acceleration(*world, 0.5, dt), 4.01);
    EXPECT_GT(world->state().base_twist.vx * world->state().base_twist.vx +
                  world->state().base_twist.vy * world->state().base_twist.vy,
              0.5);
    stop(*world);
    EXPECT_LT(hardest_acceleration(*world, 2.0, dt), 4.01);
    EXPECT_TRUE(world->state().is_at_rest());
    EXPECT_GT(world->state().groups[0].final_error, 0.5);
  }
}

TEST(World, TwistIsKeptUntilTheNextCommandAndIntegrated) {
  const auto world = make_world({"r5", "2.0", "inspire"});
  const auto twist_on = controller_request("swerve_chassis", proto::CONTROLLER_OPTIONS_CONTROLER_SWITCH, 1);
  ASSERT_EQ(first_reason(world->control(twist_on)), "");
  ASSERT_EQ(first_reason(world->follow(twist_target("swerve_chassis", 0.5, 0.0))), "");
  run(*world, 0.9);
  EXPECT_NEAR(world->state().base_twist.vx, 0.5, 1e-9);
  run(*world, 1.1);
  EXPECT_NEAR(world->state().base_twist.vx, 0.5, 1e-9);
  EXPECT_NEAR(world->state().base_pose.x, 1.0, 0.05);
  ASSERT_EQ(first_reason(world->follow(twist_target("swerve_chassis", 0.0, 0.0))), "");
  run(*world, 0.5);
  EXPECT_EQ(world->state().base_twist.vx, 0.0);
  const double x = world->state().base_pose.x;
  run(*world, 0.5);
  EXPECT_EQ(world->state().base_pose.x, x);
  // Around a circle of one metre across: a quarter turn.
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(first_reason(world->follow(twist_target("swerve_chassis", 0.5, 1.0))), "");
    run(*world, M_PI / 4);
  }
  EXPECT_NEAR(world->state().base_pose.yaw, M_PI / 2, 0.15);
  EXPECT_NEAR(world->state().base_pose.y, 0.5, 0.1);
}

TEST(World, PosesInEveryFrame) {
  struct Row {
    const char* frame;
    double x, y, yaw;  // Wanted, from (1, 0) looking along y.
  };
  const Row rows[] = {{"odom", 0.5, 0.2, 0.1},
                      {"map", 0.5, 0.2, 0.1},
                      {"base_link", 0.8, 0.5, M_PI / 2 + 0.1},
                      {"rel(0)", 0.8, 0.5, M_PI / 2 + 0.1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.frame);
    const auto world = make_world();
    ASSERT_EQ(first_reason(world->follow(pose_target("chassis", "odom", 1.0, 0.0, M_PI / 2))), "");
    run(*world, 1.5);
    ASSERT_EQ(first_reason(world->follow(pose_target("chassis", row.frame, 0.5, 0.2, 0.1))), "");
    run(*world, 0.5);
    EXPECT_FALSE(world->state().groups[0].progress.sampling_finished);
    run(*world, 1.0);
    EXPECT_NEAR(world->state().base_pose.x, row.x, 1e-6);
    EXPECT_NEAR(world->state().base_pose.y, row.y, 1e-6);
    EXPECT_NEAR(world->state().base_pose.yaw, row.yaw, 1e-6);
  }
}

TEST(World, EndEffectorTargetIsReached) {
  const auto world = make_world();
  for (const auto& [joint, position] : JointPositions{{"left_arm_joint1", -0.4}, {"left_arm_joint4", -1.2}}) {
    ASSERT_TRUE(world->set_position(joint, position));
  }
  const std::string frame = "left_arm_end_effector_link";
  KDL::Frame wanted = *world->kinematics().link_pose(frame, world->state().positions());
  wanted.p += KDL::Vector(0.05, 0.03, 0.04);

  proto::TavrinoXTarget target;
  add_frame(target, frame, wanted);
  ASSERT_EQ(first_reason(world->follow(target)), "");
  run(*world, 3.0);
  const KDL::Frame reached = *world->kinematics().link_pose(frame, world->state().positions());
  EXPECT_LT((reached.p - wanted.p).Norm(), 1e-3);
  EXPECT_TRUE(world->state().wbc_progress.target_finished);

  wanted.p.x(50.0);
  target.Clear();
  add_frame(target, frame, wanted);
  EXPECT_EQ(first_reason(world->follow(target)), "wbc has a pose out of reach for frame " + frame);
}

TEST(World, GripperStopsAtAnObjectAndCupHolds) {
  const auto world = make_world();
  ASSERT_TRUE(world->set_object("left_gripper", 30.0));
  ASSERT_TRUE(world->set_object("left_suction_cup", 1.0));
  EXPECT_FALSE(world->set_object("left_arm", 1.0));
  proto::TavrinoXTarget target;
  auto& gripper = add_group(target, "left_gripper", {0.0}, 0.0);
  gripper.mutable_group_commands(0)->mutable_joint_commands(0)->set_velocity(10.0);
  gripper.mutable_group_commands(0)->mutable_joint_commands(0)->set_effort(40.0);
  add_group(target, "left_suction_cup", {1.0}, 0.0);
  ASSERT_EQ(first_reason(world->follow(target)), "");
  run(*world, 1.0);
  EXPECT_NEAR(world->state().positions().at("left_gripper_joint1"), 40.0, 0.2);
  run(*world, 2.0);
  const auto state = world->state();
  EXPECT_NEAR(state.positions().at("left_gripper_joint1"), 30.0, 1e-9);
  EXPECT_EQ(make_sensor(state, now_stamp())->joint_sensor_map().at("left_gripper").effort(0), 40.0);
  const auto info = make_wbc_info(state, world->kinematics(), now_stamp());
  EXPECT_EQ(info->other_info_map().at("left_suction_cup_state").int_value(), 2);
  EXPECT_EQ(info->other_info_map().at("lee_pose").list_value().values_size(), 7);
}

TEST(World, EveryModelHasItsJointsOnTheWire) {
  struct Row {
    RobotOptions options;
    size_t joints;
    const char* torso_joint;
  };
  const Row rows[] = {{{"k2", "2.0", "inspire"}, 41, "leg_joint5"},
                      {{"k2", "2.0", "linker_l20"}, 61, "left_dexhand_thumb_roll"},
                      {{"k2", "2.0", "sharpa"}, 29, "right_suction_cup_joint1"},
                      {{"r5", "1.3", "inspire"}, 27, "torso_base_joint"},
                      {{"r5", "2.0", "inspire"}, 27, "torso_lift_joint1"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.options.model + row.options.hardware_version + row.options.hand);
    const auto world = make_world(row.options);
    const JointPositions positions = world->state().positions();
    EXPECT_EQ(positions.size(), row.joints);
    EXPECT_EQ(positions.count(row.torso_joint), 1u);
    for (const char* frame : {"head_left_camera_color_optical_frame", "right_arm_camera_infra2_optical_frame",
                              "chassis_lidar_base_link", "left_rear_surround_color_optical_frame", "imu_base_link"}) {
      EXPECT_TRUE(world->kinematics().link_pose(frame, positions)) << frame;
    }
  }
  EXPECT_FALSE(make_robot_model({"q7", "1.0", "inspire"}));
}

}  // namespace
}  // namespace norvik::simulator
