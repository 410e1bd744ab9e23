// The library's operations that a run repeats: lines, dates, texts with placeholders, log calls, settings.
#include <stdlib.h>

#include <filesystem>

#include <benchmark/benchmark.h>

#include "ConfAgent.h"
#include "ConfBase.h"
#include "DateTime.h"
#include "DateTimeDetails.h"
#include "File.h"
#include "FileLogger.h"
#include "Ims.h"
#include "ImsAgent.h"
#include "Logger.h"
#include "ParamStream.h"
#include "TimeZone.h"

using namespace MovrikCorelib;

namespace {

class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "movrik-benchmark-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~TempDir() { std::filesystem::remove_all(path); }
    std::string path;
};

const std::string Line =
    "4:0:vendor3:feature0123:2011.2:57:3:0:user042:ws042.site.example:pts/4:31337:1709800000:h6:p:0:";

void setBytes(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void readLines(benchmark::State& state, const char* suffix) {
    const TempDir dir;
    constexpr int Lines = 100000;
    const std::string path = dir.path + "/lines" + suffix;
    {
        File out(path);
        out.openOut();
        for (int i = 0; i < Lines; ++i) {
            out.write(Line);
            out.write('\n');
        }
        out.close();
    }
    std::string line;
    for (auto _ : state) {
        File in(path);
        in.openIn();
        while (in.readUntil(line, '\n'))
            benchmark::DoNotOptimize(line.data());
    }
    setBytes(state, Lines * (Line.size() + 1));
}
BENCHMARK_CAPTURE(readLines, plain, ".in")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readLines, gzip, ".in.gz")->Unit(benchmark::kMillisecond);

void writeLines(benchmark::State& state) {
    File out("/dev/null");
    out.openOut();
    for (auto _ : state) {
        out.write(Line);
        out.write('\n');
    }
    setBytes(state, Line.size() + 1);
}
BENCHMARK(writeLines);

void makeDateTime(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(DateTime());
}
BENCHMARK(makeDateTime);

void countToFields(benchmark::State& state) {
    const DateTime moment(3918877502000ULL);
    for (auto _ : state)
        benchmark::DoNotOptimize(DateTimeDetails(moment));
}
BENCHMARK(countToFields);

void alignInZone(benchmark::State& state) {
    const TimeZone zone("+10:30 (+00:30 10M1W6D2H-4M1W6D2H)");
    for (auto _ : state) {
        DateTime moment(3918877502000ULL, zone);
        moment.alignTZ(3600000, zone);
        benchmark::DoNotOptimize(moment);
    }
}
BENCHMARK(alignInZone);

void formatText(benchmark::State& state) {
    ParamStream values = ParamStream() << "a-b.in" << 42;
    for (auto _ : state)
        benchmark::DoNotOptimize(values.format("Failed to open file \"%\" for reading (error=%)"));
}
BENCHMARK(formatText);

void disabledLogCall(benchmark::State& state) {
    const Logger logger("benchmark", nullptr);
    for (auto _ : state) {
        logger.flood("nobody wants to know");
        benchmark::ClobberMemory();
    }
}
BENCHMARK(disabledLogCall);

void unheardLogCall(benchmark::State& state) {
    const Logger logger("benchmark", nullptr);
    for (auto _ : state)
        logger.info("nobody hears it");
}
BENCHMARK(unheardLogCall);

void writtenLogLine(benchmark::State& state) {
    const TempDir dir;
    FileLogger file;
    file.enable(dir.path, "benchmark");
    const Logger logger("benchmark", nullptr);
    for (auto _ : state)
        logger.info("one line of a usual length, with its number %", ParamStream() << 42);
    file.disable();
}
BENCHMARK(writtenLogLine);

class Listener : public ImsAgent {
public:
    Listener() : ImsAgent("listener"), hook_(setMessageHook(false, "benchmark", "", "", HookNormal)) {}
    ~Listener() override { removeMessageHook(hook_); }
    MessageHandleCode hookMessage(unsigned long long, const ImsMessage&) override { return MessageHandled; }

private:
    unsigned long long hook_;
};

void sendToFiveHooks(benchmark::State& state) {
    const Listener listeners[5];
    ImsMessage message;
    message.generalType = "benchmark";
    for (auto _ : state)
        benchmark::DoNotOptimize(Ims::sendDefault(message));
}
BENCHMARK(sendToFiveHooks);

void readSetting(benchmark::State& state) {
    const int level = std::exchange(Logger::MainLevel, 4);
    ConfBase base;
    ConfAgent agent;
    agent.setNode("section.directories.archive", "", 10);
    agent.setDir("section.directories.archive", "/var/opt/archive");
    agent.registerKeyword("archive-dir", "section.directories.archive");
    for (auto _ : state)
        benchmark::DoNotOptimize(agent.getDir("%archive-dir%"));
    Logger::MainLevel = level;
}
BENCHMARK(readSetting);

}  // namespace

BENCHMARK_MAIN();
