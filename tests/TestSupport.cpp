#include "TestSupport.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace TestSupport {

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "movrik-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("no temporary directory");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    // Locks on files of the directory stay by design.
    const std::string own = fs::path(path_).filename().string();
    for (const auto& entry : fs::directory_iterator("/tmp", ignored))
        if (const std::string file = entry.path().filename().string();
            file.starts_with("lock_") && file.find(own) != std::string::npos)
            fs::remove(entry.path(), ignored);
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.is_open()) << path;
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeFile(const std::string& path, const std::string& bytes) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    out.close();
    EXPECT_TRUE(out.good()) << path;
}

std::string readGzip(const std::string& path) {
    std::string text;
    gzFile in = gzopen(path.c_str(), "rb");
    EXPECT_NE(in, nullptr) << path;
    char block[4096];
    for (int n; in && (n = gzread(in, block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(n));
    gzclose(in);
    return text;
}

void writeGzip(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    gzFile out = gzopen(path.c_str(), "wb");
    ASSERT_NE(out, nullptr) << path;
    const unsigned int size = static_cast<unsigned int>(text.size());
    EXPECT_EQ(size == 0 ? 0 : gzwrite(out, text.data(), size), static_cast<int>(size));
    EXPECT_EQ(gzclose(out), Z_OK);
}

std::vector<std::string> listTree(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(dir))
        if (!entry.is_directory())
            names.push_back(fs::relative(entry.path(), dir).string());
    std::sort(names.begin(), names.end());
    return names;
}

Run run(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
    std::string line = "exec env";
    const auto add = [&line](const std::vector<std::string>& words) {
        for (const std::string& word : words) {
            line += " '";
            for (char c : word)
                line += c == '\'' ? std::string("'\\''") : std::string(1, c);
            line += "'";
        }
    };
    add(environment);
    add(command);
    Run result{-1, {}};
    FILE* pipe = popen((line + " 2>&1").c_str(), "r");
    char block[4096];
    for (std::size_t n; pipe && (n = fread(block, 1, sizeof block, pipe)) > 0;)
        result.output.append(block, n);
    const int status = pipe ? pclose(pipe) : -1;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

ScopedEnv::ScopedEnv(const std::string& name, const std::string& value) : name_(name) {
    if (const char* old = getenv(name.c_str())) {
        before_ = old;
        had_ = true;
    }
    setenv(name.c_str(), value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
    if (had_)
        setenv(name_.c_str(), before_.c_str(), 1);
    else
        unsetenv(name_.c_str());
}

}  // namespace TestSupport
