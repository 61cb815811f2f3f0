#include "cli/complaint.hpp"

#include <iostream>

#include <nlohmann/json.hpp>

#include "cli/options.hpp"

namespace norvik::tools {

int complain(const CommonOptions& common, const Complaint& complaint) {
  if (common.json) {
    std::cout << nlohmann::ordered_json{{"error", complaint.text}, {"hints", complaint.hints}} << std::endl;
    return kFailure;
  }
  std::cerr << "norvik: " << complaint.text << '\n';
  for (const std::string& hint : complaint.hints) {
    std::cerr << "  " << hint << '\n';
  }
  return kFailure;
}

}  // namespace norvik::tools
