#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include <spdlog/sinks/base_sink.h>

namespace norvik::sdk {

// A log file of limited size. A full one becomes PATH.1, the one before PATH.2 and so on: the names that the reader of
// the log looks for. Holds no stdio stream, which the end of the process would flush to a disk that may be stuck. A
// disk that is full costs records, told once on standard error, and never the writer thread.
class RotatingFileSink final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  // Opens the file for appending and makes missing directories.
  //   max_size   bytes at which a new file is begun, above 0
  //   max_files  older files kept, at most 200000
  // Throws spdlog::spdlog_ex for a number out of range and for a file that cannot be opened.
  RotatingFileSink(std::string path, uint64_t max_size, uint64_t max_files);
  ~RotatingFileSink() override;
  RotatingFileSink(const RotatingFileSink&) = delete;
  RotatingFileSink& operator=(const RotatingFileSink&) = delete;

  // Records that the sinks of this process have dealt with; stands still while the disk is stuck.
  static uint64_t records_handled() { return records_handled_; }

 private:
  void sink_it_(const spdlog::details::log_msg& record) override;
  void flush_() override;

  bool open(int extra_flags);
  void close();
  void rotate();
  std::string rotated_path(uint64_t index) const;
  bool write_out(std::string_view text);
  void tell_once(int error);

  static std::atomic<uint64_t> records_handled_;

  const std::string path_;
  const uint64_t max_size_;
  const uint64_t max_files_;
  int descriptor_ = -1;
  uint64_t size_ = 0;   // of the file, unwritten text included
  std::string buffer_;  // text that is not written yet
  bool failing_ = false;
};

}  // namespace norvik::sdk
