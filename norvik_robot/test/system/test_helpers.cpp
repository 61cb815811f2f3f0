// The helpers that need no robot: names, joint limits, point clouds, the records of a call.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

#include <norvik_sdk/norvik_sdk.hpp>

#include "impl/wbc/controllers/controller_manager.hpp"
#include "impl/wbc/joints/joint_manager_k2.hpp"
#include "impl/wbc/joints/joint_manager_r5.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {
namespace {

template <typename Enum>
void expect_names(const std::vector<std::string>& names) {
  for (size_t i = 0; i < names.size(); ++i) {
    std::ostringstream out;
    out << static_cast<Enum>(i);
    EXPECT_EQ(out.str(), names[i]);
  }
  for (const int number : {-1, static_cast<int>(names.size())}) {
    EXPECT_EQ(to_string(static_cast<Enum>(number)), std::to_string(number));
  }
}

TEST(Names, AreThoseOfTheSource) {
  const std::vector<std::string> common = {
      "SUCCESS",           "TIMEOUT",           "FAULT",        "INVALID_INPUT",     "INIT_FAILED", "IN_PROGRESS",
      "STOPPED_UNREACHED", "DATA_FETCH_FAILED", "PUBLISH_FAIL", "COMM_DISCONNECTED", "STATUS_NUM"};
  auto motion = common;
  motion.emplace_back("UNSUPPORTED_FUNCRION");
  expect_names<ControlStatus>(common);
  expect_names<MotionStatus>(motion);
  expect_names<MachineType>({"K2", "R5"});
  expect_names<TrajectoryControlStatus>({"TRAJECTORY_INVALID", "TRAJECTORY_RUNNING", "TRAJECTORY_COMPLETED",
                                         "TRAJECTORY_STOPPED_UNREACHED", "TRAJECTORY_FAULT"});
  expect_names<DexHandType>({"INSPIRE", "BRAINCO", "SHARPA", "LINKER_L20"});
  expect_names<NorvikOneTangoSensor>({"LEFT", "RIGHT"});
  expect_names<LogLevel>({"trace", "debug", "info", "warning", "error", "critical"});
  expect_names<ActuateType>({"with_chain_only", "with_torso", "with_leg", "type_num"});
  EXPECT_EQ(to_string(SensorType::RIGHT_REAR_SURROUND_CAMERA), "RIGHT_REAR_SURROUND_CAMERA");
  EXPECT_EQ(to_string(UltrasonicType::ULTRASONIC_7) + to_string(static_cast<UltrasonicType>(8)), "ULTRASONIC_78");
}

TEST(Names, OfGroupsAndControllersAreThoseOfTheModels) {
  std::set<std::string> group_names;
  for (const auto& table : {JointManagerK2::Create()->joint_groups(), JointManagerR5::Create()->joint_groups()}) {
    group_names.insert(table.begin(), table.end());
  }
  EXPECT_EQ(group_names, (std::set<std::string>{groups::kHead, groups::kLeftArm, groups::kRightArm, groups::kLeg,
                                                groups::kTorso, groups::kChassis, groups::kSwerveChassis,
                                                groups::kLeftGripper, groups::kRightGripper, groups::kLeftSuctionCup,
                                                groups::kRightSuctionCup, groups::kLeftDexhand, groups::kRightDexhand,
                                                groups::kLeftCamera, groups::kRightCamera}));
  std::set<std::string> controller_names;
  for (const auto& routes : {ControllerManagerK2::routes(), ControllerManagerR5::routes()}) {
    for (const auto& route : routes) {
      controller_names.insert(route.controller_name);
    }
  }
  namespace c = controllers;
  EXPECT_EQ(controller_names,
            (std::set<std::string>{c::kHeadPvt, c::kHeadPvtBypass, c::kLeftArmPvt, c::kLeftArmPvtBypass,
                                   c::kRightArmPvt, c::kRightArmPvtBypass, c::kLegPvt, c::kLegPvtBypass, c::kElevator,
                                   c::kChassisPose, c::kChassisTwist, c::kSwerveChassisPose, c::kSwerveChassisTwist,
                                   c::kLeftGripper, c::kRightGripper, c::kLeftCamera, c::kRightCamera}));
  EXPECT_STREQ(groups::kAll, kAllGroups);
  EXPECT_STREQ(c::kNone, kNoControllerName);
}

// Limits by joint, as the model file of the simulated robot has them.
std::map<std::string, std::string> limits_in(const std::string& file) {
  std::ifstream stream(file);
  const std::string text((std::istreambuf_iterator<char>(stream)), {});
  const std::regex joint(R"re(<joint name="([a-z0-9_]+)"[^>]*>[^]*?</joint>)re");
  const std::regex limit(R"re(<limit lower="([^"]+)" upper="([^"]+)" effort="[^"]+" velocity="([^"]+)")re");
  std::map<std::string, std::string> limits;
  for (std::sregex_iterator it(text.begin(), text.end(), joint), end; it != end; ++it) {
    std::smatch match;
    const std::string body = it->str();
    if (std::regex_search(body, match, limit)) {
      std::ostringstream numbers;
      numbers << std::stod(match[1]) << ' ' << std::stod(match[2]) << ' ' << std::stod(match[3]);
      limits[(*it)[1]] = numbers.str();
    }
  }
  return limits;
}

TEST(JointLimits, AreThoseOfTheSimulatedRobot) {
  const struct {
    MachineType machine;
    const char* file;
    size_t joints;
  } cases[] = {{MachineType::K2, NORVIK_MODEL_DIR "/k2.urdf", 5 + 2 + 7 + 7 + 1 + 1},
               {MachineType::R5, NORVIK_MODEL_DIR "/r5.urdf", 1 + 2 + 7 + 7 + 1 + 1}};
  for (const auto& c : cases) {
    const auto model = limits_in(c.file);
    const auto limits = joint_limits(c.machine);
    EXPECT_EQ(limits.size(), c.joints);
    for (const JointLimit& limit : limits) {
      std::ostringstream numbers;
      numbers << limit.lower << ' ' << limit.upper << ' ' << limit.max_velocity;
      ASSERT_EQ(model.count(limit.joint), 1U) << limit.joint;
      EXPECT_EQ(numbers.str(), model.at(limit.joint)) << limit.joint;
    }
  }
  EXPECT_TRUE(joint_limits(static_cast<MachineType>(2)).empty());
}

class Cloud : public ::testing::Test {
 protected:
  // Two rows of two points, x y z as floats behind four other bytes, two bytes of padding behind each row.
  Cloud() {
    cloud_.height = 2;
    cloud_.width = 2;
    cloud_.point_step = 16;
    cloud_.row_step = 34;
    cloud_.fields = {{"intensity", 0, 7, 1}, {"x", 4, 7, 1}, {"y", 8, 7, 1}, {"z", 12, 7, 1}};
    cloud_.data.resize(68);
    for (int i = 0; i < 4; ++i) {
      const float numbers[] = {0.0F, 1.0F * static_cast<float>(i), 2.0F, -3.5F};
      std::memcpy(&cloud_.data[static_cast<size_t>(i / 2 * 34 + i % 2 * 16)], numbers, 16);
    }
  }
  std::string points() const {
    std::ostringstream out;
    for (const PointXyz& point : to_xyz(cloud_)) {
      out << point.x << ',' << point.y << ',' << point.z << ' ';
    }
    return out.str();
  }

  LidarData cloud_;
};

TEST_F(Cloud, GivesItsPointsInOrder) {
  EXPECT_EQ(points(), "0,2,-3.5 1,2,-3.5 2,2,-3.5 3,2,-3.5 ");
  const float nan = NAN;
  std::memcpy(&cloud_.data[20], &nan, 4);  // x of the second point
  EXPECT_EQ(points(), "0,2,-3.5 2,2,-3.5 3,2,-3.5 ");
  for (auto* field : {&cloud_.data[4], &cloud_.data[8], &cloud_.data[12]}) {
    std::reverse(field, field + 4);
  }
  cloud_.is_bigendian = true;
  cloud_.width = cloud_.height = 1;
  EXPECT_EQ(points(), "0,2,-3.5 ");
}

TEST_F(Cloud, TakesDoubles) {
  const double numbers[] = {0.25, -1.5, 1e300};
  cloud_ = {};
  cloud_.fields = {{"x", 0, 8, 1}, {"y", 8, 8, 1}, {"z", 8, 8, 1}};
  cloud_.height = cloud_.width = 1;
  cloud_.point_step = 24;  // and no row_step, which one row does not need
  cloud_.data.resize(24);
  std::memcpy(cloud_.data.data(), numbers, 24);
  EXPECT_EQ(points(), "0.25,-1.5,-1.5 ");
}

TEST_F(Cloud, SurvivesEveryContradiction) {
  const LidarData good = cloud_;
  const std::vector<std::pair<std::function<void(LidarData&)>, size_t>> cases = {
      {[](LidarData& c) { c.point_step = 0; }, 0},
      {[](LidarData& c) { c.point_step = 15; }, 0},
      {[](LidarData& c) { c.row_step = 31; }, 0},
      {[](LidarData& c) { c.fields.pop_back(); }, 0},
      {[](LidarData& c) { c.fields[1].offset = 0xFFFFFFFF; }, 0},
      {[](LidarData& c) { c.fields[1].datatype = 5; }, 0},
      {[](LidarData& c) { c.height = 0xFFFFFFFF; }, 4},
      {[](LidarData& c) { c.width = 0xFFFFFFFF; }, 0},
      {[](LidarData& c) { c.width = c.row_step = 0; }, 0},
      {[](LidarData& c) { c.data.clear(); }, 0},
      {[](LidarData& c) { c.data.resize(49); }, 2},
      {[](LidarData& c) { c.data.resize(50); }, 3},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    LidarData cloud = good;
    cases[i].first(cloud);
    EXPECT_EQ(to_xyz(cloud).size(), cases[i].second) << i;
  }
}

std::vector<std::string> described(const CallLog& log) {
  std::vector<std::string> lines;
  for (const CallRecord& record : log.records()) {
    lines.push_back(to_string(record.level) + " " + record.source + " " + record.text);
  }
  return lines;
}

TEST(CallLogs, SeeWarningsAndErrorsOfTheirTimeAndThreadOnly) {
  using Lines = std::vector<std::string>;
  SDK_LOG(error) << "before";
  CallLog outer;
  EXPECT_EQ(outer.text(), "");
  SDK_LOG(info) << "too low";
  SDK_LOG(warning) << "first";
  std::thread([] { SDK_LOG(error) << "another thread's"; }).join();
  {
    CallLog inner;
    SDK_LOG(error) << "second";
    EXPECT_EQ(described(inner), Lines{"error test_helpers second"});
  }
  SDK_LOG(critical) << "third";
  EXPECT_EQ(described(outer),
            (Lines{"warning test_helpers first", "error test_helpers second", "critical test_helpers third"}));
  EXPECT_EQ(outer.text(), "first\nsecond\nthird");
  outer.clear();
  for (int i = 0; i < 150; ++i) {
    SDK_LOG(error) << i;
  }
  ASSERT_EQ(outer.records().size(), 100U);
  EXPECT_EQ(outer.records().front().text, "50");
}

TEST(CallLogs, GiveTheReasonOfAFailure) {
  CallLog log;
  auto& robot = NorvikRobot::get_instance(MachineType::K2);
  EXPECT_FALSE(wait_until_ready(robot, 0.0));
  EXPECT_FALSE(wait_until_ready(robot, NAN));
  EXPECT_EQ(current_errors(robot), nullptr);
  forget_controllers(robot);
  EXPECT_EQ(log.text(), "");
  EXPECT_EQ(robot.set_volume(101.0F), false);
  EXPECT_EQ(log.text(), "audio transceiver volume set to 101, it`s out of range [0, 100]");
}

}  // namespace
}  // namespace norvik::sdk
