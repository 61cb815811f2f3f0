#pragma once

#include <cstdint>
#include <string>

namespace norvik::ovimux {

// Tells files apart, also those that followed each other under one name. 0: there is no such file.
using FileId = uint64_t;

// The file through which a participant of any process receives what is sent to this port number.
std::string shared_memory_port_file(uint32_t port);

FileId file_id(const std::string& path);

// Bytes that new files in /dev/shm can take. Writing beyond them ends the process with SIGBUS.
uint64_t free_shared_memory();

}  // namespace norvik::ovimux
