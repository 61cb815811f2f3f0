#include "cli/near_names.hpp"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace norvik::tools {
namespace {

constexpr size_t kMostNames = 3;

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

// Insertions, deletions and replacements that make one text of the other.
size_t edit_distance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::vector<std::string> near_names(const std::string& name, const std::vector<std::string>& candidates) {
  const std::string wanted = lower_case(name);
  const size_t tolerated = std::max<size_t>(2, wanted.size() / 4);
  std::vector<std::pair<size_t, std::string>> found;
  for (const std::string& candidate : candidates) {
    const std::string offered = lower_case(candidate);
    const size_t distance = edit_distance(wanted, offered);
    const bool is_part = !wanted.empty() && offered.find(wanted) != std::string::npos;
    if (distance <= tolerated || is_part) {
      found.emplace_back(is_part ? 0 : distance, candidate);
    }
  }
  std::sort(found.begin(), found.end());
  std::vector<std::string> names;
  for (size_t i = 0; i < std::min(found.size(), kMostNames); ++i) {
    names.push_back(found[i].second);
  }
  return names;
}

}  // namespace norvik::tools
