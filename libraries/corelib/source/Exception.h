#pragma once

#include <list>
#include <string>

#include "ParamStream.h"

namespace MovrikCorelib {

/// Base of every failure that the system throws. A plain value: copies are deep and belong to one thread at
/// a time. Nothing is rendered when a failure is thrown; `getFullMessage` renders it for a person, and
/// `Logger` writes it to the log with its key and source tags.
///
/// A message is written "@key{text};" where "%" in the text stands for the next parameter.
class Exception {
public:
    /// An empty container, or a failure with no message.
    Exception() = default;

    explicit Exception(const std::string& text);
    explicit Exception(const std::wstring& text);

    /// `location` is a source tag as made by `Logger::formatSource`.
    Exception(const std::string& text, const std::string& location);
    Exception(const std::wstring& text, const std::string& location);

    Exception(const std::string& text, ParamStream values);
    Exception(const std::wstring& text, ParamStream values);

    Exception(const std::string& text, const std::string& location, ParamStream values);
    Exception(const std::wstring& text, const std::string& location, ParamStream values);

    /// Wraps a caught failure: no text of its own, `cause` becomes the one contained failure.
    Exception(const std::string& location, const Exception& cause);

    Exception(const Exception&) = default;
    Exception(Exception&&) = default;
    Exception& operator=(const Exception&) = default;
    Exception& operator=(Exception&&) = default;
    virtual ~Exception() = default;

    /// Appends one blank and `text`; the second form also appends the values for its placeholders.
    void addToMessage(const std::string& text);
    void addToMessage(const std::wstring& text);
    void addToMessage(const std::string& text, const ParamStream& values);
    void addToMessage(const std::wstring& text, const ParamStream& values);

    /// Look only at the direct members of `contained`, first match. `getContained` returns null if there is
    /// none; the pointer lives as long as `contained` is not changed.
    bool haveContainedException(const std::string& wanted) const;
    const Exception* getContained(const std::string& wanted) const;
    Exception* getContained(const std::string& wanted);

    /// All source tags, oldest first. Each begins with a blank, so nothing stands between them.
    std::string getLocations() const;

    /// The message with its key and with its placeholders unfilled, then the source tags.
    std::string getMessageWithLocation() const;
    std::wstring getMessageWWithLocation() const;

    /// The text for a person: keys removed, placeholders filled, contained failures on lines of their own.
    /// Without the name the text begins with a blank. A failure that has only the other width's message is
    /// rendered in that width, always with its name, and converted. Rewinds `parameters`.
    std::string getFullMessage(bool withName);
    std::wstring getFullMessageW(bool withName);

    std::string name = "Exception";    ///< unqualified name of the failure class
    std::string message;               ///< narrow text, or empty
    std::wstring messageW;             ///< wide text, or empty
    ParamStream parameters;            ///< values for the "%" of the message
    std::list<std::string> locations;  ///< source tags, oldest first
    std::list<Exception> contained;    ///< failures that this one wraps or collects
};

/// Declares a failure class inside the class that raises it. It adds a type to catch and its name, no more.
#define MOVRIK_FAILURE(Failure)                                                                       \
    class Failure : public ::MovrikCorelib::Exception {                                               \
    public:                                                                                           \
        explicit Failure(const ::MovrikCorelib::Exception& base) : ::MovrikCorelib::Exception(base) { \
            name = #Failure;                                                                          \
        }                                                                                             \
    }

/// Where a throw site stands: filled in by the compiler when used as a default argument.
struct SourcePosition {
    const char* file;
    unsigned int line;

    static constexpr SourcePosition here(const char* file = __builtin_FILE(),
                                         unsigned int line = __builtin_LINE()) {
        return {file, line};
    }
};

/// The source tag of a position. Tags name the source file without its suffix.
std::string sourceTag(SourcePosition position = SourcePosition::here());

/// The one way to raise a failure: message, source tag of the caller, values for the placeholders.
template <class Failure, class Char>
[[noreturn]] void throwFailure(const Char* message, const ParamStream& parameters = ParamStream(),
                               SourcePosition position = SourcePosition::here()) {
    throw Failure(Exception(std::basic_string<Char>(message), sourceTag(position), parameters));
}

/// As above, with a message assembled at run time.
template <class Failure, class Char>
[[noreturn]] void throwFailure(const std::basic_string<Char>& message,
                               const ParamStream& parameters = ParamStream(),
                               SourcePosition position = SourcePosition::here()) {
    throw Failure(Exception(message, sourceTag(position), parameters));
}

/// A failure that bears only its class name and its source tag.
template <class Failure>
[[noreturn]] void throwFailure(SourcePosition position = SourcePosition::here()) {
    throw Failure(Exception(std::string(), sourceTag(position)));
}

/// A failure without a source tag.
template <class Failure>
[[noreturn]] void throwUntagged(const std::string& message, const ParamStream& parameters = ParamStream()) {
    throw Failure(Exception(message, parameters));
}

/// Passes a caught failure on as another one: no text, `cause` contained, source tag of the caller.
template <class Failure>
[[noreturn]] void throwWrapped(const Exception& cause, SourcePosition position = SourcePosition::here()) {
    throw Failure(Exception(sourceTag(position), cause));
}

}  // namespace MovrikCorelib
