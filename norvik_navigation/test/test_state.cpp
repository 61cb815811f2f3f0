// What the robot's topics leave behind: localisation, poses, statuses of tasks.

#include <future>

#include "fake_service.hpp"

namespace norvik::test {
namespace {

void score(FakeNavigation& navigation, const std::string& text) {
  navigation.localization_score_callback(text.data(), static_cast<int>(text.size()));
}

std::string score_text(double value, double age_s) {
  const auto now = std::chrono::duration<double, std::micro>(std::chrono::system_clock::now().time_since_epoch());
  return "{\"timestamp\": " + std::to_string(now.count() - age_s * 1e6) + ", \"score\": " + std::to_string(value) + "}";
}

TEST(Localisation, GoesByScoreAndAge) {
  FakeNavigation navigation;
  EXPECT_FALSE(navigation.is_localized());
  const struct {
    double value, age_s;
    bool localized;
  } rows[] = {{0.76, 0.0, true}, {0.75, 0.0, false},  {0.9, 0.4, true},  {0.9, 0.5, false},
              {0.9, 0.0, true},  {0.9, -0.55, false}, {0.9, -0.3, true}, {1e300, 0.0, true}};
  for (const auto& row : rows) {
    score(navigation, score_text(row.value, row.age_s));
    EXPECT_EQ(navigation.is_localized(), row.localized) << row.value << ", " << row.age_s;
  }
}

TEST(Localisation, SurvivesTextsThatAreNone) {
  FakeNavigation navigation;
  score(navigation, score_text(0.9, 0.0));
  for (const std::string text :
       {"", "\xff", "{", "[]", "3", "{\"score\": 0.1}", "{\"timestamp\": 1}", "{\"timestamp\": \"1\", \"score\": 0.1}",
        "{\"timestamp\": 1, \"score\": true}", "{\"timestamp\": null, \"score\": null}"}) {
    SdkLogCapture log;
    score(navigation, text);
    EXPECT_TRUE(navigation.is_localized()) << text;
    EXPECT_EQ(log.texts("error").size(), 1U) << text;
  }
  navigation.localization_score_callback(nullptr, 5);
  EXPECT_TRUE(navigation.is_localized());
}

TEST(Statuses, BelongToTheTasksOfThisObject) {
  FakeNavigation navigation;
  const std::string prefix = navigation.prefix();
  EXPECT_EQ(prefix.size(), 6U);
  EXPECT_NE(prefix, FakeNavigation().prefix());
  EXPECT_EQ(navigation.get_navigation_status(), NaviTaskStatus::UNKNOWN);
  const struct {
    std::string id;
    bool ours;
  } rows[] = {{prefix + "Navi0", true},
              {prefix + "Navi1", false},
              {"OTHERSNavi0", false},
              {prefix + "Navi00", false},
              {"attach_obj_req_0", true},
              {"attach_obj_req_1", false},
              {"detach_obj_req_0", true},
              {prefix, false},
              {"", false}};
  int32_t status = 2;
  for (const auto& row : rows) {
    const int32_t before = navigation.get_navigation_status();
    navigation.report(row.id, ++status);
    EXPECT_EQ(navigation.get_navigation_status(), row.ours ? status : before) << row.id;
    status = status == 7 ? 2 : status;
  }
  navigation.navigation_status_msg_callback(nullptr);
  navigation.pns_status_callback(nullptr);
  navigation.robot_pose_msg_callback(nullptr);
  navigation.evaluate_msg_callback(nullptr);
}

TEST(Poses, AreNeverHalfOfOne) {
  FakeNavigation navigation;
  EXPECT_EQ(navigation.get_current_pose().qw, 0.0);
  std::atomic<bool> over{false};
  auto writer = std::async(std::launch::async, [&] {
    auto message = std::make_shared<spatial_proto::PoseMsg>();
    for (int i = 0; !over; ++i) {
      message->mutable_pose()->mutable_position()->set_x(i);
      message->mutable_pose()->mutable_orientation()->set_w(i);
      navigation.robot_pose_msg_callback(message);
    }
  });
  std::vector<std::future<int>> readers;
  for (int reader = 0; reader < 4; ++reader) {
    readers.push_back(std::async(std::launch::async, [&] {
      int torn = 0;
      for (int i = 0; i < 100'000; ++i) {
        const sdk::Pose pose = navigation.get_current_pose();
        torn += pose.x == pose.qw ? 0 : 1;
        navigation.get_navigation_status();
        navigation.get_navigation_target_status("none");
      }
      return torn;
    }));
  }
  for (auto& reader : readers) {
    EXPECT_EQ(reader.get(), 0);
  }
  over = true;
  writer.get();
  EXPECT_GT(navigation.get_current_pose().x, 0.0);
}

TEST(Names, OfStatuses) {
  EXPECT_EQ(sdk::to_string(NaviStatus::SERVICE_NOT_READY), "SERVICE_NOT_READY");
  EXPECT_EQ(sdk::to_string(static_cast<NaviStatus>(4)), "4");
  EXPECT_EQ(sdk::to_string(static_cast<NaviStatus>(-7)), "-7");
}

}  // namespace
}  // namespace norvik::test
