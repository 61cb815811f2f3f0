#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Wall clock time as it stands in an envelope.
struct DataTimestamp {
  uint32_t sec = 0;
  uint32_t nsec = 0;
};

// Facts about this process and the limits above which slowness is logged.
class OVIMUX_EXPORT GlobalData {
 public:
  static GlobalData* Instance(bool create = true);

  // A 64-bit id of a name: the same in every process, different for a channel and a service of one name.
  static uint64_t RegisterChannel(const std::string& name);
  static uint64_t RegisterService(const std::string& name);

  // The kernel's id of the calling thread.
  static int ThreadId();
  static void GetTimeStamp(DataTimestamp* timestamp);

  int32_t process_id() const { return process_id_; }
  const std::string& process_name() const { return process_name_; }
  const std::string& host_name() const { return host_name_; }
  const std::string& host_ip() const { return host_ip_; }

  // Milliseconds from forming a sample to taking it, and of one callback, above which a warning is logged.
  int64_t getReaderSubThreshold() const { return reader_sub_threshold_ms_; }
  int64_t getReaderCallbackThreshold() const { return reader_callback_threshold_ms_; }
  int64_t getClientSubThreshold() const { return client_sub_threshold_ms_; }
  int64_t getClientCallbackThreshold() const { return client_callback_threshold_ms_; }
  void setReaderSubThreshold(int64_t ms) { reader_sub_threshold_ms_ = ms; }
  void setReaderCallbackThreshold(int64_t ms) { reader_callback_threshold_ms_ = ms; }
  void setClientSubThreshold(int64_t ms) { client_sub_threshold_ms_ = ms; }
  void setClientCallbackThreshold(int64_t ms) { client_callback_threshold_ms_ = ms; }

 private:
  GlobalData();

  const int32_t process_id_;
  const std::string process_name_;
  const std::string host_name_;
  const std::string host_ip_;
  std::atomic<int64_t> reader_sub_threshold_ms_{200};
  std::atomic<int64_t> reader_callback_threshold_ms_{100};
  std::atomic<int64_t> client_sub_threshold_ms_{200};
  std::atomic<int64_t> client_callback_threshold_ms_{100};
};

}  // namespace norvik::ovimux
