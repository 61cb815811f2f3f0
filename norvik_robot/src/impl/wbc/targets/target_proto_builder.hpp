#pragma once

#include <memory>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/joints/joint_manager.hpp"
#include "norvik/tavrinox_proto/tavrinox_target.pb.h"

namespace norvik::sdk {

// Copies every group and task entry of `source` into `destination`, replacing entries of the same key. An empty pointer
// on either side does nothing.
void merge_tavrinox_target(const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& destination,
                           const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& source);

// Builds the controller's targets from command records. Values are in internal units and are taken as given; callers
// validate them. No message gets a header. Safe from any thread.
class TargetProtoBuilder {
 public:
  using TargetPtr = std::shared_ptr<tavrinox_proto::TavrinoXTarget>;

  virtual ~TargetProtoBuilder();
  TargetProtoBuilder(const TargetProtoBuilder&) = delete;
  TargetProtoBuilder& operator=(const TargetProtoBuilder&) = delete;

  virtual const std::string& get_chassis_group_name_impl() const = 0;

  // An empty target. Its parts lie in one piece of memory that goes with it, because long trajectories have hundreds of
  // thousands of them.
  static TargetPtr make_target();

  // One point for "<group>_joint1" to "<group>_joint<joint_num>". An end effector that overrides a running target
  // starts at once, whatever `time_from_start_s` says.
  TargetPtr generate_target_point(const std::string& group, int joint_num, const std::vector<JointCommand>& commands,
                                  double time_from_start_s, bool override_running) const;
  // The same for joints that carry their names.
  TargetPtr generate_target_point(const std::string& group, const std::vector<CommonUtils::JointInfo>& joints,
                                  double time_from_start_s, bool override_running) const;
  // Adds it to a target of several groups.
  void add_target_point(const std::string& group, const std::vector<CommonUtils::JointInfo>& joints,
                        double time_from_start_s, bool override_running, tavrinox_proto::TavrinoXTarget& target) const;

  TargetPtr generate_target_trajectory(const std::string& group, const std::vector<std::string>& joint_names,
                                       const std::vector<TrajectoryPoint>& points, bool override_running) const;
  void add_target_trajectory(const std::string& group, const std::vector<std::string>& joint_names,
                             const std::vector<TrajectoryPoint>& points, bool override_running,
                             tavrinox_proto::TavrinoXTarget& target) const;

  // Poses as [x, y, z, qx, qy, qz, qw], one frame and one reference frame for each.
  TargetPtr generate_target_end_effector_command(const std::vector<std::vector<double>>& poses,
                                                 const std::vector<std::string>& end_effector_frames,
                                                 const std::vector<std::string>& reference_frames) const;
  TargetPtr generate_target_end_effector_clear() const;

  // Metres and radians per second in the frame of the base.
  TargetPtr generate_target_chassis_twist(double vx, double vy, double wz) const;

  // Metres and radians.
  TargetPtr generate_target_chassis_pose(double x, double y, double yaw, const std::string& frame_id,
                                         const std::string& reference_frame_id, double time_from_start_s) const;

  void merge_tavrinox_target(const TargetPtr& destination, const TargetPtr& source) const;

 protected:
  explicit TargetProtoBuilder(std::shared_ptr<JointManager> joint_manager);

 private:
  tavrinox_proto::TargetType point_type(const std::string& group, bool override_running) const;

  const std::shared_ptr<JointManager> joint_manager_;
};

class TargetProtoBuilderK2 : public TargetProtoBuilder {
 public:
  static std::shared_ptr<TargetProtoBuilder> Create(std::shared_ptr<JointManager> joint_manager);
  const std::string& get_chassis_group_name_impl() const override;

 private:
  using TargetProtoBuilder::TargetProtoBuilder;
};

class TargetProtoBuilderR5 : public TargetProtoBuilder {
 public:
  static std::shared_ptr<TargetProtoBuilder> Create(std::shared_ptr<JointManager> joint_manager);
  const std::string& get_chassis_group_name_impl() const override;

 private:
  using TargetProtoBuilder::TargetProtoBuilder;
};

}  // namespace norvik::sdk
