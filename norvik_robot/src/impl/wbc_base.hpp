#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <norvik_sdk/norvik_robot.hpp>
#include <norvik_sdk/types.hpp>

#include "impl/wbc/commands/cartesian_control.hpp"
#include "impl/wbc/commands/dexhand_control.hpp"
#include "impl/wbc/commands/joint_control.hpp"
#include "impl/wbc/commands/target_control.hpp"
#include "impl/wbc/commands/trajectory_control.hpp"
#include "impl/wbc/commands/wbc_modules.hpp"
#include "impl/wbc/commands/zero_control.hpp"
#include "impl/wbc/common/service_watch.hpp"
#include "impl/wbc/controllers/motion_stopper.hpp"
#include "ovimux/base/reader_base.hpp"

namespace norvik::ovimux {
class Node;
}

namespace norvik::sdk {

class SensorBase;

// The whole-body part of a robot: owns the endpoints towards the controller and the modules, and forwards every
// operation to one of them. Modules exist after a successful wbc_base_init(); without them commands answer INIT_FAILED
// and reads answer nothing.
//
// Commands run on the caller's thread and hold no lock while they sleep or wait for an answer.
class WbcBase : public virtual NorvikRobot {
 public:
  WbcBase();
  ~WbcBase() override;

  // Targets.
  ControlStatus PublishTarget(const TavrinoXTarget& target) override;
  std::shared_ptr<ErrorInfo> RequestTarget(const TavrinoXTarget& target) override;
  ControlStatus set_end_effector_command(const std::vector<std::vector<double>>& poses,
                                         const std::vector<std::string>& end_effector_frames,
                                         const std::vector<std::string>& reference_frames) override;
  ControlStatus clear_end_effector_command() override;
  std::unordered_map<std::string, std::vector<double>> get_wbc_end_effector_poses() override;

  // Joint commands.
  ControlStatus set_joint_commands(const std::vector<JointCommand>& joint_commands,
                                   const std::vector<std::string>& joint_groups,
                                   const std::vector<std::string>& joint_names, double time_from_start_s) override;
  ControlStatus set_joint_positions(const std::vector<double>& joint_positions,
                                    const std::vector<std::string>& joint_groups,
                                    const std::vector<std::string>& joint_names, bool blocking, double speed_rad_s,
                                    double timeout_s) override;

  // Trajectories.
  ControlStatus execute_joint_trajectory(Trajectory trajectory, bool blocking) override;
  ControlStatus set_joint_commands_batch(const Trajectory& trajectory) override;
  std::vector<TrajectoryControlStatus> check_trajectory_execution_status(
      std::vector<std::string> joint_groups) override;
  ControlStatus stop_trajectory_execution() override;

  // Ask the controller to stop one group, or all. False without an answer; its errors are in `error_info`.
  bool stop_current_action(const std::string& group, ErrorInfo& error_info, int timeout_s);
  bool stop_all_action(ErrorInfo& error_info, int timeout_s);

  // Zero posture.
  std::pair<ControlStatus, ControlStatus> zero_whole_body_and_base(const Pose& pose, bool blocking, double speed,
                                                                   double timeout_s,
                                                                   std::shared_ptr<Parameter> parameter) override;
  std::pair<ControlStatus, ControlStatus> zero_whole_body_and_base(const std::string& frame_id,
                                                                   const std::string& reference_frame_id, bool blocking,
                                                                   double speed, double timeout_s,
                                                                   std::shared_ptr<Parameter> parameter) override;

  // End effectors.
  ControlStatus set_suction_cup_command(const std::string& suction_cup, bool activate) override;
  ControlStatus set_gripper_command(const std::string& gripper, double width_m, double velocity_mps, double effort,
                                    bool blocking) override;
  std::shared_ptr<GripperState> get_gripper_state(const std::string& gripper) override;
  std::shared_ptr<SuctionCupState> get_suction_cup_state(const std::string& suction_cup) override;
  ControlStatus get_dexhand_state(const std::string& dexhand, DexhandState& state, DexHandType type) override;
  ControlStatus set_dexhand_command(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                                    DexHandType type, bool blocking) override;

  // Base.
  ControlStatus set_base_velocity(const std::array<double, 3>& linear, const std::array<double, 3>& angular,
                                  double duration_s) override;
  ControlStatus set_base_pose(const Pose& pose, bool blocking, double timeout_s) override;
  ControlStatus set_base_pose(double x, double y, double yaw, const std::string& frame_id,
                              const std::string& reference_frame_id, bool blocking, double timeout_s) override;
  ControlStatus set_base_pose(double x, double y, double yaw, const std::string& frame_id,
                              const std::string& reference_frame_id, double time_from_start_s, bool blocking,
                              double timeout_s) override;
  ControlStatus stop_base() override;
  ControlStatus stop_base(ErrorInfo& error_info, int timeout_s);
  std::shared_ptr<OdomData> get_odom() override;
  ControlStatus get_base_velocity(std::unordered_map<std::string, std::array<double, 3>>& velocity);

  // Controllers.
  ControlStatus reload_controller(const std::string& group) override;
  ControlStatus switch_controller(const std::string& controller) override;
  ControlStatus switch_controller(const std::string& group, ErrorInfo& error_info, int ctrl_id);

  // What this process has made active is unknown again, so that the next command switches whatever it needs: for use
  // after a restart of the robot. Sends nothing. Any thread, also before the initialisation.
  void forget_active_controllers();
  std::string get_active_controller(const std::string& group) override;
  ControlStatus acquire_controller(const std::string& controller) override;
  ControlStatus release_controller(const std::string& group) override;
  ControlStatus start_controller(const std::string& group) override;
  ControlStatus stop_controller(const std::string& group) override;

  // State.
  std::vector<double> get_joint_positions(const std::vector<std::string>& joint_groups,
                                          const std::vector<std::string>& joint_names) override;
  std::vector<std::string> get_joint_group_names() override;
  std::vector<std::string> get_joint_names(bool only_active, const std::vector<std::string>& joint_groups) override;
  std::vector<JointState> get_joint_states(const std::vector<std::string>& joint_groups,
                                           const std::vector<std::string>& joint_names) override;
  std::shared_ptr<ForceData> get_force_sensor_data(NorvikOneTangoSensor sensor) override;
  std::shared_ptr<ImuData> get_imu_data_from_wbc_sensor_module(SensorType type);

  // In the controller's units: a gripper in millimetres.
  ControlStatus get_joint_state(const std::string& group, JointStateMessage& out);
  ControlStatus get_whole_body_joint_state(std::unordered_map<std::string, JointStateMessage>& out);
  ControlStatus get_joint_state_from_sensor(const std::string& group, JointStateMessage& out);

  // Whether both services of the controller are on the network and every report that commands are judged by has come.
  bool is_ready() const;

  // The controller's latest errors; empty before its first report.
  std::shared_ptr<ErrorInfo> get_error_report() const;

  // Force at the wrist of "left_arm" or "right_arm".
  ControlStatus get_effort(const std::string& arm, EffortInfo& info);

  // The time that one group needs to get to the positions of `commands` at the given speed.
  ControlStatus calculate_move_time(const std::string& group, const std::vector<JointCommand>& commands,
                                    double speed_rad_s, double& time_s);

 protected:
  // The model's choice of tables. Called once, by wbc_base_init().
  virtual std::shared_ptr<JointManager> create_joint_manager() = 0;
  virtual std::shared_ptr<ControllerManager> create_controller_manager(std::shared_ptr<CommonUtils> common_utils) = 0;
  virtual std::shared_ptr<TargetProtoBuilder> create_target_proto_builder(
      std::shared_ptr<JointManager> joint_manager) = 0;

  // Opens the channels to the whole-body controller, once per object, and waits for the controller at most 20 s for
  // each of its two services. True when every channel could be opened, whether or not the controller is there.
  bool wbc_base_init();

  // Makes the modules on top of the endpoints. Called once, by wbc_base_init().
  void create_modules();

  // What the controller streams; called on the middleware's threads.
  void error_info_callback(const std::shared_ptr<tavrinox_proto::TavrinoXError>& message);
  void wbc_info_callback(const std::shared_ptr<tavrinox_proto::WBCInfo>& message);
  void sensor_callback(const std::shared_ptr<tavrinox_proto::TavrinoXSensor>& message);
  void odom_callback(const std::shared_ptr<navigation_proto::Odometry>& message);

  TargetWriterPtr wbcs_target_writer_;
  TargetClientPtr wbcs_target_client_;
  ControllerClientPtr wbcs_controller_client_;

 private:
  const WbcModules& modules() const { return modules_.get(); }
  bool open_channels();
  bool open_endpoints();
  bool open_readers();
  void watch_services();
  void publish_provider_slots();
  void clear_provider_slots();

  // Made with the endpoints, before the readers that use them.
  std::vector<std::unique_ptr<ServiceWatch>> service_watches_;

  WbcModulesSlot modules_;
  const JointControl joint_control_;
  const TrajectoryControl trajectory_control_;
  const TargetControl target_control_;
  const CartesianControl cartesian_control_;
  const DexhandControl dexhand_control_;
  const ZeroControl zero_control_;

  // This object's sensor part, which keeps a history of the joint states; null when it has none.
  SensorBase* sensor_base_ = nullptr;

  std::once_flag init_once_;
  bool initialized_ = false;
  std::unique_ptr<ovimux::Node> node_;
  // Closed first: their callbacks use the modules.
  std::vector<std::shared_ptr<ovimux::ReaderBase>> readers_;
  // Goes before everything that it stops motions with.
  std::unique_ptr<MotionStopper> motion_stopper_;
};

}  // namespace norvik::sdk
