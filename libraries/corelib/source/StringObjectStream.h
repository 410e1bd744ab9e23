#pragma once

#include <string>

#include "ObjectStream.h"

namespace MovrikCorelib {

/// An object stream whose text is a string in memory.
class StringObjectStream : public ObjectStream {
public:
    MOVRIK_FAILURE(GetStream_StreamNotReady);

    /// Replace the text; the next read loads it. A tree that was not saved is dropped.
    void setStream(const std::string& newText);
    void setStream(const std::wstring& newText);

    /// The text, converted if it is of the other form. Throws `GetStream_StreamNotReady` unless the stream
    /// has been saved or loaded.
    std::string getStream() const;
    std::wstring getWStream() const;

    void saveStream() override;
    void loadStream() override;
    bool getNextLine(ParserDef& parser, String& line) override;

private:
    template <class Text>
    void store(const Text& newText);
    void requireReady() const;

    String text;
};

}  // namespace MovrikCorelib
