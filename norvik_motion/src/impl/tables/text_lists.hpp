#pragma once

#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace norvik::sdk {

// "1, 2.5" for the log.
inline std::string join_values(const std::vector<double>& values) {
  std::ostringstream text;
  for (size_t i = 0; i < values.size(); ++i) {
    text << (i == 0 ? "" : ", ") << values[i];
  }
  return text.str();
}

// "(2)=[ a b ]" for the log.
inline std::string count_and_names(const std::set<std::string>& names) {
  std::ostringstream text;
  text << "(" << names.size() << ")=[ ";
  for (const std::string& name : names) {
    text << name << " ";
  }
  text << "]";
  return text.str();
}

}  // namespace norvik::sdk
