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

// Endpoints of one topic that cannot understand each other: another envelope, another type, or a reader that asks for
// history from a writer that keeps none.
Findings judge_compatibility(const std::vector<Channel>& channels);

// What `model` should offer and nobody announces. Missing sensors are a warning, as not every robot has them all.
Findings judge_model(const std::vector<Channel>& channels, const std::string& model);

// The least latency seen of each process, by its name. It is the difference of the clocks plus the time under way.
Findings judge_clocks(const std::map<std::string, double>& least_latency_s);

// Samples lost while the doctor listened, by topic.
Findings judge_losses(const std::map<std::string, uint64_t>& lost);

// The robot's own report about itself, as JSON. `model` may be empty.
Findings judge_robot(const nlohmann::ordered_json& onboard_config, const std::string& model);

}  // namespace norvik::tools
