#include "StringObjectStream.h"

#include <algorithm>

namespace MovrikCorelib {

namespace {

/// The lines of one text, beginning at the position of the parser.
template <class Text>
bool nextLine(ObjectStream::ParserDef& parser, const Text& text, const Text& lineEnd, Text& line) {
    if (parser.position >= text.size())
        return false;
    const unsigned long end = std::min<unsigned long>(text.find(lineEnd, parser.position), text.size());
    line = text.substr(parser.position, end - parser.position);
    parser.position = end < text.size() ? end + lineEnd.size() : end;
    ++parser.line;
    return true;
}

}  // namespace

template <class Text>
void StringObjectStream::store(const Text& newText) {
    clear();
    text = String(newText);
    state = Untouched;
}

void StringObjectStream::setStream(const std::string& newText) {
    store(newText);
}

void StringObjectStream::setStream(const std::wstring& newText) {
    store(newText);
}

void StringObjectStream::requireReady() const {
    if (state != Ready)
        throwFailure<GetStream_StreamNotReady>("GetStream_StreamNotReady");
}

std::string StringObjectStream::getStream() const {
    requireReady();
    return text.narrow();
}

std::wstring StringObjectStream::getWStream() const {
    requireReady();
    return text.widened();
}

void StringObjectStream::saveStream() {
    text = textForm == WideText ? String(getWStringFormat()) : String(getStringFormat());
}

void StringObjectStream::loadStream() {
    if (text.wide)
        parseDefaultW();
    else
        parseDefault();
    state = Ready;
}

bool StringObjectStream::getNextLine(ParserDef& parser, String& line) {
    line.wide = text.wide;
    if (text.wide) {
        while (nextLine(parser, text.nameW, parser.lineEnd.widened(), line.nameW)) {
            if (tidyLine(line.nameW))
                return true;
        }
    } else {
        while (nextLine(parser, text.name, parser.lineEnd.narrow(), line.name)) {
            if (tidyLine(line.name))
                return true;
        }
    }
    return false;
}

}  // namespace MovrikCorelib
