#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FileObjectStream.h"
#include "StringObjectStream.h"
#include "TestSupport.h"

/// The failure that `action` throws: its name, a colon and its text.
#define FAILS(action, failure) EXPECT_EQ(failureOf([&] { action; }), failure)

using namespace MovrikCorelib;
using namespace std::string_literals;
using TestSupport::readFile, TestSupport::TempDir, TestSupport::writeFile;

namespace {

using Key = ObjectStream::Key;
using ElementDef = PrimitiveStream::ElementDef;

const char* const HostText =
    "host\n{\n\tname (string)=alpha\n\tport (int32)=7000\n\tlimits\n\t{\n\t\tmax (uint64)=10\n\t}\n}\n";

void writeHost(ObjectStream& stream) {
    stream.startObject("host"s);
    stream.setAttribute("port"s, 7000);
    stream.startObject("limits"s);
    stream.setAttribute("max"s, 10ULL);
    stream.endObject();
    stream.setAttribute("name"s, "alpha");
    stream.endObject();
}

std::string failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (Exception& e) {
        return e.getFullMessage(true);
    }
    return "none";
}

/// Ends the one top-level object and saves.
void save(ObjectStream& stream) {
    stream.endObject();
    stream.endObject();
}

/// Has a place for one unnamed value.
struct PushingStream : StringObjectStream {
    bool read(ElementDef& element) override { return (element = getAttribute("p"s)).type != NoElement; }
    bool write(ElementDef& element) override {
        setAttribute("p"s, element);
        return true;
    }
};

}  // namespace

TEST(ObjectStream, WritesAndReadsATree) {
    StringObjectStream written, read;
    FAILS(written.setAttribute("a"s, 1),
          "Write_ObjectNotStarted: Attempting to write to an object not started");
    writeHost(written);
    FAILS(written.getStream(), "GetStream_StreamNotReady: GetStream_StreamNotReady");
    FAILS(written.getObjects(),
          "Read_ReadingNotAllowed: Attempting to read from a stream that is not ready for reading");
    written.endObject();
    EXPECT_EQ(written.getStream(), HostText);

    read.setStream(
        "# made by hand\n\n  host\r\n{\n name (STRING)=alpha\t\nport(int32)=7000\n limits\n{\n"
        "max (uint64)=10\n}\n}");
    EXPECT_EQ(read.getObjects(), std::set<Key>{"host"s});
    EXPECT_THROW(read.leaveObject(), ObjectStream::Read_ObjectNotEntered);
    FAILS(read.getAttributes(),
          "Read_ObjectNotEntered: Attempting to read from a stream without entering an object first");
    FAILS(read.enterObject("guest"s),
          "Read_ObjectNotFound: Attempted to enter object 'guest' but no such object exists");
    FAILS(read.verifyObjects("a,host,b"s), "Read_MissingObjects: The following objects are missing: a, b");
    EXPECT_EQ(read.getStringFormat(), HostText);

    read.enterObject(L"host"s);
    EXPECT_EQ(read.getAttributes(), (std::set<Key>{"name"s, "port"s}));
    EXPECT_TRUE(read.haveInt32Attribute("port"s) && !read.haveStringAttribute("port"s));
    FAILS(read.getAttribute("size"s),
          "Read_AttributeNotFound: Trying to read attribute 'size' of 'host.host' but no such "
          "attribute exists");
    int port = 0;
    std::string text;
    read.getAttribute("port"s, port, 1);
    read.getAttribute("port"s, text, "not a text");
    EXPECT_EQ(text + std::to_string(port), "not a text7000");
    read.enterObject("limits"s);
    for (int i = 0; i < 3; ++i)
        read.leaveObject();
    FAILS(read.getObjects(), "Read_StreamEmpty: Attempting to read from an empty stream");
}

TEST(ObjectStream, GivesBackEveryValue) {
    for (const std::string& text : {"a=b"s, "line\nfeed\n"s, "\\n"s, " \\"s, ""s, "(x)=y"s, "}"s, "\t"s,
                                    "c\r"s, "a\\ "s, "of\0\0"s, "#"s, "\\?"s, "\\"s}) {
        const std::wstring wideText(text.begin(), text.end());
        for (bool wide : {false, true}) {
            StringObjectStream stream, read;
            stream.startObject(wide ? Key(L"o"s) : Key("o"s));
            stream.setAttribute("a="s, text);
            stream.setAttribute(L"w"s, wideText);
            save(stream);
            wide ? read.setStream(stream.getWStream()) : read.setStream(stream.getStream());
            read.enterObject("o"s);
            std::string gotText;
            std::wstring gotWideText;
            read.getAttribute("a="s, gotText, "missing");
            read.getAttribute("w"s, gotWideText, L"missing");
            EXPECT_EQ(gotText, text);
            EXPECT_EQ(gotWideText, wideText);
        }
    }
}

TEST(ObjectStream, EscapesWhatALineCannotHold) {
    PushingStream stream;
    ElementDef broken(5);
    broken.value = "5\n}";
    EXPECT_EQ(stream.formatAttribute("\t", "a", broken), "\ta (int32)=5\\n}\n");
    EXPECT_EQ(stream.formatAttribute("", "a", "x=\n\\"), "a (string)=x=\\n\\\\\n");
    EXPECT_EQ(stream.formatAttribute("", "a", "x \t"), "a (string)=x \t\\\n");
    EXPECT_EQ(stream.formatAttribute("", "a", L"C:\\new"), "a (wstring)=C:\\\\new\n");
    EXPECT_EQ(stream.formatAttribute(L"", L"a", L"C:\\dir"), L"a (wstring)=C:\\dir\n");

    std::string text;
    std::wstring wideText;
    stream.startObject("o"s);
    EXPECT_TRUE(stream.push(std::string("a=\n\\")));
    save(stream);
    EXPECT_EQ(stream.getStream(), "o\n{\n\tp (string)=a\\\\?\\\\n\\\\\\\\\n}\n");
    stream.enterObject("o"s);
    EXPECT_TRUE(stream.pull(text));
    EXPECT_EQ(text, "a=\n\\");
    stream.setStream("o\n{\na (string)=a\\?b=c\np (wstring)=a\\?b=c\n}\n");
    stream.enterObject("o"s);
    stream.getAttribute("a"s, text, "");
    EXPECT_EQ(text, "a\\?b=c");
    EXPECT_TRUE(stream.pull(wideText));
    EXPECT_EQ(wideText, L"a=b=c");
}

TEST(ObjectStream, ReportsDamagedTextWithItsLine) {
    const std::pair<std::string, std::string> cases[] = {
        {"x", "Parse_MissingOpenBracket: Expected '{' in line 1"},
        {"\n# c\nx\ny\n", "Parse_MissingOpenBracket: Expected '{' in line 4"},
        {"x\n{", "Parse_PrematureEndOfStream: Unexpected end of data in line 2"},
        {"x\n{\n}\n}\n", "Parse_MissingOpenBracket: Expected '{' in line 4"},
        {"x\n{\n\na=1\n}\n", "Parse_MissingOpenParenthesis: Missing '(' in line 4"},
        {"x\n{\na=b (int32)\n}\n", "Parse_MissingOpenParenthesis: Missing '(' in line 3"},
        {"x\n{\na (int32=1\n}\n", "Parse_MissingCloseParenthesis: Missing ')' in line 3"},
        {"\n \t\r\n#x\n\n", "Read_StreamEmpty: Attempting to read from an empty stream"},
    };
    for (const auto& [text, failure] : cases) {
        SCOPED_TRACE(text);
        StringObjectStream narrow, wide;
        narrow.setStream(text);
        wide.setStream(std::wstring(text.begin(), text.end()));
        FAILS(narrow.getObjects(), failure);
        FAILS(wide.getObjects(), failure);
    }
    StringObjectStream stream;
    stream.setStream("x\n{\na (what)=1\na (int32)=2\n}\ny\n{\n}\nx\n{\nb (int32)=3\n}\n");
    stream.enterObject("x"s);
    EXPECT_EQ(stream.getAttributes(), std::set<Key>{"b"s}) << "the last of one name stays";
}

TEST(ObjectStream, SurvivesDeepTrees) {
    std::string text;
    for (int i = 0; i < 12000; ++i)
        text += "x\n{\n";
    StringObjectStream cut, whole, copy;
    cut.setStream(text);
    FAILS(cut.getObjects(), "Parse_PrematureEndOfStream: Unexpected end of data in line 24000");
    for (int i = 0; i < 12000; ++i)
        text += "}\n";
    whole.setStream(text);
    whole.loadStream();
    copy.addStream(whole);
}

TEST(ObjectStream, AddsAndSharesTrees) {
    StringObjectStream first, sum;
    first.setStream("a\n{\nb\n{\nc (int32)=1\n}\n}\n");
    FAILS(sum.addStream(first),
          "AddStream_CannotReadFromStream: Attempting to add another stream that is not ready for "
          "reading");
    first.loadStream();
    SmartPointer<ObjectStream::Object> shared(new ObjectStream::Object("s"s));
    shared->setAttribute("v"s, true);
    sum.startObject("all"s);
    sum.addStream(first);
    sum.setSubObject("s"s, shared);
    sum.setSubObject("t"s, SmartPointer<ObjectStream::Object>());
    EXPECT_EQ(shared->getFullName(), L"all.all.s");
    save(sum);
    EXPECT_EQ(
        sum.getStream(),
        "all\n{\n\ta\n\t{\n\t\tb\n\t\t{\n\t\t\tc (int32)=1\n\t\t}\n\t}\n\ts\n\t{\n\t\tv (bool)=1\n\t}\n}\n");
    EXPECT_EQ(shared->getFullName(), L"s") << "outlives the tree it was in";
    FAILS(shared->getAttribute("w"s), "GetAttribute_NotFound: Could not find attribute 'w' of 's'");
    FAILS(shared->getSubObject("w"s), "GetSubObject_NotFound: Could not find sub-object 'w' of 's'");
}

TEST(FileObjectStream, ReplacesTheFileAtCloseOnly) {
    TempDir dir;
    const std::string name = dir / "a.conf", saving = name + ".saving", nowhere = dir / "no/where";
    writeFile(name, "old");
    FileObjectStream out, in;
    FAILS(out.close(), "Close_NotOpen: Close_NotOpen");
    FAILS(out.loadStream(), "Load_HaveNoFile: Load_HaveNoFile");
    out.openOut(name);
    FAILS(out.openOut(name), "OpenOut_AlreadyOpen: OpenOut_AlreadyOpen");
    EXPECT_EQ(out.getFileName(), saving);
    FAILS(out.loadStream(), "Load_FileNotOpenForReading: Load_FileNotOpenForReading");
    writeHost(out);
    out.endObject();
    for (int look = 0; look < 2; ++look)
        FAILS(out.haveObject("host"s), "Load_FileNotOpenForReading: Load_FileNotOpenForReading");
    EXPECT_EQ(readFile(name), "old");
    out.close();
    EXPECT_EQ(readFile(name), HostText);

    in.openIn(std::wstring(name.begin(), name.end()));
    EXPECT_TRUE(in.haveObject("host"s));
    FAILS(in.saveStream(), "Save_FileNotOpenForWriting: Save_FileNotOpenForWriting");
    in.close();
    writeFile(name, "other\n{\n}\n");
    in.openIn(name);
    EXPECT_TRUE(in.haveObject("other"s)) << "a second file is read anew";
    FAILS(in.openIn(name), "OpenOut_AlreadyOpen: OpenOut_AlreadyOpen");

    out.openOut(name);
    out.startObject("unfinished"s);
    FAILS(out.close(),
          "Close_FailedToFinalize: Failed to rename \"" + saving + "\" to final \"" + name + "\"");
    EXPECT_EQ(readFile(name), "other\n{\n}\n");
    // Neither a tree that was only read nor one begun behind a failed parse takes the place of the file.
    in.close();
    in.openOut(name);
    EXPECT_THROW(in.close(), FileObjectStream::Close_FailedToFinalize);
    writeFile(dir / "bad", "x\n");
    in.openIn(dir / "bad");
    EXPECT_THROW(in.haveObject("x"s), FileObjectStream::Parse_MissingOpenBracket);
    in.close();
    in.openOut(name);
    in.startObject("y"s);
    EXPECT_THROW(in.close(), FileObjectStream::Close_FailedToFinalize);
    EXPECT_EQ(readFile(name), "other\n{\n}\n");
    in.openIn(name);
    in.parseDefault();
    in.close();
    in.openOut(dir / "copy");
    in.saveStream();
    in.close();
    in.openOut(dir / "copy");
    in.saveStream();
    in.enterObject("other"s);
    in.setAttribute("late"s, 1);
    EXPECT_THROW(in.close(), FileObjectStream::Close_FailedToFinalize);
    in.openOut(dir / "copy");
    in.saveStream();
    in.startObject("late"s);
    EXPECT_THROW(in.close(), FileObjectStream::Close_FailedToFinalize);
    EXPECT_EQ(readFile(dir / "copy"), "other\n{\n}\n");
    FAILS(out.openIn(nowhere), "OpenIn_Failed: Could not open \"" + nowhere + "\" for reading");
    FAILS(out.openOut(nowhere), "OpenOut_Failed: Could not open \"" + nowhere + ".saving\" for writing");
}

TEST(FileObjectStream, NeverFinalizesWhatTheDiskRefused) {
    TempDir dir;
    const std::string name = dir / "a.conf", saving = name + ".saving";
    writeFile(name, "old");
    std::filesystem::create_symlink("/dev/full", saving);
    FileObjectStream out;
    out.openOut(name);
    writeHost(out);
    FAILS(out.endObject(), "Save_FailedToSave: Failed to save stream to \"" + saving + "\"");
    EXPECT_THROW(out.close(), FileObjectStream::Close_FailedToFinalize);
    EXPECT_EQ(readFile(name), "old");
}

TEST(FileObjectStream, KeepsWideTextInEitherKindOfFile) {
    TempDir dir;
    File file(dir / "outside"), both(dir / "outside");
    FileObjectStream out, in;
    FAILS(out.setExternalFile(file, true), "SetFile_FileNotOpen: SetFile_FileNotOpen");
    ASSERT_TRUE(file.openOut());
    out.setExternalFile(file, true);
    FAILS(out.setExternalFile(file, true), "SetFile_AlreadySet: SetFile_AlreadySet");
    out.startObject("o"s);
    save(out);
    FAILS(out.close(), "Close_CannotCloseExternalFile: Close_CannotCloseExternalFile");
    EXPECT_TRUE(file.close());
    EXPECT_EQ(readFile(dir / "outside"), "o\0\n\0{\0\n\0}\0\n\0"s);
    ASSERT_TRUE(both.openIO(false, false));
    FAILS(in.setExternalFile(both, true), "SetFile_FileBothRW: SetFile_FileBothRW");
    ASSERT_TRUE(file.openIn());
    in.setExternalFile(file, true);
    EXPECT_TRUE(in.haveObject("o"s));

    // The bytes of some characters look like a line feed or its second half.
    for (const std::string name : {"own", "own.gz"})
        for (const std::wstring key : {L"o", L"\u0A97\u0AC1", L"\u010A", L"a\u0A0Ab", L"\u0100"}) {
            FileObjectStream own;
            own.openOut(dir / name);
            own.startObject(key);
            save(own);
            own.close();
            own.openIn(dir / name);
            EXPECT_TRUE(own.haveObject(key)) << name;
        }
    // A narrow name may begin with the byte that follows a wide line feed.
    for (const std::string first : {"o\n{\n}\n", "oo\n{\n}\n"}) {
        writeFile(dir / "narrow", first + "\0x\n{\n}\n"s);
        FileObjectStream own;
        own.openIn(dir / "narrow");
        EXPECT_TRUE(own.haveObject("\0x"s)) << first;
    }
}
