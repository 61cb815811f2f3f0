#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace norvik::sdk {

// The goals that blocking calls of this process wait for: what has to be stopped when the program is told to end. Any
// thread.
class GoalsUnderWay {
 public:
  // One goal whose end its caller waits for; made before its request goes out. When a shutdown cuts the call off before
  // the goal has ended, it stays to be stopped.
  class Goal {
   public:
    explicit Goal(GoalsUnderWay& goals);
    ~Goal();
    Goal(const Goal&) = delete;
    Goal& operator=(const Goal&) = delete;

    // The request has gone out, and was answered or not.
    void sent();
    // Nothing is left to be stopped.
    void ended();

   private:
    GoalsUnderWay& goals_;
    bool sent_ = false;
    bool ended_ = false;
  };

  // Whether something has to be stopped. To be called once the shutdown was asked for; waits, at most until `deadline`,
  // for requests that are going out, so that none of them arrives after its stop.
  bool take(std::chrono::steady_clock::time_point deadline);

 private:
  std::mutex mutex_;
  std::condition_variable nothing_going_out_;
  int going_out_ = 0;
  int open_ = 0;
  bool cut_off_ = false;
};

}  // namespace norvik::sdk
