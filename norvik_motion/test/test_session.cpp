// Tables, state, tasks and waits of a session.

#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "fake_planner.hpp"
#include "impl/config_text.hpp"
#include "impl/replies/config_report.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::MotionStatus;
using sdk::PlanTasks;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(Tables, ComeFromTheService) {
  FakeMotion motion;
  EXPECT_EQ(motion.get_robot_dof(), kDof);
  EXPECT_EQ(motion.get_chain_dof("left_arm"), 2);
  EXPECT_EQ(motion.get_chain_dof("mobile_base"), -1);
  EXPECT_TRUE(motion.is_link_name_valid("hand_link", false));
  EXPECT_TRUE(motion.is_ee_frame_valid("camera_object", false));
  EXPECT_EQ(motion.api().get_link_names(true).size(), 2U);
  EXPECT_EQ(motion.get_attached_object_list(), std::vector<std::string>{"cup"});
  motion.data_client->reply = [](const auto&) { return nullptr; };
  EXPECT_EQ(motion.get_support_links().size(), 5U);  // Those of the last answer.
  motion.data_client->reply = [](const auto&) { return std::make_shared<kelvorn_proto::DataResponse>(); };
  EXPECT_TRUE(motion.get_support_links().empty());
  EXPECT_TRUE(motion.is_link_name_valid("hand_link", false));  // As at the start.
}

TEST(Tables, SurviveIndicesThatNoRobotHas) {
  SdkLogCapture log;
  kelvorn_proto::ChainPropList list;
  for (const int32_t index : {-1, INT32_MAX, 10'000, 9'999}) {
    auto& chain = *list.add_chain_props();
    chain.set_chain_name("c" + std::to_string(index));
    chain.add_chain_joint_indices(index);
  }
  list.add_chain_props()->set_chain_name("no indices");
  const auto tables = sdk::make_chain_tables(list);
  EXPECT_EQ(tables.robot_dof_, 10'000);
  EXPECT_EQ(tables.chain_dof_map_.size(), 3U);
  EXPECT_EQ(log.texts("error").size(), 2U);
}

TEST(State, IsInTheOrderOfTheService) {
  FakeMotion motion;
  std::vector<double> whole = motion.get_whole_body_state();
  EXPECT_EQ(whole, std::vector<double>(kDof, 0.5));
  EXPECT_TRUE(motion.replace_joint_state("right_arm", {7, 8}, whole));
  EXPECT_EQ(whole, (std::vector<double>{0.5, 0.5, 0.5, 0.5, 7, 8}));
  EXPECT_FALSE(motion.replace_joint_state("right_arm", {7}, whole));
  EXPECT_EQ(motion.get_robot_states().base_state, (std::vector<double>{1, 2, 0, 0, 0, 0, 1}));
  EXPECT_EQ(motion.get_chain_joint_state().count("leg"), 1U);
  EXPECT_EQ(FakeMotionR5().get_chain_joint_state().count("leg"), 0U);
  EXPECT_TRUE(motion.get_chassis_state().empty());  // The other robot has emptied the slot.
}

TEST(State, JacobianLinksDifferByModel) {
  const FakeMotion k2;
  const FakeMotionR5 r5;
  EXPECT_EQ(k2.resolve_jacobian_target_link("torso", "EndEffector"), "leg_end_effector_mount_link");
  EXPECT_EQ(k2.resolve_jacobian_target_link("leg", "Tool"), "");
  EXPECT_EQ(r5.resolve_jacobian_target_link("leg", "Tool"), "torso_base_link");
  EXPECT_EQ(r5.resolve_jacobian_target_link("head", "x"), "x");
}

TEST(Statuses, HaveTheirTexts) {
  using sdk::ControlStatus;
  EXPECT_EQ(sdk::planner_status_to_string(PlannerStatus::SERVICE_STATUS_INIT_FAILED), "SERVICE_STATUS_INIT_FAILED (5)");
  EXPECT_EQ(sdk::planner_status_to_string(PlannerStatus::SERVICE_STATUS_TRAJ_COLLISION), "UNKNOWN_STATUS (6)");
  EXPECT_EQ(FakeMotion().status_to_string(static_cast<MotionStatus>(12)), "");
  const auto convert = &FakeMotion::control_status_to_motion_status;
  EXPECT_EQ(convert(ControlStatus::COMM_DISCONNECTED), MotionStatus::COMM_DISCONNECTED);
  EXPECT_EQ(convert(ControlStatus::STATUS_NUM), MotionStatus::FAULT);
  EXPECT_EQ(convert(static_cast<ControlStatus>(-1)), MotionStatus::FAULT);
}

TEST(Tasks, EndOnceAndAreReadOnce) {
  SdkLogCapture log;
  PlanTasks tasks;
  tasks.add_plan_task_handle("a");
  tasks.update(*make_status(PlannerStatus::SERVICE_STATUS_BUSY, "a"));
  EXPECT_EQ(tasks.wait_plan_task_finish("a", -5), MotionStatus::TIMEOUT);
  tasks.update(*make_status(PlannerStatus::SERVICE_STATUS_FINISHED, "a"));
  tasks.update(*make_status(PlannerStatus::SERVICE_STATUS_EXECUTE_FAILED, "a"));
  tasks.update(*make_status(PlannerStatus::SERVICE_STATUS_BUSY, "a"));
  EXPECT_EQ(tasks.wait_plan_task_finish("a", 0), MotionStatus::SUCCESS);
  PlannerStatus last;
  EXPECT_TRUE(tasks.get_plan_task_handle("a", last));
  EXPECT_EQ(last.status(), PlannerStatus::SERVICE_STATUS_FINISHED);
  EXPECT_FALSE(tasks.get_plan_task_handle("a", last));
  EXPECT_TRUE(log.has("error", "get task a failed."));
  EXPECT_EQ(tasks.wait_plan_task_finish("a", 10'000), MotionStatus::INVALID_INPUT);
  EXPECT_TRUE(log.has("error", "don't has task id : a"));
  tasks.update(*make_status(PlannerStatus::SERVICE_STATUS_FINISHED, "a"));
  tasks.update(*make_status(PlannerStatus::SERVICE_STATUS_READY, ""));
  EXPECT_TRUE(log.has("error", "has unknow task result, task id is a"));
  EXPECT_EQ(log.texts("error").size(), 3U);
}

TEST(Tasks, AnEndWakesItsWaiterAtOnce) {
  FakeMotion motion;
  std::promise<PlanServerRequest> sent;
  motion.plan_client->reply = [&](const auto& request) {
    sent.set_value(request);
    return std::make_shared<kelvorn_proto::MotionPlannerOutput>();
  };
  auto call = std::async(std::launch::async, [&] { return motion.attach_tool("left_arm", "None"); });
  const PlanServerRequest request = sent.get_future().get();
  std::this_thread::sleep_for(milliseconds(20));  // Most likely it waits by now; the outcome does not depend on it.
  const auto ended = steady_clock::now();
  motion.end_task(request, PlannerStatus::SERVICE_STATUS_FINISHED);
  EXPECT_EQ(call.get(), MotionStatus::SUCCESS);
  EXPECT_LT(steady_clock::now() - ended, milliseconds(500));
}

TEST(Tasks, WhoseTimeIsUpWhileTheyRunAreGivenUp) {
  FakeMotion motion;
  motion.plan_client->reply = [&](const PlanServerRequest& request) {
    for (const auto status : {PlannerStatus::SERVICE_STATUS_BUSY, PlannerStatus::SERVICE_STATUS_TRAJ_COLLISION}) {
      motion.mps_status_callback(make_status(status, request.task_id()));
    }
    return std::make_shared<kelvorn_proto::MotionPlannerOutput>();
  };
  const auto options = parameter([](auto& o) { o.timeout = 0.05; });
  const auto start = steady_clock::now();
  EXPECT_EQ(std::get<0>(motion.api().check_collision({}, true, options)), MotionStatus::TIMEOUT);
  EXPECT_GE(steady_clock::now() - start, milliseconds(49));
}

TEST(Tasks, OfManyThreadsKeepApart) {
  FakeMotion motion;
  motion.plan_client->reply = [&](const PlanServerRequest& request) {
    const bool fails = request.common_request().attach_tool().chain_name() == "left_arm";
    motion.mps_status_callback(
        make_status(fails ? PlannerStatus::SERVICE_STATUS_EXECUTE_FAILED : PlannerStatus::SERVICE_STATUS_FINISHED,
                    request.task_id()));
    return std::make_shared<kelvorn_proto::MotionPlannerOutput>();
  };
  std::atomic<bool> over{false};
  std::thread reporter([&] {
    while (!over) {
      motion.report(PlannerStatus::SERVICE_STATUS_READY);
      motion.get_motion_plan_config();
      std::this_thread::yield();
    }
  });
  std::vector<std::future<int>> callers;
  for (const std::string chain : {"left_arm", "right_arm", "left_arm", "right_arm"}) {
    callers.push_back(std::async(std::launch::async, [&motion, chain] {
      int wrong = 0;
      const auto expected = chain == "left_arm" ? MotionStatus::FAULT : MotionStatus::SUCCESS;
      for (int i = 0; i < 50; ++i) {
        wrong += motion.attach_tool(chain, "None") == expected ? 0 : 1;
        motion.api().motion_plan(joint_target("nose", {}), nullptr, nullptr,
                                 i % 2 == 0);  // Writes the shared parameter.
      }
      return wrong;
    }));
  }
  for (auto& caller : callers) {
    EXPECT_EQ(caller.get(), 0);
  }
  over = true;
  reporter.join();
}

TEST(Waits, ForReadiness) {
  SdkLogCapture log;
  sdk::ServiceStatusCell cell;
  ovimux::OvimuxInitInternal();
  EXPECT_EQ(cell.wait_mps_ready(0), MotionStatus::INVALID_INPUT);
  EXPECT_TRUE(log.has("error", "invalid wait_mps_ready timeout: 0"));
  EXPECT_EQ(cell.wait_mps_ready(0.001), MotionStatus::TIMEOUT);
  EXPECT_TRUE(log.has("error", "wait mps ready timeout, last status: UNKNOWN_STATUS (not received)"));
  auto waiter = std::async(std::launch::async, [&] { return cell.wait_mps_ready(1e300); });
  cell.set(PlannerStatus::SERVICE_STATUS_FINISHED);
  cell.set(PlannerStatus::SERVICE_STATUS_READY);
  EXPECT_EQ(waiter.get(), MotionStatus::SUCCESS);
  log.clear();
  EXPECT_EQ(cell.wait_mps_ready(1e-9), MotionStatus::SUCCESS);
  EXPECT_TRUE(log.records().empty());
}

TEST(BackgroundTask, IsAloneAndCanBeFollowedByAnother) {
  SdkLogCapture log;
  FakeMotion motion;
  std::promise<void> go_on;
  const auto may_go_on = go_on.get_future().share();
  const auto answer = motion.plan_client->reply;
  motion.plan_client->reply = [&](const auto& request) {
    may_go_on.wait();
    return answer(request);
  };
  const auto start = [&](bool blocking) {
    return motion.api().set_end_effector_pose(kPose, "left_arm", "world", nullptr, true, blocking, 5.0);
  };
  EXPECT_EQ(start(false), MotionStatus::SUCCESS);
  EXPECT_EQ(start(false), MotionStatus::IN_PROGRESS);
  EXPECT_EQ(start(true), MotionStatus::IN_PROGRESS);
  EXPECT_TRUE(log.has("error", "set_end_effector_pose background task is still running."));
  go_on.set_value();
  const auto deadline = steady_clock::now() + std::chrono::seconds(10);
  while (start(true) == MotionStatus::IN_PROGRESS && steady_clock::now() < deadline) {
    std::this_thread::yield();
  }
  EXPECT_TRUE(log.has("info", "set_end_effector_pose async finished, status: 0"));
  EXPECT_EQ(start(true), MotionStatus::SUCCESS);
}

TEST(BackgroundTask, EndsWithItsObject) {
  const auto begin = steady_clock::now();
  std::promise<void> sent;
  {
    FakeMotion motion;
    motion.plan_client->reply = [&](const auto&) {  // Confirms, and never ends it.
      sent.set_value();
      return std::make_shared<kelvorn_proto::MotionPlannerOutput>();
    };
    EXPECT_EQ(motion.api().set_end_effector_pose(kPose, "left_arm", "world", nullptr, true, false, 60.0),
              MotionStatus::SUCCESS);
    sent.get_future().wait();
  }
  EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(5));
}

template <typename Motion>
class ZeroPosture : public ::testing::Test {};
using Models = ::testing::Types<FakeMotion, FakeMotionR5>;
TYPED_TEST_SUITE(ZeroPosture, Models);

TYPED_TEST(ZeroPosture, MovesTheLowerBodyThenTheArms) {
  constexpr bool kIsK2 = std::is_same_v<TypeParam, FakeMotion>;
  TypeParam motion;
  kelvorn_proto::DataResponse seven = robot_data(kelvorn_proto::GetDataRequest::ChainPropList);
  const auto options = parameter([](auto& o) { o.move_line = false; });
  EXPECT_EQ(motion.api().move_whole_body_joint_zero(true, 0.3, 9.0), MotionStatus::INVALID_INPUT);  // No joint layer.

  std::vector<double> positions;
  std::vector<std::string> groups;
  double speed = 0;
  double timeout = 0;
  auto outcome = sdk::ControlStatus::STATUS_NUM;
  sdk::JointPositionControlProvider::set_joint_positions_func_ = [&](const auto& p, const auto& g, const auto&, bool,
                                                                     double s, double t) {
    std::tie(positions, groups, speed, timeout) = std::tie(p, g, s, t);
    return outcome;
  };
  const auto no_time = parameter([](auto& o) { o.timeout = 0.0; });
  EXPECT_EQ(motion.api().move_whole_body_joint_zero(true, 0.3, 9.0, no_time), MotionStatus::INVALID_INPUT);
  EXPECT_TRUE(positions.empty());
  EXPECT_EQ(motion.api().move_whole_body_joint_zero(true, 0.3, 9.0, options), MotionStatus::FAULT);
  EXPECT_EQ(groups, (std::vector<std::string>{kIsK2 ? "leg" : "torso", "head"}));
  EXPECT_EQ(positions, (kIsK2 ? std::vector<double>{0.3, 1.2, 0.85, 0, 0, 0, 0} : std::vector<double>{0.65, 0, -0.26}));
  EXPECT_EQ(speed, 0.3);
  EXPECT_EQ(timeout, 9.0);
  EXPECT_TRUE(motion.plan_client->calls().empty());

  // Arms of seven joints, as a real robot has them.
  for (auto& chain : *seven.mutable_chain_prop_list()->mutable_chain_props()) {
    while (chain.joint_names_size() < 7) {
      chain.add_joint_names("j");
    }
  }
  motion.data_client->reply = [&](const auto& request) {
    const bool chains = request.data_type() == kelvorn_proto::GetDataRequest::ChainPropList;
    return std::make_shared<kelvorn_proto::DataResponse>(chains ? seven : robot_data(request.data_type()));
  };
  motion.read_tables_again();
  outcome = sdk::ControlStatus::SUCCESS;
  EXPECT_EQ(motion.api().move_whole_body_joint_zero(true, 0.3, 9.0, options), MotionStatus::SUCCESS);
  ASSERT_EQ(motion.plan_client->calls().size(), 2U);
  for (int arm = 0; arm < 2; ++arm) {
    const auto request = motion.plan_client->calls()[static_cast<size_t>(arm)].request;
    const auto& target = request.motion_plan_req().target_state(0);
    EXPECT_TRUE(request.immediate_execute().value());
    EXPECT_EQ(target.chain(), arm == 0 ? kelvorn_proto::left_arm : kelvorn_proto::right_arm);
    EXPECT_EQ(target.chain_state().body().joint().positions().data(0), (arm == 0 ? 1 : -1) * (kIsK2 ? 2.0 : -0.47));
  }
  EXPECT_FALSE(options->immediate_execute);
  motion.set_valid(false);
  positions.clear();
  EXPECT_EQ(motion.api().move_whole_body_joint_zero(true, 0.3, 9.0, options), MotionStatus::INIT_FAILED);
  EXPECT_FALSE(positions.empty());  // The joint layer's part needs no planner.
  sdk::JointPositionControlProvider::set_joint_positions_func_ = nullptr;
}

TEST(Configuration, IsThatOfTheLastReport) {
  SdkLogCapture log;
  FakeMotion motion;
  motion.result.add_env_objs("box");
  ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(
      R"(ik_solver_config { seed_type: USER_DEFINED_SEED col_aware_ik_timeout: 3 rotation_eps { y: 2 } }
         motion_planner_config { state_check_type: RADIAN_DISTANCE max_planning_time: 4 }
         traj_planner_prop { min_move_time { value: 5 } }
         hard_joint_lower_limit { key: "left_arm" value { data: [-1, -2] } }
         hard_joint_upper_limit { key: "left_arm" value { data: [1, 2] } }
         hard_joint_lower_limit { key: "head" value { data: 9 } }
         ik_joint_lower_limit { key: "nose" } ik_joint_upper_limit { key: "nose" })",
      &motion.result));
  const auto report = [&] { motion.mps_status_callback(std::make_shared<PlannerStatus>(motion.result)); };
  report();
  const auto [status, config] = motion.get_motion_plan_config();
  EXPECT_EQ(status, MotionStatus::SUCCESS);
  ASSERT_TRUE(config.ik_solver_config && config.sampler_config && config.trajectory_plan_config);
  EXPECT_EQ(config.ik_solver_config->seed_type, sdk::IKSolverConfig::SeedType::USER_DEFINED_SEED);
  EXPECT_EQ(config.ik_solver_config->rotation_eps, (std::array<double, 3>{0, 2, 0}));
  EXPECT_EQ(config.sampler_config->max_planning_time, 4);
  EXPECT_EQ(config.trajectory_plan_config->move_line_intermediate_point, 0);
  ASSERT_EQ(config.hard_joint_limit.size(), 1U);
  EXPECT_EQ(config.hard_joint_limit[0].upper_limit, (std::vector<double>{1, 2}));
  EXPECT_TRUE(config.ik_joint_limit.empty());
  EXPECT_GT(config.update_nsec, 0);

  // A caller's copy is its own, and a value that is none leaves the old one.
  config.sampler_config->max_planning_time = 99;
  motion.result.mutable_ik_solver_config()->set_seed_type(static_cast<kelvorn_proto::SeedType>(7));
  motion.result.mutable_ik_solver_config()->set_col_aware_ik_timeout(8);
  motion.result.clear_motion_planner_config();
  report();
  const auto again = std::get<1>(motion.get_motion_plan_config());
  EXPECT_EQ(again.sampler_config->max_planning_time, 4);
  EXPECT_EQ(again.ik_solver_config->seed_type, sdk::IKSolverConfig::SeedType::USER_DEFINED_SEED);
  EXPECT_EQ(again.ik_solver_config->col_aware_ik_timeout, 8);
  EXPECT_TRUE(log.has("error", "unknown seed_type in planner status: 7"));
  motion.mps_status_callback(nullptr);
  EXPECT_TRUE(log.has("error", "mps status callback message is nullptr"));
}

TEST(Configuration, IsPrintedInItsWords) {
  sdk::MotionPlanConfig config;
  config.sampler_config = std::make_shared<sdk::SamplerConfig>();
  config.ik_solver_config = std::make_shared<sdk::IKSolverConfig>();
  config.ik_solver_config->seed_type = static_cast<sdk::IKSolverConfig::SeedType>(9);
  config.hard_joint_limit = {{"head", {1.5, -2}, {}, {}, {}, {}, {}, {}, {}}};
  const std::vector<std::string> expected{"========== MotionPlanConfig ==========",
                                          "update_nsec: 0",
                                          "--- SamplerConfig ---",
                                          "SamplerConfig:",
                                          "  state_check_type: EUCLIDEAN_DISTANCE",
                                          "  state_check_resolution: 0.01",
                                          "  interpolate: false",
                                          "  interpolation_cnt: 0",
                                          "  simplify: false",
                                          "  max_simplification_time: -1",
                                          "  termination_condition_type: TIMEOUT",
                                          "  max_planning_time: 2",
                                          "--- TrajectoryPlanConfig ---",
                                          "  Not set",
                                          "--- IKSolverConfig ---",
                                          "IKSolverConfig:",
                                          "  col_aware_ik_timeout: 10",
                                          "  seed_type: UNKNOWN",
                                          "  col_aware_ik_joint_limit_bias: 0.001",
                                          "  translation_eps: [0.000000, 0.000000, 0.000000]",
                                          "  rotation_eps: [0.000000, 0.000000, 0.000000]",
                                          "  enable_collision_check_log: false",
                                          "--- CollisionCheckOption ---",
                                          "  Not set",
                                          "--- TrajectoryFeasibilityCheckOption ---",
                                          "  Not set",
                                          "--- Feasibility Boundary ---",
                                          "  Empty",
                                          "--- LineTrajCheckPrimitive ---",
                                          "  Not set",
                                          "--- IK Joint Limit ---",
                                          "  Empty",
                                          "--- Sampler Joint Limit ---",
                                          "  Empty",
                                          "--- Hard Joint Limit ---",
                                          "  Hard Joint Limit [0]",
                                          "  chain_name: head",
                                          "  lower_limit: 1.500000, -2.000000",
                                          "  upper_limit: ",
                                          "  vel_lower_limit: ",
                                          "  vel_upper_limit: ",
                                          "  acc_lower_limit: ",
                                          "  acc_upper_limit: ",
                                          "  jerk_lower_limit: ",
                                          "  jerk_upper_limit: ",
                                          "======================================"};
  EXPECT_EQ(sdk::config_lines(config), expected);
  SdkLogCapture log;
  config.print();
  EXPECT_EQ(log.texts("info"), expected);
}

}  // namespace
}  // namespace norvik::test
