#pragma once

#include <string>
#include <vector>

namespace norvik::tools {

// The few of `candidates` that somebody who typed `name` may have meant, best first.
std::vector<std::string> near_names(const std::string& name, const std::vector<std::string>& candidates);

}  // namespace norvik::tools
