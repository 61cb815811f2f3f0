#include "impl/replies/localization_score.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace norvik::sdk {

namespace {

constexpr double kMicrosecondsPerSecond = 1e6;
constexpr double kMostDistanceS = 0.5;

}  // namespace

LocalizationScore parse_localization_score(std::string_view text) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  const auto report = nlohmann::json::parse(text);
  const double score = report.at("score").get<double>();
  return {report.at("timestamp").get<double>() / kMicrosecondsPerSecond,
          static_cast<float>(std::clamp(score, -kLargest, kLargest))};
}

float score_at(const LocalizationScore& report, double now_s) {
  return std::abs(now_s - report.time_s) < kMostDistanceS ? report.score : 0.0F;
}

}  // namespace norvik::sdk
