// Passphrases of encrypted key files, named as openssl names them: pass:TEXT, env:VAR or file:PATH.
//
// A passphrase is held in StringBuffers only, which wipe themselves, and no message quotes one. pass:TEXT
// stands on the command line, where any user's process listing shows it: takePassphraseArguments moves
// the text out of the arguments as soon as the command starts (env: and file: never expose it at all).
#pragma once

#include <string>

namespace ecckey {
class StringBuffer;
}

namespace ecckey_cli {

// Copies the TEXT of every --passin or --passout pass:TEXT argument (also --passin=pass:TEXT) into a
// wiping store and overwrites it in argv, which leaves "pass:" there. Call before anything copies argv.
// False when memory is short for a copy; every such argument is overwritten all the same.
[[nodiscard]] bool takePassphraseArguments(int argc, char **argv);

// Reads the passphrase that source (the value of option, "--passin" or "--passout") names into passphrase:
// pass:TEXT the text (from the store when takePassphraseArguments took it), env:VAR the variable's value,
// file:PATH the first line of the file without its line end. False with a message in error for another
// form, a variable that is not set or a file that cannot be read.
[[nodiscard]] bool readPassphrase(const char *option, const char *source, ecckey::StringBuffer &passphrase,
                                  std::string &error);

}  // namespace ecckey_cli
