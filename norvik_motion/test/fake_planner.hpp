#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "common_provider.hpp"
#include "impl/norvik_motion_k2.hpp"
#include "impl/norvik_motion_r5.hpp"
#include "ovimux/ovimux.hpp"
#include "support/fake_endpoints.hpp"

namespace norvik::test {

using kelvorn_proto::PlannerStatus;
using PlanServerRequest = kelvorn_proto::MotionPlanServerRequest;

// Joints of the fake robot: a left arm and a right arm of two joints, a head of one, a leg or torso of one.
inline constexpr int kDof = 6;

kelvorn_proto::DataResponse robot_data(kelvorn_proto::GetDataRequest::DataType type);

std::shared_ptr<PlannerStatus> make_status(PlannerStatus::ServiceStatus status, const std::string& task_id = "");

// A motion object of a model whose endpoints are fakes. As made it is ready: the service is READY, and ends each task
// as FINISHED with `result` as its last status.
template <typename Model>
class FakeMotionOf : public Model {
 public:
  using PlanClient = FakeClient<PlanServerRequest, kelvorn_proto::MotionPlannerOutput>;
  using DataClient = FakeClient<kelvorn_proto::GetDataRequest, kelvorn_proto::DataResponse>;
  using KinematicClient = FakeClient<kelvorn_proto::KinematicRequest, kelvorn_proto::KinematicResponse>;

  FakeMotionOf() {
    ovimux::OvimuxInitInternal();  // Waits end at once while the middleware is not running.
    this->mps_client_.set_data(plan_client);
    this->mps_data_client_.set_data(data_client);
    this->mps_kinematic_client_.set_data(kinematic_client);
    data_client->reply = [](const auto& request) {
      return std::make_shared<kelvorn_proto::DataResponse>(robot_data(request.data_type()));
    };
    plan_client->reply = [this](const PlanServerRequest& request) {
      end_task(request, end);
      return std::make_shared<kelvorn_proto::MotionPlannerOutput>();
    };
    this->is_init_ = true;
    this->update_robot_info();
    report(PlannerStatus::SERVICE_STATUS_READY);
    sdk::JointStateProvider::get_joint_positions_func_ = [this](const auto&, const std::vector<std::string>& names) {
      return std::vector<double>(joints_known ? names.size() : 0, 0.5);
    };
    sdk::BaseStateProvider::get_base_state_func_ = [] { return std::vector<double>{1, 2, 0, 0, 0, 0, 1}; };
  }
  ~FakeMotionOf() override {
    sdk::JointStateProvider::get_joint_positions_func_ = nullptr;
    sdk::BaseStateProvider::get_base_state_func_ = nullptr;
  }

  // As an application sees it, with the default arguments.
  sdk::NorvikMotion& api() { return *this; }

  void report(PlannerStatus::ServiceStatus status) { this->mps_status_callback(make_status(status)); }

  void end_task(const PlanServerRequest& request, PlannerStatus::ServiceStatus status) {
    const auto message = std::make_shared<PlannerStatus>(result);
    message->set_status(status);
    message->set_task_id(request.task_id());
    this->mps_status_callback(message);
    report(PlannerStatus::SERVICE_STATUS_READY);
  }

  void read_tables_again() { this->update_robot_info(); }
  void set_valid(bool valid) { this->is_init_ = valid; }

  PlannerStatus result;
  PlannerStatus::ServiceStatus end = PlannerStatus::SERVICE_STATUS_FINISHED;
  std::atomic<bool> joints_known{true};
  const std::shared_ptr<PlanClient> plan_client = std::make_shared<PlanClient>();
  const std::shared_ptr<DataClient> data_client = std::make_shared<DataClient>();
  const std::shared_ptr<KinematicClient> kinematic_client = std::make_shared<KinematicClient>();
};

using FakeMotion = FakeMotionOf<sdk::k2::NorvikMotionK2>;
using FakeMotionR5 = FakeMotionOf<sdk::r5::NorvikMotionR5>;

inline const std::vector<double> kPose{0.1, 0.2, 0.3, 0.0, 0.0, 0.0, 1.0};

std::shared_ptr<sdk::JointStates> joint_target(const std::string& chain, const std::vector<double>& joints);
std::shared_ptr<sdk::PoseState> pose_target(const std::string& chain, const std::string& frame);
std::shared_ptr<sdk::RobotStates> robot_state(const std::vector<double>& joints, const std::vector<double>& base);
std::shared_ptr<sdk::Parameter> parameter(const std::function<void(sdk::Parameter&)>& change = [](auto&) {});

}  // namespace norvik::test
