#pragma once

#include <functional>
#include <string>
#include <vector>

#include <csignal>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace larkmoor::host::test
{

/// What a program wrote, and the status that it left with; -1 if it could not be run or was killed.
struct ProgramEnd
{
    int status = -1;
    std::string output; ///< standard output and standard error
};

/// Runs the program `words[0]` to its end. `watch` sees what it has written so far, each time when there is
/// more, and the number of its process.
inline ProgramEnd RunProgram(std::vector<std::string> words,
                             const std::function<void(const std::string&, pid_t)>& watch = nullptr)
{
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    ProgramEnd end;
    int ends[2] = {};
    if (pipe(ends) != 0)
        return end;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    pid_t child = -1;
    const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    char block[4096];
    for (ssize_t got = 0; error == 0 && (got = read(ends[0], block, sizeof block)) > 0;)
    {
        end.output.append(block, static_cast<std::size_t>(got));
        if (watch)
            watch(end.output, child);
    }
    close(ends[0]);
    int status = 0;
    if (error == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
        end.status = WEXITSTATUS(status);
    return end;
}

/// The same of the bench host, with `words` behind its name.
inline ProgramEnd RunBenchHost(std::vector<std::string> words,
                               const std::function<void(const std::string&, pid_t)>& watch = nullptr)
{
    words.insert(words.begin(), LARKMOOR_BINARY_DIR "/larkmoor-host");
    return RunProgram(std::move(words), watch);
}

} // namespace larkmoor::host::test
