#include "fake_planner.hpp"

#include <google/protobuf/text_format.h>

#include <stdexcept>

namespace norvik::test {

kelvorn_proto::DataResponse robot_data(kelvorn_proto::GetDataRequest::DataType type) {
  using Request = kelvorn_proto::GetDataRequest;
  const char* text = "";
  if (type == Request::LinkList) {
    text = R"(link_list { link_names: ["base_link", "left_arm_end_effector_mount_link", "leg_end_effector_mount_link",
                                       "torso_base_link", "hand_link"] })";
  } else if (type == Request::ChainList) {
    text = R"(chain_list { chain_names: ["left_arm", "right_arm", "head", "leg", "torso", "mobile_base"] })";
  } else if (type == Request::ToolList) {
    text = R"(tool_list { tool_names: ["None", "suction_cup"] })";
  } else if (type == Request::AttachObjectOnRobot) {
    text = R"(attach_object_on_robot { objects { prop { frame_prop { object_name: "cup" } } } })";
  } else {
    text = R"(chain_prop_list {
      chain_props { chain_name: "left_arm" joint_names: ["l1", "l2"] chain_joint_indices: [2, 3] }
      chain_props { chain_name: "right_arm" joint_names: ["r1", "r2"] chain_joint_indices: [4, 5] }
      chain_props { chain_name: "head" joint_names: "h1" chain_joint_indices: 1 }
      chain_props { chain_name: "leg" joint_names: "g1" chain_joint_indices: 0 }
      chain_props { chain_name: "mobile_base" joint_names: ["x", "y"] chain_joint_indices: [7, 8] } })";
  }
  kelvorn_proto::DataResponse response;
  if (!google::protobuf::TextFormat::ParseFromString(text, &response)) {
    throw std::logic_error("robot_data");
  }
  response.set_ret(true);
  return response;
}

std::shared_ptr<PlannerStatus> make_status(PlannerStatus::ServiceStatus status, const std::string& task_id) {
  auto message = std::make_shared<PlannerStatus>();
  message->set_status(status);
  message->set_task_id(task_id);
  return message;
}

std::shared_ptr<sdk::JointStates> joint_target(const std::string& chain, const std::vector<double>& joints) {
  auto target = std::make_shared<sdk::JointStates>();
  target->chain = chain;
  target->joint_positions = joints;
  return target;
}

std::shared_ptr<sdk::PoseState> pose_target(const std::string& chain, const std::string& frame) {
  auto target = std::make_shared<sdk::PoseState>();
  target->chain = chain;
  target->reference_frame = frame;
  target->pose = {kPose[0], kPose[1], kPose[2], kPose[3], kPose[4], kPose[5], kPose[6]};
  return target;
}

std::shared_ptr<sdk::RobotStates> robot_state(const std::vector<double>& joints, const std::vector<double>& base) {
  auto state = std::make_shared<sdk::RobotStates>();
  state->whole_body_joint = joints;
  state->base_state = base;
  return state;
}

std::shared_ptr<sdk::Parameter> parameter(const std::function<void(sdk::Parameter&)>& change) {
  auto result = std::make_shared<sdk::Parameter>();
  change(*result);
  return result;
}

}  // namespace norvik::test
