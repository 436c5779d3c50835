// make_messages DIR COUNT [--mixed]: writes COUNT small .msg files under DIR,
// a hundred to a folder, cycling through the four body kinds; each holds the
// words "message N" and a word unique to it ("tessivoN"). With --mixed every
// third file is an .eml and every third a winmail .dat instead. For
// benchmarks and manual checks of the desktop-search hosts and archive mode.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "hosts/message_maker.h"
#include "support/corpus.h"

int main(int argc, char** argv) {
    using namespace tessivo::testing;
    char* end = nullptr;
    const bool mixed = argc == 4 && std::string(argv[3]) == "--mixed";
    const unsigned long count = argc == 3 || mixed ? std::strtoul(argv[2], &end, 10) : 0;
    if (count == 0 || *end != '\0') {
        std::fprintf(stderr, "usage: make_messages DIR COUNT [--mixed]\n");
        return 2;
    }
    const std::filesystem::path dir(argv[1]);
    for (unsigned long i = 0; i < count; ++i) {
        const auto folder = dir / ("folder" + std::to_string(i / 100));
        std::error_code ec;
        std::filesystem::create_directories(folder, ec);
        const std::string words = "message " + std::to_string(i) + " tessivo" + std::to_string(i);
        const BodyKind kind = kAllBodyKinds[i / 3 % std::size(kAllBodyKinds)];
        const int format = mixed ? static_cast<int>(i % 3) : 0;
        const char* extension = format == 0 ? ".msg" : format == 1 ? ".eml" : ".dat";
        const tessivo::Bytes bytes = format == 0 ? makeMessage(mixed ? kind : kAllBodyKinds[i % std::size(kAllBodyKinds)], words)
                            : format == 1 ? makeMimeMessage(words)
                                          : makeTnefMessage(words);
        const auto path = folder / ("message" + std::to_string(i) + extension);
        if (!writeFile(path, bytes)) {
            std::fprintf(stderr, "make_messages: %s: cannot write\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
