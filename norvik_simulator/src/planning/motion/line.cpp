#include "planning/motion/line.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "planning/collision/path_check.hpp"

namespace norvik::simulator::planning {

namespace {

constexpr double kStepMetres = 0.01;
constexpr double kStepRadians = 0.03;
constexpr double kLongestJointStep = 0.3;  // A greater one is a jump to another solution.
constexpr size_t kPoseJoints = 6;

// One chain's way, from 0 to 1.
class Track {
 public:
  virtual ~Track() = default;
  virtual double least_points() const = 0;
  // The chain moved on in `joints`; false when it cannot follow.
  virtual bool go_to(double part, Joints& joints) const = 0;
  // Whether a state between two points is where it should be.
  virtual bool holds(double part, const Joints& joints) const = 0;
};

class JointTrack : public Track {
 public:
  JointTrack(const Chain& chain, const Joints& start, std::vector<double> goal)
      : chain_(chain), start_(start), goal_(std::move(goal)) {}
  double least_points() const override { return 1.0; }
  bool go_to(double part, Joints& joints) const override {
    for (size_t i = 0; i < goal_.size(); ++i) {
      const double from = start_[chain_.indices[i]];
      joints[chain_.indices[i]] = from + part * (goal_[i] - from);
    }
    return true;
  }
  bool holds(double, const Joints&) const override { return true; }

 private:
  const Chain& chain_;
  const Joints& start_;
  std::vector<double> goal_;
};

class PoseTrack : public Track {
 public:
  PoseTrack(const GoalContext& context, const std::string& chain, Actuate actuate, const KDL::Frame& tip,
            const KDL::Frame& goal)
      : context_(context),
        chains_(context.model.actuated_chains(chain, actuate)),
        tip_(tip),
        from_(IkSolver(context.model, chains_, tip, context.settings, context.start.joints)
                  .tip_pose(context.start.joints)),
        goal_(goal) {
    axis_ = from_.M * KDL::Vector(0, 0, 1);
    const KDL::Rotation turn = goal.M * from_.M.Inverse();
    angle_ = turn.GetRotAngle(axis_);
  }
  double least_points() const override {
    return std::max((goal_.p - from_.p).Norm() / kStepMetres, std::abs(angle_) / kStepRadians);
  }
  bool go_to(double part, Joints& joints) const override {
    const auto found = IkSolver(context_.model, chains_, tip_, context_.settings, joints).descend(joints, at(part));
    if (found) {
      joints = *found;
    }
    return found.has_value();
  }
  bool holds(double part, const Joints& joints) const override {
    const KDL::Frame wanted = at(part);
    const KDL::Frame is = IkSolver(context_.model, chains_, tip_, context_.settings, joints).tip_pose(joints);
    const KDL::Twist miss = KDL::diff(is, wanted);
    return miss.vel.Norm() <= allowed() && miss.rot.Norm() <= 0.005;
  }

 private:
  KDL::Frame at(double part) const {
    return {KDL::Rotation::Rot2(axis_, part * angle_) * from_.M, from_.p + part * (goal_.p - from_.p)};
  }
  double allowed() const {
    constexpr double kStraight = 0.0005;
    const LineSettings& line = context_.settings.line;
    const double set = line.line_check_primitive_type == LinePrimitive::kCylinder
                           ? line.cylinder_prim_radius
                           : line.line_prim_curvature * (goal_.p - from_.p).Norm();
    return set > 0.0 ? std::clamp(set, 2e-5, kStraight) : kStraight;
  }

  const GoalContext& context_;
  std::vector<const Chain*> chains_;
  KDL::Frame tip_;
  KDL::Frame from_;
  KDL::Frame goal_;
  KDL::Vector axis_;
  double angle_;
};

using Tracks = std::vector<std::unique_ptr<Track>>;

std::unique_ptr<Track> make_track(const GoalContext& context, const LineGoal& line) {
  const Chain& chain = *context.model.find_chain(line.chain);
  if (const auto* target = std::get_if<PoseTarget>(&line.goal)) {
    return std::make_unique<PoseTrack>(context, line.chain, line.actuate, moved_tip(context.scene, line.chain, *target),
                                       target_pose(context, line.chain, *target).pose);
  }
  const auto& positions = std::get<std::vector<double>>(line.goal);
  if (chain.joints.size() < kPoseJoints) {
    return std::make_unique<JointTrack>(chain, context.start.joints, positions);
  }
  Joints there = context.start.joints;
  std::copy(positions.begin(), positions.end(), there.begin() + static_cast<std::ptrdiff_t>(chain.indices.front()));
  const KDL::Frame pose = context.model.link_pose(*context.model.link_index(chain.end_effector_link), there);
  return std::make_unique<PoseTrack>(context, line.chain, line.actuate, KDL::Frame::Identity(), pose);
}

double longest_step(const Joints& from, const Joints& to) {
  double longest = 0.0;
  for (size_t i = 0; i < from.size(); ++i) {
    longest = std::max(longest, std::abs(to[i] - from[i]));
  }
  return longest;
}

std::string percent(double part) { return std::to_string(static_cast<int>(std::lround(part * 100.0))) + " %"; }

// Points from 0 to 1; `straight` tells whether the way between them is good enough.
LineResult follow(const GoalContext& context, const Tracks& tracks, double count, const Budget& budget,
                  bool& straight) {
  LineResult result{{}, {context.start.joints}};
  straight = true;
  for (double i = 1.0; i <= count; ++i) {
    if (budget.over()) {
      return {{budget.interrupted() ? Reason::kInterrupted : Reason::kNoPath, "no line within the planning time"}, {}};
    }
    Joints joints = result.points.back();
    const Joints before = joints;
    for (const auto& track : tracks) {
      if (!track->go_to(i / count, joints)) {
        return {{Reason::kNotStraight, "the line cannot be followed beyond " + percent((i - 1.0) / count)}, {}};
      }
    }
    const Joints middle = between(before, joints, 0.5);
    straight = straight && longest_step(before, joints) <= kLongestJointStep &&
               std::all_of(tracks.begin(), tracks.end(),
                           [&](const auto& track) { return track->holds((i - 0.5) / count, middle); });
    result.points.push_back(std::move(joints));
  }
  return result;
}

}  // namespace

LineResult follow_lines(const GoalContext& context, const std::vector<LineGoal>& goals, const Budget& budget) {
  Tracks tracks;
  const double wanted = context.settings.timing.move_line_intermediate_point;
  constexpr double kMostPoints = 10'000.0;
  double count = std::isfinite(wanted) ? std::clamp(std::ceil(wanted), 1.0, kMostPoints) : 1.0;
  for (const LineGoal& goal : goals) {
    tracks.push_back(make_track(context, goal));
    count = std::max(count, std::ceil(tracks.back()->least_points()));
  }
  constexpr int kFiner = 4;
  for (int n = 0; n < kFiner; ++n, count *= 2.0) {
    bool straight = false;
    LineResult result = follow(context, tracks, count, budget, straight);
    if (!result.outcome || straight) {
      return result;
    }
  }
  return {{Reason::kNotStraight, "the joints would have to jump to follow the line"}, {}};
}

}  // namespace norvik::simulator::planning
