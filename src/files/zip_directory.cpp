#include "files/zip_directory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "files/file_system.h"

namespace kel::detail {

namespace {

constexpr uint32_t kEndSignature = 0x06054B50;
constexpr uint32_t kEnd64Signature = 0x06064B50;
constexpr uint32_t kLocator64Signature = 0x07064B50;
constexpr uint32_t kRecordSignature = 0x02014B50;
constexpr size_t kEndSize = 22;
constexpr size_t kLocator64Size = 20;
constexpr size_t kEnd64Size = 56;
constexpr size_t kRecordSize = 46;
constexpr size_t kLocalHeaderSize = 30;
constexpr uint16_t kZip64ExtraId = 0x0001;
// The end record sits behind the directory, followed by a comment of at
// most 65,535 bytes.
constexpr uint64_t kEndSearch = 0xFFFF + kEndSize;
// A directory beyond this is refused rather than read into memory; it
// would describe some ten million entries.
constexpr uint64_t kLargestDirectory = uint64_t(1) << 30;

uint16_t get16(const unsigned char* p) {
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

uint32_t get32(const unsigned char* p) {
    return static_cast<uint32_t>(get16(p)) | (static_cast<uint32_t>(get16(p + 2)) << 16);
}

uint64_t get64(const unsigned char* p) {
    return static_cast<uint64_t>(get32(p)) | (static_cast<uint64_t>(get32(p + 4)) << 32);
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

bool readAt(std::FILE* file, uint64_t at, void* buffer, size_t size) {
    return seekBinaryStream(file, static_cast<long long>(at), SEEK_SET) == 0 &&
           std::fread(buffer, 1, size, file) == size;
}

// What the end record (or its ZIP64 form) says about the directory.
struct DirectoryPlace {
    uint64_t entries = 0;
    uint64_t size = 0;
    uint64_t offset = 0;
    uint64_t end = 0;  // where the directory must end: the first end record
};

bool findEnd(std::FILE* file, uint64_t fileSize, DirectoryPlace& place, std::string& problem) {
    const uint64_t span = std::min(fileSize, kEndSearch);
    std::vector<unsigned char> tail(static_cast<size_t>(span));
    if (span < kEndSize || !readAt(file, fileSize - span, tail.data(), tail.size())) {
        problem = "no end record of a zip archive";
        return false;
    }
    // The last signature counts, as minizip takes it.
    size_t at = tail.size() - kEndSize + 1;
    bool found = false;
    while (at-- > 0) {
        if (get32(&tail[at]) == kEndSignature) {
            found = true;
            break;
        }
    }
    if (!found) {
        problem = "no end record of a zip archive";
        return false;
    }
    const unsigned char* end = &tail[at];
    const uint64_t endPosition = fileSize - span + at;
    if (get16(end + 4) != 0 || get16(end + 6) != 0 || get16(end + 8) != get16(end + 10)) {
        problem = "an archive spanning several disks";
        return false;
    }
    place.entries = get16(end + 10);
    place.size = get32(end + 12);
    place.offset = get32(end + 16);
    place.end = endPosition;

    unsigned char locator[kLocator64Size];
    if (endPosition < kLocator64Size ||
        !readAt(file, endPosition - kLocator64Size, locator, sizeof locator) ||
        get32(locator) != kLocator64Signature || get32(locator + 4) != 0 ||
        get32(locator + 16) != 1) {
        return true;
    }
    const uint64_t end64Position = get64(locator + 8);
    unsigned char end64[kEnd64Size];
    if (end64Position > endPosition || !readAt(file, end64Position, end64, sizeof end64) ||
        get32(end64) != kEnd64Signature) {
        return true;  // no ZIP64 record after all: the plain one stands, as for minizip
    }
    if (get32(end64 + 16) != 0 || get32(end64 + 20) != 0 ||
        get64(end64 + 24) != get64(end64 + 32)) {
        problem = "an archive spanning several disks";
        return false;
    }
    place.entries = get64(end64 + 32);
    place.size = get64(end64 + 40);
    place.offset = get64(end64 + 48);
    place.end = end64Position;
    return true;
}

// The ZIP64 extra field of a record: the 64-bit values of the fields whose
// 32-bit form is all ones, in the format's order.
bool readZip64Extra(const unsigned char* extra, size_t length, DirectoryEntry& entry,
                    bool wantUncompressed, bool wantCompressed, bool wantOffset, uint64_t& offset) {
    size_t at = 0;
    while (at + 4 <= length) {
        const uint16_t id = get16(extra + at);
        const size_t size = get16(extra + at + 2);
        if (at + 4 + size > length)
            return false;
        if (id == kZip64ExtraId) {
            const unsigned char* field = extra + at + 4;
            size_t used = 0;
            const auto take = [&](bool wanted, uint64_t& value) {
                if (!wanted)
                    return true;
                if (used + 8 > size)
                    return false;
                value = get64(field + used);
                used += 8;
                return true;
            };
            return take(wantUncompressed, entry.uncompressedSize) &&
                   take(wantCompressed, entry.compressedSize) && take(wantOffset, offset);
        }
        at += 4 + size;
    }
    return !wantUncompressed && !wantCompressed && !wantOffset;
}

// The records of the directory; `nameLengths` receives each entry's name
// length, for the lower bound of its extent.
bool readRecords(const std::vector<unsigned char>& bytes, const DirectoryPlace& place,
                 uint64_t before, ArchiveDirectory& directory, std::vector<size_t>& nameLengths,
                 std::string& problem) {
    size_t at = 0;
    directory.entries.clear();
    while (at < bytes.size()) {
        if (directory.entries.size() == place.entries) {
            problem = "the directory holds more records than its end record announces";
            return false;
        }
        const unsigned char* record = bytes.data() + at;
        if (bytes.size() - at < kRecordSize || get32(record) != kRecordSignature) {
            problem = "a damaged record in the directory";
            return false;
        }
        const size_t nameLength = get16(record + 28);
        const size_t extraLength = get16(record + 30);
        const size_t commentLength = get16(record + 32);
        const size_t length = kRecordSize + nameLength + extraLength + commentLength;
        if (bytes.size() - at < length) {
            problem = "a damaged record in the directory";
            return false;
        }
        DirectoryEntry entry;
        entry.record = place.offset + at;
        entry.flags = get16(record + 8);
        entry.method = get16(record + 10);
        entry.crc = get32(record + 16);
        entry.compressedSize = get32(record + 20);
        entry.uncompressedSize = get32(record + 24);
        const uint16_t disk = get16(record + 34);
        uint64_t offset = get32(record + 42);
        if (!readZip64Extra(record + kRecordSize + nameLength, extraLength, entry,
                            entry.uncompressedSize == 0xFFFFFFFF,
                            entry.compressedSize == 0xFFFFFFFF, offset == 0xFFFFFFFF, offset)) {
            problem = "a damaged ZIP64 field in the directory";
            return false;
        }
        if (disk != 0 && disk != 0xFFFF) {
            problem = "an archive spanning several disks";
            return false;
        }
        entry.header = offset + before;
        entry.nameLength = static_cast<uint16_t>(nameLength);
        directory.entries.push_back(entry);
        nameLengths.push_back(nameLength);
        at += length;
    }
    if (directory.entries.size() != place.entries) {
        problem = "the directory holds " + std::to_string(directory.entries.size()) + " of the " +
                  std::to_string(place.entries) + " entries its end record announces";
        return false;
    }
    return true;
}

// Every entry lies before the directory and shares no byte with another.
bool checkExtents(ArchiveDirectory& directory, const std::vector<size_t>& nameLengths,
                  uint64_t directoryStart, std::string& problem) {
    std::vector<size_t> order(directory.entries.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        return directory.entries[a].header < directory.entries[b].header;
    });
    for (size_t i = 0; i < order.size(); ++i) {
        DirectoryEntry& entry = directory.entries[order[i]];
        entry.limit =
            i + 1 < order.size() ? directory.entries[order[i + 1]].header : directoryStart;
        // The least an entry takes: its header, its name and its data.
        const uint64_t least = kLocalHeaderSize + nameLengths[order[i]];
        if (entry.header > directoryStart || entry.compressedSize > directoryStart ||
            entry.header + least + entry.compressedSize > directoryStart) {
            problem = "an entry lies outside the archive's data";
            return false;
        }
        if (entry.header + least + entry.compressedSize > entry.limit) {
            problem = "entries overlap (their data share bytes)";
            return false;
        }
    }
    return true;
}

}  // namespace

bool readArchiveDirectory(std::wstring_view path, ArchiveDirectory& directory,
                          std::string& problem) {
    directory.entries.clear();
    File file(openBinaryStream(path, "rb"));
    if (file == nullptr || seekBinaryStream(file.get(), 0, SEEK_END) != 0) {
        problem = "cannot read the archive";
        return false;
    }
    const long long size = tellBinaryStream(file.get());
    DirectoryPlace place;
    if (size < 0 || !findEnd(file.get(), static_cast<uint64_t>(size), place, problem))
        return false;
    if (place.offset > place.end || place.size > place.end - place.offset) {
        problem = "the directory lies outside the archive";
        return false;
    }
    // Bytes in front of the archive (a self-extracting stub, an appended
    // archive) shift every offset, as minizip reckons them.
    const uint64_t before = place.end - (place.offset + place.size);
    if (place.size > kLargestDirectory) {
        problem = "the directory is too large";
        return false;
    }
    std::vector<unsigned char> bytes(static_cast<size_t>(place.size));
    if (!bytes.empty() && !readAt(file.get(), place.offset + before, bytes.data(), bytes.size())) {
        problem = "cannot read the directory";
        return false;
    }
    std::vector<size_t> nameLengths;
    nameLengths.reserve(static_cast<size_t>(std::min<uint64_t>(place.entries, 1 << 20)));
    directory.entries.reserve(nameLengths.capacity());
    return readRecords(bytes, place, before, directory, nameLengths, problem) &&
           checkExtents(directory, nameLengths, place.offset + before, problem);
}

bool findEntryData(std::FILE* archive, const DirectoryEntry& entry, uint64_t& dataStart,
                   std::string& problem) {
    constexpr uint32_t kLocalSignature = 0x04034B50;
    constexpr uint16_t kSizesFollowFlag = 0x8;
    unsigned char local[kLocalHeaderSize];
    if (!readAt(archive, entry.header, local, sizeof local) || get32(local) != kLocalSignature) {
        problem = "the entry's local header is missing";
        return false;
    }
    const bool sizesFollow = (get16(local + 6) & kSizesFollowFlag) != 0;
    const uint32_t compressed = get32(local + 18);
    const uint32_t uncompressed = get32(local + 22);
    const auto agrees = [](uint32_t local32, uint64_t central) {
        return local32 == 0xFFFFFFFF || local32 == central;
    };
    if (get16(local + 8) != entry.method || get16(local + 26) != entry.nameLength ||
        (!sizesFollow &&
         (get32(local + 14) != entry.crc || !agrees(compressed, entry.compressedSize) ||
          !agrees(uncompressed, entry.uncompressedSize)))) {
        problem = "the entry's local header disagrees with the directory";
        return false;
    }
    dataStart = entry.header + kLocalHeaderSize + entry.nameLength + get16(local + 28);
    // The local header may be longer than the directory let on; the data
    // must still end before the next entry begins.
    if (dataStart > entry.limit || entry.compressedSize > entry.limit - dataStart) {
        problem = "entries overlap (their data share bytes)";
        return false;
    }
    if (seekBinaryStream(archive, static_cast<long long>(dataStart), SEEK_SET) != 0) {
        problem = "cannot read the archive";
        return false;
    }
    return true;
}

namespace {

void put16(unsigned char*& p, unsigned value) {
    *p++ = static_cast<unsigned char>(value);
    *p++ = static_cast<unsigned char>(value >> 8);
}

void put32(unsigned char*& p, uint32_t value) {
    put16(p, value & 0xFFFF);
    put16(p, value >> 16);
}

void put64(unsigned char*& p, uint64_t value) {
    put32(p, static_cast<uint32_t>(value));
    put32(p, static_cast<uint32_t>(value >> 32));
}

}  // namespace

bool completeZip64End(std::wstring_view path) {
    File file(openBinaryStream(path, "r+b"));
    if (file == nullptr || seekBinaryStream(file.get(), 0, SEEK_END) != 0)
        return false;
    const long long size = tellBinaryStream(file.get());
    unsigned char end[kEndSize];
    if (size < static_cast<long long>(kEndSize) ||
        !readAt(file.get(), static_cast<uint64_t>(size) - kEndSize, end, sizeof end) ||
        get32(end) != kEndSignature) {
        return false;
    }
    const uint64_t endPosition = static_cast<uint64_t>(size) - kEndSize;
    const uint64_t directorySize = get32(end + 12);
    const uint64_t directoryOffset = get32(end + 16);
    if (get16(end + 10) != 0xFFFF || get16(end + 20) != 0 || directoryOffset == 0xFFFFFFFF)
        return true;  // a count of its own, a comment, or minizip's own ZIP64 end
    unsigned char locator[kLocator64Size];
    if (endPosition >= kLocator64Size &&
        readAt(file.get(), endPosition - kLocator64Size, locator, sizeof locator) &&
        get32(locator) == kLocator64Signature) {
        return true;
    }
    if (directoryOffset + directorySize != endPosition)
        return false;
    std::vector<unsigned char> bytes(static_cast<size_t>(directorySize));
    if (!bytes.empty() && !readAt(file.get(), directoryOffset, bytes.data(), bytes.size()))
        return false;
    uint64_t count = 0;
    for (size_t at = 0; at < bytes.size(); ++count) {
        if (bytes.size() - at < kRecordSize || get32(&bytes[at]) != kRecordSignature)
            return false;
        at +=
            kRecordSize + get16(&bytes[at + 28]) + get16(&bytes[at + 30]) + get16(&bytes[at + 32]);
    }
    unsigned char tail[kEnd64Size + kLocator64Size + kEndSize];
    unsigned char* p = tail;
    put32(p, kEnd64Signature);
    put64(p, kEnd64Size - 12);  // the record's size after this field
    put16(p, 45);               // made by and needed: format version 4.5
    put16(p, 45);
    put32(p, 0);
    put32(p, 0);
    put64(p, count);
    put64(p, count);
    put64(p, directorySize);
    put64(p, directoryOffset);
    put32(p, kLocator64Signature);
    put32(p, 0);
    put64(p, endPosition);
    put32(p, 1);
    std::memcpy(p, end, sizeof end);
    return seekBinaryStream(file.get(), static_cast<long long>(endPosition), SEEK_SET) == 0 &&
           std::fwrite(tail, 1, sizeof tail, file.get()) == sizeof tail &&
           std::fflush(file.get()) == 0;
}

const char* compressionMethodName(unsigned method) {
    switch (method) {
        case 0:
            return "stored";
        case 1:
            return "shrink";
        case 6:
            return "implode";
        case 8:
            return "deflate";
        case 9:
            return "deflate64";
        case 12:
            return "bzip2";
        case 14:
            return "LZMA";
        case 93:
            return "Zstandard";
        case 95:
            return "xz";
        case 98:
            return "PPMd";
        case 99:
            return "AES encryption";
        default:
            return "";
    }
}

}  // namespace kel::detail
