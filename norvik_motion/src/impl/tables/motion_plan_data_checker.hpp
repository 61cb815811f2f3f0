#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace norvik::sdk {

// Decides whether a value of the caller's is acceptable for this robot, by what the service told at start. Filled once
// and then read from any thread. With `throw_on_error` a refusal is a std::invalid_argument with the reason, otherwise
// false, for states with a log line.
class DataChecker {
 public:
  // Names are compared exactly. The plural forms stop at the first refusal; nothing is acceptable.
  bool check_chain(const std::string& name, bool throw_on_error) const;
  bool check_link(const std::string& name, bool throw_on_error) const;
  bool check_frame(const std::string& name, bool throw_on_error) const;
  bool check_ee_frame(const std::string& name, bool throw_on_error) const;
  bool check_tool_name(const std::string& name, bool throw_on_error) const;
  bool check_simple_object_type(const std::string& name, bool throw_on_error) const;
  bool check_chains(const std::vector<std::string>& names, bool throw_on_error) const;
  bool check_links(const std::vector<std::string>& names, bool throw_on_error) const;
  bool check_frames(const std::vector<std::string>& names, bool throw_on_error) const;
  bool check_ee_frames(const std::vector<std::string>& names, bool throw_on_error) const;
  bool check_tool_names(const std::vector<std::string>& names, bool throw_on_error) const;

  // Seven finite numbers with a quaternion whose squared norm is within 0.01 of 1.
  bool check_pose_7d_size(const std::vector<double>& pose, bool throw_on_error) const;
  bool check_quaternion_validity(const std::vector<double>& pose, bool throw_on_error) const;

  // The right number of values, whatever they are.
  bool check_whole_body_state(const std::vector<double>& state, bool throw_on_error) const;

  // Known chains, finite values, the right number of them.
  bool check_chain_joint_state(const std::unordered_map<std::string, std::vector<double>>& joint_state,
                               bool throw_on_error) const;

  int32_t robot_dof = 0;
  std::unordered_map<std::string, int32_t> chain_dof;
  std::set<std::string> support_links;
  std::set<std::string> support_chains;
  std::set<std::string> support_frames;
  std::set<std::string> support_ee_frames;
  std::set<std::string> support_tool_names;
  std::set<std::string> support_simple_object_types;

 private:
  bool check_one_chain(const std::string& chain, const std::vector<double>& values, bool throw_on_error) const;
};

// Compares through tolower; strings of different lengths differ.
bool equals_ignore_case(const std::string& a, const std::string& b);
std::string to_lower_string(std::string text);

// `text` in lower case if that makes it equal to `reference` in any case, else as it stands.
std::string check_str_and_to_lower(const std::string& text, const std::string& reference);

}  // namespace norvik::sdk
