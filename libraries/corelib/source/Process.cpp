#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cwchar>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "ProcessTools.h"
#include "StringTools.h"
#include "SystemTools.h"

namespace MovrikCorelib {

namespace {

constexpr unsigned int PipeAlarm = 10;  // seconds
constexpr int FirstInherited = 3;
constexpr int LastInherited = 511;
constexpr int RedirectFailedStatus = 253;
constexpr int ProgramFailedStatus = 254;
constexpr int StartLooks = 20;
constexpr useconds_t LookPause = 10000;
constexpr useconds_t HeadStart = 20000;
constexpr int KillLooks = 100;
constexpr useconds_t KillPause = 1000;

enum StartCode : unsigned char { NoFailure = 0, RedirectFailed = 1, SetupFailed = 2, ProgramFailed = 3 };

/// A word shared between a process and the child that it forks: the child tells here why its program could
/// not be started.
class StartReport {
public:
    StartReport() {
        int id = -1;
        for (size_t size = 8; size <= MaxSize; size *= 2) {
            id = shmget(IPC_PRIVATE, size, IPC_CREAT | 0666);
            if (id >= 0 || errno != EINVAL)
                break;
        }
        if (id < 0)
            return;
        void* memory = shmat(id, nullptr, S_IWUSR);
        const int error = errno;
        // Removed while it is in use, so that no crash leaves it behind; it goes with the last process.
        shmctl(id, IPC_RMID, nullptr);
        errno = error;
        if (memory != reinterpret_cast<void*>(-1))
            page = new (memory) Page;
    }

    ~StartReport() {
        if (!page)
            return;
        const int error = errno;
        shmdt(page);
        errno = error;
    }

    StartReport(const StartReport&) = delete;
    StartReport& operator=(const StartReport&) = delete;

    explicit operator bool() const { return page != nullptr; }

    /// In the child.
    void fail(StartCode code) {
        page->error = errno;
        page->code.store(code, std::memory_order_release);
    }

    /// In the parent: true if no failure came within the time that a start takes, otherwise `errno` is the
    /// child's.
    bool succeeds() const {
        for (int look = 0; look < StartLooks; ++look) {
            if (look > 0)
                usleep(LookPause);
            if (page->code.load(std::memory_order_acquire) != NoFailure) {
                errno = page->error;
                return false;
            }
        }
        return true;
    }

private:
    struct Page {
        std::atomic<unsigned char> code = NoFailure;
        int error = 0;
    };
    static_assert(offsetof(Page, error) == 4 && sizeof(Page) == 8);
    static constexpr size_t MaxSize = 65535;

    Page* page = nullptr;
};

/// What a child does of its own; it may only call what is safe in the child of a process with threads.
[[noreturn]] void becomeProgram(char* const* arguments, const ProcessTools::Process& process,
                                StartReport& report) {
    if (process.usesPipe) {
        alarm(PipeAlarm);
        close(process.pipeRead);
        if (dup2(process.pipeWrite, STDOUT_FILENO) < 0) {
            report.fail(RedirectFailed);
            _exit(RedirectFailedStatus);
        }
    }
    if (!process.inherit)
        for (int fd = FirstInherited; fd <= LastInherited; ++fd)
            close(fd);
    execvp(arguments[0], arguments);
    report.fail(ProgramFailed);
    _exit(ProgramFailedStatus);
}

void closeDescriptor(int& fd) {
    if (fd >= 0)
        close(fd);
    fd = -1;
}

/// A process may have been started without standard descriptors; a pipe is kept out of their places.
bool moveAboveStandard(int& fd) {
    if (fd >= FirstInherited)
        return true;
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, FirstInherited);
    if (moved < 0)
        return false;
    close(fd);
    fd = moved;
    return true;
}

/// Length of the front part of `text` that does not end inside a character of the locale.
size_t completeLength(std::string_view text) {
    size_t done = 0;
    while (done < text.size()) {
        std::mbstate_t start{};
        const size_t length = std::mbrlen(text.data() + done, text.size() - done, &start);
        if (length == static_cast<size_t>(-2))
            break;
        done += length == 0 || length == static_cast<size_t>(-1) ? 1 : length;
    }
    return done;
}

bool statProcess(int pid, struct stat& info) {
    return pid > 0 && stat(("/proc/" + StringTools::toString(pid)).c_str(), &info) == 0;
}

}  // namespace

std::map<int, ProcessTools::Process*> ProcessTools::Process::StartedProcs;
ThreadLock ProcessTools::Process::StartedProcsLock;

ProcessTools::Process::Process(const std::string& programName, const std::vector<std::string>& arguments,
                               bool keepDescriptors, bool deleteAtEnd)
    : program(programName), args(arguments), inherit(keepDescriptors), autoDelete(deleteAtEnd) {}

ProcessTools::Process::Process(const std::wstring& programName, const std::vector<std::wstring>& arguments,
                               bool keepDescriptors, bool deleteAtEnd)
    : Process(StringTools::convert(programName), convert(arguments), keepDescriptors, deleteAtEnd) {}

ProcessTools::Process::Process(const std::string& programName, const std::string& arguments,
                               bool keepDescriptors, bool deleteAtEnd)
    : Process(programName, convertArgs(arguments), keepDescriptors, deleteAtEnd) {}

ProcessTools::Process::Process(const std::wstring& programName, const std::wstring& arguments,
                               bool keepDescriptors, bool deleteAtEnd)
    : Process(programName, convertArgs(arguments), keepDescriptors, deleteAtEnd) {}

ProcessTools::Process::Process(int existingPid)
    : pid(existingPid), state(existingPid > 0 ? Running : NotStarted) {}

ProcessTools::Process::~Process() {
    refresh();
    dropPipe();
    const auto isThis = [this](const auto& entry) { return entry.second == this; };
    {
        ThreadLockHolder held(ProcessesLock);
        std::erase_if(Processes, isThis);
    }
    ThreadLockHolder held(StartedProcsLock);
    std::erase_if(StartedProcs, isThis);
}

bool ProcessTools::Process::usePipe() {
    refresh();
    if (state == Running || state == Suspended)
        return false;
    // Also true for the output of a run that has not been read to its end.
    if (usesPipe && pipeRead >= 0)
        return true;
    dropPipe();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    pipeRead = ends[0];
    pipeWrite = ends[1];
    if (!moveAboveStandard(pipeRead) || !moveAboveStandard(pipeWrite)) {
        dropPipe();
        return false;
    }
    // What this process has printed so far is none of the program's output.
    fflush(stdout);
    savedStdout = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, FirstInherited);
    const bool noneToSave = savedStdout < 0 && errno == EBADF;
    if ((savedStdout < 0 && !noneToSave) || dup2(pipeWrite, STDOUT_FILENO) < 0) {
        dropPipe();
        return false;
    }
    usesPipe = true;
    inherit = true;
    return true;
}

void ProcessTools::Process::restoreStdout() {
    if (savedStdout >= 0)
        dup2(savedStdout, STDOUT_FILENO);
    else if (usesPipe && pipeWrite >= 0)
        close(STDOUT_FILENO);  // there was none before
    closeDescriptor(savedStdout);
}

void ProcessTools::Process::dropPipe() {
    const int error = errno;
    restoreStdout();
    closeDescriptor(pipeRead);
    closeDescriptor(pipeWrite);
    pipeRest.clear();
    usesPipe = false;
    errno = error;
}

bool ProcessTools::Process::readPipe(std::string& output) {
    char block[512];
    // The end of the output closes the pipe; it stays the end.
    const bool atEnd = usesPipe && pipeRead < 0;
    errno = 0;
    const ssize_t got = atEnd ? 0 : read(pipeRead, block, sizeof block);
    if (got < 0)
        return errno == EINTR || errno == EAGAIN;
    if (got == 0) {
        closeDescriptor(pipeRead);
        return false;
    }
    output.append(block, static_cast<size_t>(got));
    return true;
}

bool ProcessTools::Process::readPipe(std::wstring& output) {
    const bool more = readPipe(pipeRest);
    const int error = errno;
    const size_t length = more ? completeLength(pipeRest) : pipeRest.size();
    output += StringTools::convert(std::string_view(pipeRest).substr(0, length));
    pipeRest.erase(0, length);
    errno = error;
    return more;
}

bool ProcessTools::Process::launch() {
    StartReport report;
    if (!report)
        return false;
    std::vector<char*> arguments{program.data()};
    for (std::string& argument : args)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);

    ThreadLockHolder held(StartedProcsLock);
    const pid_t child = fork();
    if (child < 0)
        return false;
    if (child == 0)
        becomeProgram(arguments.data(), *this, report);
    restoreStdout();
    closeDescriptor(pipeWrite);
    exitCode = -1;
    suspendCount = 0;
    forgetUser();
    if (!report.succeeds()) {
        const int error = errno;
        int status = 0;
        pid_t collected = 0;
        do
            collected = waitpid(child, &status, 0);
        while (collected < 0 && errno == EINTR);
        if (collected == child && WIFEXITED(status))
            exitCode = WEXITSTATUS(status);
        pid = 0;
        state = NotStarted;
        errno = error;
        return false;
    }
    pid = child;
    parentPid = getpid();
    state = Running;
    StartedProcs[child] = this;
    return true;
}

bool ProcessTools::Process::run() {
    refresh();
    if (state == Running || state == Suspended)
        return false;
    if (usesPipe && pipeWrite < 0) {
        dropPipe();
        if (!usePipe())
            return false;
    }
    if (!launch()) {
        dropPipe();
        return false;
    }
    // Once handed over, the object may go at any time.
    const int child = pid;
    usleep(HeadStart);
    if (autoDelete) {
        ThreadLockHolder held(ProcessesLock);
        std::erase_if(Processes, [this](const auto& entry) { return entry.second == this; });
        if (const auto old = Processes.find(child); old != Processes.end())
            delete old->second;
        Processes[child] = this;
    }
    waitPID(child);
    return true;
}

bool ProcessTools::Process::isOwnChild() const {
    siginfo_t info;
    return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

void ProcessTools::Process::refresh() {
    if (state != Running && state != Suspended)
        return;
    // A child that another object has started, or none, is collected too: else it would count as running.
    // That of a process which has forked this one is not: it lives on.
    const bool started = parentPid == getpid();
    if (started || isOwnChild())
        waitPID(pid);
    if (!started && ::kill(pid, 0) != 0 && errno == ESRCH)
        state = Ended;
}

bool ProcessTools::Process::suspend() {
    refresh();
    if (state != Running && state != Suspended)
        return false;
    ++suspendCount;
    state = Suspended;
    return true;
}

bool ProcessTools::Process::resume() {
    refresh();
    if (state != Suspended)
        return false;
    if (--suspendCount == 0)
        state = Running;
    return true;
}

bool ProcessTools::Process::sendSignal(int number) {
    refresh();
    if (state != Running && state != Suspended)
        return false;
    suspendCount = 0;
    state = Running;
    return ::kill(pid, number) == 0;
}

bool ProcessTools::Process::stop() {
    return sendSignal(SIGTERM);
}

bool ProcessTools::Process::kill() {
    if (!sendSignal(SIGKILL))
        return false;
    for (int look = 0; look < KillLooks && state == Running && isOwnChild(); ++look) {
        refresh();
        if (state == Running)
            usleep(KillPause);
    }
    pid = 0;
    parentPid = 0;
    forgetUser();
    state = Killed;
    return true;
}

bool ProcessTools::Process::isRunning() {
    refresh();
    return state == Running;
}

void ProcessTools::Process::forgetUser() {
    uid = 0;
    gid = 0;
    user.clear();
    group.clear();
}

bool ProcessTools::Process::getUserDetails() {
    struct stat info;
    if (!statProcess(pid, info))
        return false;
    uid = info.st_uid;
    user = SystemTools::getUserFromID(uid);
    return true;
}

bool ProcessTools::Process::getGroupDetails() {
    struct stat info;
    if (!statProcess(pid, info))
        return false;
    gid = info.st_gid;
    group = SystemTools::getGroupFromID(gid);
    return true;
}

long long ProcessTools::Process::getUID() {
    return !user.empty() || getUserDetails() ? uid : -1;
}

long long ProcessTools::Process::getGID() {
    return !group.empty() || getGroupDetails() ? gid : -1;
}

std::string ProcessTools::Process::getUser() {
    if (user.empty())
        getUserDetails();
    return user;
}

std::string ProcessTools::Process::getGroup() {
    if (group.empty())
        getGroupDetails();
    return group;
}

}  // namespace MovrikCorelib
