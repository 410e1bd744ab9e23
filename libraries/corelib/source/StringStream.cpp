#include "StringStream.h"

#include <utility>

#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr char Terminator = 0x1E;
constexpr char TerminatorSubstitute = 0x1F;
constexpr char EscapeByte = 0x5C;

char addToByte(char byte, int amount) {
    return static_cast<char>(static_cast<unsigned char>(byte + amount));
}

/// The binary forms keep a terminator among their bytes out of the record by adding 1 to it and telling so
/// in a flag byte behind them.
bool encodeByte(std::string& value) {
    if (value.size() != 1)
        return false;
    const bool changed = value[0] == Terminator;
    if (changed)
        value[0] = TerminatorSubstitute;
    value += changed ? '\1' : '\0';
    return true;
}

bool decodeByte(std::string& value) {
    if (value.size() != 2)
        return false;
    if (value[1] & 1)
        value[0] = addToByte(value[0], -1);
    value.resize(1);
    return true;
}

bool encodeFourBytes(std::string& value) {
    if (value.size() != 4)
        return false;
    int flag = 0;
    for (unsigned int i = 0; i < 4; ++i) {
        if (value[i] == Terminator) {
            value[i] = TerminatorSubstitute;
            flag |= static_cast<int>(i) + 1;
        }
    }
    value += static_cast<char>(flag);
    return true;
}

/// The flag holds numbers and not bits, so several changed bytes blur: streams in the field are read so.
bool decodeFourBytes(std::string& value) {
    if (value.size() != 5)
        return false;
    for (unsigned int i = 0; i < 4; ++i) {
        if ((i + 1) & static_cast<unsigned char>(value[4]))
            value[i] = addToByte(value[i], -1);
    }
    value.resize(4);
    return true;
}

}  // namespace

StringStream& StringStream::operator<<(const StringStream& other) {
    pushStrm(other);
    return *this;
}

StringStream& StringStream::operator>>(StringStream& other) {
    pullStrm(other);
    return *this;
}

bool StringStream::setStream(const std::string& bytes) {
    buffer = bytes;
    position = 0;
    return true;
}

bool StringStream::pushStrm(StringStream other) {
    ElementDef element;
    element.type = StreamElement;
    element.value = std::move(other.buffer);
    return write(element);
}

bool StringStream::pullStrm(StringStream& other) {
    ElementDef element;
    if (!read(element) || element.type != StreamElement)
        return false;
    other.buffer = std::move(element.value);
    other.position = 0;
    return true;
}

bool StringStream::read(ElementDef& element) {
    if (position >= buffer.size())
        return false;
    const auto tag = static_cast<unsigned char>(buffer[position]);
    if (tag >= NoElement)
        return false;
    ++position;
    const unsigned long end = buffer.find(Terminator, position);
    if (end == buffer.npos)
        return false;
    element.type = static_cast<ElementType>(tag);
    element.value.assign(buffer, position, end - position);
    position = end + 1;
    switch (element.type) {
        case ByteElement:
            return decodeByte(element.value);
        case FourByteElement:
            return decodeFourBytes(element.value);
        case StringElement:
        case WStringElement:
        case StreamElement:
            StringTools::unescape(element.value, TerminatorSubstitute, Terminator, EscapeByte);
            return true;
        default:
            return true;
    }
}

bool StringStream::write(ElementDef& element) {
    if (!accepts(element))
        return false;
    buffer += static_cast<char>(element.type);
    if (element.type == FourByteElement && element.value.size() < 4)
        element.value.resize(4, '\0');
    std::string value = element.value;
    switch (element.type) {
        case ByteElement:
            if (!encodeByte(value))
                return false;
            break;
        case FourByteElement:
            if (!encodeFourBytes(value))
                return false;
            break;
        case StringElement:
        case WStringElement:
        case StreamElement:
            StringTools::escape(value, Terminator, TerminatorSubstitute, EscapeByte);
            break;
        default:
            break;
    }
    (buffer += value) += Terminator;
    return true;
}

}  // namespace MovrikCorelib
