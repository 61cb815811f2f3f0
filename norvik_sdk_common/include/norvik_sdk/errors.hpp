#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace norvik::sdk {

// One error of the whole-body controller, or of this library about a refused request.
struct Error {
  std::string component;    // who reports; "<group>_max_error_level" for the worst error of a joint group
  uint64_t code = 0;        // level in the bits above the lowest sixteen: 0x30000 and above are fatal
  std::string description;  // free text
};

// One report: everything that is wrong at `timestamp_ns`. No errors means all is well.
struct ErrorInfo {
  int64_t timestamp_ns = 0;
  std::vector<Error> errors;
};

}  // namespace norvik::sdk
