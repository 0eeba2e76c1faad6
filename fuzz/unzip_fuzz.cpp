// KelUnzipper on arbitrary archive bytes: open, list every entry, extract
// each entry and then everything into a folder of the sandbox. Nothing may
// appear anywhere else in the sandbox, nothing may crash, and an entry is
// reported as extracted only when the file holds exactly the entry: the
// size and CRC-32 the archive announces, and the bytes minizip's own
// reader gives for it.

#include <kel/Kel.h>

#include <minizip/unzip.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_sandbox.h"

namespace fs = std::filesystem;

namespace {

std::vector<char> contentsOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The bytes of entry `index` as minizip's own reader inflates them; false
// when it cannot.
bool minizipBytes(const fs::path& archive, int index, std::vector<char>& bytes) {
    unzFile zip = unzOpen64(archive.c_str());
    if (zip == nullptr)
        return false;
    bool ok = unzGoToFirstFile(zip) == UNZ_OK;
    for (int i = 0; ok && i < index; ++i)
        ok = unzGoToNextFile(zip) == UNZ_OK;
    ok = ok && unzOpenCurrentFile(zip) == UNZ_OK;
    if (ok) {
        char block[4096];
        int n = 0;
        while ((n = unzReadCurrentFile(zip, block, sizeof block)) > 0)
            bytes.insert(bytes.end(), block, block + n);
        ok = n == 0;
        ok = unzCloseCurrentFile(zip) == UNZ_OK && ok;
    }
    unzClose(zip);
    return ok;
}

// Where UnzipFile wrote a file entry below `target`; false for names this
// check does not spell (beyond ASCII) and for folder entries.
bool extractedPath(const fs::path& target, const UZ_FileInfo& info, bool flat, fs::path& path) {
    std::string name;
    for (const wchar_t* c = info.szFileName; *c != L'\0'; ++c) {
        if (*c <= 0 || *c >= 0x80)
            return false;
        name += *c == L'\\' ? '/' : static_cast<char>(*c);
    }
    if (info.bFolder || name.empty() || name.back() == '/')
        return false;
    if (flat)
        name = name.substr(name.find_last_of('/') + 1);
    path = target / name;
    return true;
}

// Success with anything but the entry's exact bytes breaks the promise.
void checkExtracted(const fs::path& archive, const fs::path& file, int index,
                    const UZ_FileInfo& info) {
    const std::vector<char> written = contentsOf(file);
    const uLong crc =
        crc32(0, reinterpret_cast<const Bytef*>(written.data()), static_cast<uInt>(written.size()));
    if (written.size() != info.dwUncompressedSize || crc != info.dwCRC)
        std::abort();
    std::vector<char> expected;
    if (!minizipBytes(archive, index, expected) || expected != written)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fs::path& root = kel::fuzz::sandbox();
    const fs::path archive = root / "in.zip";
    const fs::path target = root / "target" / "out";
    kel::fuzz::writeFile(archive, data, size);
    const bool flat = size % 2 == 1;

    KelUnzipper zip;
    if (zip.OpenZip(kel::fuzz::wide(archive).c_str())) {
        UZ_FileInfo info;
        int index = 0;
        for (bool more = zip.GotoFirstFile(); more && index < 64; more = zip.GotoNextFile()) {
            fs::path file;
            if (zip.GetFileInfo(info) && zip.UnzipFile(kel::fuzz::wide(target).c_str(), flat) &&
                extractedPath(target, info, flat, file)) {
                checkExtracted(archive, file, index, info);
            }
            ++index;
        }
        zip.GetFileCount();
        zip.GotoFile(L"a/b.txt", true);
        zip.UnzipTo(kel::fuzz::wide(target).c_str(), flat);
        zip.CloseZip();
    }

    // Only the archive and the target folder may exist in the sandbox.
    for (const auto& entry : fs::directory_iterator(root)) {
        const fs::path name = entry.path().filename();
        if (name != "in.zip" && name != "target")
            std::abort();
    }
    if (fs::exists(root / "target")) {
        for (const auto& entry : fs::directory_iterator(root / "target")) {
            if (entry.path().filename() != "out")
                std::abort();
        }
    }
    fs::remove_all(root / "target");
    return 0;
}
