#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>

#include "ImsAgent.h"
#include "ParamStream.h"

namespace MovrikCorelib {

/// The front end of logging: a member of a class or one file-static object per source. A call that passes
/// both levels goes out as one message, on the calling thread, before it returns; whoever has a hook on it
/// receives it, and without a hook it goes nowhere. A receiver's failure reaches the caller.
///
/// Levels: 0 none, 1 fatal, 2 error, 3 warning, 4 info, 5 verbose, 6 debug, 7 trace, 8 flood; higher is
/// chattier. Any number of threads may log through one logger. `level` and `MainLevel` are read without
/// synchronisation: a stale read costs at most one line.
///
/// A message is "@key{text};" or plain text, where "%" stands for the next parameter.
class Logger : public ImsAgent {
public:
    /// One log call. Lives on the sender's stack during the send: a receiver that keeps it copies it.
    class LogMessageParameter : public ImsMessageParameter {
    public:
        LogMessageParameter() = default;
        /// Fills in the present time, thread and process.
        LogMessageParameter(int recordLevel, const std::string& origin, std::string_view text,
                            const ParamStream& values);

        int level = 0;
        std::string source;              ///< `sourceName` of the logger
        unsigned long long time = 0;     ///< `DateTime::getCurrentTime` at the call
        unsigned long long thread = 0;   ///< `pthread_self`
        unsigned int process = 0;        ///< `getpid`
        std::string message;             ///< placeholders unfilled, keys and source tags in place
        mutable ParamStream parameters;  ///< filling in a text only moves the place of reading
    };

    /// How strongly `fail` reports; any other value is silent.
    enum FailProcedure : int { FailSilent = 0, FailDebug = 1, FailWarning = 2, FailError = 3, FailFatal = 4 };

    /// A logger named "anonymous" on the default system.
    Logger();
    /// `target`, if not null, receives every message directly, without hooks. The name is not cut.
    Logger(const std::string& loggerName, ImsAgent* target);
    ~Logger() override;

    /// True if a call at this level would be sent. Hot paths ask before they build a `ParamStream`.
    bool isOn(int wanted) const { return level >= wanted && MainLevel >= wanted; }

    /// Owners name their logger so: the name, cut to 10 characters, is taken only if there is none yet.
    void nameIfAnonymous(std::string_view ownerName);

    /// Each does nothing unless `level` and `MainLevel` reach its level; nothing is built before that test.
#define MOVRIK_LOG_ENTRY(entry, number)                                      \
    void entry(std::string_view text) const {                                \
        if (isOn(number))                                                    \
            send(number, text);                                              \
    }                                                                        \
    void entry(std::string_view text, const ParamStream& parameters) const { \
        if (isOn(number))                                                    \
            send(number, text, parameters);                                  \
    }                                                                        \
    void entry(const Exception& e) const {                                   \
        if (isOn(number))                                                    \
            log(number, e);                                                  \
    }
    MOVRIK_LOG_ENTRY(fatal, 1)
    MOVRIK_LOG_ENTRY(error, 2)
    MOVRIK_LOG_ENTRY(warning, 3)
    MOVRIK_LOG_ENTRY(info, 4)
    MOVRIK_LOG_ENTRY(verbose, 5)
    MOVRIK_LOG_ENTRY(debug, 6)
    MOVRIK_LOG_ENTRY(trace, 7)
    MOVRIK_LOG_ENTRY(flood, 8)
#undef MOVRIK_LOG_ENTRY

    /// Sends one record, whatever the levels are.
    void log(int messageLevel, const std::string& message, const ParamStream& parameters) const;
    /// Contained failures first, each in the same way, then `e` itself. Only narrow messages are shown.
    void log(int messageLevel, const Exception& e) const;

    /// The lines of `log(level, e)`, one call of `sink` for each.
    static void forEachLine(const Exception& e,
                            const std::function<void(const std::string&, const ParamStream&)>& sink);

    /// Reports one failure as `procedure` asks: at debug as "prefix: text", above as "@key{text}tail".
    void fail(FailProcedure procedure, const std::string& prefix, const std::string& key,
              const std::string& text, const std::string& tail) const;
    void fail(FailProcedure procedure, const std::string& prefix, const std::string& key,
              const std::string& text, const std::string& tail, const ParamStream& parameters) const;

    /// A message "debug", "level", number, with a number from 0 to `MainLevel`, sets `level`.
    MessageHandleCode handleMessage(const ImsMessage& message) override;
    MessageHandleCode hookMessage(unsigned long long id, const ImsMessage& message) override;

    /// A source tag: the last component of `file`, the line, and `Revision` unless zero. Begins with a blank.
    static std::string formatSource(const std::string& file, unsigned int line);

    /// "undefined" for a number that is no level.
    static std::string mapDebugLevel(int number);
    /// In any case of letters; 0 for an unknown name.
    static int mapDebugLevel(const std::string& levelName);

    static inline int MainLevel = 7;  ///< the process-wide level
    static inline int Revision = 0;   ///< shown in source tags unless zero

    std::string sourceName;  ///< origin in the log line
    int level = 7;           ///< this logger's own level

private:
    void send(int messageLevel, std::string_view text) const;
    void send(int messageLevel, std::string_view text, const ParamStream& parameters) const;

    unsigned long long hookId = 0;  ///< level hook, 0 if it could not be set
    ImsAgent* targetAgent = nullptr;
};

/// The file-static logger of a source that runs before static objects are built and after they are gone:
/// `current`, constant-initialised to null, points to the logger during its life only.
class StaticLogger : public Logger {
public:
    explicit StaticLogger(std::atomic<StaticLogger*>& current);
    ~StaticLogger() override;

private:
    std::atomic<StaticLogger*>& current_;
};

}  // namespace MovrikCorelib
