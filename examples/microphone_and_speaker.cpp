// Records two seconds of the robot's microphone and plays them on its speaker, at half the volume.

#include <mutex>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kDuration = 2.0;  // seconds
constexpr float kVolume = 50.0F;   // percent

// Filled by a thread of the library.
class Recording {
 public:
  void add(const AudioData& chunk) {
    const std::lock_guard<std::mutex> lock(mutex_);
    chunks_.emplace_back(chunk.data.begin(), chunk.data.end());
  }
  std::vector<std::string> chunks() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return chunks_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> chunks_;
};

std::vector<std::string> record(NorvikRobot& robot) {
  // Shared: a last chunk may come while the stream is being stopped.
  const auto recording = std::make_shared<Recording>();
  const auto stream = robot.start_microphone_stream_input([recording](const auto& chunk) { recording->add(*chunk); });
  examples::sleep_s(kDuration);
  robot.stop_microphone_stream_input(stream);
  return recording->chunks();
}

bool play(NorvikRobot& robot, const std::vector<std::string>& chunks) {
  bool sent = true;
  for (const std::string& chunk : chunks) {
    sent = robot.write_audio_stream_output(chunk, "echo") && sent;
  }
  robot.stop_audio_stream_output("echo");
  return sent;
}

bool echo(NorvikRobot& robot) {
  const auto chunks = record(robot);
  std::cout << "Recorded " << chunks.size() << " chunks" << std::endl;
  const bool set = robot.set_volume(kVolume);
  std::cout << "Volume: " << robot.get_volume() << std::endl;
  const bool played = play(robot, chunks);
  std::cout << (played ? "Played them." : "Could not play them.") << std::endl;
  return !chunks.empty() && set && played;
}

}  // namespace

int main() { return examples::run(echo); }
