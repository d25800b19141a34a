// Running the command-line tools that the interop tests compare against (openssl, ssh-keygen, puttygen,
// node, python3) inside a private temporary directory.
#pragma once

#include <string>
#include <vector>

namespace ecckey_test {

// True when the program is on PATH.
bool haveTool(const char *program);

// A fresh directory under TMPDIR, removed with everything in it on destruction.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::string &path() const { return m_path; }
    std::string file(const std::string &name) const { return m_path + "/" + name; }

  private:
    std::string m_path;
};

// Runs a shell command line; stdout (and stderr when mergeStderr) goes to output. Returns the exit status
// (-1 when the command could not be started).
int runCommand(const std::string &commandLine, std::string &output, bool mergeStderr = true);
// Runs a command with the given text on its standard input.
int runCommandWithInput(const std::string &commandLine, const std::string &input, std::string &output,
                        const std::string &workDir);

bool writeFile(const std::string &path, const std::vector<unsigned char> &bytes);
bool writeFile(const std::string &path, const std::string &text);
bool readFile(const std::string &path, std::vector<unsigned char> &bytes);
std::string readTextFile(const std::string &path);
std::string shellQuote(const std::string &s);

// Folder of the interop scripts (tests/interop in the source tree).
std::string interopDir();

}  // namespace ecckey_test
