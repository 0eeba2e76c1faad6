// Runs with KEL_ACP=1252: narrow text is Windows-1252 here.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include "file_test_support.h"
#include "support/system.h"

namespace {

using kel::test::Bytes;
using kel::test::bytesOf;
using kel::test::pathIn;
using kel::test::readAll;

KelString fileIn(const std::string& name) {
    return KelString(kel::test::widePathIn(name).c_str());
}

TEST(KelFileAccessAcp1252, NarrowWritesInUtf8Mode_AreConvertedToUtf8) {
    ASSERT_EQ(kelGetNarrowCodePage(), 1252u);
    {
        KelFileAccess out(fileIn("a.txt"), L"w", KelFileAccess::encodeUTF8);
        EXPECT_EQ(out.puts(L"Tr\u00E4ger \u20AC"), 0);
    }
    EXPECT_EQ(readAll(pathIn("a.txt")), bytesOf("\xEF\xBB\xBFTr\xC3\xA4ger \xE2\x82\xAC"));
}

TEST(KelFileAccessAcp1252, NarrowLinesFromUtf8Mode_ComeBackThroughTheCodePage) {
    kel::test::writeAll(pathIn("a.txt"), bytesOf("\xEF\xBB\xBF\xC3\xA4\xE2\x82\xAC\xE4\xB8\x80\n"));
    KelFileAccess in(fileIn("a.txt"), L"r", KelFileAccess::encodeUTF8);
    KelString line;
    in.gets(line, 100);
    // U+4E00 has no Windows-1252 form: it becomes "?".
    EXPECT_EQ(line, KelString(L"\u00E4\u20AC?\n"));
}

TEST(KelFileAccessAcp1252, PlainMode_WritesWindows1252) {
    {
        KelFileAccess out(fileIn("a.txt"), L"w", KelFileAccess::encodeNone);
        out.puts(L"\u00E4\u20AC");
        out.write(L"%s", L"\u00FC");
    }
    EXPECT_EQ(readAll(pathIn("a.txt")), (Bytes{0xE4, 0x80, 0xFC}));
    KelFileAccess in(fileIn("a.txt"), L"r", KelFileAccess::encodeNone);
    EXPECT_EQ(in.getChar(), 0xE4);
    EXPECT_EQ(in.getChar(), 0x20AC);
    KelString text;
    EXPECT_EQ(in.readFile(text, 100), 3u);
    EXPECT_EQ(text, KelString(L"\u00E4\u20AC\u00FC"));
}

TEST(KelFileAccessAcp1252, Kelfputs_IntoAUtf16Stream_ConvertsFromTheCodePage) {
    FILE* stream = nullptr;
    ASSERT_EQ(kelfopen(&stream, fileIn("b.txt"), L"w, ccs=UTF-16LE"), 0);
    EXPECT_EQ(kelfputs("\xE4\x80", stream), 0);
    EXPECT_EQ(kelfprintf(stream, "%s", "\xFC"), 1);
    kelfclose(stream);
    EXPECT_EQ(readAll(pathIn("b.txt")), (Bytes{0xFF, 0xFE, 0xE4, 0, 0xAC, 0x20, 0xFC, 0}));
}

}  // namespace
