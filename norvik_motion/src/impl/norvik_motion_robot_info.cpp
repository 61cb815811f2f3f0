// What the service told of the robot: names and tables, and checks of values against them.

#include "impl/norvik_motion_base.hpp"
#include "impl/tables/motion_tables.hpp"
#include "impl/tables/text_lists.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using kelvorn_proto::GetDataRequest;

namespace {

template <typename Names>
void replace_names(const Names& names, std::set<std::string>& set) {
  set = {names.begin(), names.end()};
}

}  // namespace

std::shared_ptr<const ChainTables> NorvikMotionBase::chain_tables() const {
  const std::lock_guard<std::mutex> lock(tables_mutex_);
  return chain_tables_;
}

std::shared_ptr<const DataChecker> NorvikMotionBase::data_checker() const {
  const std::lock_guard<std::mutex> lock(tables_mutex_);
  return data_checker_;
}

NorvikMotionBase::SupportNames NorvikMotionBase::support_names() const {
  const std::lock_guard<std::mutex> lock(tables_mutex_);
  return support_names_;
}

// An answer of another kind counts as an empty list.
void NorvikMotionBase::update_names(DataType type, const DataResponse& response) {
  const std::lock_guard<std::mutex> lock(tables_mutex_);
  switch (type) {
    case GetDataRequest::LinkList:
      return replace_names(response->link_list().link_names(), support_names_.support_links_);
    case GetDataRequest::ChainList:
      return replace_names(response->chain_list().chain_names(), support_names_.support_chains_);
    default:
      return replace_names(response->tool_list().tool_names(), support_names_.support_tool_list_);
  }
}

void NorvikMotionBase::update_robot_info() {
  const struct {
    DataType type;
    const char* what;
  } lists[] = {
      {GetDataRequest::LinkList, "link"}, {GetDataRequest::ChainList, "chain"}, {GetDataRequest::ToolList, "tool"}};
  for (const auto& list : lists) {
    SDK_LOG(info) << "update " << list.what << " list from mps";
    if (const DataResponse response = request_data(list.type)) {
      update_names(list.type, response);
    } else {
      SDK_LOG(error) << "get " << list.what << " list from mps fail";
    }
  }
  auto tables = std::make_shared<ChainTables>();
  if (const DataResponse response = request_data(GetDataRequest::ChainPropList)) {
    *tables = make_chain_tables(response->chain_prop_list());
  } else {
    SDK_LOG(info) << "get chain list from mps fail";
  }
  store_tables(tables);
  log_tables();
}

void NorvikMotionBase::store_tables(const std::shared_ptr<const ChainTables>& tables) {
  const std::lock_guard<std::mutex> lock(tables_mutex_);
  for (const auto& row : motion_tables().frame_type_map_) {
    support_names_.support_ee_frames_.insert(row.first);
  }
  auto checker = std::make_shared<DataChecker>();
  checker->robot_dof = tables->robot_dof_;
  checker->chain_dof = tables->chain_dof_map_;
  checker->support_links = support_names_.support_links_;
  checker->support_chains = support_names_.support_chains_;
  checker->support_tool_names = support_names_.support_tool_list_;
  checker->support_frames = support_names_.support_frames_;
  checker->support_ee_frames = support_names_.support_ee_frames_;
  checker->support_simple_object_types = obstacle_types();
  chain_tables_ = tables;
  data_checker_ = std::move(checker);
}

void NorvikMotionBase::log_tables() const {
  const auto tables = chain_tables();
  for (const auto& [chain, indices] : tables->joint_index_map_) {
    if (!indices.empty()) {
      SDK_LOG(info) << "chain: " << chain << ", start id: " << indices.front() << ", end id: " << indices.back();
    }
  }
  const SupportNames names = support_names();
  SDK_LOG(info) << "update_robot_info: support_chains_" << count_and_names(names.support_chains_);
  SDK_LOG(info) << "update_robot_info: support_links_" << count_and_names(names.support_links_);
  SDK_LOG(info) << "update_robot_info: support_tool_list_" << count_and_names(names.support_tool_list_);
  SDK_LOG(info) << "update_robot_info: support_frames_" << count_and_names(names.support_frames_);
  SDK_LOG(info) << "update_robot_info: support_ee_frames_" << count_and_names(names.support_ee_frames_);
  SDK_LOG(info) << "update_robot_info: support_simple_object_type" << count_and_names(obstacle_types());
}

// Checks of values.

bool NorvikMotionBase::is_link_name_valid(const std::string& link, bool throw_on_error) const {
  return data_checker()->check_link(link, throw_on_error);
}

bool NorvikMotionBase::is_chain_name_valid(const std::string& chain, bool throw_on_error) const {
  return data_checker()->check_chain(chain, throw_on_error);
}

bool NorvikMotionBase::is_frame_name_valid(const std::string& frame, bool throw_on_error) const {
  return data_checker()->check_frame(frame, throw_on_error);
}

bool NorvikMotionBase::is_ee_frame_valid(const std::string& ee_frame, bool throw_on_error) const {
  return data_checker()->check_ee_frame(ee_frame, throw_on_error);
}

bool NorvikMotionBase::is_tool_name_valid(const std::string& tool, bool throw_on_error) const {
  return data_checker()->check_tool_name(tool, throw_on_error);
}

bool NorvikMotionBase::is_obstacle_type_valid(const std::string& object_type, bool throw_on_error) const {
  return data_checker()->check_simple_object_type(object_type, throw_on_error);
}

bool NorvikMotionBase::is_whole_body_state_valid(const std::vector<double>& state, bool throw_on_error) const {
  return data_checker()->check_whole_body_state(state, throw_on_error);
}

bool NorvikMotionBase::is_pose_7d_valid(const std::vector<double>& pose, bool throw_on_error) const {
  return data_checker()->check_pose_7d_size(pose, throw_on_error);
}

bool NorvikMotionBase::is_chain_joint_state_valid(const JointMap& joint_state, bool throw_on_error) const {
  return data_checker()->check_chain_joint_state(joint_state, throw_on_error);
}

}  // namespace norvik::sdk
