#include "support/cfb_writer.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include <unicode/unistr.h>

namespace tessivo::testing {

namespace {

constexpr std::size_t kEntryBytes = 128;
constexpr std::size_t kHeaderFatSlots = 109;

std::uint32_t ceilDiv(std::uint64_t a, std::uint64_t b) { return static_cast<std::uint32_t>((a + b - 1) / b); }

void putU16(Bytes& b, std::size_t off, std::uint16_t v) {
    b[off] = v & 0xFF;
    b[off + 1] = v >> 8;
}
void putU32(Bytes& b, std::size_t off, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b[off + i] = (v >> (8 * i)) & 0xFF;
}

icu::UnicodeString wide(const std::string& s) { return icu::UnicodeString::fromUTF8(s); }

// Directory order: shorter names first, then code unit order.
bool nameLess(const std::string& a, const std::string& b) {
    const icu::UnicodeString wa = wide(a), wb = wide(b);
    if (wa.length() != wb.length()) return wa.length() < wb.length();
    return wa.compare(wb) < 0;
}

std::vector<std::string> splitPath(std::string_view path) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    while (begin <= path.size()) {
        std::size_t end = path.find('/', begin);
        if (end == std::string_view::npos) end = path.size();
        if (end > begin) parts.emplace_back(path.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

}  // namespace

Bytes utf16le(std::string_view text) {
    const icu::UnicodeString s = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), text.size()));
    Bytes out;
    for (int32_t i = 0; i < s.length(); ++i) {
        out.push_back(s.charAt(i) & 0xFF);
        out.push_back(s.charAt(i) >> 8);
    }
    return out;
}

Bytes pattern(std::size_t n, std::uint8_t seed) {
    Bytes b(n);
    for (std::size_t i = 0; i < n; ++i) b[i] = static_cast<std::uint8_t>(seed + i * 7 + (i >> 9));
    return b;
}

std::size_t CfbImage::entryOffset(std::uint32_t index, std::size_t field) const {
    const std::size_t perSector = sectorSize / kEntryBytes;
    return sectorOffset(directorySectors.at(index / perSector)) + (index % perSector) * kEntryBytes + field;
}

void CfbImage::setU8(std::size_t offset, std::uint8_t v) { bytes.at(offset) = v; }
void CfbImage::setU16(std::size_t offset, std::uint16_t v) {
    bytes.at(offset + 1);
    putU16(bytes, offset, v);
}
void CfbImage::setU32(std::size_t offset, std::uint32_t v) {
    bytes.at(offset + 3);
    putU32(bytes, offset, v);
}
std::uint32_t CfbImage::u32(std::size_t offset) const {
    bytes.at(offset + 3);
    return bytes[offset] | (bytes[offset + 1] << 8) | (bytes[offset + 2] << 16) | (std::uint32_t{bytes[offset + 3]} << 24);
}

void CfbImage::setFatEntry(std::uint32_t sector, std::uint32_t next) {
    const std::uint32_t perSector = sectorSize / 4;
    setU32(sectorOffset(fatSectors.at(sector / perSector)) + 4 * (sector % perSector), next);
}

void CfbImage::setMiniFatEntry(std::uint32_t sector, std::uint32_t next) {
    const std::uint32_t perSector = sectorSize / 4;
    setU32(sectorOffset(miniFatSectors.at(sector / perSector)) + 4 * (sector % perSector), next);
}

std::size_t CfbWriter::find(std::string_view path) const {
    const std::string key = [&] {
        std::string joined;
        for (const auto& part : splitPath(path)) joined += (joined.empty() ? "" : "/") + part;
        return joined;
    }();
    for (std::size_t i = 0; i < nodes_.size(); ++i)
        if (nodes_[i].path == key) return i;
    throw std::invalid_argument("no entry at " + std::string(path));
}

std::size_t CfbWriter::ensureStorage(std::string_view path) {
    std::size_t current = 0;
    std::string sofar;
    for (const auto& part : splitPath(path)) {
        sofar += (sofar.empty() ? "" : "/") + part;
        std::size_t next = 0;
        for (std::size_t child : nodes_[current].children)
            if (nodes_[child].path == sofar) next = child;
        if (next == 0) {
            next = nodes_.size();
            nodes_.push_back(Node{part, sofar, true, {}, 0, {}});
            nodes_[current].children.push_back(next);
        }
        current = next;
    }
    return current;
}

void CfbWriter::addStorage(std::string_view path) { ensureStorage(path); }

void CfbWriter::addStream(std::string_view path, Bytes data) {
    auto parts = splitPath(path);
    if (parts.empty()) throw std::invalid_argument("a stream needs a name");
    const std::string name = parts.back();
    parts.pop_back();
    std::string parent;
    for (const auto& p : parts) parent += (parent.empty() ? "" : "/") + p;
    addChildOf(ensureStorage(parent), name, false, std::move(data));
}

void CfbWriter::addChild(std::string_view parent, std::string_view name, bool storage, Bytes data) {
    addChildOf(parent.empty() ? 0 : find(parent), name, storage, std::move(data));
}

std::size_t CfbWriter::addChildOf(std::size_t p, std::string_view name, bool storage, Bytes data) {
    const std::string base = nodes_.at(p).path;
    const std::size_t index = nodes_.size();
    nodes_.push_back(Node{std::string(name), base.empty() ? std::string(name) : base + "/" + std::string(name), storage,
                          std::move(data), 0, {}});
    nodes_[p].children.push_back(index);
    return index;
}

void CfbWriter::setModified(std::string_view path, std::uint64_t filetime) { nodes_[find(path)].modified = filetime; }

CfbImage CfbWriter::build() const {
    CfbImage image;
    const std::uint32_t S = 1u << options_.sectorShift;
    const std::uint32_t M = 1u << options_.miniSectorShift;
    const std::uint32_t perSector = S / 4;
    image.sectorSize = S;
    image.miniSectorSize = M;

    // Place stream contents: small ones in mini sectors, the rest in big sectors.
    std::vector<std::uint32_t> start(nodes_.size(), kEndOfChain);
    std::vector<std::uint32_t> runLength(nodes_.size(), 0);
    std::vector<bool> isMini(nodes_.size(), false);
    std::uint32_t miniSectors = 0;
    std::uint32_t bigStreamSectors = 0;
    for (std::size_t i = 1; i < nodes_.size(); ++i) {
        if (nodes_[i].storage) continue;
        const std::uint64_t size = nodes_[i].data.size();
        isMini[i] = size < options_.threshold;
        runLength[i] = ceilDiv(size, isMini[i] ? M : S);
        if (isMini[i])
            miniSectors += runLength[i];
        else
            bigStreamSectors += runLength[i];
    }
    const std::uint32_t dirSectors = ceilDiv(nodes_.size() * kEntryBytes, S);
    const std::uint32_t miniFatSectors = ceilDiv(std::uint64_t{miniSectors} * 4, S);
    const std::uint32_t miniStreamSectors = ceilDiv(std::uint64_t{miniSectors} * M, S);
    const std::uint32_t content = dirSectors + miniFatSectors + miniStreamSectors + bigStreamSectors;

    std::uint32_t fat = 1, difat = 0;
    for (;;) {
        const std::uint32_t needFat = ceilDiv(content + fat + difat, perSector) + options_.extraFatSectors;
        const std::uint32_t needDifat = needFat > kHeaderFatSlots ? ceilDiv(needFat - kHeaderFatSlots, perSector - 1) : 0;
        if (needFat <= fat && needDifat <= difat) break;
        fat = std::max(fat, needFat);
        difat = std::max(difat, needDifat);
    }

    std::uint32_t next = 0;
    auto take = [&](std::uint32_t n, std::vector<std::uint32_t>& into) {
        for (std::uint32_t i = 0; i < n; ++i) into.push_back(next++);
    };
    take(fat, image.fatSectors);
    take(difat, image.difatSectors);
    take(dirSectors, image.directorySectors);
    take(miniFatSectors, image.miniFatSectors);
    take(miniStreamSectors, image.miniStreamSectors);
    const std::uint32_t totalSectors = next + bigStreamSectors;

    image.bytes.assign(std::size_t{S} * (totalSectors + 1), 0);
    Bytes& b = image.bytes;
    std::vector<std::uint32_t> fatTable(std::size_t{fat} * perSector, kFreeSect);
    for (auto s : image.fatSectors) fatTable[s] = kFatSect;
    for (auto s : image.difatSectors) fatTable[s] = kDifSect;
    auto chainUp = [&](const std::vector<std::uint32_t>& sectors, std::vector<std::uint32_t>& table) {
        for (std::size_t i = 0; i < sectors.size(); ++i)
            table[sectors[i]] = i + 1 < sectors.size() ? sectors[i + 1] : kEndOfChain;
    };
    chainUp(image.directorySectors, fatTable);
    chainUp(image.miniFatSectors, fatTable);
    chainUp(image.miniStreamSectors, fatTable);

    std::vector<std::uint32_t> miniFat(std::size_t{miniFatSectors} * perSector, kFreeSect);
    std::uint32_t nextMini = 0;
    for (std::size_t i = 1; i < nodes_.size(); ++i) {
        if (nodes_[i].storage || runLength[i] == 0) continue;
        std::vector<std::uint32_t> chain;
        const Bytes& data = nodes_[i].data;
        if (isMini[i]) {
            for (std::uint32_t k = 0; k < runLength[i]; ++k) chain.push_back(nextMini++);
            chainUp(chain, miniFat);
            for (std::uint32_t k = 0; k < runLength[i]; ++k) {
                const std::uint64_t pos = std::uint64_t{chain[k]} * M;
                const std::size_t off = image.sectorOffset(image.miniStreamSectors[pos / S]) + pos % S;
                const std::size_t n = std::min<std::size_t>(M, data.size() - std::size_t{k} * M);
                std::copy_n(data.begin() + std::size_t{k} * M, n, b.begin() + off);
            }
        } else {
            take(runLength[i], chain);
            chainUp(chain, fatTable);
            for (std::uint32_t k = 0; k < runLength[i]; ++k) {
                const std::size_t n = std::min<std::size_t>(S, data.size() - std::size_t{k} * S);
                std::copy_n(data.begin() + std::size_t{k} * S, n, b.begin() + image.sectorOffset(chain[k]));
            }
        }
        start[i] = chain.front();
        image.chains[nodes_[i].path] = chain;
    }

    // Tables into their sectors.
    auto writeTable = [&](const std::vector<std::uint32_t>& table, const std::vector<std::uint32_t>& sectors) {
        for (std::size_t i = 0; i < table.size(); ++i)
            putU32(b, image.sectorOffset(sectors[i / perSector]) + 4 * (i % perSector), table[i]);
    };
    writeTable(fatTable, image.fatSectors);
    writeTable(miniFat, image.miniFatSectors);
    for (std::size_t d = 0; d < image.difatSectors.size(); ++d) {
        const std::size_t off = image.sectorOffset(image.difatSectors[d]);
        for (std::uint32_t k = 0; k < perSector - 1; ++k) {
            const std::size_t slot = kHeaderFatSlots + d * (perSector - 1) + k;
            putU32(b, off + 4 * k, slot < image.fatSectors.size() ? image.fatSectors[slot] : kFreeSect);
        }
        putU32(b, off + 4 * (perSector - 1), d + 1 < image.difatSectors.size() ? image.difatSectors[d + 1] : kEndOfChain);
    }

    // Sibling trees.
    std::vector<std::uint32_t> left(nodes_.size(), kFreeSect), right(nodes_.size(), kFreeSect),
        child(nodes_.size(), kFreeSect);
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        std::vector<std::size_t> kids = nodes_[i].children;
        if (kids.empty()) continue;
        std::stable_sort(kids.begin(), kids.end(),
                         [&](std::size_t x, std::size_t y) { return nameLess(nodes_[x].name, nodes_[y].name); });
        if (options_.treeShape == TreeShape::RightChain) {
            for (std::size_t k = 0; k + 1 < kids.size(); ++k) right[kids[k]] = kids[k + 1];
            child[i] = kids.front();
            continue;
        }
        std::function<std::uint32_t(std::size_t, std::size_t)> balance = [&](std::size_t lo, std::size_t hi) {
            if (lo >= hi) return kFreeSect;
            const std::size_t mid = lo + (hi - lo) / 2;
            left[kids[mid]] = balance(lo, mid);
            right[kids[mid]] = balance(mid + 1, hi);
            return static_cast<std::uint32_t>(kids[mid]);
        };
        child[i] = balance(0, kids.size());
    }

    // Directory entries, the rest of the last sector unused.
    for (std::uint32_t i = 0; i < dirSectors * (S / kEntryBytes); ++i) {
        const std::size_t off = image.entryOffset(i);
        putU32(b, off + 68, kFreeSect);
        putU32(b, off + 72, kFreeSect);
        putU32(b, off + 76, kFreeSect);
        if (i >= nodes_.size()) continue;
        const Node& n = nodes_[i];
        image.entryIndex[n.path] = i;
        Bytes name = utf16le(n.name);
        name.resize(std::min<std::size_t>(name.size(), 62));
        std::copy(name.begin(), name.end(), b.begin() + off);
        putU16(b, off + 64, name.empty() ? 0 : static_cast<std::uint16_t>(name.size() + 2));
        b[off + 66] = i == 0 ? 5 : (n.storage ? 1 : 2);
        b[off + 67] = 1;
        putU32(b, off + 68, left[i]);
        putU32(b, off + 72, right[i]);
        putU32(b, off + 76, child[i]);
        putU32(b, off + 100, static_cast<std::uint32_t>(n.modified));
        putU32(b, off + 104, static_cast<std::uint32_t>(n.modified >> 32));
        if (i == 0) {
            putU32(b, off + 116, image.miniStreamSectors.empty() ? kEndOfChain : image.miniStreamSectors.front());
            putU32(b, off + 120, miniSectors * M);
        } else if (!n.storage) {
            putU32(b, off + 116, start[i]);
            putU32(b, off + 120, static_cast<std::uint32_t>(n.data.size()));
        }
    }

    // Header.
    static constexpr std::uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    std::copy(std::begin(kSignature), std::end(kSignature), b.begin());
    putU16(b, 24, 0x003E);
    putU16(b, 26, options_.sectorShift == 12 ? 4 : 3);
    putU16(b, 28, 0xFFFE);
    putU16(b, 30, static_cast<std::uint16_t>(options_.sectorShift));
    putU16(b, 32, static_cast<std::uint16_t>(options_.miniSectorShift));
    putU32(b, 40, options_.sectorShift == 12 ? dirSectors : 0);
    putU32(b, 44, fat);
    putU32(b, 48, image.directorySectors.front());
    putU32(b, 56, options_.threshold);
    putU32(b, 60, image.miniFatSectors.empty() ? kEndOfChain : image.miniFatSectors.front());
    putU32(b, 64, miniFatSectors);
    putU32(b, 68, image.difatSectors.empty() ? kEndOfChain : image.difatSectors.front());
    putU32(b, 72, difat);
    for (std::size_t k = 0; k < kHeaderFatSlots; ++k)
        putU32(b, 76 + 4 * k, k < image.fatSectors.size() ? image.fatSectors[k] : kFreeSect);
    return image;
}

}  // namespace tessivo::testing
