#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/joints/joint_manager_k2.hpp"
#include "impl/wbc/joints/joint_metadata.hpp"
#include "impl/wbc/joints/joint_state_module.hpp"
#include "impl/wbc/joints/sensor_module.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {

template <typename T>
class MockWriter : public ovimux::SerializationWriter<T> {
 public:
  MOCK_METHOD(bool, Publish, (const T&), (override));
  MOCK_METHOD(bool, Publish, (const std::shared_ptr<T>&), (override));
};

template <typename Req, typename Resp>
class MockClient : public ovimux::SerializationClient<Req, Resp> {
 public:
  using Base = ovimux::SerializationClient<Req, Resp>;
  using typename Base::ResponseCallback;
  using typename Base::ResponseFuture;
  using typename Base::ResponsePtr;
  MOCK_METHOD(ResponsePtr, SendRequest, (std::shared_ptr<const Req>, const std::chrono::seconds&), (override));
  MOCK_METHOD(ResponsePtr, SendRequest, (const Req&, const std::chrono::seconds&), (override));
  MOCK_METHOD(ResponseFuture, AsyncSendRequest, (std::shared_ptr<const Req>, ResponseCallback), (override));
  MOCK_METHOD(ResponseFuture, AsyncSendRequest, (const Req&), (override));
  MOCK_METHOD(ResponseFuture, AsyncSendRequest, (std::shared_ptr<const Req>), (override));
  MOCK_METHOD(void, WaitForServerConnected, (const std::chrono::seconds&), (override));
  MOCK_METHOD(unsigned, GetMatchedServerCount, (), (override));
};

// The state modules of a K2 without endpoints.
struct WbcModules {
  sdk::TargetWriterPtr writer;
  sdk::TargetClientPtr client;
  sdk::ControllerClientPtr controller_client;
  std::shared_ptr<sdk::CommonUtils> utils = std::make_shared<sdk::CommonUtils>(writer, client, controller_client);
  std::shared_ptr<sdk::JointManager> manager = sdk::JointManagerK2::Create();
  std::shared_ptr<sdk::SensorModule> sensors = std::make_shared<sdk::SensorModule>(utils, manager);
  sdk::JointMetadata metadata{utils, manager, sensors};
  sdk::JointStateModule states{utils, manager, sensors};
};

inline void set_time(int64_t timestamp_ns, core_proto::Header& header) {
  header.mutable_timestamp()->set_sec(timestamp_ns / 1'000'000'000);
  header.mutable_timestamp()->set_nanosec(static_cast<uint32_t>(timestamp_ns % 1'000'000'000));
}

using JointPositions = std::vector<std::pair<std::string, double>>;

// Velocity, acceleration, effort and current of each joint are 1, 2, 3 and 4 above its position.
inline std::shared_ptr<tavrinox_proto::WBCInfo> make_wbc_info(const JointPositions& joints, int64_t timestamp_ns = 0) {
  auto info = std::make_shared<tavrinox_proto::WBCInfo>();
  set_time(timestamp_ns, *info->mutable_header());
  tavrinox_proto::JointInfo& joint_info = *info->mutable_joint_info();
  for (const auto& [name, position] : joints) {
    joint_info.add_names(name);
    joint_info.add_state_pos(position);
    joint_info.add_state_vel(position + 1);
    joint_info.add_state_acc(position + 2);
    joint_info.add_state_eff(position + 3);
    joint_info.add_state_cur(position + 4);
  }
  return info;
}

// Every K2 joint that is no end effector's, at `position`.
inline JointPositions whole_body(double position) {
  const auto manager = sdk::JointManagerK2::Create();
  std::vector<std::string> names;
  manager->convert_joint_names({"chassis", "head", "left_arm", "right_arm", "leg"}, names);
  JointPositions joints;
  for (const std::string& name : names) {
    joints.emplace_back(name, position);
  }
  return joints;
}

}  // namespace norvik::test
