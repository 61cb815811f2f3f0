// The planning scene: tools, obstacles, objects on the robot, and the names that the service knows.

#include <algorithm>

#include "impl/norvik_motion_base.hpp"
#include "impl/tables/motion_tables.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using kelvorn_proto::GetDataRequest;

namespace {

constexpr double kNamesTimeoutS = 10.0;

bool is_arm(const std::string& chain, const char* operation) {
  if (chain == "left_arm" || chain == "right_arm") {
    return true;
  }
  SDK_LOG(error) << operation << " only support chain with [left_arm] or [right_arm]";
  return false;
}

}  // namespace

MotionStatus NorvikMotionBase::attach_tool(const std::string& chain, const std::string& tool) {
  return is_valid_or_log() ? attach_tool_impl(chain, tool, PlannerConfig{}) : MotionStatus::INIT_FAILED;
}

MotionStatus NorvikMotionBase::detach_tool(const std::string& chain) {
  return is_valid_or_log() ? detach_tool_impl(chain, PlannerConfig{}) : MotionStatus::INIT_FAILED;
}

MotionStatus NorvikMotionBase::attach_tool_impl(const std::string& chain, const std::string& tool,
                                                const PlannerConfig& config) {
  if (!is_arm(chain, "attach tool")) {
    return MotionStatus::INVALID_INPUT;
  }
  const std::set<std::string> tools = support_names().support_tool_list_;
  if (tools.count(tool) == 0) {
    SDK_LOG(error) << "unsupport tool name: " << tool;
    SDK_LOG(error) << "support tool list: ";
    for (const std::string& name : tools) {
      SDK_LOG(error) << name;
    }
    return MotionStatus::INVALID_INPUT;
  }
  PlanRequest request = make_request("attach_tool");
  auto& attach = *request.mutable_common_request()->mutable_attach_tool();
  attach.set_chain_name(chain);
  attach.set_tool_name(tool);
  SDK_LOG(info) << "attach chain: " << chain << ", tool: " << tool;
  return run_task(request, config.timeout);
}

MotionStatus NorvikMotionBase::detach_tool_impl(const std::string& chain, const PlannerConfig& config) {
  if (!is_arm(chain, "detach tool")) {
    return MotionStatus::INVALID_INPUT;
  }
  PlanRequest request = make_request("detach_tool");
  request.mutable_common_request()->mutable_detach_tool()->set_chain_name(chain);
  return run_task(request, config.timeout);
}

MotionStatus NorvikMotionBase::add_obstacle(const std::string& object_id, const std::string& object_type,
                                            const std::vector<double>& pose, const std::array<double, 3>& scale,
                                            const std::string& key, const std::string& parent_frame,
                                            const std::string& ee_frame,
                                            const std::vector<double>& reference_joint_positions,
                                            const std::vector<double>& reference_base_pose,
                                            const std::vector<std::string>& ignore_links, double safe_margin,
                                            double resolution) {
  return add_object(kMapTarget,
                    {object_id, object_type, pose, scale, key, parent_frame, ee_frame, reference_joint_positions,
                     reference_base_pose, ignore_links, safe_margin, resolution});
}

MotionStatus NorvikMotionBase::attach_target_object(const std::string& object_id, const std::string& object_type,
                                                    const std::vector<double>& pose, const std::array<double, 3>& scale,
                                                    const std::string& key, const std::string& parent_frame,
                                                    const std::string& ee_frame,
                                                    const std::vector<double>& reference_joint_positions,
                                                    const std::vector<double>& reference_base_pose,
                                                    const std::vector<std::string>& ignore_links, double safe_margin,
                                                    double resolution) {
  return add_object(kRobotTarget,
                    {object_id, object_type, pose, scale, key, parent_frame, ee_frame, reference_joint_positions,
                     reference_base_pose, ignore_links, safe_margin, resolution});
}

MotionStatus NorvikMotionBase::add_object(const std::string& target, const SceneObject& object) {
  if (!is_valid_or_log()) {
    return MotionStatus::INIT_FAILED;
  }
  const PlannerConfig config;
  PlanRequest request = make_request("attach_obj_to_" + target);
  const auto checker = data_checker();
  const SceneChecks checks{*checker, [this](const std::string& link) { return get_support_links().count(link) != 0; }};
  const MotionStatus status = fill_add_object(checks, target, object, request);
  return status == MotionStatus::SUCCESS ? run_task(request, config.timeout) : status;
}

MotionStatus NorvikMotionBase::remove_obstacle(const std::string& object_id) {
  return remove_object(kMapTarget, object_id);
}

MotionStatus NorvikMotionBase::detach_target_object(const std::string& object_id) {
  return remove_object(kRobotTarget, object_id);
}

MotionStatus NorvikMotionBase::clear_obstacle() { return clear_object(kMapTarget); }

MotionStatus NorvikMotionBase::remove_object(const std::string& target, const std::string& object_id) {
  return is_valid_or_log() ? remove_object_impl(target, {object_id}, false, PlannerConfig{})
                           : MotionStatus::INIT_FAILED;
}

MotionStatus NorvikMotionBase::clear_object(const std::string& target) {
  return is_valid_or_log() ? remove_object_impl(target, {}, true, PlannerConfig{}) : MotionStatus::INIT_FAILED;
}

MotionStatus NorvikMotionBase::remove_object_impl(const std::string& target, const std::vector<std::string>& ids,
                                                  bool remove_all, const PlannerConfig& config) {
  PlanRequest request = make_request("remove_obj_from_" + target);
  const MotionStatus status =
      fill_remove_objects(ids, remove_all, *request.mutable_common_request()->mutable_remove_collision_object());
  return status == MotionStatus::SUCCESS ? run_task(request, config.timeout) : status;
}

// Names.

NorvikMotionBase::SupportNames NorvikMotionBase::refreshed_names(DataType type, const char* failure) {
  if (const DataResponse response = send_mps_data_request_with_ready(type, kNamesTimeoutS)) {
    update_names(type, response);
  } else {
    SDK_LOG(error) << failure;
  }
  return support_names();
}

std::set<std::string> NorvikMotionBase::get_support_links() {
  return refreshed_names(GetDataRequest::LinkList, "get link list from mps fail").support_links_;
}

std::set<std::string> NorvikMotionBase::get_support_chains() {
  return refreshed_names(GetDataRequest::ChainList, "get chain list from mps fail").support_chains_;
}

std::set<std::string> NorvikMotionBase::get_support_tool_list() {
  return refreshed_names(GetDataRequest::ToolList, "get tool list from mps fail").support_tool_list_;
}

std::set<std::string> NorvikMotionBase::get_support_frame() { return support_names().support_frames_; }

std::set<std::string> NorvikMotionBase::get_support_ee_frame() { return support_names().support_ee_frames_; }

std::set<std::string> NorvikMotionBase::get_support_obstacle_type() { return obstacle_types(); }

std::vector<std::string> NorvikMotionBase::get_built_object_list() {
  if (!is_valid()) {
    SDK_LOG(error) << "planner not init success";
    return {};
  }
  return config_cache_.planner_env_objs();
}

std::vector<std::string> NorvikMotionBase::get_attached_object_list() {
  if (!is_valid()) {
    SDK_LOG(error) << "planner not init success";
    return {};
  }
  const DataResponse response = send_mps_data_request_with_ready(GetDataRequest::AttachObjectOnRobot, kNamesTimeoutS);
  if (!response) {
    SDK_LOG(error) << "get attach object list from mps fail";
    return {};
  }
  std::vector<std::string> names;
  for (const auto& object : response->attach_object_on_robot().objects()) {
    names.push_back(object.prop().frame_prop().object_name());
  }
  return names;
}

std::vector<std::string> NorvikMotionBase::get_link_names(bool only_end_effector) {
  if (!mps_data_client_.get_data()) {
    SDK_LOG(error) << "mps_data_client_ is nullptr";
    return {};
  }
  const DataResponse response = send_mps_data_request_with_ready(GetDataRequest::LinkList, kNamesTimeoutS);
  if (!response) {
    SDK_LOG(error) << "Failed to get link names";
    return {};
  }
  if (!response->ret()) {
    SDK_LOG(error) << "Get link names failed: " << response->msg();
    return {};
  }
  if (!response->has_link_list()) {
    SDK_LOG(error) << "Response does not contain link_list";
    return {};
  }
  const auto& links = response->link_list().link_names();
  std::vector<std::string> names;
  std::copy_if(links.begin(), links.end(), std::back_inserter(names), [&](const std::string& name) {
    return !only_end_effector || name.find("end_effector") != std::string::npos;
  });
  SDK_LOG(info) << "Got " << names.size() << " link names";
  return names;
}

}  // namespace norvik::sdk
