#include <atomic>
#include <limits>
#include <thread>

#include "wbc_fixture.hpp"

namespace norvik::sdk {
namespace {

using test::make_wbc_info;
using test::WbcModules;
using test::whole_body;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int64_t kMs = 1'000'000;
const char* const kGripperJoint = "left_gripper_joint1";

TEST(JointStates, AreWireUnitsInsideAndMetresForGrippersOutside) {
  WbcModules modules;
  modules.states.update_wbc_info(make_wbc_info({{kGripperJoint, 35.0}, {"head_joint1", 0.5}}, 7 * kMs));
  EXPECT_EQ(modules.states.get_joint_state_map_snapshot().at(kGripperJoint).position, 35.0);

  const auto states = modules.states.get_joint_states({kGripperJoint, "head_joint1", kGripperJoint});
  ASSERT_EQ(states.size(), 3u);
  EXPECT_EQ(states[0].position, 35.0 / 1000.0);
  EXPECT_EQ(states[0].velocity, 36.0 / 1000.0);
  EXPECT_EQ(states[0].acceleration, 37.0 / 1000.0);
  EXPECT_EQ(states[0].effort, 38.0);
  EXPECT_EQ(states[0].current, 39.0);
  EXPECT_EQ(states[0].timestamp_ns, 7 * kMs);
  EXPECT_EQ(states[1].position, 0.5);
  EXPECT_EQ(states[2].position, 35.0 / 1000.0 / 1000.0);  // named again, converted again
  EXPECT_THAT(modules.states.get_joint_positions({"left_gripper"}, {}), ElementsAre(0.035));
}

TEST(JointStates, NamesWinOverGroupsAndNeitherMeansAllButEndEffectors) {
  WbcModules modules;
  auto joints = whole_body(1.0);
  joints.emplace_back(kGripperJoint, 2.0);
  modules.states.update_wbc_info(make_wbc_info(joints));
  EXPECT_EQ(modules.states.get_joint_states({}, {}).size(), 25u);
  EXPECT_EQ(modules.states.get_joint_states({}, {}).front().name, "chassis_joint1");
  EXPECT_EQ(modules.states.get_joint_states({"head", "no_such_group"}, {}).size(), 2u);
  EXPECT_EQ(modules.states.get_joint_states({"head"}, {"leg_joint5"}).at(0).name, "leg_joint5");
}

TEST(JointStates, FailAsAWholeAndNameTheJoint) {
  WbcModules modules;
  modules.states.update_wbc_info(make_wbc_info({{"head_joint1", 0.5}}));
  test::SdkLogCapture log;
  EXPECT_THAT(modules.states.get_joint_states({"head_joint2", "nose"}), IsEmpty());
  EXPECT_THAT(modules.states.get_joint_states({"head_joint1", "head_joint2"}), IsEmpty());
  EXPECT_THAT(modules.states.get_joint_states({}, {}), IsEmpty());
  EXPECT_THAT(log.texts("error"),
              ElementsAre("joint name invalid : nose", "[get_joint_state] joint name not found: head_joint2",
                          "[get_joint_state] joint name not found: chassis_joint1"));
}

TEST(JointStateDigest, KeepsTheFirstOfTwoJointsInTheMapAndBothInTheMessage) {
  WbcModules modules;
  modules.states.update_wbc_info(make_wbc_info({{"a", 1.0}, {"b", 2.0}, {"a", 3.0}}, 5));
  const auto message = modules.states.get_latest_joint_state_message();
  ASSERT_EQ(message->joint_states.size(), 3u);
  EXPECT_EQ(message->timestamp_ns, 5);
  EXPECT_EQ(message->joint_states[2].position, 3.0);
  EXPECT_EQ(modules.states.get_joint_state_map_snapshot().at("a").position, 1.0);

  modules.states.update_wbc_info(make_wbc_info({{"b", 9.0}}, 6));
  EXPECT_EQ(modules.states.get_joint_state_map_snapshot().size(), 1u);
  EXPECT_EQ(message->joint_states.size(), 3u);  // what a reader holds stays
}

TEST(JointStateDigest, IgnoresAReportWhoseListsDiffer) {
  using Info = tavrinox_proto::JointInfo;
  void (*const shortened[])(Info&) = {[](Info& info) { info.mutable_state_pos()->RemoveLast(); },
                                      [](Info& info) { info.mutable_state_vel()->RemoveLast(); },
                                      [](Info& info) { info.mutable_state_acc()->RemoveLast(); },
                                      [](Info& info) { info.mutable_state_eff()->RemoveLast(); },
                                      [](Info& info) { info.mutable_state_cur()->RemoveLast(); },
                                      [](Info& info) { info.mutable_names()->RemoveLast(); }};
  WbcModules modules;
  modules.states.update_wbc_info(make_wbc_info({{kGripperJoint, 1.0}}));
  const auto before = modules.states.get_latest_joint_state_message();
  for (const auto& shorten : shortened) {
    const auto info = make_wbc_info({{"head_joint1", 5.0}, {kGripperJoint, 5.0}});
    shorten(*info->mutable_joint_info());
    test::SdkLogCapture log;
    modules.states.update_wbc_info(info);
    EXPECT_THAT(log.texts("error"), ElementsAre("joint_info_proto field size mismatch!"));
  }
  modules.states.update_wbc_info(nullptr);
  EXPECT_EQ(modules.states.get_latest_joint_state_message(), before);
  EXPECT_EQ(modules.states.get_joint_state_map_snapshot().size(), 1u);
}

TEST(JointStateDigest, SurvivesAnyTimeAndAnyNumber) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const int64_t seconds[] = {std::numeric_limits<int64_t>::max(), std::numeric_limits<int64_t>::min(), -1, 0};
  WbcModules modules;
  for (const int64_t sec : seconds) {
    for (const double position : {kInf, -kInf, std::nan(""), 1e308}) {
      auto info = make_wbc_info({{kGripperJoint, position}, {"gripper", position}, {"_joint_gripper", position}});
      info->mutable_header()->mutable_timestamp()->set_sec(sec);
      info->mutable_header()->mutable_timestamp()->set_nanosec(~0u);
      modules.states.update_wbc_info(info);
      bool moving = false;
      modules.states.is_gripper_moving("left_gripper", moving);
    }
  }
  auto info = make_wbc_info({{"a", 0.0}});
  info->mutable_header()->mutable_timestamp()->set_sec(std::numeric_limits<int64_t>::max());
  modules.states.update_wbc_info(info);
  EXPECT_EQ(modules.states.get_latest_joint_state_message()->timestamp_ns, std::numeric_limits<int64_t>::max());
}

struct GripperCase {
  const char* name;
  std::vector<std::pair<int64_t, double>> samples;  // message time in ms, wire position in mm
  bool is_valid;
  bool is_moving;
  const char* level;
  const char* text;
};

class GripperMoving : public ::testing::TestWithParam<GripperCase> {};

TEST_P(GripperMoving, IsDecidedOverTheLast400Milliseconds) {
  WbcModules modules;
  for (const auto& [time_ms, position] : GetParam().samples) {
    modules.states.update_wbc_info(make_wbc_info({{kGripperJoint, position}}, time_ms * kMs));
  }
  test::SdkLogCapture log;
  bool moving = !GetParam().is_moving;
  EXPECT_EQ(modules.states.is_gripper_moving("left_gripper", moving), GetParam().is_valid);
  EXPECT_EQ(moving, GetParam().is_moving);
  EXPECT_TRUE(log.has(GetParam().level, GetParam().text)) << ::testing::PrintToString(log.texts(GetParam().level));
}

INSTANTIATE_TEST_SUITE_P(
    Histories, GripperMoving,
    ::testing::Values(
        GripperCase{"None", {}, false, true, "error", "gripper_width_history_map_ not find group_name: left_gripper"},
        GripperCase{"OneSample",
                    {{9, 40.0}},
                    false,
                    true,
                    "warning",
                    "[gripper_moving_decision] group_name: left_gripper unstable: not enough samples ,history_size: 1 "
                    ",t_first_ns: 9000000 ,t_last_ns: 9000000 ,span_ms: 0 ,width_first_m: 0.04 ,width_last_m: 0.04"},
        GripperCase{"ExactlyHalfAMillimetre",
                    {{0, 40.0}, {2, 40.5}},
                    true,
                    false,
                    "info",
                    "[gripper_moving_decision] group_name: left_gripper ,history_size: 2 ,t_oldest_ns: 0 ,t_latest_ns: "
                    "2000000 ,span_ms: 2 ,min_width_m: 0.04 ,max_width_m: 0.0405 ,delta_width_m: 0.0005"},
        GripperCase{"JustAbove",
                    {{0, 40.0}, {1, 40.51}},
                    true,
                    true,
                    "info",
                    "[gripper_moving_state] group_name: left_gripper change from 0 to 1 ,delta_width_m: 0.00051"},
        GripperCase{"ExtremesInTheMiddle",
                    {{0, 40.0}, {1, 50.0}, {2, 40.0}},
                    true,
                    true,
                    "info",
                    "[gripper_moving_state] group_name: left_gripper change from 0 to 1 ,delta_width_m: 0.01"},
        GripperCase{"OldestAtTheEdgeOf400Ms",
                    {{100, 40.0}, {500, 50.0}},
                    true,
                    true,
                    "info",
                    "[gripper_moving_state] group_name: left_gripper change from 0 to 1 ,delta_width_m: 0.01"},
        GripperCase{"OldestBeyond400Ms",
                    {{99, 10.0}, {100, 40.0}, {500, 40.1}},
                    true,
                    false,
                    "info",
                    "[gripper_moving_state] group_name: left_gripper change from 1 to 0 ,delta_width_m: 0.0001"},
        GripperCase{
            "NothingButTheLatest",
            {{99, 40.0}, {500, 50.0}},
            false,
            true,
            "warning",
            "[gripper_moving_decision] group_name: left_gripper unstable: not enough samples ,history_size: 1 "
            ",t_first_ns: 500000000 ,t_last_ns: 500000000 ,span_ms: 0 ,width_first_m: 0.05 ,width_last_m: 0.05"},
        GripperCase{"WithoutTimesNothingAges",
                    {{0, 40.0}, {0, 50.0}, {0, 40.0}},
                    true,
                    true,
                    "info",
                    "[gripper_moving_state] group_name: left_gripper change from 0 to 1 ,delta_width_m: 0.01"}),
    [](const auto& row) { return row.param.name; });

TEST(GripperMovingState, IsLoggedOnlyWhenItChanges) {
  WbcModules modules;
  const auto changes_after = [&](int64_t time_ms, double position) {
    modules.states.update_wbc_info(make_wbc_info({{kGripperJoint, position}}, time_ms * kMs));
    test::SdkLogCapture log;
    bool moving = false;
    modules.states.is_gripper_moving("left_gripper", moving);
    return log.texts("info").size() - 1;  // besides the line on the decision
  };
  modules.states.update_wbc_info(make_wbc_info({{kGripperJoint, 40.0}}, 0));
  EXPECT_EQ(changes_after(1, 40.0), 1u);
  EXPECT_EQ(changes_after(2, 40.0), 0u);
  EXPECT_EQ(changes_after(3, 60.0), 1u);
  EXPECT_EQ(changes_after(403, 60.0), 1u);  // nothing but 60 is left
}

TEST(WholeBodyJointState, HoldsEveryGroupThatIsNoEndEffector) {
  WbcModules modules;
  JointStateModule::GroupStateMap groups;
  test::SdkLogCapture log;
  EXPECT_EQ(modules.states.get_whole_body_joint_state(make_wbc_info(whole_body(0.25), 3 * kMs), groups),
            ControlStatus::SUCCESS);
  EXPECT_EQ(groups.size(), 5u);
  EXPECT_EQ(groups.at("leg").joint_states.at(4).name, "leg_joint5");
  EXPECT_EQ(groups.at("leg").timestamp_ns, 3 * kMs);
  EXPECT_THAT(log.texts("info"), ElementsAre("get_whole_body_joint_state success"));
}

TEST(WholeBodyJointState, FailsByCauseAndKeepsWhatItHad) {
  WbcModules modules;
  auto without_leg = whole_body(0.25);
  without_leg.resize(without_leg.size() - 5);
  const auto cut = make_wbc_info(whole_body(0.25));
  cut->mutable_joint_info()->mutable_state_acc()->Truncate(4);

  struct Case {
    std::shared_ptr<tavrinox_proto::WBCInfo> info;
    std::size_t groups_kept;
    std::vector<std::string> texts;
  };
  const Case cases[] = {
      {nullptr, 0, {"get_whole_body_joint_state: wbc_info_ptr is nullptr"}},
      {make_wbc_info(without_leg),
       4,
       {"get_whole_body_joint_state: joint not found in joint_info.names(): leg_joint1"}},
      {cut,
       1,
       {"parse_jonit_info_proto fail, cur index is 4 ,state_pos_size is 25 ,state_vel_size is 25 ,state_acc_size is 4 "
        ",state_eff_size is 25 ,state_cur_size is 25",
        "get_whole_body_joint_state fetch failed"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.texts.front());
    JointStateModule::GroupStateMap groups;
    JointStateMessage state;
    test::SdkLogCapture log;
    EXPECT_EQ(modules.states.get_whole_body_joint_state(c.info, groups), ControlStatus::DATA_FETCH_FAILED);
    EXPECT_EQ(groups.size(), c.groups_kept);
    EXPECT_EQ(log.texts("error"), c.texts);
    EXPECT_EQ(modules.states.get_joint_state("head", c.info, state), ControlStatus::DATA_FETCH_FAILED);
    EXPECT_EQ(log.texts("error").back(), "get whole body joint state fail");
  }
}

TEST(GroupJointState, IsAnsweredFromItsOwnSource) {
  WbcModules modules;
  const auto info = make_wbc_info(whole_body(0.25));
  struct Case {
    const char* group;
    ControlStatus status;
    const char* level;
    std::vector<std::string> texts;
  };
  const Case cases[] = {
      {"no_such", ControlStatus::INVALID_INPUT, "error", {"joint group invalid: no_such", "input invalid"}},
      {"left_gripper", ControlStatus::DATA_FETCH_FAILED, "error", {"get_joint_state_from_sensor fetch failed"}},
      {"right_suction_cup", ControlStatus::DATA_FETCH_FAILED, "error", {"get_joint_state_from_sensor fetch failed"}},
      {"left_dexhand",
       ControlStatus::DATA_FETCH_FAILED,
       "error",
       {"joint_state_map not find joint group left_dexhand"}},
      {"head", ControlStatus::SUCCESS, "info", {"get_whole_body_joint_state success", "get_joint_state success"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.group);
    test::SdkLogCapture log;
    JointStateMessage state;
    EXPECT_EQ(modules.states.get_joint_state(c.group, info, state), c.status);
    EXPECT_EQ(log.texts(c.level), c.texts);
    EXPECT_EQ(state.joint_states.size(), c.status == ControlStatus::SUCCESS ? 2u : 0u);
  }
}

// All joints of one report hold the same position: a reader that sees two values has seen two reports.
TEST(JointStateModule, ReadersSeeWholeReportsWhileReportsArrive) {
  WbcModules modules;
  auto joints = whole_body(0.0);
  joints.emplace_back(kGripperJoint, 0.0);
  modules.states.update_wbc_info(make_wbc_info(joints));
  std::atomic<bool> stop{false};
  std::atomic<int> torn{0};
  std::atomic<int> passes{0};
  const auto read = [&] {
    while (!stop) {
      const auto states = modules.states.get_joint_states({}, {});
      const auto snapshot = modules.states.get_joint_state_map_snapshot();
      const auto message = modules.states.get_latest_joint_state_message();
      bool moving = false;
      modules.states.is_gripper_moving("left_gripper", moving);
      bool is_whole = states.size() == 25 && snapshot.size() == 26 && message->joint_states.size() == 26;
      for (const JointState& joint : states) is_whole = is_whole && joint.position == states[0].position;
      for (const auto& [name, joint] : snapshot)
        is_whole = is_whole && joint.position == snapshot.begin()->second.position;
      torn += is_whole ? 0 : 1;
      ++passes;
    }
  };
  std::vector<std::thread> readers;
  readers.reserve(3);
  for (int i = 0; i < 3; ++i) readers.emplace_back(read);
  for (int report = 1; report <= 1000; ++report) {
    for (auto& joint : joints) joint.second = report;
    modules.states.update_wbc_info(make_wbc_info(joints, report * kMs));
    // A writer that never pauses would keep the readers out.
    const int passes_before = passes;
    while (report % 10 == 0 && passes == passes_before) std::this_thread::yield();
  }
  stop = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(torn, 0);
}

}  // namespace
}  // namespace norvik::sdk
