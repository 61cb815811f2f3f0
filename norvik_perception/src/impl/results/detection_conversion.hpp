#pragma once

#include <memory>
#include <Eigen/Core>
#include <opencv2/core/mat.hpp>

#include <norvik_sdk/detection_result.hpp>

#include "norvik/perception_proto/perception.pb.h"

// From messages of the perception service to the public record. Nothing here throws for bad data: what cannot be used
// gives the value named below and one record in the log. No thread waits for another.
namespace PerceptionUtils {

// The identity for anything but 4 by 4 with all its elements. The wire has doubles, row by row.
Eigen::Matrix4f convert_proto_to_eigen(const norvik::core_proto::Matrix& matrix);

// The image in a matrix that owns its pixels, colours in BGR order; empty when it has no pixels, an unknown encoding,
// or fewer bytes than its size and step ask for.
cv::Mat parse_proto_image(const norvik::sensor_proto::Image& image);

// One row of points. `maker` as in DetectionResult.
norvik::sdk::PerceptionCloud::Ptr parse_single_point_cloud(
    const norvik::sensor_proto::PointCloud& cloud,
    decltype(DetectionResult::cloud_maker) maker = &norvik::sdk::detail::make_cloud);

// Replaces all of `out`. False when there are neither clouds, nor poses, nor a mask; and, with `out` as it was, when
// there is no memory for them.
bool msg_to_struct(const std::shared_ptr<const norvik::perception_proto::DetectionResult>& message,
                   DetectionResult& out);

}  // namespace PerceptionUtils
