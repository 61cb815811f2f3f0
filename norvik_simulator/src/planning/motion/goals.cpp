#include "planning/motion/goals.hpp"

#include <algorithm>
#include <cmath>

#include "planning/collision/path_check.hpp"

namespace norvik::simulator::planning {

namespace {

Outcome invalid(std::string description) { return {Reason::kInvalidInput, std::move(description)}; }

Outcome check_joints(const GoalContext& context, const Chain& chain, const std::vector<double>& positions) {
  if (positions.size() != chain.joints.size()) {
    return invalid(chain.name + " has " + std::to_string(chain.joints.size()) + " joints, not " +
                   std::to_string(positions.size()));
  }
  if (!std::all_of(positions.begin(), positions.end(), [](double q) { return std::isfinite(q); })) {
    return invalid("a joint position of " + chain.name + " is no number");
  }
  Joints joints = context.start.joints;
  std::copy(positions.begin(), positions.end(), joints.begin() + static_cast<std::ptrdiff_t>(chain.indices.front()));
  return context.model.check_limits(joints, chain.indices);
}

// The reason for a search that found nothing.
Outcome failure(const Budget& budget, const std::string& chain, const std::optional<Contact>& contact) {
  if (budget.interrupted()) {
    return {Reason::kInterrupted, "interrupted"};
  }
  if (contact) {
    return {Reason::kCollision, chain + " reaches the pose only where " + describe(*contact).description};
  }
  return {Reason::kUnreachable, chain + " does not reach the pose"};
}

}  // namespace

KDL::Frame moved_tip(const Scene& scene, const std::string& chain, const PoseTarget& target) {
  return target.tool ? scene.tool_tip(chain) : KDL::Frame::Identity();
}

FrameResult target_pose(const GoalContext& context, const std::string& chain, const PoseTarget& target) {
  FrameResult frame = frame_pose(context.model, target.frame, context.start);
  const Chain* moved = context.model.find_chain(chain);
  if (!frame.outcome || moved == nullptr) {
    return frame.outcome ? FrameResult{invalid("unknown chain " + chain), {}} : frame;
  }
  const KDL::Frame to_base = context.start.base.Inverse() * frame.pose;
  if (!target.relative) {
    return {{}, to_base * target.pose};
  }
  const KDL::Frame now =
      context.model.link_pose(*context.model.link_index(moved->end_effector_link), context.start.joints) *
      moved_tip(context.scene, chain, target);
  return {{}, KDL::Frame(to_base.M * target.pose.M * to_base.M.Inverse() * now.M, now.p + to_base.M * target.pose.p)};
}

Outcome check_goal(const GoalContext& context, const std::string& chain, const Goal& goal) {
  const Chain* moved = context.model.find_chain(chain);
  if (moved == nullptr) {
    return invalid("unknown chain " + chain);
  }
  if (const auto* positions = std::get_if<std::vector<double>>(&goal)) {
    return check_joints(context, *moved, *positions);
  }
  const auto& target = std::get<PoseTarget>(goal);
  if (context.model.actuated_chains(chain, context.actuate).empty()) {
    return invalid("this robot cannot move " + chain + " with that help");
  }
  Outcome checked = check_pose(target.pose);
  return checked ? target_pose(context, chain, target).outcome : checked;
}

Solutions solve_goal(const GoalContext& context, const std::string& chain, const Goal& goal, const Joints& rest,
                     size_t wanted, const Budget& budget) {
  if (Outcome checked = check_goal(context, chain, goal); !checked) {
    return {std::move(checked), {}};
  }
  if (const auto* positions = std::get_if<std::vector<double>>(&goal)) {
    Joints joints = rest;
    const size_t first = context.model.find_chain(chain)->indices.front();
    std::copy(positions->begin(), positions->end(), joints.begin() + static_cast<std::ptrdiff_t>(first));
    return {{}, {std::move(joints)}};
  }
  const auto& target = std::get<PoseTarget>(goal);
  const KDL::Frame pose = target_pose(context, chain, target).pose;
  IkSolver solver(context.model, context.model.actuated_chains(chain, context.actuate),
                  moved_tip(context.scene, chain, target), context.settings, rest);
  constexpr int kMoreTries = 20;  // For further solutions, once there is one.
  Solutions result;
  std::optional<Contact> contact;
  int last = -1;
  for (int n = 0; result.joints.size() < wanted && (last < 0 || n < last) && !budget.over(); ++n) {
    auto joints = solver.descend(solver.seed(rest, n), pose);
    if (!joints) {
      continue;
    }
    const auto now = context.world == nullptr ? std::nullopt : context.world->check(*joints);
    if (now) {
      contact = now;
      continue;
    }
    last = last < 0 ? n + kMoreTries : last;
    result.joints.push_back(std::move(*joints));
  }
  if (result.joints.empty()) {
    result.outcome = failure(budget, chain, contact);
  }
  return result;
}

}  // namespace norvik::simulator::planning
