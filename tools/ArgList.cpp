#include "ArgList.h"

#include <algorithm>

namespace ecckey_cli {

namespace {

[[nodiscard]] bool contains(const std::vector<std::string> &names, const std::string &name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

bool ArgList::parse(int argc, char **argv, const std::vector<std::string> &valueOptions,
                    const std::vector<std::string> &flagOptions, std::string &error) {
    bool optionsEnded = false;
    for (int i = 0; i < argc; ++i) {
        const std::string arg = argv[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            m_positionals.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "-v" || arg == "--verbose") {
            m_verbose = true;
            continue;
        }
        std::string name = arg;
        std::string value;
        bool hasInlineValue = false;
        const std::size_t eq = arg.find('=');
        if (arg.compare(0, 2, "--") == 0 && eq != std::string::npos) {
            name = arg.substr(0, eq);
            value = arg.substr(eq + 1);
            hasInlineValue = true;
        }
        if (has(name.c_str())) {
            error = "option " + name + " given twice";
            return false;
        }
        if (contains(flagOptions, name) && !hasInlineValue) {
            m_options.push_back({name, ""});
            continue;
        }
        if (!contains(valueOptions, name)) {
            error = "unknown option " + arg;
            return false;
        }
        if (!hasInlineValue) {
            if (i + 1 >= argc) {
                error = "option " + name + " needs a value";
                return false;
            }
            value = argv[++i];
        }
        m_options.push_back({name, value});
    }
    return true;
}

const char *ArgList::value(const char *name) const {
    for (const Option &option : m_options) {
        if (option.name == name)
            return option.value.c_str();
    }
    return nullptr;
}

bool ArgList::has(const char *name) const {
    for (const Option &option : m_options) {
        if (option.name == name)
            return true;
    }
    return false;
}

}  // namespace ecckey_cli
