#pragma once

#include <set>
#include <string>
#include <type_traits>

#include "Exception.h"
#include "ObjectNode.h"
#include "PrimitiveStream.h"
#include "SmartPointer.h"

namespace MovrikCorelib {

/// A tree of named objects with typed attributes, held as lines of text:
///
///     host
///     {
///     	name (string)=alpha
///     	limits
///     	{
///     		max (uint64)=10
///     	}
///     }
///
/// White space around a line, empty lines and lines that begin with "#" mean nothing. A value comes back
/// whole, but for wide characters that the locale cannot write in a narrow text: a line feed in it is written
/// as "\n" and a backslash as two (in a "wstring" only where it would be misread), and one that ends in white
/// space gets a single backslash behind it, which reading takes off again. Names stand as they are: one that
/// is empty, a bracket, begins with "#", has white space at an end or a line feed in it, an object's with "="
/// or an attribute's with "(" cannot be read back. Trees may be nested to any depth.
///
/// Deriving classes say where the text lies. A stream belongs to one thread at a time. Failures while
/// writing, reading and parsing are thrown; after a failed parse the stream cannot be read.
class ObjectStream : public PrimitiveStream {
public:
    MOVRIK_FAILURE(Write_OutOfMemory);
    MOVRIK_FAILURE(Write_ObjectNotStarted);
    MOVRIK_FAILURE(AddStream_CannotReadFromStream);
    MOVRIK_FAILURE(Read_ReadingNotAllowed);
    MOVRIK_FAILURE(Read_StreamEmpty);
    MOVRIK_FAILURE(Read_MissingObjects);
    MOVRIK_FAILURE(Read_ObjectNotFound);
    MOVRIK_FAILURE(Read_ObjectNotEntered);
    MOVRIK_FAILURE(Read_AttributeNotFound);
    MOVRIK_FAILURE(Parse_MissingOpenBracket);
    MOVRIK_FAILURE(Parse_PrematureEndOfStream);
    MOVRIK_FAILURE(Parse_MissingOpenParenthesis);
    MOVRIK_FAILURE(Parse_MissingCloseParenthesis);

    using Key = ObjectKey;
    /// A line of text.
    using String = ObjectKey;
    using Object = ObjectNode;

    /// The state of one parse. The form of `lineEnd` is the form of the text.
    struct ParserDef {
        unsigned long position = 0;  ///< in characters
        unsigned long line = 0;      ///< number of the last line read, from 1
        Key lineEnd;
        Key openParenthesis;
        Key closeParenthesis;
        Key openBracket;
        Key closeBracket;
        Key assignment;
    };

    ObjectStream() = default;
    ObjectStream(const ObjectStream&) = delete;
    ObjectStream& operator=(const ObjectStream&) = delete;

    /// Do nothing and give false: this stream is driven by name.
    bool read(ElementDef& element) override;
    bool write(ElementDef& element) override;

    /// "=" becomes "\?", a line feed "\n" and a backslash two of them. For `push` and `pull` of a stream that
    /// has places for unnamed values, on top of the escapes above. Attributes go without: "\?" in the value
    /// of one is these two characters, and "=" needs no escape.
    void escape(std::string& text) override;
    void escape(std::wstring& text) override;
    void unescape(std::string& text) override;
    void unescape(std::wstring& text) override;

    /// Copies the objects at the top of another stream into the object being written. The other one must be
    /// ready for reading, otherwise `AddStream_CannotReadFromStream`.
    virtual void addStream(ObjectStream& other);
    /// Write the tree to where the text lies, and read it from there; see the deriving classes.
    virtual void saveStream() = 0;
    virtual void loadStream() = 0;
    /// Sets `line` to the next line that means something, trimmed; false if there is none.
    virtual bool getNextLine(ParserDef& parser, String& line) = 0;

    /// Writing. An object that has been started takes attributes and sub-objects until it is ended. One of
    /// the same name takes the place of an older one. The `endObject` behind that of the last top-level
    /// object saves the tree; from then on the stream is ready for reading, as far as its text can be read
    /// back. Without a started object: `Write_ObjectNotStarted`.
    void startObject(const Key& key);
    void setAttribute(const Key& key, const ElementDef& element);
    void setSubObject(const Key& key, const SmartPointer<Object>& object);
    void endObject();

    /// Reading. Each of these first loads a stream that is new. All throw `Read_ReadingNotAllowed` while the
    /// stream is being written or parsed and `Read_StreamEmpty` if there are no objects at all.
    ///
    /// Names of the objects inside the one that was entered last, or at the top.
    std::set<Key> getObjects();
    bool haveObject(const Key& key);
    /// `names` is a list separated by ","; throws `Read_MissingObjects` with those that are not there.
    void verifyObjects(const String& names);
    /// Throws `Read_ObjectNotFound`.
    void enterObject(const Key& key);
    /// Back to the object around. Leaving the top drops the tree; then, or if nothing was ever entered,
    /// `Read_ObjectNotEntered`.
    void leaveObject();
    /// Throws `Read_ObjectNotEntered`.
    std::set<Key> getAttributes();
    /// These are false if no object is entered; the forms with a type also if the attribute is of another
    /// one.
    bool haveAttribute(const Key& key);
    bool haveBoolAttribute(const Key& key) { return haveTyped(key, BoolElement); }
    bool haveCharAttribute(const Key& key) { return haveTyped(key, CharElement); }
    bool haveWCharAttribute(const Key& key) { return haveTyped(key, WCharElement); }
    bool haveInt32Attribute(const Key& key) { return haveTyped(key, Int32Element); }
    bool haveUInt32Attribute(const Key& key) { return haveTyped(key, UInt32Element); }
    bool haveInt64Attribute(const Key& key) { return haveTyped(key, Int64Element); }
    bool haveUInt64Attribute(const Key& key) { return haveTyped(key, UInt64Element); }
    bool haveDoubleAttribute(const Key& key) { return haveTyped(key, DoubleElement); }
    bool haveTimeAttribute(const Key& key) { return haveTyped(key, TimeElement); }
    bool haveStringAttribute(const Key& key) { return haveTyped(key, StringElement); }
    bool haveWStringAttribute(const Key& key) { return haveTyped(key, WStringElement); }
    /// Throws `Read_ObjectNotEntered` or `Read_AttributeNotFound`.
    ElementDef getAttribute(const Key& key);
    /// The value, or `fallback` if the attribute is missing or of another type. For the types of
    /// `ElementDef::get`.
    template <class T>
    void getAttribute(const Key& key, T& value, const std::type_identity_t<T>& fallback) {
        const ElementDef* element = findAttribute(key);
        if (!element || !element->get(value))
            value = fallback;
    }

    /// The text of the whole tree.
    std::string getStringFormat();
    std::wstring getWStringFormat();
    /// Append the text of one object, indented by `level` tabs.
    void toStream(std::string& text, unsigned int level, const Key& key, const SmartPointer<Object>& object);
    void toStream(std::wstring& text, unsigned int level, const Key& key, const SmartPointer<Object>& object);
    /// The line of one attribute, line feed included.
    std::string formatAttribute(const std::string& indent, const std::string& name,
                                const ElementDef& element);
    std::wstring formatAttribute(const std::wstring& indent, const std::wstring& name,
                                 const ElementDef& element);

    /// Replace the tree by what `getNextLine` delivers, as narrow or wide text. `loadStream` calls them and
    /// sets `state` to `Ready` afterwards. Throw the failures of parsing, with the number of the line.
    void parseDefault();
    void parseDefaultW();

protected:
    enum State { Untouched = 0, Writing = 1, Parsing = 2, Ready = 3 };
    enum TextForm { Undecided = 0, WideText = 1, NarrowText = 2 };

    void parseDefault(ParserDef& parser);

    /// Drops the tree.
    void clear();
    /// Whether there is a tree, read or being written.
    bool holdsTree() const { return root.get() != nullptr; }
    /// Trim a line; false if it means nothing.
    static bool tidyLine(std::string& line);
    static bool tidyLine(std::wstring& line);

    State state = Untouched;
    TextForm textForm = Undecided;  ///< form of the first key of the tree
    bool unsaved = false;           ///< the tree holds what has not been saved

private:
    template <class Char>
    void parseText(ParserDef& parser);
    template <class Char>
    void parseObject(ParserDef& parser, String& line);
    template <class Char>
    void extractAttribute(const ParserDef& parser, const String& line);
    void expectOpenBracket(ParserDef& parser);
    template <class Char>
    std::basic_string<Char> wholeText();

    void addObjectToStream(const Key& key, const Object& object);
    void prepareReading();
    Object& place();
    Object* entered() const;
    Object& writable();
    const ElementDef* findAttribute(const Key& key);
    bool haveTyped(const Key& key, ElementType type);

    SmartPointer<Object> root;
    Object* current = nullptr;  ///< being written or entered; null: none
    bool saved = false;         ///< a written tree was saved and can be loaded again
};

}  // namespace MovrikCorelib
