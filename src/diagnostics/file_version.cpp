#include "diagnostics/file_version.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "diagnostics/log_stream.h"
#include "files/file_system.h"
#include "platform/path.h"

namespace kel::detail {

// ----- byte sources ----------------------------------------------------------

bool MemoryBytes::read(uint64_t offset, void* buffer, size_t size) {
    if (offset > m_size || size > m_size - offset)
        return false;
    if (size > 0)
        std::memcpy(buffer, static_cast<const unsigned char*>(m_data) + offset, size);
    return true;
}

FileBytes::FileBytes(std::wstring_view path) {
    errno = 0;
    m_file = openBinaryStream(path, "rb");
    if (m_file == nullptr)
        m_error = errno != 0 ? errno : ENOENT;
}

FileBytes::~FileBytes() {
    if (m_file != nullptr)
        std::fclose(m_file);
}

bool FileBytes::read(uint64_t offset, void* buffer, size_t size) {
    if (m_file == nullptr || offset > static_cast<uint64_t>(INT64_MAX))
        return false;
    if (seekBinaryStream(m_file, static_cast<long long>(offset), SEEK_SET) != 0)
        return false;
    return std::fread(buffer, 1, size, m_file) == size;
}

// ----- the PE version resource -------------------------------------------------

namespace {

uint16_t le16(const unsigned char* p) {
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

uint32_t le32(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

constexpr uint16_t kOptionalMagicPe32 = 0x10B;
constexpr uint16_t kOptionalMagicPe32Plus = 0x20B;
constexpr uint32_t kResourceDirectoryIndex = 2;
constexpr uint32_t kVersionResourceType = 16;  // RT_VERSION
constexpr uint32_t kVersionResourceName = 1;   // VS_VERSION_INFO
constexpr uint32_t kSubdirectoryFlag = 0x80000000u;
// A version resource's own length field has 16 bits; nothing beyond it is read.
constexpr uint32_t kLargestVersionResource = 0x10000;

struct Section {
    uint32_t virtualAddress = 0;
    uint32_t rawSize = 0;
    uint32_t rawOffset = 0;
};

class PeImage {
public:
    explicit PeImage(ByteSource& bytes) : m_bytes(bytes) {}

    // Reads the headers; false for anything but a PE image with a resource
    // directory.
    bool open(uint64_t& resourceOffset) {
        unsigned char dos[64];
        if (!m_bytes.read(0, dos, sizeof dos) || dos[0] != 'M' || dos[1] != 'Z')
            return false;
        const uint64_t pe = le32(dos + 0x3C);
        unsigned char header[24];
        if (!m_bytes.read(pe, header, sizeof header) || std::memcmp(header, "PE\0\0", 4) != 0)
            return false;
        const uint16_t sectionCount = le16(header + 6);
        const uint16_t optionalSize = le16(header + 20);
        const uint64_t optional = pe + sizeof header;
        unsigned char magic[2];
        if (!m_bytes.read(optional, magic, sizeof magic))
            return false;
        uint32_t countOffset = 0;
        if (le16(magic) == kOptionalMagicPe32) {
            countOffset = 92;
        } else if (le16(magic) == kOptionalMagicPe32Plus) {
            countOffset = 108;
        } else {
            return false;
        }
        const uint32_t resourceEntry = countOffset + 4 + kResourceDirectoryIndex * 8;
        unsigned char count[4];
        unsigned char directory[8];
        if (optionalSize < resourceEntry + 8 || !m_bytes.read(optional + countOffset, count, 4) ||
            le32(count) <= kResourceDirectoryIndex ||
            !m_bytes.read(optional + resourceEntry, directory, 8)) {
            return false;
        }
        const uint32_t resourceRva = le32(directory);
        if (resourceRva == 0 || !readSections(optional + optionalSize, sectionCount))
            return false;
        return rvaToOffset(resourceRva, 16, resourceOffset);
    }

    // The file offset of `size` bytes at `rva`, all inside one section's
    // data in the file.
    bool rvaToOffset(uint32_t rva, uint32_t size, uint64_t& offset) const {
        for (const Section& s : m_sections) {
            if (rva < s.virtualAddress)
                continue;
            const uint64_t into = rva - s.virtualAddress;
            if (into + size <= s.rawSize) {
                offset = static_cast<uint64_t>(s.rawOffset) + into;
                return true;
            }
        }
        return false;
    }

private:
    bool readSections(uint64_t table, uint16_t count) {
        m_sections.reserve(count);
        for (uint16_t i = 0; i < count; ++i) {
            unsigned char raw[40];
            if (!m_bytes.read(table + 40ull * i, raw, sizeof raw))
                return false;
            Section s;
            s.virtualAddress = le32(raw + 12);
            s.rawSize = le32(raw + 16);
            s.rawOffset = le32(raw + 20);
            m_sections.push_back(s);
        }
        return true;
    }

    ByteSource& m_bytes;
    std::vector<Section> m_sections;
};

// One level of the resource directory: the offset field of the entry with
// numeric id `id` (or of the first entry when `id` is null), relative to
// the resource section's start.
bool findResourceEntry(ByteSource& bytes, uint64_t base, uint32_t directory, const uint32_t* id,
                       uint32_t& target) {
    unsigned char header[16];
    if (!bytes.read(base + directory, header, sizeof header))
        return false;
    const uint32_t named = le16(header + 12);
    const uint32_t total = named + le16(header + 14);
    const uint64_t entries = base + directory + sizeof header;
    // Numeric ids follow the named entries.
    for (uint32_t i = id != nullptr ? named : 0; i < total; ++i) {
        unsigned char entry[8];
        if (!bytes.read(entries + 8ull * i, entry, sizeof entry))
            return false;
        if (id == nullptr || le32(entry) == *id) {
            target = le32(entry + 4);
            return true;
        }
    }
    return false;
}

}  // namespace

bool peFileVersion(ByteSource& bytes, FileVersion& version) {
    PeImage image(bytes);
    uint64_t base = 0;
    if (!image.open(base))
        return false;
    uint32_t names = 0;
    uint32_t languages = 0;
    uint32_t data = 0;
    if (!findResourceEntry(bytes, base, 0, &kVersionResourceType, names) ||
        (names & kSubdirectoryFlag) == 0 ||
        !findResourceEntry(bytes, base, names & ~kSubdirectoryFlag, &kVersionResourceName,
                           languages) ||
        (languages & kSubdirectoryFlag) == 0 ||
        !findResourceEntry(bytes, base, languages & ~kSubdirectoryFlag, nullptr, data) ||
        (data & kSubdirectoryFlag) != 0) {
        return false;
    }
    unsigned char entry[16];
    if (!bytes.read(base + data, entry, sizeof entry))
        return false;
    const uint32_t size = std::min(le32(entry + 4), kLargestVersionResource);
    uint64_t offset = 0;
    if (size == 0 || !image.rvaToOffset(le32(entry), size, offset))
        return false;
    // The resource in a zeroed buffer 16 bytes longer than itself, so that
    // a key running to the resource's end still finds its terminator.
    std::vector<unsigned char> resource(size + 16, 0);
    if (!bytes.read(offset, resource.data(), size))
        return false;
    if (size < 4 || le16(resource.data() + 2) == 0)
        return false;
    // The fixed block follows the key, a zero-terminated UTF-16 string at
    // byte 6, on the next multiple of 4.
    size_t end = 6;
    while (end + 2 <= resource.size() && le16(resource.data() + end) != 0)
        end += 2;
    if (end + 2 > resource.size())
        return false;
    const size_t fixed = (end + 2 + 3) & ~static_cast<size_t>(3);
    if (fixed + 16 > resource.size())
        return false;
    const uint32_t ms = le32(resource.data() + fixed + 8);
    const uint32_t ls = le32(resource.data() + fixed + 12);
    version.major = ms >> 16;
    version.minor = ms & 0xFFFF;
    version.build = ls >> 16;
    version.revision = ls & 0xFFFF;
    return true;
}

// ----- ELF shared objects --------------------------------------------------------

bool versionFromSharedObjectName(std::wstring_view fileName, FileVersion& version) {
    const size_t so = fileName.rfind(L".so.");
    if (so == std::wstring_view::npos)
        return false;
    unsigned int numbers[4] = {};
    int count = 0;
    size_t start = so + 4;
    for (;;) {
        size_t dot = fileName.find(L'.', start);
        if (dot == std::wstring_view::npos)
            dot = fileName.size();
        const std::wstring_view part = fileName.substr(start, dot - start);
        if (part.empty() || part.size() > 5)
            return false;
        unsigned int value = 0;
        for (wchar_t c : part) {
            if (c < L'0' || c > L'9')
                return false;
            value = value * 10 + static_cast<unsigned int>(c - L'0');
        }
        if (value > 0xFFFF)
            return false;
        if (count < 4)
            numbers[count] = value;
        ++count;
        if (dot == fileName.size())
            break;
        start = dot + 1;
    }
    version.major = numbers[0];
    version.minor = numbers[1];
    version.build = numbers[2];
    version.revision = numbers[3];
    return true;
}

namespace {

// The file name at the end of `path` once every link is resolved.
std::wstring realFileName(std::wstring_view path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path real = fs::canonical(fs::path(toNativePath(path)), error);
    if (!error)
        return fromNativePath(real.filename().native());
    const size_t slash = path.find_last_of(L"\\/");
    return std::wstring(slash == std::wstring_view::npos ? path : path.substr(slash + 1));
}

}  // namespace

VersionLookup readFileVersion(std::wstring_view path, FileVersion& version, int& error) {
    FileBytes file(path);
    if (!file.isOpen()) {
        error = file.openError();
        return VersionLookup::CannotOpen;
    }
    unsigned char magic[4];
    if (!file.read(0, magic, sizeof magic))
        return VersionLookup::NoVersion;
    bool found = false;
    if (magic[0] == 'M' && magic[1] == 'Z') {
        found = peFileVersion(file, version);
    } else if (std::memcmp(magic,
                           "\x7F"
                           "ELF",
                           4) == 0) {
        found = versionFromSharedObjectName(realFileName(path), version);
    }
    return found ? VersionLookup::Found : VersionLookup::NoVersion;
}

std::wstring formatFileVersion(const FileVersion& version) {
    return formatText(L"%d.%02d.%04d.%04d", static_cast<int>(version.major),
                      static_cast<int>(version.minor), static_cast<int>(version.build),
                      static_cast<int>(version.revision));
}

}  // namespace kel::detail
