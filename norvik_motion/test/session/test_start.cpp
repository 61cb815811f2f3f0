// The start of a session, its end and the end of the process, over the wire. Every case is a process of its own.

#include <unistd.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>

#include <norvik_sdk/norvik_motion.hpp>

#include "../fake_planner.hpp"
#include "ovimux/dds/service_server_base.hpp"
#include "ovimux/node.hpp"
#include "support/sdk_log_capture.hpp"
#include "support/temp_dir.hpp"

namespace norvik::test {
namespace {

using sdk::MachineType;
using sdk::MotionStatus;
using sdk::NorvikMotion;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

template <typename Req, typename Resp>
class WireService {
 public:
  WireService(const std::string& service, std::function<Resp(const Req&)> answer)
      : answer_(std::move(answer)),
        server_(service, ovimux::RpcQos{}, [this](const auto& context, const std::vector<uint8_t>& bytes) {
          Req request;
          request.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
          server_.Reply(context, answer_(request).SerializeAsString());
        }) {}

 private:
  const std::function<Resp(const Req&)> answer_;
  ovimux::ServiceServerBase server_;  // Last: requests arrive as soon as it exists.
};

// A planning service that repeats its status and, if told so, ends each task as soon as it comes.
class WirePlanner {
 public:
  explicit WirePlanner(PlannerStatus::ServiceStatus status, bool ends_tasks = true)
      : ends_tasks_(ends_tasks), reporter_([this, status] {
          while (!over_) {
            writer_->Publish(*make_status(status));
            std::this_thread::sleep_for(milliseconds(50));
          }
        }) {}
  ~WirePlanner() {
    over_ = true;
    reporter_.join();
  }

 private:
  kelvorn_proto::MotionPlannerOutput plan(const PlanServerRequest& request) {
    if (ends_tasks_) {
      writer_->Publish(*make_status(PlannerStatus::SERVICE_STATUS_FINISHED, request.task_id()));
    }
    return {};
  }

  const bool ends_tasks_;
  std::atomic<bool> over_{false};
  std::unique_ptr<ovimux::Node> node_ = ovimux::CreateNode("wire_planner", "");
  std::shared_ptr<ovimux::SerializationWriter<PlannerStatus>> writer_ =
      node_->CreateWriter<PlannerStatus>("motion_planning_service/status", ovimux::Qos{});
  WireService<PlanServerRequest, kelvorn_proto::MotionPlannerOutput> plans_{
      "motion_planning_service", [this](const auto& request) { return plan(request); }};
  WireService<kelvorn_proto::GetDataRequest, kelvorn_proto::DataResponse> data_{
      "motion_planning_service/get_data", [](const auto& request) { return robot_data(request.data_type()); }};
  WireService<kelvorn_proto::KinematicRequest, kelvorn_proto::KinematicResponse> kinematics_{
      "motion_planning_service/kinematic", [](const auto&) { return kelvorn_proto::KinematicResponse(); }};
  std::thread reporter_;
};

class Start : public ::testing::TestWithParam<MachineType> {
 protected:
  Start() {
    ::setenv("HOME", home_.path().c_str(), 1);
    ovimux::OvimuxInit();
  }
  static NorvikMotion& motion() { return NorvikMotion::get_instance(GetParam()); }

  // How long `call` goes on after a shutdown that is asked for while it runs.
  static milliseconds time_after_shutdown(const std::function<void()>& call) {
    auto done = std::async(std::launch::async, call);
    EXPECT_EQ(done.wait_for(milliseconds(300)), std::future_status::timeout);
    const auto asked = steady_clock::now();
    ovimux::AsyncShutdown();
    done.get();
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - asked);
  }

  TempDir home_;
};

TEST_P(Start, MakesASessionThatWorks) {
  const WirePlanner planner(PlannerStatus::SERVICE_STATUS_READY);
  ASSERT_TRUE(motion().init());
  SdkLogCapture log;
  EXPECT_TRUE(motion().is_valid());
  EXPECT_EQ(motion().get_robot_dof(), kDof);
  EXPECT_EQ(motion().attach_tool("left_arm", "None"), MotionStatus::SUCCESS);
  EXPECT_EQ(std::get<0>(motion().get_motion_plan_config()), MotionStatus::SUCCESS);
  EXPECT_EQ(std::get<0>(motion().get_end_effector_pose("hand_link", "base_link")), MotionStatus::DATA_FETCH_FAILED);
  EXPECT_TRUE(motion().init());
  EXPECT_EQ(motion().detach_tool("left_arm"), MotionStatus::SUCCESS);

  // The slot's time-out comes before its speed.
  double speed = 0;
  sdk::JointPositionControlProvider::set_joint_positions_func_ = [&](const auto&, const auto&, const auto&, bool,
                                                                     double s, double) {
    speed = s;
    return sdk::ControlStatus::TIMEOUT;
  };
  ASSERT_TRUE(sdk::WholeBodyJointProvider::move_whole_body_joint_zero_func_);
  EXPECT_EQ(sdk::WholeBodyJointProvider::move_whole_body_joint_zero_func_(true, 9.0, 0.3, nullptr),
            MotionStatus::TIMEOUT);
  EXPECT_EQ(speed, 0.3);
}

TEST_P(Start, FailsForGoodWhenTheServiceCannotStart) {
  const WirePlanner planner(PlannerStatus::SERVICE_STATUS_INIT_FAILED);
  EXPECT_FALSE(motion().init());
  EXPECT_FALSE(motion().init());
  EXPECT_FALSE(motion().is_valid());
  EXPECT_EQ(motion().clear_obstacle(), MotionStatus::INIT_FAILED);
  EXPECT_TRUE(motion().get_link_names().empty());
}

TEST_P(Start, EndsSoonOnAShutdown) {
  EXPECT_LT(time_after_shutdown([] { EXPECT_FALSE(motion().init()); }), milliseconds(400));
}

TEST_P(Start, TasksEndSoonOnAShutdown) {
  const WirePlanner planner(PlannerStatus::SERVICE_STATUS_READY, false);
  ASSERT_TRUE(motion().init());
  EXPECT_LT(time_after_shutdown([] { EXPECT_EQ(motion().clear_obstacle(), MotionStatus::TIMEOUT); }),
            milliseconds(400));
}

TEST_P(Start, AProcessExitsWhileABackgroundTaskRuns) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto exits = [] {
    const WirePlanner planner(PlannerStatus::SERVICE_STATUS_READY, false);
    const bool started = motion().init() && motion().set_end_effector_pose(kPose, "left_arm", "world", nullptr, true,
                                                                           false, 60.0) == MotionStatus::SUCCESS;
    std::this_thread::sleep_for(milliseconds(200));  // Into its wait.
    ::alarm(5);                                      // From here on the process has to end by itself.
    std::exit(started ? 7 : 1);
  };
  EXPECT_EXIT(exits(), ::testing::ExitedWithCode(7), "");
}

INSTANTIATE_TEST_SUITE_P(Models, Start, ::testing::Values(MachineType::K2, MachineType::R5),
                         [](const auto& model) { return model.param == MachineType::K2 ? "K2" : "R5"; });

}  // namespace
}  // namespace norvik::test
