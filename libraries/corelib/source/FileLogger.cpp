#include "FileLogger.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <tuple>
#include <utility>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "FileTools.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr const char* Suffix = ".log";
constexpr unsigned long long SmallestRotationSize = 5'000;
constexpr int RotationNumbers = 99;
constexpr unsigned int CopyBlock = 4'096;
constexpr std::size_t LevelWidth = 8;
constexpr std::size_t BracketWidth = 37;

/// Two days: earlier counts lie around the origin, where local time is cut off.
constexpr unsigned long long FirstSafeTime = 172'800'000;

constexpr useconds_t IdlePause = 100'000;
constexpr useconds_t StopPoll = 50'000;
constexpr useconds_t ShortPause = 1'000;
constexpr int StopPolls = 100;

/// This thread shows that it is alive. The line about that would call for the next one without end.
constinit thread_local bool showingAlive = false;

std::string shown(const DateTimeDetails& time) {
    return time.getString(true, false, false);
}

std::string nowGmt() {
    DateTimeDetails now;
    now.setCurrent();
    return shown(now);
}

std::string nowLocal() {
    DateTimeDetails now;
    now.setCurrent();
    now.makeLocal();
    return shown(now);
}

/// Pads what begins at `start` with blanks to `width`; longer texts are kept whole.
void padField(std::string& line, std::size_t start, std::size_t width) {
    if (line.size() < start + width)
        line.resize(start + width, ' ');
}

bool sameRule(const DSTTimeDef& a, const DSTTimeDef& b) {
    return std::tie(a.month, a.week, a.day, a.hour) == std::tie(b.month, b.week, b.day, b.hour);
}

bool sameZone(const TimeZone& a, const TimeZone& b) {
    return a.offset == b.offset && a.dstShift == b.dstShift && sameRule(a.dstStart, b.dstStart) &&
           sameRule(a.dstEnd, b.dstEnd);
}

}  // namespace

void FileLogger::LineTime::appendTo(std::string& target, unsigned long long time) {
    TimeZone current;
    current.setCurrent(false);
    const bool wholeSeconds = current.offset % 1'000 == 0 && current.dstShift % 1'000 == 0;
    if (wholeSeconds && time >= FirstSafeTime && time / 1'000 == second_ && sameZone(current, zone_)) {
        const std::string digits = DateTimeDetails::format(static_cast<long long>(time % 1'000), 3);
        text_.replace(text_.size() - digits.size(), digits.size(), digits);
    } else {
        DateTimeDetails details{DateTime(time, current)};
        details.makeLocal();
        text_ = shown(details);
        second_ = time / 1'000;
        zone_ = current;
    }
    target += text_;
}

/// The logger thread's hold on its `FileLogger`; ends at the latest when the thread leaves, however it
/// leaves.
class FileLogger::Presence {
public:
    explicit Presence(std::atomic<bool>& flag) : flag_(&flag) {}
    ~Presence() { end(); }
    Presence(const Presence&) = delete;
    Presence& operator=(const Presence&) = delete;

    void end() {
        if (flag_)
            *std::exchange(flag_, nullptr) = false;
    }

private:
    std::atomic<bool>* flag_;
};

FileLogger::FileLogger() : ImsAgent("file-logger") {
    levelHookId = setMessageHook(false, "debug", "level", "", HookNormal);
    debugHookId = setMessageHook(false, "debug", "debug", "", HookNormal);
    functionalHookId = setMessageHook(false, "debug", "functional", "", HookNormal);
}

FileLogger::~FileLogger() {
    for (const unsigned long long id : {levelHookId, debugHookId, functionalHookId})
        removeMessageHook(id);
    try {
        stopLoggerThread();
        writeQueue(nullptr);  // what a failed `disable` has left
    } catch (const Exception&) {
    }
    if (file.canWrite()) {
        file.write("Closing log file at " + nowGmt() + "\n");
        file.close();
    }
}

void FileLogger::enable(const std::string& logDirectory, const std::string& logBaseName) {
    checkEnable(logBaseName);
    directory = logDirectory;
    FileTools::correctSeparation(directory);
    FileTools::completeDir(directory);
    if (!FileTools::ensurePath(directory))
        throwFailure<Enable_InvalidDir>(
            "@file-logger.enable.invalid-dir{Trying to enable with invalid log directory \"%\"};",
            ParamStream() << directory);
    baseName = logBaseName;
    if (threaded)
        startLoggerThread();
    change(enabled, true);
}

void FileLogger::reEnable() {
    checkEnable(baseName);
    if (threaded)
        startLoggerThread();
    change(enabled, true);
}

void FileLogger::checkEnable(const std::string& logBaseName, SourcePosition position) const {
    if (enabled)
        throwFailure<Enable_AlreadyEnabled>(
            "@file-logger.enable.already-enabled{Trying to enable when already enabled};", ParamStream(),
            position);
    if (logBaseName.empty())
        throwFailure<Enable_EmptyBaseName>(
            "@file-logger.enable.empty-base-name{Trying to enable with empty file base name};", ParamStream(),
            position);
}

void FileLogger::change(std::atomic<bool>& flag, bool value) {
    const ThreadLockHolder held(fileLock);
    const ThreadLockHolder closed(queueLock);
    flag = value;
}

void FileLogger::disable() {
    if (!enabled)
        return;
    if (threaded)
        stopLoggerThread();
    const ThreadLockHolder held(fileLock);
    const ThreadLockHolder closed(queueLock);
    // Others have gone on logging: what they have left is written, what they bring now finds no logger.
    while (!queue.empty())
        writeQueue(nullptr);
    if (file.canWrite())
        file.write("Disabling logging to this file at " + nowGmt() + "\n");
    lastFileName = *file.getName();
    enabled = false;
    file.close();
}

void FileLogger::useThread(bool useLoggerThread) {
    const bool wasEnabled = enabled;
    disable();
    change(threaded, useLoggerThread);
    if (wasEnabled)
        enable(std::string(directory), std::string(baseName));
}

void FileLogger::setLevelThreshold(int threshold) {
    if (threshold < 0 || threshold > 8)
        throwFailure<Level_OutOfBounds>(
            "@file-logger.level.out-of-bounds{Trying to set an invalid log level (%)};", ParamStream()
                                                                                             << threshold);
    levelThreshold = threshold;
}

void FileLogger::setRotationSize(unsigned long long size) {
    rotationSize = std::max(size, SmallestRotationSize);
}

void FileLogger::log(int level, const std::string& message, const ParamStream& parameters) {
    log(Logger::LogMessageParameter(level, "FileLogger", message, parameters));
}

void FileLogger::log(int level, const Exception& e) {
    Logger::forEachLine(e, [&](const std::string& message, const ParamStream& parameters) {
        log(level, message, parameters);
    });
}

void FileLogger::log(const Logger::LogMessageParameter& record) {
    if (!enabled)
        return;
    // The mode may change until one of the locks is held.
    const auto enqueue = [&] {
        {
            const ThreadLockHolder held(queueLock);
            if (!threaded)
                return false;
            if (!enabled)
                return true;
            queue.push_back(record);
        }
        ++queueCount;
        return true;
    };
    if (threaded && enqueue())
        return;
    const ThreadLockHolder held(fileLock);
    if (!threaded || !enqueue())
        logToFile(record);
}

MessageHandleCode FileLogger::handleMessage(const ImsMessage& message) {
    if (message.generalType != "debug")
        return MessageNotHandled;
    const int number = StringTools::toInt32(message.messageType);
    if (message.groupType == "debug" || message.groupType == "functional") {
        const auto* record = dynamic_cast<const Logger::LogMessageParameter*>(message.parameter);
        if (record && number <= levelThreshold && !showingAlive)
            log(*record);
        return MessageHandled;
    }
    if (message.groupType == "level") {
        // Not up to 8: only `setLevelThreshold` asks for "flood".
        if (number >= 0 && number <= 7)
            levelThreshold = number;
        return MessageHandled;
    }
    return MessageNotHandled;
}

MessageHandleCode FileLogger::hookMessage(unsigned long long id, const ImsMessage& message) {
    return id == levelHookId || id == debugHookId || id == functionalHookId ? handleMessage(message)
                                                                            : MessageNotHandled;
}

void FileLogger::startLoggerThread() {
    try {
        loggerThreadId = createThread("logger-thread", loggerThreadFunction, Thread::makeParameters());
        threadPresent = true;
        startThread(loggerThreadId);
    } catch (const Exception& e) {
        threadPresent = false;
        loggerThreadId = 0;
        change(threaded, false);
        log(1, e);
        throwUntagged<Enable_FailedToRunLoggerThread>(
            "@file-logger.enable.failed-to-run-logger-thread{Could not start logger thread};");
    }
}

void FileLogger::stopLoggerThread() {
    if (loggerThreadId == 0)
        return;
    Thread& thread = *findThread(loggerThreadId);
    if (!thread.isLive())
        return;
    stopThread(loggerThreadId);
    for (int polls = StopPolls; polls > 0 && thread.isLive(); --polls)
        usleep(StopPoll);
    if (thread.isLive()) {
        // A thread that died of a failure still counts as running; then there is nothing to cancel.
        if (!threadPresent)
            thread.ended = true;
        killThread(loggerThreadId);
        for (int polls = StopPolls; polls > 0 && threadPresent; --polls)
            usleep(ShortPause);
    }
    loggerThreadId = 0;
    writeQueue(nullptr);
}

void* FileLogger::loggerThreadFunction(void* argument) {
    void* const failed = reinterpret_cast<void*>(1);
    auto* thread = static_cast<Thread*>(argument);
    if (!thread)
        return failed;
    auto& self = static_cast<FileLogger&>(*thread->owner);
    Presence presence(self.threadPresent);
    // The end of the thread shows nowhere but here: `stopLoggerThread` writes what is left.
    try {
        return self.runLoggerThread(*thread, presence) ? nullptr : failed;
    } catch (const Exception&) {
    } catch (const std::exception&) {
    }
    return failed;
}

bool FileLogger::runLoggerThread(Thread& thread, Presence& presence) {
    int before = 0;
    if (pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, &before) != 0 ||
        pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &before) != 0)
        return false;
    while (thread.state == Thread::ThreadDefined)  // `start` has not returned yet
        usleep(ShortPause);
    while (!thread.shouldStop()) {
        showAlive(thread);
        if (queueCount != 0)
            writeQueue(&thread);
        else
            usleep(IdlePause);
    }
    usleep(ShortPause);
    presence.end();
    thread.ended = true;
    thread.state = thread.undefineWhenEnded ? Thread::ThreadUndefined : Thread::ThreadEnded;
    return true;
}

void FileLogger::showAlive(Thread& thread) {
    struct Quiet {
        Quiet() { showingAlive = true; }
        ~Quiet() { showingAlive = false; }
    } quiet;
    thread.update();
}

void FileLogger::writeQueue(const Thread* thread) {
    // What is not written, because of a failure or because the thread is to stop, goes back in its place.
    struct Batch {
        explicit Batch(FileLogger& logger) : logger_(logger) {
            const ThreadLockHolder held(logger_.queueLock);
            records.swap(logger_.queue);
            logger_.queueCount = 0;
        }
        ~Batch() {
            if (records.empty())
                return;
            const ThreadLockHolder held(logger_.queueLock);
            logger_.queue.splice(logger_.queue.begin(), records);
            ++logger_.queueCount;
        }
        Records records;
        FileLogger& logger_;
    } batch(*this);

    while (!batch.records.empty() && !(thread && thread->state == Thread::ThreadStopping)) {
        Records inHand;
        inHand.splice(inHand.begin(), batch.records, batch.records.begin());
        logToFile(inHand.front());
    }
}

void FileLogger::logToFile(const Logger::LogMessageParameter& record) {
    if (!enabled)
        return;
    try {
        writeLine(record);
    } catch (const Exception& e) {
        // Callers of the bus know no failure classes of this one; the name still tells.
        throw Exception(e);
    }
}

void FileLogger::writeLine(const Logger::LogMessageParameter& record) {
    ensureFileIsOpen();
    if (file.size() > rotationSize)
        rotate();
    line = Logger::mapDebugLevel(record.level);
    if (record.level <= 3)
        StringTools::upper(line);
    padField(line, 0, LevelWidth);
    lineTime.appendTo(line, record.time);
    line += ' ';
    const std::size_t bracket = line.size();
    line.append("(thread=").append(std::to_string(record.thread));
    line.append(" process=").append(std::to_string(record.process));
    line.append(" ").append(record.source).append(")");
    padField(line, bracket, BracketWidth);
    line += ' ';
    line += record.parameters.format(record.message);
    line += '\n';
    write(line);
    if (!file.flush())
        throwWriteFailure();  // up to now a full disk may have taken no notice
}

void FileLogger::ensureFileIsOpen() {
    if (file.canWrite())
        return;
    if (!file.openAppend(directory + baseName + Suffix))
        throwFailure<Log_FileOpenError>("@file-logger.log.file-open-error{Failed to open log file \"%\"};",
                                        ParamStream() << directory + baseName);
    writeHeader();
}

void FileLogger::writeHeader() {
    const char* const gap = file.size() != 0 ? "\n" : "";
    const char* const event =
        lastFileName == *file.getName() ? "Enabling logging to this file at " : "Opened log file at ";
    write(gap + (event + nowLocal()) + "\n");
}

void FileLogger::rotate() {
    write("Rotating log file at " + nowGmt() + "\n");
    file.close();
    const std::string oldName = directory + baseName;
    const std::string newName = oldName + "-" + std::to_string(DateTime::getCurrentTime());
    renameLogFile(oldName, newName);
    ensureFileIsOpen();
    // The name without the number that the rename may have added; readers of the logs look for its beginning.
    write("File continued from \"" + newName + Suffix + "\"\n");
}

void FileLogger::renameLogFile(const std::string& from, const std::string& to) {
    const auto moved = [&](const std::string& target) {
        return FileTools::move(from + Suffix, target + Suffix, false, CopyBlock, false, nullptr);
    };
    if (moved(to))
        return;
    for (int number = 1; number <= RotationNumbers; ++number)
        if (moved(to + "-" + std::to_string(number)))
            return;
    // The bracket stays unclosed; tools in the field match the text as it is.
    throwFailure<Log_RotateError>(
        "@file-logger.log.rotate-error{Failed to rotate file (from \"%\" to \"%\"};", ParamStream()
                                                                                          << from << to);
}

void FileLogger::write(const std::string& text, SourcePosition position) {
    if (!file.write(text))
        throwWriteFailure(position);
}

void FileLogger::throwWriteFailure(SourcePosition position) {
    throwFailure<Log_FileWriteError>("@file-logger.log.file-write-error{Failed to write to log file \"%\"};",
                                     ParamStream() << *file.getName(), position);
}

}  // namespace MovrikCorelib
