#include "CommandLine.h"

#include <cstdio>

#include "quorvel/Version.h"

namespace quorvel {

CommandLine::CommandLine(std::string program, std::string usage)
    : program_(std::move(program)), usage_(std::move(usage)), app_("", program_) {
  app_.set_help_flag("-h,--help");
  app_.set_version_flag("--version", program_ + " " + QuorvelVersionString);
  app_.allow_extras();
}

const CLI::Option* CommandLine::option(const std::string& name, bool repeatable) {
  const CLI::Option* added = app_.add_option(name)->allow_extra_args(false)->multi_option_policy(
      CLI::MultiOptionPolicy::TakeAll);
  if (!repeatable) once_.push_back(added);
  return added;
}

std::optional<int> CommandLine::parse(int argc, char** argv) {
  try {
    app_.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::fputs(usage_.c_str(), stdout);
    return 0;
  } catch (const CLI::CallForVersion& version) {
    std::printf("%s\n", version.what());
    return 0;
  } catch (const CLI::ParseError& error) {
    // CLI11 reports a value missing at the end of the line as "NAME: 1 required  missing".
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) && argc > 1) {
      const CLI::Option* last = app_.get_option_no_throw(argv[argc - 1]);
      if (last && last->get_expected_min() > 0)
        return usageError(last->get_name() + " needs a value");
    }
    return usageError(error.what());
  }
  if (!app_.remaining().empty()) {
    const std::string extra = app_.remaining().front();
    return usageError((extra.starts_with('-') ? "unknown option '" : "unexpected argument '") +
                      extra + "'");
  }
  for (const CLI::Option* single : once_) {
    if (single->count() > 1) return usageError(single->get_name() + " given twice");
  }
  return std::nullopt;
}

int CommandLine::usageError(const std::string& message) const {
  std::fprintf(stderr, "%s: %s\n\n%s", program_.c_str(), message.c_str(), usage_.c_str());
  return kUsageError;
}

std::optional<std::string> CommandLine::value(const CLI::Option* option) {
  if (option->count() == 0) return std::nullopt;
  return option->results().front();
}

}  // namespace quorvel
