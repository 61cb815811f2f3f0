#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace norvik::sdk {

enum class MachineType : int32_t { K2 = 0, R5 = 1 };

// Result of an operation on the robot's body (NorvikRobot).
enum class ControlStatus : int32_t {
  SUCCESS = 0,
  TIMEOUT = 1,            // the robot did not answer or arrive in time
  FAULT = 2,              // the robot reports an error that forbids the operation
  INVALID_INPUT = 3,      // an argument is wrong; nothing was sent
  INIT_FAILED = 4,        // not initialised, or a channel could not be created
  IN_PROGRESS = 5,        // moving, not there yet
  STOPPED_UNREACHED = 6,  // stopped before the target
  DATA_FETCH_FAILED = 7,  // the robot's state needed for the operation is missing
  PUBLISH_FAIL = 8,       // the command could not be written
  COMM_DISCONNECTED = 9,  // the service is not on the network
  STATUS_NUM = 10         // number of the values above, not a result
};

// Result of a planning operation (NorvikMotion). Values 0 to 10 mean the same as in ControlStatus.
enum class MotionStatus : int32_t {
  SUCCESS = 0,
  TIMEOUT = 1,
  FAULT = 2,
  INVALID_INPUT = 3,
  INIT_FAILED = 4,
  IN_PROGRESS = 5,
  STOPPED_UNREACHED = 6,
  DATA_FETCH_FAILED = 7,
  PUBLISH_FAIL = 8,
  COMM_DISCONNECTED = 9,
  STATUS_NUM = 10,
  UNSUPPORTED_FUNCRION = 11  // not supported yet
};

// How far the trajectory of one joint group has come.
enum class TrajectoryControlStatus : int32_t {
  TRAJECTORY_INVALID = 0,
  TRAJECTORY_RUNNING = 1,
  TRAJECTORY_COMPLETED = 2,
  TRAJECTORY_STOPPED_UNREACHED = 3,
  TRAJECTORY_FAULT = 4
};

// Readable text of every MotionStatus.
static const std::unordered_map<MotionStatus, std::string> status_string_map_ = {
    {MotionStatus::SUCCESS, "SUCCESS: Execution succeeded"},
    {MotionStatus::TIMEOUT, "TIMEOUT: Execution timeout"},
    {MotionStatus::FAULT, "FAULT: Fault occurred, unable to continue execution"},
    {MotionStatus::INVALID_INPUT, "INVALID_INPUT: Input parameters do not meet requirements"},
    {MotionStatus::INIT_FAILED, "INIT_FAILED: Internal communication component creation failed"},
    {MotionStatus::IN_PROGRESS, "IN_PROGRESS: In motion but not reached"},
    {MotionStatus::STOPPED_UNREACHED, "STOPPED_UNREACHED: Stopped but target not reached"},
    {MotionStatus::DATA_FETCH_FAILED, "DATA_FETCH_FAILED: Data retrieval failed"},
    {MotionStatus::PUBLISH_FAIL, "PUBLISH_FAIL: Data transmission failed"},
    {MotionStatus::COMM_DISCONNECTED, "COMM_DISCONNECTED: Connection failed"},
    {MotionStatus::STATUS_NUM, "STATUS_NUM: Total number of status enumerations"},
    {MotionStatus::UNSUPPORTED_FUNCRION, "UNSUPPORTED_FUNCRION: Function not supported yet"},
};

}  // namespace norvik::sdk
