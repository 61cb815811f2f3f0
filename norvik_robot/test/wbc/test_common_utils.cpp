#include <limits>

#include "wbc_fixture.hpp"

namespace norvik::sdk {
namespace {

using test::WbcModules;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::shared_ptr<ErrorInfo> report_of(std::vector<Error> errors) {
  auto info = std::make_shared<ErrorInfo>();
  info->timestamp_ns = 77;
  info->errors = std::move(errors);
  return info;
}

std::shared_ptr<tavrinox_proto::TavrinoXError> wire_report_of(const std::string& component, int32_t code) {
  auto report = std::make_shared<tavrinox_proto::TavrinoXError>();
  (*report->mutable_error_map())[component].set_error_code(code);
  (*report->mutable_error_map())[component].set_description("text");
  return report;
}

TEST(CheckJointReached, NeedsFinishedSamplingAndAnErrorWithinTheThreshold) {
  struct Case {
    double norm;
    bool finished;
    bool has_target_info;
    ControlStatus status;
    const char* text;
  };
  const char* const kReached = "check_joint_reached success, error_final_pos_norm is ";
  const char* const kMoving = "check left_arm motion, error_final_pos_norm is ";
  const Case cases[] = {
      {0.5, true, true, ControlStatus::SUCCESS, kReached},
      {std::nextafter(0.5, 1.0), true, true, ControlStatus::IN_PROGRESS, kMoving},
      {0.0, false, true, ControlStatus::IN_PROGRESS, kMoving},
      {0.0, false, false, ControlStatus::IN_PROGRESS, kMoving},
      {kNan, true, true, ControlStatus::SUCCESS, kReached},
      {kNan, false, true, ControlStatus::IN_PROGRESS, kMoving},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.norm << " " << c.finished);
    WbcModules modules;
    auto info = std::make_shared<tavrinox_proto::WBCInfo>();
    tavrinox_proto::GroupInfo& group = (*info->mutable_group_info_map())["left_arm"];
    group.set_error_final_pos_norm(c.norm);
    if (c.has_target_info) group.mutable_target_info()->set_sampling_finished(c.finished);
    modules.utils->wbc_info_buffer().set_data(info);

    test::SdkLogCapture log;
    EXPECT_EQ(modules.utils->check_joint_reached("left_arm", 0.5), c.status);
    std::ostringstream text;
    text << c.text << c.norm << " ,error_final_pos_threashold is 0.5 ,sampling_finished is " << c.finished;
    EXPECT_THAT(log.texts("info"), ElementsAre(text.str()));
  }
}

TEST(CheckJointReached, FailsWithoutAReportOfTheGroup) {
  WbcModules modules;
  test::SdkLogCapture log;
  EXPECT_EQ(modules.utils->check_joint_reached("left_arm", 1.0), ControlStatus::DATA_FETCH_FAILED);
  modules.utils->wbc_info_buffer().set_data(std::make_shared<tavrinox_proto::WBCInfo>());
  EXPECT_EQ(modules.utils->check_joint_reached("left_arm", 1.0), ControlStatus::DATA_FETCH_FAILED);
  EXPECT_THAT(log.texts("error"),
              ElementsAre("check_joint_reached data fetch failed", "check_joint_reached data fetch failed"));
}

TEST(RequestScreening, BlocksByLevelAndInvolvement) {
  struct Case {
    const char* component;
    uint64_t code;
    bool blocks_touching;
    bool blocks_others;
  };
  const Case cases[] = {
      {"left_arm_max_error_level", 0x1ffff, false, false}, {"left_arm_max_error_level", 0x20000, true, false},
      {"left_arm_max_error_level", 0x2ffff, true, false},  {"left_arm_max_error_level", 0x30000, true, true},
      {"left_arm_max_error_level", ~0ULL, true, true},     {"left_arm", 0x30000, false, false},
      {"_max_error_level", 0x30000, false, false},         {"left_arm_max_error_level_", 0x30000, false, false},
  };
  WbcModules modules;
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.component << " " << c.code);
    const auto current = report_of({{c.component, c.code, "why"}});
    const auto touching = modules.utils->build_request_screening_error(current, {"left_arm"});
    EXPECT_EQ(touching != nullptr, c.blocks_touching);
    EXPECT_EQ(modules.utils->build_request_screening_error(current, {"right_arm"}) != nullptr, c.blocks_others);
    if (touching == nullptr) continue;
    EXPECT_EQ(touching->timestamp_ns, 77);
    ASSERT_EQ(touching->errors.size(), 2u);
    EXPECT_EQ(touching->errors[0].component, "sdk_request_target");
    EXPECT_EQ(touching->errors[0].code, 65586u);
    EXPECT_EQ(touching->errors[0].description, "RequestTarget blocked by current runtime errors");
    EXPECT_EQ(touching->errors[1].component, c.component);
    EXPECT_EQ(touching->errors[1].description, "why");
  }
}

TEST(RequestScreening, KeepsEveryBlockingErrorInOrderBehindItsOwn) {
  WbcModules modules;
  EXPECT_EQ(modules.utils->build_request_screening_error(nullptr, {"a"}), nullptr);
  EXPECT_EQ(modules.utils->build_request_screening_error(report_of({}), {"a"}), nullptr);
  const auto blocked = modules.utils->build_request_screening_error(
      report_of(
          {{"b_max_error_level", 0x20000, ""}, {"a_max_error_level", 0x20000, ""}, {"c_max_error_level", 0x30000, ""}}),
      {"a"});
  ASSERT_NE(blocked, nullptr);
  std::vector<std::string> components;
  for (const Error& error : blocked->errors) components.push_back(error.component);
  EXPECT_THAT(components, ElementsAre("sdk_request_target", "a_max_error_level", "c_max_error_level"));
}

TEST(HasFatalError, ComparesTheGroupsHighestLevelUnsigned) {
  struct Case {
    const char* component;
    int32_t code;
    bool is_fatal;
  };
  const Case cases[] = {
      {"left_arm_max_error_level", 0x2ffff, false},  {"left_arm_max_error_level", 0x30000, true},
      {"left_arm_max_error_level", -1, true},        {"left_arm", 0x30000, false},
      {"right_arm_max_error_level", 0x30000, false},
  };
  WbcModules modules;
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.component << " " << c.code);
    const auto wire = wire_report_of(c.component, c.code);
    ErrorInfo info;
    CommonUtils::transform_to_error_info(wire, info);
    const std::string entry = "has error: " + std::string(c.component) +
                              " ,code: " + std::to_string(static_cast<uint64_t>(static_cast<int64_t>(c.code))) +
                              " ,description is text";
    test::SdkLogCapture log;
    EXPECT_EQ(modules.utils->has_fatal_error("left_arm", std::make_shared<ErrorInfo>(info)), c.is_fatal);
    EXPECT_EQ(log.texts("error"),
              c.is_fatal ? (std::vector<std::string>{entry, "has fatal error"}) : std::vector<std::string>{entry});
    log.clear();
    EXPECT_EQ(modules.utils->has_fatal_error("left_arm", wire), c.is_fatal);
    EXPECT_THAT(log.texts("error"), ElementsAre(entry));
  }
}

TEST(HasFatalError, OfSeveralGroupsStopsAtTheFirst) {
  WbcModules modules;
  const auto report = report_of({{"b_max_error_level", 0x30000, ""}});
  const auto wire = wire_report_of("b_max_error_level", 0x30000);
  const std::vector<std::string> groups = {"a", "b", "c"};
  test::SdkLogCapture log;
  EXPECT_TRUE(modules.utils->has_fatal_error(groups, report));
  EXPECT_EQ(log.texts("error").size(), 3u);  // the entry for a, the entry for b and the verdict
  EXPECT_TRUE(modules.utils->has_fatal_error(groups, wire));
  EXPECT_FALSE(modules.utils->has_fatal_error(std::vector<std::string>{}, report));
  log.clear();
  EXPECT_FALSE(modules.utils->has_fatal_error("b", std::shared_ptr<ErrorInfo>()));
  EXPECT_FALSE(modules.utils->has_fatal_error("b", std::shared_ptr<tavrinox_proto::TavrinoXError>()));
  EXPECT_THAT(log.texts("error"), ElementsAre("error_info is nullptr", "error_data is nullptr"));
}

TEST(ErrorBuffer, HoldsTheLatestReportOnly) {
  WbcModules modules;
  EXPECT_EQ(modules.utils->error_buffer().get_data(), nullptr);
  const auto wire = wire_report_of("left_arm", -2);
  wire->mutable_header()->mutable_timestamp()->set_sec(1'700'000'000);
  wire->mutable_header()->mutable_timestamp()->set_nanosec(123'456'789);
  modules.utils->add_error_from_proto(wire);
  const auto stored = modules.utils->error_buffer().get_data();
  EXPECT_EQ(stored->timestamp_ns, static_cast<int64_t>(1'700'000'000 * 1e9 + 123'456'789.0));
  EXPECT_NE(stored->timestamp_ns, 1'700'000'000'123'456'789);  // floating point drops the low bits
  EXPECT_EQ(stored->errors.at(0).code, static_cast<uint64_t>(-2));

  modules.utils->add_error_from_proto(std::make_shared<tavrinox_proto::TavrinoXError>());
  EXPECT_THAT(modules.utils->error_buffer().get_data()->errors, IsEmpty());
  EXPECT_EQ(stored->errors.size(), 1u);

  test::SdkLogCapture log;
  modules.utils->add_error_from_proto(wire);
  modules.utils->add_error_from_proto(nullptr);
  EXPECT_THAT(modules.utils->error_buffer().get_data()->errors, IsEmpty());
  ErrorInfo untouched{5, {{"kept", 1, ""}}};
  CommonUtils::transform_to_error_info(nullptr, untouched);
  EXPECT_EQ(untouched.timestamp_ns, 5);
  CommonUtils::transform_to_error_info(wire, untouched);
  EXPECT_EQ(untouched.errors.size(), 2u);
  EXPECT_THAT(log.texts("error"), ElementsAre("error_info_callback message is nullptr", "error_ptr is nullptr"));
}

TEST(CommonUtils, CollectsGroupsOfTrajectoriesAndTasksOnce) {
  TavrinoXTarget target;
  target.target_group_trajectory_map["left_arm"];
  target.target_task_trajectory_map["wbc"].group_names = {"left_arm", "leg"};
  target.target_task_trajectory_map["other"].group_names = {"leg"};
  EXPECT_THAT(CommonUtils::collect_involved_groups(target), ::testing::UnorderedElementsAre("left_arm", "leg"));
}

TEST(CommonUtils, TimesOutOnlyBeyondTheLimit) {
  const auto start = std::chrono::steady_clock::now() - std::chrono::seconds(2);
  EXPECT_TRUE(CommonUtils::is_timeout(start, 2.0));
  EXPECT_FALSE(CommonUtils::is_timeout(start, 1000.0));
  EXPECT_FALSE(CommonUtils::is_timeout(start, kNan));
  EXPECT_FALSE(CommonUtils::is_timeout(std::chrono::steady_clock::now() + std::chrono::seconds(9), -1.0));
}

}  // namespace
}  // namespace norvik::sdk
