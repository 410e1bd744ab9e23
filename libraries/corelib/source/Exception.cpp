#include "Exception.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

#include "Logger.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

/// Takes "@key{" and "};" out of a message. A "}" is lost and the next plain character between keys stands
/// twice, also one that follows "};": message texts and log readers in the field know that form.
template <class Char>
std::basic_string<Char> stripKeys(std::basic_string_view<Char> message) {
    enum { Between, Key, Text } state = Between;
    bool pending = false;
    std::basic_string<Char> result;
    result.reserve(message.size());
    for (Char c : message) {
        switch (state) {
            case Between:
                if (c == ';')
                    break;
                if (c == '@') {
                    state = Key;
                    break;
                }
                state = Text;
                if (std::exchange(pending, false))
                    result += c;
                result += c;
                break;
            case Key:
                if (c == '{')
                    state = Text;
                break;
            case Text:
                if (c == '@') {
                    state = Between;
                } else if (c == '}') {
                    pending = true;
                    state = Between;
                } else {
                    result += c;
                }
                break;
        }
    }
    return result;
}

/// What `getFullMessage` and `getFullMessageW` differ in.
template <class Char>
struct Form;

template <>
struct Form<char> {
    static const std::string& own(const Exception& e) { return e.message; }
    static const std::wstring& other(const Exception& e) { return e.messageW; }
    static std::string name(const Exception& e) { return e.name; }
    static std::string full(Exception& e) { return e.getFullMessage(true); }
    static std::string fullOther(Exception& e) { return StringTools::convert(e.getFullMessageW(true)); }
};

template <>
struct Form<wchar_t> {
    static const std::wstring& own(const Exception& e) { return e.messageW; }
    static const std::string& other(const Exception& e) { return e.message; }
    static std::wstring name(const Exception& e) { return StringTools::convert(e.name); }
    static std::wstring full(Exception& e) { return e.getFullMessageW(true); }
    static std::wstring fullOther(Exception& e) { return StringTools::convert(e.getFullMessage(true)); }
};

template <class Char>
std::basic_string<Char> fullMessage(Exception& e, bool withName) {
    using Side = Form<Char>;
    const std::basic_string<Char>& text = Side::own(e);
    if (text.empty() && !Side::other(e).empty())
        return Side::fullOther(e);
    std::basic_string<Char> result;
    if (withName)
        (result = Side::name(e)) += ':';
    if (!text.empty())
        (result += ' ') += e.parameters.format(stripKeys<Char>(text));
    for (Exception& inner : e.contained)
        (result += '\n') += Side::full(inner);
    return result;
}

}  // namespace

Exception::Exception(const std::string& text) : message(text) {}

Exception::Exception(const std::wstring& text) : messageW(text) {}

Exception::Exception(const std::string& text, const std::string& location)
    : message(text), locations(1, location) {}

Exception::Exception(const std::wstring& text, const std::string& location)
    : messageW(text), locations(1, location) {}

Exception::Exception(const std::string& text, ParamStream values)
    : message(text), parameters(std::move(values)) {}

Exception::Exception(const std::wstring& text, ParamStream values)
    : messageW(text), parameters(std::move(values)) {}

Exception::Exception(const std::string& text, const std::string& location, ParamStream values)
    : message(text), parameters(std::move(values)), locations(1, location) {}

Exception::Exception(const std::wstring& text, const std::string& location, ParamStream values)
    : messageW(text), parameters(std::move(values)), locations(1, location) {}

Exception::Exception(const std::string& location, const Exception& cause)
    : locations(1, location), contained(1, cause) {}  // NOLINT(bugprone-throw-keyword-missing): a list

void Exception::addToMessage(const std::string& text) {
    (message += ' ') += text;
}

void Exception::addToMessage(const std::wstring& text) {
    (messageW += L' ') += text;
}

void Exception::addToMessage(const std::string& text, const ParamStream& values) {
    addToMessage(text);
    parameters.concatenate(values);
}

void Exception::addToMessage(const std::wstring& text, const ParamStream& values) {
    addToMessage(text);
    parameters.concatenate(values);
}

bool Exception::haveContainedException(const std::string& wanted) const {
    return getContained(wanted) != nullptr;
}

const Exception* Exception::getContained(const std::string& wanted) const {
    const auto found = std::ranges::find(contained, wanted, &Exception::name);
    return found == contained.end() ? nullptr : &*found;
}

Exception* Exception::getContained(const std::string& wanted) {
    return const_cast<Exception*>(std::as_const(*this).getContained(wanted));
}

std::string Exception::getLocations() const {
    return std::accumulate(locations.begin(), locations.end(), std::string());
}

std::string Exception::getMessageWithLocation() const {
    return message + getLocations();
}

std::wstring Exception::getMessageWWithLocation() const {
    return messageW + StringTools::convert(getLocations());
}

std::string Exception::getFullMessage(bool withName) {
    return fullMessage<char>(*this, withName);
}

std::wstring Exception::getFullMessageW(bool withName) {
    return fullMessage<wchar_t>(*this, withName);
}

std::string sourceTag(SourcePosition position) {
    const std::string_view file(position.file);
    const unsigned long dot = file.rfind('.');
    const bool inName = dot != file.npos && file.find('/', dot) == file.npos;
    return Logger::formatSource(std::string(inName ? file.substr(0, dot) : file), position.line);
}

}  // namespace MovrikCorelib
