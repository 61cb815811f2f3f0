#pragma once

#include <string>
#include <vector>

#include <norvik_sdk/export.hpp>

namespace norvik::sdk {

// Typed input for example and test programs, with one way of quitting: every function returns false when the user
// types "q", "quit" or "exit". They use the process's standard streams and are for one thread at a time.

// Writes `prompt` (unless empty), reads one line and trims blanks, tabs and line ends from both sides. End of input
// gives an empty text and true.
NORVIK_SDK_EXPORT bool safe_read_input(std::string& out, const std::string& prompt);

// Ask until a number is typed. What follows the number is ignored: "12abc" is 12. `out` changes only on true. Also
// false at the end of input, when there is nobody left to ask.
NORVIK_SDK_EXPORT bool safe_read_int(int& out, const std::string& prompt);
NORVIK_SDK_EXPORT bool safe_read_int64(long& out, const std::string& prompt);
NORVIK_SDK_EXPORT bool safe_read_double(double& out, const std::string& prompt);

// Reads `count` numbers, separated by blanks, from one line. Asks only once: false when there are fewer, with the ones
// that were read in `out`. Further numbers are ignored.
NORVIK_SDK_EXPORT bool safe_read_doubles(std::vector<double>& out, int count, const std::string& prompt);

}  // namespace norvik::sdk
