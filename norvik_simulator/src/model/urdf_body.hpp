#pragma once

#include <urdf_world/types.h>

#include <vector>

#include "model/body_part.hpp"

namespace norvik::simulator {

// Boxes, cylinders and spheres of all links: what the URDF tells to draw, or, for a link that it draws nothing of, what
// it tells to collide with. Meshes are left out.
std::vector<BodyPart> read_body(const urdf::ModelInterface& model);

}  // namespace norvik::simulator
