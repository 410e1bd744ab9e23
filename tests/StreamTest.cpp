#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "DateTime.h"
#include "ParamStream.h"
#include "SharedString.h"
#include "StringStream.h"

using namespace MovrikCorelib;

namespace {

using ElementDef = PrimitiveStream::ElementDef;

ElementDef element(PrimitiveStream::ElementType type, const std::string& value) {
    ElementDef made;
    made.type = type;
    made.value = value;
    return made;
}

/// The storage of wide text: four bytes per character as this machine has them.
std::string raw(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * 4};
}

/// Bytes from pairs of hex digits and single blanks.
std::string hex(const std::string& digits) {
    std::string bytes;
    for (unsigned long i = 0; i < digits.size(); i += digits[i] == ' ' ? 1 : 2) {
        if (digits[i] != ' ')
            bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::wstring widen(const std::string& ascii) {
    return std::wstring(ascii.begin(), ascii.end());
}

SharedString shared(const std::string& text) {
    return text;
}

/// Marks texts on their way in and out.
struct MarkingStream : ParamStream {
    using ParamStream::escape, ParamStream::unescape;
    void escape(std::string& text) override { text += '<'; }
    void unescape(std::string& text) override { text += '>'; }
};

}  // namespace

TEST(PrimitiveStream, KeepsEveryValueAsTaggedTextAndShowsIt) {
    const struct {
        ElementDef made;
        unsigned int type;
        std::string value, shown, tag;
    } cases[] = {
        {element(PrimitiveStream::BoolElement, "00"), 0, "00", "true", "bool"},
        {false, 0, "0", "false", "bool"},
        {-7, 3, "-7", "-7", "int32"},
        {-9223372036854775807LL - 1, 5, "-9223372036854775808", "-9223372036854775808", "int64"},
        {18446744073709551615ULL, 6, "18446744073709551615", "18446744073709551615", "uint64"},
        {0.5, 7, "0.5", "0.5", "double"},
        {DateTime(86400000 + 3723004ULL), 8, "90123004", "1900-01-01T01:02:03.004Z", "time"},
        {"a\nb\\n", 9, "a\\nb\\\\n", "a\nb\\n", "string"},
        {L"a\nb\\n", 10, raw(L"a\\nb\\\\n"), "a\nb\\n", "wstring"},
        {shared("x\ny"), 9, "x\\ny", "x\ny", "string"},
        {SharedString(std::wstring(L"x\ny")), 10, raw(L"x\\ny"), "x\ny", "wstring"},
        {'A', 12, "65", "A", "char"},
        {L'A', 13, "65", "A", "wchar"},
        {element(PrimitiveStream::ByteElement, "q"), 1, "q", "q", ""},
        {element(PrimitiveStream::StreamElement, "x"), 11, "x", "", ""},
        {ElementDef(), 14, "", "", ""},
    };
    for (const auto& [made, type, value, shown, tag] : cases) {
        SCOPED_TRACE(value);
        EXPECT_EQ(made.type, type);
        EXPECT_EQ(made.value, value);
        EXPECT_EQ(made.getAsString(), shown);
        EXPECT_EQ(made.getAsWString(), widen(shown));
        EXPECT_EQ(PrimitiveStream::mapElementType(made.type), tag);
        EXPECT_EQ(PrimitiveStream::mapElementTypeW(made.type), widen(tag));
    }
    EXPECT_EQ(PrimitiveStream::mapElementType(std::string("UInt64")), PrimitiveStream::UInt64Element);
    EXPECT_EQ(PrimitiveStream::mapElementType(std::wstring(L"WChar")), PrimitiveStream::WCharElement);
}

TEST(ParamStream, FillsPlaceholders) {
    const DateTime first(86400000ULL);
    const struct {
        ParamStream values;
        std::string text, filled, left;
    } cases[] = {
        {ParamStream(), "a%b\\", "a%b\\", ""},
        {ParamStream() << 7, "%-%", "7-", ""},
        {ParamStream() << 7 << 8 << 9, "%-%", "7-8", "9"},
        {ParamStream() << 5, "%d", "5d", ""},
        {ParamStream() << "100%" << 2, "%/%", "100%/2", ""},
        {ParamStream() << 5, "100\\%", "100\\%5", ""},
        {ParamStream() << 5 << 6, "\\\\%", "\\\\56", ""},
        {ParamStream() << 5, "\\", "\\", "5"},
        {ParamStream() << true << 'A' << first << -1L, "%%%%", "trueA1900-01-01T00:00:00.000Z-1", ""},
        {ParamStream() << std::string("a\nb"), "<%>", "<a\nb>", ""},
    };
    for (auto [values, text, filled, left] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(values.format(widen(text)), widen(filled));
        EXPECT_EQ(values.format(text), filled);
        EXPECT_EQ(values.getNext(), left);
        EXPECT_EQ(values.getNextW(), L"");
    }
}

TEST(ParamStream, ReadsFromItsCursor) {
    ParamStream stream;
    ElementDef none, emptyInt = element(PrimitiveStream::Int32Element, "");
    EXPECT_FALSE(stream.write(none) || stream.write(emptyInt));

    stream << "" << 1U << 2;
    std::string text = "?";
    int number = 9;
    stream >> text >> number;
    EXPECT_EQ(text, "");
    EXPECT_EQ(number, 9) << "a value of another type is consumed";
    EXPECT_EQ(stream.getNext(), "2");
    stream << 3;
    EXPECT_FALSE(stream.pull(number)) << "what follows a fully read list stays hidden";

    ParamStream copy(stream), moved(std::move(stream)), assigned;
    assigned = copy;
    copy.pull(text);
    EXPECT_EQ(moved.getNext() + moved.getNext(), "1");
    EXPECT_EQ(assigned.getNext() + assigned.getNext(), "1");
    moved = ParamStream() << 4;
    EXPECT_EQ(moved.getNext(), "4");

    ParamStream whole;
    whole.concatenate(assigned);
    EXPECT_FALSE(whole.read(none));
    whole.concatenate(whole);
    EXPECT_EQ(whole.format("%%%%%%%%"), "123123");
}

TEST(ParamStream, EscapesOnlyStringObjects) {
    MarkingStream stream;
    stream << std::string("a") << "b" << shared("c");
    std::string text;
    stream >> text;
    EXPECT_EQ(text, "a<>");
    EXPECT_EQ(stream.format("%%%"), "a<bc");
}

TEST(StringStream, WritesTaggedRecords) {
    StringStream inner, stream, nested;
    inner << 7;
    stream << true << -3 << std::string("a\x1e\\") << L"A" << inner;
    EXPECT_FALSE(stream.pushStrm(StringStream()));
    // The one backslash is doubled by the element, and both again by the record.
    EXPECT_EQ(stream.getStream(), hex("00 31 1e  03 2d33 1e  09 61 5c1f 5c5c5c5c 1e  0a") + raw(L"A") +
                                      hex("1e  0b 03 37 5c1f 1e"));
    std::tuple<bool, int, std::string, std::wstring, int> read;
    auto& [flag, number, text, wide, inside] = read;
    stream >> flag >> number >> text >> wide >> nested;
    nested >> inside;
    EXPECT_EQ(read, std::make_tuple(true, -3, "a\x1e\\", L"A", 7));
    EXPECT_FALSE(inner.pullStrm(nested)) << "a number is no stream";
    EXPECT_EQ(nested.getStream(), hex("03 37 1e"));
}

TEST(StringStream, CodesRawBytes) {
    // The flag of the second byte is 2, which also hits the third; that of the third is 3, which hits all but
    // the last.
    const struct {
        PrimitiveStream::ElementType type;
        std::string value, record, readBack;
    } cases[] = {
        {PrimitiveStream::ByteElement, "1e", "01 1f 01 1e", "1e"},
        {PrimitiveStream::ByteElement, "1f", "01 1f 00 1e", "1f"},
        {PrimitiveStream::FourByteElement, "61 62", "02 61620000 00 1e", "61620000"},
        {PrimitiveStream::FourByteElement, "61 1e 63 64", "02 611f6364 02 1e", "611e6264"},
        {PrimitiveStream::FourByteElement, "00 62 1e 64", "02 00621f64 03 1e", "ff611e64"},
        {PrimitiveStream::FourByteElement, "61 62 63 1e", "02 6162631f 04 1e", "6162631e"},
    };
    for (const auto& [type, value, record, readBack] : cases) {
        StringStream stream;
        ElementDef written = element(type, hex(value)), read;
        EXPECT_TRUE(stream.write(written));
        EXPECT_EQ(stream.getStream(), hex(record));
        EXPECT_TRUE(stream.read(read));
        EXPECT_EQ(read.value, hex(readBack));
    }
    ElementDef two = element(PrimitiveStream::ByteElement, "ab");
    EXPECT_FALSE(StringStream().write(two));
}

TEST(StringStream, StopsAtDamageAndConsumesWhatItCannotUse) {
    // Unknown type; no terminator; raw bytes without their flag.
    for (const auto& [bytes, reads] :
         {std::pair("20 03 37 1e", "--"), {"03 37", "--"}, {"01 61 1e 02 61626364 1e 03 37 1e", "--+-"}}) {
        StringStream stream;
        stream.setStream(hex(bytes));
        for (const char* result = reads; *result; ++result) {
            ElementDef read;
            EXPECT_EQ(stream.read(read), *result == '+') << bytes << ' ' << result;
        }
    }
}

TEST(SharedString, SharesAndReusesStoredTexts) {
    SharedString a = shared("one"), b = shared("one"), wide(std::wstring(L"one"));
    EXPECT_EQ(&a.get(), &b.get());
    EXPECT_EQ(a.compare(wide), -1);
    EXPECT_EQ(SharedString().compare(a), -1);
    EXPECT_GT(a.compare(shared("ome")), 0);
    EXPECT_EQ(a.compare(b), 0);

    a.clear();
    b.set(b.get());
    EXPECT_EQ(b.get(), "one") << "the old text is let go before the new one is stored";
    a = b;
    b.clear();
    EXPECT_EQ(a.get(), "one");

    StringStream stream;
    stream << shared("x\ny") << SharedString(std::wstring(L"x\ny"));
    stream >> a >> wide;
    EXPECT_EQ(a.get(), "x\\ny") << "narrow text keeps its escape";
    EXPECT_EQ(wide.getW(), L"x\ny");

    SharedString::clearAll();
    EXPECT_EQ(a.get(), "");
    const SharedString later = shared("x\\ny");
    a.clear();
    EXPECT_EQ(later.get(), "x\\ny");
}
