#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace norvik::simulator {

// One of the two ways to get depth from the pair of cameras in the head.
struct StereoModule {
  const char* task_name;
  const char* task_id;
  const char* topic;
  int step;                        // pixels from one point of its cloud to the next
  double noise;                    // standard deviation of a depth at one metre, metres; grows with its square
  std::chrono::milliseconds work;  // what it takes from the pictures to the result
};

const std::vector<StereoModule>& stereo_modules();

}  // namespace norvik::simulator
