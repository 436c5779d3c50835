// make_messages DIR COUNT: writes COUNT small .msg files under DIR, a hundred
// to a folder, cycling through the four body kinds; each holds the words
// "message N" and a word unique to it ("tessivoN"). For benchmarks and manual
// checks of the desktop-search hosts.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "hosts/message_maker.h"

int main(int argc, char** argv) {
    using namespace tessivo::testing;
    char* end = nullptr;
    const unsigned long count = argc == 3 ? std::strtoul(argv[2], &end, 10) : 0;
    if (argc != 3 || *end != '\0' || count == 0) {
        std::fprintf(stderr, "usage: make_messages DIR COUNT\n");
        return 2;
    }
    const std::filesystem::path dir(argv[1]);
    for (unsigned long i = 0; i < count; ++i) {
        const auto folder = dir / ("folder" + std::to_string(i / 100));
        std::error_code ec;
        std::filesystem::create_directories(folder, ec);
        const BodyKind kind = kAllBodyKinds[i % std::size(kAllBodyKinds)];
        const auto path = folder / ("message" + std::to_string(i) + ".msg");
        if (!writeMessage(path, kind, "message " + std::to_string(i) + " tessivo" + std::to_string(i))) {
            std::fprintf(stderr, "make_messages: %s: cannot write\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
