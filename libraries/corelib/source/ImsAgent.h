#pragma once

#include <string>

#include "Exception.h"
#include "Ims.h"
#include "ImsMessage.h"

namespace MovrikCorelib {

/// Payload of a message on its way to the service that takes the general type "ems".
class EmsMessageParameter : public ImsMessageParameter {
public:
    std::string carriedGeneralType;  ///< the message's general type before it became "ems"
    std::string toAgent;
    std::string toSystem;  ///< where `toAgent` lives
    std::string fromName;
    unsigned long long carriedValue = 0;  ///< `tag` of the message's previous payload
};

/// Base of everything that talks on the bus. Names need not be unique, and an agent is reached through its
/// hooks or by reference only. Destroying an agent does not remove its hooks: a derived class does that in
/// its own destructor. An agent has no lock; the messages passed to it are the caller's own.
///
/// Traffic of agents not named "logger" is traced, unless it concerns the general type "debug".
class ImsAgent {
public:
    MOVRIK_FAILURE(Hook_Duplicate);

    /// Joins the default system, making it if needed; throws `Ims::Ims_OutOfMemory`.
    explicit ImsAgent(const std::string& agentName);
    /// Joins the given system, which must outlive the agent.
    ImsAgent(const std::string& agentName, Ims& agentSystem);
    virtual ~ImsAgent();
    ImsAgent(const ImsAgent&) = delete;
    ImsAgent& operator=(const ImsAgent&) = delete;

    /// Direct delivery. The base handles nothing.
    virtual MessageHandleCode handleMessage(const ImsMessage& message);
    /// Delivery through the hook `id`. The base handles nothing.
    virtual MessageHandleCode hookMessage(unsigned long long id, const ImsMessage& message);

    /// Both set `source` and return true if a receiver handled the message before they return. The first
    /// calls `to` directly, without hooks; the second goes through the hooks of this agent's system.
    bool sendMessage(ImsAgent& to, ImsMessage& message);
    bool sendMessage(ImsMessage& message);

    /// Sends under the general type "ems", wrapped in an `EmsMessageParameter` that is gone afterwards: the
    /// caller must not use `message` again, and its `deleteParameter` must be false. Its `parameter` must not
    /// be null and stays the caller's. `source` is not set.
    bool sendMessageThroughEMS(ImsMessage& message, const std::string& from, const std::string& toAgent,
                               const std::string& toSystem);

    /// These set `source`, take `parameter` over as `Ims::queue` does, and return true. `delay` is in
    /// milliseconds from now, `time` a `DateTime::getCurrentTime`.
    bool queueMessageDelay(ImsAgent& to, ImsMessage& message, unsigned long long delay);
    bool queueMessageDelay(ImsMessage& message, unsigned long long delay);
    bool queueMessage(ImsAgent& to, ImsMessage& message, unsigned long long time);
    bool queueMessage(ImsMessage& message, unsigned long long time);

    /// This agent receives. The forms return the hook id and throw `Hook_Duplicate`, wrapping the failure of
    /// the bus. The first uses this agent's system; the second the default system, whatever this agent's is.
    unsigned long long setMessageHook(bool once, const std::string& generalGlob, const std::string& groupGlob,
                                      const std::string& messageGlob, HookType type);
    unsigned long long setMessageHook(ImsAgent& source, bool once, const std::string& generalGlob,
                                      const std::string& groupGlob, const std::string& messageGlob,
                                      HookType type);
    unsigned long long setMessageHook(Ims& ims, bool once, const std::string& generalGlob,
                                      const std::string& groupGlob, const std::string& messageGlob,
                                      HookType type);
    unsigned long long setMessageHook(Ims& ims, ImsAgent& source, bool once, const std::string& generalGlob,
                                      const std::string& groupGlob, const std::string& messageGlob,
                                      HookType type);

    /// True if the hook existed. The first form always addresses the default system. A failure to log the
    /// removal is dropped, so both are fit for destructors.
    bool removeMessageHook(unsigned long long id);
    bool removeMessageHook(Ims& ims, unsigned long long id);

private:
    unsigned long long hook(Ims& ims, const char* where, ImsAgent* source, bool once, const ImsMessage& globs,
                            HookType type, SourcePosition position = SourcePosition::here());
    void traceRemoval(const char* text, unsigned long long id) const;

protected:
    Ims* system;       ///< the bus of this agent; not owned
    std::string name;  ///< shown in trace lines only
    bool isLogger;     ///< named "logger": its own traffic is never traced
};

}  // namespace MovrikCorelib
