#include <malloc.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>

#include "QuorvelArchiveFileSplitter.h"

using MovrikCorelib::AppFrame;

namespace {

/// A poll file lives in memory in millions of small pieces. They get a heap of large pages, with half the
/// machine's memory in reach though not taken, and freed pieces are joined to their neighbours at once, while
/// these are in the processor's cache. What a file has taken stays for the next one. Where the system
/// refuses, memory comes as it always does.
void prepareHeap() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they have a heap of their own
    constexpr int Disabled = -1;
    constexpr std::uintptr_t LargePage = 2 << 20;
    mallopt(M_MXFAST, 0);
    int overcommit = 2;  // the mode that charges a process for all that it could touch
    std::ifstream("/proc/sys/vm/overcommit_memory") >> overcommit;
    if (overcommit == 2)
        return;
    mallopt(M_TRIM_THRESHOLD, Disabled);
    mallopt(M_MMAP_MAX, 0);
    const long pages = sysconf(_SC_PHYS_PAGES) / 2, pageSize = sysconf(_SC_PAGESIZE);
    char* begin = static_cast<char*>(sbrk(0));
    // Volatile, or the compiler drops what makes the heap grow.
    void* volatile const reserve =
        malloc(static_cast<std::size_t>(pages) * static_cast<std::size_t>(pageSize));
    free(reserve);
    begin += LargePage - reinterpret_cast<std::uintptr_t>(begin) % LargePage;
    if (char* const end = static_cast<char*>(sbrk(0)); end > begin)
        madvise(begin, static_cast<std::size_t>(end - begin), MADV_HUGEPAGE);
#endif
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
