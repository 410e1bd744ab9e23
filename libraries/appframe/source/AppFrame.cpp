#include "AppFrame.h"

#include <stdio.h>
#include <unistd.h>

#include <list>
#include <map>
#include <new>
#include <set>
#include <stdexcept>

#include "ConfOldFile.h"
#include "FileRegistry.h"
#include "FileTools.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

const int FailureStatus = 2;
const int StartLogThreshold = 2;       // until the configuration tells the level
const unsigned int LockAttempts = 10;  // of 10 ms each

// The frame's name for keys and files.
std::string lowerAppName() {
    std::string appName = AppFrame::AppName;
    return StringTools::lower(appName);
}

}  // namespace

std::string AppFrame::Vendor;
std::string AppFrame::DisplayName;
std::string AppFrame::AppName;
std::string AppFrame::AppNamePure;
std::string AppFrame::AppVersion;
AppFrame::AppNameSuffix AppFrame::AppNameAppend;
int AppFrame::CommandLineC = 0;
char** AppFrame::CommandLineV = nullptr;
volatile bool AppFrame::AppQuit = false;
bool AppFrame::AppQuitOnLogOff = false;

AppFrame::AppFrame(const std::string& displayName, const std::string& appName, const std::string& version,
                   bool flag, const std::string& vendor)
    : ImsAgent("appframe") {
    Vendor = vendor;
    DisplayName = displayName;
    AppName = appName;
    AppNamePure = appName;
    AppVersion = version;
    cmdParser.init(appName, flag, false, true);
    logger.nameIfAnonymous("appframe");
    fileLogger.setLevelThreshold(StartLogThreshold);
}

AppFrame::~AppFrame() = default;

MessageHandleCode AppFrame::handleMessage(const ImsMessage& message) {
    return handleDirectMsg(message);
}

MessageHandleCode AppFrame::hookMessage(unsigned long long id, const ImsMessage& message) {
    return handleHookedMsg(id, message);
}

MessageHandleCode AppFrame::handleDirectMsg(const ImsMessage&) {
    return MessageNotHandled;
}

MessageHandleCode AppFrame::handleHookedMsg(unsigned long long, const ImsMessage&) {
    return MessageNotHandled;
}

void AppFrame::setAppNameAppend() {}

void AppFrame::registerConfigurationKeys() {}

void AppFrame::configureApp() {}

void AppFrame::verifyConfiguration() {}

bool AppFrame::parseCmd() {
    std::string error;
    if (!cmdParser.parse(CmdParser::convert(CommandLineC, CommandLineV), error)) {
        output("ERROR: " + error + "\n", false);
        return false;
    }
    std::list<std::string> lines;
    if (cmdParser.haveOption('?')) {
        lines.push_back(cmdParser.getUsageText());
    } else {
        if (cmdParser.haveOption("version"))
            lines.push_back("Version=" + cmdParser.getVersion());
        if (cmdParser.haveOption("revision"))
            lines.push_back("Revision=" + cmdParser.getRevision());
    }
    if (!lines.empty()) {
        state = Succeeded;
        output(StringTools::join(lines, '\n'), false);
    }
    return true;
}

bool AppFrame::configure() {
    try {
        specifyFileRegistry();
        registerConfigurationKeys();
        setupFileLogger();
        logger.verbose("Configuring");
        ConfOldFile().loadFileIntoBase(getConfigurationFileName(), false);
        configureFileLogger();
        configureApp();
        logger.verbose(
            "AppFrame::configure: Command line:\n%",
            ParamStream() << StringTools::join(CmdParser::convert(CommandLineC, CommandLineV), ' '));
        verifyConfiguration();
        return true;
    } catch (const Exception& e) {
        logFailure(e);
        return false;
    }
}

void AppFrame::specifyFileRegistry() {
    std::string fileName;
    if (cmdParser.getOptionValue("filereg", fileName))
        FileRegistry::setFName(fileName);
}

std::string AppFrame::getConfigurationFileName() {
    logger.trace("AppFrame::getConfigurationFileName");
    std::string fileName;
    if (!cmdParser.getOptionValue('c', fileName)) {
        try {
            fileName = confAgent.getLocalConfString("Resources\\ConfigurationDir", true);
        } catch (const Exception& e) {
            throwWrapped<Configuration_NoConfigurationDir>(e);
        }
        FileTools::completeDir(fileName);
        fileName += lowerAppName() + ".conf";
    }
    if (!FileTools::exists(fileName))
        throwFailure<Configuration_ConfigurationFileNotFound>(
            "@app-frame.configure.file-not-found{Configuration file \"%\" was not found};", ParamStream()
                                                                                                << fileName);
    return fileName;
}

void AppFrame::setupFileLogger() {
    try {
        fileLogger.enable(confAgent.getLocalConfString("Resources\\StartupLogDir", true), AppName);
    } catch (const Exception& e) {
        throw Exception(sourceTag(), e);
    }
}

void AppFrame::configureFileLogger() {
    logger.verbose("AppFrame::configureFileLogger");
    const std::string directory = confAgent.getDir("Movrik.directories.log");
    const int level = getLogLevel();
    fileLogger.disable();
    fileLogger.setLevelThreshold(level);
    Logger::MainLevel = level;
    fileLogger.enable(directory, AppName);
}

int AppFrame::getLogLevel() {
    logger.trace("AppFrame::getLogLevel");
    std::string severity = "none";
    try {
        severity = confAgent.getString("log.channels.default.severity");
    } catch (const ConfAgent::Query_NotFound&) {
        // "none", then
    }
    short debugLevel = 0;
    try {
        debugLevel = confAgent.getInt16(lowerAppName() + ".log.debug-level");
    } catch (const Exception&) {
        // 0, then
    }

    // Debug levels 2 and 3 are the same on purpose: configurations in the field hold both.
    const std::map<int, int> byDebugLevel = {{1, 5}, {2, 6}, {3, 6}, {4, 7}, {5, 8}};
    const std::map<std::string, int> bySeverity = {{"none", 0},     {"fatal", 1},   {"error", 2},
                                                   {"critical", 2}, {"warning", 3}, {"notice", 4}};
    const auto levelOf = [](const auto& levels, const auto& key) {
        const auto found = levels.find(key);
        return found == levels.end() ? 0 : found->second;
    };
    return debugLevel ? levelOf(byDebugLevel, debugLevel) : levelOf(bySeverity, StringTools::lower(severity));
}

int AppFrame::runApp() {
    try {
        return run();
    } catch (Exception& e) {
        return reportFailure(e.getFullMessage(false), e);
    } catch (const std::range_error&) {
        return reportFailure("ERROR: STD range error", "@std-range-error{STD range error};");
    } catch (const std::bad_alloc&) {
        return reportFailure("ERROR: STD out of memory", "@std-out-of-memory{STD out of memory};");
    } catch (...) {
        return reportFailure("ERROR: Unknown exception", "@unknown-exception{Unknown exception};");
    }
}

template <class Failure>
int AppFrame::reportFailure(const std::string& shown, const Failure& failure) {
    output(shown, false);
    logFailure(failure);
    return FailureStatus;
}

// A log that cannot be written must not replace the failure itself.
template <class Failure>
void AppFrame::logFailure(const Failure& failure) {
    try {
        logger.fatal(failure);
    } catch (...) {
    }
}

int AppFrame::exitProgram() const {
    return state == Failed ? FailureStatus : 0;
}

void AppFrame::setup() {
    setAppNameAppend();
    appendToAppName();
}

void AppFrame::appendToAppName() {
    if (AppNameAppend.flags & 1)
        AppName += "-" + AppNameAppend.text;
    if (AppNameAppend.flags & 2)
        AppName += "-" + std::to_string(getpid());
    if (AppNameAppend.flags & 4)
        AppName += "-" + std::to_string(getEnum());
}

void AppFrame::ensureSingleInstance() {
    if (singleInstance)
        return;
    singleInstanceLock = std::make_unique<ProcessTools::Lock>(AppName + "_Single");
    singleInstance = singleInstanceLock->lock(LockAttempts);
    if (!singleInstance) {
        singleInstanceLock.reset();
        throwFailure<AlreadyRunning>(
            "@appframe.already-running{Another instance of the application is already running - cannot start "
            "another};");
    }
}

// Reads the numbers of the running instances, changes them and writes them back, all under one lock.
template <class Change>
bool AppFrame::changeEnumList(const Change& change) {
    bool changed = false;
    ProcessTools::Lock lock(enumName);
    try {
        if (!lock.lock(true))
            throw Exception("@appframe.enum.no-lock{Failed to lock the instance numbers of \"%\"};",
                            sourceTag(), ParamStream() << enumName);
        const std::string key = enumName + "-enum";
        std::list<std::string> numbers;
        try {
            numbers = confAgent.getLocalConfList(key, true);
        } catch (const ConfAgent::GetLocal_NotFound&) {
            // No instance has ever run here.
        }
        numbers.remove(std::string());  // an empty list comes back as one empty entry
        change(numbers);
        confAgent.setLocalConf(key, numbers, true);
        changed = true;
    } catch (const Exception& e) {
        logFailure(e);
        state = Failed;
    }
    lock.unlock();
    return changed;
}

unsigned int AppFrame::getEnum() {
    if (enumerated)
        return enumNumber;
    enumName = AppName;
    enumNumber = 0;
    enumerated = changeEnumList([this](std::list<std::string>& numbers) {
        std::set<unsigned int> taken;
        for (const std::string& text : numbers)
            taken.insert(StringTools::toUInt32(text));
        while (taken.contains(enumNumber))
            ++enumNumber;
        numbers.push_back(StringTools::toString(enumNumber));
    });
    return enumerated ? enumNumber : 0;
}

void AppFrame::removeEnum() {
    if (enumerated && changeEnumList([this](std::list<std::string>& numbers) {
            numbers.remove(StringTools::toString(enumNumber));
        }))
        enumerated = false;
}

void AppFrame::signalQuit(int) {
    AppQuit = true;
}

void AppFrame::output(const std::string& text, bool) {
    printf("%s", text.c_str());
}

void AppFrame::output(const std::wstring& text, bool) {
    output(StringTools::convert(text), false);
}

}  // namespace MovrikCorelib
