#include "Passphrase.h"

#include <cstdlib>
#include <cstring>

#include "FileIo.h"
#include "support/DataBuffer.h"
#include "support/StringBuffer.h"
#include "support/Wipe.h"

namespace ecckey_cli {

namespace {

using ecckey::StringBuffer;

// The texts of pass:TEXT arguments, by option, taken out of argv.
struct TakenPassphrase {
    const char *option;
    StringBuffer text;
    bool taken;
};
TakenPassphrase s_taken[] = {{"--passin", StringBuffer(), false}, {"--passout", StringBuffer(), false}};

// The value of option in arg ("--passin=VALUE") or in next ("--passin" "VALUE"), or null.
char *optionValue(const char *option, char *arg, char *next) {
    const std::size_t len = std::strlen(option);
    if (std::strncmp(arg, option, len) != 0)
        return nullptr;
    if (arg[len] == '=')
        return arg + len + 1;
    return arg[len] == '\0' ? next : nullptr;
}

// The first line of the content, without its line end ("\n" or "\r\n").
[[nodiscard]] bool firstLine(const ecckey::DataBuffer &content, StringBuffer &line) {
    const char *text = reinterpret_cast<const char *>(content.getData2());
    unsigned len = 0;
    while (len < content.getSize() && text[len] != '\n' && text[len] != '\0')
        ++len;
    if (len > 0 && text[len - 1] == '\r')
        --len;
    return len == 0 || line.append(text, len);
}

}  // namespace

bool takePassphraseArguments(int argc, char **argv) {
    bool ok = true;
    for (int i = 0; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        for (TakenPassphrase &taken : s_taken) {
            char *value = optionValue(taken.option, argv[i], i + 1 < argc ? argv[i + 1] : nullptr);
            if (value == nullptr || std::strncmp(value, "pass:", 5) != 0)
                continue;
            char *text = value + 5;
            taken.text.secureClear();
            ok = taken.text.append(text) && ok;
            taken.taken = true;
            ecckey::wipe(text, std::strlen(text));
        }
    }
    return ok;
}

bool readPassphrase(const char *option, const char *source, StringBuffer &passphrase, std::string &error) {
    passphrase.secureClear();
    if (std::strncmp(source, "pass:", 5) == 0) {
        for (const TakenPassphrase &taken : s_taken) {
            if (taken.taken && std::strcmp(taken.option, option) == 0)
                return passphrase.append(taken.text);
        }
        return passphrase.append(source + 5);
    }
    if (std::strncmp(source, "env:", 4) == 0) {
        const char *value = std::getenv(source + 4);
        if (value == nullptr) {
            error = std::string(option) + ": the environment variable " + (source + 4) + " is not set";
            return false;
        }
        return passphrase.append(value);
    }
    if (std::strncmp(source, "file:", 5) == 0) {
        ecckey::DataBuffer content;
        return readInput(source + 5, content, error) && firstLine(content, passphrase);
    }
    error = std::string(option) + " takes pass:TEXT, env:VAR or file:PATH";
    return false;
}

}  // namespace ecckey_cli
