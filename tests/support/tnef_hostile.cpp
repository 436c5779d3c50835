#include "support/tnef_hostile.h"

#include "support/tnef_writer.h"

namespace tessivo::testing {
namespace {

// A property block of count properties, each the same bytes, and extra zero bytes.
Bytes repeatedBlock(std::uint32_t count, const Bytes& property, std::size_t extra = 0) {
    Bytes b = le32(count);
    for (std::uint32_t i = 0; i < count; ++i) b.insert(b.end(), property.begin(), property.end());
    b.resize(b.size() + extra);
    return b;
}

}  // namespace

std::vector<HostileStream> hostileTnefStreams(std::size_t targetBytes) {
    std::vector<HostileStream> streams;

    // Attachments up to the size, then a record declaring 100 MB that is not
    // there: the parse fails and the raw scan reads the attachments instead.
    TnefWriter chunk;
    chunk.subject("chunks");
    while (chunk.size() < targetBytes) chunk.attachment("part.bin", Bytes(1000, 0x5A));
    chunk.header(kAttAttachData, 104857600);
    streams.push_back({"declared 100 MB record", chunk.build()});

    // Property values declaring 100 MB, again and again.
    TnefWriter values;
    const MapiBlock lying = MapiBlock().raw(cat({le32(0x10090102), le32(1), le32(0x6400000), Bytes(4, 0)}));
    while (values.size() < targetBytes) values.mapi(lying);
    streams.push_back({"declared 100 MB values", values.build()});

    // Attachments that each keep 10000 properties (the smallest block that
    // may declare them), and message blocks that declare them and fail.
    const Bytes kept = repeatedBlock(10000, cat({le32(0x0E080003), le32(7)}));
    const Bytes failing = repeatedBlock(10000, le32(0x0E080003), 40000);
    TnefWriter counts;
    while (counts.size() < targetBytes) {
        counts.attachment("a", Bytes{1});
        counts.record(kAttAttachment, kept, {}, TnefWriter::kAttachmentLevel);
        counts.record(kAttMapiProps, failing);
    }
    streams.push_back({"10000 properties per block", counts.build()});

    // 10000 properties of 10000 values each, of types that take no bytes, and
    // named properties declaring four billion names.
    const Bytes multi = repeatedBlock(10000, cat({le32(0x00011000), le32(10000)}));
    const Bytes named = repeatedBlock(10000, cat({le32(0x80011003), Bytes(16, 0), le32(0xFFFFFFFF), le32(0), le32(1)}));
    TnefWriter multiplying;
    while (multiplying.size() < targetBytes) multiplying.record(kAttMapiProps, multi).record(kAttMapiProps, named);
    streams.push_back({"multiplying value counts", multiplying.build()});

    // Thousands of attachments of one byte among many more display records
    // that start attachments without data.
    TnefWriter chain;
    chain.subject("chain");
    for (int i = 0; chain.size() < targetBytes / 2; ++i) {
        chain.record(kAttAttachRendData, Bytes{0});
        if (i % 20 == 0) chain.record(kAttAttachTitle, Bytes{'a'}).record(kAttAttachData, Bytes{1});
    }
    streams.push_back({"tiny attachment records", chain.build()});

    // Ten thousand attachments, nothing between them. Each costs its
    // dictionary in the result, which bounds how many a size of input may hold.
    TnefWriter dense;
    for (int i = 0; i < 10000; ++i) dense.attachment("a", Bytes{1});
    streams.push_back({"ten thousand attachments", dense.build()});

    // The same for the raw scan: titles and data found by search (a bad
    // checksum first stops the records).
    TnefWriter scan;
    scan.record(kAttBody, Bytes{1}, 0);
    for (int i = 0; scan.size() < targetBytes / 2; ++i) {
        scan.record(kAttAttachTitle, Bytes{'t'});
        if (i % 20 == 0) scan.record(kAttAttachData, Bytes{2});
    }
    streams.push_back({"tiny records, raw scan", scan.build()});

    // Titles alone: every search for data after a title finds nothing.
    TnefWriter titles;
    titles.record(kAttBody, Bytes{1}, 0);
    while (titles.size() < targetBytes / 2) titles.record(kAttAttachTitle, Bytes{'t'});
    streams.push_back({"titles without data, raw scan", titles.build()});
    return streams;
}

}  // namespace tessivo::testing
