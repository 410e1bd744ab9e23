#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BasicFile.h"
#include "File.h"
#include "FileOps.h"
#include "TestSupport.h"

using namespace MovrikCorelib;
using namespace TestSupport;
using namespace std::string_literals;

namespace {

using Lines = std::vector<std::string>;

/// `FileOps::IgnoreCR` for the life of the object.
struct ScopedIgnoreCR {
    explicit ScopedIgnoreCR(bool value) { FileOps::IgnoreCR = value; }
    ~ScopedIgnoreCR() { FileOps::IgnoreCR = false; }
};

Lines linesOf(const std::string& path, char delimiter = '\n') {
    File file(path);
    EXPECT_TRUE(file.openIn()) << path;
    Lines lines;
    for (std::string line; file.readUntil(line, delimiter) && lines.size() < 1000000;)
        lines.push_back(line);
    EXPECT_TRUE(file.atEof() && file.close());
    return lines;
}

/// Text that packs badly, in lines of 0 to 200 characters, the same on every run.
std::string noise(std::size_t size) {
    std::mt19937 random(20100307);
    std::string text;
    for (; text.size() < size; text += '\n') {
        for (auto left = random() % 201; left > 0; --left)
            text += static_cast<char>('!' + random() % 90);
    }
    return text;
}

/// What zlib delivers of a file, one character at a time.
std::string unpackedSingly(const std::string& path) {
    gzFile in = gzopen(path.c_str(), "rb");
    std::string text;
    for (int character; (character = gzgetc(in)) >= 0;)
        text += static_cast<char>(character);
    gzclose(in);
    return text;
}

}  // namespace

TEST(FileTest, NameDecidesTheKindOnceAndForAll) {
    const std::pair<std::string, int> cases[] = {{"x.in", 1}, {"x.in.gz", 2}, {"x.in.GZ", 2}, {"x.gz.in", 1},
                                                 {"gz", 1},   {".gz", 2},     {"", 1},        {"x.gzip", 1}};
    for (const auto& [name, kind] : cases) {
        EXPECT_EQ(File::getFileType(name), kind) << name;
        EXPECT_EQ(File::getFileType(std::wstring(name.begin(), name.end())), kind) << name;
    }
    File file;
    std::string text;
    char c;
    EXPECT_FALSE(file.openIn() || file.openIO(true, false) || file.read(c) || file.readUntil(text, '\n'));
    EXPECT_FALSE(file.write("a") || file.flush() || file.close() || file.atEof() || file.setPos(0));
    EXPECT_EQ(file.getName(), nullptr);
    EXPECT_TRUE(file.setName("x.in"));
    EXPECT_FALSE(file.setName("x.in.gz") || file.openOut(L"x.in.gz"));
    EXPECT_TRUE(file.setName(L"y.in"));
    EXPECT_EQ(*file.getName(), "y.in");
}

TEST(FileTest, PlainAndGzipDeliverTheirLinesAndEndEachInItsWay) {
    struct Case {
        std::string text;
        bool ignoreCR;
        char delimiter;
        Lines plain, gzip;
    };
    const std::string giant(3000000, 'g');
    const Case cases[] = {
        {"", false, '\n', {}, {""}},
        {"a\nb", false, '\n', {"a", "b"}, {"a", "b"}},
        {"a\n", false, '\n', {"a"}, {"a", ""}},
        {"\n\n", false, '\n', {"", ""}, {"", "", ""}},
        {"a\0b\n\0"s, false, '\n', {"a\0b"s, "\0"s}, {"a\0b"s, "\0"s}},
        {"a\r\nb\r", false, '\n', {"a\r", "b\r"}, {"a\r", "b\r"}},
        {"a\r\nb\r", true, '\n', {"a", "b"}, {"a", "b"}},
        {"a\n\r", true, '\n', {"a"}, {"a", ""}},
        {"a\rb\n", false, '\r', {"a", "b\n"}, {"a", "b\n"}},
        {"a\rb\n", true, '\r', {"ab\n"}, {"ab\n"}},
        {"\xFF!\xFF", false, '\xFF', {"", "!"}, {"", "!", ""}},
        {giant + "\n" + giant, false, '\n', {giant, giant}, {giant, giant}},
    };
    const TempDir dir;
    for (const Case& each : cases) {
        SCOPED_TRACE(each.text.substr(0, 20));
        const ScopedIgnoreCR flag(each.ignoreCR);
        writeFile(dir / "x.in", each.text);
        writeGzip(dir / "x.in.gz", each.text);
        writeFile(dir / "plain.gz", each.text);
        EXPECT_EQ(linesOf(dir / "x.in", each.delimiter), each.plain);
        EXPECT_EQ(linesOf(dir / "x.in.gz", each.delimiter), each.gzip);
        EXPECT_EQ(linesOf(dir / "plain.gz", each.delimiter), each.gzip);
    }
}

TEST(FileTest, PiecesLeaveOutCarriageReturnsAndMovingBackClearsTheEnd) {
    const TempDir dir;
    writeFile(dir / "x", "\r\ra\rbcd\r");
    writeGzip(dir / "x.gz", "\r\ra\rbcd\r");
    for (const char* name : {"x", "x.gz"}) {
        SCOPED_TRACE(name);
        const ScopedIgnoreCR flag(true);
        File file(dir / name);
        ASSERT_TRUE(file.openIn());
        char c;
        std::string text;
        EXPECT_TRUE(file.read(c) && c == 'a' && file.read(text, 0));
        EXPECT_TRUE(file.read(text, 2) && text == "bc" && !file.atEof());
        EXPECT_TRUE(file.read(text, 9) && text == "d" && file.atEof());
        EXPECT_FALSE(file.read(c) || file.read(text, 9) || file.readUntil(text, '\n'));
        EXPECT_TRUE(file.setPos(5) && !file.atEof() && file.readUntil(text, '\n'));
        EXPECT_EQ(text, "cd");
    }
}

TEST(FileTest, LineNumbersFollowThePosition) {
    const TempDir dir;
    std::string text;
    std::vector<std::size_t> starts;
    for (int line = 0; line < 40000; ++line) {
        starts.push_back(text.size());
        text += "line " + std::to_string(line) + "\n";
    }
    starts.push_back(text.size());
    writeFile(dir / "x", text);
    writeGzip(dir / "x.gz", text);
    for (const char* name : {"x", "x.gz"}) {
        SCOPED_TRACE(name);
        File file(dir / name);
        ASSERT_TRUE(file.openIn() && file.getCurLine() == 1 && file.getPrevLine() == 0);
        // A reader that goes back by one character sees each line feed once.
        char c;
        for (int turn = 0; turn < 3; ++turn) {
            EXPECT_TRUE(file.setPos(6) && file.read(c) && c == '\n');
            EXPECT_EQ(file.getPrevLine(), 1u);
            EXPECT_EQ(file.getCurLine(), 2u);
        }
        std::string read;
        for (const unsigned long line : {39999ul, 20000ul, 0ul, 19999ul, 30000ul, 29999ul, 1ul}) {
            EXPECT_TRUE(file.setPos(starts[line]) && file.readUntil(read, '\n'));
            EXPECT_EQ(read, "line " + std::to_string(line));
            EXPECT_EQ(file.getPrevLine(), line + 1);
            EXPECT_EQ(file.getCurLine(), line + 2);
            EXPECT_EQ(file.getPos(), starts[line + 1]);
        }
        EXPECT_TRUE(file.seekFromBeg(starts[9]) && file.seekFromCur(-1));
        EXPECT_EQ(file.getCurLine(), 9u);
        EXPECT_TRUE(file.read(read, 8) && read == "\nline 9\n" && file.readUntil(read, '1'));
        EXPECT_EQ(file.getCurLine(), 11u);
        EXPECT_FALSE(file.seekFromCur(-1000000) || file.setPos(~0ull));
    }
}

TEST(FileTest, CutOrDamagedGzipGivesWhatZlibGivesAndEnds) {
    const TempDir dir;
    writeGzip(dir / "whole.gz", noise(250000));
    const std::string packed = readFile(dir / "whole.gz");
    Lines cases{packed + packed, packed + packed.substr(0, packed.size() / 2), "", "\x1F\x8B"};
    for (const std::size_t place : {9ul, packed.size() / 3, packed.size() - 1}) {
        std::string damaged = packed;
        for (std::size_t index = place; index < std::min(place + 40, packed.size()); ++index)
            damaged[index] = static_cast<char>(damaged[index] ^ 0x55);
        cases.insert(cases.end(), {packed.substr(0, place), damaged, packed + damaged});
    }
    for (std::size_t index = 0; index < cases.size(); ++index) {
        SCOPED_TRACE(index);
        writeFile(dir / "x.gz", cases[index]);
        const std::string expected = unpackedSingly(dir / "x.gz");
        std::string read;
        for (const std::string& line : linesOf(dir / "x.gz"))
            read += line + '\n';
        EXPECT_EQ(read, expected + "\n");
        File file;
        ASSERT_TRUE(file.openIn(dir / "x.gz"));
        file.read(read, 2000000);
        EXPECT_EQ(read, expected);
        EXPECT_FALSE(file.read(read, 1));
        EXPECT_TRUE(file.setPos(0));
        EXPECT_EQ(file.read(read, 5), !expected.empty());
        EXPECT_EQ(read, expected.substr(0, 5));
    }
}

TEST(FileTest, RefusesWhatIsNoFileWithoutWaiting) {
    const TempDir dir;
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600) + mkfifo((dir / "pipe.gz").c_str(), 0600), 0);
    std::filesystem::create_directories(dir / "d.gz");
    writeFile(dir / "x", "kept");
    for (const std::string& name : {dir / "pipe", dir / "pipe.gz", dir.path(), dir / "d.gz", dir / "no/x",
                                    dir / "no/x.gz", dir / "x\0y"s, ""s}) {
        File file(name);
        EXPECT_FALSE(file.openIn() || file.openOut() || file.openAppend() || file.openIO(true, false))
            << name;
    }
    File file(dir / "x");
    ASSERT_TRUE(file.openIn());
    EXPECT_FALSE(file.openIn() || file.openIn(dir / "y") || file.openOut(dir / "x") || file.openAppend());
    EXPECT_FALSE(file.canWrite() || file.write("z") || file.write('z'));
    EXPECT_EQ(file.getNameAlways(), dir / "x");
    EXPECT_TRUE(file.close() && !file.close());
    EXPECT_EQ(readFile(dir / "x"), "kept");

    // Only the opening may not wait; a write that may not either would lose lines on a slow terminal.
    const int descriptor = FileOps::openDescriptor(dir / "x", O_WRONLY | O_APPEND);
    EXPECT_EQ(fcntl(descriptor, F_GETFL) & (O_NONBLOCK | O_APPEND), O_APPEND);
    ::close(descriptor);
}

TEST(FileTest, FullDeviceShowsInEveryResult) {
    const TempDir dir;
    std::filesystem::create_symlink("/dev/full", dir / "full.gz");
    for (const std::string& name : {"/dev/full"s, dir / "full.gz"}) {
        SCOPED_TRACE(name);
        File file(name);
        ASSERT_TRUE(file.openOut());
        EXPECT_TRUE(file.write("line") && file.write('\n') && file.write(""));
        EXPECT_FALSE(file.flush() || file.write("line") || file.write('\n') || file.close());
        ASSERT_TRUE(file.openOut());
        EXPECT_FALSE(file.write(noise(1000000)) || file.close());
        ASSERT_TRUE(file.openOut() && file.write("line"));
        EXPECT_FALSE(file.close());
    }
}

TEST(FileTest, WritesPlainFilesInAllModes) {
    const TempDir dir;
    const std::string name = dir / "x";
    BasicFile file;
    ASSERT_TRUE(file.openOut(name) && file.write("one\0"s) && file.write('\n') && file.close());
    ASSERT_TRUE(file.openAppend() && file.setPos(0) && file.write("two\n"));
    EXPECT_EQ(file.size(), 9u);
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(readFile(name), "one\0\ntwo\n"s);
    EXPECT_TRUE(file.close());

    std::string line;
    ASSERT_TRUE(file.openIO(false, false));
    EXPECT_TRUE(file.readUntil(line, '\n') && file.write("TWO") && file.readUntil(line, 'x'));
    EXPECT_EQ(line, "\n");
    EXPECT_TRUE(file.seekFromEnd(-4) && file.readUntil(line, '\n') && line == "TWO");
    EXPECT_EQ(file.getPrevLine(), 2u);
    // Line feeds written count like those read, once the position is behind them.
    EXPECT_TRUE(file.seekFromEnd(0) && file.write("\n\n") && file.seekFromCur(-1));
    EXPECT_EQ(file.getCurLine(), 4u);
    EXPECT_TRUE(file.setPos(3) && file.write("\n") && file.setPos(5) && file.readUntil(line, '\n'));
    EXPECT_EQ(file.getCurLine(), 4u);
    EXPECT_TRUE(file.close());
    EXPECT_EQ(readFile(name), "one\n\nTWO\n\n\n");

    ASSERT_TRUE(file.openIO(false, true));
    EXPECT_TRUE(file.setPos(0) && file.write("e") && file.setPos(4) && file.write("nd"));
    EXPECT_EQ(file.size(), 14u);
    EXPECT_TRUE(file.setPos(0) && file.readUntil(line, '\n') && line == "one" && file.close());
    EXPECT_EQ(readFile(name), "one\n\nTWO\n\n\nend");
    EXPECT_FALSE(file.openIn(dir / "none") || file.openIO(false, false));

    // A move behind the end makes no bytes and no lines.
    ASSERT_TRUE(file.openIO(true, false) && file.write("one\ntwo\nthree") && file.seekFromCur(6));
    EXPECT_EQ(file.size(), 13u);
    EXPECT_TRUE(file.seekFromEnd(-13) && file.getPos() == 0 && file.close());
    ASSERT_TRUE(file.openOut() && file.close() && file.openIO(false, true) && file.write("a\nb\n"));
    EXPECT_TRUE(file.setPos(0) && file.read(line, 9) && file.seekFromCur(6) && file.write("c\nd\ne\nf\ng\n"));
    EXPECT_EQ(file.getCurLine(), 8u);
    EXPECT_TRUE(file.close());

    const unsigned long long far = 5ull << 30;
    file.setName(name);
    ASSERT_TRUE(file.openIO(true, false) && file.setPos(far) && file.write("end"));
    EXPECT_EQ(file.size(), far + 3);
    EXPECT_TRUE(file.seekFromEnd(-2) && file.getPos() == far + 1 && file.read(line, 9) && line == "nd");
}

TEST(FileTest, WritesGzipFilesThatUnpackToWhatWasWritten) {
    const TempDir dir;
    File file(dir / "x.gz");
    EXPECT_FALSE(file.openAppend() || file.openIO(true, false));
    ASSERT_TRUE(file.openOut());
    EXPECT_FALSE(file.seekFromEnd(0) || file.size() != 0 || file.canRead());
    EXPECT_TRUE(file.close());
    EXPECT_EQ(readFile(dir / "x.gz").substr(0, 2), "\x1F\x8B");
    EXPECT_EQ(readGzip(dir / "x.gz"), "");

    const std::string text = noise(300000);
    ASSERT_TRUE(file.openOut() && file.write("head") && file.write('\n') && file.flush());
    EXPECT_EQ(unpackedSingly(dir / "x.gz"), "head\n");
    EXPECT_TRUE(file.write(text) && file.write("") && file.close());
    EXPECT_EQ(readGzip(dir / "x.gz"), "head\n" + text);
}

TEST(FileTest, WideTextStandsInSixteenBitsLowByteFirst) {
    const TempDir dir;
    const std::wstring text = L"A\u00E9\U0001F600\r\n\xD83D!";
    const std::string bytes = "A\0\xE9\0\x3D\xD8\0\xDE\r\0\n\0\x3D\xD8!\0"s;
    for (const char* name : {"x", "x.gz"}) {
        SCOPED_TRACE(name);
        File file(dir / name);
        ASSERT_TRUE(file.openOut());
        EXPECT_TRUE(file.write(text.substr(0, 2)) && file.write(text[2]) && file.write(text.substr(3)));
        EXPECT_FALSE(file.write(wchar_t(0x110000)));
        EXPECT_TRUE(file.close());
        EXPECT_EQ(name == "x"s ? readFile(dir / name) : readGzip(dir / name), bytes);

        std::wstring read;
        wchar_t c;
        ASSERT_TRUE(file.openIn() && file.read(c) && file.readUntil(read, L'\n'));
        EXPECT_EQ(c + read, L"A\u00E9\U0001F600\r");
        EXPECT_EQ(file.getCurLine(), 2u);
        EXPECT_TRUE(file.read(read, 9) && read == L"\xD83D!");
        EXPECT_FALSE(file.read(c));
        const ScopedIgnoreCR flag(true);
        EXPECT_TRUE(file.setPos(2) && file.read(read, 3) && read == L"\u00E9\U0001F600\n");
    }
    writeFile(dir / "odd", "a\0b"s);
    const FileOps::Stream stream = FileOps::openFIn(dir / "odd");
    std::wstring read;
    EXPECT_TRUE(FileOps::readFWUntil(stream.get(), read, L'\n') && read == L"a");
    EXPECT_FALSE(FileOps::readFWStr(stream.get(), read, 1));
}
