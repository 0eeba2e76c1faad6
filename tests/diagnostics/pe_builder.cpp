#include "pe_builder.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace kel::test {

void put16(Bytes& bytes, size_t offset, uint16_t value) {
    if (bytes.size() < offset + 2)
        bytes.resize(offset + 2);
    bytes[offset] = static_cast<unsigned char>(value & 0xFF);
    bytes[offset + 1] = static_cast<unsigned char>(value >> 8);
}

void put32(Bytes& bytes, size_t offset, uint32_t value) {
    put16(bytes, offset, static_cast<uint16_t>(value & 0xFFFF));
    put16(bytes, offset + 2, static_cast<uint16_t>(value >> 16));
}

namespace {

void put64(Bytes& bytes, size_t offset, uint64_t value) {
    put32(bytes, offset, static_cast<uint32_t>(value & 0xFFFFFFFFu));
    put32(bytes, offset + 4, static_cast<uint32_t>(value >> 32));
}

size_t alignUp(size_t value, size_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

// A directory entry's key: names sort before ids, as in the system's files.
struct Key {
    bool named = false;
    std::u16string name;
    uint32_t id = 0;

    bool operator<(const Key& other) const {
        return std::make_tuple(named ? 0 : 1, name, id) <
               std::make_tuple(other.named ? 0 : 1, other.name, other.id);
    }
};

Key keyOf(const std::u16string& name, uint32_t id) {
    Key k;
    k.named = !name.empty();
    k.name = name;
    k.id = k.named ? 0 : id;
    return k;
}

}  // namespace

Bytes versionResource(uint16_t a, uint16_t b, uint16_t c, uint16_t d, const Bytes& children) {
    Bytes r;
    put16(r, 2, 52);  // the fixed file information
    put16(r, 4, 0);
    const std::u16string key = u"VS_VERSION_INFO";
    for (size_t i = 0; i < key.size(); ++i)
        put16(r, 6 + 2 * i, key[i]);
    put16(r, 6 + 2 * key.size(), 0);
    const size_t fixed = alignUp(6 + 2 * (key.size() + 1), 4);
    put32(r, fixed, 0xFEEF04BDu);
    put32(r, fixed + 4, 0x00010000u);
    put32(r, fixed + 8, (static_cast<uint32_t>(a) << 16) | b);
    put32(r, fixed + 12, (static_cast<uint32_t>(c) << 16) | d);
    put32(r, fixed + 16, (static_cast<uint32_t>(a) << 16) | b);
    put32(r, fixed + 20, (static_cast<uint32_t>(c) << 16) | d);
    put32(r, fixed + 24, 0x3F);
    put32(r, fixed + 28, 0);
    put32(r, fixed + 32, 0x00040004u);
    put32(r, fixed + 36, 2);
    put32(r, fixed + 40, 0);
    put32(r, fixed + 44, 0);
    put32(r, fixed + 48, 0);
    r.insert(r.end(), children.begin(), children.end());
    put16(r, 0, static_cast<uint16_t>(r.size()));
    return r;
}

Bytes PeImage::build() {
    constexpr uint32_t kSectionRva = 0x1000;
    constexpr uint32_t kRawOffset = 0x200;

    // The resource tree: type -> name -> language -> resource index.
    std::map<Key, std::map<Key, std::map<uint32_t, size_t>>> tree;
    for (size_t i = 0; i < resources.size(); ++i) {
        const Resource& r = resources[i];
        tree[keyOf(r.typeName, r.type)][keyOf(r.nameName, r.name)][r.language] = i;
    }

    // Layout of the section: directories, data entries, names, data.
    size_t pos = 16 + 8 * tree.size();
    std::map<Key, size_t> typeDirs;
    std::map<std::pair<Key, Key>, size_t> nameDirs;
    for (const auto& type : tree) {
        typeDirs[type.first] = pos;
        pos += 16 + 8 * type.second.size();
    }
    for (const auto& type : tree) {
        for (const auto& name : type.second) {
            nameDirs[{type.first, name.first}] = pos;
            pos += 16 + 8 * name.second.size();
        }
    }
    std::vector<size_t> dataEntries(resources.size());
    for (const auto& type : tree) {
        for (const auto& name : type.second) {
            for (const auto& language : name.second) {
                dataEntries[language.second] = pos;
                pos += 16;
            }
        }
    }
    std::map<std::u16string, size_t> strings;
    for (const Resource& r : resources) {
        for (const std::u16string* s : {&r.typeName, &r.nameName}) {
            if (!s->empty() && strings.count(*s) == 0) {
                strings[*s] = pos;
                pos += 2 + 2 * s->size();
            }
        }
    }
    std::vector<size_t> dataOffsets(resources.size());
    for (size_t i = 0; i < resources.size(); ++i) {
        pos = alignUp(pos, 4);
        dataOffsets[i] = pos;
        pos += resources[i].data.size();
    }
    const size_t sectionSize = std::max<size_t>(pos, 16);

    Bytes s(sectionSize, 0);
    auto writeDirectory = [&s, &strings](size_t at, const std::vector<Key>& keys,
                                         const std::vector<uint32_t>& targets) {
        uint16_t named = 0;
        for (const Key& k : keys)
            named = static_cast<uint16_t>(named + (k.named ? 1 : 0));
        put16(s, at + 12, named);
        put16(s, at + 14, static_cast<uint16_t>(keys.size() - named));
        for (size_t i = 0; i < keys.size(); ++i) {
            const uint32_t name = keys[i].named
                                      ? 0x80000000u | static_cast<uint32_t>(strings[keys[i].name])
                                      : keys[i].id;
            put32(s, at + 16 + 8 * i, name);
            put32(s, at + 16 + 8 * i + 4, targets[i]);
        }
    };
    {
        std::vector<Key> keys;
        std::vector<uint32_t> targets;
        for (const auto& type : tree) {
            keys.push_back(type.first);
            targets.push_back(0x80000000u | static_cast<uint32_t>(typeDirs[type.first]));
        }
        writeDirectory(0, keys, targets);
    }
    for (const auto& type : tree) {
        std::vector<Key> keys;
        std::vector<uint32_t> targets;
        for (const auto& name : type.second) {
            keys.push_back(name.first);
            targets.push_back(0x80000000u |
                              static_cast<uint32_t>(nameDirs[{type.first, name.first}]));
        }
        writeDirectory(typeDirs[type.first], keys, targets);
        for (const auto& name : type.second) {
            std::vector<Key> languages;
            std::vector<uint32_t> entries;
            for (const auto& language : name.second) {
                languages.push_back(keyOf(std::u16string(), language.first));
                entries.push_back(static_cast<uint32_t>(dataEntries[language.second]));
            }
            writeDirectory(nameDirs[{type.first, name.first}], languages, entries);
        }
    }
    for (size_t i = 0; i < resources.size(); ++i) {
        put32(s, dataEntries[i], kSectionRva + static_cast<uint32_t>(dataOffsets[i]));
        put32(s, dataEntries[i] + 4, static_cast<uint32_t>(resources[i].data.size()));
        std::copy(resources[i].data.begin(), resources[i].data.end(),
                  s.begin() + static_cast<long>(dataOffsets[i]));
    }
    for (const auto& str : strings) {
        put16(s, str.second, static_cast<uint16_t>(str.first.size()));
        for (size_t i = 0; i < str.first.size(); ++i)
            put16(s, str.second + 2 + 2 * i, str.first[i]);
    }

    const size_t rawSize = alignUp(sectionSize, 0x200);
    Bytes f(kRawOffset + rawSize, 0);
    f[0] = 'M';
    f[1] = 'Z';
    put32(f, 0x3C, peHeaderOffset);
    f[peHeaderOffset] = 'P';
    f[peHeaderOffset + 1] = 'E';
    const size_t coff = peHeaderOffset + 4;
    const uint16_t optionalSize = pe32Plus ? 240 : 224;
    put16(f, coff, pe32Plus ? 0x8664 : 0x14C);
    put16(f, coff + 2, 1);
    put16(f, coff + 16, optionalSize);
    put16(f, coff + 18, pe32Plus ? 0x2022 : 0x2102);
    const size_t o = coff + 20;
    optionalHeaderOffset = static_cast<uint32_t>(o);
    put16(f, o, pe32Plus ? 0x20B : 0x10B);
    f[o + 2] = 2;
    put32(f, o + 8, static_cast<uint32_t>(rawSize));
    put32(f, o + 20, kSectionRva);
    if (pe32Plus) {
        put64(f, o + 24, 0x180000000ull);
    } else {
        put32(f, o + 24, kSectionRva);
        put32(f, o + 28, 0x10000000u);
    }
    put32(f, o + 32, 0x1000);
    put32(f, o + 36, 0x200);
    put16(f, o + 40, 6);
    put16(f, o + 48, 6);
    put32(f, o + 56, kSectionRva + static_cast<uint32_t>(alignUp(sectionSize, 0x1000)));
    put32(f, o + 60, kRawOffset);
    put16(f, o + 68, 2);
    const size_t sizes = 72;  // the stack and heap sizes
    if (pe32Plus) {
        put64(f, o + sizes, 0x100000);
        put64(f, o + sizes + 8, 0x1000);
        put64(f, o + sizes + 16, 0x100000);
        put64(f, o + sizes + 24, 0x1000);
    } else {
        put32(f, o + sizes, 0x100000);
        put32(f, o + sizes + 4, 0x1000);
        put32(f, o + sizes + 8, 0x100000);
        put32(f, o + sizes + 12, 0x1000);
    }
    const size_t count = pe32Plus ? 108 : 92;
    put32(f, o + count, 16);
    put32(f, o + count + 4 + 2 * 8, kSectionRva);
    put32(f, o + count + 4 + 2 * 8 + 4, static_cast<uint32_t>(sectionSize));
    const size_t section = o + optionalSize;
    sectionTableOffset = static_cast<uint32_t>(section);
    const char name[8] = {'.', 'r', 's', 'r', 'c', 0, 0, 0};
    std::copy(name, name + 8, f.begin() + static_cast<long>(section));
    put32(f, section + 8, static_cast<uint32_t>(sectionSize));
    put32(f, section + 12, kSectionRva);
    put32(f, section + 16, static_cast<uint32_t>(rawSize));
    put32(f, section + 20, kRawOffset);
    put32(f, section + 36, 0x40000040u);
    std::copy(s.begin(), s.end(), f.begin() + kRawOffset);

    resourceFileOffset = kRawOffset;
    dataFileOffsets.clear();
    for (size_t offset : dataOffsets)
        dataFileOffsets.push_back(kRawOffset + static_cast<uint32_t>(offset));
    return f;
}

}  // namespace kel::test
