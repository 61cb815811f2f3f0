#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "impl/audio/audio_message.hpp"
#include "impl/norvik_robot_k2.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::sdk {
namespace {

using sensor_proto::Audio;
using ::testing::MatchesRegex;

// A speaker that keeps what it is sent, and answers volume queries when told to.
class FakeSpeaker : public ovimux::SerializationWriter<Audio> {
 public:
  bool Publish(const Audio& message) override { return Publish(std::make_shared<Audio>(message)); }
  bool Publish(const std::shared_ptr<Audio>& message) override {
    sent.push_back(*message);
    if (on_publish) {
      on_publish(*message);
    }
    return works;
  }
  std::vector<std::string> kinds() const {
    std::vector<std::string> all;
    for (const auto& message : sent) {
      all.push_back(message.type() + " " + message.header().frame_id() + " " + message.format());
    }
    return all;
  }

  bool works = true;
  std::vector<Audio> sent;
  std::function<void(const Audio&)> on_publish;
};

class AudioRobot : public k2::NorvikRobotK2 {
 public:
  using AudioBase::audio_subscription_callback;
  using AudioBase::get_audio_data;

  AudioRobot() { audio_writer_ = speaker; }
  void close() { audio_writer_.reset(); }

  void receive(const std::string& type, const std::string& data) {
    auto message = std::make_shared<Audio>();
    message->set_type(type);
    message->set_data(data);
    message->mutable_header()->mutable_timestamp()->set_sec(1);
    message->mutable_header()->mutable_timestamp()->set_nanosec(2);
    audio_subscription_callback(message);
  }

  std::shared_ptr<FakeSpeaker> speaker = std::make_shared<FakeSpeaker>();
};

using Texts = std::vector<std::string>;

TEST(AudioOutput, OpensAStreamBeforeItsFirstChunkAndAgainAfterAStop) {
  AudioRobot robot;
  robot.stop_audio_stream_output("a");  // Unknown: nothing goes out.
  EXPECT_TRUE(robot.write_audio_stream_output("1", "a"));
  EXPECT_TRUE(robot.write_audio_stream_output("2", "a"));
  EXPECT_TRUE(robot.write_audio_stream_output("3", ""));
  robot.stop_audio_stream_output("a");
  robot.stop_audio_stream_output("a");
  robot.stop_audio_stream_output("");
  EXPECT_TRUE(robot.write_audio_stream_output("4", "a"));
  EXPECT_EQ(robot.speaker->kinds(),
            (Texts{"spk_begin a json", "spk_chunk a pcm", "spk_chunk a pcm", "spk_begin spk_stream_default json",
                   "spk_chunk spk_stream_default pcm", "spk_end a json", "spk_end spk_stream_default json",
                   "spk_begin a json", "spk_chunk a pcm"}));
  EXPECT_EQ(robot.speaker->sent[1].data(), "1");
  EXPECT_GT(robot.speaker->sent[1].header().timestamp().sec(), 1'600'000'000);
}

TEST(AudioOutput, RefusesEmptyChunksAndTellsAFailedSend) {
  test::SdkLogCapture log;
  AudioRobot robot;
  EXPECT_FALSE(robot.write_audio_stream_output("", "a"));
  EXPECT_TRUE(log.has("error", "write_audio_stream_output: audio_chunk is empty"));
  robot.speaker->works = false;
  EXPECT_FALSE(robot.write_audio_stream_output("1", "a"));
  robot.close();
  EXPECT_FALSE(robot.write_audio_stream_output("1", "b"));
}

TEST(Volume, IsSetWithinItsRange) {
  test::SdkLogCapture log;
  AudioRobot robot;
  for (const float volume : {0.0F, 100.0F, 33.5F}) {
    EXPECT_TRUE(robot.set_volume(volume)) << volume;
  }
  EXPECT_EQ(robot.speaker->sent.back().data(), R"({"volume":33.5})");
  EXPECT_EQ(robot.speaker->kinds().back(), "spk_volume_set  json");
  EXPECT_TRUE(log.has("info", "audio transceiver volume set to: 33.5"));
  EXPECT_TRUE(robot.set_volume(std::nanf("")));

  const struct {
    float volume;
    bool works;
    bool is_open;
    const char* text;
  } failures[] = {
      {100.5F, true, true, "audio transceiver volume set to 100.5, it`s out of range [0, 100]"},
      {-0.5F, true, false, "audio transceiver volume set to -0.5, it`s out of range [0, 100]"},
      {50, true, false, "audio transceiver set volume failed: audio_writer_ is null"},
      {50, false, true, "audio transceiver set volume failed with ovimux writer publish"},
  };
  for (const auto& c : failures) {
    SCOPED_TRACE(c.text);
    AudioRobot failing;
    failing.speaker->works = c.works;
    if (!c.is_open) {
      failing.close();
    }
    log.clear();
    EXPECT_FALSE(failing.set_volume(c.volume));
    EXPECT_EQ(log.texts("error"), Texts{c.text});
  }
}

TEST(Volume, ComesFromTheSpeakersAnswer) {
  test::SdkLogCapture log;
  AudioRobot robot;
  std::thread answer;
  const auto answer_with = [&](const std::string& data) {
    robot.speaker->on_publish = [&robot, &answer, data](const Audio&) {
      answer = std::thread([&robot, data] { robot.receive("spk_volume_get", data); });
    };
  };

  answer_with(R"({"volume":42})");  // It can arrive before the query has begun to wait.
  EXPECT_EQ(robot.get_volume(), 42.0F);
  answer.join();
  EXPECT_TRUE(log.has("info", "audio transceiver volume get request published"));
  EXPECT_TRUE(log.has("info", "audio transceiver volume updated from query: 42"));

  for (const char* const useless : {R"({"volume":"loud"})", "{}", "[]", "no json"}) {
    SCOPED_TRACE(useless);
    answer_with(useless);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(robot.get_volume(), 42.0F);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    answer.join();
  }
  EXPECT_TRUE(log.has_containing("warning", "audio transceiver parse spk_volume_get response failed: [json"));
}

TEST(Volume, FallsBackToTheLastKnownValue) {
  test::SdkLogCapture log;
  AudioRobot robot;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(robot.get_volume(), 0.0F);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1990));
  EXPECT_TRUE(log.has("warning", "audio transceiver get volume timeout"));

  ASSERT_TRUE(robot.set_volume(7));
  robot.speaker->works = false;
  EXPECT_EQ(robot.get_volume(), 7.0F);
  EXPECT_TRUE(log.has("error", "audio transceiver get volume failed with ovimux writer publish"));
  robot.close();
  EXPECT_EQ(robot.get_volume(), 7.0F);
  EXPECT_TRUE(log.has("error", "audio transceiver get volume failed: audio_writer_ is null"));
}

TEST(Microphone, DeliversOneRecordToEveryStreamDespiteAThrowingCallback) {
  test::SdkLogCapture log;
  AudioRobot robot;
  std::vector<std::shared_ptr<AudioData>> received;
  const auto keep = [&](std::shared_ptr<AudioData> data) { received.push_back(std::move(data)); };
  const auto first = robot.start_microphone_stream_input(keep, 160, true);
  const auto thrower = robot.start_microphone_stream_input([](auto) { throw std::runtime_error("boom"); }, 1, false);
  const auto second = robot.start_microphone_stream_input(keep, 1, false);
  EXPECT_THAT(first, MatchesRegex("mic_stream_[0-9]{16}_[0-9]{4}"));
  EXPECT_TRUE(log.has("info", "started microphone stream with id: " + first + ", chunk_size: 160, use_raw_audio: 1"));

  robot.receive("mic_chunk", std::string("\0\xff", 2));
  ASSERT_EQ(received.size(), 2U);
  EXPECT_EQ(received[0], received[1]);
  EXPECT_EQ(received[0]->timestamp_ns, 1'000'000'002);
  EXPECT_EQ(received[0]->data, (std::vector<uint8_t>{0, 255}));
  EXPECT_EQ(robot.get_audio_data(second), received[0]);
  EXPECT_EQ(log.texts("error"), Texts{"exception in audio callback within audio_subscription_callback: boom"});

  robot.stop_microphone_stream_input(first);
  robot.stop_microphone_stream_input(thrower);
  robot.receive("mic_chunk", "x");
  EXPECT_EQ(received.size(), 3U);
  robot.stop_microphone_stream_input("");
  robot.receive("mic_chunk", "x");
  EXPECT_EQ(received.size(), 3U);
  EXPECT_TRUE(log.has("info", "stopped all microphone streams"));
  EXPECT_TRUE(log.has("info", "stopped microphone stream with ID: " + first));
}

TEST(Microphone, CallbacksStopAndStartStreamsThemselves) {
  AudioRobot robot;
  int first = 0;
  int second = 0;
  std::string id;
  id = robot.start_microphone_stream_input(
      [&](auto) {
        ++first;
        robot.start_microphone_stream_input([&](auto) { ++second; }, 1, false);
        robot.stop_microphone_stream_input(id);
      },
      1, false);
  robot.receive("mic_chunk", "x");
  robot.receive("mic_chunk", "x");
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 1);
}

TEST(Microphone, StoppingWaitsForTheRunningCallback) {
  AudioRobot robot;
  std::atomic<bool> inside{false};
  std::atomic<bool> leave{false};
  std::atomic<bool> stopped{false};
  const auto id = robot.start_microphone_stream_input(
      [&](auto) {
        inside = true;
        while (!leave) {
          std::this_thread::yield();
        }
        EXPECT_FALSE(stopped);
        inside = false;
      },
      1, false);
  std::thread chunk([&] { robot.receive("mic_chunk", "x"); });
  while (!inside) {
    std::this_thread::yield();
  }
  std::thread stop([&] {
    robot.stop_microphone_stream_input(id);
    EXPECT_FALSE(inside);
    stopped = true;
  });
  robot.stop_microphone_stream_input("unknown");
  leave = true;
  stop.join();
  chunk.join();
}

TEST(Microphone, RefusesAnEmptyCallbackAndAnEmptyMessage) {
  test::SdkLogCapture log;
  AudioRobot robot;
  EXPECT_EQ(robot.start_microphone_stream_input(nullptr, 1, false), "");
  robot.audio_subscription_callback(nullptr);
  EXPECT_EQ(log.texts("error"),
            (Texts{"start_microphone_stream_input: callback is null", "audio_subscription_callback: message is null"}));
}

TEST(Microphone, StreamsComeAndGoWhileChunksArrive) {
  AudioRobot robot;
  std::atomic<bool> running{true};
  std::atomic<int> delivered{0};
  std::thread chunks([&] {
    while (running) {
      robot.receive("mic_chunk", "x");
    }
  });
  for (int i = 0; i < 200; ++i) {
    const auto id = robot.start_microphone_stream_input([&](auto) { ++delivered; }, 1, false);
    const int before = delivered;
    while (delivered == before) {
      std::this_thread::yield();
    }
    robot.stop_microphone_stream_input(id);
  }
  running = false;
  chunks.join();
  const int at_end = delivered;
  robot.receive("mic_chunk", "x");
  EXPECT_EQ(delivered, at_end);
}

}  // namespace
}  // namespace norvik::sdk
