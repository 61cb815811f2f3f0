#include "impl/tables/motion_plan_data_checker.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <stdexcept>

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr size_t kPoseSize = 7;
constexpr double kSquaredNormTolerance = 0.01;

using Names = std::vector<std::string>;

bool refuse(const std::string& reason, bool throw_on_error) {
  if (throw_on_error) {
    throw std::invalid_argument(reason);
  }
  return false;
}

bool check_name(const std::set<std::string>& known, const char* reason, const std::string& name, bool throw_on_error) {
  return known.count(name) != 0 || refuse(reason + name, throw_on_error);
}

bool all_finite(const std::vector<double>& values) {
  return std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

char lower(char letter) { return static_cast<char>(std::tolower(static_cast<unsigned char>(letter))); }

}  // namespace

bool DataChecker::check_chain(const std::string& name, bool throw_on_error) const {
  return check_name(support_chains, "unsupport chain name: ", name, throw_on_error);
}

bool DataChecker::check_link(const std::string& name, bool throw_on_error) const {
  return check_name(support_links, "unsupport link name: ", name, throw_on_error);
}

bool DataChecker::check_frame(const std::string& name, bool throw_on_error) const {
  return check_name(support_frames, "unsupport frame name: ", name, throw_on_error);
}

bool DataChecker::check_ee_frame(const std::string& name, bool throw_on_error) const {
  return check_name(support_ee_frames, "unsupport ee frame name: ", name, throw_on_error);
}

bool DataChecker::check_tool_name(const std::string& name, bool throw_on_error) const {
  return check_name(support_tool_names, "unsupport tool name: ", name, throw_on_error);
}

bool DataChecker::check_simple_object_type(const std::string& name, bool throw_on_error) const {
  return check_name(support_simple_object_types, "unsupport simple obj type: ", name, throw_on_error);
}

bool DataChecker::check_chains(const Names& names, bool throw_on_error) const {
  return std::all_of(names.begin(), names.end(), [&](const auto& name) { return check_chain(name, throw_on_error); });
}

bool DataChecker::check_links(const Names& names, bool throw_on_error) const {
  return std::all_of(names.begin(), names.end(), [&](const auto& name) { return check_link(name, throw_on_error); });
}

bool DataChecker::check_frames(const Names& names, bool throw_on_error) const {
  return std::all_of(names.begin(), names.end(), [&](const auto& name) { return check_frame(name, throw_on_error); });
}

bool DataChecker::check_ee_frames(const Names& names, bool throw_on_error) const {
  return std::all_of(names.begin(), names.end(),
                     [&](const auto& name) { return check_ee_frame(name, throw_on_error); });
}

bool DataChecker::check_tool_names(const Names& names, bool throw_on_error) const {
  return std::all_of(names.begin(), names.end(),
                     [&](const auto& name) { return check_tool_name(name, throw_on_error); });
}

bool DataChecker::check_pose_7d_size(const std::vector<double>& pose, bool throw_on_error) const {
  if (pose.size() != kPoseSize) {
    return refuse("input pose size " + std::to_string(pose.size()) + " is not equal to 7", throw_on_error);
  }
  return check_quaternion_validity(pose, throw_on_error);
}

bool DataChecker::check_quaternion_validity(const std::vector<double>& pose, bool throw_on_error) const {
  if (pose.size() != kPoseSize) {
    return refuse("input quaternion size " + std::to_string(pose.size()) +
                      " is not equal to 7, sequence requirement is [x, y, z, qx, qy, qz, qw]",
                  throw_on_error);
  }
  if (!all_finite(pose)) {
    return refuse("input quaternion contains invalid value (NaN or Inf)", throw_on_error);
  }
  const double squared_norm = pose[3] * pose[3] + pose[4] * pose[4] + pose[5] * pose[5] + pose[6] * pose[6];
  return std::abs(squared_norm - 1.0) <= kSquaredNormTolerance ||
         refuse("input quaternion is not normalized", throw_on_error);
}

bool DataChecker::check_whole_body_state(const std::vector<double>& state, bool throw_on_error) const {
  if (state.size() == static_cast<size_t>(std::max(robot_dof, 0))) {
    return true;
  }
  const std::string reason =
      "input joint size " + std::to_string(state.size()) + " is not equal to robot dof " + std::to_string(robot_dof);
  if (!throw_on_error) {
    SDK_LOG(error) << reason << ", invalid whole body state.";
  }
  return refuse(reason, throw_on_error);
}

bool DataChecker::check_chain_joint_state(const std::unordered_map<std::string, std::vector<double>>& joint_state,
                                          bool throw_on_error) const {
  return std::all_of(joint_state.begin(), joint_state.end(),
                     [&](const auto& entry) { return check_one_chain(entry.first, entry.second, throw_on_error); });
}

bool DataChecker::check_one_chain(const std::string& chain, const std::vector<double>& values,
                                  bool throw_on_error) const {
  const auto dof = chain_dof.find(chain);
  if (dof == chain_dof.end()) {
    const std::string reason = "unsupport chain name: " + chain;
    if (!throw_on_error) {
      SDK_LOG(warning) << "check_chain_joint_state: " << reason;
    }
    return refuse(reason, throw_on_error);
  }
  if (!all_finite(values)) {
    return refuse("chain " + chain + " contains invalid joint value (NaN or Inf)", throw_on_error);
  }
  if (values.size() != static_cast<size_t>(dof->second)) {
    const std::string reason = "chain " + chain + " dof is " + std::to_string(dof->second) + ", input size is " +
                               std::to_string(values.size());
    if (!throw_on_error) {
      SDK_LOG(warning) << "check_chain_joint_state: " << reason;
    }
    return refuse(reason, throw_on_error);
  }
  return true;
}

bool equals_ignore_case(const std::string& a, const std::string& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

std::string to_lower_string(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), lower);
  return text;
}

std::string check_str_and_to_lower(const std::string& text, const std::string& reference) {
  return equals_ignore_case(text, reference) ? to_lower_string(text) : text;
}

}  // namespace norvik::sdk
