#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <set>
#include <string>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// What this process makes the robot do and has to end when the program is told to stop: the motions that its blocking
// calls wait for, and a base velocity that stands. Filled by the commands, taken by the MotionStopper. Any thread.
class MotionsUnderWay {
 public:
  // Stops what the controller does not know, such as a hand with topics of its own. Called once, after the shutdown.
  using Hold = std::function<void()>;

  // One command whose end its caller waits for; made before the command goes out. When a shutdown cuts the call off
  // before the motion has ended, the motion stays on the list.
  class Motion {
   public:
    Motion(MotionsUnderWay& motions, std::set<std::string> groups, Hold hold = nullptr);
    ~Motion();
    Motion(const Motion&) = delete;
    Motion& operator=(const Motion&) = delete;

    // The command has gone out, or was refused. Without an answer the robot may move all the same.
    void commanded(ControlStatus status);
    // Nothing is left to be stopped.
    void ended();

   private:
    MotionsUnderWay& motions_;
    bool commanded_ = false;
    bool ended_ = false;
    std::list<Motion*>::iterator place_;
    const std::set<std::string> groups_;
    const Hold hold_;

    friend class MotionsUnderWay;
  };

  // One command that changes the velocity of the base; made before it goes out.
  class BaseVelocity {
   public:
    // Whether the base keeps moving after this command.
    BaseVelocity(MotionsUnderWay& motions, bool stands);
    // Takes the change back, unless it was sent.
    ~BaseVelocity();
    BaseVelocity(const BaseVelocity&) = delete;
    BaseVelocity& operator=(const BaseVelocity&) = delete;

    void sent() { sent_ = true; }

   private:
    MotionsUnderWay& motions_;
    bool before_ = false;
    bool sent_ = false;
  };

  // The base follows another command now, or stands.
  void base_velocity_ended();

  struct Stops {
    std::set<std::string> groups;
    std::list<Hold> holds;
    bool base_velocity = false;
  };

  // What has to be stopped. To be called after the shutdown was asked for; waits, at most until `deadline`, for the
  // commands that were going out at that moment, so that none of them arrives after its stop.
  Stops take(std::chrono::steady_clock::time_point deadline);

 private:
  void add_to_stops(const Motion& motion);

  std::mutex mutex_;
  std::condition_variable nothing_going_out_;
  int going_out_ = 0;
  std::list<Motion*> motions_;
  Stops cut_off_;
  bool base_velocity_stands_ = false;
};

}  // namespace norvik::sdk
