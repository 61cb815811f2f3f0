#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <nlohmann/json_fwd.hpp>

namespace norvik::simulator {

constexpr int kAudioRate = 16000;  // Samples of one second, one channel of 16 bits; both directions.

// The robot's speaker: takes streams of samples and keeps the volume. Any thread may call.
class Speaker {
 public:
  // Each stream becomes a file there, named after it; none when `folder` is empty.
  explicit Speaker(std::string folder);
  ~Speaker();

  void begin(const std::string& stream);
  // A stream that was not begun begins with its first chunk.
  void play(const std::string& stream, const std::string& samples);
  void end(const std::string& stream);

  // False, and no change, when the text is no object with a number "volume" from 0 to 100.
  bool set_volume(const std::string& text);
  double volume() const;

  // {stream: {"bytes": number, "open": bool}}
  nlohmann::json streams() const;

 private:
  struct Stream;
  Stream& open_stream(const std::string& name);

  const std::string folder_;
  mutable std::mutex mutex_;
  std::map<std::string, std::unique_ptr<Stream>> streams_;
  double volume_ = 50.0;
};

// A name for a file, whatever the wire says: no path, no hidden file, no endless name.
std::string file_name_of_stream(const std::string& stream);

}  // namespace norvik::simulator
