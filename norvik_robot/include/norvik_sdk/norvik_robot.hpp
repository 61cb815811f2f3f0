#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// The robot's body, sensors, system services and audio. One object per robot model and process:
//
//   auto& robot = norvik::sdk::NorvikRobot::get_instance(norvik::sdk::MachineType::K2);
//   if (!robot.init()) return 1;
//   robot.set_joint_positions({0.0, 0.3}, {"head"});
//
// Rules that hold for every operation unless its comment says otherwise:
//  - Lengths are metres, angles radians, durations seconds. A pose as numbers is [x, y, z, qx, qy, qz, qw].
//    `timestamp_ns` is nanoseconds since the Unix epoch, taken by the robot.
//  - Nothing throws. A failure is a status, false, an empty pointer, an empty vector or an empty string, and one record
//    in the log that gives the reason.
//  - Any thread may call, several at once. Commands are not serialised: of two commands to one joint group the later
//    replaces the earlier. `init` is for one thread.
//  - Before a successful `init`, every operation answers with its failure value; those of the whole-body controller
//    with INIT_FAILED once the arguments themselves have passed.
//  - State that the robot streams is answered from memory, without waiting, however old it is: compare `timestamp_ns`.
//
// Commands to the whole-body controller check, in this order: the arguments (INVALID_INPUT), the initialisation
// (INIT_FAILED), whether the robot's error report has arrived (COMM_DISCONNECTED) and whether it shows a fatal error of
// a group concerned (FAULT). Only then do they send; PUBLISH_FAIL means that a message could not be written, TIMEOUT
// that no answer came. They wait for the motion only when `blocking` is true, by looking at the robot's state every
// 100 ms.
//
// When the program is told to stop (Ctrl-C or another SIGINT or SIGTERM, request_shutdown(), destroy(), the end of
// main) every blocking call ends within 200 ms, with one record and as after a time-out. Before the middleware closes,
// the motions that blocking calls of this process were waiting for, and a velocity that it gave the base with
// set_base_velocity(), are told to stop, all together within 500 ms, whether the robot answers or not. What goes on:
// motions that were sent without waiting, and those that another application commanded, unless they are of a group that
// a blocking call of this process was waiting for.
//
// Joints are addressed by groups or by names. Where both are given the names count and the groups are ignored. The body
// groups are "leg" (K2) or "torso" (R5), "head", "left_arm" and "right_arm"; get_joint_group_names() tells what is
// mounted beside them.
class NORVIK_SDK_EXPORT NorvikRobot {
 public:
  // The robot of the given model; the object is made at the first request and lives until the process exits. A value
  // outside MachineType is logged as an error and gives the K2 object. Never fails. Safe from any thread.
  static NorvikRobot& get_instance(MachineType machine_type);

  // Starts, once per process, a background check for a newer release of this library, which at worst writes one line to
  // standard error. `init` calls it. NORVIK_SDK_SKIP_VERSION_CHECK=1 disables it. Returns at once.
  static void notify_new_sdk_version_if_any_async();

  virtual ~NorvikRobot() = default;

  // Opens the log, joins the robot's network and opens the channels; to be called once, before anything else.
  //   sensors      the sensors whose channels are to be opened; others answer "not initialised".
  //   enable_sync  keeps the short histories that get_synced_observation() needs.
  // True when every part started; false when the model does not have one of `sensors` or a channel could not be opened.
  // A second call opens nothing and returns the result of the first. Blocks up to 40 s (R5: 44 s) when the whole-body
  // controller is not on the network.
  virtual bool init(const std::set<SensorType>& sensors = {}, bool enable_sync = false) = 0;

  // ---- Whole-body targets ----

  // Publishes a complete target without waiting for an answer and without looking at the robot's errors.
  // SUCCESS; INVALID_INPUT (empty, inconsistent or non-finite target), INIT_FAILED, PUBLISH_FAIL. Does not block.
  virtual ControlStatus PublishTarget(const TavrinoXTarget& target) = 0;

  // Sends a complete target as a request and returns the controller's report. A refusal by this library is a report as
  // well, with one error of component "sdk_request_target": code 65585 target invalid, 65586 blocked by the robot's
  // current errors, 65587 target not convertible. Empty before `init`, before the first error report of the robot, and
  // when no answer came. Blocks up to 5 s.
  virtual std::shared_ptr<ErrorInfo> RequestTarget(const TavrinoXTarget& target) = 0;

  // ---- Joints ----

  // Sends one set-point for each joint; meant to be called repeatedly, as a stream. Does not wait for motion.
  //   joint_commands     one for each joint, in the order of the joints; radians, rad/s, rad/s^2. Grippers take metres,
  //                      m/s, m/s^2 and an effort in percent, in (0, 100].
  //   time_from_start_s  when the set-point is to be reached, seconds from now, finite and >= 0.
  // SUCCESS; INVALID_INPUT, INIT_FAILED, COMM_DISCONNECTED, FAULT, PUBLISH_FAIL. Does not block.
  virtual ControlStatus set_joint_commands(const std::vector<JointCommand>& joint_commands,
                                           const std::vector<std::string>& joint_groups = {},
                                           const std::vector<std::string>& joint_names = {},
                                           double time_from_start_s = 0.0) = 0;

  // Moves joints to positions, the farthest joint at `speed_rad_s`.
  //   joint_positions  one for each joint, finite; radians. Grippers take millimetres here.
  //   blocking         waits until the first of the groups concerned has arrived.
  //   speed_rad_s      above 0.
  //   timeout_s        limit, rounded up to seconds, of the robot's answer; with `blocking`, counted from the start of
  //                    the call, also of the motion.
  // SUCCESS; INVALID_INPUT, INIT_FAILED, COMM_DISCONNECTED, FAULT, DATA_FETCH_FAILED (a joint's state is unknown),
  // TIMEOUT, STOPPED_UNREACHED. After a time-out of the motion each group is told to stop, one after the other. Blocks
  // up to `timeout_s`, and then for the answers to the stops: usually at once, but up to `timeout_s`, rounded up to
  // seconds, for each group whose stop is not answered.
  virtual ControlStatus set_joint_positions(const std::vector<double>& joint_positions,
                                            const std::vector<std::string>& joint_groups = {},
                                            const std::vector<std::string>& joint_names = {}, bool blocking = true,
                                            double speed_rad_s = 0.2, double timeout_s = 15.0) = 0;

  // How the last trajectory of each group stands, one value per group in the given order. An unknown group or a fatal
  // error gives TRAJECTORY_FAULT; no state from the robot gives TRAJECTORY_COMPLETED. Does not block.
  virtual std::vector<TrajectoryControlStatus> check_trajectory_execution_status(
      std::vector<std::string> joint_groups) = 0;

  // Sends a whole trajectory as a request.
  //   trajectory  at least one point; every point has one command for each joint. Units as in set_joint_commands; a
  //               gripper effort of exactly 0 means 5 percent.
  //   blocking    waits until every group has arrived.
  // SUCCESS; INVALID_INPUT, INIT_FAILED, COMM_DISCONNECTED, FAULT, STOPPED_UNREACHED, TIMEOUT. Blocks up to the largest
  // `time_from_start`, rounded up to seconds, for the answer; with `blocking` up to that largest time plus 5 s in all.
  // After a time-out the robot is not told to stop.
  virtual ControlStatus execute_joint_trajectory(Trajectory trajectory, bool blocking = true) = 0;

  // As execute_joint_trajectory, but published without waiting for an answer.
  // SUCCESS; INVALID_INPUT, INIT_FAILED, COMM_DISCONNECTED, FAULT, PUBLISH_FAIL. Does not block.
  virtual ControlStatus set_joint_commands_batch(const Trajectory& trajectory) = 0;

  // ---- End effectors ----

  // Switches a suction cup ("left_suction_cup", "right_suction_cup") on or off; does not wait for it to hold.
  // SUCCESS; INVALID_INPUT, DATA_FETCH_FAILED (not mounted), INIT_FAILED, COMM_DISCONNECTED, FAULT. Blocks up to 5 s.
  // On R5: always INVALID_INPUT.
  virtual ControlStatus set_suction_cup_command(const std::string& suction_cup, bool activate) = 0;

  // Opens or closes a gripper ("left_gripper", "right_gripper").
  //   width_m       opening in metres, finite and >= 0: 0.08 for 80 mm. Above 1 m a record warns of a slip of
  //                 units; the command is sent all the same, and a blocking call waits as long as that way takes.
  //   velocity_mps  in (0, 0.2].
  //   effort        percent, in (0, 100].
  //   blocking      waits until the width is reached, at most the computed time plus 8 s.
  // SUCCESS; INVALID_INPUT, DATA_FETCH_FAILED (not mounted, or no state), INIT_FAILED, COMM_DISCONNECTED, FAULT,
  // TIMEOUT, STOPPED_UNREACHED. The robot's answer is waited for as long as the motion is computed to take, rounded up
  // to seconds: a gripper that already stands at the width is sent the command, but the result is usually TIMEOUT.
  virtual ControlStatus set_gripper_command(const std::string& gripper, double width_m, double velocity_mps = 0.05,
                                            double effort = 30.0, bool blocking = true) = 0;

  // State of a gripper: width in metres, velocity in m/s. Empty: unknown name, not mounted, no state yet.
  virtual std::shared_ptr<GripperState> get_gripper_state(const std::string& gripper) = 0;

  // State of a suction cup. Empty: unknown name, not mounted, no state yet; on R5 always.
  virtual std::shared_ptr<SuctionCupState> get_suction_cup_state(const std::string& suction_cup) = 0;

  // State of a dexterous hand ("left_dexhand", "right_dexhand"), in the hand's own units. `state` is valid on SUCCESS.
  // INVALID_INPUT (unknown name), INIT_FAILED, DATA_FETCH_FAILED (no state yet). The channels of a SHARPA hand are
  // opened by the first call that needs them, so that one may answer DATA_FETCH_FAILED.
  virtual ControlStatus get_dexhand_state(const std::string& dexhand, DexhandState& state,
                                          DexHandType type = DexHandType::INSPIRE) = 0;

  // Commands a dexterous hand.
  //   joint_commands  in the hand's own units. INSPIRE: position, velocity, effort in [0, 1000]. BRAINCO: position in
  //                   [0, 100], velocity in [-100, 100]. SHARPA: 22 commands. LINKER_L20: 16 commands.
  //   blocking        waits until the hand has arrived, at most 15 s.
  // SUCCESS; INVALID_INPUT, INIT_FAILED, COMM_DISCONNECTED, FAULT, PUBLISH_FAIL, TIMEOUT.
  virtual ControlStatus set_dexhand_command(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                                            DexHandType type = DexHandType::INSPIRE, bool blocking = true) = 0;

  // ---- Joint state ----

  // Positions of the joints asked for, in that order; radians, metres for grippers. With neither groups nor names: of
  // the whole body without end effectors. Empty when one joint is unknown or not reported. Does not block.
  virtual std::vector<double> get_joint_positions(const std::vector<std::string>& joint_groups = {},
                                                  const std::vector<std::string>& joint_names = {}) = 0;

  // The joint groups that the robot reports. Empty before its first report.
  virtual std::vector<std::string> get_joint_group_names() = 0;

  // The joints that the robot reports, in its order; of all groups when `joint_groups` is empty.
  //   only_active  leaves out joints that cannot be commanded one by one, such as wheels.
  // Empty before the robot's first report. An unknown group is logged and skipped.
  virtual std::vector<std::string> get_joint_names(bool only_active = true,
                                                   const std::vector<std::string>& joint_groups = {}) = 0;

  // As get_joint_positions, with velocity, acceleration, effort and current as the controller reports them. Ask for a
  // joint once per call.
  virtual std::vector<JointState> get_joint_states(const std::vector<std::string>& joint_groups = {},
                                                   const std::vector<std::string>& joint_names = {}) = 0;

  // ---- Base ----

  // Drives the base, in the frame of the base itself.
  //   linear      m/s; x and y are used, each in (-5, 5).
  //   angular     rad/s; z is used, in (-5, 5).
  //   duration_s  above 0: blocks that long, then stops the base. Else returns at once and the base keeps moving until
  //               the next command or the end of the program.
  // SUCCESS; INVALID_INPUT, INIT_FAILED, TIMEOUT, COMM_DISCONNECTED, FAULT, PUBLISH_FAIL. The first call after a pose
  // command switches the base's controller, which blocks up to 5 s. After a restart of the robot the switch is missing,
  // see "Controllers".
  virtual ControlStatus set_base_velocity(const std::array<double, 3>& linear, const std::array<double, 3>& angular,
                                          double duration_s = 0.0) = 0;

  // Moves the base to x, y and the yaw of `pose` in the odometry frame within 1 s. Results and blocking as in the third
  // form.
  virtual ControlStatus set_base_pose(const Pose& pose, bool blocking = true, double timeout_s = 15.0) = 0;

  // Moves the base within 1 s. Results and blocking as in the third form.
  virtual ControlStatus set_base_pose(double x, double y, double yaw, const std::string& frame_id = "odom",
                                      const std::string& reference_frame_id = "odom", bool blocking = true,
                                      double timeout_s = 15.0) = 0;

  // Moves the base.
  //   x, y, yaw           metres, radians; finite.
  //   frame_id            "base_link", "odom", "map", or "rel(0)" for a move relative to where the base stands.
  //   reference_frame_id  "odom" or "map".
  //   time_from_start_s   planned duration; 1 s when not above 0.
  //   blocking            sleeps for the planned duration; arrival is not checked.
  //   timeout_s           of the request, rounded up to seconds.
  // SUCCESS; INVALID_INPUT, INIT_FAILED, COMM_DISCONNECTED, FAULT, TIMEOUT. Blocks up to 5 s for switching the base's
  // controller, `timeout_s`, and the planned duration.
  virtual ControlStatus set_base_pose(double x, double y, double yaw, const std::string& frame_id,
                                      const std::string& reference_frame_id, double time_from_start_s,
                                      bool blocking = true, double timeout_s = 15.0) = 0;

  // ---- Cartesian control ----

  // Publishes a Cartesian set-point for one or more end effectors.
  //   poses                 seven values each.
  //   end_effector_frames   one for each pose: "left_arm_end_effector_link" or "right_arm_end_effector_link". Names are
  //                         passed on as they stand; the robot decides.
  //   reference_frames      one for each pose, or empty for "world".
  // SUCCESS; INVALID_INPUT, INIT_FAILED, PUBLISH_FAIL. Does not block and does not look at the robot's errors.
  virtual ControlStatus set_end_effector_command(const std::vector<std::vector<double>>& poses,
                                                 const std::vector<std::string>& end_effector_frames,
                                                 const std::vector<std::string>& reference_frames = {}) = 0;

  // Ends Cartesian control. SUCCESS; INIT_FAILED, PUBLISH_FAIL. Does not block.
  virtual ControlStatus clear_end_effector_command() = 0;

  // Poses as the controller reports them, seven values under "lee_pose" (left), "ree_pose" (right) and "head_pose"; an
  // entry that the robot does not report is empty. The map is empty before the robot's first report.
  virtual std::unordered_map<std::string, std::vector<double>> get_wbc_end_effector_poses() = 0;

  // Stops the base. SUCCESS; INIT_FAILED, COMM_DISCONNECTED, FAULT (a base in fatal error is not commanded), TIMEOUT.
  // Blocks up to 10 s.
  virtual ControlStatus stop_base() = 0;

  // ---- Zero posture ----

  // Brings body and base to their zero at once: the base to x, y and the yaw of `pose` in the odometry frame.
  //   speed      rad/s of the joints, above 0.
  //   timeout_s  of either part; also the planned duration of the base's motion, 1 s when not above 0.
  //   parameter  planning options of the arms; empty means the defaults.
  // First the joints' status, second the base's. The joints need an initialised NorvikMotion, else INVALID_INPUT;
  // planning failures that ControlStatus does not have appear as FAULT. With `blocking` until both are done.
  virtual std::pair<ControlStatus, ControlStatus> zero_whole_body_and_base(
      const Pose& pose, bool blocking = true, double speed = 0.2, double timeout_s = 15.0,
      std::shared_ptr<Parameter> parameter = default_param) = 0;

  // The same with the base at the origin of frames as set_base_pose takes them.
  virtual std::pair<ControlStatus, ControlStatus> zero_whole_body_and_base(
      const std::string& frame_id, const std::string& reference_frame_id, bool blocking = true, double speed = 0.2,
      double timeout_s = 15.0, std::shared_ptr<Parameter> parameter = default_param) = 0;

  // Stops the motion of all groups. SUCCESS when the controller answered, TIMEOUT when not. Blocks up to 3 s.
  virtual ControlStatus stop_trajectory_execution() = 0;

  // ---- Controllers ----
  // Which low-level controller drives a group. Each request blocks up to 5 s. The robot does not tell; what is known
  // here is what this process has switched. When the robot was restarted that is wrong: a switch to what is remembered
  // is not sent, and a record tells so. release_controller() and forget_controllers() of robot_helpers.hpp mend it.
  // Results of all but get_active_controller: SUCCESS; INVALID_INPUT (unknown name), INIT_FAILED, TIMEOUT, FAULT.
  // Switch controllers from one thread at a time.

  // Reloads the controllers of a group, or of "all".
  virtual ControlStatus reload_controller(const std::string& group) = 0;

  // Makes a controller ("left_arm_pvt_ctrl", ...) the active one of its group. Asks nothing of the robot when this
  // process has already made it active.
  virtual ControlStatus switch_controller(const std::string& controller) = 0;

  // The controller that this process last made active for a group; "CONTROLLER_NAME_NUM" when none, or unknown group.
  virtual std::string get_active_controller(const std::string& group) = 0;

  // Another name of switch_controller.
  virtual ControlStatus acquire_controller(const std::string& controller) = 0;

  // Releases the controllers of a group, or of "all"; its active controller is then unknown.
  virtual ControlStatus release_controller(const std::string& group) = 0;

  // Starts the controllers of a group, or of "all".
  virtual ControlStatus start_controller(const std::string& group) = 0;

  // Stops the controllers of a group, or of "all".
  virtual ControlStatus stop_controller(const std::string& group) = 0;

  // ---- Sensors ----
  // The newest sample of a sensor. Empty: the sensor is of another kind, was not given to `init`, or has sent nothing
  // yet. Nothing is copied: treat the records as read-only, they are shared with other callers. Does not block.

  // Acceleration in m/s^2, except for TORSO_IMU of K2, which passes on the values of the whole-body controller.
  virtual std::shared_ptr<ImuData> get_imu_data(SensorType sensor) = 0;

  // Odometry of the base. Empty before the first report.
  virtual std::shared_ptr<OdomData> get_odom() = 0;

  // Model, serial number and versions. Never empty: what the robot has not told is an empty string. Blocks 2 s in every
  // call, to let a first report arrive.
  virtual std::shared_ptr<DeviceInfo> get_device_information() = 0;

  // Compressed colour image. Colour cameras: head, arm and surround cameras.
  virtual std::shared_ptr<RgbData> get_rgb_data(SensorType sensor) = 0;

  // Raw 16-bit depth image of an arm camera.
  virtual std::shared_ptr<DepthData> get_depth_data(SensorType sensor) = 0;

  // Raw 8-bit infrared image of an arm camera. The channel opens when the camera reports that its infrared mode is on.
  virtual std::shared_ptr<IrData> get_ir_data(SensorType sensor) = 0;

  // The newest frame of cameras[0] and, for every other camera and for the joints, the kept sample closest to it in
  // time, however far away. Colour and depth cameras only.
  // Empty: `init` without enable_sync, no cameras, not a colour or depth camera, or one of them has sent nothing yet.
  virtual std::shared_ptr<SyncedObservation> get_synced_observation(const std::vector<SensorType>& cameras,
                                                                    bool with_joint_state = false) = 0;

  // Point cloud of a lidar, as bytes with their layout.
  virtual std::shared_ptr<LidarData> get_lidar_data(SensorType sensor) = 0;

  // Distance of one ultrasonic sensor in metres; needs BASE_ULTRASONIC given to `init`. On R5: always empty.
  virtual std::shared_ptr<UltrasonicData> get_ultrasonic_data(UltrasonicType type) = 0;

  // Intrinsic parameters of a colour, depth or infrared camera.
  virtual std::shared_ptr<CameraInfo> get_camera_intrinsic(SensorType sensor) = 0;

  // ---- Transforms ----

  // The transform that takes coordinates in `source_frame` into `target_frame`.
  //   time_ns     at this time, nanoseconds since the epoch; 0 for the newest common time. 10 s are kept.
  //   timeout_ms  waits at most this long for the transform to become known.
  // Seven values and the time of the transform. The vector is empty before `init` and when the frames are not connected
  // at that time.
  virtual std::pair<std::vector<double>, int64_t> get_transform(const std::string& target_frame,
                                                                const std::string& source_frame, int64_t time_ns = 0,
                                                                int64_t timeout_ms = 100) = 0;

  // All frames heard of so far. Empty before `init`.
  virtual std::vector<std::string> get_frame_names() = 0;

  // Where a sensor sits, in `reference_frame` (empty means "base_link"), whether or not its channel is open. As
  // get_transform with the newest time and 100 ms; empty and 0 for a sensor without a frame.
  virtual std::pair<std::vector<double>, int64_t> get_sensor_extrinsic(
      SensorType sensor, const std::string& reference_frame = "base_link") = 0;

  // Force (N) and torque (Nm) at a wrist. Empty: invalid value, no report yet; on R5 always.
  virtual std::shared_ptr<ForceData> get_force_sensor_data(NorvikOneTangoSensor sensor) = 0;

  // ---- Audio; on R5 every operation fails ----

  // Delivers every chunk of the microphone to `callback`, until stopped.
  //   callback       runs on a worker thread of the middleware, in the order of arrival and one chunk at a time,
  //                  without a lock. It may start and stop streams, its own included. What it throws is logged and
  //                  dropped.
  //   chunk_size     recorded with the stream; the robot decides the size of chunks.
  //   use_raw_audio  recorded with the stream.
  // The stream's id; empty when `callback` is empty.
  virtual std::string start_microphone_stream_input(std::function<void(std::shared_ptr<AudioData>)> callback,
                                                    int chunk_size = 1024, bool use_raw_audio = false) = 0;

  // Ends a stream; with an empty id all of them. After the return its callback does not run any more: waits for one
  // that is running, unless called from it.
  virtual void stop_microphone_stream_input(const std::string& stream_id = "") = 0;

  // Plays a chunk of PCM audio. The first chunk opens the stream on the robot.
  //   stream_id  empty means a default stream.
  // False when the chunk is empty or could not be sent. Does not block.
  virtual bool write_audio_stream_output(const std::string& audio_chunk, const std::string& stream_id = "") = 0;

  // Ends a stream of the speaker. An unknown stream is ignored.
  virtual void stop_audio_stream_output(const std::string& stream_id = "") = 0;

  // Volume of the speaker, 0 to 100. Asks the robot and blocks up to 2 s; without an answer the last known value, at
  // first 0.
  virtual float get_volume() = 0;

  // Sets the volume of the speaker, 0 to 100. False when out of range or not sent. Does not block.
  virtual bool set_volume(float volume) = 0;

  // ---- Process and system ----

  // False before `init`, and once a shutdown has been asked for, by request_shutdown() or by a signal.
  virtual bool is_running() = 0;

  // Asks the middleware to stop; see the top of this class for what becomes of waits and motions. Returns at once.
  virtual void request_shutdown() = 0;

  // Blocks until a shutdown has been asked for and has finished. Without a request it blocks forever.
  virtual void wait_for_shutdown() = 0;

  // Closes all channels of the process and the log; the last call of a program. Not to be called from a callback.
  // Channels and log cannot be opened again.
  virtual void destroy() = 0;

  // Registers what runs, on a thread of the middleware, when SIGINT or SIGTERM has stopped it. A new one replaces the
  // old.
  virtual void register_exit_callback(std::function<void()> callback) = 0;

  // State of the battery: volt, ampere, percent, degrees Celsius. All zero before the first report; empty after a
  // report without content, and before `init`. On R5: always empty.
  virtual std::shared_ptr<BmsInfo> get_bms_information() = 0;

  // The messages of one level in this process's own log files, oldest first, one per line.
  //   window_s  only the last that many seconds; 0 for all.
  // Empty for an unknown level. Reads files: not for a control loop.
  virtual std::shared_ptr<LogInfo> get_log_information(uint64_t window_s = 0, LogLevel level = LogLevel::info) = 0;
};

}  // namespace norvik::sdk
