#pragma once

#include <memory>
#include <string>

#include "CmdParser.h"
#include "ConfAgent.h"
#include "ConfBase.h"
#include "Exception.h"
#include "FileLogger.h"
#include "ImsAgent.h"
#include "Logger.h"
#include "ProcessTools.h"
#include "SystemBase.h"

namespace MovrikCorelib {

/// Base of every application: builds the services in a fixed order, drives the start-up and catches what
/// comes out of `run`. A `main` builds the subclass, then calls `parseCmd`, `configure` and `runApp`; the
/// value of the last is the exit status. A subclass calls `construct` in its own constructor and `destruct`
/// in its destructor. One frame per process, used from the main thread only.
class AppFrame : public ImsAgent {
public:
    /// Wraps the failure that kept the configuration directory from being found.
    MOVRIK_FAILURE(Configuration_NoConfigurationDir);
    MOVRIK_FAILURE(Configuration_ConfigurationFileNotFound);
    MOVRIK_FAILURE(AlreadyRunning);

    enum State { Running = 0, Succeeded = 2, Failed = 3 };  ///< 2 and 3: the run is over

    /// What `setup` appends to the application name: each bit adds "-" and one thing, in this order.
    struct AppNameSuffix {
        unsigned int flags = 0;  ///< 1: `text`, 2: the process id, 4: the number from `getEnum`
        std::string text;
    };

    static std::string Vendor;
    static std::string DisplayName;
    static std::string AppName;      ///< names keys and files; `setup` may append to it
    static std::string AppNamePure;  ///< as given to the constructor
    static std::string AppVersion;
    static AppNameSuffix AppNameAppend;
    static int CommandLineC;  ///< argc and argv of the process, set by `main`
    static char** CommandLineV;
    static volatile bool AppQuit;  ///< set by a signal; what runs long may poll it
    static bool AppQuitOnLogOff;

    /// `flag` tells whether the command line has the built-in options (`CmdParser::init`).
    AppFrame(const std::string& displayName, const std::string& appName, const std::string& version,
             bool flag, const std::string& vendor);
    AppFrame(const AppFrame&) = delete;
    AppFrame& operator=(const AppFrame&) = delete;
    ~AppFrame() override;

    MessageHandleCode handleMessage(const ImsMessage& message) override;
    MessageHandleCode hookMessage(unsigned long long id, const ImsMessage& message) override;

    /// Fills in `AppNameAppend`.
    virtual void setAppNameAppend();
    virtual void construct() = 0;
    virtual void destruct() = 0;
    /// Called by `configure`: ahead of all configuration, once the tree and the log stand, and last.
    virtual void registerConfigurationKeys();
    virtual void configureApp();
    virtual void verifyConfiguration();
    /// The work of the application; returns the exit status.
    virtual int run() = 0;
    virtual MessageHandleCode handleDirectMsg(const ImsMessage& message);
    virtual MessageHandleCode handleHookedMsg(unsigned long long id, const ImsMessage& message);

    /// Applies the command line. An error is printed and gives false; `getState` stays as it is, so the
    /// caller may go on with the options that were read. If help, version or revision was asked for, it is
    /// printed and the state becomes `Succeeded`.
    bool parseCmd();

    /// Chooses the file registry, opens the logs, loads and verifies the configuration. A failure is logged
    /// and gives false. Throws nothing derived from `Exception`.
    bool configure();
    /// Applies the option "filereg".
    void specifyFileRegistry();
    /// The option -c, or the application's file in the configured directory. Throws the two
    /// `Configuration_` failures.
    std::string getConfigurationFileName();

    /// Opens the start-up log. A failure is thrown as an `Exception` that contains it.
    void setupFileLogger();
    /// Moves the log to its configured directory and level.
    void configureFileLogger();
    /// 0 to 8, from the configured debug level, or from the severity if that is 0.
    int getLogLevel();

    /// Calls `run` and returns its result. Whatever comes out of it is printed and logged, and gives 2.
    int runApp();

    /// A `State`.
    int getState() const { return state; }
    /// The exit status by the state: 2 if it failed, otherwise 0.
    int exitProgram() const;

    /// Asks `setAppNameAppend` for the suffix and appends it.
    void setup();
    void appendToAppName();

    /// Holds a lock on the application's name from here to the end of the frame. Throws `AlreadyRunning` if
    /// another process has it.
    void ensureSingleInstance();
    /// The smallest number, from 0, that no instance of this name holds; it stands in the file registry until
    /// `removeEnum`, and further calls give the same. A failure is logged, makes the state `Failed` and gives
    /// 0.
    unsigned int getEnum();
    void removeEnum();

    /// Signal handler, does nothing but set `AppQuit`.
    static void signalQuit(int signal);

    /// Writes the text, up to its first NUL, to standard output without a line ending. The bool has no
    /// effect.
    static void output(const std::string& text, bool unused);
    static void output(const std::wstring& text, bool unused);

private:
    Logger frameLogger;
    SystemBase systemBase;
    ConfBase confBase;

protected:
    Logger logger;
    FileLogger fileLogger;
    CmdParser cmdParser;
    ConfAgent confAgent;

private:
    template <class Failure>
    int reportFailure(const std::string& shown, const Failure& failure);
    template <class Failure>
    void logFailure(const Failure& failure);
    template <class Change>
    bool changeEnumList(const Change& change);

    bool singleInstance = false;
    std::unique_ptr<ProcessTools::Lock> singleInstanceLock;
    bool enumerated = false;
    unsigned int enumNumber = 0;
    std::string enumName;  ///< application name under which the number stands
    int state = Running;
};

}  // namespace MovrikCorelib
