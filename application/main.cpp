#include <malloc.h>
#include <signal.h>

#include "QuorvelArchiveFileSplitter.h"

using MovrikCorelib::AppFrame;

namespace {

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
    // A poll file lives in memory in millions of small pieces. Joining each to its neighbours as it is freed
    // costs less than collecting them first, since its surroundings are in the processor's cache then.
    mallopt(M_MXFAST, 0);
    try {
        return runProgram(argc, argv);
    } catch (...) {
        AppFrame::output("ERROR: Unknown exception", false);
        return 2;
    }
}
