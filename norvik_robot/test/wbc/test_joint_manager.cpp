#include <functional>

#include <gmock/gmock.h>

#include "impl/wbc/joints/joint_manager_k2.hpp"
#include "impl/wbc/joints/joint_manager_r5.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::sdk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Names = std::vector<std::string>;

// group, number of joints, first joint, last joint, final position error, flags "baegsd" in the order of the record
struct Row {
  const char* group;
  std::size_t joint_num;
  const char* first;
  const char* last;
  double error;
  const char* flags;
};

struct Model {
  const char* name;
  std::function<std::shared_ptr<JointManager>()> create;
  std::size_t active_joints;
  std::size_t active_body_joints;
  Names body_groups;
  std::vector<Row> rows;
};

std::vector<Row> r5_rows(const char* first_wheel, const char* last_wheel, const char* torso) {
  return {{"swerve_chassis", 8, first_wheel, last_wheel, 0.0, "------"},
          {"torso", 1, torso, torso, 0.03, "ba----"},
          {"head", 2, "head_joint1", "head_joint2", 0.02, "ba----"},
          {"left_arm", 7, "left_arm_joint1", "left_arm_joint7", 0.015, "ba----"},
          {"right_arm", 7, "right_arm_joint1", "right_arm_joint7", 0.015, "ba----"},
          {"left_gripper", 1, "left_gripper_joint1", "left_gripper_joint1", 5.0, "-aeg--"},
          {"right_gripper", 1, "right_gripper_joint1", "right_gripper_joint1", 5.0, "-aeg--"},
          {"left_camera", 0, "", "", 0.0, "------"},
          {"right_camera", 0, "", "", 0.0, "------"}};
}

std::vector<Model> models() {
  return {{"K2",
           [] { return JointManagerK2::Create(); },
           37,
           21,
           {"head", "left_arm", "right_arm", "leg"},
           {{"chassis", 4, "chassis_joint1", "chassis_joint4", 0.0, "------"},
            {"head", 2, "head_joint1", "head_joint2", 0.02, "ba----"},
            {"left_arm", 7, "left_arm_joint1", "left_arm_joint7", 0.015, "ba----"},
            {"right_arm", 7, "right_arm_joint1", "right_arm_joint7", 0.015, "ba----"},
            {"leg", 5, "leg_joint1", "leg_joint5", 0.03, "ba----"},
            {"left_gripper", 1, "left_gripper_joint1", "left_gripper_joint1", 5.0, "-aeg--"},
            {"right_gripper", 1, "right_gripper_joint1", "right_gripper_joint1", 5.0, "-aeg--"},
            {"left_suction_cup", 1, "left_suction_cup_joint1", "left_suction_cup_joint1", 0.0, "-ae-s-"},
            {"right_suction_cup", 1, "right_suction_cup_joint1", "right_suction_cup_joint1", 0.0, "-ae-s-"},
            {"left_dexhand", 6, "left_dexhand_joint1", "left_dexhand_joint6", 5.0, "-ae--d"},
            {"right_dexhand", 6, "right_dexhand_joint1", "right_dexhand_joint6", 5.0, "-ae--d"}}},
          {"R5 v1",
           [] { return JointManagerR5::Create("1.0"); },
           19,
           17,
           {"torso", "head", "left_arm", "right_arm"},
           r5_rows("Wheel_1_direction_joint", "Wheel_4_drive_joint", "torso_base_joint")},
          {"R5 v2",
           [] { return JointManagerR5::Create(); },
           19,
           17,
           {"torso", "head", "left_arm", "right_arm"},
           r5_rows("wheel_steering_joint1", "wheel_driving_joint4", "torso_lift_joint1")}};
}

class JointManagerOf : public ::testing::TestWithParam<Model> {
 protected:
  const std::shared_ptr<JointManager> manager_ = GetParam().create();
};

TEST_P(JointManagerOf, AnswersEveryRowOfItsTable) {
  Names groups;
  for (const Row& row : GetParam().rows) {
    SCOPED_TRACE(row.group);
    groups.push_back(row.group);
    const auto* metadata = manager_->find_group_metadata(row.group);
    ASSERT_NE(metadata, nullptr);
    const std::string flags = {metadata->is_body_group ? 'b' : '-',
                               metadata->is_active ? 'a' : '-',
                               manager_->is_end_effector_group(row.group) ? 'e' : '-',
                               manager_->is_gripper_group(row.group) ? 'g' : '-',
                               manager_->is_suction_cup_group(row.group) ? 's' : '-',
                               manager_->is_dexhand_group(row.group) ? 'd' : '-'};
    EXPECT_EQ(flags, row.flags);
    EXPECT_EQ(manager_->final_position_error_of(row.group), row.error);
    const auto joints = manager_->joint_names_of(row.group);
    ASSERT_TRUE(joints.has_value());
    int joint_num = -1;
    EXPECT_TRUE(manager_->try_get_joint_num(row.group, joint_num));
    EXPECT_EQ(joint_num, static_cast<int>(row.joint_num));
    ASSERT_EQ(joints->size(), row.joint_num);
    EXPECT_EQ(manager_->is_active_joint_group(row.group), row.flags[1] == 'a');
    for (const std::string& joint : *joints) {
      EXPECT_TRUE(manager_->has_joint(joint));
      EXPECT_EQ(manager_->group_name_of(joint), row.group);
      EXPECT_EQ(manager_->is_active_joint(joint), row.flags[1] == 'a');
    }
    if (!joints->empty()) {
      EXPECT_EQ(joints->front(), row.first);
      EXPECT_EQ(joints->back(), row.last);
    }
  }
  EXPECT_EQ(manager_->joint_groups(), groups);
}

TEST_P(JointManagerOf, CountsItsActiveJoints) {
  EXPECT_EQ(manager_->active_joint_set().size(), GetParam().active_joints);
  EXPECT_EQ(manager_->active_body_joint_num(), GetParam().active_body_joints);
  EXPECT_EQ(manager_->body_joint_groups(), GetParam().body_groups);
}

TEST_P(JointManagerOf, KnowsNoJointOfTheOtherTables) {
  for (const Model& other : models()) {
    for (const Row& row : other.rows) {
      if (row.joint_num == 0) continue;
      const bool is_own =
          manager_->has_joint_group(row.group) && manager_->joint_names_of(row.group)->front() == row.first;
      EXPECT_EQ(manager_->has_joint(row.first), is_own) << row.first;
      EXPECT_EQ(manager_->group_name_of(row.first).has_value(), is_own) << row.first;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, JointManagerOf, ::testing::ValuesIn(models()), [](const auto& row) {
  std::string name = row.param.name;
  name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
  return name;
});

TEST(JointManager, AnUnknownGroupIsReportedOnlyWhereItsValueMatters) {
  test::SdkLogCapture log;
  const auto manager = JointManagerR5::Create("2.0");
  log.clear();
  int joint_num = 42;
  EXPECT_FALSE(manager->try_get_joint_num("leg", joint_num));
  EXPECT_EQ(joint_num, 42);
  EXPECT_FALSE(manager->has_joint_group("leg"));
  EXPECT_FALSE(manager->is_gripper_group("leg"));
  EXPECT_FALSE(manager->is_active_joint_group("leg"));
  EXPECT_THAT(log.records(), IsEmpty());

  Names joints = {"kept"};
  manager->convert_joint_names({"leg", "head"}, joints);
  EXPECT_THAT(joints, ElementsAre("kept", "head_joint1", "head_joint2"));
  manager->convert_group_to_joint_names({"head", "leg", "left_camera"}, joints);
  EXPECT_THAT(joints, ElementsAre("head_joint1", "head_joint2"));
  EXPECT_EQ(manager->final_position_error_of("leg"), 0.0);
  EXPECT_THAT(log.texts("error"), ElementsAre("[convert_joint_names] has unknow joint group : leg",
                                              "[convert_group_to_joint_names] has unknow joint group : leg",
                                              "[final_position_error_of] unknown joint group : leg"));
}

TEST(JointManager, AcceptsTheFramesOfItsWorldAndNothingElse) {
  const auto manager = JointManagerK2::Create();
  for (const char* frame : {"odom", "map"}) {
    EXPECT_TRUE(manager->is_valid_frame_id(frame) && manager->is_valid_reference_frame_id(frame)) << frame;
  }
  EXPECT_TRUE(manager->is_valid_frame_id("base_link"));
  for (const char* frame : {"base_link", "", "Map", "map "}) {
    EXPECT_FALSE(manager->is_valid_reference_frame_id(frame)) << frame;
  }
  EXPECT_FALSE(manager->is_valid_frame_id(""));
}

TEST(JointManagerR5, ChoosesItsRevisionByThePrefixOfTheHardwareVersion) {
  const std::string prefix = "[R5HardwareTableVersionFromHardwareVersion] ";
  struct Case {
    const char* version;
    const char* level;
    std::string text;
    const char* torso;
  };
  const std::string unknown = ", defaulting to R5 v2 joint table";
  const std::vector<Case> cases = {
      {"1.0", "info", "hardware_version: 1.0, using R5 v1 joint table", "torso_base_joint"},
      {"1.", "info", "hardware_version: 1., using R5 v1 joint table", "torso_base_joint"},
      {"2.0.1", "info", "hardware_version: 2.0.1, using R5 v2 joint table", "torso_lift_joint1"},
      {"", "warning", "hardware_version is empty" + unknown, "torso_lift_joint1"},
      {"3.0", "warning", "unknown hardware_version: 3.0" + unknown, "torso_lift_joint1"},
      {"1", "warning", "unknown hardware_version: 1" + unknown, "torso_lift_joint1"},
      {"10.1", "warning", "unknown hardware_version: 10.1" + unknown, "torso_lift_joint1"},
      {"v1.0", "warning", "unknown hardware_version: v1.0" + unknown, "torso_lift_joint1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.version);
    test::SdkLogCapture log;
    const auto manager = JointManagerR5::Create(c.version);
    EXPECT_THAT(*manager->joint_names_of("torso"), ElementsAre(c.torso));
    EXPECT_THAT(log.texts(c.level), ElementsAre(prefix + c.text));
  }
}

}  // namespace
}  // namespace norvik::sdk
