// KelFileAccess on arbitrary file contents: the first byte picks the
// encoding the file is opened with, the rest is the file. Every reading
// member runs over it; nothing may crash.

#include <kel/Kel.h>

#include "fuzz_sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const auto encoding = static_cast<KelFileAccess::encodeType>(data[0] % 4);
    const std::filesystem::path path = kel::fuzz::sandbox() / "file.txt";
    kel::fuzz::writeFile(path, data + 1, size - 1);
    const KelString name(kel::fuzz::wide(path).c_str());

    {
        KelFileAccess file(name, L"r", encoding);
        KelString text;
        file.readFile(text, size + 8);
        text.length();
    }
    {
        KelFileAccess file(name, L"r", encoding);
        KelString line;
        int value = 0;
        double number = 0;
        for (int i = 0; i < 8 && !file.eof(); ++i) {
            file.gets(line, 7);
            file.readString(line);
            file.readInt(value);
            file.readDouble(number);
            file.getChar();
        }
        file.getFileLength();
        unsigned char buffer[16];
        file.read(buffer, 1, sizeof buffer);
    }
    return 0;
}
