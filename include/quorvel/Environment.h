#pragma once

namespace quorvel {

// Which assets backend a run talks to. Any raw value other than 1 and 2 means production.
enum class Environment : int { production = 0, qa = 1, integrations = 2 };

}  // namespace quorvel
