#pragma once

#include <atomic>
#include <list>
#include <string>

#include "BasicFile.h"
#include "Exception.h"
#include "ImsAgent.h"
#include "Logger.h"
#include "ThreadLock.h"
#include "ThreadRunner.h"
#include "TimeZone.h"

namespace MovrikCorelib {

/// Writes the log messages of all `Logger` objects to one file per process, `directory` + `baseName` +
/// ".log", which it rotates by size. Every line is flushed. Any number of threads may log.
///
/// By default a line is written on the calling thread before the log call returns, and a failure (of opening,
/// writing or rotating) reaches that caller as a plain `Exception` with the name of the `Log_...` class; that
/// line is lost, the next one tries anew. With `useThread(true)` the caller only leaves a copy in a queue,
/// and a thread writes it within about a tenth of a second. A failure ends that thread silently: lines then
/// wait until `disable`, which takes five seconds in that case.
class FileLogger : public ImsAgent, public ThreadRunner {
public:
    MOVRIK_FAILURE(Enable_AlreadyEnabled);
    MOVRIK_FAILURE(Enable_EmptyBaseName);
    MOVRIK_FAILURE(Enable_InvalidDir);
    MOVRIK_FAILURE(Enable_FailedToRunLoggerThread);
    MOVRIK_FAILURE(Level_OutOfBounds);
    MOVRIK_FAILURE(Log_FileOpenError);
    MOVRIK_FAILURE(Log_FileWriteError);
    MOVRIK_FAILURE(Log_RotateError);

    /// Sets its hooks on the default system; lines are dropped until `enable`.
    FileLogger();
    ~FileLogger() override;

    /// Makes the directory if needed. The file itself is opened by the first line, for appending.
    /// Throws the `Enable_...` failures.
    void enable(const std::string& logDirectory, const std::string& logBaseName);
    /// The same with the names of the last `enable`, without a look at the directory.
    void reEnable();
    /// Writes what is queued and closes the file. Nothing happens if not enabled.
    void disable();

    /// Between writing on the calling thread and on a thread of its own. Disables and enables a running
    /// logger.
    void useThread(bool useLoggerThread);

    /// 0 to 8: messages from the bus above this level are not written. Throws `Level_OutOfBounds`.
    void setLevelThreshold(int threshold);
    /// In bytes, at least 5,000. A file above this size is rotated before the next line.
    void setRotationSize(unsigned long long size);

    /// Write without the bus and the threshold. The source shown is "FileLogger".
    void log(int level, const std::string& message, const ParamStream& parameters);
    /// Contained failures first, as `Logger::log` does.
    void log(int level, const Exception& e);
    void log(const Logger::LogMessageParameter& record);

    MessageHandleCode handleMessage(const ImsMessage& message) override;
    MessageHandleCode hookMessage(unsigned long long id, const ImsMessage& message) override;

    /// Normalised, with trailing separator; empty before the first `enable`.
    const std::string& getDirectory() const { return directory; }
    /// Without extension; empty before the first `enable`.
    const std::string& getBaseName() const { return baseName; }

private:
    /// The time column of a line. Within one second only the milliseconds are written anew: a zone's rules
    /// cost more than the rest of a line.
    class LineTime {
    public:
        void appendTo(std::string& line, unsigned long long time);

    private:
        TimeZone zone_;
        unsigned long long second_ = 0;
        std::string text_;
    };

    class Presence;
    using Records = std::list<Logger::LogMessageParameter>;

    void checkEnable(const std::string& logBaseName, SourcePosition position = SourcePosition::here()) const;
    /// Sets `enabled` or `threaded` with both locks held, so that they stay as they are for the holder of
    /// one.
    void change(std::atomic<bool>& flag, bool value);
    void startLoggerThread();
    void stopLoggerThread();
    static void* loggerThreadFunction(void* argument);
    bool runLoggerThread(Thread& thread, Presence& presence);
    static void showAlive(Thread& thread);
    /// On the logger thread until `thread` is to stop; to the end if it is null.
    void writeQueue(const Thread* thread);

    void logToFile(const Logger::LogMessageParameter& record);
    void writeLine(const Logger::LogMessageParameter& record);
    void ensureFileIsOpen();
    void writeHeader();
    void rotate();
    void renameLogFile(const std::string& from, const std::string& to);
    void write(const std::string& text, SourcePosition position = SourcePosition::here());
    [[noreturn]] void throwWriteFailure(SourcePosition position = SourcePosition::here());

    std::atomic<int> levelThreshold = 8;
    unsigned long long levelHookId = 0;
    unsigned long long debugHookId = 0;
    unsigned long long functionalHookId = 0;
    BasicFile file;
    LineTime lineTime;
    std::string line;  ///< the line in hand
    /// Guards the file when there is no logger thread. Taken before `queueLock`.
    ThreadLock fileLock{ThreadLock::Untraced};
    std::atomic<bool> threaded = false;
    unsigned int loggerThreadId = 0;  ///< 0 if there is none
    Records queue;
    std::atomic<unsigned int> queueCount = 0;    ///< records added since the thread last took the queue
    ThreadLock queueLock{ThreadLock::Untraced};  ///< guards `queue`
    std::atomic<bool> enabled = false;
    std::string lastFileName;  ///< file at the last `disable`
    std::string directory;
    std::string baseName;
    std::atomic<unsigned long long> rotationSize = 10'000'000;
    std::atomic<bool> threadPresent = false;  ///< the logger thread still needs this object
};

}  // namespace MovrikCorelib
