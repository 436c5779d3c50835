#include "run_program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstring>

#include "cli_io.h"

extern char** environ;

namespace tessivo::cli {

int runProgram(const std::vector<std::string>& argv, Output output) {
    std::vector<char*> args;
    for (const auto& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (output == Output::Discard) posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        reportError(argv[0], std::string("cannot run: ") + std::strerror(error));
        return -1;
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0)
        if (errno != EINTR) {
            reportError(argv[0], std::string("cannot wait for it: ") + std::strerror(errno));
            return -1;
        }
    if (!WIFEXITED(status)) {
        reportError(argv[0], "ended by signal " + std::to_string(WTERMSIG(status)));
        return -1;
    }
    return WEXITSTATUS(status);
}

}  // namespace tessivo::cli
