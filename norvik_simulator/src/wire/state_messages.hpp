#pragma once

#include <chrono>
#include <memory>
#include <vector>

#include "model/kinematics.hpp"
#include "norvik/navigation_proto/odometry.pb.h"
#include "norvik/tavrinox_proto/tavrinox_error.pb.h"
#include "norvik/tavrinox_proto/tavrinox_info.pb.h"
#include "norvik/tavrinox_proto/tavrinox_sensor.pb.h"
#include "norvik/tf2_proto/tf2_message.pb.h"
#include "world/refusal.hpp"
#include "world/world.hpp"

namespace norvik::simulator {

// The messages that report a state. All of them are pure; none sets the header's sequence number.

std::shared_ptr<tavrinox_proto::WBCInfo> make_wbc_info(const WorldState& state, const Kinematics& kinematics,
                                                       const core_proto::Timestamp& stamp);
std::shared_ptr<tavrinox_proto::TavrinoXSensor> make_sensor(const WorldState& state,
                                                            const core_proto::Timestamp& stamp);
std::shared_ptr<navigation_proto::Odometry> make_odometry(const WorldState& state, const core_proto::Timestamp& stamp);

std::shared_ptr<tf2_proto::TF2Message> make_moving_transforms(const WorldState& state, const Kinematics& kinematics,
                                                              const core_proto::Timestamp& stamp);
std::shared_ptr<tf2_proto::TF2Message> make_fixed_transforms(const Kinematics& kinematics,
                                                             const core_proto::Timestamp& stamp);

using GroupErrors = std::map<std::string, GroupError>;
// The answer to a request: the errors there are, and a fatal one for each refusal.
tavrinox_proto::TavrinoXError make_error_reply(const GroupErrors& errors, const Refusals& refusals);
// The periodic report. Refusals of published targets appear in it without blocking their group.
std::shared_ptr<tavrinox_proto::TavrinoXError> make_error_report(const WorldState& state,
                                                                 const core_proto::Timestamp& stamp);

// Of the robot's clock, which may go wrong by `skew`.
core_proto::Timestamp now_stamp(std::chrono::milliseconds skew = {});

}  // namespace norvik::simulator
