#pragma once

#include <string>

namespace MovrikCorelib {

class ImsAgent;

/// What a receiver returns.
enum MessageHandleCode : int {
    MessageNotHandled = 1,  ///< the message was not for this receiver
    MessageHandled = 2,     ///< handled; delivery goes on to the other hooks
    MessageConsumed = 3     ///< handled; no further hook receives it
};

/// Base of all payloads. A receiver tells the type from the message's type strings.
class ImsMessageParameter {
public:
    virtual ~ImsMessageParameter() = default;

    unsigned long long tag = 0;  ///< free for the sender; survives `ImsAgent::sendMessageThroughEMS`
};

/// A message on the bus: three levels of type and a payload.
///
/// Copying is a transfer: the new message takes the payload over and the source, although const, is left with
/// a null `parameter`. A copy never owns its payload: `deleteParameter` is false in it.
class ImsMessage {
public:
    ImsMessage() = default;
    ImsMessage(std::string general, std::string group, std::string type,
               ImsMessageParameter* payload = nullptr);
    ImsMessage(const ImsMessage& other);
    /// Deletes a payload that this message owned before.
    ImsMessage& operator=(const ImsMessage& other);
    ~ImsMessage();

    /// Negative, zero or positive: the three types in turn, bytes first, then length. Payload, ownership and
    /// sender take no part.
    int compare(const ImsMessage& other) const;

    /// The three types on three lines for a trace, without a trailing line break.
    std::string getLogString() const;

    std::string generalType;                           ///< such as "debug"
    std::string groupType;                             ///< such as "functional"
    std::string messageType;                           ///< for log messages the level number as text
    mutable ImsMessageParameter* parameter = nullptr;  ///< the payload, may be null
    bool deleteParameter = false;                      ///< the destructor deletes `parameter`
    ImsAgent* source = nullptr;                        ///< the sender; filled in by `ImsAgent`
};

inline bool operator<(const ImsMessage& a, const ImsMessage& b) {
    return a.compare(b) < 0;
}

}  // namespace MovrikCorelib
