#include "planning/scene/body.hpp"

#include <fcl/geometry/bvh/BVH_model.h>
#include <fcl/geometry/octree/octree.h>
#include <fcl/geometry/shape/box.h>
#include <fcl/geometry/shape/cylinder.h>
#include <fcl/geometry/shape/sphere.h>
#include <fcl/narrowphase/collision.h>
#include <octomap/OcTree.h>

namespace norvik::simulator::planning {

namespace {

using MeshModel = fcl::BVHModel<fcl::OBBRSSd>;

Eigen::Vector3d to_eigen(const KDL::Vector& v) { return {v.x(), v.y(), v.z()}; }

struct MakeGeometry {
  double margin;

  Geometry operator()(const Box& box) const {
    const double grown = 2.0 * margin;
    return std::make_shared<fcl::Boxd>(box.size.x() + grown, box.size.y() + grown, box.size.z() + grown);
  }
  Geometry operator()(const Sphere& sphere) const { return std::make_shared<fcl::Sphered>(sphere.radius + margin); }
  Geometry operator()(const Cylinder& cylinder) const {
    return std::make_shared<fcl::Cylinderd>(cylinder.radius + margin, cylinder.height + 2.0 * margin);
  }
  Geometry operator()(const std::shared_ptr<const Mesh>& mesh) const {
    std::vector<Eigen::Vector3d> vertices;
    for (const KDL::Vector& vertex : mesh->vertices) {
      vertices.push_back(to_eigen(vertex));
    }
    std::vector<fcl::Triangle> triangles;
    for (const Mesh::Triangle& triangle : mesh->triangles) {
      triangles.emplace_back(triangle.corners[0], triangle.corners[1], triangle.corners[2]);
    }
    auto model = std::make_shared<MeshModel>();
    model->beginModel();
    model->addSubModel(vertices, triangles);
    model->endModel();
    model->computeLocalAABB();
    return model;
  }
  Geometry operator()(const std::shared_ptr<const PointCloud>& cloud) const {
    auto tree = std::make_shared<octomap::OcTree>(cloud->resolution);
    for (const KDL::Vector& point : cloud->points) {
      tree->updateNode(
          octomap::point3d(static_cast<float>(point.x()), static_cast<float>(point.y()), static_cast<float>(point.z())),
          true, true);
    }
    tree->updateInnerOccupancy();
    return std::make_shared<fcl::OcTreed>(std::shared_ptr<const octomap::OcTree>(tree));
  }
};

Geometry with_bounds(Geometry geometry) {
  // Bounds are computed once, before threads share the geometry.
  std::const_pointer_cast<fcl::CollisionGeometryd>(geometry)->computeLocalAABB();
  return geometry;
}

}  // namespace

Eigen::Isometry3d to_eigen(const KDL::Frame& frame) {
  Eigen::Isometry3d result = Eigen::Isometry3d::Identity();
  result.linear() = Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(frame.M.data);
  result.translation() = to_eigen(frame.p);
  return result;
}

Geometry make_geometry(const Shape& shape, double margin) {
  return with_bounds(std::visit(MakeGeometry{margin}, shape));
}

bool can_grow(const Shape& shape) {
  return std::holds_alternative<Box>(shape) || std::holds_alternative<Sphere>(shape) ||
         std::holds_alternative<Cylinder>(shape);
}

Body make_body(std::string name, Geometry geometry, const KDL::Frame& pose) {
  const Eigen::Isometry3d placed = to_eigen(pose);
  return {std::move(name), geometry, placed, placed * geometry->aabb_center, geometry->aabb_radius};
}

bool collide(const Body& first, const Eigen::Isometry3d& first_moved, const Body& second,
             const Eigen::Isometry3d& second_moved) {
  const double reach = first.radius + second.radius;
  if ((first_moved * first.middle - second_moved * second.middle).squaredNorm() > reach * reach) {
    return false;
  }
  const fcl::CollisionRequestd request(1, false);
  fcl::CollisionResultd result;
  return fcl::collide(first.geometry.get(), first_moved * first.pose, second.geometry.get(), second_moved * second.pose,
                      request, result) > 0;
}

}  // namespace norvik::simulator::planning
