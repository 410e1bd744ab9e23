#include "PrimitiveStream.h"

#include <array>
#include <map>
#include <utility>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "SharedString.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr unsigned int TypeCount = PrimitiveStream::NoElement;

constexpr std::array<const char*, TypeCount> Tags = {"bool",    "",       "",       "int32", "uint32",
                                                     "int64",   "uint64", "double", "time",  "string",
                                                     "wstring", "",       "char",   "wchar"};

template <class Char>
std::map<PrimitiveStream::ElementType, std::basic_string<Char>> makeTags() {
    std::map<PrimitiveStream::ElementType, std::basic_string<Char>> tags;
    for (unsigned int type = 0; type < TypeCount; ++type) {
        const std::string_view tag = Tags[type];
        if (!tag.empty())
            tags.emplace(static_cast<PrimitiveStream::ElementType>(type),
                         std::basic_string<Char>(tag.begin(), tag.end()));
    }
    return tags;
}

template <class Char>
const std::basic_string<Char>& tagOf(PrimitiveStream::ElementType type) {
    static const auto tags = makeTags<Char>();
    static const std::basic_string<Char> none;
    const auto found = tags.find(type);
    return found == tags.end() ? none : found->second;
}

template <class Char>
PrimitiveStream::ElementType typeOf(std::basic_string<Char>& tag) {
    static const auto types = [] {
        std::map<std::basic_string<Char>, PrimitiveStream::ElementType> result;
        for (const auto& [type, text] : makeTags<Char>())
            result.emplace(text, type);
        return result;
    }();
    const auto found = types.find(StringTools::lower(tag));
    return found == types.end() ? PrimitiveStream::NoElement : found->second;
}

template <class Value>
bool pullValue(PrimitiveStream& stream, Value& v) {
    PrimitiveStream::ElementDef element;
    return stream.read(element) && element.get(v);
}

template <class Text>
bool pullText(PrimitiveStream& stream, Text& v) {
    if (!pullValue(stream, v))
        return false;
    stream.unescape(v);
    return true;
}

template <class Text>
bool pushText(PrimitiveStream& stream, Text& text) {
    stream.escape(text);
    PrimitiveStream::ElementDef element(std::move(text));
    return stream.write(element);
}

bool isFalse(const std::string& value) {
    return value.empty() || value == "0";
}

}  // namespace

PrimitiveStream::ElementDef::ElementDef(bool v) : type(BoolElement), value(StringTools::toString(v)) {}

PrimitiveStream::ElementDef::ElementDef(char v)
    : type(CharElement), value(StringTools::toString(static_cast<short>(v))) {}

PrimitiveStream::ElementDef::ElementDef(wchar_t v)
    : type(WCharElement), value(StringTools::toString(static_cast<int>(v))) {}

PrimitiveStream::ElementDef::ElementDef(int v) : type(Int32Element), value(StringTools::toString(v)) {}

PrimitiveStream::ElementDef::ElementDef(unsigned int v)
    : type(UInt32Element), value(StringTools::toString(v)) {}

PrimitiveStream::ElementDef::ElementDef(long long v) : type(Int64Element), value(StringTools::toString(v)) {}

PrimitiveStream::ElementDef::ElementDef(unsigned long long v)
    : type(UInt64Element), value(StringTools::toString(v)) {}

PrimitiveStream::ElementDef::ElementDef(double v) : type(DoubleElement), value(StringTools::toString(v)) {}

PrimitiveStream::ElementDef::ElementDef(const DateTime& v)
    : type(TimeElement), value(StringTools::toString(v())) {}

PrimitiveStream::ElementDef::ElementDef(const std::string& v) : type(StringElement), value(v) {
    StringTools::escape(value, '\n', 'n', '\\');
}

PrimitiveStream::ElementDef::ElementDef(std::wstring v) : type(WStringElement) {
    StringTools::escape(v, L'\n', L'n', L'\\');
    value = StringTools::encode(v);
}

PrimitiveStream::ElementDef::ElementDef(const SharedString& v)
    : ElementDef(v.isWide() ? ElementDef(v.getW()) : ElementDef(v.get())) {}

bool PrimitiveStream::ElementDef::get(bool& v) const {
    if (type != BoolElement)
        return false;
    v = StringTools::toBool(value);
    return true;
}

bool PrimitiveStream::ElementDef::get(char& v) const {
    if (type != CharElement)
        return false;
    v = static_cast<char>(StringTools::toInt16(value));
    return true;
}

bool PrimitiveStream::ElementDef::get(wchar_t& v) const {
    if (type != WCharElement)
        return false;
    v = StringTools::toInt32(value);
    return true;
}

bool PrimitiveStream::ElementDef::get(int& v) const {
    if (type != Int32Element)
        return false;
    v = StringTools::toInt32(value);
    return true;
}

bool PrimitiveStream::ElementDef::get(unsigned int& v) const {
    if (type != UInt32Element)
        return false;
    v = StringTools::toUInt32(value);
    return true;
}

bool PrimitiveStream::ElementDef::get(long long& v) const {
    if (type != Int64Element)
        return false;
    v = StringTools::toInt64(value);
    return true;
}

bool PrimitiveStream::ElementDef::get(unsigned long long& v) const {
    if (type != UInt64Element)
        return false;
    v = StringTools::toUInt64(value);
    return true;
}

bool PrimitiveStream::ElementDef::get(double& v) const {
    if (type != DoubleElement)
        return false;
    v = StringTools::toDouble(value);
    return true;
}

bool PrimitiveStream::ElementDef::get(DateTime& v) const {
    if (type != TimeElement)
        return false;
    v.set(static_cast<unsigned long long>(StringTools::toUInt64(value)));
    return true;
}

bool PrimitiveStream::ElementDef::get(std::string& v) const {
    if (type != StringElement)
        return false;
    v = value;
    StringTools::unescape(v, 'n', '\n', '\\');
    return true;
}

bool PrimitiveStream::ElementDef::get(std::wstring& v) const {
    if (type != WStringElement)
        return false;
    v = StringTools::decode(value);
    StringTools::unescape(v, L'n', L'\n', L'\\');
    return true;
}

bool PrimitiveStream::ElementDef::get(SharedString& v) const {
    if (type == StringElement) {
        v.set(value);
        return true;
    }
    std::wstring text;
    if (!get(text))
        return false;
    v.set(text);
    return true;
}

std::string PrimitiveStream::ElementDef::getAsString() const {
    std::string text;
    std::wstring wideText;
    switch (type) {
        case BoolElement:
            return isFalse(value) ? "false" : "true";
        case TimeElement:
            return DateTimeDetails(static_cast<unsigned long long>(StringTools::toUInt64(value)))
                .getString(true, false, false);
        case StringElement:
            get(text);
            return text;
        case WStringElement:
            get(wideText);
            return StringTools::convert(wideText);
        case CharElement:
            return std::string(1, static_cast<char>(StringTools::toInt16(value)));
        case WCharElement:
            return std::string(1, StringTools::convert(static_cast<wchar_t>(StringTools::toInt32(value))));
        case StreamElement:
            return text;
        default:
            return type < NoElement ? value : text;
    }
}

std::wstring PrimitiveStream::ElementDef::getAsWString() const {
    std::wstring text;
    switch (type) {
        case BoolElement:
            return isFalse(value) ? L"false" : L"true";
        case WStringElement:
            get(text);
            return text;
        case CharElement:
            return std::wstring(1, StringTools::convert(static_cast<char>(StringTools::toInt16(value))));
        case WCharElement:
            return std::wstring(1, static_cast<wchar_t>(StringTools::toInt32(value)));
        default:
            return StringTools::convert(getAsString());
    }
}

void PrimitiveStream::escape(std::string&) {}

void PrimitiveStream::escape(std::wstring&) {}

void PrimitiveStream::unescape(std::string&) {}

void PrimitiveStream::unescape(std::wstring&) {}

bool PrimitiveStream::push(std::string text) {
    return pushText(*this, text);
}

bool PrimitiveStream::push(std::wstring text) {
    return pushText(*this, text);
}

bool PrimitiveStream::pull(bool& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(char& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(wchar_t& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(int& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(unsigned int& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(long long& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(unsigned long long& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(double& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(DateTime& v) {
    return pullValue(*this, v);
}

bool PrimitiveStream::pull(std::string& v) {
    return pullText(*this, v);
}

bool PrimitiveStream::pull(std::wstring& v) {
    return pullText(*this, v);
}

bool PrimitiveStream::pull(SharedString& v) {
    ElementDef element;
    if (!read(element))
        return false;
    if (element.type == StringElement) {
        unescape(element.value);
        return element.get(v);
    }
    std::wstring text;
    if (!element.get(text))
        return false;
    unescape(text);
    v.set(text);
    return true;
}

const std::string& PrimitiveStream::mapElementType(ElementType type) {
    return tagOf<char>(type);
}

const std::wstring& PrimitiveStream::mapElementTypeW(ElementType type) {
    return tagOf<wchar_t>(type);
}

PrimitiveStream::ElementType PrimitiveStream::mapElementType(std::string tag) {
    return typeOf(tag);
}

PrimitiveStream::ElementType PrimitiveStream::mapElementType(std::wstring tag) {
    return typeOf(tag);
}

}  // namespace MovrikCorelib
