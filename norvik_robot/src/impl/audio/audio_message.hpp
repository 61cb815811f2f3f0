#pragma once

#include <memory>
#include <optional>
#include <string>

#include <norvik_sdk/types.hpp>

#include "norvik/sensor_proto/microphone.pb.h"

namespace norvik::sdk {

// Kinds of audio messages, in the field `type`. Microphone chunks have kinds of the robot's own choice.
inline constexpr const char* kSpeakerBegin = "spk_begin";
inline constexpr const char* kSpeakerChunk = "spk_chunk";
inline constexpr const char* kSpeakerEnd = "spk_end";
inline constexpr const char* kSpeakerVolumeSet = "spk_volume_set";
inline constexpr const char* kSpeakerVolumeGet = "spk_volume_get";

// A message to the speaker, stamped with the current time.
std::shared_ptr<sensor_proto::Audio> make_spk_audio_pb(const std::string& stream_id, const std::string& type,
                                                       const std::string& data);

// False only for an empty message. A message without a time has time 0.
bool audio_pb_to_audio_data(const std::shared_ptr<sensor_proto::Audio>& message, std::shared_ptr<AudioData>& data);

// {"volume": ...} as the speaker takes and gives it.
std::string volume_to_json(float volume);

// Empty when the text holds no such number. Throws nlohmann::json::exception for text that is no JSON.
std::optional<float> volume_from_json(const std::string& json_text);

// A name that no other stream of this process has in practice: prefix, microseconds, random number. Any thread.
std::string generate_audio_stream_id(const std::string& prefix);

}  // namespace norvik::sdk
