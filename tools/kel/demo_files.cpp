// Demonstration: text files in each encoding, a zipped folder and a
// compressed buffer, all in a temporary folder that is removed afterwards.

#include <kel/Kel.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "command.h"

namespace kel::tool {

namespace {

namespace fs = std::filesystem;

std::wstring wide(const fs::path& path) {
    return KelString(path.string().c_str()).getStringW();
}

std::string firstBytes(const fs::path& path, size_t count) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                  std::istreambuf_iterator<char>());
    std::string text;
    char hex[4];
    for (size_t i = 0; i < bytes.size() && i < count; ++i) {
        std::snprintf(hex, sizeof hex, "%02X ", static_cast<unsigned char>(bytes[i]));
        text += hex;
    }
    return text + "(" + std::to_string(bytes.size()) + " bytes)";
}

void showEncodings(const fs::path& folder) {
    const struct {
        KelFileAccess::encodeType encoding;
        const char* name;
    } kinds[] = {{KelFileAccess::encodeNone, "encodeNone   "},
                 {KelFileAccess::encodeUTF8, "encodeUTF8   "},
                 {KelFileAccess::encodeUTF16LE, "encodeUTF16LE"},
                 {KelFileAccess::encodeUnicode, "encodeUnicode"}};
    line(L"puts(L\"Tr\u00E4ger \u20AC\\n\") with mode \"w\" in each encoding:");
    for (const auto& kind : kinds) {
        std::string name = kind.name;
        name.erase(name.find_last_not_of(' ') + 1);
        const fs::path path = folder / (name + ".txt");
        {
            KelFileAccess file(wide(path).c_str(), L"w", kind.encoding);
            file.puts(L"Tr\u00E4ger \u20AC\n");
        }
        line(std::string("  ") + kind.name + "  " + firstBytes(path, 12));
    }
    KelFileAccess in(wide(folder / "encodeUTF16LE.txt").c_str(), L"r",
                     KelFileAccess::encodeUTF16LE);
    KelString text;
    in.gets(text, 100);
    line(L"gets from the UTF-16LE file -> \"" + std::wstring(text.getStringW(), text.length() - 1) +
         L"\\n\"");
}

void showZip(const fs::path& folder) {
    const fs::path tree = folder / "parts";
    fs::create_directories(tree / "beams");
    fs::create_directories(tree / "plates");
    std::ofstream(tree / "beams" / "b1.nc1") << "ST\nHEA 200\n";
    std::ofstream(tree / "plates" / "p1.nc1") << "ST\nPL 10\n";
    std::ofstream(tree / "list.txt") << std::string(20000, 'x');
    const bool zipped = KelZipper::ZipFolder(wide(tree).c_str(), false);
    line(std::string("KelZipper::ZipFolder(parts)    -> ") + (zipped ? "true" : "false") +
         ", parts.zip " + std::to_string(fs::file_size(folder / "parts.zip")) + " bytes");
    KelUnzipper zip(wide(folder / "parts.zip").c_str());
    line("entries (as GetFileInfo names them):");
    UZ_FileInfo info;
    for (bool more = zip.GotoFirstFile(); more; more = zip.GotoNextFile()) {
        zip.GetFileInfo(info);
        line(L"  " + std::wstring(info.szFileName) + (info.bFolder ? L"  (folder)" : L"") + L"  " +
             std::to_wstring(info.dwUncompressedSize) + L" bytes");
    }
    const bool extracted = zip.UnzipTo(wide(folder / "copy").c_str(), false);
    line(std::string("UnzipTo(copy)                  -> ") + (extracted ? "true" : "false") +
         ", copy/parts/beams/b1.nc1 exists: " +
         (fs::exists(folder / "copy" / "parts" / "beams" / "b1.nc1") ? "yes" : "no"));
}

void showCompression() {
    std::string text;
    for (int i = 0; text.size() < 100000; ++i)
        text +=
            "HEA " + std::to_string(100 + i % 50) + " S235JR length=" + std::to_string(i) + "\n";
    KelCompression::ByteArray packed;
    KelCompression::compress(reinterpret_cast<const unsigned char*>(text.data()),
                             static_cast<long>(text.size()), packed);
    KelCompression::ByteArray unpacked;
    const int ok = KelCompression::decompress(packed, unpacked);
    line("KelCompression::compress of " + std::to_string(text.size()) + " bytes of text -> " +
         std::to_string(packed.length()) + " bytes (zlib stream, level 1)");
    line("decompress -> " + std::to_string(ok) + ", " + std::to_string(unpacked.length()) +
         " bytes, equal: " +
         (unpacked.length() == static_cast<long>(text.size()) &&
                  std::equal(text.begin(), text.end(), unpacked.getData())
              ? "yes"
              : "no"));
}

void showFiles() {
    std::error_code error;
    const fs::path folder = fs::temp_directory_path() / "kel-demo-files";
    fs::remove_all(folder, error);
    fs::create_directories(folder);
    showEncodings(folder);
    line("");
    showZip(folder);
    line("");
    showCompression();
    fs::remove_all(folder, error);
}

const DemoSection files(50, "Files, archives and compression", showFiles);

}  // namespace

}  // namespace kel::tool
