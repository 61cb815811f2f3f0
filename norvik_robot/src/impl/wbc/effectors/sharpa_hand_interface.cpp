// The topics of the Sharpa hands.

#include <utility>

#include "impl/wbc/effectors/sharpa_hand.hpp"
#include "ovimux/node.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr const char* kSharpaLeftJointTopic = "/endtool/sharpa_dexhand_L/joint";
constexpr const char* kSharpaRightJointTopic = "/endtool/sharpa_dexhand_R/joint";
constexpr const char* kSharpaLeftForceTopic = "/endtool/sharpa_dexhand_L/force";
constexpr const char* kSharpaRightForceTopic = "/endtool/sharpa_dexhand_R/force";
constexpr const char* kSharpaLeftErrorTopic = "/endtool/sharpa_dexhand_L/ecode_status";
constexpr const char* kSharpaRightErrorTopic = "/endtool/sharpa_dexhand_R/ecode_status";
constexpr const char* kSharpaLeftCommandTopic = "/endtool/sharpa_dexhand_L/command_noblock";
constexpr const char* kSharpaRightCommandTopic = "/endtool/sharpa_dexhand_R/command_noblock";

template <typename T>
std::shared_ptr<ovimux::ReaderBase> create_reader(ovimux::Node& node, const char* topic, DataBuffer<T>& cell) {
  return node.CreateReader<T>(
      topic, [&cell](const std::shared_ptr<T>& message, const void*) { cell.set_data(message); }, ovimux::Qos{});
}

}  // namespace

struct SharpaHand::SideTopics {
  const char* joint;
  const char* force;
  const char* error;
};

// Here, where Node is complete.
SharpaHand::SharpaHand(std::shared_ptr<CommonUtils> common_utils) : common_utils_(std::move(common_utils)) {}

// The readers wait for their callbacks, which write to the cells.
SharpaHand::~SharpaHand() { readers_.clear(); }

bool SharpaHand::open_interface() {
  node_ = ovimux::CreateNode("sharpa_dexhand_sdk_node", "");
  if (!node_) {
    SDK_LOG(error) << "sharpa_dexhand_node create fail";
    return false;
  }
  const bool readers_open =
      open_readers({kSharpaLeftJointTopic, kSharpaLeftForceTopic, kSharpaLeftErrorTopic}, left_) &&
      open_readers({kSharpaRightJointTopic, kSharpaRightForceTopic, kSharpaRightErrorTopic}, right_);
  if (readers_open) {
    left_.writer = node_->CreateWriter<tavrinox_proto::GroupCommand>(kSharpaLeftCommandTopic, ovimux::Qos{});
    right_.writer = node_->CreateWriter<tavrinox_proto::GroupCommand>(kSharpaRightCommandTopic, ovimux::Qos{});
  }
  if (!left_.writer || !right_.writer) {
    SDK_LOG(error) << "create sharpa dexhand readers or writers fail";
    return false;
  }
  SDK_LOG(info) << "sharpa dexhand interface init success";
  return true;
}

bool SharpaHand::open_readers(const SideTopics& topics, Side& side) {
  for (auto reader : {create_reader(*node_, topics.joint, side.joint), create_reader(*node_, topics.force, side.force),
                      create_reader(*node_, topics.error, side.error)}) {
    if (!reader) {
      return false;
    }
    readers_.push_back(std::move(reader));
  }
  return true;
}

}  // namespace norvik::sdk
