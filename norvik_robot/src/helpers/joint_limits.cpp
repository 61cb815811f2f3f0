#include <norvik_sdk/robot_helpers.hpp>

#include "impl/wbc/joints/joint_manager_k2.hpp"
#include "impl/wbc/joints/joint_manager_r5.hpp"

namespace norvik::sdk {
namespace {

struct Range {
  double lower;
  double upper;
  double max_velocity;
};

// In the order of the group's joints.
struct GroupRanges {
  const char* group;
  std::vector<Range> joints;
};

const GroupRanges kLegRanges = {
    groups::kLeg, {{-0.3, 1.2, 1.0}, {-0.1, 2.2, 1.0}, {-0.8, 1.6, 1.0}, {-0.4, 0.4, 1.0}, {-2.6, 2.6, 1.2}}};
const GroupRanges kTorsoRanges = {groups::kTorso, {{0.0, 0.7, 0.2}}};
const std::vector<GroupRanges> kCommonRanges = {
    {groups::kHead, {{-1.57, 1.57, 2.5}, {-0.7, 0.9, 2.5}}},
    {groups::kLeftArm,
     {{-3.1, 2.6, 2.6},
      {-3.0, 1.0, 2.6},
      {-2.9, 2.9, 2.6},
      {-2.4, 0.3, 2.6},
      {-2.9, 2.9, 3.1},
      {-1.2, 1.2, 3.1},
      {-1.4, 1.4, 3.1}}},
    {groups::kRightArm,
     {{-2.6, 3.1, 2.6},
      {-1.0, 3.0, 2.6},
      {-2.9, 2.9, 2.6},
      {-0.3, 2.4, 2.6},
      {-2.9, 2.9, 3.1},
      {-1.2, 1.2, 3.1},
      {-1.4, 1.4, 3.1}}},
    {groups::kLeftGripper, {{0.0, 0.1, 0.2}}},
    {groups::kRightGripper, {{0.0, 0.1, 0.2}}},
};

void add_limits(const JointManager::JointGroupTable& table, const GroupRanges& ranges,
                std::vector<JointLimit>& limits) {
  for (const auto& row : table) {
    for (size_t i = 0; row.group_name == ranges.group && i < row.joint_names.size(); ++i) {
      const Range& range = ranges.joints.at(i);
      limits.push_back({row.group_name, row.joint_names[i], range.lower, range.upper, range.max_velocity});
    }
  }
}

std::vector<JointLimit> limits_of(const JointManager::JointGroupTable& table, const GroupRanges& trunk) {
  std::vector<JointLimit> limits;
  add_limits(table, trunk, limits);
  for (const GroupRanges& ranges : kCommonRanges) {
    add_limits(table, ranges, limits);
  }
  return limits;
}

}  // namespace

std::vector<JointLimit> joint_limits(MachineType machine_type) {
  switch (machine_type) {
    case MachineType::K2:
      return limits_of(JointManagerK2::Create()->joint_group_metadata_table(), kLegRanges);
    case MachineType::R5:
      return limits_of(R5JointGroupMetadataTableFor(R5HardwareTableVersion::v2), kTorsoRanges);
  }
  return {};
}

}  // namespace norvik::sdk
