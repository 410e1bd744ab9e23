#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace MovrikCorelib {

/// What the kinds of file have in common: the name, the line numbers, the rules for opening and the wide
/// forms. Used through `File`, or as `BasicFile` or `ZFile` when the kind is known beforehand.
///
/// Every operation reports by its result: false, 0 or null on failure, never an exception. A handle belongs
/// to one thread at a time. Wide text stands on disk in 16-bit units, low byte first; names are converted by
/// `StringTools::convert`.
class FileKind {
public:
    FileKind() = default;
    FileKind(const FileKind&) = delete;
    FileKind& operator=(const FileKind&) = delete;
    virtual ~FileKind() = default;

    /// For the next open; a file that is open stays open. Always true.
    bool setName(const std::string& newName);
    bool setName(const std::wstring& newName);
    /// Never null; valid as long as the handle lives.
    const std::string* getName() const { return &name; }
    const std::wstring* getNameW() const { return &nameW; }
    std::string getNameAlways() const { return name; }
    std::wstring getNameAlwaysW() const { return nameW; }

    /// Opening fails on an open handle, on an empty name, on a directory, a named pipe and a socket. The
    /// forms with a name set it first, unless the handle is open.
    bool openIn();
    bool openIn(const std::string& newName);
    bool openIn(const std::wstring& newName);
    bool openOut();
    bool openOut(const std::string& newName);
    bool openOut(const std::wstring& newName);
    /// Plain files only, as `openIO`.
    bool openAppend();
    bool openAppend(const std::string& newName);
    bool openAppend(const std::wstring& newName);
    /// Reading and writing: empties or creates the file if `create`; otherwise all writing goes to the end if
    /// `append`; otherwise the file must exist.
    bool openIO(bool create, bool append);

    /// False if the handle is not open, or if anything written since the opening could not be stored.
    bool close();

    bool canRead() const { return open_ && (mode == In || mode >= Create); }
    bool canWrite() const { return open_ && mode != In; }

    /// Offsets in bytes (unpacked bytes in a gzip file). False leaves the position where it is, but a gzip
    /// file asked to go past its end stands at its end. After `openAppend` every move leads to the end.
    bool setPos(unsigned long long position);
    bool seekFromBeg(unsigned long long offset) { return setPos(offset); }
    /// Plain files only; an offset of 0 is the end of the file, those before it are negative.
    bool seekFromEnd(long long offset);
    bool seekFromCur(long long offset);
    unsigned long long getPos() const { return open_ ? blockPos + next : 0; }
    /// Bytes in the file, those not yet flushed included. Plain files only, open ones.
    unsigned long long size() const;

    /// 1 plus the line feeds ahead of the reading position, also after moves; 1 right after opening.
    unsigned long getCurLine();
    /// `getCurLine` as it was when the last read began; 0 before the first.
    unsigned long getPrevLine() const { return prevLine; }

    /// `FileOps::IgnoreCR` applies to all reads. False at the end of the file.
    bool read(char& character);
    bool read(wchar_t& character);
    /// Replaces `text` by at most `count` characters. False if there are none left although `count` is not 0.
    bool read(std::string& text, unsigned int count);
    bool read(std::wstring& text, unsigned int count);
    /// Replaces `text` by what stands ahead of `delimiter`, which is dropped. At the end: a plain file gives
    /// true as long as `text` has something in it; a gzip file gives true, with whatever is left, even
    /// nothing, unless an earlier read has already run into the end.
    bool readUntil(std::string& text, char delimiter);
    bool readUntil(std::wstring& text, wchar_t delimiter);
    /// True once a read has run into the end or an error, and when the handle is closed.
    bool atEof() const { return !open_ || ended; }

    /// True once the buffer has taken all of it; what the device says may show only at `flush` or `close`.
    /// After a failed flush the next writes go through to the device, so their results are its own.
    bool write(const std::string& text) { return writeBytes(text); }
    bool write(const std::wstring& text);
    bool write(char character) { return writeBytes(std::string_view(&character, 1)); }
    /// False, with nothing of the character written, for codes above 0x10FFFF.
    bool write(wchar_t character);
    /// Hands all that was written to the system. What a failed flush could not store is lost.
    bool flush();

protected:
    enum Mode { In, Out, Append, Create, CreateAppend, Update };

    static constexpr unsigned int BlockSize = 64 * 1024;

    /// Opens `name`; a kind that cannot do it in this mode gives false.
    virtual bool openAs(Mode wanted) = 0;
    /// False if what `put` took could not be stored.
    virtual bool closeStream() = 0;
    /// Reads up to `count` bytes at `position`, which is where the stream stands; 0 at the end.
    virtual unsigned int take(char* bytes, unsigned int count, unsigned long long position) = 0;
    virtual bool put(const char* bytes, unsigned int count) = 0;
    /// Hands what `put` took to the system.
    virtual bool sync() = 0;
    /// Bytes that the system has for the open file; false if the kind cannot tell.
    virtual bool storedSize(unsigned long long& bytes) const = 0;
    /// Makes the stream stand at `position` for the next `put`.
    virtual bool place(unsigned long long position) = 0;
    /// Moves to a position to read from that lies outside the buffer.
    virtual bool moveOut(unsigned long long position) = 0;
    /// Makes `curLine` right again after a `moveOut` that left it for later.
    virtual void syncLine() {}
    /// The result of a `readUntil` that has run into the end.
    virtual bool deliversRest(bool nothingLeft) const = 0;

    /// Remembers where `curLine` is right, ahead of a move or a write.
    void leaveLine();
    /// Forgets the buffer; the stream stands at `position`.
    void restart(unsigned long long position);
    bool fill();
    /// Moves forward in the buffer, counting lines.
    void skipTo(unsigned int offset);

    std::string name;
    std::wstring nameW;
    unsigned long curLine = 0;
    unsigned long prevLine = 0;
    unsigned long long blockPos = 0;  ///< position in the file of the first byte of `buffer`
    unsigned int next = 0;            ///< first byte of `buffer` not read yet, or first one free for writing
    unsigned int filled = 0;          ///< bytes in `buffer` when reading
    Mode mode = In;
    bool open_ = false;
    unsigned long long linePos = 0;  ///< where `curLine` is right while `moved`
    bool moved = false;              ///< `curLine` may be wrong for the position
    bool ended = false;              ///< a read has run into the end

private:
    bool openWith(Mode wanted);
    template <class Text>
    bool openNamed(const Text& newName, Mode wanted);
    bool turnToReading();
    bool turnToWriting();
    // Nearly every read and write finds nothing to turn.
    bool beginRead() {
        if (!open_ || mode != In || moved)
            return turnToReading();
        prevLine = curLine;
        return true;
    }
    bool beginWrite() { return (open_ && (mode == Out || mode == Append)) || turnToWriting(); }
    bool more();
    bool nextWide(wchar_t& character);
    bool writeBytes(std::string_view bytes);
    bool drain();

    std::unique_ptr<char[]> buffer;
    bool writing = false;       ///< `buffer` holds bytes for `put`
    bool writeThrough = false;  ///< until the device takes something again
    bool lost = false;          ///< something written since the opening could not be stored
};

}  // namespace MovrikCorelib
