#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace norvik::sdk {

// What the robot's body is made of: an immutable view over one model's table of joint groups. Every operation may be
// called from any thread.
class JointManager {
 public:
  struct JointGroupMetadata {
    // As on the wire and in the public interface.
    std::string group_name;
    // In command order, which is the order of position vectors on the wire.
    std::vector<std::string> joint_names;
    // Largest difference to the target at which a motion counts as arrived, in the group's internal unit: radians,
    // millimetres for grippers, device units for hands. 0 where no limit applies.
    double final_position_error = 0.0;
    bool is_body_group = false;
    // The group's joints may be commanded.
    bool is_active = false;
    bool is_end_effector = false;
    // The single joint is in metres in public and in millimetres on the wire.
    bool is_gripper = false;
    bool is_suction_cup = false;
    bool is_dexhand = false;
  };

  using JointGroupTable = std::vector<JointGroupMetadata>;
  using GroupPredicate = std::function<bool(const JointGroupMetadata&)>;

  virtual ~JointManager();
  JointManager(const JointManager&) = delete;
  JointManager& operator=(const JointManager&) = delete;

  virtual const JointGroupTable& joint_group_metadata_table() const = 0;
  virtual const std::unordered_set<std::string>& active_joint_set() const = 0;
  virtual const std::vector<std::string>& body_joint_group_vec() const = 0;

  // Null for an unknown group.
  const JointGroupMetadata* find_group_metadata(const std::string& group) const;
  // Every group in table order, inactive ones included.
  std::vector<std::string> joint_groups() const;
  // An engaged empty list for a group without joints.
  std::optional<std::vector<std::string>> joint_names_of(const std::string& group) const;
  bool has_joint_group(const std::string& group) const;
  bool has_joint(const std::string& joint) const;
  std::optional<std::string> group_name_of(const std::string& joint) const;
  // The group that the joint belongs to; null for an unknown joint.
  const JointGroupMetadata* find_group_of_joint(const std::string& joint) const;

  bool is_active_joint(const std::string& joint) const;
  // A known group with joints, all of which may be commanded.
  bool is_active_joint_group(const std::string& group) const;
  const std::vector<std::string>& body_joint_groups() const;
  std::size_t active_body_joint_num() const;
  // Leaves `joint_num` alone for an unknown group.
  bool try_get_joint_num(const std::string& group, int& joint_num) const;

  // 0, with an error record, for an unknown group: nothing but an exact arrival satisfies it.
  double final_position_error_of(const std::string& group) const;

  bool is_end_effector_group(const std::string& group) const;
  bool is_gripper_group(const std::string& group) const;
  bool is_suction_cup_group(const std::string& group) const;
  bool is_dexhand_group(const std::string& group) const;

  bool is_valid_frame_id(const std::string& frame_id) const;
  bool is_valid_reference_frame_id(const std::string& frame_id) const;

  // The joints of `groups` in that order; an unknown group is reported and skipped. The first replaces what `joints`
  // holds, the second adds to it.
  void convert_group_to_joint_names(const std::vector<std::string>& groups, std::vector<std::string>& joints) const;
  void convert_joint_names(const std::vector<std::string>& groups, std::vector<std::string>& joints) const;

 protected:
  JointManager() = default;

  static std::unordered_set<std::string> build_joint_set_from_metadata(const JointGroupTable& table,
                                                                       const GroupPredicate& predicate);
  static std::vector<std::string> build_group_vec_from_metadata(const JointGroupTable& table,
                                                                const GroupPredicate& predicate);

 private:
  void append_joint_names(const std::vector<std::string>& groups, std::vector<std::string>& joints,
                          const char* operation) const;
};

}  // namespace norvik::sdk
