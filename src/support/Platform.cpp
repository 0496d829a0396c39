#include "quorvel/platform/Platform.h"

#include <mutex>
#include <optional>

#include "quorvel/ui/Application.h"
#include "support/AbsentPorts.h"

namespace quorvel {

namespace {

std::mutex& installation() {
  static std::mutex mutex;
  return mutex;
}

std::optional<Platform>& installed() {
  static std::optional<Platform> instance;
  return instance;
}

}  // namespace

Platform& platform() {
  std::lock_guard lock(installation());
  auto& current = installed();
  // The default is made once, whoever asks first.
  if (!current) current = withAbsentPortsAnswering(makeDefaultPlatform());
  return *current;
}

void installPlatform(Platform p) {
  Platform fallback = makeDefaultPlatform();
#define QUORVEL_FILL_SLOT(Type, name) \
  if (!p.name) p.name = fallback.name;
  QUORVEL_PORTS(QUORVEL_FILL_SLOT)
#undef QUORVEL_FILL_SLOT
  p = withAbsentPortsAnswering(std::move(p));
  std::lock_guard lock(installation());
  installed() = std::move(p);
}

}  // namespace quorvel
