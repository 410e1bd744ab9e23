#pragma once

#include <string>

#include "StreamBase.h"

namespace MovrikCorelib {

/// Values as bytes: a record is the number of the type, the value and a terminator 0x1E. Streams nest.
class StringStream : public StreamBase {
public:
    StringStream() = default;

    MOVRIK_STREAM_OPERATORS(StringStream)
    /// As `pushStrm` and `pullStrm`, without their result.
    virtual StringStream& operator<<(const StringStream& other);
    virtual StringStream& operator>>(StringStream& other);

    /// Replaces all records; reading starts at the first. Always true.
    bool setStream(const std::string& bytes);
    /// All records, whatever has been read.
    const std::string& getStream() const { return buffer; }

    /// Writes all records of another stream as one value; false if it has none.
    bool pushStrm(StringStream other);
    /// Reads one value. If it is a stream, the target holds its records, to be read from the first;
    /// otherwise false, and the target is untouched.
    bool pullStrm(StringStream& other);

    /// False at the end, at an unknown type, at a record without its end and at a raw value of a wrong size.
    bool read(ElementDef& element) override;
    /// Refuses what `ParamStream::write` refuses. A raw value of a wrong size is refused with its type
    /// already written; one of less than four bytes is padded with zeros, in `element` too.
    bool write(ElementDef& element) override;

private:
    std::string buffer;
    unsigned long long position = 0;
};

}  // namespace MovrikCorelib
