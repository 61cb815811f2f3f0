#include "wire/planner_faults.hpp"

#include <algorithm>
#include <iterator>

namespace norvik::simulator {

namespace {

struct StartRow {
  const char* name;
  PlannerStart start;
};
constexpr StartRow kStarts[] = {{"initing", PlannerStart::kIniting}, {"init_failed", PlannerStart::kFailed}};

struct TaskRow {
  const char* name;
  TaskFault fault;
};
constexpr TaskRow kTasks[] = {{"collision", TaskFault::kCollision},
                              {"failed", TaskFault::kFailed},
                              {"never", TaskFault::kNever},
                              {"twice", TaskFault::kTwice},
                              {"status_first", TaskFault::kStatusFirst},
                              {"no_result", TaskFault::kNoResult},
                              {"wrong_size", TaskFault::kWrongSize},
                              {"wrong_shape", TaskFault::kWrongShape},
                              {"none", TaskFault::kNone}};

template <typename Rows>
auto find_row(const Rows& rows, const std::string& name) {
  return std::find_if(std::begin(rows), std::end(rows), [&](const auto& row) { return name == row.name; });
}

}  // namespace

bool PlannerFaults::set(const std::string& name, int64_t count) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (const auto* row = find_row(kStarts, name); row != std::end(kStarts)) {
    start_ = row->start;
    return true;
  }
  const auto* row = find_row(kTasks, name);
  if (row == std::end(kTasks)) {
    return false;
  }
  if (row->fault == TaskFault::kNone) {
    start_ = PlannerStart::kDone;
  }
  fault_ = row->fault;
  count_ = count;
  return true;
}

void PlannerFaults::clear() { set("none", 0); }

PlannerStart PlannerFaults::start() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return start_;
}

TaskFault PlannerFaults::take() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return take_locked();
}

TaskFault PlannerFaults::take_for_answer() {
  const std::lock_guard<std::mutex> lock(mutex_);
  const bool fits =
      fault_ == TaskFault::kNoResult || fault_ == TaskFault::kWrongSize || fault_ == TaskFault::kWrongShape;
  return fits ? take_locked() : TaskFault::kNone;
}

TaskFault PlannerFaults::take_locked() {
  if (count_ == 0) {
    return TaskFault::kNone;
  }
  count_ -= count_ > 0 ? 1 : 0;
  return fault_;
}

}  // namespace norvik::simulator
