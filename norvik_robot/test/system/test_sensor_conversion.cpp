#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "impl/sensors/sensor_conversion.hpp"

namespace norvik::sdk {
namespace {

const std::array<double, 9> kUnit3x3 = {1, 0, 0, 0, 1, 0, 0, 0, 1};
const std::array<double, 12> kUnit3x4 = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

template <typename Message>
std::shared_ptr<Message> stamped() {
  auto message = std::make_shared<Message>();
  message->mutable_header()->set_frame_id("frame");
  message->mutable_header()->mutable_timestamp()->set_sec(3);
  message->mutable_header()->mutable_timestamp()->set_nanosec(4);
  return message;
}

TEST(SensorConversion, RefusesEmptyMessages) {
  std::shared_ptr<RgbData> rgb;
  std::shared_ptr<IrData> ir;
  std::shared_ptr<DepthData> depth;
  std::shared_ptr<CameraInfo> info;
  std::shared_ptr<LidarData> cloud;
  std::shared_ptr<ImuData> no_imu;
  auto imu = std::make_shared<ImuData>();
  EXPECT_FALSE(compressed_image_to_rgb_data(nullptr, rgb));
  EXPECT_FALSE(compressed_image_to_ir_data(nullptr, ir, 1, 1));
  EXPECT_FALSE(compressed_image_to_depth_data(nullptr, depth, 1, 1));
  EXPECT_FALSE(camera_info_proto_to_camera_info(nullptr, info));
  EXPECT_FALSE(point_cloud2_proto_to_point_cloud2(nullptr, cloud));
  EXPECT_FALSE(imu_proto_to_imu_data(nullptr, imu));
  EXPECT_FALSE(imu_proto_to_imu_data(stamped<sensor_proto::ImuSensor>(), no_imu));
  EXPECT_FALSE(rgb || ir || depth || info || cloud || no_imu);
}

TEST(SensorConversion, CopiesImagesAsTheyCame) {
  auto message = stamped<sensor_proto::CompressedImage>();
  message->set_format("16UC1");
  message->set_data(std::string("\x01\x00\xff", 3));
  message->set_depth_scale(1000);
  std::shared_ptr<DepthData> depth;
  ASSERT_TRUE(compressed_image_to_depth_data(message, depth, 480, 640));
  EXPECT_EQ(depth->timestamp_ns, 3'000'000'004);
  EXPECT_EQ(depth->frame_id, "frame");
  EXPECT_EQ(depth->format, "16UC1");
  EXPECT_EQ(depth->data, (std::vector<uint8_t>{1, 0, 255}));
  EXPECT_EQ(depth->depth_scale, 1000U);
  EXPECT_EQ(depth->height, 480U);
  EXPECT_EQ(depth->width, 640U);

  message->clear_header();
  ASSERT_TRUE(compressed_image_to_depth_data(message, depth, 0, 0));
  EXPECT_EQ(depth->timestamp_ns, 0);
  EXPECT_EQ(depth->frame_id, "");
}

// The second user still sees the picture when the first has let go of it.
TEST(SensorConversion, GivesTheBufferOfAPictureBackWithItsLastUser) {
  const auto recycler = std::make_shared<ovimux::BufferRecycler>();
  auto sample = std::make_shared<ImageSample>();
  sample->recycler = recycler;
  sample->bulk.assign(10000, 7);
  const uint8_t* const buffer = sample->bulk.data();
  std::shared_ptr<RgbData> image;
  ASSERT_TRUE(convert_sample(sample, image, compressed_image_to_rgb_data));
  sample.reset();
  auto second_user = image;
  image.reset();
  EXPECT_EQ(recycler->take().capacity(), 0U);
  EXPECT_EQ(second_user->data, std::vector<uint8_t>(10000, 7));
  second_user.reset();
  EXPECT_EQ(recycler->take().data(), buffer);
}

TEST(SensorConversion, ReplacesMatricesOfAWrongLengthEachByItself) {
  auto message = stamped<sensor_proto::CameraInfo>();
  message->mutable_k()->Resize(8, 2.0);
  message->mutable_r()->Resize(9, 3.0);
  message->mutable_p()->Resize(13, 4.0);
  message->mutable_roi()->set_do_rectify(true);
  message->add_t(0.5);
  std::shared_ptr<CameraInfo> info;
  ASSERT_TRUE(camera_info_proto_to_camera_info(message, info));
  EXPECT_EQ(info->k, kUnit3x3);
  EXPECT_EQ(info->r[8], 3.0);
  EXPECT_EQ(info->p, kUnit3x4);
  EXPECT_TRUE(info->roi.do_rectify);
  EXPECT_EQ(info->T, std::vector<double>{0.5});

  ASSERT_TRUE(camera_info_proto_to_camera_info(std::make_shared<sensor_proto::CameraInfo>(), info));
  EXPECT_EQ(info->r, kUnit3x3);
  EXPECT_FALSE(info->roi.do_rectify);
}

TEST(SensorConversion, RefillsACloud) {
  auto message = stamped<sensor_proto::PointCloud2>();
  auto* const field = message->add_fields();
  field->set_name("x");
  field->set_offset(4);
  field->set_datatype(sensor_proto::PointField::FLOAT32);
  field->set_count(1);
  message->set_data("abcd");
  std::shared_ptr<LidarData> cloud;
  ASSERT_TRUE(point_cloud2_proto_to_point_cloud2(message, cloud));
  ASSERT_TRUE(point_cloud2_proto_to_point_cloud2(message, cloud));
  ASSERT_EQ(cloud->fields.size(), 1U);
  EXPECT_EQ(cloud->fields[0].name, "x");
  EXPECT_EQ(cloud->fields[0].offset, 4U);
  EXPECT_EQ(cloud->fields[0].datatype, 7);
  EXPECT_EQ(cloud->data.size(), 4U);
}

TEST(SensorConversion, TakesAccelerationFromGAndLeavesWhatIsMissing) {
  auto imu = std::make_shared<ImuData>();
  imu->gyro_x = 5;
  imu->timestamp_ns = 6;
  auto message = std::make_shared<sensor_proto::ImuSensor>();
  ASSERT_TRUE(imu_proto_to_imu_data(message, imu));
  EXPECT_EQ(imu->timestamp_ns, 6);

  message = stamped<sensor_proto::ImuSensor>();
  message->mutable_accel()->set_z(1.0);
  message->mutable_magnet()->set_y(2.0);
  ASSERT_TRUE(imu_proto_to_imu_data(message, imu));
  EXPECT_EQ(imu->timestamp_ns, 3'000'000'004);
  EXPECT_EQ(imu->accel_z, 9.80665);
  EXPECT_EQ(imu->gyro_x, 5);
  EXPECT_EQ(imu->magnet_y, 2.0);
}

}  // namespace
}  // namespace norvik::sdk
