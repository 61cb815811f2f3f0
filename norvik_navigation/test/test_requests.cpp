// What goes over the wire for each operation, whole messages.

#include "fake_service.hpp"

namespace norvik::test {
namespace {

using sdk::BoxInfo;
using sdk::NaviConfigRequest;
using sdk::NaviPlanRequest;
using sdk::NaviRequest;
using sdk::Waypoint;

constexpr char kGoalPose[] = "{ position { x: 1 y: 2 } orientation { z: 0.6 w: 0.8 } }";

struct Row {
  const char* name;
  std::function<void(sdk::NorvikNavigation&)> call;
  std::string request;
};

template <typename Message, typename Client>
void expect_requests(FakeNavigation& navigation, const std::shared_ptr<Client>& client, const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    row.call(navigation);
    EXPECT_EQ(last_request(*client, navigation.prefix()), normal_form<Message>(row.request));
  }
}

TEST(Requests, ForSimpleGoalsAndBoxes) {
  FakeNavigation navigation;
  const std::string pose = kGoalPose;
  expect_requests<NaviRequest>(
      navigation, navigation.plan_client,
      {{"goal", [](auto& n) { n.navigate_to_goal(kGoal); },
        "task_id: 'PREFIXNavi1' motion_plan { goal_state { base { pose " + pose + " } } }"},
       {"goal without a look, in any direction", [](auto& n) { n.navigate_to_goal(kGoal, false, true, 1.0F, true); },
        "task_id: 'PREFIXNavi2' motion_plan { goal_state { base { pose " + pose +
            " } } disable_collision_check: true omini_plan: true }"},
       {"straight", [](auto& n) { n.move_straight_to(kGoal); },
        "task_id: 'PREFIXNavi3' motion_plan { goal_state { base { map_frame: BASE pose " + pose +
            " } } disable_collision_check: true omini_plan: true }"},
       {"stop", [](auto& n) { n.stop_navigation(); }, "task_id: 'PREFIXNavi3' stop_navigation_req { }"},
       {"reachable", [](auto& n) { n.check_path_reachability(kGoal, {}); },
        "task_id: 'PREFIXEvaluate1' evaluate_goal_availability_req { use_start_state: true start_state { base { pose { "
        "position { } orientation { w: 1 } } } } goal_state { base { pose " +
            pose + " } } }"},
       {"attach",
        [](auto& n) {
          n.attach_box_to_link({{1, 2, 0.5}, kGoal, -3, "hand"}, {"a", "b"});
        },
        "task_id: 'attach_obj_req_1' common_request { attach_collision_object { object_config { frame_prop { "
        "object_name: 'sdk_box_-3' parent_frame { parent_link_name: 'hand' } object_pose " +
            pose +
            " } ignore_collision_link_names: ['a', 'b'] } simple_object { simple_object { box { length: 1 width: 2 "
            "height: 0.5 } } } } }"},
       {"detach", [](auto& n) { n.detach_box_from_link(-3); },
        "task_id: 'detach_obj_req_1' common_request { remove_collision_object { object_name: 'sdk_box_-3' } }"}});
}

TEST(Requests, WithTargets) {
  FakeNavigation navigation;
  const auto base = [](const std::string& frame) {
    return "robot_state { base_states { reference_frame_id: '" + frame + "' pose_msg { pose " + kGoalPose + " } } }";
  };
  const auto target = [](const std::string& id, const std::string& content) {
    return "task_id: 'PREFIXNavi" + id + "' navi_task_request { targets { " + content + " } }";
  };
  const Waypoint waypoint{kGoal, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6};
  expect_requests<NaviPlanRequest>(
      navigation, navigation.plan_v2_client,
      {{"v2, after two configurations", [](auto& n) { n.navigate_to_goal_v2(kGoal); },
        target("3",
               "options { dir: Heading check_vaild { value: true } } runtime_params { check_collision { value: "
               "true } } " +
                   base("map"))},
       {"v2, the other way",
        [](auto& n) {
          n.navigate_to_goal_v2(kGoal, {1, 1, 1}, "base_link", false, true, -1, true);
        },
        target("6",
               "options { dir: Omni check_vaild { } } runtime_params { check_collision { } } " + base("base_link"))},
       {"velocity", [](auto& n) { n.navigate_with_velocity(0.1, -0.2, 0.3, 1.5); },
        target("7",
               "options { use_dyn_plan { value: true } } runtime_params { check_collision { value: true } } configs "
               "{ config_msg: '{\"duration\":1.5}' } robot_state { base_states { twist_msg { twist { linear { x: "
               "0.1 y: -0.2 } angular { z: 0.3 } } } } }")},
       {"trajectory", [](auto& n) { n.navigate_along_trajectory({kGoal}, "base_link", 0.5F, false); },
        target("8",
               "options { dir: Heading use_waypoint_plan { value: true } } runtime_params { check_collision { } } "
               "scales { vel_scale { value: 0.5 } } " +
                   base("base_link"))},
       {"waypoints", [&](auto& n) { n.navigate_through_waypoints({waypoint}); },
        target("9",
               "options { dir: Heading } runtime_params { arrival_ori_err { value: 0.3 } arrival_pos_err_x { value: "
               "0.1 } arrival_pos_err_y { value: 0.2 } check_collision { value: true } } scales { vel_scale { "
               "value: 0.4 } acc_scale { value: 0.5 } jerk_scale { value: 0.6 } } " +
                   base("map"))},
       {"target", [](auto& n) { n.set_navigation_target(kGoal, "map", 1.0F, false); },
        target("10", "options { dir: Omni } runtime_params { check_collision { } } scales { vel_scale { value: 1 } } " +
                         base("map"))}});
  navigation.navigate_along_trajectory({kGoal, {}, kGoal}, "map", 1.0F, true);
  EXPECT_EQ(navigation.plan_v2_client->calls().back().request.navi_task_request().targets_size(), 3);

  // As many as the documentation says.
  const sdk::Pose pose{1, 2, 3, 0.1, 0.2, 0.3, 0.9};
  const Waypoint point{pose, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6};
  EXPECT_EQ(navigation.api().navigate_along_trajectory(std::vector<sdk::Pose>(580, pose)).message, "accepted");
  EXPECT_EQ(navigation.api().navigate_through_waypoints(std::vector<Waypoint>(400, point)).message, "accepted");
}

TEST(Requests, ForTheConfiguration) {
  FakeNavigation navigation;
  const auto list = [](const std::string& key, const std::array<std::string, 3>& values) {
    std::string text = "fields { key: '" + key + "' value { list_value { ";
    for (const std::string& value : values) {
      text += "values { number_value: " + value + " } ";
    }
    return text + "} } } ";
  };
  const auto limits = [&](const std::string& id, const std::string& fields) {
    return "task_id: 'PREFIXSetKinematicsConfig" + id +
           "' operation: Set configs { config_map { fields { key: 'kinematics_config' value { struct_value { " +
           fields + "} } } } }";
  };
  const std::string velocity = list("vel_upper", {"1", "1.5", "0.05"}) + list("vel_lower", {"-1", "-1.5", "-0.05"});
  expect_requests<NaviConfigRequest>(
      navigation, navigation.config_client,
      {{"velocity",
        [](auto& n) {
          n.set_navigation_velocity_limit({1, 1.5, 0.05});
        },
        limits("1", velocity)},
       {"all limits",
        [](auto& n) {
          n.set_navigation_kinematics_limits({1, 1.5, 0.05}, {7.5, 1, 1}, {37.5, 1, 1});
        },
        limits("2", velocity + list("acc_upper", {"7.5", "1", "1"}) + list("acc_lower", {"-7.5", "-1", "-1"}) +
                        list("jerk_upper", {"37.5", "1", "1"}) + list("jerk_lower", {"-37.5", "-1", "-1"}))},
       {"time-out", [](auto& n) { n.set_navigation_timeout(-1); },
        "task_id: 'PREFIXSetNaviTimeout3' operation: Set configs { config_msg: '{\"navi_timeout\":-1.0}' }"},
       {"threshold",
        [](auto& n) {
          n.set_navigation_arrival_threshold({0.03, 0.03, 2.0});
        },
        "task_id: 'PREFIXSetPosThreshold4' operation: Set configs { config_msg: "
        "'{\"pos_threshold\":[0.03,0.03,2.0]}' }"},
       {"all settings; the last one", [](auto& n) { n.dump_navigation_configs(); },
        "task_id: 'PREFIXGetNaviConfig8' configs { config_msg: '{\"fov_area\":null,\"response_type\":\"json\"}' }"}});
  EXPECT_EQ(navigation.config_client->calls().size(), 8U);
}

TEST(Requests, ForALocalisation) {
  FakeNavigation navigation;
  const auto before =
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch());
  EXPECT_EQ(navigation.relocalize(kGoal), NaviStatus::SUCCESS);
  auto message = navigation.pose_writer->sent().back();
  const auto& time = message.header().timestamp();
  const std::chrono::nanoseconds sent(time.sec() * 1'000'000'000 + time.nanosec());
  EXPECT_GE(sent, before);
  EXPECT_LT(sent, before + std::chrono::seconds(5));
  message.mutable_header()->clear_timestamp();
  EXPECT_EQ(message.ShortDebugString(),
            normal_form<spatial_proto::PoseMsg>(std::string("header { frame_id: 'map' } pose ") + kGoalPose));
  navigation.pose_writer->accepts = false;
  EXPECT_EQ(navigation.relocalize(kGoal), NaviStatus::SUCCESS);  // It is not looked at.
}

TEST(Requests, WaitAsLongAsTheyShould) {
  FakeNavigation navigation;
  const auto& plan = *navigation.plan_client;
  const struct {
    float timeout;
    int seconds;
  } rows[] = {{2.9F, 2}, {0.5F, 1}, {-5.0F, 1}, {1e30F, 3600}};
  for (const auto& row : rows) {
    navigation.move_straight_to(kGoal, true, row.timeout);
    EXPECT_EQ(plan.calls().back().timeout.count(), row.seconds) << row.timeout;
  }
  navigation.api().navigate_to_goal(kGoal, true, true, 0.1F);
  EXPECT_EQ(plan.calls().back().timeout.count(), 5);
  navigation.navigate_with_velocity(0, 0, 0, 1, true);
  EXPECT_EQ(navigation.plan_v2_client->calls().back().timeout.count(), 3);
}

}  // namespace
}  // namespace norvik::test
