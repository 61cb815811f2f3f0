#pragma once

#include <string>
#include <vector>

namespace norvik::benchmarks {

// One line of the result: a figure of ours, the same figure of the baseline in the same run, and what is aimed at.
struct Row {
  std::string name;
  std::string unit;
  double baseline = 0.0;  // 0: there is none.
  double subject = 0.0;
  double limit = 0.0;  // Of the ratio, or of the figure itself where there is no baseline.
  bool more_is_better = false;
  std::string note;
};

bool within_budget(const Row& row);
void print_table(const std::vector<Row>& rows);
void write_json(const std::vector<Row>& rows, const std::string& path);

// The value below which `fraction` (0 to 1) of the samples lie. Sorts its copy; 0 for no samples.
double percentile(std::vector<double> samples, double fraction);

}  // namespace norvik::benchmarks
