#include "ParamStream.h"

#include <string_view>
#include <utility>

namespace MovrikCorelib {

namespace {

/// The text of a value in the width of the target.
void appendText(std::string& text, const PrimitiveStream::ElementDef& element) {
    text += element.getAsString();
}

void appendText(std::wstring& text, const PrimitiveStream::ElementDef& element) {
    text += element.getAsWString();
}

}  // namespace

ParamStream::ParamStream(ParamStream&& other) noexcept
    : elements(std::move(other.elements)), cursor(elements.begin()) {
    other.elements.clear();
    other.cursor = other.elements.begin();
}

ParamStream& ParamStream::operator=(const ParamStream& other) {
    elements = other.elements;
    cursor = elements.begin();
    return *this;
}

ParamStream& ParamStream::operator=(ParamStream&& other) noexcept {
    elements.swap(other.elements);
    cursor = elements.begin();
    other.cursor = other.elements.begin();
    return *this;
}

void ParamStream::concatenate(const ParamStream& other) {
    std::list<ElementDef> copy(other.elements);
    elements.splice(elements.end(), copy);
}

template <class Char>
std::basic_string<Char> ParamStream::fill(const std::basic_string<Char>& text) {
    if (elements.empty())
        return text;
    cursor = elements.begin();
    static constexpr Char Special[] = {'%', '\\'};
    const std::basic_string_view<Char> source(text);
    std::basic_string<Char> result;
    result.reserve(source.size() + 16 * elements.size());
    unsigned long position = 0;
    while (true) {
        const unsigned long next = source.find_first_of(Special, position, 2);
        result += source.substr(position, next - position);
        if (next == source.npos)
            return result;
        position = next + 1;
        if (source[next] == '\\') {
            result += source.substr(next, 2);
            if (++position > source.size())
                return result;
            // A pair takes a parameter too: message texts in the field are written for that.
        }
        ElementDef element;
        if (read(element))
            appendText(result, element);
    }
}

std::string ParamStream::format(const std::string& text) {
    return fill(text);
}

std::wstring ParamStream::format(const std::wstring& text) {
    return fill(text);
}

std::string ParamStream::getNext() {
    ElementDef element;
    return read(element) ? element.getAsString() : std::string();
}

std::wstring ParamStream::getNextW() {
    ElementDef element;
    return read(element) ? element.getAsWString() : std::wstring();
}

bool ParamStream::read(ElementDef& element) {
    if (cursor == elements.end())
        return false;
    element = *cursor++;
    return true;
}

bool ParamStream::write(ElementDef& element) {
    if (!accepts(element))
        return false;
    elements.push_back(element);
    if (elements.size() == 1)
        cursor = elements.begin();
    return true;
}

}  // namespace MovrikCorelib
