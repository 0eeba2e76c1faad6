// A private folder for the fuzz targets that work on files.

#ifndef KEL_FUZZ_FUZZ_SANDBOX_H
#define KEL_FUZZ_FUZZ_SANDBOX_H

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace kel::fuzz {

// A folder of its own, created on the first call and removed when the
// process ends normally.
inline const std::filesystem::path& sandbox() {
    static const std::filesystem::path folder = [] {
        // In memory where the system offers it: the targets write files
        // for every input.
        const std::filesystem::path base = std::filesystem::is_directory("/dev/shm")
                                               ? std::filesystem::path("/dev/shm")
                                               : std::filesystem::temp_directory_path();
        std::filesystem::path path = base / ("kel-fuzz-" + std::to_string(::getpid()));
        std::filesystem::create_directories(path);
        std::atexit([] { std::filesystem::remove_all(sandbox()); });
        return path;
    }();
    return folder;
}

inline void writeFile(const std::filesystem::path& path, const uint8_t* data, size_t size) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        std::abort();
    if (size > 0)
        std::fwrite(data, 1, size, file);
    std::fclose(file);
}

inline std::wstring wide(const std::filesystem::path& path) {
    const std::string narrow = path.string();
    return std::wstring(narrow.begin(), narrow.end());  // the sandbox path is ASCII
}

}  // namespace kel::fuzz

#endif  // KEL_FUZZ_FUZZ_SANDBOX_H
