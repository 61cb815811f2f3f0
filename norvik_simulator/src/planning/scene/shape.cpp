#include "planning/scene/shape.hpp"

#include <algorithm>
#include <cmath>

namespace norvik::simulator::planning {

namespace {

constexpr double kDefaultResolution = 0.02;

Outcome invalid(std::string description) { return {Reason::kInvalidInput, std::move(description)}; }

bool finite(const KDL::Vector& v) { return std::isfinite(v.x() + v.y() + v.z()); }

Outcome check_sizes(std::initializer_list<double> sizes) {
  const bool good = std::all_of(sizes.begin(), sizes.end(), [](double s) { return std::isfinite(s) && s > 0.0; });
  return good ? Outcome{} : invalid("sizes must be numbers above 0");
}

struct CheckShape {
  Outcome operator()(const Box& box) const { return check_sizes({box.size.x(), box.size.y(), box.size.z()}); }
  Outcome operator()(const Sphere& sphere) const { return check_sizes({sphere.radius}); }
  Outcome operator()(const Cylinder& cylinder) const { return check_sizes({cylinder.radius, cylinder.height}); }
  Outcome operator()(const std::shared_ptr<const Mesh>& mesh) const {
    if (!mesh || mesh->triangles.empty()) {
      return invalid("the mesh has no triangles");
    }
    const auto good = [&](const Mesh::Triangle& triangle) {
      return std::all_of(std::begin(triangle.corners), std::end(triangle.corners), [&](size_t corner) {
        return corner < mesh->vertices.size() && finite(mesh->vertices[corner]);
      });
    };
    return std::all_of(mesh->triangles.begin(), mesh->triangles.end(), good)
               ? Outcome{}
               : invalid("a triangle of the mesh has a corner that is missing or no number");
  }
  Outcome operator()(const std::shared_ptr<const PointCloud>& cloud) const {
    if (!cloud || cloud->points.empty()) {
      return invalid("the point cloud is empty");
    }
    return std::all_of(cloud->points.begin(), cloud->points.end(), finite) ? check_sizes({cloud->resolution})
                                                                           : invalid("a point is no number");
  }
};

}  // namespace

Outcome check_shape(const Shape& shape) { return std::visit(CheckShape{}, shape); }

ShapeResult make_point_cloud(std::vector<KDL::Vector> points, double resolution) {
  points.erase(std::remove_if(points.begin(), points.end(), [](const auto& p) { return !finite(p); }), points.end());
  auto cloud = std::make_shared<PointCloud>();
  cloud->points = std::move(points);
  cloud->resolution = resolution > 0.0 && std::isfinite(resolution) ? resolution : kDefaultResolution;
  Shape shape = std::shared_ptr<const PointCloud>(std::move(cloud));
  Outcome checked = check_shape(shape);
  return {std::move(checked), std::move(shape)};
}

}  // namespace norvik::simulator::planning
