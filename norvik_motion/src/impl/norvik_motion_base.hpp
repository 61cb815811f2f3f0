#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <norvik_sdk/norvik_motion.hpp>

#include "data_buffer.hpp"
#include "impl/requests/planning_requests.hpp"
#include "impl/requests/scene_requests.hpp"
#include "impl/session/config_cache.hpp"
#include "impl/session/plan_tasks.hpp"
#include "impl/session/service_status.hpp"
#include "impl/tables/chain_tables.hpp"
#include "impl/tables/motion_plan_data_checker.hpp"
#include "norvik/kelvorn_proto/common_interface.pb.h"
#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "ovimux/base/client_base.hpp"
#include "ovimux/base/reader_base.hpp"

namespace norvik::ovimux {
class Node;
namespace tf2_ovimux {
class Buffer;
class TransformListener;
}  // namespace tf2_ovimux
}  // namespace norvik::ovimux

namespace norvik::sdk {

// Where a model stands in its zero posture.
struct ZeroPosture {
  std::string lower_body;  // group
  std::vector<double> lower_body_joints;
  std::vector<double> head;
  std::vector<double> left_arm;
  std::vector<double> right_arm;
};

// The client of the motion planning service; everything but what differs between the models. Operations run on the
// caller's thread: they check, build a request, send it and follow its task through the status topic. No lock is held
// while they wait.
class NorvikMotionBase : public NorvikMotion {
 public:
  NorvikMotionBase();
  ~NorvikMotionBase() override;

  bool is_valid() const override { return is_init_.load(); }

  // Kinematics.
  std::tuple<MotionStatus, std::vector<double>> forward_kinematics(const std::string& target_link,
                                                                   const std::string& reference_frame,
                                                                   const JointMap& joint_state,
                                                                   std::shared_ptr<Parameter> parameter) override;
  std::tuple<MotionStatus, std::vector<double>> forward_kinematics_by_state(
      const std::string& target_link, std::shared_ptr<RobotStates> state, const std::string& reference_frame,
      std::shared_ptr<Parameter> parameter) override;
  std::tuple<MotionStatus, JointMap> inverse_kinematics(const std::vector<double>& pose,
                                                        const std::vector<std::string>& chain_names,
                                                        const std::string& target_frame,
                                                        const std::string& reference_frame, const JointMap& joint_state,
                                                        bool check_collision,
                                                        std::shared_ptr<Parameter> parameter) override;
  std::tuple<MotionStatus, JointMap> inverse_kinematics_by_state(
      const std::vector<double>& pose, const std::vector<std::string>& chain_names, const std::string& target_frame,
      const std::string& reference_frame, std::shared_ptr<RobotStates> state, bool check_collision,
      std::shared_ptr<Parameter> parameter) override;
  std::tuple<MotionStatus, std::vector<std::vector<double>>> get_jacobian(
      const std::string& chain, const std::string& target_frame, const std::string& reference_frame,
      const JointMap& joint_state, std::shared_ptr<Parameter> parameter) override;
  std::tuple<MotionStatus, std::vector<std::vector<double>>> get_jacobian_by_state(
      const std::string& chain, const std::string& target_frame, const std::string& reference_frame,
      std::shared_ptr<RobotStates> state, std::shared_ptr<Parameter> parameter) override;
  std::tuple<MotionStatus, std::vector<double>> get_end_effector_pose(const std::string& end_effector_frame,
                                                                      const std::string& reference_frame) override;
  std::tuple<MotionStatus, std::vector<double>> get_end_effector_pose_on_chain(
      const std::string& chain, std::string frame_id, const std::string& reference_frame) override;
  std::string resolve_jacobian_target_link(const std::string& chain, const std::string& target_frame) const override;

  // Planning.
  MotionStatus set_end_effector_pose(const std::vector<double>& pose, const std::string& end_effector,
                                     const std::string& reference_frame, std::shared_ptr<RobotStates> reference_state,
                                     bool check_collision, bool blocking, double timeout,
                                     std::shared_ptr<Parameter> parameter) override;
  PlanResult motion_plan(std::shared_ptr<RobotStates> target, std::shared_ptr<RobotStates> start,
                         std::shared_ptr<RobotStates> reference, bool plan_path,
                         std::shared_ptr<Parameter> parameter) override;
  PlanResult motion_plan_multi_waypoints(std::shared_ptr<RobotStates> target, const Waypoints& waypoints,
                                         std::shared_ptr<RobotStates> start, std::shared_ptr<RobotStates> reference,
                                         bool plan_path, std::shared_ptr<Parameter> parameter) override;
  PlanResult motion_plan_multi_waypoints(const std::map<std::shared_ptr<RobotStates>, Waypoints>& targets,
                                         const std::vector<std::shared_ptr<RobotStates>>& starts,
                                         std::shared_ptr<RobotStates> reference, bool plan_path,
                                         std::shared_ptr<Parameter> parameter) override;
  std::tuple<MotionStatus, std::vector<bool>> check_collision(const std::vector<std::shared_ptr<RobotStates>>& states,
                                                              bool check_once,
                                                              std::shared_ptr<Parameter> parameter) override;

  // Scene.
  MotionStatus attach_tool(const std::string& chain, const std::string& tool) override;
  MotionStatus detach_tool(const std::string& chain) override;
  MotionStatus add_obstacle(const std::string& object_id, const std::string& object_type,
                            const std::vector<double>& pose, const std::array<double, 3>& scale, const std::string& key,
                            const std::string& parent_frame, const std::string& ee_frame,
                            const std::vector<double>& reference_joint_positions,
                            const std::vector<double>& reference_base_pose,
                            const std::vector<std::string>& ignore_links, double safe_margin,
                            double resolution) override;
  MotionStatus remove_obstacle(const std::string& object_id) override;
  MotionStatus clear_obstacle() override;
  MotionStatus attach_target_object(const std::string& object_id, const std::string& object_type,
                                    const std::vector<double>& pose, const std::array<double, 3>& scale,
                                    const std::string& key, const std::string& parent_frame,
                                    const std::string& ee_frame, const std::vector<double>& reference_joint_positions,
                                    const std::vector<double>& reference_base_pose,
                                    const std::vector<std::string>& ignore_links, double safe_margin,
                                    double resolution) override;
  MotionStatus detach_target_object(const std::string& object_id) override;

  // Configuration.
  MotionStatus set_motion_plan_config(std::shared_ptr<MotionPlanConfig> config) override;
  std::tuple<MotionStatus, MotionPlanConfig> get_motion_plan_config() override;

  // Names.
  std::vector<std::string> get_link_names(bool only_end_effector) override;
  std::set<std::string> get_support_links() override;
  std::set<std::string> get_support_chains() override;
  std::set<std::string> get_support_frame() override;
  std::set<std::string> get_support_ee_frame() override;
  std::set<std::string> get_support_tool_list() override;
  std::set<std::string> get_support_obstacle_type() override;
  std::vector<std::string> get_built_object_list() override;
  std::vector<std::string> get_attached_object_list() override;
  bool is_link_name_valid(const std::string& link, bool throw_on_error) const override;
  bool is_chain_name_valid(const std::string& chain, bool throw_on_error) const override;
  bool is_frame_name_valid(const std::string& frame, bool throw_on_error) const override;
  bool is_ee_frame_valid(const std::string& ee_frame, bool throw_on_error) const override;
  bool is_tool_name_valid(const std::string& tool, bool throw_on_error) const override;
  bool is_obstacle_type_valid(const std::string& object_type, bool throw_on_error) const override;
  bool is_whole_body_state_valid(const std::vector<double>& state, bool throw_on_error) const override;
  bool is_pose_7d_valid(const std::vector<double>& pose, bool throw_on_error) const override;
  bool is_chain_joint_state_valid(const JointMap& joint_state, bool throw_on_error) const override;

  // State.
  int32_t get_robot_dof() const override;
  RobotStates get_robot_states() override;
  std::vector<double> get_whole_body_state() override { return get_whole_body_joint_state(); }
  std::vector<double> get_chassis_state() override { return get_base_state(); }
  JointMap get_chain_pose_state(const std::string& chain) override;
  bool replace_joint_state(const std::string& chain, const std::vector<double>& joint_values,
                           std::vector<double>& whole_body) override;
  std::string status_to_string(MotionStatus status) const override;

  // Number of joints of a chain, -1 for an unknown one.
  int32_t get_chain_dof(const std::string& chain) const;
  std::vector<double> get_whole_body_joint_state();
  std::vector<double> get_base_state();

  // The values of ControlStatus mean the same in planning; what is above them is FAULT.
  static MotionStatus control_status_to_motion_status(ControlStatus status);

  // The newest pose of `source` in `target`, and its time; 0 for `time_ns` is the latest. Waits up to `timeout_ms`.
  MotionStatus get_transform(const std::string& target, const std::string& source, int64_t time_ns, int64_t timeout_ms,
                             std::array<double, 7>& pose, int64_t& timestamp_ns);

  // Runs on a worker of the middleware.
  void mps_status_callback(const std::shared_ptr<kelvorn_proto::PlannerStatus>& message);

 protected:
  using PlanRequest = kelvorn_proto::MotionPlanServerRequest;
  using PlannerStatus = kelvorn_proto::PlannerStatus;
  using PlanClient = ovimux::SerializationClient<PlanRequest, kelvorn_proto::MotionPlannerOutput>;
  using DataClient = ovimux::SerializationClient<kelvorn_proto::GetDataRequest, kelvorn_proto::DataResponse>;
  using KinematicClient =
      ovimux::SerializationClient<kelvorn_proto::KinematicRequest, kelvorn_proto::KinematicResponse>;
  using DataResponse = std::shared_ptr<kelvorn_proto::DataResponse>;
  using DataType = kelvorn_proto::GetDataRequest::DataType;

  // What init() of both models does behind the log's opening.
  bool base_init();

  // Reads names and tables from the service.
  void update_robot_info();

  // As get_chain_joint_state(), without the chains to be skipped.
  JointMap read_chain_joint_state(const std::set<std::string>& skipped);
  MotionStatus move_to_zero(const ZeroPosture& posture, bool blocking, double speed, double timeout,
                            std::shared_ptr<Parameter> parameter);

  // Empty before the start and after one that failed. Other threads may be using what init() replaces: each takes a
  // copy of the pointer for its call.
  DataBuffer<PlanClient> mps_client_;
  DataBuffer<DataClient> mps_data_client_;
  DataBuffer<KinematicClient> mps_kinematic_client_;
  std::atomic<bool> is_init_{false};

 private:
  struct SupportNames {
    std::set<std::string> support_links_;
    std::set<std::string> support_chains_;
    std::set<std::string> support_frames_;
    std::set<std::string> support_ee_frames_;
    std::set<std::string> support_tool_list_;
  };

  // Session.
  bool open_channels();
  bool open_clients();
  void close_channels();
  bool wait_mps_init();
  void open_transforms();
  void fill_provider_slot();
  void clear_provider_slot();
  bool is_valid_or_log() const;
  PlanRequest make_request(const std::string& task_prefix);
  bool send_plan_request(const PlanRequest& request);
  std::pair<MotionStatus, PlannerStatus> execute_plan_request(const PlanRequest& request, double timeout_s);
  // As execute_plan_request, with SUCCESS only for a task that finished.
  MotionStatus run_task(const PlanRequest& request, double timeout_s);
  DataResponse send_mps_data_request_with_ready(DataType type, double timeout_s);

  // Tables.
  std::shared_ptr<const ChainTables> chain_tables() const;
  std::shared_ptr<const DataChecker> data_checker() const;
  SupportNames support_names() const;
  DataResponse request_data(DataType type);
  void update_names(DataType type, const DataResponse& response);
  void store_tables(const std::shared_ptr<const ChainTables>& tables);
  void log_tables() const;
  SupportNames refreshed_names(DataType type, const char* failure);

  // State.
  void place_chain(const std::string& chain, const std::vector<double>& joints, const ChainTables& tables,
                   std::vector<double>& whole_body) const;
  MotionStatus get_reference_robot_state(const std::shared_ptr<RobotStates>& reference,
                                         const std::shared_ptr<RobotStates>& start, const std::string& chain,
                                         PlanContext& context);
  MotionStatus get_reference_robot_state(const std::shared_ptr<RobotStates>& reference,
                                         const std::vector<std::shared_ptr<RobotStates>>& starts, PlanContext& context);

  // Planning.
  PlanResult run_plan(const PlanRequest& request, const PlannerConfig& config);
  // `fill` builds the request with the data checker and gives a status.
  template <typename Fill>
  PlanResult build_and_run(const char* task_prefix, const PlannerConfig& config, Fill fill);
  PlanResult plan_single_chain_path(const std::string& chain, TargetType type, const std::vector<double>& target,
                                    const PlanContext& context);
  PlanResult plan_multi_chain_path(const ChainWaypoints& targets, TargetType type, const PlanContext& context);
  PlanResult plan_move_line(const std::string& chain, TargetType type, const std::vector<double>& target,
                            const PlanContext& context);
  PlanResult plan_move_line(const ChainWaypoints& targets, TargetType type, const PlanContext& context);
  PlanResult move_waypoint_with_single_chain(const std::string& chain, TargetType type, const Waypoints& waypoints,
                                             const PlanContext& context);
  PlanResult move_waypoint_with_multi_chain(const ChainWaypoints& targets, TargetType type, const PlanContext& context);
  PlanResult plan_waypoints(const std::string& chain, TargetType type, const Waypoints& waypoints,
                            const PlanContext& context);
  MotionStatus read_collision_state(const std::shared_ptr<RobotStates>& state, std::vector<double>& joints,
                                    std::vector<double>& base);
  std::tuple<MotionStatus, std::vector<bool>> check_collision_impl(const std::vector<std::vector<double>>& joints,
                                                                   const std::vector<std::vector<double>>& bases,
                                                                   const PlannerConfig& config);
  bool join_finished_async_task();
  MotionStatus start_async_task(std::string chain, std::vector<double> pose, PlanContext context);
  void run_async_task(const std::string& chain, const std::vector<double>& pose, const PlanContext& context);
  void end_async_task();

  // Kinematics.
  std::tuple<MotionStatus, std::vector<double>> forward_kinematic(const std::string& target_link,
                                                                  const JointMap& joint_state,
                                                                  const std::string& reference_frame,
                                                                  const PlannerConfig& config);
  std::tuple<MotionStatus, std::vector<double>> forward_kinematic(const std::string& target_link,
                                                                  const std::string& reference_frame,
                                                                  const std::vector<double>& whole_body,
                                                                  const std::vector<double>& base,
                                                                  const PlannerConfig& config);
  bool is_supported_link(const std::string& link);
  std::tuple<MotionStatus, std::vector<double>> send_forward_kinematics(const std::string& target_link,
                                                                        const std::string& reference_frame,
                                                                        const std::vector<double>& whole_body,
                                                                        const std::vector<double>& base,
                                                                        const PlannerConfig& config);
  struct InverseCall;
  std::tuple<MotionStatus, JointMap> inverse_kinematic(const InverseCall& call, const JointMap& joint_state);
  std::tuple<MotionStatus, JointMap> inverse_kinematic(const InverseCall& call, const std::vector<double>& whole_body,
                                                       const std::vector<double>& base);
  std::tuple<MotionStatus, JointMap> send_inverse_kinematics(const InverseCall& call,
                                                             const std::vector<double>& whole_body,
                                                             const std::vector<double>& base);
  struct JacobianCall;
  MotionStatus check_kinematic_service(double timeout_s);
  std::tuple<MotionStatus, std::vector<std::vector<double>>> jacobian(const JacobianCall& call,
                                                                      const JointMap& joint_state);
  std::tuple<MotionStatus, std::vector<std::vector<double>>> jacobian(const JacobianCall& call,
                                                                      const std::vector<double>& whole_body,
                                                                      const std::vector<double>& base);
  MotionStatus check_jacobian(const JacobianCall& call, const std::vector<double>& whole_body,
                              const std::vector<double>& base);
  std::optional<std::string> jacobian_link(const JacobianCall& call);
  std::tuple<MotionStatus, std::vector<double>> get_end_effector_pose_impl(const std::string& frame,
                                                                           const std::string& reference_frame);

  // Scene.
  MotionStatus attach_tool_impl(const std::string& chain, const std::string& tool, const PlannerConfig& config);
  MotionStatus detach_tool_impl(const std::string& chain, const PlannerConfig& config);
  MotionStatus add_object(const std::string& target, const SceneObject& object);
  MotionStatus remove_object(const std::string& target, const std::string& object_id);
  MotionStatus clear_object(const std::string& target);
  MotionStatus remove_object_impl(const std::string& target, const std::vector<std::string>& ids, bool remove_all,
                                  const PlannerConfig& config);

  // Configuration.
  MotionStatus set_motion_plan_config_impl(const std::shared_ptr<MotionPlanConfig>& config,
                                           const PlannerConfig& planner_config);

  std::once_flag init_once_;
  std::unique_ptr<ovimux::Node> planner_node_;
  std::unique_ptr<ovimux::Node> tf_node_;
  std::shared_ptr<ovimux::ReaderBase> mps_status_reader_;
  DataBuffer<ovimux::tf2_ovimux::Buffer> tf_buffer_;
  std::shared_ptr<ovimux::tf2_ovimux::TransformListener> tf_listener_;

  std::atomic<uint64_t> task_counter_{0};
  PlanTasks plan_tasks_;
  ServiceStatusCell mps_status_;
  ConfigCache config_cache_;

  mutable std::mutex tables_mutex_;  // Of the three below; what the pointers lead to never changes.
  std::shared_ptr<const ChainTables> chain_tables_;
  std::shared_ptr<const DataChecker> data_checker_;
  SupportNames support_names_;

  std::mutex async_task_mutex_;  // Of the thread object only.
  std::thread async_task_thread_;
  std::future<void> async_task_done_;
  std::atomic<bool> async_task_running_{false};
};

}  // namespace norvik::sdk
