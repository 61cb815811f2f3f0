// Saves one scan of the chassis' lidar as a PCD file (default: scan.pcd), which point cloud viewers open.

#include <cstring>
#include <fstream>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

std::string file_name = "scan.pcd";

// The same lidar has a name of its own on each model.
SensorType lidar() { return examples::model() == MachineType::K2 ? SensorType::BASE_LIDAR : SensorType::CHASSIS_LIDAR; }

// Where a field of the cloud's points is; the points' size when there is no such field.
uint32_t offset_of(const LidarData& cloud, const std::string& name) {
  constexpr int kFloat32 = 7;
  for (const PointField& field : cloud.fields) {
    if (field.name == name && field.datatype == kFloat32) {
      return field.offset;
    }
  }
  return cloud.point_step;
}

bool write_pcd(const LidarData& cloud, std::ostream& out) {
  std::vector<uint32_t> offsets;
  for (const char* name : {"x", "y", "z"}) {
    offsets.push_back(offset_of(cloud, name));
    if (offsets.back() + sizeof(float) > cloud.point_step) {
      std::cout << "The points have no " << name << std::endl;
      return false;
    }
  }
  const size_t count = cloud.data.size() / cloud.point_step;
  out << "VERSION .7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nCOUNT 1 1 1\nWIDTH " << count
      << "\nHEIGHT 1\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS " << count << "\nDATA ascii\n";
  for (size_t i = 0; i < count; ++i) {
    for (const uint32_t offset : offsets) {
      float value = 0.0F;
      std::memcpy(&value, cloud.data.data() + i * cloud.point_step + offset, sizeof(value));
      out << value << ' ';
    }
    out << '\n';
  }
  std::cout << "Saved " << count << " points in " << file_name << ", frame " << cloud.frame_id << std::endl;
  return count > 0;
}

bool save_scan(NorvikRobot& robot) {
  std::shared_ptr<LidarData> cloud;
  if (!examples::wait_until([&] { return (cloud = robot.get_lidar_data(lidar())) != nullptr; }, 5.0)) {
    std::cout << "No scan came." << std::endl;
    return false;
  }
  std::ofstream file(file_name);
  return write_pcd(*cloud, file) && file.flush().good();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    file_name = argv[1];
  }
  return examples::run(save_scan, {lidar()});
}
