#pragma once

#include <map>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "doctor/finding.hpp"
#include "network/channel.hpp"

namespace norvik::tools {

// That nobody was found. `other_domains`: where somebody was seen, and on which hosts.
Finding judge_silence(int domain, const std::map<int, std::string>& other_domains);

// Services that more than one server answers: a request reaches all of them, and whose answer counts is chance.
Findings judge_servers(const std::vector<Channel>& channels);

// What `model` should offer and nobody does. Missing sensors are a warning, as not every robot has them all.
Findings judge_model(const std::vector<Channel>& channels, const std::string& model);

// The least latency of each of a process's streams, by the process's name. It is the difference of the clocks plus the
// time under way. The median of the streams counts, so that one with odd stamps does not accuse the clock.
Findings judge_clocks(const std::map<std::string, std::vector<double>>& least_latencies_s);

// Samples lost while the doctor listened, by topic.
Findings judge_losses(const std::map<std::string, uint64_t>& lost);

// The robot's own report about itself, as JSON. `model` may be empty.
Findings judge_robot(const nlohmann::ordered_json& onboard_config, const std::string& model);

}  // namespace norvik::tools
