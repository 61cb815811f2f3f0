#include "cli/complaint.hpp"

#include <iostream>

#include <nlohmann/json.hpp>

#include "cli/interrupt.hpp"
#include "cli/options.hpp"
#include "cli/output.hpp"

namespace norvik::tools {

int complain(const CommonOptions& common, const Complaint& complaint) {
  if (is_interrupted()) {
    return kFailure;  // Nobody waits for the reason.
  }
  if (common.json) {
    print_json({{"error", complaint.text}, {"hints", complaint.hints}});
    return kFailure;
  }
  std::cerr << "norvik: " << without_controls(complaint.text) << '\n';
  for (const std::string& hint : complaint.hints) {
    std::cerr << "  " << without_controls(hint) << '\n';
  }
  return kFailure;
}

}  // namespace norvik::tools
