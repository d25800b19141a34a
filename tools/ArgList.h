// ArgList: the arguments of one subcommand, split into options and positional arguments.
#pragma once

#include <string>
#include <vector>

namespace ecckey_cli {

class ArgList {
  public:
    // Splits argv. Options named in valueOptions take a value, either as the next argument or after '='
    // ("--format pem", "--format=pem"); options in flagOptions stand alone. "-v" and "--verbose" are
    // accepted by every subcommand. "--" ends the options; "-" alone is a positional (standard input).
    // Returns false with a message in error for an unknown option, a missing value or an option given
    // twice.
    [[nodiscard]] bool parse(int argc, char **argv, const std::vector<std::string> &valueOptions,
                             const std::vector<std::string> &flagOptions, std::string &error);

    // The value of a value option, or null when it was not given.
    const char *value(const char *name) const;
    // True when the option (flag or value option) was given.
    [[nodiscard]] bool has(const char *name) const;
    [[nodiscard]] bool verbose() const { return m_verbose; }
    const std::vector<std::string> &positionals() const { return m_positionals; }

  private:
    struct Option {
        std::string name;
        std::string value;
    };
    std::vector<Option> m_options;
    std::vector<std::string> m_positionals;
    bool m_verbose = false;
};

}  // namespace ecckey_cli
