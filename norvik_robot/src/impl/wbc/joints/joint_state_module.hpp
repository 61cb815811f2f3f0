#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/joints/joint_manager.hpp"
#include "impl/wbc/joints/sensor_module.hpp"
#include "norvik/tavrinox_proto/tavrinox_info.pb.h"
#include "ovimux/core/shared_mutex.hpp"

namespace norvik::sdk {

// Turns the controller's state reports into per-joint states, a flat joint state message and a short history of gripper
// widths. The state never ages: staleness shows in the timestamps. Safe from any thread.
//
// Grippers are held in millimetres, as on the wire; get_joint_states gives metres.
class JointStateModule {
 public:
  struct GripperWidthSample {
    int64_t timestamp_ns = 0;
    double width_m = 0.0;
  };

  using JointStateMap = std::unordered_map<std::string, JointState>;
  using GroupStateMap = std::unordered_map<std::string, JointStateMessage>;

  JointStateModule(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<JointManager> joint_manager,
                   std::shared_ptr<SensorModule> sensor_module);

  // Digests one report. A report whose joint lists differ in length changes nothing.
  void update_wbc_info(const std::shared_ptr<tavrinox_proto::WBCInfo>& info);
  void convert_joint_state_map(const std::shared_ptr<tavrinox_proto::WBCInfo>& info);

  // The joints of the latest report in wire order; empty until the first one. Replaced, never changed.
  std::shared_ptr<JointStateMessage> get_latest_joint_state_message() const;
  JointStateMap get_joint_state_map_snapshot() const;

  bool joint_group_is_valid(const std::string& group) const;

  // State of one group in wire units. Grippers and suction cups are answered from the sensor report.
  ControlStatus get_joint_state(const std::string& group, const std::shared_ptr<tavrinox_proto::WBCInfo>& info,
                                JointStateMessage& out) const;

  // State of every group that is no end effector, in wire units. What was added before a failure stays in `out`.
  ControlStatus get_whole_body_joint_state(const std::shared_ptr<tavrinox_proto::WBCInfo>& info,
                                           GroupStateMap& out) const;

  // Adds the joints at `indices` to the entry of `group`.
  bool parse_jonit_info_proto(GroupStateMap& out, const tavrinox_proto::JointInfo& joint_info, const std::string& group,
                              int64_t timestamp_ns, const std::vector<std::size_t>& indices) const;

  // States in public units, one per name and in that order; empty when any of them is unknown or not reported. A
  // gripper joint must be named only once: its state is converted again for each repetition.
  std::vector<JointState> get_joint_states(const std::vector<std::string>& joint_names) const;

  // Names win over groups; without either, the joints of all groups that are no end effectors.
  std::vector<JointState> get_joint_states(const std::vector<std::string>& joint_groups,
                                           const std::vector<std::string>& joint_names) const;
  std::vector<double> get_joint_positions(const std::vector<std::string>& joint_groups,
                                          const std::vector<std::string>& joint_names) const;

  // Whether the gripper's width changed by more than half a millimetre within the last 400 ms of reports. False, with
  // `moving` true, while there is too little to decide on.
  bool is_gripper_moving(const std::string& group, bool& moving);

 private:
  using WidthHistory = std::deque<GripperWidthSample>;

  void remember_gripper_width(const JointState& joint);
  std::optional<bool> exchange_gripper_decision(const std::string& group, bool moving);

  std::vector<JointState> get_wire_states(const std::vector<std::string>& joint_names) const;
  std::vector<JointState> get_public_states(const std::vector<std::string>& joint_names) const;
  const std::string* copy_joint_states(const std::vector<std::string>& joint_names,
                                       std::vector<JointState>& states) const;

  std::unordered_map<std::string, WidthHistory> gripper_width_history_map_;
  // The last decision of is_gripper_moving.
  std::unordered_map<std::string, bool> gripper_moving_map_;
  const std::shared_ptr<CommonUtils> common_utils_;
  const std::shared_ptr<JointManager> joint_manager_;
  const std::shared_ptr<SensorModule> sensor_module_;
  // Guards the maps and the latest message. Exclusive while a report is stored and while a gripper is judged, shared
  // for reading.
  mutable ovimux::SharedMutex state_mutex_;
  JointStateMap joint_state_map_;
  std::shared_ptr<JointStateMessage> latest_joint_state_message_;
  // What is asked for when neither joints nor groups are named. No gripper is among them.
  const std::vector<std::string> default_joint_names_;
};

}  // namespace norvik::sdk
