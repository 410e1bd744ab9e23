#pragma once

#include <string>
#include <vector>

#include "Logger.h"

namespace TestSupport {

/// What `call` throws: its name, ": " and the text for a person; "" if nothing.
template <class Call>
std::string failureOf(Call call) {
    try {
        call();
    } catch (MovrikCorelib::Exception& e) {
        return e.getFullMessage(true);
    }
    return "";
}

/// Receives the log messages of the default bus, or those of one source, with all levels at 8 meanwhile.
class LogCollector : public MovrikCorelib::ImsAgent {
public:
    explicit LogCollector(const std::string& source = "") : ImsAgent("logger"), source_(source) {
        setLevels(8);
        for (const char* group : {"debug", "functional"})
            ids_.push_back(setMessageHook(false, "debug", group, "", MovrikCorelib::HookNormal));
    }
    ~LogCollector() override {
        for (const unsigned long long id : ids_)
            removeMessageHook(id);
        setLevels(7);
    }

    MovrikCorelib::MessageHandleCode hookMessage(unsigned long long,
                                                 const MovrikCorelib::ImsMessage& message) override {
        return handleMessage(message);
    }
    MovrikCorelib::MessageHandleCode handleMessage(const MovrikCorelib::ImsMessage& message) override {
        last = dynamic_cast<MovrikCorelib::Logger::LogMessageParameter&>(*message.parameter);
        if (source_.empty() || last.source == source_)
            lines += message.groupType[0] + message.messageType + " " + last.parameters.format(last.message) +
                     "\n";
        return MovrikCorelib::MessageHandled;
    }

    std::string lines;  ///< "d7 text" or "f3 text" each: first letter of the group, level, text
    MovrikCorelib::Logger::LogMessageParameter last;

private:
    static void setLevels(int level) {
        MovrikCorelib::Logger::MainLevel = level;
        MovrikCorelib::Ims::sendDefault(MovrikCorelib::ImsMessage("debug", "level", std::to_string(level)));
    }

    std::string source_;
    std::vector<unsigned long long> ids_;
};

}  // namespace TestSupport
