#include "impl/requests/navigation_requests.hpp"

#include <nlohmann/json.hpp>

namespace norvik::sdk {

namespace proto = kelvorn_proto;

namespace {

constexpr char kMapFrame[] = "map";
constexpr char kBaseFrame[] = "base_link";

std::shared_ptr<NaviRequest> make_request(const std::string& task_id) {
  auto request = std::make_shared<NaviRequest>();
  request->set_task_id(task_id);
  return request;
}

std::shared_ptr<NaviPlanRequest> make_plan_request(const std::string& task_id) {
  auto request = std::make_shared<NaviPlanRequest>();
  request->set_task_id(task_id);
  return request;
}

proto::NaviPlanTarget& add_target(NaviPlanRequest& request, bool check_collision) {
  proto::NaviPlanTarget& target = *request.mutable_navi_task_request()->add_targets();
  target.mutable_runtime_params()->mutable_check_collision()->set_value(check_collision);
  return target;
}

void set_base_pose(const Pose& pose, const std::string& frame, proto::NaviPlanTarget& target) {
  auto& base = *target.mutable_robot_state()->mutable_base_states();
  base.set_reference_frame_id(frame);
  fill_pose(pose, *base.mutable_pose_msg()->mutable_pose());
}

proto::HeadingDirection direction(bool omni) { return omni ? proto::Omni : proto::Heading; }

void set_way_options(bool waypoint_plan, bool omni, proto::NaviPlanTarget& target) {
  target.mutable_options()->set_dir(direction(omni));
  if (waypoint_plan) {
    target.mutable_options()->mutable_use_waypoint_plan()->set_value(true);
  }
}

void set_map_pose(const Pose& pose, proto::RobotStates& state) {
  state.mutable_base()->set_map_frame(proto::WORLD);
  fill_pose(pose, *state.mutable_base()->mutable_pose());
}

}  // namespace

void fill_pose(const Pose& pose, spatial_proto::Pose& message) {
  auto& position = *message.mutable_position();
  position.set_x(pose.x);
  position.set_y(pose.y);
  position.set_z(pose.z);
  auto& orientation = *message.mutable_orientation();
  orientation.set_x(pose.qx);
  orientation.set_y(pose.qy);
  orientation.set_z(pose.qz);
  orientation.set_w(pose.qw);
}

std::shared_ptr<NaviRequest> generate_navi_request(const std::string& task_id, const Pose& pose, bool check_collision,
                                                   const std::string& frame, bool omni) {
  auto request = make_request(task_id);
  auto& plan = *request->mutable_motion_plan();
  plan.set_disable_collision_check(!check_collision);
  plan.set_omini_plan(omni);
  auto& base = *plan.mutable_goal_state()->mutable_base();
  fill_pose(pose, *base.mutable_pose());
  if (frame == kMapFrame) {
    base.set_map_frame(proto::WORLD);
  } else if (frame == kBaseFrame) {
    base.set_map_frame(proto::BASE);
  }
  return request;
}

std::shared_ptr<NaviRequest> generate_stop_request(const std::string& task_id) {
  auto request = make_request(task_id);
  request->mutable_stop_navigation_req();
  return request;
}

std::shared_ptr<NaviPlanRequest> generate_navi_v2_request(const std::string& task_id, const Pose& pose,
                                                          const std::string& pose_frame, bool check_collision,
                                                          bool omni) {
  auto request = make_plan_request(task_id);
  auto& target = add_target(*request, check_collision);
  set_base_pose(pose, pose_frame, target);
  target.mutable_options()->set_dir(direction(omni));
  target.mutable_options()->mutable_check_vaild()->set_value(check_collision);
  return request;
}

std::shared_ptr<NaviPlanRequest> generate_velocity_request(const std::string& task_id, const NaviVelocity& velocity,
                                                           bool check_collision) {
  auto request = make_plan_request(task_id);
  auto& target = add_target(*request, check_collision);
  auto& twist = *target.mutable_robot_state()->mutable_base_states()->mutable_twist_msg()->mutable_twist();
  twist.mutable_linear()->set_x(velocity.vx);
  twist.mutable_linear()->set_y(velocity.vy);
  twist.mutable_linear()->set_z(0.0);
  twist.mutable_angular()->set_z(velocity.wz);
  target.mutable_options()->mutable_use_dyn_plan()->set_value(true);
  target.mutable_configs()->set_config_msg(nlohmann::json{{"duration", velocity.duration_s}}.dump());
  return request;
}

std::shared_ptr<NaviPlanRequest> generate_traj_navi_request(const std::string& task_id, const std::vector<Pose>& poses,
                                                            bool check_collision, const std::string& frame,
                                                            float speed_ratio, bool waypoint_plan, bool omni) {
  auto request = make_plan_request(task_id);
  for (const Pose& pose : poses) {
    auto& target = add_target(*request, check_collision);
    set_base_pose(pose, frame == kBaseFrame ? kBaseFrame : kMapFrame, target);
    target.mutable_scales()->mutable_vel_scale()->set_value(speed_ratio);
    set_way_options(waypoint_plan, omni, target);
  }
  return request;
}

std::shared_ptr<NaviPlanRequest> generate_multi_waypoints_navi_request(const std::string& task_id,
                                                                       const std::vector<Waypoint>& waypoints,
                                                                       bool check_collision, const std::string& frame,
                                                                       bool waypoint_plan, bool omni) {
  auto request = make_plan_request(task_id);
  for (const Waypoint& waypoint : waypoints) {
    auto& target = add_target(*request, check_collision);
    set_base_pose(waypoint.pose, frame == kMapFrame || frame == kBaseFrame ? frame : "", target);
    auto& scales = *target.mutable_scales();
    scales.mutable_vel_scale()->set_value(waypoint.vel_scale);
    scales.mutable_acc_scale()->set_value(waypoint.acc_scale);
    scales.mutable_jerk_scale()->set_value(waypoint.jerk_scale);
    auto& tolerances = *target.mutable_runtime_params();
    tolerances.mutable_arrival_pos_err_x()->set_value(waypoint.pos_err_x);
    tolerances.mutable_arrival_pos_err_y()->set_value(waypoint.pos_err_y);
    tolerances.mutable_arrival_ori_err()->set_value(waypoint.ori_err);
    set_way_options(waypoint_plan, omni, target);
  }
  return request;
}

std::shared_ptr<NaviPlanRequest> generate_target_navi_request(const std::string& task_id, const Pose& pose,
                                                              const std::string& frame, float speed_ratio,
                                                              bool check_collision) {
  auto request = make_plan_request(task_id);
  auto& target = add_target(*request, check_collision);
  set_base_pose(pose, frame, target);
  target.mutable_scales()->mutable_vel_scale()->set_value(speed_ratio);
  target.mutable_options()->set_dir(proto::Omni);
  return request;
}

std::shared_ptr<NaviRequest> generate_evaluate_request(const std::string& task_id, const Pose& goal,
                                                       const Pose& start) {
  auto request = make_request(task_id);
  auto& evaluate = *request->mutable_evaluate_goal_availability_req();
  evaluate.set_use_start_state(true);
  set_map_pose(start, *evaluate.mutable_start_state());
  set_map_pose(goal, *evaluate.mutable_goal_state());
  return request;
}

std::shared_ptr<NaviRequest> generate_attach_request(const std::string& task_id, const BoxInfo& box,
                                                     const std::string& object_name,
                                                     const std::vector<std::string>& ignore_links) {
  auto request = make_request(task_id);
  auto& attach = *request->mutable_common_request()->mutable_attach_collision_object();
  auto& config = *attach.mutable_object_config();
  config.mutable_ignore_collision_link_names()->Add(ignore_links.begin(), ignore_links.end());
  config.mutable_frame_prop()->set_object_name(object_name);
  config.mutable_frame_prop()->mutable_parent_frame()->set_parent_link_name(box.parent_link_name);
  fill_pose(box.box_pose, *config.mutable_frame_prop()->mutable_object_pose());
  auto& sides = *attach.mutable_simple_object()->mutable_simple_object()->mutable_box();
  sides.set_length(box.box_size[0]);
  sides.set_width(box.box_size[1]);
  sides.set_height(box.box_size[2]);
  return request;
}

std::shared_ptr<NaviRequest> generate_detach_request(const std::string& task_id, const std::string& object_name) {
  auto request = make_request(task_id);
  request->mutable_common_request()->mutable_remove_collision_object()->add_object_name(object_name);
  return request;
}

}  // namespace norvik::sdk
