#pragma once

#include <memory>
#include <string>

#include "FileKind.h"

namespace MovrikCorelib {

/// The handle for plain and gzip files alike; the file's name decides the kind. Each operation does what
/// `FileKind` says of it, and gives false, 0 or null as long as no name has been set. None throws. A handle
/// belongs to one thread at a time.
///
/// A gzip file can be read from start to end, moved about in by `setPos`, `seekFromBeg` and `seekFromCur`
/// (moving back past what is buffered unpacks it again from the start), or written anew. It has no `size`,
/// `seekFromEnd`, `openAppend` and `openIO`. A plain file under a gzip name is read as it stands.
class File {
public:
    enum FileType { UnknownFile, PlainFile, GzipFile };

    File() = default;
    explicit File(const std::string& name);
    explicit File(const std::wstring& name);
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    /// Closes; what cannot be written then goes unreported.
    virtual ~File();

    /// `GzipFile` if the text behind the last "." is "gz" in any letter case, otherwise `PlainFile`.
    static FileType getFileType(const std::string& name);
    static FileType getFileType(const std::wstring& name);

    /// False if the name is of the other kind: a handle never changes its kind.
    bool setName(const std::string& name);
    bool setName(const std::wstring& name);
    /// Null without a name; valid as long as the handle lives.
    const std::string* getName() const;
    const std::wstring* getNameW() const;
    /// Empty without a name.
    std::string getNameAlways() const;
    std::wstring getNameAlwaysW() const;

    bool openIn();
    bool openIn(const std::string& name);
    bool openIn(const std::wstring& name);
    bool openOut();
    bool openOut(const std::string& name);
    bool openOut(const std::wstring& name);
    bool openAppend();
    bool openAppend(const std::string& name);
    bool openAppend(const std::wstring& name);
    bool openIO(bool create, bool append);
    /// False if the handle is not open, or if anything written since the opening could not be stored.
    bool close();

    bool canRead() const;
    bool canWrite() const;

    bool setPos(unsigned long long position);
    bool seekFromBeg(unsigned long long offset);
    bool seekFromEnd(long long offset);
    bool seekFromCur(long long offset);
    unsigned long long getPos() const;
    unsigned long long size() const;
    unsigned long getCurLine();
    unsigned long getPrevLine() const;

    bool read(char& character);
    bool read(wchar_t& character);
    bool read(std::string& text, unsigned int count);
    bool read(std::wstring& text, unsigned int count);
    bool readUntil(std::string& text, char delimiter);
    bool readUntil(std::wstring& text, wchar_t delimiter);
    /// False without a name, as everything else.
    bool atEof() const;

    bool write(const std::string& text);
    bool write(const std::wstring& text);
    bool write(char character);
    bool write(wchar_t character);
    bool flush();

private:
    bool haveKind(FileType wanted);

    std::unique_ptr<FileKind> kind;
    FileType type = UnknownFile;
};

}  // namespace MovrikCorelib
