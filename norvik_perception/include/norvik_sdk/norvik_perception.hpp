#pragma once

#include <set>

#include <norvik_sdk/detection_result.hpp>
#include <norvik_sdk/export.hpp>
#include <norvik_sdk/types.hpp>

// The stereo depth modules of the perception computer.
enum PerceptionModule : int {
  FOUNDATION_STEREO = 0,  // slower and finer
  LIGHT_STEREO = 1,       // faster and coarser
};

namespace norvik::sdk {

// Point clouds, object poses and masks from the stereo camera in the robot's head. One object per robot model and
// process:
//
//   auto& perception = norvik::sdk::NorvikPerception::get_instance(norvik::sdk::MachineType::K2);
//   if (!perception.init({LIGHT_STEREO})) return 1;
//   DetectionResult result;
//   if (perception.run_once(LIGHT_STEREO) && perception.wait_for_new_result(LIGHT_STEREO, 5.0) &&
//       perception.get_latest_result(LIGHT_STEREO, result)) {
//     std::cout << result.poses.size() << " objects\n";
//   }
//
// All computing is done by the perception service of the robot. Nothing throws: a failure is false and one record in
// the log that gives the reason. Any thread may call, several at once; `init` is for one thread. A shutdown of the
// process ends all waits at once.
class NORVIK_SDK_EXPORT NorvikPerception {
 public:
  // The object of the given model; made at the first request, lives until the process exits. A value outside
  // MachineType is logged as an error and gives the K2 object. Does not communicate. Safe from any thread.
  static NorvikPerception& get_instance(MachineType machine_type);

  virtual ~NorvikPerception() = default;

  // Opens the log and the channels to the perception service, and has the service load `modules`; before anything
  // else. False when a channel could not be opened or the service did not confirm the loading of a module. The outcome
  // is final for this process: a later call returns it again, whatever modules it names. Blocks up to 10 s until the
  // service is there, and then up to 10 s for each module.
  virtual bool init(const std::set<PerceptionModule>& modules) = 0;

  // Has a module take pictures and work them out once; the result comes later. False when the service did not confirm
  // the request: five attempts of 2 s each, which fail at once while there is no service. A module that init() did not
  // name is asked all the same, but nothing is received from it.
  virtual bool run_once(PerceptionModule module) = 0;

  // Waits for a result that no call has waited for yet, one that came before this call included: true as soon as there
  // is one. Of several threads that wait for one module, each result wakes one.
  //   timeout_s  seconds, at least 0, which only looks
  // False on time-out, for bad arguments, without a successful init(), and when the process shuts down.
  virtual bool wait_for_new_result(PerceptionModule module, double timeout_s) = 0;

  // Converts the newest result of a module into `out`, of which nothing is kept. The same result can be read again.
  // False, with `out` as it was, without a successful init(), for an unknown module and before the first result; and
  // false when the result has neither clouds, nor poses, nor a mask. Takes a few milliseconds for a large cloud.
  virtual bool get_latest_result(PerceptionModule module, DetectionResult& out) = 0;
};

}  // namespace norvik::sdk
