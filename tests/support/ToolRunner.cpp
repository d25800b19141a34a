#include "support/ToolRunner.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace ecckey_test {

bool haveTool(const char *program) {
    std::string out;
    return runCommand(std::string("command -v ") + program + " >/dev/null 2>&1", out) == 0;
}

TempDir::TempDir() {
    const char *base = std::getenv("TMPDIR");
    std::string tmpl = std::string(base && *base ? base : "/tmp") + "/ecckey-test-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    if (mkdtemp(buf.data()))
        m_path = buf.data();
}

TempDir::~TempDir() {
    if (m_path.empty())
        return;
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
}

int runCommand(const std::string &commandLine, std::string &output, bool mergeStderr) {
    output.clear();
    std::string cmd = commandLine + (mergeStderr ? " 2>&1" : " 2>/dev/null");
    FILE *f = popen(cmd.c_str(), "r");
    if (!f)
        return -1;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, f)) > 0)
        output.append(buf, n);
    int status = pclose(f);
    if (status == -1)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int runCommandWithInput(const std::string &commandLine, const std::string &input, std::string &output,
                        const std::string &workDir) {
    std::string inPath = workDir + "/stdin.txt";
    if (!writeFile(inPath, input))
        return -1;
    return runCommand(commandLine + " < " + shellQuote(inPath), output, false);
}

bool writeFile(const std::string &path, const std::vector<unsigned char> &bytes) {
    std::ofstream f(path, std::ios::binary);
    f.write(reinterpret_cast<const char *>(bytes.data()), (std::streamsize)bytes.size());
    return (bool)f;
}

bool writeFile(const std::string &path, const std::string &text) {
    return writeFile(path, std::vector<unsigned char>(text.begin(), text.end()));
}

bool readFile(const std::string &path, std::vector<unsigned char> &bytes) {
    std::ifstream f(path, std::ios::binary);
    if (!f)
        return false;
    bytes.assign(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
    return true;
}

std::string readTextFile(const std::string &path) {
    std::vector<unsigned char> b;
    readFile(path, b);
    return std::string(b.begin(), b.end());
}

std::string shellQuote(const std::string &s) {
    std::string out = "'";
    for (char ch : s) {
        if (ch == '\'')
            out += "'\\''";
        else
            out += ch;
    }
    return out + "'";
}

std::string interopDir() {
#ifdef ECCKEY_INTEROP_DIR
    return ECCKEY_INTEROP_DIR;
#else
    return "tests/interop";
#endif
}

}  // namespace ecckey_test
