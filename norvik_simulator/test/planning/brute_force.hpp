#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>
#include <Eigen/Geometry>

#include "model/kinematics.hpp"
#include "planning/planner.hpp"

namespace norvik::simulator::planning {

// Whether two boxes overlap by more than `slack` metres along every axis that could separate them: no library, no
// cache.
struct TestBox {
  Eigen::Isometry3d pose;
  Eigen::Vector3d half;
};

inline bool overlap(const TestBox& a, const TestBox& b, double slack) {
  std::vector<Eigen::Vector3d> axes;
  for (int i = 0; i < 3; ++i) {
    axes.push_back(a.pose.linear().col(i));
    axes.push_back(b.pose.linear().col(i));
    for (int j = 0; j < 3; ++j) {
      axes.push_back(a.pose.linear().col(i).cross(b.pose.linear().col(j)));
    }
  }
  for (const Eigen::Vector3d& raw : axes) {
    if (raw.norm() < 1e-6) {
      continue;
    }
    const Eigen::Vector3d axis = raw.normalized();
    const double reach = (a.pose.linear().transpose() * axis).cwiseAbs().dot(a.half) +
                         (b.pose.linear().transpose() * axis).cwiseAbs().dot(b.half);
    if (std::abs(axis.dot(a.pose.translation() - b.pose.translation())) > reach - slack) {
      return false;
    }
  }
  return true;
}

inline TestBox box_at(const KDL::Frame& pose, const KDL::Vector& size) {
  TestBox box{Eigen::Isometry3d::Identity(), {size.x() / 2, size.y() / 2, size.z() / 2}};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      box.pose.linear()(row, column) = pose.M(row, column);
    }
    box.pose.translation()(row) = pose.p(row);
  }
  return box;
}

}  // namespace norvik::simulator::planning
