#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

namespace quorvel::testing {

// One implementation a contract suite runs against: the name its tests carry, and how to make it.
template <class Made, class Pointer = std::unique_ptr<Made>>
struct Implementation {
  std::string name;
  std::function<Pointer()> make;
};
template <class Made, class Pointer>
void PrintTo(const Implementation<Made, Pointer>& implementation, std::ostream* out) {
  *out << implementation.name;
}
// Names the instantiated tests after their implementations.
inline constexpr auto nameOfImplementation = [](const auto& info) { return info.param.name; };

}  // namespace quorvel::testing
