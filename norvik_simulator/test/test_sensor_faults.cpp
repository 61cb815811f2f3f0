// Sensors that fail: what goes wrong on a topic, and what the speaker makes of names and volumes.

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "norvik/sensor_proto/image.pb.h"
#include "norvik/tavrinox_proto/tavrinox_sensor.pb.h"
#include "wire/damage.hpp"
#include "wire/wire_faults.hpp"
#include "world/speaker.hpp"

namespace norvik::simulator {
namespace {

TEST(TopicFaults, HitTheirShareOfTheMessages) {
  for (const double share : {0.0, 0.25, 0.5, 1.0}) {
    WireFaults faults;
    faults.set_topic_fault("topic", {TopicFault::kDrop, share, {}});
    int hit = 0;
    for (int i = 0; i < 100; ++i) {
      hit += faults.take_topic_fault("topic").fault == TopicFault::kDrop ? 1 : 0;
      EXPECT_EQ(faults.take_topic_fault("other").fault, TopicFault::kNone);
    }
    EXPECT_EQ(hit, std::lround(100 * share));
  }
}

TEST(Damage, LeavesMessagesThatParseAndHeadersThatAreRight) {
  sensor_proto::CompressedImage image;
  image.mutable_header()->set_frame_id("frame");
  image.mutable_header()->mutable_timestamp()->set_sec(7);
  image.set_data(std::string(300, 'x'));
  auto corrupted = image;
  corrupt(corrupted);
  EXPECT_EQ(corrupted.data(), std::string(300, '\xa5'));
  EXPECT_EQ(corrupted.header().timestamp().sec(), 7);
  auto shortened = image;
  shorten(shortened);
  EXPECT_EQ(shortened.data().size(), 200U);
  sensor_proto::CompressedImage parsed;
  EXPECT_TRUE(parsed.ParseFromString(corrupted.SerializeAsString()));
}

TEST(Damage, OfTextLeavesNoJsonOrNoNumbers) {
  const std::string text = R"({"timestamp":5,"u1":1500})";
  EXPECT_TRUE(nlohmann::json::parse(corrupt(text), nullptr, false).is_discarded());
  EXPECT_FALSE(nlohmann::json::parse(retype(text))["u1"].is_number());
}

TEST(Speaker, KeepsItsFilesInItsFolder) {
  const std::pair<const char*, const char*> rows[] = {{"spk_stream_1-2", "spk_stream_1-2.wav"},
                                                      {"../../etc/passwd", "______etc_passwd.wav"},
                                                      {"", ".wav"},
                                                      {".a", "_a.wav"}};
  for (const auto& [stream, file] : rows) {
    EXPECT_EQ(file_name_of_stream(stream), file);
  }
  EXPECT_EQ(file_name_of_stream(std::string(1000, 'a')).size(), 84U);
}

TEST(Speaker, TakesVolumesOnlyAndCountsStreams) {
  Speaker speaker("");
  for (const char* bad : {"", "[1]", "{}", R"({"volume":"loud"})", R"({"volume":101})", R"({"volume":-1})"}) {
    EXPECT_FALSE(speaker.set_volume(bad)) << bad;
  }
  EXPECT_TRUE(speaker.set_volume(R"({"volume":12.5})"));
  EXPECT_EQ(speaker.volume(), 12.5);
  speaker.play("a", "1234");
  speaker.play("a", "56");
  speaker.end("a");
  speaker.end("unknown");
  EXPECT_EQ(speaker.streams(), nlohmann::json::parse(R"({"a":{"bytes":6,"open":false}})"));
}

}  // namespace
}  // namespace norvik::simulator
