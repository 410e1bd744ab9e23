// What the machine allows: the least work that the program's inputs ask for, for scripts/benchmark.
//   limits read FILE...    reads plain and gzip files in blocks and finds every line end with memchr
//   limits gzip FILE...    unpacks each file twice and packs its text once, at zlib's default level
#include <fcntl.h>
#include <string.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::vector<char> block(256 * 1024);

unsigned long countLines(const char* text, std::size_t size) {
    unsigned long lines = 0;
    const char* end = text + size;
    while ((text = static_cast<const char*>(memchr(text, '\n', static_cast<std::size_t>(end - text))))) {
        ++lines;
        ++text;
    }
    return lines;
}

unsigned long readPlain(const char* path) {
    unsigned long lines = 0;
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    for (ssize_t n; (n = read(file, block.data(), block.size())) > 0;)
        lines += countLines(block.data(), static_cast<std::size_t>(n));
    close(file);
    return lines;
}

unsigned long readPacked(const char* path, std::string* text) {
    unsigned long lines = 0;
    gzFile file = gzopen(path, "rb");
    for (int n; (n = gzread(file, block.data(), static_cast<unsigned int>(block.size()))) > 0;) {
        lines += countLines(block.data(), static_cast<std::size_t>(n));
        if (text)
            text->append(block.data(), static_cast<std::size_t>(n));
    }
    gzclose(file);
    return lines;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2)
        return 2;
    const std::string_view what = argv[1];
    unsigned long lines = 0;
    for (int i = 2; i < argc; ++i) {
        if (what == "read") {
            lines += std::string_view(argv[i]).ends_with(".gz") ? readPacked(argv[i], nullptr)
                                                                : readPlain(argv[i]);
            continue;
        }
        std::string text;
        lines += readPacked(argv[i], nullptr) + readPacked(argv[i], &text);
        gzFile out = gzopen("/dev/null", "wb");
        gzwrite(out, text.data(), static_cast<unsigned int>(text.size()));
        gzclose(out);
    }
    std::printf("%lu\n", lines);
    return 0;
}
