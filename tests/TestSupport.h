#pragma once

#include <string>
#include <vector>

/// Fixtures shared by all test programs. Every file that a test makes lies in a `TempDir`.
namespace TestSupport {

/// A directory of its own below the system's temporary directory, removed with all it holds at the end,
/// and with the lock files in /tmp that name it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    /// The path of `name` inside the directory.
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

/// Bytes of a plain file; the test fails if it cannot be read.
std::string readFile(const std::string& path);
/// Writes a plain file, making its directory.
void writeFile(const std::string& path, const std::string& bytes);

/// Unpacked text of a gzip file, by zlib alone.
std::string readGzip(const std::string& path);
void writeGzip(const std::string& path, const std::string& text);

/// Relative paths of all files below a directory, sorted.
std::vector<std::string> listTree(const std::string& dir);

/// How a child process ended: its exit status (-1 if a signal ended it) and what it wrote to both outputs.
struct Run {
    int status;
    std::string output;
};

/// Runs a program and waits for its end. `environment` holds "NAME=value" texts added to the present one.
Run run(const std::vector<std::string>& command, const std::vector<std::string>& environment = {});

/// Sets an environment variable for the life of the object and restores what was there before.
class ScopedEnv {
public:
    ScopedEnv(const std::string& name, const std::string& value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string name_;
    std::string before_;
    bool had_ = false;
};

}  // namespace TestSupport
