#pragma once

#include <string>
#include <vector>

namespace norvik::tools {

struct CommonOptions;

// Why a verb could not do its work, and what the user can try.
struct Complaint {
  std::string text;
  std::vector<std::string> hints;
};

// Prints it, on the standard error or as JSON on the standard output. Says nothing when interrupted.
// Returns the exit status of a failure.
int complain(const CommonOptions& common, const Complaint& complaint);

}  // namespace norvik::tools
