#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "data_buffer.hpp"
#include "impl/wbc/common/motions_under_way.hpp"
#include "norvik/tavrinox_proto/tavrinox_controller.pb.h"
#include "norvik/tavrinox_proto/tavrinox_error.pb.h"
#include "norvik/tavrinox_proto/tavrinox_info.pb.h"
#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "ovimux/base/client_base.hpp"
#include "ovimux/base/writer_base.hpp"

namespace norvik::sdk {

// Component of every error that the library itself produces for a requested target.
inline constexpr const char* kRequestTargetComponent = "sdk_request_target";
inline constexpr uint64_t kRequestTargetInvalidCode = 0x10031;
inline constexpr uint64_t kRequestTargetPrecheckBlockedCode = 0x10032;
inline constexpr uint64_t kRequestTargetConversionCode = 0x10033;

// The level of an error stands in the upper bits of its code. A request is blocked by a fatal error anywhere, and by
// one of the level below on the groups it touches.
inline constexpr int32_t kFatalErrorLevel = 0x30000;
inline constexpr int32_t kScreeningErrorLevel = 0x20000;

// Marks a component as a group's highest current error level.
inline constexpr const char* kMaxErrorLevelSuffix = "_max_error_level";

using TargetWriterPtr = std::shared_ptr<ovimux::SerializationWriter<tavrinox_proto::TavrinoXTarget>>;
using TargetClientPtr =
    std::shared_ptr<ovimux::SerializationClient<tavrinox_proto::TavrinoXTarget, tavrinox_proto::TavrinoXError>>;
using ControllerClientPtr =
    std::shared_ptr<ovimux::SerializationClient<tavrinox_proto::TavrinoXController, tavrinox_proto::TavrinoXError>>;

// What the whole-body modules share: the endpoints towards the controller, its latest reports, and the rules that turn
// these reports into decisions. Every operation may be called from any thread.
class CommonUtils {
 public:
  // A joint command that carries its joint's name.
  struct JointInfo {
    std::string name;
    double position = 0.0;
    double velocity = 0.0;
    double acceleration = 0.0;
    double effort = 0.0;
  };

  // The endpoints stay the owner's, who may set them later and must outlive this object. They may be empty. The owner
  // changes them with std::atomic_store once other threads may be in here.
  CommonUtils(TargetWriterPtr& wbcs_target_writer, TargetClientPtr& wbcs_target_client,
              ControllerClientPtr& wbcs_controller_client);
  CommonUtils(const CommonUtils&) = delete;
  CommonUtils& operator=(const CommonUtils&) = delete;

  // Copies, which keep the endpoint alive for the duration of a call.
  TargetWriterPtr get_wbcs_target_writer() const;
  TargetClientPtr get_wbcs_target_client() const;
  ControllerClientPtr get_wbcs_controller_client() const;

  // Latest error report of the controller; empty until the first one.
  DataBuffer<ErrorInfo>& error_buffer() { return error_buffer_; }
  const DataBuffer<ErrorInfo>& error_buffer() const { return error_buffer_; }

  // Latest state report of the controller; empty until the first one.
  DataBuffer<tavrinox_proto::WBCInfo>& wbc_info_buffer() { return wbc_info_buffer_; }
  const DataBuffer<tavrinox_proto::WBCInfo>& wbc_info_buffer() const { return wbc_info_buffer_; }

  // What has to be stopped when the program is told to stop.
  MotionsUnderWay& motions_under_way() { return motions_under_way_; }

  static bool is_valid_frame_id(const std::string& frame_id);
  static bool is_valid_reference_frame_id(const std::string& frame_id);

  // False without a writer or when it refuses.
  bool publish_target(const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& target) const;

  // True when strictly more than `timeout_s` seconds have passed since `start`.
  static bool is_timeout(std::chrono::steady_clock::time_point start, double timeout_s);

  // SUCCESS when the controller has finished sampling the group's target and reports a final position error of at most
  // `threshold` (internal unit of the group), IN_PROGRESS before, DATA_FETCH_FAILED without a report on the group.
  ControlStatus check_joint_reached(const std::string& group, double threshold) const;

  // Sets the time of `info` and appends the errors of the report.
  static void transform_to_error_info(const std::shared_ptr<tavrinox_proto::TavrinoXError>& error, ErrorInfo& info);

  // Replaces the content of the error buffer; an empty message stores an empty report.
  void add_error_from_proto(const std::shared_ptr<tavrinox_proto::TavrinoXError>& error);

  // A report of the library's own, with the wall-clock time of now.
  static std::shared_ptr<ErrorInfo> make_local_error_info(const std::string& component, uint64_t code,
                                                          const std::string& description);

  // Groups that the target touches, directly or through its tasks.
  static std::unordered_set<std::string> collect_involved_groups(const TavrinoXTarget& target);

  // The errors of `current` that block a request touching `involved`, led by one of the library's own. Empty when the
  // request may go out.
  std::shared_ptr<ErrorInfo> build_request_screening_error(const std::shared_ptr<ErrorInfo>& current,
                                                           const std::unordered_set<std::string>& involved) const;

  // True when the group's highest level is fatal. Logs every error of the report. With several groups: true at the
  // first that has a fatal error.
  bool has_fatal_error(const std::string& group, const std::shared_ptr<ErrorInfo>& error_info) const;
  bool has_fatal_error(const std::string& group, const std::shared_ptr<tavrinox_proto::TavrinoXError>& error) const;
  bool has_fatal_error(const std::vector<std::string>& groups, const std::shared_ptr<ErrorInfo>& error_info) const;
  bool has_fatal_error(const std::vector<std::string>& groups,
                       const std::shared_ptr<tavrinox_proto::TavrinoXError>& error) const;

 private:
  static bool is_at_level(uint64_t code, int32_t level) { return code >= static_cast<uint64_t>(level); }

  TargetWriterPtr& wbcs_target_writer_;
  TargetClientPtr& wbcs_target_client_;
  ControllerClientPtr& wbcs_controller_client_;
  DataBuffer<ErrorInfo> error_buffer_;
  DataBuffer<tavrinox_proto::WBCInfo> wbc_info_buffer_;
  MotionsUnderWay motions_under_way_;
  const int32_t fatal_level_;
};

namespace common_utils_detail {

// Nanoseconds since the Unix epoch.
int64_t now_timestamp_ns();

// Splits "<group>_max_error_level". False, with `group` left alone, for any other component and for the bare suffix.
bool parse_group_max_error_level_component(const std::string& component, std::string& group);

}  // namespace common_utils_detail

}  // namespace norvik::sdk
