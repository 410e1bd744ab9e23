#include "Logger.h"

#include <pthread.h>
#include <unistd.h>

#include <array>

#include "DateTime.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr std::array<const char*, 9> LevelNames = {"none",    "fatal", "error", "warning", "info",
                                                   "verbose", "debug", "trace", "flood"};

constexpr std::size_t LongestOwnerName = 10;

}  // namespace

Logger::LogMessageParameter::LogMessageParameter(int recordLevel, const std::string& origin,
                                                 std::string_view text, const ParamStream& values)
    : level(recordLevel),
      source(origin),
      time(DateTime::getCurrentTime()),
      thread(pthread_self()),
      process(static_cast<unsigned int>(getpid())),
      message(text),
      parameters(values) {}

Logger::Logger() : Logger("anonymous", nullptr) {}

Logger::Logger(const std::string& loggerName, ImsAgent* target)
    : ImsAgent("logger"), sourceName(loggerName), targetAgent(target) {
    // Without the hook the logger works on; it only misses level messages.
    try {
        hookId = setMessageHook(false, "debug", "level", "", HookNormal);
    } catch (const Exception&) {
    }
}

Logger::~Logger() {
    removeMessageHook(hookId);
}

void Logger::nameIfAnonymous(std::string_view ownerName) {
    if (sourceName.empty() || sourceName == "anonymous")
        sourceName = ownerName.substr(0, LongestOwnerName);
}

void Logger::log(int messageLevel, const std::string& message, const ParamStream& parameters) const {
    send(messageLevel, message, parameters);
}

void Logger::log(int messageLevel, const Exception& e) const {
    forEachLine(e, [&](const std::string& message, const ParamStream& parameters) {
        log(messageLevel, message, parameters);
    });
}

void Logger::forEachLine(const Exception& e,
                         const std::function<void(const std::string&, const ParamStream&)>& sink) {
    for (const Exception& inner : e.contained)
        forEachLine(inner, sink);
    if (!e.message.empty())
        sink(e.name + ": " + e.getMessageWithLocation(), e.parameters);
    else if (e.contained.empty())
        sink(e.name + ": <NO MESSAGE>", ParamStream());
    else
        sink(e.name + ": Container for above exceptions", ParamStream());
}

void Logger::fail(FailProcedure procedure, const std::string& prefix, const std::string& key,
                  const std::string& text, const std::string& tail) const {
    fail(procedure, prefix, key, text, tail, ParamStream());
}

void Logger::fail(FailProcedure procedure, const std::string& prefix, const std::string& key,
                  const std::string& text, const std::string& tail, const ParamStream& parameters) const {
    // No ";" behind the "}": the tail, if any, brings it.
    const auto keyed = [&] { return "@" + key + "{" + text + "}" + tail; };
    switch (procedure) {
        case FailDebug:
            return debug(prefix + ": " + text, parameters);
        case FailWarning:
            return warning(keyed(), parameters);
        case FailError:
            return error(keyed(), parameters);
        case FailFatal:
            return fatal(keyed(), parameters);
        default:
            return;
    }
}

MessageHandleCode Logger::handleMessage(const ImsMessage& message) {
    if (message.generalType != "debug" || message.groupType != "level")
        return MessageNotHandled;
    if (const int wanted = StringTools::toInt32(message.messageType); wanted >= 0 && wanted <= MainLevel)
        level = wanted;
    return MessageHandled;
}

MessageHandleCode Logger::hookMessage(unsigned long long id, const ImsMessage& message) {
    return id == hookId ? handleMessage(message) : MessageNotHandled;
}

std::string Logger::formatSource(const std::string& file, unsigned int line) {
    std::string path = file;
    const std::string component = StringTools::rsplit(path, '/');
    std::string tag = " @logsrc{file=\"" + component + "\" line=" + std::to_string(line);
    if (Revision != 0)
        tag += " rev=" + std::to_string(Revision);
    return tag + "};";
}

std::string Logger::mapDebugLevel(int number) {
    if (number < 0 || static_cast<std::size_t>(number) >= LevelNames.size())
        return "undefined";
    return LevelNames[static_cast<std::size_t>(number)];
}

int Logger::mapDebugLevel(const std::string& levelName) {
    std::string lowered = levelName;
    StringTools::lower(lowered);
    for (std::size_t i = 0; i < LevelNames.size(); ++i)
        if (lowered == LevelNames[i])
            return static_cast<int>(i);
    return 0;
}

void Logger::send(int messageLevel, std::string_view text) const {
    send(messageLevel, text, ParamStream());
}

void Logger::send(int messageLevel, std::string_view text, const ParamStream& parameters) const {
    LogMessageParameter record(messageLevel, sourceName, text, parameters);
    ImsMessage message("debug", messageLevel <= 3 ? "functional" : "debug", std::to_string(messageLevel),
                       &record);
    // Logging leaves the logger as it is; a message only notes who sent it.
    auto* self = const_cast<Logger*>(this);
    if (targetAgent)
        self->sendMessage(*targetAgent, message);
    else
        self->sendMessage(message);
}

StaticLogger::StaticLogger(std::atomic<StaticLogger*>& current) : current_(current) {
    current_ = this;
}

StaticLogger::~StaticLogger() {
    current_ = nullptr;
}

}  // namespace MovrikCorelib
