#include "log_sinks/rotating_file_sink.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include <spdlog/common.h>

#include "log_sinks/unblocked_write.hpp"

namespace norvik::sdk {
namespace {

constexpr uint64_t kMostFiles = 200'000;
constexpr std::size_t kBufferSize = 65'536;
constexpr mode_t kFileMode = 0644;

}  // namespace

std::atomic<uint64_t> RotatingFileSink::records_handled_{0};

RotatingFileSink::RotatingFileSink(std::string path, uint64_t max_size, uint64_t max_files)
    : path_(std::move(path)), max_size_(max_size), max_files_(max_files) {
  if (max_size == 0) throw spdlog::spdlog_ex("rotating sink constructor: max_size arg cannot be zero");
  if (max_files > kMostFiles) throw spdlog::spdlog_ex("rotating sink constructor: max_files arg cannot exceed 200000");
  std::error_code ignored;  // shows when the file is opened
  std::filesystem::create_directories(std::filesystem::path(path_).parent_path(), ignored);
  if (!open(0)) throw spdlog::spdlog_ex("Failed opening file " + path_ + " for writing", errno);
}

RotatingFileSink::~RotatingFileSink() {
  flush_();
  close();
}

void RotatingFileSink::sink_it_(const spdlog::details::log_msg& record) {
  spdlog::memory_buf_t line;
  formatter_->format(record, line);
  if (size_ > 0 && size_ + line.size() > max_size_) rotate();
  buffer_.append(line.data(), line.size());
  size_ += line.size();
  if (buffer_.size() >= kBufferSize) flush_();
  ++records_handled_;
}

void RotatingFileSink::flush_() {
  if (buffer_.empty()) return;
  if ((descriptor_ < 0 && !open(0)) || !write_out(buffer_)) {
    tell_once(errno);
  } else {
    failing_ = false;
  }
  buffer_.clear();
}

// Without O_NONBLOCK a named pipe in the place of the file would hold up the caller until somebody reads it.
bool RotatingFileSink::open(int extra_flags) {
  descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | extra_flags, kFileMode);
  struct stat status {};
  if (descriptor_ >= 0 && ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
    size_ = static_cast<uint64_t>(status.st_size) + buffer_.size();
  }
  return descriptor_ >= 0;
}

void RotatingFileSink::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

// A file that cannot be renamed is emptied: the limit on the disk's use comes first.
void RotatingFileSink::rotate() {
  flush_();
  close();
  for (uint64_t index = max_files_; index > 0; --index) {
    std::rename(rotated_path(index - 1).c_str(), rotated_path(index).c_str());
  }
  size_ = 0;
  if (!open(O_TRUNC)) tell_once(errno);
}

std::string RotatingFileSink::rotated_path(uint64_t index) const {
  return index == 0 ? path_ : path_ + "." + std::to_string(index);
}

bool RotatingFileSink::write_out(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor_, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

void RotatingFileSink::tell_once(int error) {
  if (std::exchange(failing_, true)) return;
  write_unblocked(STDERR_FILENO, "norvik_sdk: log records are lost, " + path_ + ": " + std::strerror(error) + "\n");
}

}  // namespace norvik::sdk
