#include "ObjectText.h"

#include <type_traits>

#include "StringTools.h"

namespace MovrikCorelib {

namespace {

using ElementDef = PrimitiveStream::ElementDef;

template <class Char>
std::basic_string<Char> to(const auto& text) {
    if constexpr (std::is_same_v<std::decay_t<decltype(text)>, std::basic_string<Char>>)
        return text;
    else
        return StringTools::convert(text);
}

template <class Char>
bool isWhite(Char c) {
    if constexpr (std::is_same_v<Char, wchar_t>)
        return StringTools::whitespaceW().find(c) != std::wstring::npos;
    else
        return StringTools::whitespace().find(c) != std::string::npos;
}

/// Whether a backslash keeps the white space ahead of it from being trimmed off the line. No escaped text
/// ends like that: a backslash of its own is doubled.
template <class Char>
bool isGuarded(const std::basic_string<Char>& value) {
    return value.size() > 1 && value.back() == '\\' && isWhite(value[value.size() - 2]);
}

/// The value of an element as it stands in the line, without the guard: never with a line feed, and such that
/// a parse gives the same element again. Only a wide text that would not survive that is escaped.
template <class Char>
std::basic_string<Char> lineValue(const ElementDef& element) {
    if (std::wstring text; element.get(text)) {
        std::wstring parsed = text;
        StringTools::unescape(parsed, L'n', L'\n', L'\\');
        if (parsed != text || text.find(L'\n') != text.npos || isGuarded(text))
            StringTools::escape(text, L'\n', L'n', L'\\');
        return to<Char>(text);
    }
    if (element.value.find('\n') == element.value.npos)
        return to<Char>(element.value);
    std::string text = element.value;
    element.get(text);
    StringTools::escape(text, '\n', 'n', '\\');
    return to<Char>(text);
}

}  // namespace

template <class Char>
auto ObjectText<Char>::textOf(const ObjectKey& key) -> String {
    if constexpr (std::is_same_v<Char, wchar_t>)
        return key.widened();
    else
        return key.narrow();
}

template <class Char>
auto ObjectText<Char>::attributeLine(const String& indent, const String& name, const ElementDef& element)
    -> String {
    String line = indent;
    line += name;
    (line += ' ') += '(';
    line += to<Char>(PrimitiveStream::mapElementType(element.type));
    (line += ')') += '=';
    line += lineValue<Char>(element);
    if (isWhite(line.back()))
        line += '\\';
    line += '\n';
    return line;
}

template <class Char>
void ObjectText<Char>::appendObject(String& text, unsigned int level, const ObjectKey& key,
                                    const ObjectNode* object) {
    if (!object)
        return;
    String indent(level, '\t');
    const auto appendLine = [&](const String& line) { ((text += indent) += line) += '\n'; };
    const auto enter = [&](const ObjectKey& name, const ObjectNode& entered) {
        appendLine(textOf(name));
        appendLine({'{'});
        indent += '\t';
        for (const auto& [attribute, element] : entered.attributes)
            text += attributeLine(indent, textOf(attribute), element);
    };
    const auto leave = [&] {
        indent.pop_back();
        appendLine({'}'});
    };
    walkObjects(key, *object, enter, leave);
}

template <class Char>
ElementDef ObjectText<Char>::parseElement(const String& tag, const String& value) {
    const String text = isGuarded(value) ? value.substr(0, value.size() - 1) : value;
    ElementDef element;
    element.type = PrimitiveStream::mapElementType(tag);
    if (element.type == PrimitiveStream::WStringElement)
        element.value = StringTools::encode(to<wchar_t>(text));
    else
        element.value = to<char>(text);
    return element;
}

template struct ObjectText<char>;
template struct ObjectText<wchar_t>;

}  // namespace MovrikCorelib
