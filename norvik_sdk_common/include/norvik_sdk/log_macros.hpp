#pragma once

// Pieces shared by the logging macros. Not for direct use.

#include <cstddef>
#include <ostream>

namespace norvik::sdk::detail {

template <std::size_t N>
struct FileStem {
  char text[N]{};
};

// File name without directory and extension: "/a/b/joint_manager.cpp" gives "joint_manager".
template <std::size_t N>
constexpr FileStem<N> make_file_stem(const char (&path)[N]) {
  std::size_t begin = 0;
  std::size_t end = N - 1;
  for (std::size_t i = 0; i < N - 1; ++i) {
    if (path[i] == '/') begin = i + 1;
  }
  for (std::size_t i = begin + 1; i < N - 1; ++i) {
    if (path[i] == '.') end = i;
  }
  FileStem<N> stem;
  for (std::size_t i = begin; i < end; ++i) stem.text[i - begin] = path[i];
  return stem;
}

// Turns a whole `stream << a << b` into void, so that it can stand in a conditional expression.
struct VoidStream {
  void operator&(std::ostream&) const {}
};

}  // namespace norvik::sdk::detail

// The stem of the current file as a literal with static lifetime, made at compile time.
#define NORVIK_SDK_DETAIL_FILE_STEM                                                               \
  ([]() -> const char* {                                                                          \
    static constexpr auto norvik_sdk_file_stem = ::norvik::sdk::detail::make_file_stem(__FILE__); \
    return norvik_sdk_file_stem.text;                                                             \
  }())

// An expression and not a statement, so that it is safe as the body of an unbraced if.
#define NORVIK_SDK_DETAIL_LOG(enabled, record) \
  !(enabled) ? static_cast<void>(0) : ::norvik::sdk::detail::VoidStream() & (record).stream()
