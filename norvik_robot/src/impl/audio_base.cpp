#include "impl/audio_base.hpp"

#include <algorithm>
#include <chrono>
#include <exception>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "impl/audio/audio_message.hpp"
#include "impl/common/log_created.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {
namespace {

using sensor_proto::Audio;
using std::chrono::steady_clock;
using SharedLock = std::shared_lock<ovimux::SharedMutex>;
using ExclusiveLock = std::unique_lock<ovimux::SharedMutex>;

constexpr auto kVolumeTimeout = std::chrono::seconds(2);
constexpr auto kShutdownPoll = std::chrono::milliseconds(100);
constexpr float kMinVolume = 0.0F;
constexpr float kMaxVolume = 100.0F;

std::string speaker_stream(const std::string& stream_id) {
  return stream_id.empty() ? "spk_stream_default" : stream_id;
}

}  // namespace

AudioBase::AudioBase() = default;

AudioBase::~AudioBase() {
  audio_reader_.reset();  // Before everything that its callback touches.
}

bool AudioBase::audio_base_init() {
  SDK_LOG(debug) << "audio transceiver debug log enable";
  ovimux::OvimuxInit();
  std::call_once(init_once_, [this] { init_success_ = open_channels(); });
  SDK_LOG(info) << "audio transceiver init success";
  return init_success_;
}

bool AudioBase::open_channels() {
  node_ = ovimux::CreateNode("audio_transceiver_node", "");
  if (!SDK_LOG_IF_EMPTY(node_, "audio_transceiver_node create fail")) {
    return false;
  }
  audio_reader_ = node_->CreateReader<Audio>(
      "/norvik/mic",
      [this](const std::shared_ptr<Audio>& message, const void*) { audio_subscription_callback(message); },
      ovimux::Qos());
  if (!SDK_LOG_CREATED(audio_reader_, "create audio reader success.", "create audio reader fail.")) {
    return false;
  }
  audio_writer_ = node_->CreateWriter<Audio>("/norvik/spk", ovimux::Qos());
  return SDK_LOG_CREATED(audio_writer_, "create audio writer success.", "create audio writer fail.");
}

std::string AudioBase::start_microphone_stream_input(std::function<void(std::shared_ptr<AudioData>)> callback,
                                                     int chunk_size, bool use_raw_audio) {
  if (!callback) {
    SDK_LOG(error) << "start_microphone_stream_input: callback is null";
    return {};
  }
  auto handle = std::make_shared<AudioStreamHandle>();
  handle->callback = std::move(callback);
  handle->chunk_size = chunk_size;
  handle->use_raw_audio = use_raw_audio;
  handle->stream_id = generate_audio_stream_id("mic_stream");
  {
    ExclusiveLock lock(streams_mutex_);
    streams_[handle->stream_id] = handle;
  }
  SDK_LOG(info) << "started microphone stream with id: " << handle->stream_id << ", chunk_size: " << chunk_size
                << ", use_raw_audio: " << use_raw_audio;
  return handle->stream_id;
}

void AudioBase::stop_microphone_stream_input(const std::string& stream_id) {
  const auto stopped = take_streams(stream_id);
  if (stream_id.empty()) {
    SDK_LOG(info) << "stopped all microphone streams";
  } else {
    SDK_LOG(info) << "stopped microphone stream with ID: " << stream_id;
  }
  for (const auto& stream : stopped) {
    stream->gate.close();
  }
}

AudioBase::Streams AudioBase::take_streams(const std::string& stream_id) {
  Streams taken;
  ExclusiveLock lock(streams_mutex_);
  for (auto stream = streams_.begin(); stream != streams_.end();) {
    if (stream_id.empty() || stream->first == stream_id) {
      taken.push_back(std::move(stream->second));
      stream = streams_.erase(stream);
    } else {
      ++stream;
    }
  }
  return taken;
}

AudioBase::Streams AudioBase::open_streams() const {
  Streams streams;
  SharedLock lock(streams_mutex_);
  streams.reserve(streams_.size());
  for (const auto& [stream_id, stream] : streams_) {
    streams.push_back(stream);
  }
  return streams;
}

std::shared_ptr<AudioData> AudioBase::get_audio_data(const std::string& stream_id) const {
  SharedLock lock(streams_mutex_);
  const auto stream = streams_.find(stream_id);
  return stream == streams_.end() ? nullptr : stream->second->latest.get_data();
}

void AudioBase::audio_subscription_callback(const std::shared_ptr<Audio>& message) {
  if (!message) {
    SDK_LOG(error) << "audio_subscription_callback: message is null";
    return;
  }
  if (message->type() == kSpeakerVolumeGet) {
    take_volume_answer(*message);
    return;
  }
  std::shared_ptr<AudioData> data;
  if (!audio_pb_to_audio_data(message, data)) {
    SDK_LOG(error) << "audio_subscription_callback do audio_pb_to_audio_data failed";
    return;
  }
  deliver(data);
}

void AudioBase::take_volume_answer(const Audio& message) {
  {
    std::lock_guard<std::mutex> lock(volume_mutex_);
    try {
      if (const auto volume = volume_from_json(message.data())) {
        volume_ = *volume;
        SDK_LOG(info) << "audio transceiver volume updated from query: " << *volume;
      }
    } catch (const std::exception& error) {
      SDK_LOG(warning) << "audio transceiver parse spk_volume_get response failed: " << error.what();
    }
    volume_answered_ = true;
  }
  volume_changed_.notify_one();
}

void AudioBase::deliver(const std::shared_ptr<AudioData>& data) {
  for (const auto& stream : open_streams()) {
    const ovimux::CallbackGate::Pass pass(stream->gate);
    if (!pass) {
      continue;  // Stopped meanwhile.
    }
    stream->latest.set_data(data);
    try {
      stream->callback(data);
    } catch (const std::exception& error) {
      SDK_LOG(error) << "exception in audio callback within audio_subscription_callback: " << error.what();
    } catch (...) {
      SDK_LOG(error) << "exception in audio callback within audio_subscription_callback: not a std::exception";
    }
  }
}

bool AudioBase::publish(const std::string& stream_id, const char* type, const std::string& data) {
  return audio_writer_->Publish(make_spk_audio_pb(stream_id, type, data));
}

bool AudioBase::write_audio_stream_output(const std::string& audio_chunk, const std::string& stream_id) {
  if (audio_chunk.empty()) {
    SDK_LOG(error) << "write_audio_stream_output: audio_chunk is empty";
    return false;
  }
  if (!audio_writer_) {
    SDK_LOG(error) << "write_audio_stream_output: audio_writer_ is null";
    return false;
  }
  const std::string stream = speaker_stream(stream_id);
  {
    ExclusiveLock lock(speaker_mutex_);
    if (open_speaker_streams_.insert(stream).second) {
      publish(stream, kSpeakerBegin, {});
    }
  }
  return publish(stream, kSpeakerChunk, audio_chunk);
}

void AudioBase::stop_audio_stream_output(const std::string& stream_id) {
  const std::string stream = speaker_stream(stream_id);
  ExclusiveLock lock(speaker_mutex_);
  if (open_speaker_streams_.erase(stream) > 0) {
    publish(stream, kSpeakerEnd, {});
  }
}

bool AudioBase::set_volume(float volume) {
  if (volume < kMinVolume || volume > kMaxVolume) {
    SDK_LOG(error) << "audio transceiver volume set to " << volume << ", it`s out of range [0, 100]";
    return false;
  }
  if (!audio_writer_) {
    SDK_LOG(error) << "audio transceiver set volume failed: audio_writer_ is null";
    return false;
  }
  if (!publish({}, kSpeakerVolumeSet, volume_to_json(volume))) {
    SDK_LOG(error) << "audio transceiver set volume failed with ovimux writer publish";
    return false;
  }
  volume_ = volume;
  SDK_LOG(info) << "audio transceiver volume set to: " << volume;
  return true;
}

float AudioBase::get_volume() {
  if (!audio_writer_) {
    SDK_LOG(error) << "audio transceiver get volume failed: audio_writer_ is null";
    return volume_;
  }
  std::unique_lock<std::mutex> lock(volume_mutex_);
  volume_answered_ = false;
  if (!publish({}, kSpeakerVolumeGet, {})) {
    SDK_LOG(error) << "audio transceiver get volume failed with ovimux writer publish";
    return volume_;
  }
  SDK_LOG(info) << "audio transceiver volume get request published";
  const auto deadline = steady_clock::now() + kVolumeTimeout;
  const auto answered = [this] { return volume_answered_; };
  while (!volume_changed_.wait_until(lock, std::min(deadline, steady_clock::now() + kShutdownPoll), answered)) {
    lock.unlock();  // The thread may be held here while the process exits.
    const bool running = ovimux::sleep_while_running(steady_clock::now());
    lock.lock();
    if (!volume_answered_ && (steady_clock::now() >= deadline || !running)) {
      SDK_LOG(warning) << "audio transceiver get volume timeout";
      break;
    }
  }
  return volume_;
}

}  // namespace norvik::sdk
