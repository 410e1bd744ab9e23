// The splitter's own operations, on records as they stand in poll files.
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include <benchmark/benchmark.h>

#include "GlobMatcher.h"
#include "Splitter.h"
#include "StringTools.h"

using namespace MovrikCorelib;
using Movrik::Splitter;

namespace {

const std::string Record =
    "4:0:vendor3:feature0123:2011.2:57:3:0:user042:ws042.site.example:pts/"
    "4:31337:1709800000:h654321:project-7:0:";

std::string recordFor(unsigned int number) {
    const std::string text = std::to_string(number);
    return "4:0:vendor3:feature" + text +
           ":2011.2:57:3:0:user042:ws042.site.example:pts/4:31337:1709800000:h" + text + ":project-7:0:";
}

/// A poll file of about the given size in a directory that goes with the object.
class PollFile {
public:
    explicit PollFile(std::size_t size, const std::string& name = "a-b.in") {
        std::string pattern = (std::filesystem::temp_directory_path() / "movrik-benchmark-XXXXXX").string();
        dir_ = mkdtemp(pattern.data());
        path = dir_ + "/" + name;
        std::ofstream out(path);
        out << "@quorvel.log.time=1709803800\n@polling.interval=300\n";
        for (unsigned int number = 0; written < size; ++number) {
            const std::string line = number % 1000 ? recordFor(number) + "\n" : "@polling.start=1709804100\n";
            out << line;
            written += line.size();
        }
    }
    ~PollFile() { std::filesystem::remove_all(dir_); }

    std::string path;
    std::size_t written = 0;

private:
    std::string dir_;
};

void setBytes(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void classifyByGlob(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(GlobMatcher::match(
            Record, "?*:0:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:*", 0, std::string::npos));
    setBytes(state, Record.size());
}
BENCHMARK(classifyByGlob);

void cutRecord(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(StringTools::splitVector(Record, ':', std::string::npos, true));
    setBytes(state, Record.size());
}
BENCHMARK(cutRecord);

void joinRecord(benchmark::State& state) {
    const auto fields = StringTools::splitVector(Record, ':', std::string::npos, true);
    for (auto _ : state)
        benchmark::DoNotOptimize(Splitter::getString(fields));
    setBytes(state, Record.size());
}
BENCHMARK(joinRecord);

void readFile(benchmark::State& state) {
    const PollFile file(10000000);
    Splitter splitter;
    for (auto _ : state) {
        Splitter::FileData data;
        splitter.readFile(file.path, data);
        benchmark::DoNotOptimize(data.lines.size());
    }
    setBytes(state, file.written);
}
BENCHMARK(readFile)->Unit(benchmark::kMillisecond);

void examineFile(benchmark::State& state) {
    const PollFile file(10000000);
    Splitter splitter;
    for (auto _ : state) {
        File input(file.path);
        splitter.open(input);
        benchmark::DoNotOptimize(splitter.isHalfHourOffset(input));
    }
    setBytes(state, file.written);
}
BENCHMARK(examineFile)->Unit(benchmark::kMillisecond);

/// Records of one feature: they differ in the ninth position compared.
std::vector<Splitter::LineData> records(unsigned int count) {
    std::vector<Splitter::LineData> lines(count);
    for (unsigned int i = 0; i < count; ++i) {
        lines[i].type = Splitter::LongRecord;
        lines[i].text = Record;
        lines[i].fields = StringTools::splitVector(Record, ':', std::string::npos, true);
        lines[i].fields[13] += std::to_string(i * 7919 % count);
    }
    return lines;
}

void compareRecords(benchmark::State& state) {
    const auto lines = records(2);
    for (auto _ : state)
        benchmark::DoNotOptimize(lines[0].compare(lines[1]));
}
BENCHMARK(compareRecords);

void replaySamples(benchmark::State& state) {
    const auto lines = records(1000);
    Splitter splitter;
    std::set<Splitter::LineData> usage(lines.begin(), lines.end());
    std::size_t next = 0;
    for (auto _ : state) {
        splitter.processUsage(usage, lines[next]);
        next = (next + 1) % lines.size();
    }
    setBytes(state, Record.size());
}
BENCHMARK(replaySamples);

}  // namespace

BENCHMARK_MAIN();
