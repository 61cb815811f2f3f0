// Scans of the scene.
#include <cmath>
#include <cstring>

#include "norvik/sensor_proto/point_cloud.pb.h"
#include "services/sensors/sensor_moment.hpp"
#include "services/sensors/sensor_tables.hpp"
#include "services/services.hpp"
#include "sight/background_worker.hpp"
#include "sight/scan.hpp"
#include "wire/publisher.hpp"

namespace norvik::simulator {

namespace {

using sensor_proto::PointCloud2;

void add_field(PointCloud2& cloud, const char* name, uint32_t offset) {
  auto& field = *cloud.add_fields();
  field.set_name(name);
  field.set_offset(offset);
  field.set_datatype(sensor_proto::PointField::FLOAT32);
  field.set_count(1);
}

std::shared_ptr<PointCloud2> make_cloud(const std::vector<ScanPoint>& points) {
  auto cloud = std::make_shared<PointCloud2>();
  cloud->set_height(1);
  cloud->set_width(static_cast<uint32_t>(points.size()));
  add_field(*cloud, "x", offsetof(ScanPoint, x));
  add_field(*cloud, "y", offsetof(ScanPoint, y));
  add_field(*cloud, "z", offsetof(ScanPoint, z));
  add_field(*cloud, "intensity", offsetof(ScanPoint, intensity));
  cloud->set_point_step(sizeof(ScanPoint));
  cloud->set_row_step(static_cast<uint32_t>(points.size() * sizeof(ScanPoint)));
  cloud->set_data(points.data(), points.size() * sizeof(ScanPoint));
  cloud->set_is_dense(true);
  return cloud;
}

class Lidar {
 public:
  Lidar(Environment& environment, const SensorRow& row)
      : kinematics_(environment.world.kinematics()), row_(row), clouds_(environment, row.topic, stream_qos()) {}

  bool is_wanted() const { return clouds_.has_readers(); }

  void scan(Scene& scene, const SensorMoment& moment) {
    if (const auto pose = moment.link_pose(kinematics_, row_.frame)) {
      const auto cloud = make_cloud(scan_scene(scene, *pose));
      set_header(*cloud->mutable_header(), moment.stamp, row_.frame, ++seq_);
      clouds_.publish(cloud);
    }
  }

 private:
  const Kinematics& kinematics_;
  const SensorRow& row_;
  Publisher<PointCloud2> clouds_;
  uint32_t seq_ = 0;
};

class LidarService : public Service {
 public:
  explicit LidarService(Environment& environment) : regular_(environment.sensors.lidar_hertz) {
    for (const SensorRow& row : rows_of(lidar_table(), environment.world.robot())) {
      lidars_.push_back(std::make_unique<Lidar>(environment, row));
    }
  }

  void tick(const Tick& tick) override {
    if (regular_.due(tick.time) && worker_.is_idle()) {
      worker_.start([this, moment = SensorMoment(tick)] { scan(moment); });
    }
  }

 private:
  void scan(const SensorMoment& moment) {
    for (const auto& lidar : lidars_) {
      if (lidar->is_wanted()) {
        scene_.move_to(moment.time, moment.things);
        lidar->scan(scene_, moment);
      }
    }
  }

  Periodic regular_;
  std::vector<std::unique_ptr<Lidar>> lidars_;
  Scene scene_;              // The worker's; without the robot's own body, which a real one filters out.
  BackgroundWorker worker_;  // Last: its job uses the others.
};

}  // namespace

std::unique_ptr<Service> make_lidar_service(Environment& environment) {
  return std::make_unique<LidarService>(environment);
}

}  // namespace norvik::simulator
