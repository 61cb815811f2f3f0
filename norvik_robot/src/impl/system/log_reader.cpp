#include "impl/system/log_reader.hpp"

#include <algorithm>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "impl/system/log_line.hpp"

namespace norvik::sdk {
namespace {

namespace fs = std::filesystem;

bool belongs_to_log(const std::string& name, const std::string& log_file_name) {
  return name == log_file_name || name.compare(0, log_file_name.size() + 1, log_file_name + ".") == 0;
}

std::string_view without_trailing_blanks(std::string_view line) {
  const size_t last = line.find_last_not_of(" \r\n");
  return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

bool is_wanted(const LogLine& line, const std::string& level_name, std::optional<std::chrono::milliseconds> oldest) {
  if (line.level != level_name) {
    return false;
  }
  const auto time = parse_log_time(line.time);
  return time && (!oldest || *time >= *oldest);
}

void add_message(LogExtract& extract, std::string_view message) {
  if (extract.matched_lines > 0) {
    extract.content += '\n';
  }
  extract.content += message;
  ++extract.matched_lines;
}

}  // namespace

std::optional<std::vector<fs::path>> find_log_files(const std::string& directory, const std::string& log_file_name) {
  std::error_code error;
  fs::directory_iterator entry(directory, error);
  if (error) {
    return std::nullopt;
  }
  std::vector<std::pair<fs::file_time_type, fs::path>> found;
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    std::error_code file_error;
    if (!fs::is_regular_file(entry->symlink_status(file_error)) ||
        !belongs_to_log(entry->path().filename().string(), log_file_name)) {
      continue;
    }
    const auto modified = entry->last_write_time(file_error);
    if (!file_error) {
      found.emplace_back(modified, entry->path());
    }
  }
  std::sort(found.begin(), found.end());

  std::vector<fs::path> files;
  files.reserve(found.size());
  for (auto& [modified, path] : found) {
    files.push_back(std::move(path));
  }
  return files;
}

LogExtract extract_log_messages(const std::vector<fs::path>& files, const std::string& level_name,
                                std::optional<std::chrono::milliseconds> oldest) {
  LogExtract extract;
  for (const auto& path : files) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
      ++extract.total_lines;
      const auto parts = parse_log_line(without_trailing_blanks(line));
      if (parts && is_wanted(*parts, level_name, oldest)) {
        add_message(extract, parts->message);
      }
    }
  }
  return extract;
}

}  // namespace norvik::sdk
