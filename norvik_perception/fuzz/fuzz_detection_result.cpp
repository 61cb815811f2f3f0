// Feeds arbitrary bytes, as far as they are a message at all, to the conversion of perception results. The record must
// be usable to the last pixel and point.
#include <cstdint>
#include <opencv2/core.hpp>

#include <norvik_sdk/perception_utils.hpp>

#include "impl/results/detection_conversion.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static DetectionResult record;  // Of one message after the other, as an application does.
  const auto message = std::make_shared<norvik::perception_proto::DetectionResult>();
  if (!message->ParseFromArray(data, static_cast<int>(size))) {
    return 0;
  }
  PerceptionUtils::msg_to_struct(message, record);
  volatile double sum = cv::norm(record.instance_mask.reshape(1));
  for (const auto& cloud : record.point_clouds) {
    for (const auto& point : *cloud) sum = sum + point.x;
  }
  for (const auto& pose : record.poses) sum = sum + PerceptionUtils::correct_quaternion_to_x_forward(pose).sum();
  return 0;
}
