// Small PE images made byte by byte, for the tests of the version reader:
// a DOS header, the PE headers (PE32 or PE32+), one ".rsrc" section with a
// resource directory of three levels, and the resource data.
//
//   kel::test::PeImage image;
//   image.addResource(16, 1, 0x409, kel::test::versionResource(1, 2, 3, 4));
//   std::vector<unsigned char> bytes = image.build();

#ifndef KEL_TESTS_DIAGNOSTICS_PE_BUILDER_H
#define KEL_TESTS_DIAGNOSTICS_PE_BUILDER_H

#include <cstdint>
#include <string>
#include <vector>

namespace kel::test {

using Bytes = std::vector<unsigned char>;

// A VS_VERSION_INFO block: length, value length (52 unless given), type 0,
// the key "VS_VERSION_INFO" and the fixed file information with file
// version a.b.c.d (product version the same), followed by `children`.
Bytes versionResource(uint16_t a, uint16_t b, uint16_t c, uint16_t d,
                      const Bytes& children = Bytes());

struct PeImage {
    struct Resource {
        uint32_t type = 0;
        uint32_t name = 0;
        uint32_t language = 0;
        Bytes data;
        std::u16string typeName;  // a named type instead of a numeric one
        std::u16string nameName;  // a named name instead of a numeric one
    };

    bool pe32Plus = true;
    std::vector<Resource> resources;

    void addResource(uint32_t type, uint32_t name, uint32_t language, const Bytes& data) {
        Resource r;
        r.type = type;
        r.name = name;
        r.language = language;
        r.data = data;
        resources.push_back(r);
    }

    // The whole file. Offsets of interest for tests that spoil it:
    Bytes build();
    uint32_t peHeaderOffset = 0x80;
    uint32_t optionalHeaderOffset = 0;      // set by build()
    uint32_t sectionTableOffset = 0;        // set by build()
    uint32_t resourceFileOffset = 0;        // set by build()
    std::vector<uint32_t> dataFileOffsets;  // set by build(), per resource
};

void put16(Bytes& bytes, size_t offset, uint16_t value);
void put32(Bytes& bytes, size_t offset, uint32_t value);

}  // namespace kel::test

#endif  // KEL_TESTS_DIAGNOSTICS_PE_BUILDER_H
