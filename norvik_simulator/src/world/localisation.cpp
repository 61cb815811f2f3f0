#include "world/localisation.hpp"

#include <cmath>

namespace norvik::simulator {

namespace {

constexpr double kBestScore = 0.98;
constexpr double kDistanceScale = 0.25;  // m; some 0.14 m away the score falls below 0.75
constexpr double kAngleScale = 0.25;     // rad
constexpr double kCaptureDistance = 1.0;
constexpr double kCaptureAngle = 0.8;

struct Error {
  double distance;
  double angle;
};

Error error_between(const PlanarPose& a, const PlanarPose& b) {
  return {std::hypot(a.x - b.x, a.y - b.y), std::abs(wrap_angle(a.yaw - b.yaw))};
}

}  // namespace

void Localisation::push(const PlanarPose& odometry, const PlanarPose& displacement) {
  true_origin_ = compose(compose(truth(odometry), displacement), inverse(odometry));
}

void Localisation::relocalise(const PlanarPose& odometry, const PlanarPose& guess) {
  const Error error = error_between(guess, truth(odometry));
  const bool locks_in = error.distance <= kCaptureDistance && error.angle <= kCaptureAngle;
  origin_ = locks_in ? true_origin_ : compose(guess, inverse(odometry));
}

double Localisation::score(const PlanarPose& odometry) const {
  const Error error = error_between(believed(odometry), truth(odometry));
  const double misfit = std::pow(error.distance / kDistanceScale, 2) + std::pow(error.angle / kAngleScale, 2);
  return kBestScore / (1.0 + misfit);
}

}  // namespace norvik::simulator
