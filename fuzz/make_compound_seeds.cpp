// Writes seed documents for the compound fuzzer into a folder, made with the
// test writer: both sector sizes, small and big streams, nested storages and
// master sectors.
//
//   make_compound_seeds fuzz/corpus/compound
#include <filesystem>
#include <iostream>

#include "support/cfb_writer.h"
#include "support/corpus.h"

namespace {

using tessivo::Bytes;
using tessivo::testing::CfbWriter;

void save(const std::filesystem::path& dir, const std::string& name, const Bytes& bytes) {
    if (!tessivo::testing::writeFile(dir / name, bytes)) std::cerr << "cannot write " << (dir / name) << '\n';
}

Bytes message(unsigned shift, std::uint32_t extraFat) {
    CfbWriter::Options o;
    o.sectorShift = shift;
    o.extraFatSectors = extraFat;
    CfbWriter w(o);
    w.addStream("__substg1.0_0037001F", tessivo::testing::utf16le("Subject"));
    w.addStream("__substg1.0_1000001F", Bytes(300, 'a'));
    w.addStream("__properties_version1.0", Bytes(48, 0));
    w.addStream("__recip_version1.0_#00000000/__substg1.0_3001001F", tessivo::testing::utf16le("Ann"));
    w.addStream("__attach_version1.0_#00000000/__substg1.0_37010102", Bytes(4200, 0x55));
    w.addStorage("__nameid_version1.0");
    return w.build().bytes;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_compound_seeds FOLDER\n";
        return 2;
    }
    const std::filesystem::path dir(argv[1]);
    save(dir, "message-512.msg", message(9, 0));
    save(dir, "message-4096.msg", message(12, 0));
    save(dir, "master-sectors.msg", message(9, 110));

    CfbWriter empty;
    save(dir, "empty.msg", empty.build().bytes);

    CfbWriter nested;
    nested.addChild("", "", true);
    nested.addStorage("MsoDataStore/x");
    nested.addStream("a/b/c/d", Bytes(10, 1));
    save(dir, "nested.msg", nested.build().bytes);
    return 0;
}
