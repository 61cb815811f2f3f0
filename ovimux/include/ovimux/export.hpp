#pragma once

// Symbols of libovimux are hidden unless marked. Templates need no mark; their compiled bases do.
#define OVIMUX_EXPORT __attribute__((visibility("default")))
