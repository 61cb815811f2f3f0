#include "services/planning/messages/data_answers.hpp"

#include "services/planning/messages/wire_writing.hpp"

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;
using proto::GetDataRequest;

void write_objects(const planning::Scene& scene, proto::AttachObjectOnRobot& message) {
  for (const auto& [name, object] : scene.attached()) {
    proto::ObjectProp& prop = *message.add_objects()->mutable_prop();
    prop.mutable_frame_prop()->set_object_name(name);
    prop.mutable_frame_prop()->mutable_parent_frame()->set_parent_link_name(object->link);
    write_pose(object->pose, *prop.mutable_frame_prop()->mutable_object_pose());
    const auto& links = object->spec.ignored_links;
    prop.mutable_ignore_collision_link_names()->Add(links.begin(), links.end());
    prop.set_safe_margin(object->spec.safe_margin);
  }
}

// The base comes last: it is not among the joints that the planner moves.
void write_chains(const planning::PlanningModel& model, const RobotModel& robot, const planning::Scene& scene,
                  proto::ChainPropList& message) {
  for (const planning::Chain& chain : model.chains()) {
    const auto tool = scene.tools().find(chain.name);
    write_chain(chain, tool == scene.tools().end() ? "" : tool->second, *message.add_chain_props());
  }
  proto::ChainProp& base = *message.add_chain_props();
  base.set_chain_name("mobile_base");
  base.set_base_link_name("map");
  base.set_ee_link_name(model.links().front());
  auto index = static_cast<int32_t>(model.dof());
  for (const std::string& wheel : robot.find_group(robot.chassis_group)->joints) {
    base.add_joint_names(wheel);
    base.add_chain_joint_indices(index++);
  }
  base.set_chain_dof(base.joint_names_size());
}

}  // namespace

proto::DataResponse answer_data(const GetDataRequest& request, const planning::PlanningModel& model,
                                const RobotModel& robot, const planning::Scene& scene) {
  proto::DataResponse response;
  response.set_task_id(request.task_id());
  response.set_ret(true);
  switch (request.data_type()) {
    case GetDataRequest::AttachToolInfo:
      for (const auto& [chain, tool] : scene.tools()) {
        proto::ToolInfo& info = *response.mutable_attach_tool_info()->add_tools();
        info.set_chain_name(chain);
        info.set_tool_name(tool);
      }
      response.mutable_attach_tool_info();
      break;
    case GetDataRequest::AttachObjectOnRobot:
      write_objects(scene, *response.mutable_attach_object_on_robot());
      break;
    case GetDataRequest::ToolList:
      for (const std::string& tool : planning::tool_names()) {
        response.mutable_tool_list()->add_tool_names(tool);
      }
      break;
    case GetDataRequest::ChainList:
      for (const planning::Chain& chain : model.chains()) {
        response.mutable_chain_list()->add_chain_names(chain.name);
      }
      break;
    case GetDataRequest::LinkList:
      for (const std::string& link : model.links()) {
        response.mutable_link_list()->add_link_names(link);
      }
      break;
    case GetDataRequest::ChainPropList:
      write_chains(model, robot, scene, *response.mutable_chain_prop_list());
      break;
    default:
      return refuse_data(request, "this kind of data is not implemented");
  }
  return response;
}

proto::DataResponse refuse_data(const GetDataRequest& request, const std::string& reason) {
  proto::DataResponse response;
  response.set_task_id(request.task_id());
  response.set_ret(false);
  response.set_msg(reason);
  return response;
}

}  // namespace norvik::simulator
