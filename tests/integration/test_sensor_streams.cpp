// Sensors, from the simulated robot to the application.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <opencv2/core.hpp>
#include <norvik_sdk/sensor_callbacks.hpp>

#include "live/live_robot.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;
using sdk::SensorType;

constexpr int kWidth = 320;
constexpr int kHeight = 240;
const std::vector<std::string> kSmallPictures = {"--camera-size", "320x240", "--infrared"};

const std::vector<SensorType> kColour = {SensorType::HEAD_LEFT_CAMERA, SensorType::HEAD_RIGHT_CAMERA,
                                         SensorType::LEFT_ARM_CAMERA, SensorType::RIGHT_ARM_CAMERA};
const std::vector<SensorType> kSurround = {
    SensorType::LEFT_FRONT_SURROUND_CAMERA, SensorType::RIGHT_FRONT_SURROUND_CAMERA,
    SensorType::LEFT_REAR_SURROUND_CAMERA, SensorType::RIGHT_REAR_SURROUND_CAMERA};
const std::vector<SensorType> kDepth = {SensorType::LEFT_ARM_DEPTH_CAMERA, SensorType::RIGHT_ARM_DEPTH_CAMERA};
const std::vector<SensorType> kInfrared = {SensorType::LEFT_ARM_INFRA_CAMERA_1, SensorType::LEFT_ARM_INFRA_CAMERA_2,
                                           SensorType::RIGHT_ARM_INFRA_CAMERA_1, SensorType::RIGHT_ARM_INFRA_CAMERA_2};

struct Model {
  Setup setup;
  std::vector<SensorType> colour;
  std::vector<SensorType> lidars;
  std::vector<SensorType> imus;
  bool ultrasonic;
};

std::vector<SensorType> all_of(std::vector<SensorType> first, const std::vector<SensorType>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::set<SensorType> sensors_of(const Model& model) {
  std::set<SensorType> sensors;
  for (const auto& family : {model.colour, kDepth, kInfrared, model.lidars, model.imus}) {
    sensors.insert(family.begin(), family.end());
  }
  if (model.ultrasonic) {
    sensors.insert(SensorType::BASE_ULTRASONIC);
  }
  return sensors;
}

// A function: the setups are made by another file.
const std::vector<Model>& models() {
  static const std::vector<Model> kModels = {
      {kK2,
       all_of(kColour, kSurround),
       {SensorType::BASE_LIDAR},
       {SensorType::CHASSIS_IMU, SensorType::LIDAR_IMU},
       true},
      {kR5,
       kColour,
       {SensorType::HEAD_LIDAR, SensorType::BACK_LIDAR, SensorType::CHASSIS_LIDAR},
       {SensorType::HEAD_IMU, SensorType::BACK_IMU, SensorType::CHASSIS_IMU},
       false},
  };
  return kModels;
}

template <typename Record>
std::shared_ptr<Record> await(const std::function<std::shared_ptr<Record>()>& get) {
  std::shared_ptr<Record> record;
  EXPECT_TRUE(eventually([&] { return (record = get()) != nullptr; }));
  return record ? record : std::make_shared<Record>();
}

// The time that the simulator wrote into the picture.
int64_t stamp_in(const cv::Mat& picture) {
  uint64_t stamp = 0;
  for (int i = 0; i < 64; ++i) {
    const int square = picture.cols / 64;
    stamp = stamp << 1U | (picture.at<cv::Vec3b>(2, i * square + square / 2)[1] > 127 ? 1U : 0U);
  }
  return static_cast<int64_t>(stamp);
}

int count_records(const std::vector<LogRecord>& records, const std::string& text) {
  return static_cast<int>(
      std::count_if(records.begin(), records.end(), [&](const auto& record) { return record.text == text; }));
}

bool has_record(const std::vector<LogRecord>& records, const std::string& beginning) {
  return std::any_of(records.begin(), records.end(),
                     [&](const auto& record) { return record.text.compare(0, beginning.size(), beginning) == 0; });
}

class EverySensor : public ::testing::TestWithParam<Model> {};

TEST_P(EverySensor, DeliversWhatTheRobotSees) {
  const Model& model = GetParam();
  LiveRobot live(model.setup, kSmallPictures);
  ASSERT_TRUE(live.start_with(sensors_of(model)));
  auto& robot = live.robot();
  for (const SensorType sensor : model.colour) {
    SCOPED_TRACE(sdk::sensor_type_string_map_.at(sensor));
    const auto data = await<sdk::RgbData>([&] { return robot.get_rgb_data(sensor); });
    const auto picture = data->convert_to_cv2_mat();
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size(), cv::Size(kWidth, kHeight));
    EXPECT_EQ(stamp_in(*picture), data->timestamp_ns);
    EXPECT_EQ(await<sdk::CameraInfo>([&] { return robot.get_camera_intrinsic(sensor); })->width, kWidth + 0U);
    EXPECT_EQ(robot.get_sensor_extrinsic(sensor).first.size(), 7U);
  }
  for (const SensorType sensor : kDepth) {
    const auto picture = await<sdk::DepthData>([&] { return robot.get_depth_data(sensor); })->convert_to_cv2_mat();
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size(), cv::Size(kWidth, kHeight));
    EXPECT_GT(cv::mean(*picture)[0], 100.0);  // mm
  }
  for (const SensorType sensor : kInfrared) {
    const auto picture = await<sdk::IrData>([&] { return robot.get_ir_data(sensor); })->convert_to_cv2_mat();
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size(), cv::Size(kWidth, kHeight));
  }
  for (const SensorType sensor : model.lidars) {
    const auto cloud = await<sdk::LidarData>([&] { return robot.get_lidar_data(sensor); });
    EXPECT_EQ(cloud->fields.size(), 4U);
    EXPECT_GT(cloud->width, 10000U);
    EXPECT_EQ(cloud->data.size(), size_t{cloud->width} * cloud->point_step);
  }
  for (const SensorType sensor : model.imus) {
    EXPECT_NEAR(await<sdk::ImuData>([&] { return robot.get_imu_data(sensor); })->accel_z, 9.80665, 1e-9);
  }
  for (int i = 0; model.ultrasonic && i < 8; ++i) {
    const auto type = static_cast<sdk::UltrasonicType>(i);
    EXPECT_GT(await<sdk::UltrasonicData>([&] { return robot.get_ultrasonic_data(type); })->distance, 0.05);
  }
}

INSTANTIATE_TEST_SUITE_P(Models, EverySensor, ::testing::ValuesIn(models()),
                         [](const auto& row) { return row.param.setup.name; });

TEST(Callbacks, RunInOrderExceptOfSurroundCameras) {
  LiveRobot live(kK2, kSmallPictures);
  const SensorType head = SensorType::HEAD_LEFT_CAMERA;
  ASSERT_TRUE(live.start_with({head, kSurround[0]}));
  auto* callbacks = sdk::get_sensor_callbacks(live.robot());
  ASSERT_NE(callbacks, nullptr);
  std::mutex mutex;
  std::vector<int> calls;
  std::shared_ptr<sdk::RgbData> seen;
  for (const int number : {1, 2}) {
    const auto callback = [&, number](const std::shared_ptr<sdk::RgbData>& data) {
      const std::lock_guard<std::mutex> lock(mutex);
      calls.push_back(number);
      seen = data;
    };
    EXPECT_EQ(callbacks->add_rgb_data_callback(head, callback), sdk::ControlStatus::SUCCESS);
  }
  static std::atomic<int> surround_calls{0};
  EXPECT_EQ(callbacks->add_rgb_data_callback(kSurround[0], [](const auto&) { ++surround_calls; }),
            sdk::ControlStatus::SUCCESS);
  EXPECT_EQ(callbacks->add_rgb_data_callback(kColour[1], [](const auto&) {}), sdk::ControlStatus::INIT_FAILED);
  EXPECT_TRUE(eventually([&] {
    const std::lock_guard<std::mutex> lock(mutex);
    return calls.size() >= 6;
  }));
  await<sdk::RgbData>([&] { return live.robot().get_rgb_data(kSurround[0]); });
  live.control({{"op", "topic"}, {"topic", "/front_head_camera/left_color/image_raw"}, {"fault", "silent"}});
  std::this_thread::sleep_for(300ms);  // What was on its way has arrived: the callbacks use this frame.
  const std::lock_guard<std::mutex> lock(mutex);
  for (size_t i = 0; i < calls.size(); ++i) {
    EXPECT_EQ(calls[i], static_cast<int>(i % 2) + 1);
  }
  EXPECT_EQ(live.robot().get_rgb_data(head), seen);
  EXPECT_EQ(surround_calls, 0);
}

TEST(Infrared, OpensOnTheCamerasWordAndOnce) {
  LiveRobot live(kK2, {"--camera-size", "320x240"});
  const SensorType sensor = SensorType::LEFT_ARM_INFRA_CAMERA_1;
  ASSERT_TRUE(live.start_with({sensor}));
  live.take_log();
  EXPECT_EQ(live.robot().get_ir_data(sensor), nullptr);
  int opened = 0;
  for (const bool enabled : {true, false, true}) {
    live.control({{"op", "infrared"}, {"side", "left"}, {"enabled", enabled}});
    const int64_t last_ns = opened > 0 ? live.robot().get_ir_data(sensor)->timestamp_ns : 0;
    EXPECT_TRUE(!enabled || eventually([&] {
      const auto data = live.robot().get_ir_data(sensor);
      return data && data->timestamp_ns > last_ns;
    }));
    opened +=
        count_records(live.take_log(), "create robot_sensor_reader /left_arm_camera/infra1/image_rect_raw success.");
  }
  EXPECT_EQ(opened, 1);
}

TEST(BadData, LeavesTheStreamAlive) {
  LiveRobot live(kK2, kSmallPictures);
  const SensorType head = SensorType::HEAD_LEFT_CAMERA;
  const SensorType depth = SensorType::LEFT_ARM_DEPTH_CAMERA;
  ASSERT_TRUE(live.start_with({head, depth, SensorType::BASE_ULTRASONIC}));
  auto& robot = live.robot();
  const auto fault = [&](const char* topic, const char* name) {
    live.control({{"op", "topic"}, {"topic", topic}, {"fault", name}});
  };
  await<sdk::RgbData>([&] { return robot.get_rgb_data(head); });
  await<sdk::DepthData>([&] { return robot.get_depth_data(depth); });
  await<sdk::CameraInfo>([&] { return robot.get_camera_intrinsic(depth); });
  const auto good = await<sdk::UltrasonicData>([&] { return robot.get_ultrasonic_data(sdk::UltrasonicType{}); });
  live.take_log();

  fault("/front_head_camera/left_color/image_raw", "corrupt");
  EXPECT_TRUE(eventually([&] { return robot.get_rgb_data(head)->convert_to_cv2_mat() == nullptr; }));
  EXPECT_GE(count_records(live.take_log(), "RgbData Error: cv::imdecode failed."), 1);

  for (const char* name : {"corrupt", "wrong_size"}) {
    fault("base_ultra", name);
    std::string expected;
    EXPECT_TRUE(eventually([&] {
      for (const auto& record : live.take_log()) {
        if (record.text.find("ultrasonic_callback: ") == 0) {
          expected = record.text;
        }
      }
      return !expected.empty();
    })) << name;
  }
  const auto last = robot.get_ultrasonic_data(sdk::UltrasonicType{});
  ASSERT_TRUE(last);
  EXPECT_GE(last->timestamp_ns, good->timestamp_ns);
  EXPECT_GT(last->distance, 0.05);

  EXPECT_TRUE(live.clear_faults());
  EXPECT_TRUE(eventually([&] { return robot.get_rgb_data(head)->convert_to_cv2_mat() != nullptr; }));
  EXPECT_TRUE(
      eventually([&] { return robot.get_ultrasonic_data(sdk::UltrasonicType{})->timestamp_ns > last->timestamp_ns; }));
}

TEST(BadData, OfAnyShapeLeavesTheApplicationRunning) {
  LiveRobot live(kK2, kSmallPictures);
  const SensorType head = SensorType::HEAD_LEFT_CAMERA;
  const SensorType lidar = SensorType::BASE_LIDAR;
  ASSERT_TRUE(live.start_with({head, lidar, SensorType::BASE_ULTRASONIC}));
  auto& robot = live.robot();
  const auto ultrasonic_ns = [&robot] {
    const auto data = robot.get_ultrasonic_data(sdk::UltrasonicType{});
    return data ? data->timestamp_ns : 0;
  };
  const auto picture_ns = [&] {
    const auto data = robot.get_rgb_data(head);
    return data && data->convert_to_cv2_mat() ? data->timestamp_ns : 0;
  };
  const auto cloud_ns = [&] {
    const auto data = robot.get_lidar_data(lidar);
    return data && !data->data.empty() ? data->timestamp_ns : 0;
  };
  const auto battery_reported = [&robot] {
    const auto battery = robot.get_bms_information();
    return battery && battery->voltage > 0.0F ? int64_t{1} : 0;
  };

  struct Case {
    const char* topic;
    const char* payload;
    int repeat;
    const char* record;  // How the log's line begins; null where the sample is taken, with nothing in it.
    std::function<int64_t()> time_ns;
  };
  const std::string picture_topic = "/front_head_camera/left_color/image_raw";
  const std::vector<Case> cases = {
      {"base_ultra", "[", 60000, "ultrasonic_callback: json parse error: ", ultrasonic_ns},
      {"base_ultra", "", 1, "ultrasonic_callback: data invalid", ultrasonic_ns},
      {"bms", R"({"a":)", 12000, "bms_info_callback: json parse error: ", battery_reported},
      {picture_topic.c_str(), "x", 10000000, nullptr, picture_ns},
      {picture_topic.c_str(), "\x1a\x7f", 2000000, nullptr, picture_ns},  // Each a field that ends behind the next.
      {picture_topic.c_str(), "", 1, nullptr, picture_ns},
      {"/lidar_chassis_f/lidar/data_raw", "B", 10000000, nullptr, cloud_ns},
  };
  for (const Case& bad : cases) {
    SCOPED_TRACE(std::string(bad.topic) + " " + bad.payload);
    ASSERT_TRUE(eventually([&] { return bad.time_ns() > 0; }));
    live.take_log();
    live.control({{"op", "topic"},
                  {"topic", bad.topic},
                  {"fault", "malformed"},
                  {"payload", bad.payload},
                  {"repeat", bad.repeat}});
    if (bad.record == nullptr) {
      EXPECT_TRUE(eventually([&] { return bad.time_ns() == 0; }));
    } else {
      EXPECT_TRUE(eventually([&] { return has_record(live.take_log(), bad.record); }));
      EXPECT_GT(bad.time_ns(), 0);  // The last good sample.
    }
    EXPECT_TRUE(live.clear_faults());
    EXPECT_TRUE(eventually([&] { return bad.time_ns() > 0; }));
  }
}

TEST(Observation, HoldsUnderLoadFromFourThreads) {
  LiveRobot live(kK2, {"--camera-size", "320x240", "--camera-rate", "30"});
  const auto cameras = all_of(kDepth, all_of(kColour, kSurround));  // Ten; the first is the anchor.
  ASSERT_TRUE(live.start_with({cameras.begin(), cameras.end()}));
  auto& robot = live.robot();
  ASSERT_TRUE(eventually([&] { return robot.get_synced_observation(cameras, true) != nullptr; }));
  std::atomic<int> good{0};
  const auto end = std::chrono::steady_clock::now() + 3s;
  const auto query = [&] {
    int64_t last_ns = 0;
    while (std::chrono::steady_clock::now() < end) {
      const auto observation = robot.get_synced_observation(cameras, true);
      ASSERT_TRUE(observation && observation->joint_state);
      ASSERT_EQ(observation->rgb_data.size() + observation->depth_data.size(), cameras.size());
      const int64_t anchor_ns = observation->depth_data.at(kDepth[0])->timestamp_ns;
      ASSERT_GE(anchor_ns, last_ns);
      last_ns = anchor_ns;
      ++good;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back(query);
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_GT(good, 100);
}

TEST(Audio, StreamsBothWaysAndVolume) {
  LiveRobot live(kK2);
  ASSERT_TRUE(live.start());
  auto& robot = live.robot();
  static std::atomic<int> heard{0};
  const auto thrower = robot.start_microphone_stream_input([](const auto&) { throw std::runtime_error("too loud"); });
  const auto listener = robot.start_microphone_stream_input([](const std::shared_ptr<sdk::AudioData>& data) {
    heard += data->data.size() == 640 && data->format == "pcm" ? 1 : 0;
  });
  EXPECT_TRUE(eventually([&] { return heard > 10; }));
  robot.stop_microphone_stream_input();
  EXPECT_GE(count_records(live.take_log(), "exception in audio callback within audio_subscription_callback: too loud"),
            10);

  for (int i = 0; i < 50; ++i) {
    ASSERT_TRUE(robot.write_audio_stream_output(std::string(640, 'a'), "tune"));
  }
  robot.stop_audio_stream_output("tune");
  const nlohmann::json complete = {{"bytes", 32000}, {"open", false}};
  EXPECT_TRUE(eventually([&] { return live.state()["speaker"]["tune"] == complete; })) << live.state()["speaker"];

  EXPECT_EQ(robot.get_volume(), 50.0F);
  EXPECT_TRUE(robot.set_volume(30.5F));
  EXPECT_TRUE(eventually([&] { return live.state()["volume"] == 30.5; }));
  EXPECT_EQ(robot.get_volume(), 30.5F);
  live.control({{"op", "topic"}, {"topic", "/norvik/mic"}, {"fault", "silent"}});
  live.take_log();
  EXPECT_EQ(robot.get_volume(), 30.5F);
  EXPECT_EQ(count_records(live.take_log(), "audio transceiver get volume timeout"), 1);
}

}  // namespace
}  // namespace norvik::test
