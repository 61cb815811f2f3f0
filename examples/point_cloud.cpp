// Saves one scan of the chassis' lidar as a PCD file (default: scan.pcd), which point cloud viewers open.

#include <fstream>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

std::string file_name = "scan.pcd";

// The same lidar has a name of its own on each model.
SensorType lidar() { return examples::model() == MachineType::K2 ? SensorType::BASE_LIDAR : SensorType::CHASSIS_LIDAR; }

void write_pcd(const std::vector<PointXyz>& points, std::ostream& out) {
  out << "VERSION .7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nCOUNT 1 1 1\nWIDTH " << points.size()
      << "\nHEIGHT 1\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS " << points.size() << "\nDATA ascii\n";
  for (const PointXyz& point : points) {
    out << point.x << ' ' << point.y << ' ' << point.z << '\n';
  }
}

bool save_scan(NorvikRobot& robot) {
  std::shared_ptr<LidarData> cloud;
  if (!examples::wait_until([&] { return (cloud = robot.get_lidar_data(lidar())) != nullptr; }, 5.0)) {
    std::cout << "No scan came." << std::endl;
    return false;
  }
  const std::vector<PointXyz> points = to_xyz(*cloud);
  std::ofstream file(file_name);
  write_pcd(points, file);
  std::cout << "Saved " << points.size() << " points in " << file_name << ", frame " << cloud->frame_id << std::endl;
  return !points.empty() && file.flush().good();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    file_name = argv[1];
  }
  return examples::run(save_scan, {lidar()});
}
