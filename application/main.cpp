#include <malloc.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <limits>

#include "QuorvelArchiveFileSplitter.h"

using MovrikCorelib::AppFrame;

namespace {

/// A poll file lives in memory in millions of small pieces. They get a part of the heap that grows by large
/// pages, and each is joined to its neighbours as soon as it is freed, while these are in the processor's
/// cache. Where the system refuses, memory comes as it always does.
void prepareHeap() {
    constexpr int Reserve = 2000 << 20, BelowMapped = 100 << 10, Usual = 128 << 10;
    constexpr unsigned long LargePage = 2 << 20;
    mallopt(M_MXFAST, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_TOP_PAD, Reserve);
    char* begin = static_cast<char*>(sbrk(0));
    void* volatile const block = malloc(BelowMapped);
    free(block);
    mallopt(M_TOP_PAD, Usual);
    begin += LargePage - reinterpret_cast<unsigned long>(begin) % LargePage;
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
