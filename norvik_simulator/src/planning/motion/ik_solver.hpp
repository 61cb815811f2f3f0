#pragma once

#include <optional>
#include <random>
#include <vector>
#include <kdl/chain.hpp>
#include <kdl/jntarray.hpp>

#include "planning/basis/planning_model.hpp"
#include "planning/basis/planning_settings.hpp"

namespace norvik::simulator::planning {

// Finds joints of chains that put a link at a pose. Not for several threads.
class IkSolver {
 public:
  // `tip`: what is to be at the pose, in the last chain's end effector link. Joints that no chain of `chains` has stay
  // as in `rest`.
  IkSolver(const PlanningModel& model, const std::vector<const Chain*>& chains, const KDL::Frame& tip,
           const Settings& settings, const Joints& rest);

  // One descent from `seed` to `pose` in the base link, whole bodies. Milliseconds. Empty when it ends elsewhere.
  std::optional<Joints> descend(const Joints& seed, const KDL::Frame& pose) const;

  // A seed for the n-th try, n from 0: `near` itself first, farther away from try to try, as the settings want it.
  Joints seed(const Joints& near, int n);

  KDL::Frame tip_pose(const Joints& joints) const;

 private:
  KDL::JntArray approach(KDL::JntArray joints, const KDL::Frame& pose) const;
  bool is_at(const Joints& joints, const KDL::Frame& pose) const;

  const PlanningModel& model_;
  IkSettings settings_;
  size_t link_;
  KDL::Frame tip_;
  Joints rest_;
  std::vector<size_t> indices_;  // In the order of chain_.
  KDL::Chain chain_;
  KDL::JntArray lower_;
  KDL::JntArray upper_;
  std::mt19937 random_;
};

}  // namespace norvik::simulator::planning
