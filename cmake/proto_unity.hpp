// Read before each generated file when several are compiled as one: gives the two names that each of them has for
// itself a suffix of its own. `norvik_unity_id` is defined anew by CMake before each file.
#ifndef NORVIK_PROTO_UNITY
#define NORVIK_PROTO_UNITY
#include <google/protobuf/generated_message_reflection.h>  // Has a member `schemas`, which keeps its name.
#define NORVIK_PASTE_NAMES(a, b) a##b
#define NORVIK_PASTE(a, b) NORVIK_PASTE_NAMES(a, b)
#define schemas NORVIK_PASTE(schemas_, norvik_unity_id)
#define file_default_instances NORVIK_PASTE(file_default_instances_, norvik_unity_id)
#endif
