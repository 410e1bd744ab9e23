#pragma once

#include <memory>
#include <string>

#include "File.h"
#include "ObjectStream.h"

namespace MovrikCorelib {

/// An object stream whose text is a file. What is written goes to a file with ".saving" behind its name, and
/// takes the place of the file of the final name as one step in `close`; without a `close` that file stays as
/// it was.
class FileObjectStream : public ObjectStream {
public:
    MOVRIK_FAILURE(SetFile_AlreadySet);
    MOVRIK_FAILURE(SetFile_FileNotOpen);
    MOVRIK_FAILURE(SetFile_FileBothRW);
    MOVRIK_FAILURE(OpenOut_AlreadyOpen);
    MOVRIK_FAILURE(OpenOut_OutOfMemory);
    MOVRIK_FAILURE(OpenOut_Failed);
    MOVRIK_FAILURE(OpenIn_OutOfMemory);
    MOVRIK_FAILURE(OpenIn_Failed);
    MOVRIK_FAILURE(Close_NotOpen);
    MOVRIK_FAILURE(Close_CannotCloseExternalFile);
    MOVRIK_FAILURE(Close_FailedToFinalize);
    MOVRIK_FAILURE(Save_HaveNoFile);
    MOVRIK_FAILURE(Save_FileNotOpenForWriting);
    MOVRIK_FAILURE(Save_FailedToSave);
    MOVRIK_FAILURE(Load_HaveNoFile);
    MOVRIK_FAILURE(Load_FileNotOpenForReading);
    MOVRIK_FAILURE(Load_FailedToLoad);

    /// Uses a file that is open in one direction and stays the caller's, who keeps it alive and closes it.
    /// The text on it is wide if `wide` is true, whatever the form of the keys.
    void setExternalFile(File& newFile, bool wide);

    /// Open a file of the stream's own. Opening a second one is `OpenOut_AlreadyOpen`.
    void openOut(const std::string& name);
    void openOut(const std::wstring& name);
    void openIn(const std::string& name);
    void openIn(const std::wstring& name);

    /// Closes the stream's own file. One that was written gets its final name, unless there is a tree that
    /// was not saved to it as it is now, or the file cannot be closed or moved: then
    /// `Close_FailedToFinalize`, and the
    /// ".saving" file stays. The stream has no file afterwards, also if this throws.
    void close();

    /// With ".saving" at its end while the file is being written; empty without a file.
    std::string getFileName() const;
    std::wstring getFileNameW() const;

    /// Writes the tree to the file and hands it to the system: as wide text, two bytes per character, if the
    /// tree was begun with a wide key. Throws `Save_FailedToSave` if the file does not take all of it.
    void saveStream() override;
    /// Reads either form from a file of the stream's own.
    void loadStream() override;
    /// Throws `Load_FailedToLoad` if the file cannot be read to its end.
    bool getNextLine(ParserDef& parser, String& line) override;

private:
    template <class Text>
    void openOutNamed(Text name);
    template <class Text>
    void openInNamed(const Text& name);
    template <class Char>
    bool readLine(ParserDef& parser, std::basic_string<Char>& line, Char lineEnd);
    void forget();
    bool isWide() const;
    bool holdsWideText();

    std::unique_ptr<File> own;
    File* file = nullptr;               ///< `own` or one from outside
    TextForm externalForm = Undecided;  ///< of a file from outside
};

}  // namespace MovrikCorelib
