#include "report.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

namespace norvik::benchmarks {
namespace {

double judged_value(const Row& row) { return row.baseline > 0.0 ? row.subject / row.baseline : row.subject; }

}  // namespace

bool within_budget(const Row& row) {
  return row.more_is_better ? judged_value(row) >= row.limit : judged_value(row) <= row.limit;
}

void print_table(const std::vector<Row>& rows) {
  std::printf("%-52s %-7s %12s %12s %7s %8s  %s\n", "what", "unit", "baseline", "ours", "ratio", "budget", "");
  for (const auto& row : rows) {
    char ratio[16] = "-";
    if (row.baseline > 0.0) {
      std::snprintf(ratio, sizeof(ratio), "%.2f", row.subject / row.baseline);
    }
    std::printf("%-52s %-7s %12.1f %12.1f %7s %s%7.2f  %s%s%s\n", row.name.c_str(), row.unit.c_str(), row.baseline,
                row.subject, ratio, row.more_is_better ? ">" : "<", row.limit, within_budget(row) ? "met" : "MISSED",
                row.note.empty() ? "" : ", ", row.note.c_str());
  }
}

void write_json(const std::vector<Row>& rows, const std::string& path) {
  nlohmann::json list = nlohmann::json::array();
  for (const auto& row : rows) {
    list.push_back({{"name", row.name},
                    {"unit", row.unit},
                    {"baseline", row.baseline},
                    {"ours", row.subject},
                    {"limit", row.limit},
                    {"more_is_better", row.more_is_better},
                    {"within_budget", within_budget(row)},
                    {"note", row.note}});
  }
  std::ofstream(path) << list.dump(2) << '\n';
}

double percentile(std::vector<double> samples, double fraction) {
  if (samples.empty()) {
    return 0.0;
  }
  std::sort(samples.begin(), samples.end());
  const auto index = static_cast<size_t>(std::lround(fraction * static_cast<double>(samples.size() - 1)));
  return samples[std::min(index, samples.size() - 1)];
}

}  // namespace norvik::benchmarks
