#pragma once

#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ThreadLock.h"

namespace MovrikCorelib {

/// Locks between processes, and child processes. Nothing here throws: every operation reports by its result.
class ProcessTools {
public:
    /// A named lock between the processes of one machine, recursive within its process. It is no lock between
    /// threads, and one object belongs to one thread at a time.
    ///
    /// The lock is a POSIX record lock on the file "/tmp/lock_" plus the name, with ":", "/" and "\" turned
    /// into "_". The file stays on the disk. All objects of one name in a process share one descriptor, as
    /// closing any descriptor of a file would drop the locks of all; the file is free when the last of them
    /// has let go. A child made by `fork` holds nothing. Destroying a held lock releases it.
    class Lock {
    public:
        explicit Lock(const std::string& lockName);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

        /// True if this process now holds the lock, once more than before. With `wait` false it never blocks.
        /// False for an empty name, a lock file that cannot be written, or a lock held by another process.
        bool lock(bool wait);

        /// Up to `attempts` tries, with a pause of 10 milliseconds after each one that failed.
        bool lock(unsigned int attempts);

        /// Undoes one `lock`; false if this process does not hold the lock.
        bool unlock();

    private:
        bool initialize();
        bool assertFDescOpen();
        void assertFDescClosed();
        bool reEnforce(int pid);
        bool unixLock(bool wait, int pid);

        std::string name;
        bool initialized = false;
        int owner = 0;
        int count = 0;
        int fd = -1;
        bool fdOpen = false;
    };

    /// One child process, or a handle on a process that somebody else started. An object belongs to one
    /// thread; only its `state` and `exitCode` are also written by whoever collects ended children.
    /// Destroying the object leaves its program running.
    class Process {
    public:
        /// A program to be run later; `program` is looked up along "PATH". An argument string is cut by
        /// `convertArgs`. With `keepDescriptors` false the program starts with descriptors 0 to 2 only, up to
        /// number 511. With `deleteAtEnd` true the object must come from `newProcess`, and a successful `run`
        /// hands it over to `handleGarbage`.
        Process(const std::string& programName, const std::string& arguments, bool keepDescriptors = false,
                bool deleteAtEnd = false);
        Process(const std::wstring& programName, const std::wstring& arguments, bool keepDescriptors = false,
                bool deleteAtEnd = false);
        Process(const std::string& programName, const std::vector<std::string>& arguments,
                bool keepDescriptors = false, bool deleteAtEnd = false);
        Process(const std::wstring& programName, const std::vector<std::wstring>& arguments,
                bool keepDescriptors = false, bool deleteAtEnd = false);

        /// A process that exists already, taken as running. Its exit code is never known.
        explicit Process(int existingPid);

        ~Process();
        Process(const Process&) = delete;
        Process& operator=(const Process&) = delete;

        /// Makes the next `run` deliver the program's standard output to `readPipe`, and switches `inherit`
        /// on. Until that `run` returns, the standard output of this process leads into the pipe as well. A
        /// program run this way is ended by an alarm after 10 seconds. False while the process runs.
        bool usePipe();

        /// Appends up to 512 bytes of the program's output, waiting for some. False at the end of the output
        /// with `errno` 0, or for an error with `errno` set. The wide form holds back a character that is not
        /// complete yet; what is still incomplete at the end is appended there.
        bool readPipe(std::string& output);
        bool readPipe(std::wstring& output);

        /// Starts the program. True if it was started, also if it has ended since; `exitCode` is then kept up
        /// to date by `waitPID`. False if it runs already or could not be started: `errno` tells why. Takes
        /// about 220 milliseconds on success.
        bool run();

        /// Count nested suspensions in this object; the process itself is not stopped. False unless it runs.
        bool suspend();
        bool resume();

        /// Ends all suspensions and sends signal 15 or 9; true if the signal was sent. A process killed this
        /// way is collected, and the object forgets its `pid`.
        bool stop();
        bool kill();

        /// Neither ended nor suspended.
        bool isRunning();

        /// Who the process runs as, asked from the system at the first call: -1 or an empty name if it cannot
        /// be told.
        long long getUID();
        long long getGID();
        std::string getUser();
        std::string getGroup();

        /// Ask anew and fill `uid` and `user`, or `gid` and `group`; false if there is no such process.
        bool getUserDetails();
        bool getGroupDetails();

        enum State { NotStarted = 0, Running = 1, Suspended = 2, Killed = 5, Ended = 6 };

        std::string program;
        std::vector<std::string> args;
        bool inherit = false;  ///< the program keeps the descriptors above 2
        int pipeRead = -1;
        int pipeWrite = -1;
        int savedStdout = -1;
        bool usesPipe = false;
        int pid = 0;
        int parentPid = 0;
        int state = NotStarted;
        bool autoDelete = false;
        int suspendCount = 0;
        int exitCode = -1;  ///< -1 until known, or 2000 plus `errno` if collecting the child failed
        long long uid = 0;
        long long gid = 0;
        std::string user;
        std::string group;

    private:
        friend class ProcessTools;

        bool isOwnChild() const;
        void refresh();
        bool launch();
        bool sendSignal(int number);
        void restoreStdout();
        void dropPipe();
        void forgetUser();

        static std::map<int, Process*> StartedProcs;
        static ThreadLock StartedProcsLock;

        std::string pipeRest;
    };

    /// A `Process` from the heap, to be given back with `deleteProcess` unless it deletes itself at its end.
    static Process* newProcess(const std::string& program, const std::string& arguments,
                               bool keepDescriptors = false, bool deleteAtEnd = false);
    static Process* newProcess(const std::wstring& program, const std::wstring& arguments,
                               bool keepDescriptors = false, bool deleteAtEnd = false);
    static Process* newProcess(const std::string& program, const std::vector<std::string>& arguments,
                               bool keepDescriptors = false, bool deleteAtEnd = false);
    static Process* newProcess(const std::wstring& program, const std::vector<std::wstring>& arguments,
                               bool keepDescriptors = false, bool deleteAtEnd = false);
    static Process* newProcess(int pid);

    /// Deletes the object and sets the caller's pointer to null. A program that runs goes on.
    static void deleteProcess(Process** process);

    /// Deletes the objects handed over by `deleteAtEnd` whose program has ended.
    static void handleGarbage();

    /// Cuts a command line at white space outside quotes (' or "). Quotes around a whole argument are
    /// removed, empty arguments dropped.
    static std::vector<std::string> convertArgs(const std::string& line);
    static std::vector<std::wstring> convertArgs(const std::wstring& line);

    /// The command line that the forms above cut into these arguments; arguments with white space or quotes
    /// are quoted. An empty argument, or one that holds both kinds of quotes, does not survive.
    static std::string convertArgs(const std::vector<std::string>& arguments);
    static std::wstring convertArgs(const std::vector<std::wstring>& arguments);

    /// `StringTools::convert` on each argument.
    static std::vector<std::string> convert(const std::vector<std::wstring>& arguments);
    static std::vector<std::wstring> convert(const std::vector<std::string>& arguments);

    /// `Process::run`; false for null.
    static bool start(Process* process);

    /// Runs the program. With `output` null it only starts it; otherwise the program's standard output is
    /// appended to `output` and the call returns when the program has ended. False if it could not be
    /// started, or if reading failed, with `output` cleared. The timeout is not read: callers pass one in any
    /// unit.
    static bool run(Process* process, unsigned long long timeout, std::string* output);

    /// Collects all children that have ended, also those that no `Process` knows.
    static void catchZombies();

    /// Collects the child `pid`, or every child for -1, without waiting, and notes its end in its `Process`.
    static void waitPID(int pid);

    /// Threads of a process cannot be told on this platform: gives false and leaves the list alone.
    static bool getThreads(int pid, std::list<unsigned long>& threads);

    /// The ids of all processes, by the command "ps". False if it gives nothing; the set is then empty.
    static bool getRunningProcesses(std::set<int>& pids);

private:
    static std::map<int, Process*> Processes;
    static ThreadLock ProcessesLock;
};

}  // namespace MovrikCorelib
