#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <norvik_sdk/norvik_robot.hpp>

#include "data_buffer.hpp"
#include "norvik/sensor_proto/microphone.pb.h"
#include "ovimux/base/reader_base.hpp"
#include "ovimux/base/writer_base.hpp"
#include "ovimux/core/shared_mutex.hpp"
#include "ovimux/dds/callback_gate.hpp"

namespace norvik::ovimux {
class Node;
}

namespace norvik::sdk {

// One open microphone stream.
struct AudioStreamHandle {
  std::function<void(std::shared_ptr<AudioData>)> callback;
  int chunk_size = 0;          // As the user asked for; the robot decides the size of chunks.
  bool use_raw_audio = false;  // As the user asked for; has no effect.
  std::string stream_id;
  DataBuffer<AudioData> latest;
  ovimux::CallbackGate gate;  // Closed when the stream is stopped; the callback runs inside.
};

// Microphone and speaker: one topic in and one topic out.
class AudioBase : public virtual NorvikRobot {
 public:
  AudioBase();
  ~AudioBase() override;

  // Opens the channels at the first call; every call returns how that went.
  bool audio_base_init();

  std::string start_microphone_stream_input(std::function<void(std::shared_ptr<AudioData>)> callback, int chunk_size,
                                            bool use_raw_audio) override;
  void stop_microphone_stream_input(const std::string& stream_id) override;
  bool write_audio_stream_output(const std::string& audio_chunk, const std::string& stream_id) override;
  void stop_audio_stream_output(const std::string& stream_id) override;
  float get_volume() override;
  bool set_volume(float volume) override;

 protected:
  using AudioWriter = ovimux::SerializationWriter<sensor_proto::Audio>;

  // Runs on workers of the middleware; calls the users' callbacks without a lock.
  void audio_subscription_callback(const std::shared_ptr<sensor_proto::Audio>& message);

  // The latest chunk of a microphone stream; empty when there is none.
  std::shared_ptr<AudioData> get_audio_data(const std::string& stream_id) const;

  std::shared_ptr<AudioWriter> audio_writer_;

 private:
  bool open_channels();
  using Streams = std::vector<std::shared_ptr<AudioStreamHandle>>;
  Streams take_streams(const std::string& stream_id);
  Streams open_streams() const;
  void take_volume_answer(const sensor_proto::Audio& message);
  void deliver(const std::shared_ptr<AudioData>& data);
  bool publish(const std::string& stream_id, const char* type, const std::string& data);

  std::once_flag init_once_;
  bool init_success_ = false;  // Written and read through init_once_ only.
  std::unique_ptr<ovimux::Node> node_;
  std::shared_ptr<ovimux::SerializationReader<sensor_proto::Audio>> audio_reader_;

  mutable ovimux::SharedMutex streams_mutex_;  // Guards streams_; never held while callbacks run.
  std::unordered_map<std::string, std::shared_ptr<AudioStreamHandle>> streams_;

  ovimux::SharedMutex speaker_mutex_;  // Guards open_speaker_streams_; held while a stream's begin or end goes out.
  std::unordered_set<std::string> open_speaker_streams_;

  std::atomic<float> volume_{0.0F};
  std::mutex volume_mutex_;  // Guards volume_answered_; held while a query goes out, so that no answer is missed.
  std::condition_variable volume_changed_;
  bool volume_answered_ = false;
};

}  // namespace norvik::sdk
