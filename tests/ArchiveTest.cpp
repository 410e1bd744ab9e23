#include <filesystem>
#include <fstream>
#include <map>

#include <gtest/gtest.h>

#include "TestSupport.h"

using namespace TestSupport;
namespace fs = std::filesystem;

namespace {

/// An installation of the program in a directory of its own, with an archive to run it on.
class Archive : public testing::Test {
protected:
    Archive() {
        writeFile(home / "movrik.freg",
                  "root\n{\n\tResources\n\t{\n\t\tConfigurationDir\n\t\t{\n\t\t\ttype (string)=str\n"
                  "\t\t\tvalue (string)=" +
                      (home / "etc") +
                      "\n\t\t}\n\t\tStartupLogDir\n\t\t{\n"
                      "\t\t\ttype (string)=str\n\t\t\tvalue (string)=" +
                      (home / "start") + "\n\t\t}\n\t}\n}\n");
        fs::create_directories(home / "etc");
        fs::copy_file(MOVRIK_SOURCE_DIR "/examples/etc/quorvelarchivefilesplitter.conf",
                      home / "etc/quorvelarchivefilesplitter.conf");
    }

    /// Runs the program over 7 and 8 March 2024 and returns the log of this run.
    std::string split(const std::string& zone = "+01:00") {
        fs::remove_all(home / "log");
        const auto result = run({MOVRIK_PROGRAM, "--filereg", home / "movrik.freg", "--start", "2024-03-07",
                                 "--end", "2024-03-08"},
                                {"TZ=UTC", "MOVRIK_TZ=" + zone, "QUORVEL_HOME=" + home.path()});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, "");
        const std::string log = home / "log/QuorvelArchiveFileSplitter.log";
        return fs::exists(log) ? readFile(log) : "";
    }

    std::string day(int number) const {
        return home / ("archive/quorvel2/2024/3/" + std::to_string(number) + "/");
    }

    std::map<std::string, std::string> contents() const {
        std::map<std::string, std::string> all;
        for (const std::string& name : listTree(home / "archive"))
            all[name] = readFile(home / ("archive/" + name));
        return all;
    }

    TempDir home;
};

/// A poll file with one use, sampled at the given times.
std::string pollFile(const std::string& logTime, const std::vector<std::string>& times) {
    std::string text = "@quorvel.log.time=" + logTime + "\n@polling.interval=900\n";
    for (const std::string& time : times)
        text += "@polling.start=" + time + "\n1:0:a:b:c\n\n";
    return text;
}

/// 09:30 GMT and quarter hours from 09:45 on, on 7 March 2024.
const char* const HalfPastNine = "1709803800";
const std::vector<std::string> HalfHourPolls = {"1709804700", "1709805600", "1709806500", "1709807400"};

}  // namespace

TEST_F(Archive, SampleIsSplitAsWorkedOutByHandAndASecondRunChangesNothing) {
    fs::copy(MOVRIK_SOURCE_DIR "/examples/archive", home / "archive", fs::copy_options::recursive);
    const auto before = contents();
    split();
    const auto after = contents();

    const std::string march = "quorvel2/2024/3/";
    for (const auto& [source, name] :
         std::map<std::string, std::string>{{"7/blr-20240307-15.in", "7/blr-20240307-15"},
                                            {"8/blr-20240308-15.splitsrc", "8/blr-20240308-15"},
                                            {"8/blr-20240308-16.in", "8/blr-20240308-16"}}) {
        EXPECT_EQ(after.at(march + name + ".splitsrc"), before.at(march + source));
        for (const char* part : {".split1.in", ".split2.in"})
            EXPECT_EQ(after.at(march + name + part),
                      readFile(MOVRIK_SOURCE_DIR "/tests/expected/archive/" + name + part))
                << name << part;
    }
    for (const char* untouched : {"7/osl-20240307-11.in", "7/osl-20240307-12.in.gz", "8/operator-notes.txt"})
        EXPECT_EQ(after.at(march + untouched), before.at(march + untouched));
    EXPECT_EQ(after.at(march + "7/blr-20240307-16.splitsrc.gz"),
              before.at(march + "7/blr-20240307-16.in.gz"));
    // Five sources with two outputs each, two whole-hour files, the notes.
    EXPECT_EQ(after.size(), 5u * 3 + 2 + 1);

    split();
    EXPECT_EQ(contents(), after);
}

TEST_F(Archive, GzipGivesTheTextOfItsPlainTwinAndTheReadersExtraLine) {
    const std::string text =
        readFile(MOVRIK_SOURCE_DIR "/examples/archive/quorvel2/2024/3/7/blr-20240307-15.in");
    writeFile(day(7) + "a-plain.in", text);
    writeGzip(day(7) + "a-packed.in.gz", text);
    split();
    EXPECT_EQ(readGzip(day(7) + "a-packed.split1.in.gz"), readFile(day(7) + "a-plain.split1.in"));
    EXPECT_EQ(readGzip(day(7) + "a-packed.split2.in.gz"), readFile(day(7) + "a-plain.split2.in") + "\n");
    EXPECT_EQ(readGzip(day(7) + "a-packed.splitsrc.gz"), text);
}

TEST_F(Archive, AnIncomingFileBesideItsSourceStaysAndTheSourceIsSplit) {
    const std::string source = pollFile(HalfPastNine, HalfHourPolls);
    const std::string incoming = source + "@comment=newer\n";
    writeFile(day(7) + "a-b.splitsrc", source);
    writeFile(day(7) + "a-b.in", incoming);
    const std::string log = split();
    EXPECT_EQ(readFile(day(7) + "a-b.in"), incoming);
    EXPECT_EQ(readFile(day(7) + "a-b.splitsrc"), source);
    EXPECT_TRUE(fs::exists(day(7) + "a-b.split1.in") && fs::exists(day(7) + "a-b.split2.in"));
    EXPECT_NE(log.find("@vorz.splitter.rename.failed{Failed to rename half-hour time zone file in \"" +
                       day(7).substr(0, day(7).size() - 1) + "\" from \"a-b.in\" to \"a-b.splitsrc\"};"),
              std::string::npos)
        << log;
}

TEST_F(Archive, FilesThatCannotBeReadOrWrittenAreLoggedAndTheWalkGoesOn) {
    fs::create_directories(day(7) + "a-directory.in");
    fs::create_symlink("nowhere", day(7) + "b-dangling.in");
    writeFile(day(7) + "c-blocked.in", pollFile(HalfPastNine, HalfHourPolls));
    fs::create_directory(day(7) + "c-blocked.split1.in");
    writeFile(day(8) + "d-good.in", pollFile(HalfPastNine, HalfHourPolls));
    const std::string log = split();
    EXPECT_NE(log.find("@vorz.splitter.open-in.failed{Failed to open file \"" + day(7) +
                       "b-dangling.in\" for reading - skipping file};"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("@vorz.splitter.open-out.failed{Failed to open file \"" + day(7) +
                       "c-blocked.split1.in\" for writing};"),
              std::string::npos)
        << log;
    EXPECT_TRUE(fs::is_regular_file(day(7) + "c-blocked.split2.in"));
    EXPECT_TRUE(fs::is_directory(day(7) + "a-directory.in"));
    EXPECT_TRUE(fs::exists(day(8) + "d-good.split2.in"));
}

TEST_F(Archive, NamesDecideWhatIsLookedAt) {
    const std::string text = pollFile(HalfPastNine, HalfHourPolls);
    for (const char* name :
         {"nohyphen.in", "a-b.txt", "a-b.split1.in", "a-c.split12.in", "a-d.in.GZ", "a-e.in.old"})
        writeFile(day(7) + name, text);
    split();
    for (const char* kept : {"nohyphen.in", "a-b.txt", "a-b.split1.in", "a-d.in.GZ"})
        EXPECT_EQ(readFile(day(7) + kept), text) << kept;
    EXPECT_EQ(listTree(home / "archive").size(), 4u + 3 + 3);
    EXPECT_TRUE(fs::exists(day(7) + "a-c.split12.split2.in") && fs::exists(day(7) + "a-e.in.split1.old"));
}

TEST_F(Archive, DamagedInputLosesNothing) {
    const std::string polls = pollFile(HalfPastNine, HalfHourPolls);
    std::string noise;
    for (unsigned int i = 0, x = 12345; i < 200000; ++i)
        noise += static_cast<char>((x = x * 1103515245 + 12345) >> 16);
    writeFile(day(7) + "a-empty.in", "");
    writeFile(day(7) + "b-noise.in", noise);
    writeFile(day(7) + "c-noise-in-polls.in", polls + noise + "\n" + polls);
    writeFile(day(7) + "d-one-line.in", polls + std::string(5000000, ':'));
    writeFile(day(7) + "e-not-gzip.in.gz", noise);
    writeGzip(day(7) + "f-cut.in.gz", polls + noise);
    fs::resize_file(day(7) + "f-cut.in.gz", fs::file_size(day(7) + "f-cut.in.gz") / 2);
    writeFile(day(7) + "g-times.in", pollFile("x", {"-1", "", "99999999999999999999", "4294967295"}));
    const auto before = contents();
    split();
    const auto after = contents();
    for (const auto& [name, bytes] : before) {
        const std::string stem = name.substr(0, name.rfind(".in"));
        const bool packed = name.ends_with(".gz");
        const auto kept =
            after.contains(name) ? after.at(name) : after.at(stem + (packed ? ".splitsrc.gz" : ".splitsrc"));
        EXPECT_TRUE(kept == bytes) << name;
    }
    // Everything from the poll behind the split on reaches the second file byte for byte.
    const std::string tail = polls.substr(polls.find("@polling.start=1709806500")) + noise + "\n" + polls;
    EXPECT_TRUE(after.at("quorvel2/2024/3/7/c-noise-in-polls.split2.in").ends_with(tail));
}

TEST_F(Archive, TheServersZoneDecidesWhichFilesStraddleItsHours) {
    // Quarter-hour polls that lie around a whole hour of GMT, or around half past.
    const std::vector<std::string> aroundHalf = {"1709806500", "1709807400", "1709808300", "1709809200"};
    struct {
        const char* zone;
        bool wholeIsSplit, halfIsSplit;
    } cases[] = {
        {"+00:00", true, false},
        {"-08:00", true, false},
        {"+05:30", false, true},
        // North: daylight saving begins on 10 March, so 7 March is still at -03:30.
        {"-03:30 (+01:00 3M2W6D2H-11M1W6D2H)", false, true},
        // South, with a shift of half an hour: 7 March is still in daylight saving, at +11:00.
        {"+10:30 (+00:30 10M1W6D2H-4M1W6D2H)", true, false},
        // The same zone with its summer over before March: +10:30.
        {"+10:30 (+00:30 10M1W6D2H-2M1W6D2H)", false, true},
    };
    for (const auto& c : cases) {
        fs::remove_all(home / "archive");
        writeFile(day(7) + "a-whole.in", pollFile(HalfPastNine, HalfHourPolls));
        writeFile(day(7) + "a-half.in", pollFile("1709805600", aroundHalf));
        split(c.zone);
        EXPECT_EQ(fs::exists(day(7) + "a-whole.split2.in"), c.wholeIsSplit) << c.zone;
        EXPECT_EQ(fs::exists(day(7) + "a-half.split2.in"), c.halfIsSplit) << c.zone;
        if (c.halfIsSplit) {
            EXPECT_TRUE(readFile(day(7) + "a-half.split2.in")
                            .starts_with("@quorvel.split=2\n@quorvel.log.time=1709807400\n"))
                << c.zone;
        }
    }
}
