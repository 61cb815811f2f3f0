#include "cli/output.hpp"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>

#include <nlohmann/json.hpp>

#include "cli/interrupt.hpp"
#include "cli/options.hpp"

namespace norvik::tools {
namespace {

// What a program reports that a closed pipe ended.
constexpr int kReaderGone = 128 + SIGPIPE;

int g_error = 0;  // errno of the write that failed.

// Interrupted before anything else could be written counts as an error of its own.
int write_all(const char* data, size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(STDOUT_FILENO, data, size);
    if (written < 0 && (errno != EINTR || is_interrupted())) {
      return errno;
    }
    if (written > 0) {
      data += written;
      size -= static_cast<size_t>(written);
    }
  }
  return 0;
}

}  // namespace

std::string without_controls(std::string text) {
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool is_c1 = byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (is_c1) {
      text.replace(i, 2, "?");
    } else if ((byte < 0x20 && byte != '\n' && byte != '\t') || byte == 0x7F) {
      text[i] = '?';
    }
  }
  return text;
}

bool print(const std::string& text) {
  g_error = g_error != 0 ? g_error : write_all(text.data(), text.size());
  return g_error == 0;
}

bool is_output_lost() { return g_error != 0; }

bool print_text(const std::string& text) { return print(without_controls(text)); }

bool print_json(const nlohmann::ordered_json& document) {
  return print(document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n');
}

int final_status(int status) {
  if (is_interrupted()) {
    return interrupted_status();
  }
  if (g_error == EPIPE) {
    return kReaderGone;
  }
  if (g_error != 0) {
    std::cerr << "norvik: the output cannot be written: " << std::strerror(g_error) << '\n';
    return kFailure;
  }
  return status;
}

}  // namespace norvik::tools
