#include "QuorvelArchiveFileSplitter.h"

#include "Splitter.h"
#include "StringTools.h"

using MovrikCorelib::ConfAgent;
using MovrikCorelib::DateTimeDetails;
using MovrikCorelib::ParamStream;
using MovrikCorelib::StringTools;

namespace Movrik {

QuorvelArchiveFileSplitter::QuorvelArchiveFileSplitter(const std::string& displayName,
                                                       const std::string& appName, const std::string& version,
                                                       bool flag, const std::string& vendor)
    : AppFrame(displayName, appName, version, flag, vendor) {
    QuorvelArchiveFileSplitter::construct();
}

QuorvelArchiveFileSplitter::~QuorvelArchiveFileSplitter() {
    try {
        QuorvelArchiveFileSplitter::destruct();
    } catch (...) {
        // The log cannot be written; the run is over all the same.
    }
}

void QuorvelArchiveFileSplitter::construct() {
    logger.sourceName = "main";
    logger.info("Constructing application");
    cmdParser.specifyOptionWithValueArg("start", 's', "Start time of period to scan (yyyy-mm-dd)");
    cmdParser.specifyOptionWithValueArg("end", 'e', "End time of period to scan (yyyy-mm-dd)");
    cmdParser.addDocLine(
        "Split up Quorvel files from time zones that are half-hour offsets from the current (on the "
        "server).");
}

void QuorvelArchiveFileSplitter::destruct() {
    logger.info("Ending run");
}

void QuorvelArchiveFileSplitter::registerConfigurationKeys() {
    logger.verbose("QuorvelArchiveFileSplitter::registerConfigurationKeys");
    std::string key = AppName;
    StringTools::lower(key);
    confAgent.registerKeyword("archive-dir", key + ".archive-dir");
}

void QuorvelArchiveFileSplitter::verifyConfiguration() {
    logger.verbose("QuorvelArchiveFileSplitter::verifyConfiguration");
    confAgent.testDir("%archive-dir%", ConfAgent::CreateIfMissing);
}

int QuorvelArchiveFileSplitter::run() {
    logger.info("Running application");
    DateTimeDetails start, end;
    if (!getStartEnd(start, end))
        return 2;
    return Splitter().run(start, end) ? 0 : 2;
}

bool QuorvelArchiveFileSplitter::getStartEnd(DateTimeDetails& start, DateTimeDetails& end) {
    std::string value;
    if (!getOption("start", value))
        return false;
    start.set(value);
    if (!getOption("end", value))
        return false;
    end.set(value);
    return true;
}

bool QuorvelArchiveFileSplitter::getOption(const std::string& option, std::string& value) {
    if (cmdParser.getOptionValue(option, value))
        return true;
    logger.error("@vorz.run.missing.option{Missing command line option \"%\"};", ParamStream() << option);
    output("ERROR: Missing command line option '" + option + "'", false);
    return false;
}

}  // namespace Movrik
