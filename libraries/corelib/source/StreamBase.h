#pragma once

#include <string>

#include "PrimitiveStream.h"

namespace MovrikCorelib {

/// The operators of a stream. They drop the results of `write` and `pull`: a refused value passes silently,
/// a failed read leaves the target as it was.
class StreamBase : public PrimitiveStream {
public:
    virtual StreamBase& operator<<(bool v);
    virtual StreamBase& operator<<(char v);
    virtual StreamBase& operator<<(wchar_t v);
    virtual StreamBase& operator<<(int v);
    virtual StreamBase& operator<<(unsigned int v);
    virtual StreamBase& operator<<(long long v);
    virtual StreamBase& operator<<(unsigned long long v);
    virtual StreamBase& operator<<(double v);
    /// These two and the shared string skip `escape`, unlike the strings below: field data rely on it.
    /// Not null.
    virtual StreamBase& operator<<(const char* v);
    virtual StreamBase& operator<<(const wchar_t* v);
    virtual StreamBase& operator<<(const std::string& v);
    virtual StreamBase& operator<<(const std::wstring& v);
    virtual StreamBase& operator<<(const SharedString& v);

    virtual StreamBase& operator>>(bool& v);
    virtual StreamBase& operator>>(char& v);
    virtual StreamBase& operator>>(wchar_t& v);
    virtual StreamBase& operator>>(int& v);
    virtual StreamBase& operator>>(unsigned int& v);
    virtual StreamBase& operator>>(long long& v);
    virtual StreamBase& operator>>(unsigned long long& v);
    virtual StreamBase& operator>>(double& v);
    virtual StreamBase& operator>>(std::string& v);
    virtual StreamBase& operator>>(std::wstring& v);
    virtual StreamBase& operator>>(SharedString& v);

    /// A long is an "int64" or "uint64" element, a `DateTime` a "time" element.
    StreamBase& operator<<(long v) { return *this << static_cast<long long>(v); }
    StreamBase& operator<<(unsigned long v) { return *this << static_cast<unsigned long long>(v); }
    StreamBase& operator<<(const DateTime& v);

protected:
    /// What a list of values takes: a type below `NoElement`, and no empty value but that of a string.
    static bool accepts(const ElementDef& element) {
        return element.type < NoElement &&
               (!element.value.empty() || element.type == StringElement || element.type == WStringElement);
    }

private:
    StreamBase& put(ElementDef element);
};

/// Overrides every operator of `StreamBase` in `Stream`, to return a `Stream&`: a chain keeps its type.
#define MOVRIK_STREAM_OPERATOR(Stream, Operator, Type, Override) \
    Stream& operator Operator(Type v) Override {                 \
        StreamBase::operator Operator(v);                        \
        return *this;                                            \
    }
#define MOVRIK_STREAM_OPERATORS(Stream)                               \
    MOVRIK_STREAM_OPERATOR(Stream, <<, bool, override)                \
    MOVRIK_STREAM_OPERATOR(Stream, <<, char, override)                \
    MOVRIK_STREAM_OPERATOR(Stream, <<, wchar_t, override)             \
    MOVRIK_STREAM_OPERATOR(Stream, <<, int, override)                 \
    MOVRIK_STREAM_OPERATOR(Stream, <<, unsigned int, override)        \
    MOVRIK_STREAM_OPERATOR(Stream, <<, long long, override)           \
    MOVRIK_STREAM_OPERATOR(Stream, <<, unsigned long long, override)  \
    MOVRIK_STREAM_OPERATOR(Stream, <<, double, override)              \
    MOVRIK_STREAM_OPERATOR(Stream, <<, const char*, override)         \
    MOVRIK_STREAM_OPERATOR(Stream, <<, const wchar_t*, override)      \
    MOVRIK_STREAM_OPERATOR(Stream, <<, const std::string&, override)  \
    MOVRIK_STREAM_OPERATOR(Stream, <<, const std::wstring&, override) \
    MOVRIK_STREAM_OPERATOR(Stream, <<, const SharedString&, override) \
    MOVRIK_STREAM_OPERATOR(Stream, >>, bool&, override)               \
    MOVRIK_STREAM_OPERATOR(Stream, >>, char&, override)               \
    MOVRIK_STREAM_OPERATOR(Stream, >>, wchar_t&, override)            \
    MOVRIK_STREAM_OPERATOR(Stream, >>, int&, override)                \
    MOVRIK_STREAM_OPERATOR(Stream, >>, unsigned int&, override)       \
    MOVRIK_STREAM_OPERATOR(Stream, >>, long long&, override)          \
    MOVRIK_STREAM_OPERATOR(Stream, >>, unsigned long long&, override) \
    MOVRIK_STREAM_OPERATOR(Stream, >>, double&, override)             \
    MOVRIK_STREAM_OPERATOR(Stream, >>, std::string&, override)        \
    MOVRIK_STREAM_OPERATOR(Stream, >>, std::wstring&, override)       \
    MOVRIK_STREAM_OPERATOR(Stream, >>, SharedString&, override)       \
    MOVRIK_STREAM_OPERATOR(Stream, <<, long, )                        \
    MOVRIK_STREAM_OPERATOR(Stream, <<, unsigned long, )               \
    MOVRIK_STREAM_OPERATOR(Stream, <<, const DateTime&, )

}  // namespace MovrikCorelib
