#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>
#include <nlohmann/json_fwd.hpp>

#include <norvik_sdk/norvik_navigation.hpp>

#include "impl/replies/navigation_config_reply.hpp"
#include "impl/requests/navigation_config_requests.hpp"
#include "impl/requests/navigation_requests.hpp"
#include "impl/session/goal_watcher.hpp"
#include "impl/session/goals_under_way.hpp"
#include "impl/session/navigation_tasks.hpp"
#include "impl/session/navigation_wait.hpp"
#include "impl/session/path_evaluation.hpp"
#include "impl/session/repeated_request.hpp"
#include "impl/session/robot_pose.hpp"
#include "norvik/kelvorn_proto/pns_interface.pb.h"
#include "norvik/kelvorn_proto/pns_status.pb.h"
#include "norvik/spatial_proto/pose.pb.h"
#include "ovimux/base/client_base.hpp"
#include "ovimux/base/raw_endpoints.hpp"
#include "ovimux/base/reader_base.hpp"
#include "ovimux/base/writer_base.hpp"
#include "ovimux/basic_interface/clock.hpp"
#include "ovimux/core/shutdown_tasks.hpp"

namespace norvik::ovimux {
class Node;
}  // namespace norvik::ovimux

namespace norvik::sdk {

// The client of the navigation service; everything but the model's log. Operations run on the caller's thread: they
// check, build a request, send it, and look every 100 ms at what the readers have stored. No lock is held while they
// wait.
class NorvikNavigationBase : public NorvikNavigation {
 public:
  NorvikNavigationBase();
  ~NorvikNavigationBase() override;

  NaviStatus relocalize(const Pose& pose) override;
  bool is_localized() const override;
  Pose get_current_pose() const override { return robot_pose_.get(); }

  // Goals.
  NaviStatus navigate_to_goal(const Pose& pose, bool check_collision, bool blocking, float timeout, bool omni) override;
  NaviStatus navigate_to_goal_v2(const Pose& pose, const std::array<double, 3>& velocity_limit,
                                 const std::string& pose_frame, bool check_collision, bool blocking, float timeout,
                                 bool omni) override;
  NaviStatus move_straight_to(const Pose& pose, bool blocking, float timeout) override;
  NaviStatus navigate_with_velocity(double vx, double vy, double wz, double duration_s, bool check_collision) override;
  NaviStatus stop_navigation() override;
  bool check_goal_arrival() override;
  int32_t get_navigation_status() const override { return tasks_.status(); }

  // Tasks.
  TaskHandle set_navigation_target(const Pose& pose, const std::string& frame, float speed_ratio,
                                   bool check_collision) override;
  TaskHandle get_navigation_target_status(const std::string& task_id) override { return tasks_.find(task_id); }
  TaskHandle navigate_through_waypoints(const std::vector<Waypoint>& waypoints, const std::string& frame,
                                        bool check_collision) override;
  TaskHandle navigate_along_trajectory(const std::vector<Pose>& poses, const std::string& frame, float speed_ratio,
                                       bool check_collision) override;
  bool check_path_reachability(const Pose& goal, const Pose& start) override;

  // Boxes.
  NaviStatus add_bounding_box(const BoxInfo& box) override;
  NaviStatus remove_bounding_box(int32_t box_tag) override;
  std::vector<BoxInfo> get_bounding_box() override;
  NaviStatus attach_box_to_link(const BoxInfo& box, const std::vector<std::string>& ignore_links) override;
  NaviStatus detach_box_from_link(int32_t box_tag) override;

  // Configuration.
  NaviStatus set_navigation_velocity_limit(const AxisLimits& limit) override;
  NaviStatus set_navigation_kinematics_limits(const AxisLimits& velocity, const AxisLimits& acceleration,
                                              const AxisLimits& jerk) override;
  NaviStatus set_navigation_timeout(double seconds) override;
  NaviStatus set_navigation_arrival_threshold(const AxisLimits& threshold) override;
  NaviStatus dump_navigation_configs() override;
  // Sets what `config` names; `name` goes into the id and the records.
  NaviStatus set_navigation_config_json(const std::string& name, const nlohmann::json& config);
  NaviStatus set_navigation_kinematics_config_map(const KinematicsLimits& limits);
  // Writes one setting into the log.
  NaviStatus get_navigation_config(const std::string& key);

  // The service works and the robot is localised.
  bool is_ready() const;

  // These run on workers of the middleware.
  void navigation_status_msg_callback(const std::shared_ptr<kelvorn_proto::NavigationResult>& result);
  void pns_status_callback(const std::shared_ptr<kelvorn_proto::PNSStatus>& status);
  void robot_pose_msg_callback(const std::shared_ptr<spatial_proto::PoseMsg>& message);
  void evaluate_msg_callback(const std::shared_ptr<kelvorn_proto::EvaluateGoalAvailabilityResponse>& response);
  void localization_score_callback(const void* data, int size);

 protected:
  using Response = kelvorn_proto::NavigationResponse;
  using PlanClient = ovimux::SerializationClient<NaviRequest, Response>;
  using PlanV2Client = ovimux::SerializationClient<NaviPlanRequest, Response>;
  using ConfigClient = ovimux::SerializationClient<NaviConfigRequest, NaviConfigReply>;

  // What init() of both models does behind the log's opening.
  bool base_init();

  // From here on the goals of blocking calls are stopped when the process is told to end.
  void register_shutdown_task();

  std::shared_ptr<ovimux::SerializationWriter<spatial_proto::PoseMsg>> init_pose_writer_;
  std::shared_ptr<ovimux::RawClient> fusion_add_client_;
  std::shared_ptr<ovimux::RawClient> fusion_remove_client_;
  std::shared_ptr<ovimux::RawClient> fusion_get_client_;
  std::shared_ptr<PlanClient> plan_client_;
  std::shared_ptr<PlanV2Client> plan_v2_client_;
  std::shared_ptr<ConfigClient> config_client_;
  NavigationTasks tasks_;

 private:
  // Session.
  bool open_channels();
  void open_fusion_clients();
  bool open_clients();
  bool open_readers();
  void wait_for_servers();
  void stop_goals_under_way(NaviTime deadline);
  void fill_provider_slot();
  void clear_provider_slot();
  // SERVICE_WORKING was reported; logs when not.
  bool is_service_working() const;

  // Goals.
  struct SimpleGoal;
  NaviStatus run_simple_goal(const SimpleGoal& goal);
  void stop_running_goal();
  NaviStatus send_stop_navigation();
  NaviStatus wait_for_arrival(NaviTime deadline, GoalsUnderWay::Goal& goal);
  void watch_arrival(NaviTime deadline);
  bool has_plan_v2_client() const;
  struct WatchedGoal;
  NaviStatus send_watched_goal(const WatchedGoal& goal);
  NaviStatus monitor_goal(const WatchedGoal& goal);
  std::optional<NaviStatus> look_at_goal(const WatchedGoal& goal);
  NaviStatus set_goal_limits(const AxisLimits& velocity_limit, float timeout);

  // Tasks.
  struct TaskTexts;
  TaskHandle submit_task(const std::shared_ptr<NaviPlanRequest>& request, const TaskTexts& texts);
  bool repeat_evaluation(const std::shared_ptr<const NaviRequest>& request);
  bool wait_for_evaluation();

  // Boxes.
  NaviStatus send_box_request(const std::shared_ptr<ovimux::RawClient>& client, const char* operation,
                              const std::string& request);
  NaviStatus check_link_box_service() const;
  NaviStatus run_link_box_request(const char* operation, const std::shared_ptr<const NaviRequest>& request);
  NaviStatus wait_for_link_box(const char* operation, NaviTime deadline);

  // Configuration.
  bool has_config_client() const;
  NaviStatus send_config(const NaviConfigRequest& request, const std::string& name);

  std::once_flag init_once_;
  std::atomic<bool> init_success_{false};
  std::unique_ptr<ovimux::Node> navi_node_;
  std::vector<std::shared_ptr<ovimux::ReaderBase>> readers_;
  const ovimux::basic_interface::Clock clock_{ovimux::basic_interface::RCL_SYSTEM_TIME};

  std::atomic<int32_t> pns_status_{kelvorn_proto::PNSStatus::SERVICE_INITING};
  std::atomic<float> localization_score_{0.0F};
  RobotPose robot_pose_;
  PathEvaluation evaluation_;
  GoalsUnderWay goals_under_way_;
  std::unique_ptr<ovimux::ShutdownTask> shutdown_task_;
  GoalWatcher watcher_;  // Last: its thread uses everything above.
};

}  // namespace norvik::sdk
