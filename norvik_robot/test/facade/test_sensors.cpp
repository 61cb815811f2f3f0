#include <atomic>
#include <future>
#include <thread>

#include "facade_fixture.hpp"
#include "impl/norvik_robot_k2.hpp"
#include "impl/norvik_robot_r5.hpp"

namespace norvik::sdk {
namespace {

using S = SensorType;
using Texts = std::vector<std::string>;

// The sensor part of a robot with open channels, without the waits of the whole-body part. The callbacks are called
// directly, as the middleware would.
class Sensors : public Facade {
 protected:
  bool open(const std::set<S>& sensors, bool sync = false) {
    return robot_.sensor_base_init(sensors, MachineType::K2, sync);
  }
  static const CameraChannel& camera(S sensor) {
    for (const auto& channel : camera_channels()) {
      if (channel.sensor == sensor) {
        return channel;
      }
    }
    return arm_camera_channels()[0].infrared[0];
  }
  void image(S sensor, int64_t sec) {
    auto sample = std::make_shared<ImageSample>();
    sample->message.mutable_header()->mutable_timestamp()->set_sec(sec);
    robot_.image_callback(camera(sensor), sample);
  }
  void joints(int64_t sec) {
    auto state = std::make_shared<JointStateMessage>();
    state->timestamp_ns = sec * 1'000'000'000;
    robot_.update_joint_sync_history(state);
  }
  void ultrasonic(const std::string& text) { robot_.ultrasonic_callback(text.data(), static_cast<int>(text.size())); }
  double distance(UltrasonicType type) {
    const auto sample = robot_.get_ultrasonic_data(type);
    return sample ? sample->distance : -1;
  }

  test::SdkLogCapture log_;
  k2::NorvikRobotK2 robot_;
};

// What polling one sensor says at each stage: it is of another family, it was not opened, it has not been heard of.
struct Poll {
  std::string operation;
  std::set<S> family;
  std::function<bool(SensorBase&, S)> is_empty;

  std::string text(S sensor, int stage) const {
    const std::string& name = sensor_type_string_map_.at(sensor);
    const char* const reasons[] = {"input invalid", "sensor interface init failed", "data fetch failed"};
    if (operation == "get_lidar_data" && stage == 0) {
      return operation + " error: sensor " + name + " is not initialized or not supported on this machine";
    }
    return operation == "get_imu_data" ? operation + " error, " + reasons[stage] + ", imu_type: " + name
                                       : operation + " error," + reasons[stage];
  }
};

std::vector<Poll> polls(const std::set<S>& imus) {
  const std::set<S> colour = {
      S::HEAD_LEFT_CAMERA,          S::HEAD_RIGHT_CAMERA,          S::LEFT_ARM_CAMERA,
      S::RIGHT_ARM_CAMERA,          S::LEFT_FRONT_SURROUND_CAMERA, S::RIGHT_FRONT_SURROUND_CAMERA,
      S::LEFT_REAR_SURROUND_CAMERA, S::RIGHT_REAR_SURROUND_CAMERA};
  const std::set<S> depth = {S::LEFT_ARM_DEPTH_CAMERA, S::RIGHT_ARM_DEPTH_CAMERA};
  const std::set<S> infrared = {S::LEFT_ARM_INFRA_CAMERA_1, S::LEFT_ARM_INFRA_CAMERA_2, S::RIGHT_ARM_INFRA_CAMERA_1,
                                S::RIGHT_ARM_INFRA_CAMERA_2};
  const std::set<S> lidars = {S::BASE_LIDAR, S::HEAD_LIDAR, S::BACK_LIDAR, S::CHASSIS_LIDAR};
  std::set<S> cameras = colour;
  cameras.insert(depth.begin(), depth.end());
  cameras.insert(infrared.begin(), infrared.end());
  return {{"get_rgb_data", colour, [](auto& robot, S sensor) { return !robot.get_rgb_data(sensor); }},
          {"get_depth_data", depth, [](auto& robot, S sensor) { return !robot.get_depth_data(sensor); }},
          {"get_ir_data", infrared, [](auto& robot, S sensor) { return !robot.get_ir_data(sensor); }},
          {"get_camera_intrinsic", cameras, [](auto& robot, S sensor) { return !robot.get_camera_intrinsic(sensor); }},
          {"get_lidar_data", lidars, [](auto& robot, S sensor) { return !robot.get_lidar_data(sensor); }},
          {"get_imu_data", imus, [](auto& robot, S sensor) { return !robot.get_imu_data_from_topic(sensor); }}};
}

// Sensors that the other model has cannot be opened.
std::set<S> sensors_except(const std::set<S>& foreign) {
  std::set<S> sensors;
  for (int i = 0; i < static_cast<int>(S::SENSOR_NUM); ++i) {
    sensors.insert(static_cast<S>(i));
  }
  for (const S sensor : foreign) {
    sensors.erase(sensor);
  }
  return sensors;
}

template <typename Robot>
void expect_records_of_every_poll(MachineType machine, const std::set<S>& opened, const std::set<S>& imus) {
  test::SdkLogCapture log;
  Robot robot;
  ASSERT_TRUE(robot.sensor_base_init(opened, machine, false));
  for (const Poll& poll : polls(imus)) {
    for (const S sensor : sensors_except({})) {
      const int stage = poll.family.count(sensor) == 0 ? 0 : opened.count(sensor) == 0 ? 1 : 2;
      log.clear();
      EXPECT_TRUE(poll.is_empty(robot, sensor));
      EXPECT_EQ(log.texts("error"), Texts{poll.text(sensor, stage)});
    }
  }
}

TEST_F(Facade, EverySensorIsRefusedWithItsReason) {
  const std::set<S> k2_imus = {S::TORSO_IMU, S::LIDAR_IMU, S::CHASSIS_IMU};
  const std::set<S> r5_imus = {S::HEAD_IMU, S::BACK_IMU, S::CHASSIS_IMU};
  const std::set<S> k2_sensors =
      sensors_except({S::HEAD_LIDAR, S::BACK_LIDAR, S::CHASSIS_LIDAR, S::HEAD_IMU, S::BACK_IMU});
  const std::set<S> r5_sensors =
      sensors_except({S::BASE_LIDAR, S::TORSO_IMU, S::LIDAR_IMU, S::LEFT_FRONT_SURROUND_CAMERA,
                      S::RIGHT_FRONT_SURROUND_CAMERA, S::LEFT_REAR_SURROUND_CAMERA, S::RIGHT_REAR_SURROUND_CAMERA});
  for (const bool opened : {false, true}) {
    using k2::NorvikRobotK2;
    using r5::NorvikRobotR5;
    expect_records_of_every_poll<NorvikRobotK2>(MachineType::K2, opened ? k2_sensors : std::set<S>(), k2_imus);
    expect_records_of_every_poll<NorvikRobotR5>(MachineType::R5, opened ? r5_sensors : std::set<S>(), r5_imus);
  }
}

TEST_F(Sensors, PollingGivesTheNewestSampleUntilABetterOneComes) {
  ASSERT_TRUE(open({S::HEAD_LEFT_CAMERA}));
  log_.clear();
  EXPECT_EQ(robot_.get_ultrasonic_data(static_cast<UltrasonicType>(8)), nullptr);
  EXPECT_EQ(log_.texts("error"),
            Texts{"get_ultrasonic_data error,sensor interface init failed (BASE_ULTRASONIC not enabled)"});
  image(S::HEAD_LEFT_CAMERA, 1);
  const auto sample = robot_.get_rgb_data(S::HEAD_LEFT_CAMERA);
  ASSERT_NE(sample, nullptr);
  EXPECT_EQ(robot_.get_rgb_data(S::HEAD_LEFT_CAMERA), sample);
  EXPECT_TRUE(log_.has("info", "get_rgb_data success"));
  robot_.image_callback(camera(S::HEAD_LEFT_CAMERA), nullptr);
  EXPECT_TRUE(log_.has("error", "left_head_camera_image_callback message is nullptr"));
  EXPECT_EQ(robot_.get_rgb_data(S::HEAD_LEFT_CAMERA), sample);
}

TEST_F(Sensors, CallbacksAreAcceptedByFamilyAndRunInOrder) {
  ASSERT_TRUE(open({S::HEAD_LEFT_CAMERA, S::LEFT_REAR_SURROUND_CAMERA, S::LEFT_ARM_INFRA_CAMERA_1, S::BASE_LIDAR}));
  EXPECT_EQ(get_sensor_callbacks(robot_), static_cast<SensorCallbacks*>(&robot_));
  const struct {
    std::function<ControlStatus()> add;
    ControlStatus status;
    const char* level;
    const char* text;
  } cases[] = {
      {[&] { return robot_.add_rgb_data_callback(S::LEFT_ARM_DEPTH_CAMERA, {}); }, ControlStatus::INVALID_INPUT,
       "error", "add_rgb_data_callback invalid input"},
      {[&] { return robot_.add_depth_data_callback(S::LEFT_ARM_DEPTH_CAMERA, {}); }, ControlStatus::INIT_FAILED,
       "error", "add_depth_data_callback init failed"},
      {[&] { return robot_.add_ir_data_callback(S::LEFT_ARM_INFRA_CAMERA_1, {}); }, ControlStatus::SUCCESS, "info",
       "add_ir_data_callback success"},
      {[&] { return robot_.add_camera_intrinsic_callback(S::LEFT_ARM_INFRA_CAMERA_1, {}); },
       ControlStatus::INVALID_INPUT, "error", "add_camera_intrinsic_callback invalid input"},
      {[&] { return robot_.add_lidar_callback(S::LEFT_ARM_CAMERA, {}); }, ControlStatus::INIT_FAILED, "error",
       "add_lidar_callback init failed"},
      {[&] { return robot_.add_lidar_callback(S::HEAD_LEFT_CAMERA, {}); }, ControlStatus::SUCCESS, "info",
       "add_lidar_callback success"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    log_.clear();
    EXPECT_EQ(c.add(), c.status);
    EXPECT_EQ(log_.texts(c.level), Texts{c.text});
  }

  std::vector<int> calls;
  for (const int number : {1, 2}) {
    for (const S sensor : {S::HEAD_LEFT_CAMERA, S::LEFT_REAR_SURROUND_CAMERA}) {
      EXPECT_EQ(robot_.add_rgb_data_callback(sensor,
                                             [&calls, number, sensor, this](auto image) {
                                               EXPECT_EQ(robot_.get_rgb_data(sensor), image);
                                               calls.push_back(number);
                                             }),
                ControlStatus::SUCCESS);
    }
  }
  EXPECT_TRUE(log_.has("info", "add_camera_rgb_callback success"));
  image(S::HEAD_LEFT_CAMERA, 1);
  image(S::LEFT_REAR_SURROUND_CAMERA, 1);  // Surround cameras are polled only.
  EXPECT_EQ(calls, (std::vector<int>{1, 2}));
  EXPECT_NE(robot_.get_rgb_data(S::LEFT_REAR_SURROUND_CAMERA), nullptr);
}

// A callback may wait for whatever it likes: neither registrations nor the other streams of its family wait for it.
TEST_F(Sensors, CallbacksThatWaitHoldUpNobody) {
  ASSERT_TRUE(open({S::HEAD_LEFT_CAMERA, S::HEAD_RIGHT_CAMERA}));
  std::promise<void> answer;
  std::atomic<bool> waits{false};
  std::atomic<int> others{0};
  robot_.add_rgb_data_callback(S::HEAD_LEFT_CAMERA, [&, answered = answer.get_future().share()](auto) {
    waits = true;
    robot_.add_rgb_data_callback(S::HEAD_LEFT_CAMERA, [&](auto) { ++others; });  // From the next image on.
    answered.wait();
  });
  std::thread left([&] { image(S::HEAD_LEFT_CAMERA, 1); });
  ASSERT_TRUE(eventually([&] { return waits.load(); }));
  std::atomic<int> registered{0};
  std::vector<std::thread> registrations;
  for (int i = 0; i < 20; ++i) {
    registrations.emplace_back([&] {
      robot_.add_rgb_data_callback(S::HEAD_RIGHT_CAMERA, [&](auto) { ++others; });
      ++registered;
    });
  }
  EXPECT_TRUE(eventually([&] { return registered == 20; }));
  std::thread right([&] { image(S::HEAD_RIGHT_CAMERA, 1); });
  EXPECT_TRUE(eventually([&] { return others == 20; }));
  answer.set_value();
  left.join();
  right.join();
  for (auto& registration : registrations) {
    registration.join();
  }
  EXPECT_EQ(others, 20);
  image(S::HEAD_LEFT_CAMERA, 2);
  EXPECT_EQ(others, 21);
}

TEST_F(Sensors, RawImagesTakeTheirSizeFromTheCamera) {
  ASSERT_TRUE(open({S::LEFT_ARM_DEPTH_CAMERA}));
  image(S::LEFT_ARM_DEPTH_CAMERA, 1);
  EXPECT_EQ(robot_.get_depth_data(S::LEFT_ARM_DEPTH_CAMERA)->width, 0U);
  auto info = std::make_shared<sensor_proto::CameraInfo>();
  info->set_height(480);
  info->set_width(640);
  robot_.camera_info_callback(camera(S::LEFT_ARM_DEPTH_CAMERA), info);
  image(S::LEFT_ARM_DEPTH_CAMERA, 2);
  EXPECT_EQ(robot_.get_depth_data(S::LEFT_ARM_DEPTH_CAMERA)->width, 640U);
  EXPECT_EQ(robot_.get_depth_data(S::LEFT_ARM_DEPTH_CAMERA)->height, 480U);
}

TEST_F(Sensors, UltrasonicReportsAreTakenFieldByField) {
  using U = UltrasonicType;
  ASSERT_TRUE(open({S::BASE_ULTRASONIC}));
  ultrasonic(R"({"timestamp":5,"u1":1500})");
  EXPECT_EQ(distance(U::ULTRASONIC_0), 1.5);
  EXPECT_EQ(robot_.get_ultrasonic_data(U::ULTRASONIC_0)->timestamp_ns, 5000);
  EXPECT_EQ(distance(U::ULTRASONIC_1), -1);
  ultrasonic(R"({"timestamp":6,"u1":"near","u8":2000,"u2":250})");
  EXPECT_EQ(distance(U::ULTRASONIC_0), 1.5);
  EXPECT_EQ(distance(U::ULTRASONIC_1), 2.0);
  EXPECT_EQ(distance(U::ULTRASONIC_7), 0.25);
  EXPECT_TRUE(log_.has_containing("error", "ultrasonic_callback: parse field u1 failed: [json"));

  const struct {
    const char* text;
    const char* record;
  } bad[] = {{R"({"u1":9})", "ultrasonic_callback: timestamp field missing"},
             {"[]", "ultrasonic_callback: timestamp field missing"},
             {"{", "ultrasonic_callback: json parse error: "},
             {R"({"timestamp":"now","u1":9})", "ultrasonic_callback: json parse error: "},
             {"", "ultrasonic_callback: data invalid"}};
  for (const auto& c : bad) {
    SCOPED_TRACE(c.text);
    log_.clear();
    ultrasonic(c.text);
    EXPECT_TRUE(log_.has_containing("error", c.record));
    EXPECT_EQ(distance(U::ULTRASONIC_0), 1.5);
  }
  ultrasonic(R"({"timestamp":1e300,"u1":1})");
  EXPECT_EQ(distance(U::ULTRASONIC_0), 0.001);
}

TEST_F(Sensors, InfraredChannelsOpenOnceOnTheCamerasWord) {
  ASSERT_TRUE(open({S::LEFT_ARM_INFRA_CAMERA_1}));
  const auto tell = [&](const char* parameters) {
    auto message = std::make_shared<core_proto::StringValue>();
    message->set_value(parameters);
    log_.clear();
    robot_.arm_camera_param_callback(arm_camera_channels()[0], message);
  };
  const struct {
    const char* parameters;
    const char* record;
  } bad[] = {{"{}", "left_arm_camera_param_callback: ir_enabled field missing"},
             {"x", "left_arm_camera_param_callback: json parse error: "},
             {R"({"ir_enabled":1})", "left_arm_camera_param_callback: json parse error: "}};
  for (const auto& c : bad) {
    SCOPED_TRACE(c.parameters);
    tell(c.parameters);
    EXPECT_TRUE(log_.has_containing("error", c.record));
  }
  tell(R"({"ir_enabled":false})");
  EXPECT_TRUE(log_.records().empty());
  tell(R"({"ir_enabled":true})");
  EXPECT_EQ(log_.texts("info"), (Texts{"create robot_sensor_reader /left_arm_camera/infra1/image_rect_raw success.",
                                       "create robot_sensor_reader /left_arm_camera/infra1/camera_info success."}));
  tell(R"({"ir_enabled":true})");
  EXPECT_TRUE(log_.records().empty());
}

TEST_F(Sensors, ObservationsMatchTheClosestSamples) {
  ASSERT_TRUE(open({S::HEAD_LEFT_CAMERA, S::LEFT_ARM_DEPTH_CAMERA}, true));
  for (const int64_t sec : {10, 20, 30, 40}) {  // The first is pushed out.
    image(S::LEFT_ARM_DEPTH_CAMERA, sec);
  }
  for (int64_t sec = 1; sec <= 13; ++sec) {
    joints(sec);
  }
  image(S::HEAD_LEFT_CAMERA, 25);
  const auto observation = robot_.get_synced_observation({S::HEAD_LEFT_CAMERA, S::LEFT_ARM_DEPTH_CAMERA}, true);
  ASSERT_NE(observation, nullptr);
  EXPECT_EQ(observation->rgb_data.at(S::HEAD_LEFT_CAMERA)->timestamp_ns, 25'000'000'000);
  EXPECT_EQ(observation->depth_data.at(S::LEFT_ARM_DEPTH_CAMERA)->timestamp_ns, 20'000'000'000);  // The older of two.
  EXPECT_EQ(observation->joint_state->timestamp_ns, 13'000'000'000);

  image(S::HEAD_LEFT_CAMERA, 0);
  const auto early = robot_.get_synced_observation({S::HEAD_LEFT_CAMERA, S::LEFT_ARM_DEPTH_CAMERA}, true);
  EXPECT_EQ(early->depth_data.at(S::LEFT_ARM_DEPTH_CAMERA)->timestamp_ns, 20'000'000'000);
  EXPECT_EQ(early->joint_state->timestamp_ns, 2'000'000'000);
  EXPECT_TRUE(robot_.get_synced_observation({S::LEFT_ARM_DEPTH_CAMERA}, false)->rgb_data.empty());
}

TEST_F(Sensors, ObservationsSayWhatIsMissing) {
  ASSERT_TRUE(open({S::HEAD_LEFT_CAMERA}, true));
  image(S::HEAD_LEFT_CAMERA, 1);
  const struct {
    std::vector<S> cameras;
    bool with_joints;
    const char* text;
  } cases[] = {
      {{}, true, "input invalid: empty cameras"},
      {{S::BASE_LIDAR}, false, "input invalid anchor camera"},
      {{S::LEFT_ARM_INFRA_CAMERA_1}, false, "input invalid anchor camera"},
      {{S::HEAD_RIGHT_CAMERA, S::BASE_LIDAR}, false, "anchor frame unavailable"},
      {{S::HEAD_LEFT_CAMERA, S::BASE_LIDAR}, false, "input contains non-camera sensor"},
      {{S::HEAD_LEFT_CAMERA, S::HEAD_RIGHT_CAMERA}, false, "failed to match rgb camera"},
      {{S::HEAD_LEFT_CAMERA, S::LEFT_ARM_DEPTH_CAMERA}, false, "failed to match depth camera"},
      {{S::HEAD_LEFT_CAMERA, S::HEAD_LEFT_CAMERA}, true, "failed to match joint state"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    log_.clear();
    EXPECT_EQ(robot_.get_synced_observation(c.cameras, c.with_joints), nullptr);
    EXPECT_EQ(log_.texts("error"), Texts{std::string("get_synced_observation error,") + c.text});
  }
  EXPECT_TRUE(open({}, false));  // Only the mode changes.
  log_.clear();
  EXPECT_EQ(robot_.get_synced_observation({S::HEAD_LEFT_CAMERA}, false), nullptr);
  EXPECT_EQ(log_.texts("error"), Texts{"get_synced_observation error,sync mode is disabled"});
}

TEST_F(Sensors, SamplesArriveOverTheWireWhileTheRobotGoesAway) {
  const auto node = ovimux::CreateNode("camera", "");
  ovimux::Qos qos;
  qos.payload_kind = ovimux::kLargePayloadKind;
  const auto writer = node->CreateWriter<sensor_proto::CompressedImage>("/front_head_camera/left_color/image_raw", qos);
  auto message = std::make_shared<sensor_proto::CompressedImage>();
  message->set_format("jpeg");
  for (int round = 0; round < 3; ++round) {
    k2::NorvikRobotK2 robot;
    ASSERT_TRUE(robot.sensor_base_init({S::HEAD_LEFT_CAMERA}, MachineType::K2, true));
    EXPECT_TRUE(eventually([&] {
      writer->Publish(message);
      return robot.get_rgb_data(S::HEAD_LEFT_CAMERA) != nullptr;
    }));
    for (int i = 0; i < 100; ++i) {
      writer->Publish(message);
    }
  }
}

TEST_F(Sensors, ModelsHaveTheirOwnChannels) {
  const struct {
    MachineType machine;
    std::set<S> sensors;
    Texts channels;
  } cases[] = {
      {MachineType::K2,
       {S::BASE_LIDAR, S::CHASSIS_IMU, S::LIDAR_IMU, S::TORSO_IMU, S::BASE_ULTRASONIC},
       {"create robot_sensor_reader /cam_arm_l/meta_data/params success.",
        "create robot_sensor_reader /cam_arm_r/meta_data/params success.",
        "create robot_sensor_reader /lidar_chassis_f/lidar/data_raw success.",
        "create imu_reader /chassis/imu success.", "create imu_reader /lidar_chassis_f/imu/data_raw success.",
        "create ultrasonic reader /base_ultra success."}},
      {MachineType::R5,
       {S::CHASSIS_LIDAR, S::BACK_LIDAR, S::CHASSIS_IMU, S::HEAD_IMU},
       {"create robot_sensor_reader /cam_arm_l/meta_data/params success.",
        "create robot_sensor_reader /cam_arm_r/meta_data/params success.",
        "create robot_sensor_reader /lidar_body_b/lidar/data_raw success.",
        "create robot_sensor_reader lidar_chassis_f/lidar/data_raw success.",
        "create imu_reader /lidar_head_f/imu/data_raw success.",
        "create imu_reader /lidar_chassis_f/imu/data_raw success."}},
  };
  for (const auto& c : cases) {
    k2::NorvikRobotK2 robot;
    log_.clear();
    ASSERT_TRUE(robot.sensor_base_init(c.sensors, c.machine, false));
    Texts expected = {"wbc_node create success"};
    expected.insert(expected.end(), c.channels.begin(), c.channels.end());
    expected.emplace_back("sensor interface init success");
    EXPECT_EQ(log_.texts("info"), expected);
  }
}

}  // namespace
}  // namespace norvik::sdk
