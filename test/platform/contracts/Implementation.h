#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "quorvel/platform/MainQueue.h"

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

// A suite over the implementations of a port's Driver that writes down each answer the port gives
// as "name:value" in the order they come, counting those given off the driver's main queue.
template <class Driver>
class AnswersContract : public ::testing::TestWithParam<Implementation<Driver>> {
 protected:
  static std::string text(bool value) { return value ? "true" : "false"; }
  static std::string text(const std::string& value) { return value; }
  auto answer(const std::string& name) {
    return [this, name, queue = std::weak_ptr<MainQueue>(driver->queue())](const auto& value) {
      auto alive = queue.lock();
      if (!alive || !alive->isCurrent()) ++offQueue;
      answers.push_back(name + ":" + text(value));
    };
  }
  bool answersReach(std::size_t count) {
    return driver->runUntil([&] { return answers.size() >= count; });
  }

  std::unique_ptr<Driver> driver = this->GetParam().make();
  std::vector<std::string> answers;
  int offQueue = 0;
};

}  // namespace quorvel::testing
