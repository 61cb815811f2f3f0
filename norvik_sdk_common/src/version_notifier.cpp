#include "version_notifier.hpp"

#include <unistd.h>
#include <curl/curl.h>
#include <openssl/crypto.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include <norvik_sdk/version.hpp>

#include "log_sinks/unblocked_write.hpp"
#include "version/exit_gate.hpp"

namespace norvik::sdk {
namespace {

constexpr char kLatestReleaseUrl[] = "https://releases.norvik.example/norvik_sdk/latest.json";
constexpr char kReleasePage[] = "https://releases.norvik.example/norvik_sdk";
constexpr char kUserAgent[] = "NorvikSDK/" NORVIK_SDK_VERSION;
constexpr long kTimeoutSeconds = 3;
constexpr long kConnectTimeoutSeconds = 2;
constexpr long kHttpOk = 200;
constexpr int kExitPollMs = 10;  // how soon a transfer sees that the process ends

std::atomic<bool> g_version_check_spawned{false};
std::once_flag g_curl_once;

using EasyHandle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using MultiHandle = std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)>;

bool check_is_disabled() {
  const char* value = std::getenv("NORVIK_SDK_SKIP_VERSION_CHECK");
  return value != nullptr && std::strcmp(value, "1") == 0;
}

// Called from C: an answer too large for the memory ends the transfer.
size_t curl_write_string(char* data, size_t size, size_t count, void* target) {
  try {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
  } catch (...) {
    return 0;
  }
}

void set_request(CURL* handle, const ReleaseFeed& feed, std::string& body) {
  curl_easy_setopt(handle, CURLOPT_URL, feed.latest_release_url.c_str());
  curl_easy_setopt(handle, CURLOPT_USERAGENT, kUserAgent);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT, kTimeoutSeconds);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &curl_write_string);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
  if (!feed.authorities.empty()) curl_easy_setopt(handle, CURLOPT_CAINFO, feed.authorities.c_str());
}

// In steps that end by themselves, with a look at the exit gate before each: a transfer waits for its peer for seconds.
bool perform(CURL* handle) {
  const MultiHandle multi(curl_multi_init(), &curl_multi_cleanup);
  if (multi == nullptr || curl_multi_add_handle(multi.get(), handle) != CURLM_OK) return false;
  int running = 1;
  while (running > 0) {
    exit_gate::stop_here_at_exit();
    if (curl_multi_perform(multi.get(), &running) != CURLM_OK) break;
    if (running > 0) curl_multi_poll(multi.get(), nullptr, 0, kExitPollMs, nullptr);
  }
  int left = 0;
  const CURLMsg* const message = curl_multi_info_read(multi.get(), &left);
  const bool good = message != nullptr && message->msg == CURLMSG_DONE && message->data.result == CURLE_OK;
  curl_multi_remove_handle(multi.get(), handle);
  return good;
}

// The body of a 200 answer.
std::optional<std::string> fetch(const ReleaseFeed& feed) {
  std::call_once(g_curl_once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
  const EasyHandle handle(curl_easy_init(), &curl_easy_cleanup);
  if (handle == nullptr) return std::nullopt;
  std::string body;
  set_request(handle.get(), feed, body);
  if (!perform(handle.get())) return std::nullopt;
  long status = 0;
  curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
  if (status != kHttpOk) return std::nullopt;
  return body;
}

// The application's signal handlers must not run on this thread, and a peer that hangs up must not kill the process by
// SIGPIPE, against which libcurl does not guard under CURLOPT_NOSIGNAL.
void block_all_signals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

void run_detached(const ReleaseFeed& feed) noexcept {
  exit_gate::adopt();
  try {
    block_all_signals();
    version_check_worker(feed, STDERR_FILENO);
  } catch (...) {
    // Out of memory: no notice.
  }
  exit_gate::leave();
}

}  // namespace

void notify_new_sdk_version_if_any_async() {
  bool expected = false;
  if (!g_version_check_spawned.compare_exchange_strong(expected, true)) return;
  start_version_check({kLatestReleaseUrl, kReleasePage, ""});
}

void start_version_check(const ReleaseFeed& feed) {
  // Unless somebody in the process has set OpenSSL up before, it then never takes itself down.
  OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
  if (!exit_gate::enter()) return;
  try {
    std::thread(run_detached, feed).detach();
  } catch (...) {
    exit_gate::adopt();  // No thread to be had: no notice.
    exit_gate::leave();
  }
}

void version_check_worker(const ReleaseFeed& feed, int out) {
  if (check_is_disabled()) return;
  const auto current = parse_version(NORVIK_SDK_VERSION);
  if (!current) return;
  const auto body = fetch(feed);
  OPENSSL_thread_stop();  // else at the end of the thread, outside the gate
  exit_gate::leave();
  if (!body) return;
  const auto notice = upgrade_notice(*body, *current, feed.release_page);
  if (notice) write_unblocked(out, *notice);
}

std::optional<std::string> extract_tag(const std::string& body) {
  constexpr char kKey[] = "\"tag_name\"";
  std::size_t position = body.find(kKey);
  if (position == std::string::npos) return std::nullopt;
  position = body.find(':', position + std::strlen(kKey));
  if (position == std::string::npos) return std::nullopt;
  const std::size_t open = body.find('"', position + 1);
  if (open == std::string::npos) return std::nullopt;
  const std::size_t close = body.find('"', open + 1);
  if (close == std::string::npos || close == open + 1) return std::nullopt;
  return body.substr(open + 1, close - open - 1);
}

std::string strip_leading_v(std::string tag) {
  while (!tag.empty() && (tag.front() == 'v' || tag.front() == 'V')) tag.erase(tag.begin());
  return tag;
}

std::optional<SdkVersion> parse_version(const std::string& text) {
  SdkVersion version;
  const int read =
      std::sscanf(text.c_str(), "%d.%d.%d", &version.major_number, &version.minor_number, &version.patch_number);
  if (read < 3) return std::nullopt;
  return version;
}

// Unsigned arithmetic, so that absurd numbers wrap around instead of overflowing.
int32_t version_weight(const SdkVersion& version) {
  return static_cast<int32_t>(static_cast<uint32_t>(version.major_number) * 10000U +
                              static_cast<uint32_t>(version.minor_number) * 100U +
                              static_cast<uint32_t>(version.patch_number));
}

std::optional<std::string> upgrade_notice(const std::string& body, const SdkVersion& current,
                                          const std::string& release_page) {
  const auto tag = extract_tag(body);
  if (!tag) return std::nullopt;
  const std::string name = strip_leading_v(*tag);
  const auto remote = parse_version(name);
  if (!remote || version_weight(*remote) <= version_weight(current)) return std::nullopt;
  return "A new version " + name + " is available. Visit " + release_page + " for upgrade instructions\n";
}

}  // namespace norvik::sdk
