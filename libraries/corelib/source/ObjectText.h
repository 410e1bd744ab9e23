#pragma once

#include <string>

#include "ObjectNode.h"
#include "PrimitiveStream.h"

namespace MovrikCorelib {

/// The text form of objects, in one character type; `ObjectStream` tells what it looks like.
template <class Char>
struct ObjectText {
    using String = std::basic_string<Char>;

    static String textOf(const ObjectKey& key);
    /// Ends in a line feed, and holds no other.
    static String attributeLine(const String& indent, const String& name,
                                const PrimitiveStream::ElementDef& element);
    /// Appends an object with all in it, indented by `level` tabs; a null pointer adds nothing.
    static void appendObject(String& text, unsigned int level, const ObjectKey& key,
                             const ObjectNode* object);
    /// The element of a tag and a value, both as they stand in a line.
    static PrimitiveStream::ElementDef parseElement(const String& tag, const String& value);
};

extern template struct ObjectText<char>;
extern template struct ObjectText<wchar_t>;

}  // namespace MovrikCorelib
