#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace norvik::sdk {

struct SdkVersion {
  int major_number = 0;
  int minor_number = 0;
  int patch_number = 0;
};

struct ReleaseFeed {
  std::string latest_release_url;  // answers with a JSON record that has a "tag_name"
  std::string release_page;        // what the user is told to visit
  std::string authorities;         // file of trusted certificates in PEM; empty for those of the system
};

// Starts, once per process, a detached thread that looks for a newer release and tells about it on standard error.
// Never fails, never waits.
void notify_new_sdk_version_if_any_async();

// The same with a feed of choice, and as often as it is called. A process that ends meanwhile waits at most half a
// second for the thread to step aside; what the thread was at stays undone.
void start_version_check(const ReleaseFeed& feed);

// The thread's work: asks `feed` and writes at most one line to the descriptor `out`, unless nobody reads it.
// NORVIK_SDK_SKIP_VERSION_CHECK=1 skips it. Every failure is silent. Takes at most 3 s.
void version_check_worker(const ReleaseFeed& feed, int out);

// Text between the quotes behind "tag_name" and its colon.
std::optional<std::string> extract_tag(const std::string& body);

// "vV1.2.3" gives "1.2.3".
std::string strip_leading_v(std::string tag);

// Three numbers with dots between; what follows them is ignored.
std::optional<SdkVersion> parse_version(const std::string& text);

// major * 10000 + minor * 100 + patch; "1.100.0" ties with "2.0.0".
int32_t version_weight(const SdkVersion& version);

// The line for the user when `body` announces a release newer than `current`.
std::optional<std::string> upgrade_notice(const std::string& body, const SdkVersion& current,
                                          const std::string& release_page);

}  // namespace norvik::sdk
