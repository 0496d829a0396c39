#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// The command line of the SDK's console programs: CLI11 splits it and keeps every occurrence as
// given; the usage text and the messages stay the program's own ("PROGRAM: reason", the usage,
// exit code 2), and -h/--help and --version answer at once.
class CommandLine {
 public:
  static constexpr int kUsageError = 2;

  CommandLine(std::string program, std::string usage);

  // An option taking one value per occurrence, as given even when it begins with '-'. Unless
  // repeatable, a second occurrence is a mistake.
  const CLI::Option* option(const std::string& name, bool repeatable = false);
  // Nothing when the program goes on; else the exit code it ends with (help and version: 0).
  std::optional<int> parse(int argc, char** argv);
  // The reason and the usage on standard error; the exit code of a wrong command line.
  int usageError(const std::string& message) const;
  // An option's only value, when it was given.
  static std::optional<std::string> value(const CLI::Option* option);

 private:
  std::string program_;
  std::string usage_;
  CLI::App app_;
  std::vector<const CLI::Option*> once_;
};

}  // namespace quorvel
