#include "services/planning/messages/wire_writing.hpp"

#include <algorithm>

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;

void add_point(const planning::Joints& point, const planning::Chain& chain, double time_s,
               tavrinox_proto::TargetGroupTrajectory& trajectory) {
  auto& command = *trajectory.add_group_commands();
  command.mutable_time_from_start()->set_sec(time_s);
  for (const size_t index : chain.indices) {
    command.add_joint_commands()->set_position(point[index]);
  }
}

}  // namespace

void write_pose(const KDL::Frame& frame, spatial_proto::Pose& pose) {
  pose.mutable_position()->set_x(frame.p.x());
  pose.mutable_position()->set_y(frame.p.y());
  pose.mutable_position()->set_z(frame.p.z());
  double x, y, z, w;
  frame.M.GetQuaternion(x, y, z, w);
  auto& orientation = *pose.mutable_orientation();
  orientation.set_x(x);
  orientation.set_y(y);
  orientation.set_z(z);
  orientation.set_w(w);
}

tavrinox_proto::TavrinoXTarget make_target(const planning::Path& path, const planning::PlanningModel& model) {
  tavrinox_proto::TavrinoXTarget target;
  for (const std::string& name : path.chains) {
    const planning::Chain& chain = *model.find_chain(name);
    auto& trajectory = (*target.mutable_target_group_trajectory_map())[name];
    for (const planning::ChainJoint& joint : chain.joints) {
      trajectory.add_joint_names(joint.name);
    }
    for (size_t i = 0; i < path.points.size(); ++i) {
      add_point(path.points[i], chain, path.times[i], trajectory);
    }
  }
  return target;
}

tavrinox_proto::TavrinoXTarget make_target_within(size_t room, const planning::Path& path,
                                                  const planning::PlanningModel& model, std::string& note) {
  tavrinox_proto::TavrinoXTarget target = make_target(path, model);
  const size_t size = target.ByteSizeLong();
  if (size <= room) {
    return target;
  }
  size_t count = path.points.size() * room / size;
  do {
    count = std::max<size_t>(count * 19 / 20, 2);
    target = make_target(planning::resample(path, count), model);
  } while (target.ByteSizeLong() > room && count > 2);
  note = "resampled from " + std::to_string(path.points.size()) + " to " + std::to_string(count) + " points";
  return target;
}

core_proto::Matrix make_matrix(const planning::Jacobian& jacobian) {
  core_proto::Matrix matrix;
  matrix.set_rows(static_cast<uint32_t>(jacobian.rows));
  matrix.set_cols(static_cast<uint32_t>(jacobian.cols));
  matrix.mutable_elements()->Add(jacobian.data.begin(), jacobian.data.end());
  return matrix;
}

void write_solution(const planning::IkResult& result, const planning::PlanningModel& model,
                    google::protobuf::Map<std::string, core_proto::Vector>& solution) {
  for (const std::string& name : result.moved_chains) {
    core_proto::Vector& joints = solution[name];
    for (const size_t index : model.find_chain(name)->indices) {
      joints.add_data(result.joints[index]);
    }
  }
}

void write_chain(const planning::Chain& chain, const std::string& tool, proto::ChainProp& message) {
  message.set_chain_name(chain.name);
  message.set_base_link_name(chain.base_link);
  message.set_ee_link_name(chain.end_effector_link);
  message.set_camera_link_name(chain.camera_link);
  message.mutable_link_names()->Add(chain.links.begin(), chain.links.end());
  for (const planning::ChainJoint& joint : chain.joints) {
    message.add_joint_names(joint.name);
  }
  message.set_chain_dof(static_cast<int32_t>(chain.joints.size()));
  message.mutable_chain_joint_indices()->Add(chain.indices.begin(), chain.indices.end());
  if (const planning::ToolModel* model = planning::find_tool(tool); model != nullptr) {
    auto& prop = *message.mutable_attached_tool_prop();
    prop.set_tool_name(model->name);
    prop.set_tool_base_link_name(model->base_link_name);
    prop.set_tool_tcp_link_name(model->tip_link_name);
  }
}

}  // namespace norvik::simulator
