#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "impl/common/proto_time.hpp"
#include "impl/wbc/joints/joint_manager_k2.hpp"
#include "impl/wbc/joints/joint_manager_r5.hpp"
#include "impl/wbc/targets/target_proto_builder.hpp"
#include "impl/wbc/targets/target_proto_converter.hpp"

namespace norvik::sdk {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

std::vector<int> numbers_of(const tavrinox_proto::TargetConfig& config) {
  return {config.target_data(), config.target_type(), config.target_sampling(), config.target_priority()};
}

std::shared_ptr<TargetProtoBuilder> k2_builder() { return TargetProtoBuilderK2::Create(JointManagerK2::Create()); }

TEST(Durations, AreTruncatedForOwnTargetsAndRoundedForTheUsers) {
  struct Case {
    double seconds;
    double truncated_sec;
    int64_t truncated_nanosec;
    double rounded_sec;
    int64_t rounded_nanosec;
  };
  const Case cases[] = {
      {0.0, 0.0, 0, 0.0, 0},
      {0.9999999999, 0.0, 999'999'999, 1.0, 0},
      {7.0 + 1.0 / 3.0, 7.0, 333'333'333, 7.0, 333'333'333},
      {0.0000000017, 0.0, 1, 0.0, 2},
      {2.3, 2.0, 299'999'999, 2.0, 300'000'000},
      {1e300, 1e300, 0, 1e300, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.seconds);
    core_proto::Duration duration;
    set_duration_truncated(c.seconds, duration);
    EXPECT_EQ(duration.sec(), c.truncated_sec);
    EXPECT_EQ(duration.nanosec(), c.truncated_nanosec);
    set_duration_rounded(c.seconds, duration);
    EXPECT_EQ(duration.sec(), c.rounded_sec);
    EXPECT_EQ(duration.nanosec(), c.rounded_nanosec);
  }
}

TEST(ClampedInt64, HoldsAnyDouble) {
  EXPECT_EQ(clamped_int64(-3.9), -3);
  EXPECT_EQ(clamped_int64(kNan), 0);
  EXPECT_EQ(clamped_int64(1e300), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(clamped_int64(9223372036854775808.0), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(clamped_int64(-kInf), std::numeric_limits<int64_t>::min());
}

TEST(TargetPoint, HasTheTypeOfItsGroupAndStartsAtOnceOnlyWithOverride) {
  struct Case {
    std::shared_ptr<JointManager> manager;
    const char* group;
    bool override_running;
    int type;
    double sec;
  };
  const auto k2 = JointManagerK2::Create();
  const Case cases[] = {
      {k2, "left_gripper", false, 255, 2.0}, {k2, "left_gripper", true, 10, 0.0},
      {k2, "left_arm", false, 255, 2.0},     {k2, "left_arm", true, 14, 2.0},
      {k2, "tail", true, 14, 2.0},           {nullptr, "left_gripper", true, 14, 2.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.group << " " << c.override_running);
    const auto builder = TargetProtoBuilderK2::Create(c.manager);
    const auto numbered = builder->generate_target_point(c.group, 1, {JointCommand{}}, 2.0, c.override_running);
    const auto named = builder->generate_target_point(c.group, {{"j", 0, 0, 0, 0}}, 2.0, c.override_running);
    for (const auto& target : {numbered, named}) {
      const auto& trajectory = target->target_group_trajectory_map().at(c.group);
      EXPECT_THAT(numbers_of(trajectory.target_config()), ElementsAre(255, c.type, 0, 1));
      EXPECT_TRUE(trajectory.group_commands(0).has_time_from_start());
      EXPECT_EQ(trajectory.group_commands(0).time_from_start().sec(), c.sec);
      EXPECT_FALSE(target->has_header());
    }
    const auto trajectory = builder->generate_target_trajectory(c.group, {}, {}, c.override_running);
    EXPECT_EQ(trajectory->target_group_trajectory_map().at(c.group).target_config().target_type(),
              c.override_running ? 14 : 255);
  }
}

TEST(TargetPoint, NumbersItsJointsAndTakesAtMostTheirCommands) {
  const std::vector<JointCommand> commands = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 9, 9, 9}};
  for (const int joint_num : {-1, 0, 2, 7}) {
    SCOPED_TRACE(joint_num);
    const auto target = k2_builder()->generate_target_point("left_arm", joint_num, commands, 1.0, false);
    const auto& trajectory = target->target_group_trajectory_map().at("left_arm");
    ASSERT_EQ(trajectory.joint_names_size(), std::max(joint_num, 0));
    EXPECT_EQ(trajectory.group_commands(0).joint_commands_size(), std::clamp(joint_num, 0, 3));
    if (joint_num < 2) continue;
    EXPECT_EQ(trajectory.joint_names(0), "left_arm_joint1");
    EXPECT_EQ(trajectory.joint_names(joint_num - 1), "left_arm_joint" + std::to_string(joint_num));
    const auto& command = trajectory.group_commands(0).joint_commands(1);
    EXPECT_THAT((std::vector<double>{command.position(), command.velocity(), command.acceleration(), command.effort()}),
                ElementsAre(5, 6, 7, 8));
  }
}

TEST(TargetTrajectory, KeepsNamesPointsAndTimes) {
  const std::vector<TrajectoryPoint> points = {{0.5, {{1, 0, 0, 0}, {2, 0, 0, 0}}}, {1.25, {{3, 0, 0, 0}}}};
  const auto target = k2_builder()->generate_target_trajectory("head", {"b", "a"}, points, true);
  const auto& trajectory = target->target_group_trajectory_map().at("head");
  EXPECT_THAT(trajectory.joint_names(), ElementsAre("b", "a"));
  ASSERT_EQ(trajectory.group_commands_size(), 2);
  EXPECT_EQ(trajectory.group_commands(0).joint_commands(1).position(), 2);
  EXPECT_EQ(trajectory.group_commands(1).time_from_start().sec(), 1.0);
  EXPECT_EQ(trajectory.group_commands(1).time_from_start().nanosec(), 250'000'000);
  EXPECT_EQ(trajectory.group_commands(1).joint_commands_size(), 1);
}

TEST(EndEffectorTarget, IsTheWholeBodyTask) {
  const auto target = k2_builder()->generate_target_end_effector_command(
      {{1, 2, 3, 4, 5, 6, 7}, {8, 9, 10, 11, 12, 13, 14}}, {"left_tcp", "right_tcp"}, {"odom", "base_link"});
  const auto& task = target->target_task_trajectory_map().at("wbc");
  EXPECT_THAT(numbers_of(task.target_config()), ElementsAre(255, 10, 1, 1));
  EXPECT_THAT(task.group_names(), ElementsAre("wbc"));
  EXPECT_THAT(task.subtask_names(), ElementsAre("left_tcp_task", "right_tcp_task"));
  ASSERT_EQ(task.task_commands_size(), 1);
  const auto& frame = task.task_commands(0).subtask_commands(1);
  EXPECT_EQ(frame.header().frame_id(), "right_tcp");
  EXPECT_EQ(frame.body_frame_id(), "");
  EXPECT_EQ(frame.reference_frame_id(), "base_link");
  EXPECT_EQ(frame.pose_msg().pose().position().z(), 10);
  EXPECT_EQ(frame.pose_msg().pose().orientation().x(), 11);
  EXPECT_EQ(frame.pose_msg().pose().orientation().w(), 14);

  const auto clear = k2_builder()->generate_target_end_effector_clear();
  const auto& clear_task = clear->target_task_trajectory_map().at("wbc");
  EXPECT_THAT(numbers_of(clear_task.target_config()), ElementsAre(255, 2, 1, 1));
  EXPECT_THAT(clear_task.group_names(), ElementsAre("wbc"));
  EXPECT_EQ(clear_task.task_commands_size(), 0);
}

TEST(ChassisTarget, UsesTheModelsGroupAndAFreshSubtask) {
  const std::pair<std::shared_ptr<TargetProtoBuilder>, const char*> models[] = {
      {k2_builder(), "chassis"}, {TargetProtoBuilderR5::Create(JointManagerR5::Create()), "swerve_chassis"}};
  for (const auto& [builder, group] : models) {
    SCOPED_TRACE(group);
    const auto twist = builder->generate_target_chassis_twist(0.1, 0.2, 0.3);
    const auto& twist_task = twist->target_task_trajectory_map().at(group);
    EXPECT_THAT(numbers_of(twist_task.target_config()), ElementsAre(32, 10, 1, 1));
    EXPECT_THAT(twist_task.group_names(), ElementsAre(group));
    EXPECT_EQ(twist_task.task_commands(0).time_from_start().sec(), 1.0);
    const auto& base = twist_task.task_commands(0).subtask_commands(0);
    EXPECT_EQ(base.header().frame_id() + base.body_frame_id() + base.reference_frame_id(),
              "base_linkbase_linkbase_link");
    EXPECT_EQ(base.twist_msg().twist().linear().y(), 0.2);
    EXPECT_EQ(base.twist_msg().twist().angular().z(), 0.3);
    EXPECT_FALSE(base.has_pose_msg());

    const auto pose = builder->generate_target_chassis_pose(1, 2, M_PI, "f", "r", 2.3);
    const auto& pose_task = pose->target_task_trajectory_map().at(group);
    EXPECT_THAT(numbers_of(pose_task.target_config()), ElementsAre(16, 10, 2, 1));
    EXPECT_EQ(pose_task.task_commands(0).time_from_start().nanosec(), 299'999'999);
    const auto& frame = pose_task.task_commands(0).subtask_commands(0);
    EXPECT_EQ(frame.header().frame_id(), "f");
    EXPECT_EQ(frame.body_frame_id(), "base_link");
    EXPECT_EQ(frame.reference_frame_id(), "r");
    EXPECT_EQ(frame.pose_msg().pose().position().y(), 2);
    EXPECT_NEAR(frame.pose_msg().pose().orientation().z(), 1.0, 1e-15);
    EXPECT_NEAR(frame.pose_msg().pose().orientation().w(), 0.0, 1e-15);

    const auto again = builder->generate_target_chassis_twist(0.1, 0.2, 0.3);
    EXPECT_THAT(twist_task.subtask_names(0), StartsWith("chassis_twist_"));
    EXPECT_THAT(pose_task.subtask_names(0), StartsWith("chassis_pose_"));
    EXPECT_NE(twist_task.subtask_names(0), again->target_task_trajectory_map().at(group).subtask_names(0));
  }
}

TEST(MergeTarget, TakesTheSourcesEntryWhole) {
  const auto builder = k2_builder();
  const auto destination = builder->generate_target_point("head", 2, {{1, 0, 0, 0}, {1, 0, 0, 0}}, 1.0, false);
  const auto source = builder->generate_target_point("head", 1, {{5, 0, 0, 0}}, 1.0, true);
  builder->merge_tavrinox_target(source, builder->generate_target_point("leg", 1, {}, 1.0, false));
  builder->merge_tavrinox_target(source, builder->generate_target_end_effector_clear());
  merge_tavrinox_target(destination, source);
  merge_tavrinox_target(destination, nullptr);
  merge_tavrinox_target(nullptr, source);
  EXPECT_EQ(destination->SerializeAsString().size(), source->SerializeAsString().size());
  EXPECT_EQ(destination->target_group_trajectory_map().size(), 2u);
  EXPECT_EQ(destination->target_group_trajectory_map().at("head").joint_names_size(), 1);
  EXPECT_EQ(destination->target_task_trajectory_map().size(), 1u);
}

// A good target with one group and one task; each row spoils it, every row also spoils all that is tested after it.
TavrinoXTarget good_target() {
  TavrinoXTarget target;
  TargetGroupTrajectory& group = target.target_group_trajectory_map["head"];
  group.joint_names = {"a", "b"};
  group.group_commands = {{0.0, {{1, 2, 3, 4}, {5, 6, 7, 8}}}, {1.0, {{}, {}}}};
  TargetTaskTrajectory& task = target.target_task_trajectory_map["wbc"];
  task.subtask_names = {"s"};
  FrameTriad frame;
  frame.pose[0] = kNan;  // not looked at without its flag
  frame.has_twist = true;
  task.task_commands = {{0.0, {frame}}};
  return target;
}

TEST(ValidateTarget, ReportsItsFirstFinding) {
  using Spoil = std::function<void(TavrinoXTarget&)>;
  const auto command = [](TavrinoXTarget& target) -> GroupCommand& {
    return target.target_group_trajectory_map.begin()->second.group_commands[1];
  };
  const auto task_command = [](TavrinoXTarget& target) -> TaskCommand& {
    return target.target_task_trajectory_map.begin()->second.task_commands[0];
  };
  const auto frame = [&](TavrinoXTarget& target) -> FrameTriad& { return task_command(target).subtask_commands[0]; };
  struct Case {
    const char* finding;
    Spoil spoil;
  };
  // Later findings first.
  const std::vector<Case> cases = {
      {"frame triad wrench contains non-finite value",
       [&](TavrinoXTarget& t) { frame(t).has_wrench = true, frame(t).wrench[5] = kInf; }},
      {"frame triad twist contains non-finite value", [&](TavrinoXTarget& t) { frame(t).twist[5] = -kInf; }},
      {"frame triad pose contains non-finite value", [&](TavrinoXTarget& t) { frame(t).has_pose = true; }},
      {"frame triad must contain pose, twist, or wrench",
       [&](TavrinoXTarget& t) { frame(t).has_pose = frame(t).has_twist = frame(t).has_wrench = false; }},
      {"task command subtask_commands size mismatch with subtask_names",
       [&](TavrinoXTarget& t) { t.target_task_trajectory_map.at("wbc").subtask_names.emplace_back("s2"); }},
      {"task command has invalid time_from_start_s",
       [&](TavrinoXTarget& t) { task_command(t).time_from_start_s = kNan; }},
      {"target_task_trajectory_map contains empty task name",
       [](TavrinoXTarget& t) {
         auto node = t.target_task_trajectory_map.extract("wbc");
         node.key() = "";
         t.target_task_trajectory_map.insert(std::move(node));
       }},
      {"group command contains non-finite joint command",
       [&](TavrinoXTarget& t) { command(t).joint_commands[1].effort = kNan; }},
      {"group command joint_commands size mismatch with joint_names",
       [&](TavrinoXTarget& t) { command(t).joint_commands.erase(command(t).joint_commands.begin()); }},
      {"group command has invalid time_from_start_s", [&](TavrinoXTarget& t) { command(t).time_from_start_s = -1e-9; }},
      {"target_group_trajectory_map contains empty group name",
       [](TavrinoXTarget& t) {
         auto node = t.target_group_trajectory_map.extract("head");
         node.key() = "";
         t.target_group_trajectory_map.insert(std::move(node));
       }},
  };
  EXPECT_EQ(TargetProtoConverter::validate_target_input(TavrinoXTarget{}), "target is empty");
  TavrinoXTarget target = good_target();
  EXPECT_EQ(TargetProtoConverter::validate_target_input(target), std::nullopt);
  for (const Case& c : cases) {
    c.spoil(target);
    EXPECT_EQ(TargetProtoConverter::validate_target_input(target), c.finding);
  }
}

TEST(ValidateTarget, LetsEmptyTrajectoriesAndUnnamedSubtasksPass) {
  TavrinoXTarget target = good_target();
  target.target_group_trajectory_map.at("head").group_commands.clear();
  target.target_task_trajectory_map.at("wbc").subtask_names.clear();
  EXPECT_EQ(TargetProtoConverter::validate_target_input(target), std::nullopt);
}

TEST(ConvertTarget, CarriesEveryField) {
  TavrinoXTarget target = good_target();
  target.timestamp_ns = 1'700'000'000'123'456'789;
  target.frame_id = "frame";
  TargetGroupTrajectory& group = target.target_group_trajectory_map.at("head");
  group.target_config = {16, 14, 77, -3, "id", {12, 34}};
  group.group_commands[0].time_from_start_s = 0.9999999999;
  TargetTaskTrajectory& task = target.target_task_trajectory_map.at("wbc");
  task.group_names = {"g"};
  task.joint_names = {"j"};
  FrameTriad frame{-5, "f", "b", "r", {1, 2, 3, 4, 5, 6, 7}, true, {}, false, {1, 2, 3, 4, 5, 6}, true};
  task.task_commands = {{1.5, {frame}}};

  const auto proto = TargetProtoConverter::convert_target_to_proto(target);
  EXPECT_EQ(proto->header().timestamp().sec(), 1'700'000'000);
  EXPECT_EQ(proto->header().timestamp().nanosec(), 123'456'789u);
  EXPECT_EQ(proto->header().frame_id(), "frame");
  const auto& group_proto = proto->target_group_trajectory_map().at("head");
  EXPECT_THAT(numbers_of(group_proto.target_config()), ElementsAre(16, 14, 77, -3));
  EXPECT_EQ(group_proto.target_config().target_id(), "id");
  EXPECT_EQ(group_proto.target_config().target_ts().sec(), 12);
  EXPECT_EQ(group_proto.target_config().target_ts().nanosec(), 34u);
  EXPECT_THAT(group_proto.joint_names(), ElementsAre("a", "b"));
  EXPECT_EQ(group_proto.group_commands(0).time_from_start().sec(), 1.0);
  EXPECT_EQ(group_proto.group_commands(0).time_from_start().nanosec(), 0);
  EXPECT_EQ(group_proto.group_commands(0).joint_commands(1).effort(), 8);
  const auto& task_proto = proto->target_task_trajectory_map().at("wbc");
  EXPECT_THAT(task_proto.group_names(), ElementsAre("g"));
  EXPECT_THAT(task_proto.joint_names(), ElementsAre("j"));
  EXPECT_THAT(task_proto.subtask_names(), ElementsAre("s"));
  const auto& frame_proto = task_proto.task_commands(0).subtask_commands(0);
  EXPECT_EQ(frame_proto.header().timestamp().sec(), 0);  // times before the epoch are sent as 0
  EXPECT_EQ(frame_proto.header().frame_id() + frame_proto.body_frame_id() + frame_proto.reference_frame_id(), "fbr");
  EXPECT_EQ(frame_proto.pose_msg().pose().orientation().w(), 7);
  EXPECT_FALSE(frame_proto.has_twist_msg());
  EXPECT_EQ(frame_proto.wrench_msg().wrench().force().z(), 3);
  EXPECT_EQ(frame_proto.wrench_msg().wrench().torque().x(), 4);
}

}  // namespace
}  // namespace norvik::sdk
