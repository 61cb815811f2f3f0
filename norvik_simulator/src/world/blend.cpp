#include "world/blend.hpp"

#include "norvik/tavrinox_proto/tavrinox_target.pb.h"

namespace norvik::simulator {

namespace {

namespace proto = norvik::tavrinox_proto;

double direct(double) { return 1.0; }
double linear(double t) { return t; }
double cubic(double t) { return t * t * (3.0 - 2.0 * t); }
double quintic(double t) { return t * t * t * (10.0 + t * (6.0 * t - 15.0)); }
double septic(double t) { return t * t * t * t * (35.0 + t * (t * (70.0 - 20.0 * t) - 84.0)); }

// A quarter of the time to speed up, a quarter to slow down.
double trapezoid(double t) {
  constexpr double kRamp = 0.25;
  constexpr double kSpeed = 1.0 / (1.0 - kRamp);
  if (t < kRamp) {
    return kSpeed * t * t / (2.0 * kRamp);
  }
  if (t > 1.0 - kRamp) {
    return 1.0 - kSpeed * (1.0 - t) * (1.0 - t) / (2.0 * kRamp);
  }
  return kSpeed * (t - kRamp / 2.0);
}

struct SamplingBlend {
  int32_t sampling;
  Blend blend;
};

constexpr SamplingBlend kBlends[] = {
    {proto::TARGET_SAMPLING_DEFAULT, linear},
    {proto::TARGET_SAMPLING_DIRECT_PASS, direct},
    {proto::TARGET_SAMPLING_LINEAR_INTERPOLATE, linear},
    {proto::TARGET_SAMPLING_TRAPEZOIDAL_PROFILE, trapezoid},
    {proto::TARGET_SAMPLING_S_CURVE_PROFILE, septic},
    {proto::TARGET_SAMPLING_CUBIC_SPLINES, cubic},
    {proto::TARGET_SAMPLING_QUINTIC_SPLINES, quintic},
};

}  // namespace

Blend find_blend(int32_t sampling) {
  for (const SamplingBlend& entry : kBlends) {
    if (entry.sampling == sampling) {
      return entry.blend;
    }
  }
  return nullptr;
}

Blend direct_pass() { return direct; }

}  // namespace norvik::simulator
