#pragma once

#include <list>
#include <string>

#include "StreamBase.h"

namespace MovrikCorelib {

/// Ordered list of values in memory, which fills the "%" of a text: `(ParamStream() << 7).format("a%")` is
/// "a7". Reading goes from first to last and leaves the list as it is; a copy is read from its beginning.
class ParamStream : public StreamBase {
public:
    ParamStream() : cursor(elements.begin()) {}
    ParamStream(const ParamStream& other) : elements(other.elements), cursor(elements.begin()) {}
    ParamStream(ParamStream&& other) noexcept;
    ParamStream& operator=(const ParamStream& other);
    ParamStream& operator=(ParamStream&& other) noexcept;

    MOVRIK_STREAM_OPERATORS(ParamStream)

    /// Appends copies of the other's values; the place of reading stays, so what is appended to an empty or
    /// fully read stream is first seen after `format`.
    void concatenate(const ParamStream& other);

    /// Replaces each "%" of the text by the next value, starting from the first. Surplus "%" vanish, surplus
    /// values stay for `getNext`. Letters behind a "%" mean nothing, and inserted text is not scanned again.
    /// With no values at all the text is returned unchanged.
    std::string format(const std::string& text);
    std::wstring format(const std::wstring& text);

    /// The next value as text; empty if there is none.
    std::string getNext();
    std::wstring getNextW();

    bool read(ElementDef& element) override;
    /// Refuses `NoElement`, and an empty value unless it is a string.
    bool write(ElementDef& element) override;

private:
    template <class Char>
    std::basic_string<Char> fill(const std::basic_string<Char>& text);

    std::list<ElementDef> elements;
    std::list<ElementDef>::iterator cursor;  ///< next to read
};

}  // namespace MovrikCorelib
