#pragma once

// Symbols of libnorvik_sdk are hidden unless marked.
#define NORVIK_SDK_EXPORT __attribute__((visibility("default")))
