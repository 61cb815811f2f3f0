#include "model/urdf_body.hpp"

#include <urdf_model/model.h>

#include <algorithm>
#include <cmath>

namespace norvik::simulator {

namespace {

using Colour = std::array<uint8_t, 3>;

constexpr Colour kShell = {226, 224, 220};
constexpr Colour kJoint = {92, 84, 78};

KDL::Frame frame_of(const urdf::Pose& pose) {
  const urdf::Rotation& r = pose.rotation;
  return {KDL::Rotation::Quaternion(r.x, r.y, r.z, r.w),
          KDL::Vector(pose.position.x, pose.position.y, pose.position.z)};
}

// Shape and size; false for a mesh.
bool read_shape(const urdf::Geometry& geometry, BodyPart& part) {
  if (const auto* box = dynamic_cast<const urdf::Box*>(&geometry)) {
    part.shape = BodyShape::kBox;
    part.size = {box->dim.x, box->dim.y, box->dim.z};
  } else if (const auto* cylinder = dynamic_cast<const urdf::Cylinder*>(&geometry)) {
    part.shape = BodyShape::kCylinder;
    part.size = {cylinder->radius, cylinder->radius, cylinder->length};
  } else if (const auto* sphere = dynamic_cast<const urdf::Sphere*>(&geometry)) {
    part.shape = BodyShape::kSphere;
    part.size = {sphere->radius, sphere->radius, sphere->radius};
  } else {
    return false;
  }
  return true;
}

uint8_t shade(float value) { return static_cast<uint8_t>(std::lround(255.0F * std::clamp(value, 0.0F, 1.0F))); }

Colour colour_of(const urdf::Visual& visual, const Colour& otherwise) {
  if (!visual.material) {
    return otherwise;
  }
  const urdf::Color& colour = visual.material->color;
  return {shade(colour.b), shade(colour.g), shade(colour.r)};
}

Colour colour_of(const urdf::Collision& /*collision*/, const Colour& otherwise) { return otherwise; }

template <typename Piece>
void add_pieces(const urdf::Link& link, const std::vector<Piece>& pieces, const Colour& colour,
                std::vector<BodyPart>& parts) {
  for (const auto& piece : pieces) {
    BodyPart part;
    if (piece && piece->geometry && read_shape(*piece->geometry, part)) {
      part.link = link.name;
      part.pose = frame_of(piece->origin);
      part.colour = colour_of(*piece, colour);
      parts.push_back(part);
    }
  }
}

// Light shells with dark ones between them let the eye tell the links of an arm apart.
Colour default_colour(const urdf::Link& link, size_t depth) {
  const bool tool = link.name.find("gripper") != std::string::npos || link.name.find("wheel") != std::string::npos;
  return tool || depth % 2 != 0 ? kJoint : kShell;
}

void add_links(const urdf::Link& link, size_t depth, std::vector<BodyPart>& parts) {
  const size_t before = parts.size();
  const Colour colour = default_colour(link, depth);
  add_pieces(link, link.visual_array, colour, parts);
  if (parts.size() == before) {
    add_pieces(link, link.collision_array, colour, parts);
  }
  for (const auto& child : link.child_links) {
    add_links(*child, depth + 1, parts);
  }
}

}  // namespace

std::vector<BodyPart> read_body(const urdf::ModelInterface& model) {
  std::vector<BodyPart> parts;
  add_links(*model.getRoot(), 0, parts);
  return parts;
}

}  // namespace norvik::simulator
