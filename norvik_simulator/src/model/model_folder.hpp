#pragma once

#include <string>

namespace norvik::simulator {

// Where the robot models are: NORVIK_SIMULATOR_MODELS, or the folder that belongs to the executable.
std::string model_folder();

}  // namespace norvik::simulator
