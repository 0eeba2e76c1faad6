// Reading archives back in the zip tests: entry names and contents as the
// library's unzipper sees them.

#ifndef KEL_TESTS_FILES_ZIP_TEST_SUPPORT_H
#define KEL_TESTS_FILES_ZIP_TEST_SUPPORT_H

#include <kel/Kel.h>

#include <string>
#include <vector>

namespace kel::test {

// The names of every entry, in archive order ("/" shown as "\").
inline std::vector<std::wstring> entryNames(const std::wstring& zipPath) {
    std::vector<std::wstring> names;
    KelUnzipper zip(zipPath.c_str());
    UZ_FileInfo info;
    for (bool more = zip.GotoFirstFile(); more; more = zip.GotoNextFile()) {
        if (zip.GetFileInfo(info))
            names.push_back(info.szFileName);
    }
    return names;
}

}  // namespace kel::test

#endif  // KEL_TESTS_FILES_ZIP_TEST_SUPPORT_H
