#include <set>
#include <sstream>

#include "facade_fixture.hpp"
#include "impl/norvik_robot_k2.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {
namespace {

// What the real logger has rotated is found again.
TEST_F(Facade, LogInformationReachesIntoRotatedFiles) {
  LoggerConfig config;
  config.log_dir = home_.path().string() + "/log/";
  config.max_file_size = 2000;
  config.max_files = 100;
  ASSERT_TRUE(Logger::get_instance().init_internal_logger(config));
  std::set<std::string> written;
  for (int i = 0; i < 300; ++i) {
    written.insert("record " + std::to_string(i));
    SDK_LOG(warning) << "record " << i;
  }
  k2::NorvikRobotK2 robot;
  std::set<std::string> found;
  EXPECT_TRUE(eventually([&] {
    std::istringstream lines(robot.get_log_information(0, LogLevel::warning)->content);
    found.clear();
    for (std::string line; std::getline(lines, line);) {
      found.insert(line);
    }
    return found.size() >= written.size();
  }));
  EXPECT_EQ(found, written);
}

}  // namespace
}  // namespace norvik::sdk
