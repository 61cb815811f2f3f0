// short_program URL AUTHORITIES DELAY_MS OPENSSL_BEFORE: starts a version check and returns from main a moment later.
#include <openssl/crypto.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "version_notifier.hpp"

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  ::unsetenv("NORVIK_SDK_SKIP_VERSION_CHECK");
  if (std::string(argv[4]) == "1") OPENSSL_init_crypto(0, nullptr);
  norvik::sdk::start_version_check({argv[1], "https://page.example", argv[2]});
  std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(argv[3])));
  return 3;
}
