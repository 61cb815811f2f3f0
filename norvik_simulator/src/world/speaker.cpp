#include "world/speaker.hpp"

#include <cctype>
#include <cmath>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sndfile.hh>

namespace norvik::simulator {

namespace {

constexpr size_t kLongestName = 80;

}  // namespace

struct Speaker::Stream {
  uint64_t bytes = 0;
  bool open = true;
  SndfileHandle file;
};

std::string file_name_of_stream(const std::string& stream) {
  std::string name = stream.substr(0, kLongestName);
  for (char& c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-') {
      c = '_';
    }
  }
  return name + ".wav";
}

Speaker::Speaker(std::string folder) : folder_(std::move(folder)) {}
Speaker::~Speaker() = default;

Speaker::Stream& Speaker::open_stream(const std::string& name) {
  auto& stream = streams_[name];
  if (!stream || !stream->open) {
    stream = std::make_unique<Stream>();
    if (!folder_.empty()) {
      const std::string path = folder_ + "/" + file_name_of_stream(name);
      stream->file = SndfileHandle(path, SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, kAudioRate);
      if (stream->file.error() != 0) {
        std::cerr << "norvik_simulator: cannot write " << path << ": " << stream->file.strError() << '\n';
      }
    }
  }
  return *stream;
}

void Speaker::begin(const std::string& stream) {
  const std::lock_guard<std::mutex> lock(mutex_);
  open_stream(stream);
}

void Speaker::play(const std::string& stream, const std::string& samples) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Stream& target = open_stream(stream);
  target.bytes += samples.size();
  if (target.file) {
    target.file.writeRaw(samples.data(), static_cast<sf_count_t>(samples.size() / 2 * 2));
  }
}

void Speaker::end(const std::string& stream) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto it = streams_.find(stream);
  if (it != streams_.end()) {
    it->second->open = false;
    it->second->file = SndfileHandle();  // Writes the length into the file.
  }
}

bool Speaker::set_volume(const std::string& text) {
  const auto wanted = nlohmann::json::parse(text, nullptr, false);
  if (!wanted.is_object() || !wanted.contains("volume") || !wanted["volume"].is_number()) {
    return false;
  }
  const double volume = wanted["volume"].get<double>();
  if (!(volume >= 0.0 && volume <= 100.0)) {
    return false;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  volume_ = volume;
  return true;
}

double Speaker::volume() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return volume_;
}

nlohmann::json Speaker::streams() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  nlohmann::json result = nlohmann::json::object();
  for (const auto& [name, stream] : streams_) {
    result[name] = {{"bytes", stream->bytes}, {"open", stream->open}};
  }
  return result;
}

}  // namespace norvik::simulator
