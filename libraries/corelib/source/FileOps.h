#pragma once

#include <stdio.h>

#include <memory>
#include <string>
#include <string_view>

namespace MovrikCorelib {

/// Transfers between text and C streams, in bytes or in the wide form on disk (16-bit units, low byte first).
/// Nothing throws; a null stream answers false. A stream belongs to one thread at a time.
///
/// A stream is opened only on a regular file or a character device. Directories, named pipes and sockets are
/// refused at once, so no call waits for a writer that never comes. Files beyond 2 GiB are fine.
class FileOps {
public:
    struct Closer {
        void operator()(FILE* stream) const;
        std::unique_ptr<char[]> buffer;  ///< the stream's buffer, alive until the stream is closed
    };
    /// An open stream and its buffer; closes itself. Null if it could not be opened.
    using Stream = std::unique_ptr<FILE, Closer>;

    /// While true, the character 13 is dropped on reading. One flag for the whole process.
    static bool IgnoreCR;

    static Stream openFIn(const std::string& name);
    /// Empties an old file. With `fresh` an existing name, a dangling link too, is refused.
    static Stream openFOut(const std::string& name, bool fresh = false);
    static Stream openFAppend(const std::string& name);
    /// For reading and writing: an emptied file if `create`; otherwise one that writes at its end if
    /// `append`; otherwise an existing file.
    static Stream openFIO(const std::string& name, bool create, bool append);
    /// A descriptor for `flags` as of open(2), or -1, under the same refusals. The caller closes it.
    static int openDescriptor(const std::string& name, int flags);

    /// False if anything written since the last flush could not be stored, or if `stream` is null already.
    static bool closeF(Stream& stream);

    /// False at the end of the file and on an error.
    static bool readFC(FILE* stream, char& character);
    /// Up to `size` bytes as they stand, whatever `IgnoreCR` says; returns how many.
    static std::size_t readFBlock(FILE* stream, char* bytes, std::size_t size);
    /// Replaces `text` by at most `count` characters. False if there were none left although `count` is not
    /// 0.
    static bool readFStr(FILE* stream, std::string& text, unsigned long count);
    /// Replaces `text` by the characters up to `delimiter`, which is dropped. At the end of the file true
    /// only if `text` has something in it.
    static bool readFUntil(FILE* stream, std::string& text, char delimiter);

    static bool readFWC(FILE* stream, wchar_t& character);
    static bool readFWStr(FILE* stream, std::wstring& text, unsigned long count);
    static bool readFWUntil(FILE* stream, std::wstring& text, wchar_t delimiter);

    /// True once the stream's buffer has taken all of it; what the device says shows at a flush or at
    /// `closeF`.
    static bool writeFC(FILE* stream, char character);
    static bool writeFStr(FILE* stream, std::string_view text);
    static bool writeFWC(FILE* stream, wchar_t character);
    static bool writeFWStr(FILE* stream, std::wstring_view text);

    /// Appends the form on disk: two bytes, or four (a surrogate pair) for codes above 0xFFFF. False, and
    /// nothing appended, for a code above 0x10FFFF.
    static bool toUTF16LE(wchar_t character, std::string& bytes);
    /// The character at the head of `bytes`. Returns the count of bytes it takes: 2, 4 for a surrogate pair,
    /// 0 if `bytes` is shorter than a unit. A surrogate without its partner is a character of its own.
    static unsigned int fromUTF16LE(std::string_view bytes, wchar_t& character);
};

}  // namespace MovrikCorelib
