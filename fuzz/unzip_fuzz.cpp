// KelUnzipper on arbitrary archive bytes: open, list every entry, extract
// everything into a folder of the sandbox. Nothing may appear anywhere
// else in the sandbox, and nothing may crash.

#include <kel/Kel.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "fuzz_sandbox.h"

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fs::path& root = kel::fuzz::sandbox();
    const fs::path archive = root / "in.zip";
    const fs::path target = root / "target" / "out";
    kel::fuzz::writeFile(archive, data, size);

    KelUnzipper zip;
    if (zip.OpenZip(kel::fuzz::wide(archive).c_str())) {
        UZ_FileInfo info;
        int listed = 0;
        for (bool more = zip.GotoFirstFile(); more && listed < 64; more = zip.GotoNextFile()) {
            zip.GetFileInfo(info);
            ++listed;
        }
        zip.GetFileCount();
        zip.GotoFile(L"a/b.txt", true);
        zip.UnzipTo(kel::fuzz::wide(target).c_str(), size % 2 == 1);
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
