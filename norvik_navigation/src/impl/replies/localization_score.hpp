#pragma once

#include <string_view>

namespace norvik::sdk {

// One report of the localisation.
struct LocalizationScore {
  double time_s = 0.0;  // since the Unix epoch
  float score = 0.0F;   // 0 to 1, higher is better
};

// Reads the JSON text. Throws a std::exception that says what is wrong with it.
LocalizationScore parse_localization_score(std::string_view text);

// What the report counts at `now_s`: its score when it is less than half a second from now, else 0.
float score_at(const LocalizationScore& report, double now_s);

}  // namespace norvik::sdk
