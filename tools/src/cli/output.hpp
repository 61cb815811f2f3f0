#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace norvik::tools {

// Writes to the standard output at once. False, from then on for ever, when it cannot be written: nobody reads it any
// more, the disk is full, or the tool was interrupted while it waited for a reader.
bool print(const std::string& text);

bool is_output_lost();

// For people: control characters, which a terminal obeys and which may come in names from the network, are replaced.
std::string without_controls(std::string text);
bool print_text(const std::string& text);

// One document a line. Text that is not UTF-8 is made so.
bool print_json(const nlohmann::ordered_json& document);

// The exit status of a verb that ended with `status`: another one if the tool was interrupted or its output could not
// be written, which is told on the standard error unless the reader just went away.
int final_status(int status);

}  // namespace norvik::tools
