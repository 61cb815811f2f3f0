#include "planning/motion/ik_solver.hpp"

#include <algorithm>
#include <cmath>
#include <Eigen/Dense>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainjnttojacsolver.hpp>

#include "planning/motion/joint_bounds.hpp"

namespace norvik::simulator::planning {

namespace {

constexpr double kExactMetres = 1e-5;
constexpr double kExactRadians = 1e-4;

using Vector6 = Eigen::Matrix<double, 6, 1>;

}  // namespace

IkSolver::IkSolver(const PlanningModel& model, const std::vector<const Chain*>& chains, const KDL::Frame& tip,
                   const Settings& settings, const Joints& rest)
    : model_(model),
      settings_(settings.ik),
      link_(*model.link_index(chains.back()->end_effector_link)),
      tip_(tip),
      rest_(rest) {
  std::vector<size_t> free;
  for (const Chain* chain : chains) {
    free.insert(free.end(), chain->indices.begin(), chain->indices.end());
  }
  std::vector<size_t> road;
  for (size_t link = link_; link != 0; link = model.parent(link)) {
    road.insert(road.begin(), link);
  }
  for (const size_t link : road) {
    const auto joint = model.joint_before(link);
    if (joint && std::find(free.begin(), free.end(), *joint) != free.end()) {
      indices_.push_back(*joint);
      chain_.addSegment(model.segment(link));
    } else {
      chain_.addSegment(
          KDL::Segment(KDL::Joint(KDL::Joint::Fixed), model.segment(link).pose(joint ? rest[*joint] : 0.0)));
    }
  }
  chain_.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::Fixed), tip));
  lower_.resize(static_cast<unsigned>(indices_.size()));
  upper_.resize(static_cast<unsigned>(indices_.size()));
  const Bounds bounds = joint_bounds(model, settings.ik_limits, indices_);
  for (unsigned i = 0; i < indices_.size(); ++i) {
    const double bias = std::min(settings_.col_aware_ik_joint_limit_bias, (bounds.upper[i] - bounds.lower[i]) / 2.0);
    lower_(i) = bounds.lower[i] + bias;
    upper_(i) = bounds.upper[i] - bias;
  }
}

KDL::Frame IkSolver::tip_pose(const Joints& joints) const { return model_.link_pose(link_, joints) * tip_; }

bool IkSolver::is_at(const Joints& joints, const KDL::Frame& pose) const {
  const KDL::Twist miss = KDL::diff(tip_pose(joints), pose);
  for (int i = 0; i < 3; ++i) {
    const auto axis = static_cast<size_t>(i);
    if (std::abs(miss.vel(i)) > std::max(settings_.translation_eps[axis], kExactMetres) ||
        std::abs(miss.rot(i)) > std::max(settings_.rotation_eps[axis], kExactRadians)) {
      return false;
    }
  }
  return true;
}

// Levenberg and Marquardt's steps, cut off at the limits: a joint that is at one and would leave it stays where it is.
KDL::JntArray IkSolver::approach(KDL::JntArray joints, const KDL::Frame& pose) const {
  constexpr int kIterations = 80;
  constexpr double kLeastDamping = 1e-9;
  constexpr double kMostDamping = 1e3;
  KDL::ChainFkSolverPos_recursive forward(chain_);
  KDL::ChainJntToJacSolver jacobian_solver(chain_);
  KDL::Jacobian jacobian(joints.rows());
  const auto miss_of = [&](const KDL::JntArray& at) {
    KDL::Frame reached;
    forward.JntToCart(at, reached);
    const KDL::Twist miss = KDL::diff(reached, pose);
    return Vector6(
        (Vector6() << miss.vel.x(), miss.vel.y(), miss.vel.z(), miss.rot.x(), miss.rot.y(), miss.rot.z()).finished());
  };
  Vector6 miss = miss_of(joints);
  double damping = 1e-3;
  for (int i = 0; i < kIterations && damping < kMostDamping; ++i) {
    if (miss.head<3>().norm() < kExactMetres / 2.0 && miss.tail<3>().norm() < kExactRadians / 2.0) {
      break;
    }
    jacobian_solver.JntToJac(joints, jacobian);
    Eigen::MatrixXd steep = jacobian.data;
    const Eigen::VectorXd wanted = steep.transpose() * miss;
    for (unsigned q = 0; q < joints.rows(); ++q) {
      if ((joints(q) <= lower_(q) && wanted(q) < 0.0) || (joints(q) >= upper_(q) && wanted(q) > 0.0)) {
        steep.col(q).setZero();
      }
    }
    const Eigen::MatrixXd normal =
        steep.transpose() * steep + damping * Eigen::MatrixXd::Identity(steep.cols(), steep.cols());
    const Eigen::VectorXd step = normal.ldlt().solve(steep.transpose() * miss);
    KDL::JntArray next = joints;
    for (unsigned q = 0; q < joints.rows(); ++q) {
      next(q) = std::clamp(joints(q) + step(q), lower_(q), upper_(q));
    }
    const Vector6 nearer = miss_of(next);
    if (nearer.squaredNorm() < miss.squaredNorm()) {
      joints = next;
      miss = nearer;
      damping = std::max(kLeastDamping, damping / 10.0);
    } else {
      damping *= 10.0;
    }
  }
  return joints;
}

std::optional<Joints> IkSolver::descend(const Joints& seed, const KDL::Frame& pose) const {
  KDL::JntArray from(lower_.rows());
  for (unsigned i = 0; i < from.rows(); ++i) {
    from(i) = std::clamp(seed[indices_[i]], lower_(i), upper_(i));
  }
  const KDL::JntArray found = approach(from, pose);
  Joints joints = rest_;
  for (unsigned i = 0; i < found.rows(); ++i) {
    joints[indices_[i]] = found(i);
  }
  const bool finite = std::all_of(joints.begin(), joints.end(), [](double q) { return std::isfinite(q); });
  return finite && is_at(joints, pose) ? std::optional(std::move(joints)) : std::nullopt;
}

Joints IkSolver::seed(const Joints& near, int n) {
  constexpr double kTriesToAnywhere = 20.0;
  constexpr double kUserSpread = 0.1;
  const double spread = settings_.seed_type == SeedType::kRandom        ? 1.0
                        : settings_.seed_type == SeedType::kUserDefined ? (n == 0 ? 0.0 : kUserSpread)
                                                                        : std::min(1.0, n / kTriesToAnywhere);
  Joints result = near;
  for (unsigned i = 0; i < indices_.size(); ++i) {
    const double anywhere = std::uniform_real_distribution<>(lower_(i), std::max(lower_(i), upper_(i)))(random_);
    double& q = result[indices_[i]];
    q += spread * (anywhere - q);
  }
  return result;
}

}  // namespace norvik::simulator::planning
