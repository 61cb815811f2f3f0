#include "ovimux/dds/dds_sub_listener.hpp"

#include <chrono>

#include "dds/drain.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/core/statistics.hpp"

namespace norvik::ovimux {
namespace {

constexpr SubListenerBase::Kind kReaderKind = {"DDSSubSerializationListener",
                                               "DDSSubSerializationListener: 64k data reveived", kReaderChannel, true};

unsigned queue_depth(const Qos& qos, const std::string& topic) {
  if (qos.callback_mode == 0) {
    return DDSSubListenerCore::kAutoQueueDepth;
  }
  if (qos.queue_depth < 1) {
    OVIMUX_LOG(kInfo) << "DDSSerializationDataReader: msg queue depth invalid: " << qos.queue_depth
                      << ", set to default. topic: " << topic;
    return DDSSubListenerCore::kAutoQueueDepth;
  }
  return static_cast<unsigned>(qos.queue_depth);
}

}  // namespace

DDSSubListenerCore::DDSSubListenerCore(const std::string& topic, const Qos& qos)
    : SubListenerBase(kReaderKind, topic, qos),
      callback_auto_(qos.callback_mode == 0),
      callback_inline_(!callback_auto_ && qos.callback_inline != 0),
      queue_(topic) {
  queue_.create(queue_depth(qos, topic), true);
}

void DDSSubListenerCore::set_task() {
  if (callback_inline_) {
    return;
  }
  task_ = std::make_shared<Task>([weak = weak_core()] {
    if (const auto self = weak.lock()) {
      drain_past_exceptions([&self] { self->threadpoll_task(); });
    }
  });
  task_->set_state(Task::kIdle);
}

int64_t DDSSubListenerCore::transit_threshold_ms() const { return GlobalData::Instance()->getReaderSubThreshold(); }

int DDSSubListenerCore::enqueue(Envelope& envelope, const SampleOrigin& /*origin*/) {
  return queue_.write(
      std::make_shared<Sample>(Sample{std::move(envelope.raw_data), std::move(envelope.bulk), envelope.seq}));
}

int DDSSubListenerCore::check_ready(const char* missing_callback_text) const {
  if (!OK()) {
    OVIMUX_LOG(kInfo) << "msg_threadpoll_task: ovimux state is shutdown, topic: " << topic();
    return -2;
  }
  if (!has_callback()) {
    OVIMUX_LOG(kError) << missing_callback_text << topic();
    return -1;
  }
  return 0;
}

int DDSSubListenerCore::threadpoll_task() {
  const int ready = check_ready("DDSSerializationDataReader msg_threadpoll_task: cbk is null, topic: ");
  if (ready != 0) {
    return ready;
  }
  while (OK() && deliver_next()) {
  }
  return 0;
}

int DDSSubListenerCore::threadpoll_callonce_task() {
  const int ready = check_ready("DDSSerializationDataReader msg_threadpoll_task: cbk is null ");
  if (ready == 0) {
    deliver_next();
  }
  return ready;
}

// False when there is nothing to deliver, or nobody to deliver it to.
bool DDSSubListenerCore::deliver_next() {
  const CallbackGate::Pass pass(gate_);
  std::shared_ptr<Sample> sample;
  if (!pass || queue_.read(sample) != 0) {
    return false;
  }
  if (sample) {  // Empty only where the 32-bit indices have wrapped.
    deliver_timed(*sample);
    recycler().give(std::move(sample->bytes));
  }
  return true;
}

void DDSSubListenerCore::deliver_timed(Sample& sample) {
  const uint32_t seq = sample.seq;
  OVIMUX_LOG(kDebug) << "ovimux callback called start, topic: " << topic() << ", callback auto mode: " << callback_auto_
                     << " , index: " << seq;
  const int64_t threshold_ms = GlobalData::Instance()->getReaderCallbackThreshold();
  const auto start = std::chrono::steady_clock::now();
  deliver(sample);
  const auto elapsed = std::chrono::steady_clock::now() - start;
  const int64_t elapsed_ms = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
  if (threshold_ms <= elapsed_ms) {
    OVIMUX_LOG(kWarning) << "ovimux callback used time " << elapsed_ms
                         << " ms, over callback threshold, topic:" << topic() << " , index: " << seq;
  }
  OVIMUX_LOG(kDebug) << "ovimux callback called end, topic: " << topic() << ", callback auto mode: " << callback_auto_
                     << " , index: " << seq;
}

bool DDSSubListenerCore::SyncAll() {
  if (callback_auto_) {
    OVIMUX_LOG(kInfo) << "SyncAll not support for auto callback mode, topic: " << topic();
    return true;
  }
  OVIMUX_LOG(kDebug) << "SyncAll call, topic: " << topic();
  if (callback_inline_) {
    const auto self = weak_core().lock();  // The callback may destroy the reader.
    return threadpoll_task() == 0;
  }
  if (task_->is_running()) {
    OVIMUX_LOG(kInfo) << "DDSSerializationDataReader SyncAll is already running, topic: " << topic();
    return false;
  }
  OvimuxThreadPool::Instance()->push_task(task_);
  return true;
}

bool DDSSubListenerCore::SyncOnce() {
  if (callback_auto_) {
    OVIMUX_LOG(kInfo) << "SyncOnce not support for auto callback mode, topic: " << topic();
    return true;
  }
  OVIMUX_LOG(kDebug) << "SyncOnce call, topic: " << topic();
  if (callback_inline_) {
    const auto self = weak_core().lock();  // The callback may destroy the reader.
    return threadpoll_callonce_task() == 0;
  }
  const auto task = std::make_shared<Task>([weak = weak_core()] {
    if (const auto self = weak.lock()) {
      self->threadpoll_callonce_task();
    }
  });
  if (task->is_running()) {
    OVIMUX_LOG(kError) << "DDSSerializationDataReader SyncOnce: task init stat err: running, topic: " << topic();
    return false;
  }
  OvimuxThreadPool::Instance()->push_task(task);
  return true;
}

}  // namespace norvik::ovimux
