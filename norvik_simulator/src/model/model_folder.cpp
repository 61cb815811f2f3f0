#include "model/model_folder.hpp"

#include <cstdlib>
#include <filesystem>

namespace norvik::simulator {

std::string model_folder() {
  if (const char* folder = std::getenv("NORVIK_SIMULATOR_MODELS"); folder != nullptr && *folder != '\0') {
    return folder;
  }
  std::error_code error;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  return (executable.parent_path().parent_path() / "share/norvik_simulator/models").string();
}

}  // namespace norvik::simulator
