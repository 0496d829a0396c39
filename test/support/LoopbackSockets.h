#pragma once

#include <cstdint>

namespace quorvel::testing {

// A socket listening on 127.0.0.1 at a port the system picked, which goes to port; -1 when none
// could be made.
int listenOnLoopback(std::uint16_t& port);

// A socket connected to 127.0.0.1:port; -1 when nothing accepted.
int connectToLoopback(int port);

}  // namespace quorvel::testing
