#pragma once

namespace norvik::ovimux {

// A random, not negative identifier of a sending endpoint.
int draw_token();

}  // namespace norvik::ovimux
