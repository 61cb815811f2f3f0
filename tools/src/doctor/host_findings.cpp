#include "doctor/host_findings.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace norvik::tools {
namespace {

// What the middleware asks for: buffers that hold a burst of pictures, and room for the segments of several processes,
// below which it does without shared memory.
constexpr int64_t kWantedSocketBuffer = 4 << 20;
constexpr uint64_t kWantedSharedMemory = 64U << 20U;

constexpr int kFirstDdsPort = 7400;
constexpr int kPortsPerDomain = 250;

constexpr const char* kRemoveStale = R"(for f in /dev/shm/fastrtps_*_el; do flock -n "$f" rm -f "${f%_el}" "$f"; done)";

std::string megabytes(uint64_t bytes) { return fmt::format("{:.0f} MB", static_cast<double>(bytes) / (1U << 20U)); }

Finding judge_buffer(const char* name, int64_t limit, const char* consequence) {
  const std::string key = fmt::format("net.core.{}", name);
  if (limit <= 0) {
    return {Level::kWarning, "socket buffers", key + " cannot be read", "sysctl " + key};
  }
  if (limit >= kWantedSocketBuffer) {
    return {Level::kOk, "socket buffers", fmt::format("{} is {}", key, limit), ""};
  }
  return {Level::kWarning, "socket buffers",
          fmt::format("{} is {}, below {}: {}", key, limit, kWantedSocketBuffer, consequence),
          fmt::format("sudo sysctl -w {}={}", key, kWantedSocketBuffer)};
}

Finding judge_interface(const InterfaceFacts& facts, const RunSettings& settings) {
  const std::string name = fmt::format("{} {}", facts.name, facts.address);
  if (!facts.is_up) {
    return {facts.is_loopback ? Level::kProblem : Level::kWarning, "interface", name + " is down",
            fmt::format("sudo ip link set dev {} up", facts.name)};
  }
  // The middleware finds processes of this machine without multicast.
  if (settings.local || facts.is_loopback) {
    return {Level::kOk, "interface", name + " is up", ""};
  }
  if (!facts.has_multicast) {
    return {Level::kWarning, "interface", name + " has multicast switched off: robots behind it are not found",
            fmt::format("sudo ip link set dev {} multicast on", facts.name)};
  }
  if (!facts.multicast_arrives) {
    return {Level::kWarning, "interface", name + " does not deliver multicast: robots behind it are not found",
            fmt::format("sudo ip route add 224.0.0.0/4 dev {}", facts.name)};
  }
  return {Level::kOk, "interface", name + " is up and delivers multicast", ""};
}

}  // namespace

Finding judge_domain(const HostFacts& facts, const RunSettings& settings) {
  if (!parse_domain(facts.domain_text)) {
    return {Level::kProblem, "domain",
            fmt::format("OVIMUX_DOMAIN_ID is \"{}\", not 0 to 232: programs use domain 0", facts.domain_text),
            "unset OVIMUX_DOMAIN_ID"};
  }
  if (!facts.localhost_text.empty() && facts.localhost_text != "0" && facts.localhost_text != "1") {
    return {Level::kProblem, "domain",
            fmt::format("OVIMUX_LOCALHOST_ONLY is \"{}\", not 0 or 1: programs use 0", facts.localhost_text),
            "unset OVIMUX_LOCALHOST_ONLY"};
  }
  const std::string text = fmt::format("domain {}, {}", settings.domain,
                                       settings.local ? "this machine only" : "this machine and the network");
  const int first_port = kFirstDdsPort + kPortsPerDomain * settings.domain;
  if (facts.first_ephemeral_port > 0 && first_port >= facts.first_ephemeral_port) {
    return {Level::kWarning, "domain", text + ": its ports may be taken, the system hands them out to other programs",
            "export OVIMUX_DOMAIN_ID=0  # or another up to 100, on all sides"};
  }
  return {Level::kOk, "domain", text, ""};
}

Findings judge_interfaces(const std::vector<InterfaceFacts>& interfaces, const RunSettings& settings) {
  Findings findings;
  bool has_loopback = false;
  bool has_network = false;
  for (const InterfaceFacts& facts : interfaces) {
    findings.push_back(judge_interface(facts, settings));
    has_loopback = has_loopback || facts.is_loopback;
    has_network = has_network || (!facts.is_loopback && facts.is_up);
  }
  if (!has_loopback) {
    findings.push_back({Level::kProblem, "interface", "no loopback interface with an address: nothing is found here",
                        "sudo ip link set dev lo up"});
  }
  if (!has_network && !settings.local) {
    findings.push_back({Level::kWarning, "interface", "no network: only this machine can be reached", "ip address"});
  }
  return findings;
}

Findings judge_shared_memory(const SharedMemoryFacts& facts) {
  Findings findings;
  if (!facts.is_usable) {
    findings.push_back({Level::kWarning, "/dev/shm", "cannot be used: large messages take the slower way by UDP",
                        "sudo mount -t tmpfs -o mode=1777,size=512M tmpfs /dev/shm"});
    return findings;
  }
  if (facts.free_bytes > kWantedSharedMemory) {
    findings.push_back({Level::kOk, "/dev/shm", megabytes(facts.free_bytes) + " free", ""});
  } else {
    findings.push_back({Level::kWarning, "/dev/shm",
                        fmt::format("{} free, more than {} are needed: large messages take the slower way by UDP",
                                    megabytes(facts.free_bytes), megabytes(kWantedSharedMemory)),
                        "sudo mount -o remount,size=512M /dev/shm"});
  }
  if (facts.stale_segments > 0) {
    findings.push_back({Level::kWarning, "/dev/shm",
                        fmt::format("{} segments, {}, are left of processes that were killed", facts.stale_segments,
                                    megabytes(facts.stale_bytes)),
                        kRemoveStale});
  }
  if (facts.foreign_segments > 0) {
    findings.push_back({Level::kWarning, "/dev/shm",
                        fmt::format("{} segments belong to another user: what their processes send may not arrive",
                                    facts.foreign_segments),
                        "run both programs as the same user"});
  }
  return findings;
}

Findings judge_socket_buffers(const HostFacts& facts) {
  return {judge_buffer("rmem_max", facts.receive_buffer_limit, "pictures and point clouds from the network get lost"),
          judge_buffer("wmem_max", facts.send_buffer_limit, "large messages to the network are slow")};
}

Findings judge_host(const HostFacts& facts, const RunSettings& settings) {
  Findings findings = {judge_domain(facts, settings)};
  if (!facts.profile_file.empty()) {
    findings.push_back({Level::kOk, "profiles",
                        facts.profile_file + ": a profile named \"ovimux\" in it replaces transports and discovery",
                        ""});
  }
  for (const Findings& part : {judge_interfaces(facts.interfaces, settings), judge_shared_memory(facts.shared_memory),
                               judge_socket_buffers(facts)}) {
    findings.insert(findings.end(), part.begin(), part.end());
  }
  return findings;
}

}  // namespace norvik::tools
