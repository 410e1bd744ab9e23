#pragma once

#include <string>

namespace MovrikCorelib {

class DateTime;
class SharedString;

/// Base of all streams of typed values. Nothing here throws or locks; a stream belongs to one thread at a
/// time.
class PrimitiveStream {
public:
    /// The numbers are written into `StringStream` records and must not change.
    enum ElementType : unsigned int {
        BoolElement = 0,
        ByteElement = 1,      ///< one raw byte
        FourByteElement = 2,  ///< four raw bytes
        Int32Element = 3,
        UInt32Element = 4,
        Int64Element = 5,
        UInt64Element = 6,
        DoubleElement = 7,
        TimeElement = 8,
        StringElement = 9,
        WStringElement = 10,
        StreamElement = 11,  ///< the whole buffer of a nested `StringStream`
        CharElement = 12,
        WCharElement = 13,
        NoElement = 14
    };

    /// One typed value, held as text: numbers in decimal, bool as "1" or "0", characters as the number of
    /// their code, a time as its count of milliseconds. Strings have line feed and backslash escaped as
    /// "\n" and "\\"; wide ones are then stored raw, four bytes per character in host byte order.
    struct ElementDef {
        ElementType type = NoElement;
        std::string value;

        ElementDef() = default;
        ElementDef(bool v);
        ElementDef(char v);
        ElementDef(wchar_t v);
        ElementDef(int v);
        ElementDef(unsigned int v);
        ElementDef(long long v);
        ElementDef(unsigned long long v);
        ElementDef(double v);
        ElementDef(const DateTime& v);
        ElementDef(const std::string& v);
        ElementDef(std::wstring v);
        /// Narrow or wide, as the shared string is.
        ElementDef(const SharedString& v);
        /// Literals would otherwise become bool. Not null.
        ElementDef(const char* v) : ElementDef(std::string(v)) {}
        ElementDef(const wchar_t* v) : ElementDef(std::wstring(v)) {}

        /// False, and the target untouched, unless `type` is exactly the target's: nothing is converted.
        bool get(bool& v) const;
        bool get(char& v) const;
        bool get(wchar_t& v) const;
        bool get(int& v) const;
        bool get(unsigned int& v) const;
        bool get(long long& v) const;
        bool get(unsigned long long& v) const;
        bool get(double& v) const;
        /// Sets the count alone; the target keeps its zone.
        bool get(DateTime& v) const;
        bool get(std::string& v) const;
        bool get(std::wstring& v) const;
        /// Takes narrow and wide text. Narrow text arrives with its escapes: callers in the field undo them.
        bool get(SharedString& v) const;

        /// Text to show, for any type; empty for a nested stream and for no element. Times are GMT.
        std::string getAsString() const;
        std::wstring getAsWString() const;
    };

    virtual ~PrimitiveStream() = default;

    /// Takes the next value; false if there is none.
    virtual bool read(ElementDef& element) = 0;
    /// False if the stream refuses the value.
    virtual bool write(ElementDef& element) = 0;

    /// Applied to texts by `push` and undone by `pull`; here they leave the text as it is.
    virtual void escape(std::string& text);
    virtual void escape(std::wstring& text);
    virtual void unescape(std::string& text);
    virtual void unescape(std::wstring& text);

    /// Write a text through `escape`; the result is that of `write`.
    bool push(std::string text);
    bool push(std::wstring text);

    /// Read one value. False, and the target untouched, if there is none or it is of another type; a value
    /// of another type is consumed all the same.
    bool pull(bool& v);
    bool pull(char& v);
    bool pull(wchar_t& v);
    bool pull(int& v);
    bool pull(unsigned int& v);
    bool pull(long long& v);
    bool pull(unsigned long long& v);
    bool pull(double& v);
    bool pull(DateTime& v);
    bool pull(std::string& v);
    bool pull(std::wstring& v);
    bool pull(SharedString& v);

    /// The tag of a type, such as "int32"; empty for a type without one.
    static const std::string& mapElementType(ElementType type);
    static const std::wstring& mapElementTypeW(ElementType type);
    /// The type of a tag in any case; `NoElement` for an unknown one.
    static ElementType mapElementType(std::string tag);
    static ElementType mapElementType(std::wstring tag);
};

}  // namespace MovrikCorelib
