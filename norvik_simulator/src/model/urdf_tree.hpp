#pragma once

#include <urdf_model/types.h>
#include <urdf_world/types.h>

#include <string>
#include <kdl/tree.hpp>

namespace norvik::simulator {

// Null, with a reason, when the file cannot be read or is no URDF.
urdf::ModelInterfaceSharedPtr read_urdf(const std::string& path, std::string& error);

// The child link of `joint`, as the joint moves it against its parent link; without mass.
KDL::Segment make_segment(const urdf::Joint& joint);

// The links and joints of `model` without masses.
KDL::Tree make_kdl_tree(const urdf::ModelInterface& model);

}  // namespace norvik::simulator
