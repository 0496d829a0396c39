#include <gtest/gtest.h>

#include "linux/SharedMimeInfoTypeRegistry.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

TEST(SharedMimeInfoTypeRegistry, HighestWeightThenFirstListedAndEarlierDirectoriesWin) {
  TemporaryTree tree("quorvel-mime");
  tree.write("user/mime/globs2",
             "# user overrides\n"
             "50:audio/x-user-m4a:*.m4a\n");
  tree.write("system/mime/globs2",
             "# comment\n"
             "50:audio/mp4:*.m4a\n"
             "50:application/json:*.json\n"
             "50:application/schema+json:*.json\n"
             "40:text/x-low:*.txt\n"
             "60:text/plain:*.txt\n"
             "50:text/x-c++src:*.C:cs\n"
             "50:text/x-csrc:*.c\n"
             "50:application/x-core:core\n"
             "50:text/x-readme:README*\n"
             "50:application/x-tar-gz:*.tar.gz\n");
  SharedMimeInfoTypeRegistry registry(
      {(tree.path() / "user").string(), (tree.path() / "system").string()});
  EXPECT_EQ(registry.preferredMIMEType("m4a"), "audio/x-user-m4a");
  EXPECT_EQ(registry.preferredMIMEType("json"), "application/json");
  EXPECT_EQ(registry.preferredMIMEType("JSON"), "application/json");
  EXPECT_EQ(registry.preferredMIMEType("txt"), "text/plain");
  EXPECT_EQ(registry.preferredMIMEType("C"), "text/x-c++src");
  EXPECT_EQ(registry.preferredMIMEType("c"), "text/x-csrc");
  EXPECT_EQ(registry.preferredMIMEType("gz"), std::nullopt);
  EXPECT_EQ(registry.preferredMIMEType("core"), std::nullopt);
  EXPECT_EQ(registry.preferredMIMEType(""), std::nullopt);
  EXPECT_EQ(registry.preferredMIMEType("unknownext"), std::nullopt);
}

}  // namespace
}  // namespace quorvel::testing
