#pragma once

#include <string>

#include "cli/options.hpp"
#include "doctor/finding.hpp"

namespace norvik::tools {

// Joins the network, looks and listens for a few seconds, and tells what it finds there. `model` may be empty.
Findings examine_network(const CommonOptions& common, const std::string& model);

}  // namespace norvik::tools
