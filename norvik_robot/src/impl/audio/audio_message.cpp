#include "impl/audio/audio_message.hpp"

#include <chrono>
#include <mutex>
#include <random>

#include <nlohmann/json.hpp>

#include "impl/common/proto_time.hpp"

namespace norvik::sdk {
namespace {

std::chrono::nanoseconds now() { return std::chrono::system_clock::now().time_since_epoch(); }

void set_timestamp(core_proto::Timestamp& timestamp, std::chrono::nanoseconds time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);  // Downwards, so that the rest is not negative.
  timestamp.set_sec(seconds.count());
  timestamp.set_nanosec(static_cast<uint32_t>((time - seconds).count()));
}

int random_suffix() {
  static std::mutex mutex;
  static std::random_device device;
  static std::mt19937 generator(device());
  std::lock_guard<std::mutex> lock(mutex);
  return std::uniform_int_distribution<int>(1000, 9999)(generator);
}

}  // namespace

std::shared_ptr<sensor_proto::Audio> make_spk_audio_pb(const std::string& stream_id, const std::string& type,
                                                       const std::string& data) {
  auto message = std::make_shared<sensor_proto::Audio>();
  set_timestamp(*message->mutable_header()->mutable_timestamp(), now());
  message->mutable_header()->set_frame_id(stream_id);
  message->set_type(type);
  message->set_format(type == kSpeakerChunk && !data.empty() ? "pcm" : "json");
  message->set_data(data);
  return message;
}

bool audio_pb_to_audio_data(const std::shared_ptr<sensor_proto::Audio>& message, std::shared_ptr<AudioData>& data) {
  if (!message) {
    return false;
  }
  data = std::make_shared<AudioData>();
  data->timestamp_ns = header_time_ns_integer(message->header());
  data->frame_id = message->header().frame_id();
  data->type = message->type();
  data->format = message->format();
  data->data.assign(message->data().begin(), message->data().end());
  return true;
}

std::string volume_to_json(float volume) { return nlohmann::json{{"volume", static_cast<double>(volume)}}.dump(); }

std::optional<float> volume_from_json(const std::string& json_text) {
  const auto answer = nlohmann::json::parse(json_text);
  if (!answer.contains("volume") || !answer["volume"].is_number()) {
    return std::nullopt;
  }
  return static_cast<float>(answer["volume"].get<double>());
}

std::string generate_audio_stream_id(const std::string& prefix) {
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now()).count();
  return (prefix.empty() ? "default" : prefix) + "_" + std::to_string(microseconds) + "_" +
         std::to_string(random_suffix());
}

}  // namespace norvik::sdk
