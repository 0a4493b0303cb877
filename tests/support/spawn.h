#pragma once
// Starting the programs as child processes, for the tests that kill them or hold their files
// while they run.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace pendara::testing {

// Starts argv[0] with this process's environment changed by `env` ("NAME=value" replaces NAME),
// standard input from /dev/null, standard output and errors into `output` (/dev/null when empty).
inline pid_t SpawnProgram(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                          const std::string& output = "") {
    std::vector<std::string> all = env;
    for (char** e = environ; *e; ++e) {
        const std::string var = *e;
        bool replaced = false;
        for (const std::string& mine : env)
            replaced |= var.compare(0, mine.find('=') + 1, mine, 0, mine.find('=') + 1) == 0;
        if (!replaced) all.push_back(var);
    }
    std::vector<char*> envp, args;
    for (std::string& s : all)
        envp.push_back(s.data());
    envp.push_back(nullptr);
    std::vector<std::string> copy = argv;
    for (std::string& s : copy)
        args.push_back(s.data());
    args.push_back(nullptr);
    const std::string out = output.empty() ? "/dev/null" : output;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    pid_t pid = -1;
    const int rc = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) throw std::runtime_error("no se pudo lanzar " + argv[0]);
    return pid;
}

// The exit status of the child, or minus the signal that ended it.
inline int WaitProgram(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

inline int RunProgram(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                      const std::string& output = "") {
    return WaitProgram(SpawnProgram(argv, env, output));
}

}  // namespace pendara::testing
