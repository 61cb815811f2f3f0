#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/navigation_types.hpp>
#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// Moves the base with the navigation service of the robot. One object per robot model and process:
//
//   auto& navigation = norvik::sdk::NorvikNavigation::get_instance(norvik::sdk::MachineType::K2);
//   if (!navigation.init() || !wait_until_ready(navigation)) return 1;
//   norvik::sdk::Pose goal;
//   goal.x = 2.0;
//   const auto status = navigation.navigate_to_goal(goal);
//
// The service plans and drives; this library sends it requests and follows its reports. Rules for every operation
// unless its comment says otherwise:
//  - Lengths are metres, angles radians, durations seconds. A pose is one of the frame "map"; its position must be
//    finite and its orientation not zero, else INVALID_INPUT.
//  - Nothing throws. A failure is a status, false or an empty result, and one record in the log that gives the reason.
//  - SERVICE_NOT_READY is looked for first: the service does not report that it works. It does so some time after its
//    start, and not before it knows where the robot is.
//  - A request waits for its answer up to 5 s. One that the service refuses is sent again at once, up to 4 times, so
//    that a call can take 25 s before it ends in REQUEST_FAILED. Without an answer to the first one it ends after 5 s.
//  - A shutdown of the process ends all waits within 0.2 s: as TIMEOUT, or FAILED for navigate_to_goal_v2. A goal that
//    a blocking call waited for is stopped then; one that was sent without waiting goes on, without its time-out.
//  - Reading state (poses, statuses, tasks) is safe from any thread at any time. The other operations may be called
//    from any thread, but one after the other: two goals at once are not told apart. stop_navigation() may be called
//    while another thread waits for a goal.
//
// The status of the goal, get_navigation_status(), follows the id of the last goal or configuration call of this
// object, and those of attached boxes. Another program's tasks do not change it, but they take the robot away:
// navigate_to_goal_v2 notices. So does attach_box_to_link() or a task of this program.
class NORVIK_SDK_EXPORT NorvikNavigation {
 public:
  // The object of the given model; made at the first request, lives until the process exits. A value outside
  // MachineType is logged as an error and gives the K2 object. Does not communicate. Safe from any thread.
  static NorvikNavigation& get_instance(MachineType machine_type);

  virtual ~NorvikNavigation() = default;

  // Opens the log and the channels to the service; before anything else, by one thread. Waits for each of the six
  // services up to 5 s, 30 s in all, and succeeds without them too: SERVICE_NOT_READY tells then. False when a channel
  // could not be opened, which is final for this process. Tells NorvikMotion where the base is.
  virtual bool init() = 0;

  // ---- Localisation ----

  // Tells the robot where it is. SUCCESS means that the pose was sent, not that the robot has found itself:
  // is_localized() tells that, after a moment. SERVICE_NOT_READY, REQUEST_FAILED (no channel). Does not block.
  virtual NaviStatus relocalize(const Pose& pose) = 0;

  // Whether the newest score of the localisation is above 0.75; a score that was half a second old, or more, when it
  // came counts as 0. Does not block.
  virtual bool is_localized() const = 0;

  // Where the robot believes to be; all seven numbers 0 before its first report. Does not block.
  virtual Pose get_current_pose() const = 0;

  // ---- Goals ----

  // Drives to a pose and watches for its arrival, every 100 ms.
  //   check_collision  keep off obstacles on the way.
  //   blocking         waits for the arrival; otherwise SUCCESS means accepted, and a thread stops the robot when
  //                    `timeout` has passed.
  //   timeout          seconds from the call, and not the service's own; 0 and below have always passed.
  //   omni             drive in any direction; otherwise heading first.
  // A goal of this object that still runs is stopped first, which takes a second. SUCCESS, TIMEOUT (the robot is
  // stopped), INVALID_INPUT, REQUEST_FAILED, SERVICE_NOT_READY.
  // Only the arrival ends the wait early: that the service gave up, or that another task took over, is not seen and
  // ends in TIMEOUT. navigate_to_goal_v2() sees both.
  virtual NaviStatus navigate_to_goal(const Pose& pose, bool check_collision = true, bool blocking = true,
                                      float timeout = 60.0F, bool omni = false) = 0;

  // Hands the service a target that may be replaced at any time by another call; returns once it is accepted.
  //   frame        "map" or "base_link".
  //   speed_ratio  share of the limits in force, above 0 and at most 1.
  // The handle's status is RUNNING when the target was accepted and UNKNOWN when not, with the reason as message. A
  // task that runs is not stopped first.
  virtual TaskHandle set_navigation_target(const Pose& pose, const std::string& frame = "map", float speed_ratio = 1.0F,
                                           bool check_collision = true) = 0;

  // What the service last reported of a task, of this program or another. UNKNOWN with "task not found" for an id that
  // was never seen, "task_id is empty" for an empty one, and with the service's text before the first report of an
  // accepted task. A request that did not get through is FAILED. Does not block.
  // Every task that is ever reported on the network is kept, 320 bytes each with a message of up to 15 characters:
  // 100 000 finished tasks are 32 MB. A program that runs for weeks reckons with that.
  virtual TaskHandle get_navigation_target_status(const std::string& task_id) = 0;

  // Hands the service a way through points; returns once it is accepted, after at most 4 requests. As
  // set_navigation_target() otherwise. A request holds 400 points, or some more with zeros in them; what does not fit
  // is refused.
  virtual TaskHandle navigate_through_waypoints(const std::vector<Waypoint>& waypoints,
                                                const std::string& frame = "map", bool check_collision = true) = 0;

  // The same for a trajectory that is driven as it is given. A request holds 580 poses.
  virtual TaskHandle navigate_along_trajectory(const std::vector<Pose>& poses, const std::string& frame = "map",
                                               float speed_ratio = 1.0F, bool check_collision = true) = 0;

  // Drives to a pose with limits of its own and watches what becomes of it, every 100 ms.
  //   velocity_limit  m/s, m/s, rad/s, each from 0.05 to 1.5; stays in force for later goals.
  //   pose_frame      frame of the pose, "map" or "base_link".
  //   timeout         seconds, also told to the service, where it stays in force; this call waits 5 s longer. Below 0
  //                   the call waits as long as it takes, and the service gets the value as it is.
  // Others as in navigate_to_goal(). SUCCESS: arrived, or interrupted, or another task took over (which is left
  // alone); FAILED: the service gave up, or stop_navigation() or another goal of this object ended the watch; TIMEOUT;
  // INVALID_INPUT; REQUEST_FAILED; SERVICE_NOT_READY. Unless another task took over the robot is stopped at the end.
  // Whether it arrived tells check_goal_arrival(), or get_navigation_status(): SUCCESS alone does not.
  // A goal in an obstacle, or a robot that stopped before one, does not end the wait before its time is over.
  // While it runs leave set_navigation_...() alone: they move the id that the reports of this goal are looked for
  // under, and the call then ends in TIMEOUT.
  virtual NaviStatus navigate_to_goal_v2(const Pose& pose,
                                         const std::array<double, 3>& velocity_limit = {{0.5, 0.5, 0.5}},
                                         const std::string& pose_frame = "map", bool check_collision = true,
                                         bool blocking = true, float timeout = 60.0F, bool omni = false) = 0;

  // Drives straight to a pose in "base_link", in any direction, without a look at obstacles. As navigate_to_goal()
  // otherwise, but each request waits for its answer as long as `timeout`, in whole seconds and at least one.
  virtual NaviStatus move_straight_to(const Pose& pose, bool blocking = true, float timeout = 15.0F) = 0;

  // Drives with a velocity in "base_link": vx and vy in m/s, wz in rad/s. Returns once it is accepted; the service
  // ends the motion after `duration_s`, which must be above 0. Each request waits 3 s. A goal of this object that still
  // runs is stopped first, which takes a second.
  virtual NaviStatus navigate_with_velocity(double vx, double vy, double wz, double duration_s,
                                            bool check_collision = true) = 0;

  // Stops the robot, and ends the watch of a goal of this object, blocking or not, for which it waits up to 100 ms and
  // that one's own stop. A blocking navigate_to_goal() or move_straight_to() waits on, until its time-out.
  virtual NaviStatus stop_navigation() = 0;

  // ---- Boxes ----

  // Declares a box as an obstacle in the world model of the robot. Sides above 0, a parent link, a finite pose; else
  // INVALID_INPUT. REQUEST_FAILED: no box service, no answer, or it refused. Works without the navigation service.
  // The service gets the pose in single precision.
  virtual NaviStatus add_bounding_box(const BoxInfo& box) = 0;
  virtual NaviStatus remove_bounding_box(int32_t box_tag) = 0;

  // All boxes of the world model. Empty in failure; what could be read of a broken answer is kept. A box that this
  // library did not make has the tag -1.
  virtual std::vector<BoxInfo> get_bounding_box() = 0;

  // Makes a box part of a link of the robot, for planning, and waits up to 5 s for the service to say so.
  //   ignore_links  links that may touch it.
  // INVALID_INPUT, REQUEST_FAILED (also: the service reports that it failed), SERVICE_NOT_READY, TIMEOUT. Its reports
  // count as the status of a goal: not to be called while one runs. The ids of these two operations carry nothing of
  // this process: two programs that attach boxes at the same time can take each other's reports for their own.
  virtual NaviStatus attach_box_to_link(const BoxInfo& box, const std::vector<std::string>& ignore_links = {}) = 0;
  virtual NaviStatus detach_box_from_link(int32_t box_tag) = 0;

  // ---- State ----

  // Whether the robot could drive from `start` to `goal`, both in "map": the service plans it. False also in every
  // failure; blocks up to 10 s. When the service refuses the request at first the answer is false, whatever it says to
  // the repetitions: ask again.
  virtual bool check_path_reachability(const Pose& goal, const Pose& start) = 0;

  // Whether the last goal of this object has arrived. False while the service is not working. Does not block.
  virtual bool check_goal_arrival() = 0;

  // A value of NaviTaskStatus: RUNNING from the sending of a goal on, then what the service reports; RUNNING also
  // after a goal that could not be sent. Does not block.
  virtual int32_t get_navigation_status() const = 0;

  // ---- Configuration ----
  // One request each, without repetition. All values are checked before anything is sent; bounds are inclusive. A
  // configuration call while a goal runs cuts that goal's reports off: get_navigation_status() stays as it is.

  // m/s, m/s, rad/s, each from 0.05 to 1.5.
  virtual NaviStatus set_navigation_velocity_limit(const std::array<double, 3>& limit) = 0;

  // The same with accelerations (per s^2, from 0.05 to 7.5) and jerks (per s^3, from 0.05 to 37.5).
  virtual NaviStatus set_navigation_kinematics_limits(const std::array<double, 3>& velocity,
                                                      const std::array<double, 3>& acceleration,
                                                      const std::array<double, 3>& jerk) = 0;

  // The time that the service gives a goal. Any finite number; what one below 0 means is the service's affair.
  virtual NaviStatus set_navigation_timeout(double seconds) = 0;

  // How near counts as arrived: metres, metres, radians, each from 0.03 to 2.0.
  virtual NaviStatus set_navigation_arrival_threshold(const std::array<double, 3>& threshold) = 0;

  // Writes limits, time-out, threshold and field of view of the service into the log, four requests. The status of the
  // last that failed, or SUCCESS.
  virtual NaviStatus dump_navigation_configs() = 0;
};

}  // namespace norvik::sdk
