#include "planning/planner.hpp"

#include <algorithm>

namespace norvik::simulator::planning {

struct Planner::Impl {
  PlanningModel model;
};

namespace {

Outcome not_available() { return {Reason::kNoPath, "not available"}; }

}  // namespace

Planner::Planner(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Planner::Planner(Planner&&) noexcept = default;
Planner& Planner::operator=(Planner&&) noexcept = default;
Planner::~Planner() = default;

std::optional<Planner> Planner::load(const RobotModel& robot, const std::string& folder, std::string& error) {
  auto model = PlanningModel::load(robot, folder, error);
  if (!model) {
    return std::nullopt;
  }
  return Planner(std::make_unique<Impl>(Impl{std::move(*model)}));
}

const PlanningModel& Planner::model() const { return impl_->model; }

FrameResult Planner::forward_kinematics(const std::string& link, const FrameRef& frame, const RobotState& state) const {
  FrameResult reference = frame_pose(impl_->model, frame, state);
  FrameResult pose = frame_pose(impl_->model, FrameRef::link(link), state);
  if (!reference.outcome) {
    return reference;
  }
  pose.pose = reference.pose.Inverse() * pose.pose;
  return pose;
}

Jacobian Planner::jacobian(const std::string& link, const FrameRef& frame, const RobotState& state) const {
  const auto index = impl_->model.link_index(link);
  const auto moving = index ? impl_->model.moving_joint(*index) : std::nullopt;
  const FrameResult reference = frame_pose(impl_->model, frame, state);
  if (!moving || !reference.outcome) {
    return {};
  }
  const auto& chains = impl_->model.chains();
  const auto chain = std::find_if(chains.begin(), chains.end(), [&](const Chain& c) {
    return *moving >= c.indices.front() && *moving <= c.indices.back();
  });
  const auto columns = impl_->model.jacobian(*index, chain->indices, state.joints);
  const KDL::Rotation turned = reference.pose.M.Inverse() * state.base.M;
  Jacobian result{6, columns.size(), std::vector<double>(6 * columns.size())};
  for (size_t column = 0; column < columns.size(); ++column) {
    const KDL::Twist twist = turned * columns[column];
    for (size_t row = 0; row < 6; ++row) {
      result.data[row * columns.size() + column] = twist(static_cast<int>(row));
    }
  }
  return result;
}

IkResult Planner::inverse_kinematics(const IkRequest&, const Scene&, const Settings&, const Interrupt&) const {
  return {not_available(), {}, {}};
}

std::optional<Contact> Planner::check_collision(const RobotState&, const Scene&, const Settings&) const {
  return std::nullopt;
}

PlanResult Planner::plan(const PlanRequest&, const Scene&, const Settings&, const Interrupt&) const {
  return {not_available(), {}};
}

PlanResult Planner::plan_line(const PlanRequest&, const Scene&, const Settings&, const Interrupt&) const {
  return {not_available(), {}};
}

PlanResult Planner::plan_waypoints(const PlanRequest&, const Scene&, const Settings&, const Interrupt&) const {
  return {not_available(), {}};
}

Outcome Planner::check_path(const Path&, const KDL::Frame&, const Scene&, const Settings&, const Interrupt&) const {
  return not_available();
}

std::vector<std::string> planner_names() { return {"RRTConnect"}; }

Path resample(const Path& path, size_t count) {
  const size_t wanted = std::max<size_t>(count, 2);
  if (path.points.size() < 2) {
    return path;
  }
  Path result{path.chains, {}, {}};
  size_t i = 0;
  for (size_t n = 0; n < wanted; ++n) {
    const double time = path.times.back() * static_cast<double>(n) / static_cast<double>(wanted - 1);
    while (i + 2 < path.points.size() && path.times[i + 1] < time) {
      ++i;
    }
    const double span = path.times[i + 1] - path.times[i];
    const double part = span > 0.0 ? std::clamp((time - path.times[i]) / span, 0.0, 1.0) : 1.0;
    Joints point = path.points[i];
    for (size_t joint = 0; joint < point.size(); ++joint) {
      point[joint] += part * (path.points[i + 1][joint] - point[joint]);
    }
    result.points.push_back(std::move(point));
    result.times.push_back(time);
  }
  return result;
}

}  // namespace norvik::simulator::planning
