#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <unordered_map>

#include <norvik_sdk/types.hpp>

#include "data_buffer.hpp"
#include "impl/wbc/targets/target_dispatcher.hpp"
#include "norvik/navigation_proto/odometry.pb.h"

namespace norvik::sdk {

class CommonUtils;
class ControllerManager;
class TargetProtoBuilder;

// Moves the mobile base through the whole-body controller, by velocity or by pose, and keeps its odometry. The chassis
// has one controller for each of the two; every command first makes the one it needs active.
//
// Lengths in metres, angles in radians, times in seconds. All operations may be called from any thread.
class BaseControl {
 public:
  BaseControl(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<TargetProtoBuilder> target_proto_builder,
              std::shared_ptr<TargetDispatcher> target_dispatcher,
              std::shared_ptr<ControllerManager> controller_manager);

  // Uses x and y of `linear` and z of `angular`. With a positive duration the call sleeps that long and stops the base;
  // otherwise the base keeps its velocity until the next command.
  ControlStatus set_base_velocity(const std::array<double, 3>& linear, const std::array<double, 3>& angular,
                                  double duration_s);

  // `blocking` sleeps for the planned time; arrival is not checked. A planned time that is not positive means 1 s.
  ControlStatus set_base_pose(double x, double y, double yaw, const std::string& frame_id,
                              const std::string& reference_frame_id, double time_from_start_s, bool blocking,
                              double timeout_s);

  // Refused while the chassis is in fatal error. `error_info` is filled with the controller's answer on FAULT.
  ControlStatus stop_base(ErrorInfo& error_info, int timeout_s);

  std::shared_ptr<OdomData> get_odom() const;
  bool has_odometry() const { return odometry_.get_data() != nullptr; }

  // Entries "linear" and "angular", each x, y, z.
  ControlStatus get_base_velocity(std::unordered_map<std::string, std::array<double, 3>>& velocity) const;

  void odom_callback(const std::shared_ptr<navigation_proto::Odometry>& odometry);

 private:
  using TargetPtr = std::shared_ptr<tavrinox_proto::TavrinoXTarget>;

  ControlStatus select_twist_controller();
  ControlStatus select_pose_controller();
  ControlStatus prepare_twist();
  bool has_dispatcher() const;
  ControlStatus check_chassis() const;

  // Metres and radians per second.
  ControlStatus publish_twist(double vx, double vy, double wz);

  // Sends a pose, and sleeps for the planned time.
  ControlStatus move(const TargetPtr& target, double timeout_s);
  ControlStatus move_and_wait(const TargetPtr& target, double move_time_s, double timeout_s);

  // Sends `target` and blocks for the answer, which is handed out on FAULT.
  ControlStatus request_chassis_target(const TargetPtr& target, std::chrono::seconds timeout, const char* operation,
                                       ErrorInfo& error_info);

  const std::shared_ptr<CommonUtils> common_utils_;
  const std::shared_ptr<TargetProtoBuilder> target_proto_builder_;
  const std::shared_ptr<TargetDispatcher> target_dispatcher_;
  const std::shared_ptr<ControllerManager> controller_manager_;
  DataBuffer<navigation_proto::Odometry> odometry_;
};

// Whether a pose command has finite numbers and frames that are allowed where they stand; one record if not.
bool is_base_pose_valid(double x, double y, double yaw, const std::string& frame_id,
                        const std::string& reference_frame_id, double time_from_start_s, double timeout_s);

// Yaw of a quaternion in radians.
double yaw_from_quat(double x, double y, double z, double w);

}  // namespace norvik::sdk
