// Writes messages whose structures declare far more than their bytes hold,
// for the importer's memory benchmark (bench/importer_memory.sh): huge
// allocation tables, chains that run on through sectors past the end of the
// file, and compressed RTF bodies that declare huge raw sizes.
//
//   make_hostile_messages build/hostile
#include <filesystem>
#include <iostream>
#include <string>

#include "support/cfb_writer.h"
#include "support/corpus.h"
#include "support/lzfu_encoder.h"

namespace {

using tessivo::Bytes;
using tessivo::testing::CfbImage;
using tessivo::testing::CfbWriter;

constexpr const char* kUnicodeBody = "__substg1.0_1000001F";
constexpr const char* kRtfBody = "__substg1.0_10090102";
constexpr const char* kHtmlBody = "__substg1.0_10130102";

// A message with a Unicode body and an allocation table of extraTables more
// sectors than it needs, whose entries past the file's sectors may be patched.
CfbImage message(std::uint32_t extraTables, Bytes rtf = {}, Bytes html = {}) {
    CfbWriter::Options o;
    o.extraFatSectors = extraTables;
    CfbWriter w(o);
    w.addStream("__substg1.0_0037001F", tessivo::testing::utf16le("Hostile"));
    w.addStream(kUnicodeBody, tessivo::testing::utf16le(std::string(3000, 'x')));
    if (!rtf.empty()) w.addStream(kRtfBody, std::move(rtf));
    if (!html.empty()) w.addStream(kHtmlBody, std::move(html));
    for (int i = 0; i < 4; ++i)
        w.addStream("__attach_version1.0_#0000000" + std::to_string(i) + "/__substg1.0_37010102", Bytes(6000, 0x55));
    return w.build();
}

// Links the chain that ends at sector last on through every sector past the
// end of the file that the table describes.
void runOnPastTheEnd(CfbImage& image, std::uint32_t last) {
    const std::uint32_t firstMissing = static_cast<std::uint32_t>(image.bytes.size() / image.sectorSize - 1);
    const std::uint32_t entries = static_cast<std::uint32_t>(image.fatSectors.size() * image.sectorSize / 4);
    image.setFatEntry(last, firstMissing);
    for (std::uint32_t s = firstMissing; s + 1 < entries; ++s) image.setFatEntry(s, s + 1);
}

void save(const std::filesystem::path& dir, const std::string& name, const Bytes& bytes) {
    if (!tessivo::testing::writeFile(dir / name, bytes)) std::cerr << "cannot write " << (dir / name) << '\n';
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_hostile_messages FOLDER\n";
        return 2;
    }
    const std::filesystem::path dir(argv[1]);

    CfbImage tables = message(0);
    tables.setU32(44, 0xFFFFFFFF);  // table sectors
    tables.setU32(72, 0xFFFFFFFF);  // master sectors
    save(dir, "huge-table-count.msg", tables.bytes);

    CfbImage masters = message(120);
    masters.setU32(72, 0xFFFFFFFF);
    save(dir, "huge-master-count.msg", masters.bytes);

    // 2048 table sectors describe 262,144 sectors: chains of 128 MB through a 1 MB file.
    CfbImage directory = message(2048);
    runOnPastTheEnd(directory, directory.directorySectors.back());
    save(dir, "directory-chain-past-the-end.msg", directory.bytes);

    CfbImage smallTable = message(2048);
    runOnPastTheEnd(smallTable, smallTable.miniFatSectors.back());
    save(dir, "small-table-chain-past-the-end.msg", smallTable.bytes);

    CfbImage body = message(2048);
    runOnPastTheEnd(body, body.streamSectors(kUnicodeBody).back());
    save(dir, "body-chain-past-the-end.msg", body.bytes);

    const std::string html = "<html><body><p>Hostile body</p>" + std::string(5000, ' ') + "</body></html>";
    CfbImage htmlBody = message(2048, {}, Bytes(html.begin(), html.end()));
    runOnPastTheEnd(htmlBody, htmlBody.streamSectors(kHtmlBody).back());
    save(dir, "html-body-chain-past-the-end.msg", htmlBody.bytes);

    const std::string compressible = "{\\rtf1\\ansi " + std::string(5000, 'r') + "}";
    CfbImage compressed = message(2048, tessivo::testing::lzfuCompress(tessivo::asBytes(compressible)));
    runOnPastTheEnd(compressed, compressed.streamSectors(kRtfBody).back());
    save(dir, "rtf-body-chain-past-the-end.msg", compressed.bytes);

    CfbImage declared = message(0);
    declared.setEntryField(kUnicodeBody, 120, 0xFFFFFFFF);
    save(dir, "huge-declared-stream-size.msg", declared.bytes);

    const std::string rtf = "{\\rtf1\\ansi Hostile body}";
    const auto rtfBody = [&](std::uint32_t rawSize) {
        return tessivo::testing::lzfuWrap(tessivo::testing::lzfuPackTokens(tessivo::testing::lzfuTokenize(
                                              tessivo::asBytes(rtf))),
                                          rawSize);
    };
    save(dir, "rtf-raw-size-128mb.msg", message(0, rtfBody(128'000'000)).bytes);
    save(dir, "rtf-raw-size-256mb.msg", message(0, rtfBody(256u << 20)).bytes);
    save(dir, "rtf-raw-size-4gb.msg", message(0, rtfBody(0xFFFFFFFF)).bytes);
    return 0;
}
