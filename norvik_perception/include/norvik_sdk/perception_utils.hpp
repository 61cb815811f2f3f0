#pragma once

// Needs the headers of Eigen, which link target norvik_sdk::perception brings.
#include <Eigen/Core>

#include <norvik_sdk/export.hpp>

namespace PerceptionUtils {

// Renames the axes of an object's pose, so that objects that lie alike get poses alike: of the six directions x, y, z,
// -x, -y, -z of the given pose, the new x axis is the one nearest to (0, 0, -1), the new y axis the one nearest to
// (0, 1, 0), and the new z axis the one nearest to (1, 0, 0); of directions equally near, the first of that list.
//   pose  homogeneous matrix in the frame of the camera
// The axes are chosen independently and made unit vectors: for a pose turned by more than 45 degrees against the
// references the result need not be a rotation. The translation stays. Does not block; safe from any thread.
NORVIK_SDK_EXPORT Eigen::Matrix4f correct_quaternion_to_x_forward(const Eigen::Matrix4f& pose);

}  // namespace PerceptionUtils
