// What becomes of each operation: every end of its task, no answer, no readiness, no start.

#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "fake_planner.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::MachineType;
using sdk::MotionStatus;
using sdk::NorvikMotion;
using std::chrono::steady_clock;

// An operation that is a task of the service, called with `timeout_s` where it takes one.
struct Operation {
  const char* name;
  std::function<MotionStatus(NorvikMotion&, double timeout_s)> call;
  bool takes_timeout = true;
  const char* not_initialised = "Norvik Motion is not initialized.";
};

auto limited(double timeout_s, bool line = false) {
  return parameter([=](auto& options) {
    options.timeout = timeout_s;
    options.immediate_execute = true;
    options.move_line = line;
  });
}

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all{
      {"motion_plan",
       [](auto& m, double t) {
         return std::get<0>(m.motion_plan(joint_target("left_arm", {1, 2}), nullptr, nullptr, true, limited(t)));
       }},
      {"motion_plan line",
       [](auto& m, double t) {
         return std::get<0>(m.motion_plan(joint_target("leg", {1}), nullptr, nullptr, true, limited(t, true)));
       }},
      {"motion_plan_multi_waypoints",
       [](auto& m, double t) {
         return std::get<0>(m.motion_plan_multi_waypoints(pose_target("left_arm", "world"), {kPose, kPose}, nullptr,
                                                          nullptr, false, limited(t)));
       }},
      {"motion_plan_multi_waypoints of chains",
       [](auto& m, double t) {
         return std::get<0>(
             m.motion_plan_multi_waypoints({{joint_target("left_arm", {}), {{1, 2}}}}, {}, nullptr, true, limited(t)));
       }},
      {"set_end_effector_pose",
       [](auto& m, double t) {
         return m.set_end_effector_pose(kPose, "left_arm", "world", nullptr, true, true, -1.0, limited(t));
       }},
      {"forward_kinematics",
       [](auto& m, double t) { return std::get<0>(m.forward_kinematics("hand_link", "world", {}, limited(t))); }},
      {"forward_kinematics_by_state",
       [](auto& m, double t) {
         return std::get<0>(m.forward_kinematics_by_state("hand_link", nullptr, "world", limited(t)));
       }},
      {"inverse_kinematics",
       [](auto& m, double t) {
         return std::get<0>(m.inverse_kinematics(kPose, {"left_arm"}, "Tool", "world", {}, true, limited(t)));
       }},
      {"inverse_kinematics_by_state",
       [](auto& m, double t) {
         return std::get<0>(
             m.inverse_kinematics_by_state(kPose, {"left_arm"}, "Tool", "world", nullptr, true, limited(t)));
       }},
      {"check_collision",
       [](auto& m, double t) {
         return std::get<0>(m.check_collision({robot_state(std::vector<double>(kDof), kPose)}, true, limited(t)));
       }},
      {"attach_tool", [](auto& m, double) { return m.attach_tool("left_arm", "None"); }, false},
      {"detach_tool", [](auto& m, double) { return m.detach_tool("left_arm"); }, false},
      {"add_obstacle",
       [](auto& m, double) {
         return m.add_obstacle("b", "box", kPose, {1, 1, 1});
       },
       false},
      {"attach_target_object",
       [](auto& m, double) {
         return m.attach_target_object("b", "box", kPose, {1, 1, 1});
       },
       false},
      {"remove_obstacle", [](auto& m, double) { return m.remove_obstacle("b"); }, false},
      {"clear_obstacle", [](auto& m, double) { return m.clear_obstacle(); }, false},
      {"detach_target_object", [](auto& m, double) { return m.detach_target_object("b"); }, false},
      {"set_motion_plan_config",
       [](auto& m, double) { return m.set_motion_plan_config(std::make_shared<sdk::MotionPlanConfig>()); }, false,
       "planner not init success"},
  };
  return all;
}

// A last status that has a result for every operation.
PlannerStatus all_results() {
  PlannerStatus status;
  (*status.mutable_forward_kinematic_result())["hand_link"].mutable_position()->set_x(1.5);
  (*status.mutable_inverse_kinematic_result())["left_arm"].add_data(0.5);
  status.mutable_collision_result()->add_data(0.0);
  return status;
}

template <typename Motion>
class Outcomes : public ::testing::Test {
 protected:
  // Runs every operation on a robot of its own that `prepare` has changed.
  void for_each(const std::function<void(Motion&, const Operation&)>& check) {
    for (const Operation& operation : operations()) {
      SCOPED_TRACE(operation.name);
      log_.clear();
      Motion motion;
      motion.result = all_results();
      check(motion, operation);
    }
  }

  SdkLogCapture log_;
};

using Models = ::testing::Types<FakeMotion, FakeMotionR5>;
TYPED_TEST_SUITE(Outcomes, Models);

TYPED_TEST(Outcomes, TheEndOfTheTaskDecides) {
  const struct {
    PlannerStatus::ServiceStatus end;
    MotionStatus expected;
  } ends[] = {{PlannerStatus::SERVICE_STATUS_FINISHED, MotionStatus::SUCCESS},
              {PlannerStatus::SERVICE_STATUS_EXECUTE_FAILED, MotionStatus::FAULT}};
  for (const auto& end : ends) {
    this->for_each([&](TypeParam& motion, const Operation& operation) {
      motion.end = end.end;
      EXPECT_EQ(operation.call(motion, 5.0), end.expected);
    });
  }
}

TYPED_TEST(Outcomes, CollisionOfTheTrajectoryIsNoEnd) {
  this->for_each([](TypeParam& motion, const Operation& operation) {
    if (!operation.takes_timeout) {
      return;
    }
    motion.end = PlannerStatus::SERVICE_STATUS_TRAJ_COLLISION;
    const auto start = steady_clock::now();
    EXPECT_EQ(operation.call(motion, 0.03), MotionStatus::TIMEOUT);
    EXPECT_GE(steady_clock::now() - start, std::chrono::milliseconds(28));
  });
}

TYPED_TEST(Outcomes, WithoutAnswerNothingWasSent) {
  this->for_each([this](TypeParam& motion, const Operation& operation) {
    motion.plan_client->reply = [](const auto&) { return nullptr; };
    EXPECT_EQ(operation.call(motion, 5.0), MotionStatus::PUBLISH_FAIL);
    EXPECT_TRUE(this->log_.has_containing("error", "request fail, task ID: "));
  });
}

TYPED_TEST(Outcomes, AServiceThatIsNotReadyUsesUpTheBudget) {
  for (const auto status : {PlannerStatus::SERVICE_STATUS_BUSY, PlannerStatus::SERVICE_STATUS_FINISHED}) {
    this->for_each([&](TypeParam& motion, const Operation& operation) {
      if (!operation.takes_timeout || std::string(operation.name).find("forward") == 0) {
        return;  // Forward kinematics asks for the links first, for which it waits 10 s.
      }
      motion.report(status);
      EXPECT_EQ(operation.call(motion, 0.02), MotionStatus::TIMEOUT);
      EXPECT_TRUE(this->log_.has_containing("error", "wait mps ready timeout, last status: SERVICE_STATUS_"));
      EXPECT_TRUE(motion.plan_client->calls().empty());
    });
  }
}

TYPED_TEST(Outcomes, AServiceThatCouldNotStartIsToldAtOnce) {
  this->for_each([this](TypeParam& motion, const Operation& operation) {
    motion.report(PlannerStatus::SERVICE_STATUS_INIT_FAILED);
    EXPECT_EQ(operation.call(motion, 5.0), MotionStatus::INIT_FAILED);
    EXPECT_TRUE(this->log_.has("error", "mps init failed while waiting ready."));
  });
}

TYPED_TEST(Outcomes, BeforeInitNothingIsSent) {
  this->for_each([this](TypeParam& motion, const Operation& operation) {
    motion.set_valid(false);
    EXPECT_EQ(operation.call(motion, -1.0), MotionStatus::INIT_FAILED);
    EXPECT_TRUE(this->log_.has("error", operation.not_initialised));
    EXPECT_TRUE(motion.plan_client->calls().empty());
  });
}

TYPED_TEST(Outcomes, ATimeoutThatIsNotPositiveIsRefused) {
  for (const double timeout : {0.0, -1.0, std::nan("")}) {
    this->for_each([&](TypeParam& motion, const Operation& operation) {
      if (operation.takes_timeout) {
        EXPECT_EQ(operation.call(motion, timeout), MotionStatus::INVALID_INPUT);
        EXPECT_TRUE(this->log_.has_containing("error", "invalid [timeout_second] value, must be positive"));
        EXPECT_TRUE(motion.plan_client->calls().empty());
      }
    });
  }
}

TEST(Results, OfFinishedTasks) {
  FakeMotion motion;
  motion.result = all_results();
  auto& group = (*motion.result.mutable_tavrinox_target()->mutable_target_group_trajectory_map())["left_arm"];
  for (int point = 0; point < 3; ++point) {
    auto& command = *group.add_group_commands();
    command.add_joint_commands()->set_position(point);
    command.add_joint_commands()->set_position(-point);
  }
  const auto [planned, path] =
      motion.api().motion_plan(joint_target("left_arm", {1, 2}), nullptr, nullptr, true, parameter());
  EXPECT_EQ(planned, MotionStatus::SUCCESS);
  EXPECT_EQ(path, (NorvikMotion::PlannedPath{{"left_arm", {{0, 0}, {1, -1}, {2, -2}}}}));
  EXPECT_EQ(std::get<1>(motion.api().forward_kinematics("hand_link")), (std::vector<double>{1.5, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(std::get<1>(motion.api().inverse_kinematics(kPose, {"left_arm"}, "Tool", "world", {}, true, parameter())),
            (NorvikMotion::JointMap{{"left_arm", {0.5}}}));

  motion.result = {};
  EXPECT_EQ(std::get<0>(motion.api().forward_kinematics("hand_link")), MotionStatus::FAULT);
  EXPECT_EQ(std::get<0>(motion.api().inverse_kinematics(kPose, {"left_arm"}, "Tool", "world", {}, true, parameter())),
            MotionStatus::FAULT);
}

TEST(Results, CollisionsAreRounded) {
  FakeMotion motion;
  const auto state = robot_state(std::vector<double>(kDof), kPose);
  for (const double value : {0.4, 0.5, 1.0, -1.0}) {
    motion.result.mutable_collision_result()->add_data(value);
  }
  const auto [status, collisions] = motion.api().check_collision({state, state, state, state});
  EXPECT_EQ(status, MotionStatus::SUCCESS);
  EXPECT_EQ(collisions, (std::vector<bool>{false, true, true, true}));
  EXPECT_EQ(std::get<0>(motion.api().check_collision({state})), MotionStatus::FAULT);
  motion.result = {};
  EXPECT_EQ(std::get<0>(motion.api().check_collision({})), MotionStatus::SUCCESS);
}

TEST(Results, OfTheJacobian) {
  SdkLogCapture log;
  FakeMotion motion;
  const struct {
    const char* text;
    MotionStatus status;
    const char* error;
  } rows[] = {
      {"msg: 'no'", MotionStatus::FAULT, "Jacobian computation failed: no"},
      {"ret: true", MotionStatus::FAULT, "Jacobian response has no jacobian_result field."},
      {"ret: true jacobian_result { }", MotionStatus::FAULT, "Jacobian response has empty result map."},
      {"ret: true jacobian_result { jacobian_result { key: 'a' value { rows: 2 } } }", MotionStatus::FAULT,
       "Jacobian response has invalid matrix shape: 2x0"},
      {"ret: true jacobian_result { jacobian_result { key: 'a' value { rows: 4294967295 cols: 1 } } }",
       MotionStatus::FAULT, "Jacobian response has invalid matrix shape: -1x1"},
      {"ret: true jacobian_result { jacobian_result { key: 'a' value { rows: 2 cols: 2 elements: [1, 2, 3] } } }",
       MotionStatus::FAULT, "Jacobian response matrix size mismatch: rows=2, cols=2, elements_size=3"},
      {"ret: true jacobian_result { jacobian_result { key: 'a' value { rows: 2 cols: 2 elements: [1, 2, 3, 4] } } }",
       MotionStatus::SUCCESS, nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    motion.kinematic_client->reply = [&](const auto&) {
      auto response = std::make_shared<kelvorn_proto::KinematicResponse>();
      EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(row.text, response.get()));
      return response;
    };
    const auto [status, matrix] = motion.api().get_jacobian("left_arm");
    EXPECT_EQ(status, row.status);
    EXPECT_EQ(matrix.empty(), row.error != nullptr);
    EXPECT_TRUE(row.error == nullptr || log.has("error", row.error));
  }
  EXPECT_EQ(std::get<1>(motion.api().get_jacobian("left_arm")), (std::vector<std::vector<double>>{{1, 2}, {3, 4}}));

  motion.kinematic_client->reply = [](const auto&) { return nullptr; };
  EXPECT_EQ(std::get<0>(motion.api().get_jacobian("left_arm")), MotionStatus::TIMEOUT);
  motion.kinematic_client->servers = 0;
  EXPECT_EQ(std::get<0>(motion.api().get_jacobian("left_arm", "Tool", "x", {}, limited(0))),
            MotionStatus::COMM_DISCONNECTED);
}

}  // namespace
}  // namespace norvik::test
