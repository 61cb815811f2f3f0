// Feeds arbitrary bytes, as far as they are messages at all, to the conversions of every sensor and of the onboard
// configuration. The records must be usable to the last byte.
#include <cstdint>
#include <memory>

#include "impl/sensors/sensor_conversion.hpp"
#include "impl/system/device_info.hpp"

namespace {

using namespace norvik;  // NOLINT(google-build-using-namespace)

template <typename Message, typename Convert>
void convert(const uint8_t* data, size_t size, Convert convert_message) {
  auto message = std::make_shared<Message>();
  if (message->ParseFromArray(data, static_cast<int>(size))) {
    convert_message(message);
  }
}

template <typename Record, typename Message>
auto into(bool (*conversion)(const std::shared_ptr<Message>&, std::shared_ptr<Record>&)) {
  return [conversion](const std::shared_ptr<Message>& message) {
    auto record = std::make_shared<Record>();
    conversion(message, record);
  };
}

void convert_picture(const std::shared_ptr<sensor_proto::CompressedImage>& message) {
  std::shared_ptr<sdk::RgbData> colour;
  std::shared_ptr<sdk::DepthData> depth;
  std::shared_ptr<sdk::IrData> infrared;
  sdk::compressed_image_to_rgb_data(message, colour);
  sdk::compressed_image_to_depth_data(message, depth, 480, 640);
  sdk::compressed_image_to_ir_data(message, infrared, 480, 640);
  depth->convert_to_cv2_mat();
  infrared->convert_to_cv2_mat();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  convert<sensor_proto::CompressedImage>(data, size, convert_picture);
  convert<sensor_proto::CameraInfo>(data, size, into(sdk::camera_info_proto_to_camera_info));
  convert<sensor_proto::PointCloud2>(data, size, into(sdk::point_cloud2_proto_to_point_cloud2));
  convert<sensor_proto::ImuSensor>(data, size, into(sdk::imu_proto_to_imu_data));
  convert<system_proto::mission_manager_proto::OnboardConfig>(
      data, size, [](const auto& config) { sdk::device_info_from(*config); });
  return 0;
}
