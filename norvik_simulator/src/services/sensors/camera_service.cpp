// Pictures, depth and infrared pictures of the scene, and what the cameras are like.
#include <opencv2/imgcodecs.hpp>

#include "norvik/sensor_proto/camera.pb.h"
#include "norvik/sensor_proto/image.pb.h"
#include "services/sensors/sensor_moment.hpp"
#include "services/sensors/sensor_tables.hpp"
#include "services/services.hpp"
#include "sight/background_worker.hpp"
#include "sight/robot_body.hpp"
#include "wire/publisher.hpp"

namespace norvik::simulator {

namespace {

using sensor_proto::CameraInfo;
using sensor_proto::CompressedImage;

constexpr double kInfoHertz = 5.0;
constexpr uint32_t kDepthUnits = 1000;  // Pixel values of one metre.

std::shared_ptr<CameraInfo> make_info(const Pinhole& camera, const char* frame, const core_proto::Timestamp& stamp,
                                      uint32_t seq) {
  auto info = std::make_shared<CameraInfo>();
  set_header(*info->mutable_header(), stamp, frame, seq);
  info->set_height(static_cast<uint32_t>(camera.height));
  info->set_width(static_cast<uint32_t>(camera.width));
  info->set_distortion_model("plumb_bob");
  info->mutable_d()->Resize(5, 0.0);
  const double f = camera.focal;
  const double cx = camera.centre_x();
  const double cy = camera.centre_y();
  for (const double value : {f, 0.0, cx, 0.0, f, cy, 0.0, 0.0, 1.0}) {
    info->add_k(value);
  }
  for (const double value : {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}) {
    info->add_r(value);
  }
  for (const double value : {f, 0.0, cx, 0.0, 0.0, f, cy, 0.0, 0.0, 0.0, 1.0, 0.0}) {
    info->add_p(value);
  }
  info->set_camera_type("pinhole");
  return info;
}

int64_t nanoseconds(const core_proto::Timestamp& stamp) {
  return stamp.sec() * INT64_C(1000000000) + static_cast<int64_t>(stamp.nanosec());
}

void set_pixels(CompressedImage& image, const char* format, const cv::Mat& picture) {
  image.set_format(format);
  image.set_data(picture.data, picture.total() * picture.elemSize());
}

void set_content(CompressedImage& image, cv::Mat& picture, PixelKind kind) {
  if (kind == PixelKind::kDepth) {
    set_pixels(image, "16UC1", picture);
    image.set_depth_scale(kDepthUnits);
  } else if (kind == PixelKind::kInfrared) {
    set_pixels(image, "8UC1", picture);
  } else {
    stamp_picture(picture, nanoseconds(image.header().timestamp()));
    std::vector<uint8_t> jpeg;
    cv::imencode(".jpg", picture, jpeg);
    image.set_format("jpeg");
    image.set_data(jpeg.data(), jpeg.size());
  }
}

class Camera {
 public:
  Camera(Environment& environment, const CameraRow& row, const Pinhole& model)
      : kinematics_(environment.world.kinematics()),
        infrared_(environment.infrared),
        row_(row),
        model_(model),
        images_(environment, row.image_topic(), stream_qos()),
        infos_(environment, row.info_topic()) {}

  // Somebody looks, and the camera is in the mode for it.
  bool is_wanted() const { return is_on() && images_.has_readers(); }

  void report(const core_proto::Timestamp& stamp) {
    if (is_on()) {
      infos_.publish(make_info(model_, row_.frame, stamp, ++info_seq_));
    }
  }

  void take(Scene& scene, const SensorMoment& moment) {
    const auto pose = moment.link_pose(kinematics_, row_.frame);
    if (!pose) {
      return;
    }
    auto image = std::make_shared<CompressedImage>();
    set_header(*image->mutable_header(), moment.stamp, row_.frame, ++image_seq_);
    cv::Mat picture = take_picture(scene, model_, *pose, row_.kind);
    set_content(*image, picture, row_.kind);
    images_.publish(image);
  }

 private:
  bool is_on() const {
    return row_.infrared == ArmSide::kNone || (row_.infrared == ArmSide::kLeft ? infrared_.left : infrared_.right);
  }

  const Kinematics& kinematics_;
  const InfraredMode& infrared_;
  const CameraRow& row_;
  const Pinhole model_;
  Publisher<CompressedImage> images_;  // The worker's.
  Publisher<CameraInfo> infos_;        // The stepping thread's.
  uint32_t image_seq_ = 0;
  uint32_t info_seq_ = 0;
};

class CameraService : public Service {
 public:
  CameraService(Environment& environment, bool only_k2)
      : pictures_(environment.sensors.camera_hertz),
        body_(environment.world.robot(), environment.world.kinematics()),
        scene_(body_.parts()) {
    const auto& settings = environment.sensors;
    const auto model = make_pinhole(settings.picture_width, settings.picture_height, kHorizontalView);
    for (const CameraRow& row : camera_table()) {
      if (row.only_k2 == only_k2) {
        cameras_.push_back(std::make_unique<Camera>(environment, row, model));
      }
    }
  }

  void tick(const Tick& tick) override {
    if (infos_.due(tick.time)) {
      for (const auto& camera : cameras_) {
        camera->report(tick.stamp);
      }
    }
    // A machine that is too slow for the rate gets fewer pictures.
    if (pictures_.due(tick.time) && worker_.is_idle()) {
      worker_.start([this, moment = SensorMoment(tick)] { take_pictures(moment); });
    }
  }

 private:
  void take_pictures(const SensorMoment& moment) {
    bool moved = false;
    for (const auto& camera : cameras_) {
      if (camera->is_wanted()) {
        if (!moved) {
          scene_.move_to(moment.time, moment.things);
          scene_.move_body(body_.poses(moment.base_frame(), moment.positions));
          moved = true;
        }
        camera->take(scene_, moment);
      }
    }
  }

  Periodic infos_{kInfoHertz};
  Periodic pictures_;
  std::vector<std::unique_ptr<Camera>> cameras_;
  const RobotBody body_;
  Scene scene_;              // The worker's.
  BackgroundWorker worker_;  // Last: its job uses the others.
};

}  // namespace

std::unique_ptr<Service> make_camera_service(Environment& environment) {
  return std::make_unique<CameraService>(environment, false);
}

std::unique_ptr<Service> make_surround_camera_service(Environment& environment) {
  return std::make_unique<CameraService>(environment, true);
}

}  // namespace norvik::simulator
