#pragma once
// Runs a program as a user runs it from a shell, for the end-to-end tests of the tools.

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace pendara::testing {

struct CommandResult {
    int status = -1;  // the exit status; -1 when the command did not exit normally
    std::string out;  // what it wrote to standard output
};

// Runs a shell command with `input` (no single quotes) on its standard input.
inline CommandResult RunCommand(const std::string& command, const std::string& input = "") {
    const std::string line = "printf '%s' '" + input + "' | " + command;
    CommandResult r;
    FILE* p = ::popen(line.c_str(), "r");
    if (!p) return r;
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0)
        r.out.append(buf, n);
    const int st = ::pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

}  // namespace pendara::testing
