#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "data_buffer.hpp"
#include "impl/wbc/common/command_wait.hpp"
#include "norvik/tavrinox_proto/tavrinox_command.pb.h"
#include "norvik/tavrinox_proto/tavrinox_error.pb.h"
#include "norvik/tavrinox_proto/tavrinox_sensor.pb.h"
#include "ovimux/base/reader_base.hpp"
#include "ovimux/base/writer_base.hpp"

namespace norvik::ovimux {
class Node;
}

namespace norvik::sdk {

class CommonUtils;

// The Sharpa hands, which have topics of their own beside the whole-body controller. The topics are opened by the first
// operation that needs them and stay open; a failed opening is not tried again.
//
// All operations may be called from any thread. First callers wait for the one opening.
class SharpaHand {
 public:
  static constexpr size_t kJointCount = 22;

  explicit SharpaHand(std::shared_ptr<CommonUtils> common_utils);
  virtual ~SharpaHand();
  SharpaHand(const SharpaHand&) = delete;
  SharpaHand& operator=(const SharpaHand&) = delete;

  static bool is_sharpa_dexhand(const std::string& group);

  // "LEFT" or "RIGHT"; empty for another group.
  static std::string get_sharpa_hand_label(const std::string& group);

  // Fills the joints, which have no names: they are told apart by their index.
  ControlStatus build_sharpa_joint_state(const std::string& group, JointStateMessage& message);

  ControlStatus get_sharpa_dexhand_state(const std::string& group, DexhandState& state);

  // `blocking` waits up to 15 s until all joints stand at their commands. Nothing is stopped on a time-out.
  ControlStatus set_sharpa_dexhand_command(const std::string& group, const std::vector<JointCommand>& commands,
                                           bool blocking);

 protected:
  using CommandWriter = ovimux::SerializationWriter<tavrinox_proto::GroupCommand>;

  // What one hand reports, and the way to command it.
  struct Side {
    DataBuffer<tavrinox_proto::TavrinoXSensor> joint;
    DataBuffer<tavrinox_proto::TavrinoXSensor> force;
    DataBuffer<tavrinox_proto::TavrinoXError> error;
    std::shared_ptr<CommandWriter> writer;
  };

  // Opens the node and its endpoints. Called once; false, with a record, when anything could not be made.
  virtual bool open_interface();

  Side left_;
  Side right_;

 private:
  struct SideTopics;

  bool init_sharpa_dexhand();
  bool open_readers(const SideTopics& topics, Side& side);
  Side& side_of(const std::string& group) { return group == "left_dexhand" ? left_ : right_; }
  bool has_sharpa_fatal_error(const std::string& group);
  ControlStatus check_command(const std::string& group, const std::vector<JointCommand>& commands);
  ControlStatus publish_command(const std::string& group, const std::vector<JointCommand>& commands);
  ControlStatus wait_for_hand(MotionsUnderWay::Motion& motion, SteadyTime start, const std::string& group,
                              const std::vector<JointCommand>& commands);

  // Lets the hand stay where it stands: there is no controller to tell it to stop. `commands` as before.
  void hold(const std::string& group, std::vector<JointCommand> commands);

  const std::shared_ptr<CommonUtils> common_utils_;
  std::once_flag init_once_;
  bool init_success_ = false;

  // Closed before the cells that their callbacks write to.
  std::unique_ptr<ovimux::Node> node_;
  std::vector<std::shared_ptr<ovimux::ReaderBase>> readers_;
};

}  // namespace norvik::sdk
