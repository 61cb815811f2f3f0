#include "motion_benchmarks.hpp"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <norvik_sdk/norvik_motion.hpp>

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "ovimux/node.hpp"
#include "robot_process.hpp"

namespace norvik::benchmarks {
namespace {

using kelvorn_proto::PlannerStatus;
using PlanRequest = kelvorn_proto::MotionPlanServerRequest;

constexpr const char* kHand = "left_arm_end_effector_mount_link";
constexpr std::chrono::seconds kPatience{5};
const std::vector<double> kBent = {0.3, -0.4, 0.0, -0.8, 0.0, 0.3, 0.0};

// A client of the planner's services that uses the middleware alone. The facade asks for the links before it names one,
// so this one does too.
class BarePlanner {
 public:
  BarePlanner()
      : node_(ovimux::CreateNode("bare_planner", "")),
        plans_(node_->CreateClient<PlanRequest, kelvorn_proto::MotionPlannerOutput>("motion_planning_service", {})),
        data_(node_->CreateClient<kelvorn_proto::GetDataRequest, kelvorn_proto::DataResponse>(
            "motion_planning_service/get_data", {})),
        kinematics_(node_->CreateClient<kelvorn_proto::KinematicRequest, kelvorn_proto::KinematicResponse>(
            "motion_planning_service/kinematic", {})),
        statuses_(node_->CreateReader<PlannerStatus>(
            "motion_planning_service/status",
            [this](const std::shared_ptr<PlannerStatus>& status, const void*) { look_at(*status); }, {})) {
    plans_->WaitForServerConnected(kPatience);
    data_->WaitForServerConnected(kPatience);
    kinematics_->WaitForServerConnected(kPatience);
  }

  void ask_links() {
    kelvorn_proto::GetDataRequest request;
    request.set_data_type(kelvorn_proto::GetDataRequest::LinkList);
    data_->SendRequest(request, kPatience);
  }

  void ask_jacobian(const std::vector<double>& joints) {
    ask_links();
    kelvorn_proto::KinematicRequest request;
    request.set_task_id("bare");
    auto& jacobian = *request.mutable_jacobian_req();
    jacobian.add_link_names(kHand);
    jacobian.mutable_robot_state()->mutable_body()->mutable_joint()->mutable_positions()->mutable_data()->Add(
        joints.begin(), joints.end());
    kinematics_->SendRequest(request, kPatience);
  }

  // Sends a task and waits for the status that ends it.
  void run(PlanRequest request) {
    std::unique_lock<std::mutex> lock(mutex_);
    awaited_ = "bare-" + std::to_string(++count_);
    request.set_task_id(awaited_);
    lock.unlock();
    plans_->SendRequest(request, kPatience);
    lock.lock();
    ended_.wait_for(lock, kPatience, [this] { return awaited_.empty() && ready_; });
  }

  // How long the planner was at tasks since the last call of this, as its statuses tell; seconds.
  double take_busy_time() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(busy_s_, 0.0);
  }

 private:
  void look_at(const PlannerStatus& status) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool ended = status.status() == PlannerStatus::SERVICE_STATUS_FINISHED ||
                       status.status() == PlannerStatus::SERVICE_STATUS_EXECUTE_FAILED;
    if (status.status() == PlannerStatus::SERVICE_STATUS_BUSY && status.task_id() != current_) {
      current_ = status.task_id();
      busy_since_ns_ = now_ns();
    }
    if (ended && status.task_id() == current_) {
      busy_s_ += static_cast<double>(now_ns() - busy_since_ns_) / 1e9;
    }
    if (ended && status.task_id() == awaited_) {
      awaited_.clear();
    }
    ready_ = status.status() == PlannerStatus::SERVICE_STATUS_READY;
    ended_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable ended_;
  std::string awaited_;
  std::string current_;
  bool ready_ = false;
  int count_ = 0;
  int64_t busy_since_ns_ = 0;
  double busy_s_ = 0.0;
  const std::unique_ptr<ovimux::Node> node_;
  const std::shared_ptr<ovimux::SerializationClient<PlanRequest, kelvorn_proto::MotionPlannerOutput>> plans_;
  const std::shared_ptr<ovimux::SerializationClient<kelvorn_proto::GetDataRequest, kelvorn_proto::DataResponse>> data_;
  const std::shared_ptr<ovimux::SerializationClient<kelvorn_proto::KinematicRequest, kelvorn_proto::KinematicResponse>>
      kinematics_;
  const std::shared_ptr<ovimux::SerializationReader<PlannerStatus>> statuses_;  // Last: its callback uses the others.
};

PlanRequest forward_request(const std::vector<double>& joints) {
  PlanRequest request;
  auto& forward = *request.mutable_forward_kinematics();
  forward.add_link_names(kHand);
  forward.set_parent_frame(kelvorn_proto::BASE);
  forward.mutable_robot_state()->mutable_body()->mutable_joint()->mutable_positions()->mutable_data()->Add(
      joints.begin(), joints.end());
  return request;
}

PlanRequest inverse_request(const std::vector<double>& pose) {
  PlanRequest request;
  auto& inverse = *request.mutable_inverse_kinematics();
  inverse.set_chain(kelvorn_proto::left_arm);
  inverse.set_is_check_collision(true);
  auto& body = *inverse.mutable_target_state()->mutable_body();
  body.set_type(kelvorn_proto::BodyState::CART);
  body.mutable_pose()->mutable_parent_frame()->set_map_frame(kelvorn_proto::BASE);
  auto& wire = *body.mutable_pose()->mutable_pose();
  wire.mutable_position()->set_x(pose[0]);
  wire.mutable_position()->set_y(pose[1]);
  wire.mutable_position()->set_z(pose[2]);
  wire.mutable_orientation()->set_x(pose[3]);
  wire.mutable_orientation()->set_y(pose[4]);
  wire.mutable_orientation()->set_z(pose[5]);
  wire.mutable_orientation()->set_w(pose[6]);
  return request;
}

// Time of one of two calls that take turns, so that both meet the same machine.
struct Pair {
  double bare_us;
  double ours_us;
};
Pair measure(int count, const std::function<void()>& bare, const std::function<void()>& ours) {
  std::vector<double> bare_us;
  std::vector<double> ours_us;
  for (int i = 0; i < count; ++i) {
    bare_us.push_back(median_call_us(1, bare));
    ours_us.push_back(median_call_us(1, ours));
  }
  return {percentile(bare_us, 0.5), percentile(ours_us, 0.5)};
}

double add_box_us(sdk::NorvikMotion& motion, int boxes, int& added) {
  const auto add = [&] {
    const double x = 3.0 + 0.1 * (added % 100);
    motion.add_obstacle("box" + std::to_string(added), "box", {x, 0.1 * (added / 100), 1, 0, 0, 0, 1},
                        {0.05, 0.05, 0.05});
    ++added;
  };
  while (added < boxes) {
    add();
  }
  return median_call_us(20, add);
}

// Seconds of fifty plans in a row, and of the planner alone meanwhile.
std::vector<double> fifty_plans(sdk::NorvikMotion& motion, BarePlanner& bare) {
  auto there = std::make_shared<sdk::JointStates>();
  there->chain = "left_arm";
  there->joint_positions = kBent;
  bare.take_busy_time();
  const int64_t start = now_ns();
  for (int i = 0; i < 50; ++i) {
    motion.motion_plan(there);
  }
  const double total_s = static_cast<double>(now_ns() - start) / 1e9;
  return {bare.take_busy_time(), total_s};
}

int motion_cost(int count) {
  auto* robot = start_robot();
  auto& motion = sdk::NorvikMotion::get_instance(sdk::MachineType::K2);
  if (robot == nullptr || !wait_until_commandable(*robot, std::vector<sdk::JointCommand>(14), arm_groups()) ||
      !motion.init()) {
    return 1;
  }
  BarePlanner bare;
  auto state = std::make_shared<sdk::RobotStates>();
  state->whole_body_joint = motion.get_whole_body_state();
  state->base_state = {0, 0, 0, 0, 0, 0, 1};
  const auto& joints = state->whole_body_joint;
  const Pair jacobian = measure(
      count, [&] { bare.ask_jacobian(joints); },
      [&] { motion.get_jacobian_by_state("left_arm", "EndEffector", "base_link", state); });
  const Pair forward = measure(
      count,
      [&] {
        bare.ask_links();
        bare.run(forward_request(joints));
      },
      [&] { motion.forward_kinematics_by_state(kHand, state); });
  const auto pose = std::get<1>(motion.forward_kinematics(kHand, "base_link", {{"left_arm", kBent}}));
  const Pair inverse = measure(
      count, [&] { bare.run(inverse_request(pose)); }, [&] { motion.inverse_kinematics(pose, {"left_arm"}); });
  int added = 0;
  const double few_us = add_box_us(motion, 10, added);
  const double many_us = add_box_us(motion, 1000, added);
  motion.clear_obstacle();
  const auto plans = fifty_plans(motion, bare);
  report({jacobian.bare_us, jacobian.ours_us, forward.bare_us, forward.ours_us, inverse.bare_us, inverse.ours_us,
          few_us, many_us, plans[0], plans[1]});
  wait_for_parent();
  return 0;
}

}  // namespace

std::vector<Row> motion_rows(double scale) {
  const Simulator simulator;
  const auto f = run_role({"motion_cost", std::to_string(scaled_count(scale, 500))});
  return {{"get_jacobian, p50", "us", f.at(0), f.at(1), 1.1, false, "baseline: the same two requests"},
          {"forward_kinematics, p50", "us", f.at(2), f.at(3), 1.3, false, "baseline: the same request and task"},
          {"inverse_kinematics, p50", "us", f.at(4), f.at(5), 1.3, false, "baseline: the same task"},
          {"add a box to 1000", "us", f.at(6), f.at(7), 3.0, false, "baseline: to 10"},
          {"50 plans in a row", "s", f.at(8), f.at(9), 1.1, false, "baseline: the planner's own times"}};
}

int run_motion_role(const std::vector<std::string>& arguments) {
  return arguments.front() == "motion_cost" ? motion_cost(std::stoi(arguments.at(1))) : -1;
}

}  // namespace norvik::benchmarks
