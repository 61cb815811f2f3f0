#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include <unistd.h>

#include <spdlog/sinks/base_sink.h>

#include "log_sinks/unblocked_write.hpp"

namespace norvik::sdk {

// Writes records to standard output. A console that nobody reads must not stop the files that share the writer thread:
// what it does not take is dropped, and the number of lost records is written once it reads again.
class ConsoleSink final : public spdlog::sinks::base_sink<std::mutex> {
 private:
  void sink_it_(const spdlog::details::log_msg& record) override {
    if (dropped_ > 0 && !write_unblocked(STDOUT_FILENO, "(" + std::to_string(dropped_) + " log records were lost)\n")) {
      ++dropped_;
      return;
    }
    spdlog::memory_buf_t line;
    formatter_->format(record, line);
    dropped_ = write_unblocked(STDOUT_FILENO, {line.data(), line.size()}) ? 0 : 1;
  }
  void flush_() override {}

  uint64_t dropped_ = 0;
};

}  // namespace norvik::sdk
