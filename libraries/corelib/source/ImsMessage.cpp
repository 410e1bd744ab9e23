#include "ImsMessage.h"

#include <utility>

namespace MovrikCorelib {

ImsMessage::ImsMessage(std::string general, std::string group, std::string type, ImsMessageParameter* payload)
    : generalType(std::move(general)),
      groupType(std::move(group)),
      messageType(std::move(type)),
      parameter(payload) {}

ImsMessage::ImsMessage(const ImsMessage& other)
    : generalType(other.generalType),
      groupType(other.groupType),
      messageType(other.messageType),
      parameter(std::exchange(other.parameter, nullptr)),
      source(other.source) {}

ImsMessage& ImsMessage::operator=(const ImsMessage& other) {
    if (this == &other)
        return *this;
    generalType = other.generalType;
    groupType = other.groupType;
    messageType = other.messageType;
    source = other.source;
    ImsMessageParameter* before = std::exchange(parameter, std::exchange(other.parameter, nullptr));
    if (std::exchange(deleteParameter, false) && before != parameter)
        delete before;
    return *this;
}

ImsMessage::~ImsMessage() {
    if (deleteParameter)
        delete parameter;
}

int ImsMessage::compare(const ImsMessage& other) const {
    for (const auto type : {&ImsMessage::generalType, &ImsMessage::groupType, &ImsMessage::messageType})
        if (const int result = (this->*type).compare(other.*type))
            return result;
    return 0;
}

std::string ImsMessage::getLogString() const {
    return "\tGeneral type: " + generalType + "\n\tGroup type  : " + groupType +
           "\n\tMessage type: " + messageType;
}

}  // namespace MovrikCorelib
