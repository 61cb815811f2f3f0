#pragma once

#include <urdf_world/types.h>

#include <string>
#include <kdl/tree.hpp>

namespace norvik::simulator {

// Null, with a reason, when the file cannot be read or is no URDF.
urdf::ModelInterfaceSharedPtr read_urdf(const std::string& path, std::string& error);

// The links and joints of `model` without masses.
KDL::Tree make_kdl_tree(const urdf::ModelInterface& model);

}  // namespace norvik::simulator
