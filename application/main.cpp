#include <malloc.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include "QuorvelArchiveFileSplitter.h"

using MovrikCorelib::AppFrame;

namespace {

/// A poll file lives in memory in millions of small pieces. They get a heap of large pages, half the
/// machine's memory in reach though not taken, and each is joined to its neighbours as soon as it is freed,
/// while these are in the processor's cache. Where the system refuses, memory comes as it always does.
void prepareHeap() {
    constexpr int Disabled = -1, UsualMaps = 65536;
    constexpr std::size_t LargePage = 2 << 20;
    mallopt(M_MXFAST, 0);
    mallopt(M_TRIM_THRESHOLD, Disabled);
    mallopt(M_MMAP_MAX, 0);
    const long pages = sysconf(_SC_PHYS_PAGES) / 2, pageSize = sysconf(_SC_PAGESIZE);
    char* begin = static_cast<char*>(sbrk(0));
    // Volatile, or the compiler drops what makes the heap grow.
    void* volatile const reserve =
        malloc(static_cast<std::size_t>(pages) * static_cast<std::size_t>(pageSize));
    free(reserve);
    mallopt(M_MMAP_MAX, UsualMaps);
    begin += LargePage - reinterpret_cast<std::size_t>(begin) % LargePage;
    if (char* const end = static_cast<char*>(sbrk(0)); end > begin)
        madvise(begin, static_cast<std::size_t>(end - begin), MADV_HUGEPAGE);
}

int runProgram(int argc, char** argv) {
    AppFrame::CommandLineC = argc;
    AppFrame::CommandLineV = argv;
    Movrik::QuorvelArchiveFileSplitter application("Quorvel Archive File Splitter",
                                                   "QuorvelArchiveFileSplitter", "1", true, "Movrik, Inc.");
    // Again, since what is constructed may have touched them.
    AppFrame::CommandLineC = argc;
    AppFrame::CommandLineV = argv;

    // Jobs in the field go on past a bad word: only the state decides, not the result of the parse.
    application.parseCmd();
    if (application.getState() == AppFrame::Succeeded || application.getState() == AppFrame::Failed)
        return application.exitProgram();
    if (!application.configure())
        return 2;
    return application.runApp();
}

}  // namespace

int main(int argc, char** argv) {
    for (const int number : {SIGABRT, SIGINT, SIGTERM})
        signal(number, AppFrame::signalQuit);
    prepareHeap();
    try {
        return runProgram(argc, argv);
    } catch (...) {
        AppFrame::output("ERROR: Unknown exception", false);
        return 2;
    }
}
