#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace TestSupport {

/// The result of `work`, 0 to 255, in a process of its own; -1 if a signal ended it.
inline int inChild(const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace TestSupport
