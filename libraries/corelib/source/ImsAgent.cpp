#include "ImsAgent.h"

#include <atomic>
#include <exception>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "Logger.h"

namespace MovrikCorelib {

namespace {

constinit std::atomic<StaticLogger*> current = nullptr;
StaticLogger logger(current);

constexpr int Traffic = 7;
constexpr int HookChange = 5;

/// The trace logger, or null if an operation is not traced.
const Logger* tracer(bool isLogger, int level, const std::string& generalType = std::string()) {
    if (isLogger || Logger::MainLevel < level || generalType == "debug")
        return nullptr;
    const Logger* alive = current.load();
    return alive && alive->isOn(level) ? alive : nullptr;
}

std::string timeText(unsigned long long time) {
    return DateTimeDetails(time).getString(true, false, false);
}

constexpr const char* SpecificSystem = " for specific IMS system";

}  // namespace

ImsAgent::ImsAgent(const std::string& agentName) : ImsAgent(agentName, Ims::getDefaultMessageSystem()) {}

ImsAgent::ImsAgent(const std::string& agentName, Ims& agentSystem)
    : system(&agentSystem), name(agentName), isLogger(agentName == "logger") {
    if (isLogger)
        return;
    if (StaticLogger* alive = current.load())
        alive->nameIfAnonymous("imsagent");
}

ImsAgent::~ImsAgent() = default;

MessageHandleCode ImsAgent::handleMessage(const ImsMessage&) {
    return MessageNotHandled;
}

MessageHandleCode ImsAgent::hookMessage(unsigned long long, const ImsMessage&) {
    return MessageNotHandled;
}

bool ImsAgent::sendMessage(ImsAgent& to, ImsMessage& message) {
    if (const Logger* log = tracer(isLogger, Traffic, message.generalType))
        log->trace("ImsAgent::sendMessage: To \"%\":\n%", ParamStream() << to.name << message.getLogString());
    message.source = this;
    return to.handleMessage(message) != MessageNotHandled;
}

bool ImsAgent::sendMessage(ImsMessage& message) {
    if (const Logger* log = tracer(isLogger, Traffic, message.generalType))
        log->trace("ImsAgent::sendMessage:\n%", ParamStream() << message.getLogString());
    message.source = this;
    return system->send(message);
}

bool ImsAgent::sendMessageThroughEMS(ImsMessage& message, const std::string& from, const std::string& toAgent,
                                     const std::string& toSystem) {
    // "%s" shows the value and the letter; tools in the field read these lines so.
    if (const Logger* log = tracer(isLogger, Traffic, message.generalType))
        log->trace("ImsAgent::sendMessageThroughEMS: To \"%s@%s\", from \"%\"\n%s",
                   ParamStream() << toAgent << toSystem << from << message.getLogString());
    EmsMessageParameter carrier;
    carrier.carriedGeneralType = message.generalType;
    carrier.toAgent = toAgent;
    carrier.toSystem = toSystem;
    carrier.fromName = from;
    carrier.carriedValue = message.parameter ? message.parameter->tag : 0;
    message.generalType = "ems";
    message.parameter = &carrier;
    return system->send(message);
}

bool ImsAgent::queueMessageDelay(ImsAgent& to, ImsMessage& message, unsigned long long delay) {
    if (const Logger* log = tracer(isLogger, Traffic, message.generalType))
        log->trace("ImsAgent::queueMessageDelay: To \"%\", delay % milliseconds\n%",
                   ParamStream() << to.name << delay << message.getLogString());
    message.source = this;
    return system->queue(to, message, DateTime::getCurrentTime() + delay);
}

bool ImsAgent::queueMessageDelay(ImsMessage& message, unsigned long long delay) {
    if (const Logger* log = tracer(isLogger, Traffic, message.generalType))
        log->trace("ImsAgent::queueMessageDelay: Delay % milliseconds\n%",
                   ParamStream() << delay << message.getLogString());
    message.source = this;
    return system->queue(message, DateTime::getCurrentTime() + delay);
}

// The lines of `queueMessage` bear the other operation's name; tools in the field look for it.

bool ImsAgent::queueMessage(ImsAgent& to, ImsMessage& message, unsigned long long time) {
    if (const Logger* log = tracer(isLogger, Traffic, message.generalType))
        log->trace("ImsAgent::queueMessageDelay: To \"%\", send at %\n%",
                   ParamStream() << to.name << timeText(time) << message.getLogString());
    message.source = this;
    return system->queue(to, message, time);
}

bool ImsAgent::queueMessage(ImsMessage& message, unsigned long long time) {
    if (const Logger* log = tracer(isLogger, Traffic, message.generalType))
        log->trace("ImsAgent::queueMessageDelay: Send at %\n%",
                   ParamStream() << timeText(time) << message.getLogString());
    message.source = this;
    return system->queue(message, time);
}

unsigned long long ImsAgent::setMessageHook(bool once, const std::string& generalGlob,
                                            const std::string& groupGlob, const std::string& messageGlob,
                                            HookType type) {
    return hook(*system, "", nullptr, once, ImsMessage(generalGlob, groupGlob, messageGlob), type);
}

unsigned long long ImsAgent::setMessageHook(ImsAgent& source, bool once, const std::string& generalGlob,
                                            const std::string& groupGlob, const std::string& messageGlob,
                                            HookType type) {
    return hook(Ims::getDefaultMessageSystem(), "", &source, once,
                ImsMessage(generalGlob, groupGlob, messageGlob), type);
}

unsigned long long ImsAgent::setMessageHook(Ims& ims, bool once, const std::string& generalGlob,
                                            const std::string& groupGlob, const std::string& messageGlob,
                                            HookType type) {
    return hook(ims, SpecificSystem, nullptr, once, ImsMessage(generalGlob, groupGlob, messageGlob), type);
}

unsigned long long ImsAgent::setMessageHook(Ims& ims, ImsAgent& source, bool once,
                                            const std::string& generalGlob, const std::string& groupGlob,
                                            const std::string& messageGlob, HookType type) {
    return hook(ims, SpecificSystem, &source, once, ImsMessage(generalGlob, groupGlob, messageGlob), type);
}

unsigned long long ImsAgent::hook(Ims& ims, const char* where, ImsAgent* source, bool once,
                                  const ImsMessage& globs, HookType type, SourcePosition position) {
    if (const Logger* log = tracer(isLogger, HookChange, globs.generalType)) {
        ParamStream parameters;
        std::string text = std::string("ImsAgent::setMessageHook: Setting hook") + where + ":";
        if (source) {
            text += "\n\tHook from source : %";
            parameters << source->name;
        }
        text +=
            "\n\tHook only once   : %s\n\tGeneral type glob: %\n\tGroup type glob  : %"
            "\n\tMessage type glob: %";
        parameters << (once ? "yes" : "no") << globs.generalType << globs.groupType << globs.messageType;
        log->verbose(text, parameters);
    }
    try {
        return ims.setMessageHook(*this, once, globs.generalType, globs.groupType, globs.messageType, source,
                                  type);
    } catch (const Ims::Hook_Duplicate& e) {
        throwWrapped<Hook_Duplicate>(e, position);
    }
}

bool ImsAgent::removeMessageHook(unsigned long long id) {
    traceRemoval("ImsAgent::removeMessageHook: Removing hook %", id);
    return Ims::getDefaultMessageSystem().removeMessageHook(id);
}

bool ImsAgent::removeMessageHook(Ims& ims, unsigned long long id) {
    traceRemoval("ImsAgent::removeMessageHook: Removing hook % from specific IMS system", id);
    return ims.removeMessageHook(id);
}

void ImsAgent::traceRemoval(const char* text, unsigned long long id) const {
    // Agents remove their hooks in destructors: a line that nobody can write must not keep a hook in place.
    try {
        if (const Logger* log = tracer(isLogger, HookChange))
            log->verbose(text, ParamStream() << id);
    } catch (const Exception&) {
    } catch (const std::exception&) {
    }
}

}  // namespace MovrikCorelib
