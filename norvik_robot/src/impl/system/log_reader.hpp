#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace norvik::sdk {

// What a search of the log files found.
struct LogExtract {
  std::string content;  // The matching messages, one per line.
  size_t total_lines = 0;
  size_t matched_lines = 0;
};

// The files of `directory` that are called `log_file_name` or begin with it and a dot, oldest modification first, equal
// ones by path. Empty when the directory cannot be opened.
std::optional<std::vector<std::filesystem::path>> find_log_files(const std::string& directory,
                                                                 const std::string& log_file_name);

// Collects the messages of level `level_name` that are not older than `oldest`, a time since the epoch. Files that
// cannot be opened are left out. The files may be written meanwhile: a half-written last line does not match.
LogExtract extract_log_messages(const std::vector<std::filesystem::path>& files, const std::string& level_name,
                                std::optional<std::chrono::milliseconds> oldest);

}  // namespace norvik::sdk
