#include "ProcessTools.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr int CollectFailed = 2000;
constexpr useconds_t EndPause = 1000;
constexpr size_t ProcessListSize = 0xa0000;

template <class Char>
const std::basic_string<Char>& blanks();
template <>
const std::string& blanks() {
    return StringTools::whitespace();
}
template <>
const std::wstring& blanks() {
    return StringTools::whitespaceW();
}

template <class Char>
std::vector<std::basic_string<Char>> cutArgs(const std::basic_string<Char>& line) {
    std::vector<std::basic_string<Char>> arguments;
    std::basic_string<Char> argument;
    Char quote = 0;
    const auto finish = [&] {
        StringTools::unQuote(argument);
        if (!argument.empty())
            arguments.push_back(argument);
        argument.clear();
    };
    for (const Char c : line) {
        if (quote == 0 && blanks<Char>().find(c) != line.npos) {
            finish();
            continue;
        }
        if (quote == 0 && (c == '"' || c == '\''))
            quote = c;
        else if (c == quote)
            quote = 0;
        argument += c;
    }
    finish();
    return arguments;
}

template <class Char>
std::basic_string<Char> joinArgs(const std::vector<std::basic_string<Char>>& arguments) {
    std::basic_string<Char> line;
    for (const auto& argument : arguments) {
        if (!line.empty())
            line += ' ';
        const bool isPlain = argument.find_first_of(blanks<Char>()) == line.npos &&
                             argument.find('"') == line.npos && argument.find('\'') == line.npos;
        if (isPlain && !argument.empty()) {
            line += argument;
            continue;
        }
        const Char quote = argument.find('"') == line.npos ? '"' : '\'';
        line += quote + argument + quote;
    }
    return line;
}

template <class To, class From>
std::vector<To> convertAll(const std::vector<From>& texts) {
    std::vector<To> result;
    result.reserve(texts.size());
    for (const From& text : texts)
        result.push_back(StringTools::convert(text));
    return result;
}

bool hasEnded(const ProcessTools::Process& process) {
    return process.state == ProcessTools::Process::Killed || process.state == ProcessTools::Process::Ended;
}

}  // namespace

std::map<int, ProcessTools::Process*> ProcessTools::Processes;
ThreadLock ProcessTools::ProcessesLock;

ProcessTools::Process* ProcessTools::newProcess(const std::string& program, const std::string& arguments,
                                                bool keepDescriptors, bool deleteAtEnd) {
    return new Process(program, arguments, keepDescriptors, deleteAtEnd);
}

ProcessTools::Process* ProcessTools::newProcess(const std::wstring& program, const std::wstring& arguments,
                                                bool keepDescriptors, bool deleteAtEnd) {
    return new Process(program, arguments, keepDescriptors, deleteAtEnd);
}

ProcessTools::Process* ProcessTools::newProcess(const std::string& program,
                                                const std::vector<std::string>& arguments,
                                                bool keepDescriptors, bool deleteAtEnd) {
    return new Process(program, arguments, keepDescriptors, deleteAtEnd);
}

ProcessTools::Process* ProcessTools::newProcess(const std::wstring& program,
                                                const std::vector<std::wstring>& arguments,
                                                bool keepDescriptors, bool deleteAtEnd) {
    return new Process(program, arguments, keepDescriptors, deleteAtEnd);
}

ProcessTools::Process* ProcessTools::newProcess(int pid) {
    return new Process(pid);
}

void ProcessTools::deleteProcess(Process** process) {
    if (!process)
        return;
    ThreadLockHolder held(ProcessesLock);
    delete *process;
    *process = nullptr;
}

void ProcessTools::handleGarbage() {
    ThreadLockHolder held(ProcessesLock);
    std::vector<Process*> ended;
    for (const auto& [pid, process] : Processes) {
        waitPID(pid);
        if (hasEnded(*process))
            ended.push_back(process);
    }
    // The destructor takes the entry out of the table.
    for (Process* process : ended)
        delete process;
}

std::vector<std::string> ProcessTools::convertArgs(const std::string& line) {
    return cutArgs(line);
}

std::vector<std::wstring> ProcessTools::convertArgs(const std::wstring& line) {
    return cutArgs(line);
}

std::string ProcessTools::convertArgs(const std::vector<std::string>& arguments) {
    return joinArgs(arguments);
}

std::wstring ProcessTools::convertArgs(const std::vector<std::wstring>& arguments) {
    return joinArgs(arguments);
}

std::vector<std::string> ProcessTools::convert(const std::vector<std::wstring>& arguments) {
    return convertAll<std::string>(arguments);
}

std::vector<std::wstring> ProcessTools::convert(const std::vector<std::string>& arguments) {
    return convertAll<std::wstring>(arguments);
}

bool ProcessTools::start(Process* process) {
    return process && process->run();
}

bool ProcessTools::run(Process* process, unsigned long long, std::string* output) {
    if (!process || (output && !process->usePipe()) || !process->run())
        return false;
    if (!output)
        return true;
    while (process->readPipe(*output)) {
    }
    if (errno != 0) {
        output->clear();
        waitPID(process->pid);
        return false;
    }
    while (process->refresh(), !hasEnded(*process))
        usleep(EndPause);
    return true;
}

void ProcessTools::catchZombies() {
    waitPID(-1);
}

void ProcessTools::waitPID(int pid) {
    ThreadLockHolder held(Process::StartedProcsLock);
    for (;;) {
        int status = 0;
        const int ended = waitpid(pid, &status, WNOHANG);
        if (ended == 0)
            return;
        const auto entry = Process::StartedProcs.find(ended > 0 ? ended : pid);
        if (entry != Process::StartedProcs.end()) {
            Process& process = *entry->second;
            process.state = ended > 0 && WIFSIGNALED(status) ? Process::Killed : Process::Ended;
            if (ended < 0)
                process.exitCode = CollectFailed + errno;
            else if (WIFEXITED(status))
                process.exitCode = WEXITSTATUS(status);
            Process::StartedProcs.erase(entry);
        }
        if (ended < 0)
            return;
    }
}

bool ProcessTools::getThreads(int, std::list<unsigned long>&) {
    return false;
}

bool ProcessTools::getRunningProcesses(std::set<int>& pids) {
    pids.clear();
    const std::unique_ptr<char, decltype(&free)> block(static_cast<char*>(malloc(ProcessListSize)), &free);
    if (!block)
        return false;
    // UNIX95 makes some versions of the command understand "-o".
    FILE* list = popen("env UNIX95=1 ps -eo pid", "r");
    if (!list)
        return false;
    const size_t size = fread(block.get(), 1, ProcessListSize, list);
    pclose(list);
    std::string_view text(block.get(), size);
    const size_t heading = text.find('\n');
    if (heading == text.npos)
        return false;
    text.remove_prefix(heading + 1);
    int pid = 0;
    bool hasDigits = false;
    for (const char c : text) {
        if (c >= '0' && c <= '9' && pid < INT_MAX / 10) {
            pid = pid * 10 + (c - '0');
            hasDigits = true;
        } else if (c == '\n') {
            if (hasDigits)
                pids.insert(pid);
            pid = 0;
            hasDigits = false;
        }
    }
    return true;
}

}  // namespace MovrikCorelib
