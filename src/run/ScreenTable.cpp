#include "run/ScreenTable.h"

#include "run/TestScreensDelegate.h"

namespace quorvel {

const std::vector<std::string>& ScreenTable::keys() {
#define QUORVEL_SCREEN_KEY(Screen, key, use) key,
  static const std::vector<std::string> table = {QUORVEL_TEST_SCREENS(QUORVEL_SCREEN_KEY)};
#undef QUORVEL_SCREEN_KEY
  return table;
}

std::vector<std::string> ScreenTable::runKeys() {
  std::vector<std::string> keys;
#define QUORVEL_RUN_KEY(Screen, key, use) \
  if (TestScreenUse::use == TestScreenUse::inRuns) keys.push_back(key);
  QUORVEL_TEST_SCREENS(QUORVEL_RUN_KEY)
#undef QUORVEL_RUN_KEY
  return keys;
}

std::shared_ptr<ViewController> ScreenTable::makeScreen(
    const std::string& key, ScreenContext context,
    const std::shared_ptr<TestScreensDelegate>& delegate) {
#define QUORVEL_MAKE_SCREEN(Screen, screenKey, use)             \
  if (key == screenKey) {                                       \
    auto screen = std::make_shared<Screen>(std::move(context)); \
    screen->delegate = delegate;                                \
    return screen;                                              \
  }
  QUORVEL_TEST_SCREENS(QUORVEL_MAKE_SCREEN)
#undef QUORVEL_MAKE_SCREEN
  return nullptr;
}

}  // namespace quorvel
