// A camera outside of the robot that looks at it and writes its pictures to files.
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <opencv2/imgcodecs.hpp>

#include "services/sensors/sensor_moment.hpp"
#include "services/services.hpp"
#include "sight/background_worker.hpp"
#include "sight/picture.hpp"
#include "sight/robot_body.hpp"

namespace norvik::simulator {

namespace {

constexpr double kHertz = 1.0;
constexpr int kKept = 100;                // Pictures; then the first is overwritten.
const KDL::Vector kChest(0.0, 0.0, 1.0);  // What it looks at, in the base's frame.
const KDL::Vector kPlace(1.5, 2.2, 2.2);  // Where it is, in the base's frame, if no wall is nearer.
constexpr double kBeforeTheWall = 0.2;    // m
const Pinhole kLens = make_pinhole(960, 720, 1.0);

// An optical frame at `place`, upright, that looks at `target`.
KDL::Frame look_at(const KDL::Vector& place, const KDL::Vector& target) {
  KDL::Vector ahead = target - place;
  ahead.Normalize();
  KDL::Vector right = ahead * KDL::Vector(0.0, 0.0, 1.0);
  right.Normalize();
  return {KDL::Rotation(right, ahead * right, ahead), place};
}

class ObserverService : public Service {
 public:
  explicit ObserverService(Environment& environment)
      : prefix_(environment.sensors.observer_prefix),
        observer_(environment.observer),
        body_(environment.world.robot(), environment.world.kinematics()),
        scene_(body_.parts()) {}

  void tick(const Tick& tick) override {
    if (prefix_.empty() || !worker_.is_idle()) {
      return;
    }
    std::vector<std::string> files = observer_.take();
    if (regular_.due(tick.time)) {
      char number[16];
      std::snprintf(number, sizeof(number), "%04d.png", count_++ % kKept);
      files.push_back(prefix_ + number);
    }
    if (!files.empty()) {
      worker_.start([this, files, moment = SensorMoment(tick)] { take_picture_to(files, moment); });
    }
  }

 private:
  void take_picture_to(const std::vector<std::string>& files, const SensorMoment& moment) {
    scene_.move_to(moment.time, moment.things);
    scene_.move_body(body_.poses(moment.base_frame(), moment.positions));
    empty_scene_.move_to(moment.time);
    const cv::Mat picture = take_picture(scene_, kLens, choose_place(moment.base_frame()), PixelKind::kColour);
    for (const std::string& file : files) {
      save(file, picture);
    }
  }

  // In front of the wall that is between the robot and where the camera would like to be.
  KDL::Frame choose_place(const KDL::Frame& base) {
    const KDL::Vector chest = base * kChest;
    KDL::Vector way = base * kPlace - chest;
    const double wanted = way.Normalize();
    const KDL::Vector side = KDL::Vector(0.0, 0.0, 1.0) * way;
    const double free = empty_scene_.distance({KDL::Rotation(way, side, way * side), chest}).value_or(wanted + 1.0);
    return look_at(chest + way * std::min(wanted, free - kBeforeTheWall), chest);
  }

  static void save(const std::string& file, const cv::Mat& picture) {
    bool saved = false;
    try {
      saved = cv::imwrite(file, picture);
    } catch (const cv::Exception&) {  // No format has this ending.
    }
    if (!saved) {
      std::cerr << "norvik_simulator: cannot write the picture " << file << std::endl;
    }
  }

  const std::string prefix_;
  Observer& observer_;
  const RobotBody body_;
  Periodic regular_{kHertz};
  int count_ = 0;
  Scene scene_;              // The worker's.
  Scene empty_scene_;        // The worker's; without the robot and the things.
  BackgroundWorker worker_;  // Last: its job uses the others.
};

}  // namespace

std::unique_ptr<Service> make_observer_service(Environment& environment) {
  return std::make_unique<ObserverService>(environment);
}

}  // namespace norvik::simulator
