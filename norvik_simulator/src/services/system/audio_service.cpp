// A microphone that hears a tone, and the speaker.
#include <array>
#include <cmath>
#include <functional>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>

#include "norvik/sensor_proto/microphone.pb.h"
#include "services/sensors/sensor_moment.hpp"
#include "services/services.hpp"
#include "wire/publisher.hpp"
#include "wire/state_messages.hpp"
#include "world/speaker.hpp"

namespace norvik::simulator {

namespace {

using sensor_proto::Audio;

constexpr double kChunkHertz = 50.0;
constexpr double kTone = 440.0;  // Hz
constexpr double kLoudness = 8000.0;
constexpr size_t kChunkSamples = kAudioRate / 50;

std::shared_ptr<Audio> make_audio(const core_proto::Timestamp& stamp, const char* type, const char* format,
                                  uint32_t seq) {
  auto audio = std::make_shared<Audio>();
  set_header(*audio->mutable_header(), stamp, "mic", seq);
  audio->set_type(type);
  audio->set_format(format);
  return audio;
}

class AudioService : public Service {
 public:
  explicit AudioService(Environment& environment)
      : speaker_(environment.speaker),
        faults_(environment.faults),
        microphone_(environment, kMicrophoneTopic),
        answers_(environment, kMicrophoneTopic),
        reader_(environment.node.CreateReader<Audio>(
            kSpeakerTopic, [this](const std::shared_ptr<Audio>& audio, const void*) { hear(*audio); }, {})) {}

  void tick(const Tick& tick) override {
    if (regular_.due(tick.time)) {
      send_chunk(tick.stamp);
    }
  }

 private:
  void send_chunk(const core_proto::Timestamp& stamp) {
    std::array<int16_t, kChunkSamples> samples{};
    for (int16_t& sample : samples) {
      const double phase = 2.0 * M_PI * kTone * static_cast<double>(sample_count_++) / kAudioRate;
      sample = static_cast<int16_t>(kLoudness * std::sin(phase));
    }
    if (microphone_.has_readers()) {
      const auto audio = make_audio(stamp, "mic_chunk", "pcm", ++seq_);
      audio->set_data(samples.data(), sizeof(samples));
      microphone_.publish(audio);
    }
  }

  void hear(const Audio& audio) {
    faults_.count(kSpeakerTopic);
    const std::string& stream = audio.header().frame_id();
    const std::map<std::string, std::function<void()>> actions = {
        {"spk_begin", [&] { speaker_.begin(stream); }}, {"spk_chunk", [&] { speaker_.play(stream, audio.data()); }},
        {"spk_end", [&] { speaker_.end(stream); }},     {"spk_volume_set", [&] { set_volume(audio.data()); }},
        {"spk_volume_get", [&] { answer_volume(); }},
    };
    const auto action = actions.find(audio.type());
    if (action != actions.end()) {
      action->second();
    } else {
      std::cerr << "norvik_simulator: the speaker got audio of an unknown type\n";
    }
  }

  void set_volume(const std::string& text) {
    if (!speaker_.set_volume(text)) {
      std::cerr << "norvik_simulator: the speaker got a volume that is none\n";
    }
  }

  void answer_volume() {
    const auto answer = make_audio(now_stamp(), "spk_volume_get", "json", ++answer_seq_);
    answer->set_data(nlohmann::json{{"volume", speaker_.volume()}}.dump());
    answers_.publish(answer);
  }

  Speaker& speaker_;
  WireFaults& faults_;
  Publisher<Audio> microphone_;  // The stepping thread's.
  Publisher<Audio> answers_;     // The reader's.
  Periodic regular_{kChunkHertz};
  uint64_t sample_count_ = 0;
  uint32_t seq_ = 0;
  uint32_t answer_seq_ = 0;
  std::shared_ptr<ovimux::ReaderBase> reader_;  // Last: its callback uses the others.
};

}  // namespace

std::unique_ptr<Service> make_audio_service(Environment& environment) {
  return std::make_unique<AudioService>(environment);
}

}  // namespace norvik::simulator
