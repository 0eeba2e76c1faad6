// The bounded runtime routines: every routine in its narrow, wchar_t (8) and
// 16-bit (6) forms, with the runtime's error rules.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

#if !defined(_WIN32)
#include <stdlib.h>  // realpath
#endif

#include "support/isolation.h"
#include "support/system.h"
#include "text/invalid_parameter_counter.h"

namespace {

constexpr int kEinval = 22;
constexpr int kErange = 34;
constexpr int kStruncate = 80;
constexpr int kEnoent = 2;

template <typename Char>
using Text = std::basic_string<Char>;

// ASCII text in units of any width.
template <typename Char>
Text<Char> T(const char* ascii) {
    Text<Char> result;
    for (; *ascii != '\0'; ++ascii)
        result.push_back(static_cast<Char>(static_cast<unsigned char>(*ascii)));
    return result;
}

// The routines of one width.
template <typename Char>
struct Api;

template <>
struct Api<char> {
    static constexpr auto cpy = kelstrcpy;
    static constexpr auto ncpy = kelstrncpy;
    static constexpr auto cat = kelstrcat;
    static constexpr auto ncat = kelstrncat;
    static constexpr auto upr = kelstrupr;
    static constexpr auto lwr = kelstrlwr;
    static constexpr auto set = kelstrset;
    static constexpr auto dupenv = keldupenv;
    static constexpr auto tok = kelstrtok;
    static constexpr auto splitpath = kelsplitpath;
    static constexpr auto makepath = kelmakepath;
    static constexpr auto strtime = kelstrtime;
    static constexpr auto strdate = kelstrdate;
    static constexpr auto itoa = kelitoa;
    static constexpr auto ltoa = kelltoa;
    static constexpr auto strerror = kelstrerror;
    static constexpr auto searchenv = kelsearchenv;
};

template <>
struct Api<wchar_t> {
    static constexpr auto cpy = kelwcscpy8;
    static constexpr auto ncpy = kelwcsncpy8;
    static constexpr auto cat = kelwcscat8;
    static constexpr auto ncat = kelwcsncat8;
    static constexpr auto upr = kelwcsupr8;
    static constexpr auto lwr = kelwcslwr8;
    static constexpr auto set = kelwcsset8;
    static constexpr auto dupenv = kelwdupenv8;
    static constexpr auto tok = kelwcstok8;
    static constexpr auto splitpath = kelwsplitpath8;
    static constexpr auto makepath = kelwmakepath8;
    static constexpr auto strtime = kelwstrtime8;
    static constexpr auto strdate = kelwstrdate8;
    static constexpr auto itoa = kelitow8;
    static constexpr auto ltoa = kelltow8;
    static constexpr auto strerror = kelwcserror8;
    static constexpr auto searchenv = kelwsearchenv8;
};

template <>
struct Api<unsigned short> {
    static constexpr auto cpy = kelwcscpy6;
    static constexpr auto ncpy = kelwcsncpy6;
    static constexpr auto cat = kelwcscat6;
    static constexpr auto ncat = kelwcsncat6;
    static constexpr auto upr = kelwcsupr6;
    static constexpr auto lwr = kelwcslwr6;
    static constexpr auto set = kelwcsset6;
    static constexpr auto dupenv = kelwdupenv6;
    static constexpr auto tok = kelwcstok6;
    static constexpr auto splitpath = kelwsplitpath6;
    static constexpr auto makepath = kelwmakepath6;
    static constexpr auto strtime = kelwstrtime6;
    static constexpr auto strdate = kelwstrdate6;
    static constexpr auto itoa = kelitow6;
    static constexpr auto ltoa = kelltow6;
    static constexpr auto strerror = kelwcserror6;
    static constexpr auto searchenv = kelwsearchenv6;
};

template <typename Char>
class SafeRuntime : public ::testing::Test {
protected:
    using A = Api<Char>;
    // A destination pre-filled with "xxxx...", so that emptying shows.
    void fill(Char* buffer, size_t size) {
        for (size_t i = 0; i + 1 < size; ++i)
            buffer[i] = Char('x');
        buffer[size - 1] = Char(0);
    }
    InvalidParameterCounter reports;
};

using Widths = ::testing::Types<char, wchar_t, unsigned short>;
TYPED_TEST_SUITE(SafeRuntime, Widths);

}  // namespace

// ----- copying ------------------------------------------------------------------------------

// One error case of a copy or append: the destination given or null, its
// size, the source, the count (for the n forms) and the outcome.
struct CopyCase {
    bool nullDst;
    unsigned long long size;
    const char* src;  // null for a null source
    unsigned long long count;
    int result;
    const char* dst;  // the destination afterwards ("xxx..." left alone)
    int reports;
};

TYPED_TEST(SafeRuntime, CopyTable) {
    using Char = TypeParam;
    const CopyCase cases[] = {
        {false, 8, "abc", 0, 0, "abc", 0},
        {false, 4, "abc", 0, 0, "abc", 0},
        {false, 3, "abc", 0, kErange, "", 1},
        {true, 8, "abc", 0, kEinval, nullptr, 1},
        {false, 0, "abc", 0, kEinval, "xxxxxxx", 1},
        {false, 8, nullptr, 0, kEinval, "", 1},
        {false, 8, "", 0, 0, "", 0},
    };
    for (const CopyCase& c : cases) {
        this->reports.reset();
        Char buffer[8];
        this->fill(buffer, 8);
        const Text<Char> src = c.src ? T<Char>(c.src) : Text<Char>();
        const int result = TestFixture::A::cpy(c.nullDst ? nullptr : buffer, c.size,
                                               c.src ? src.c_str() : nullptr);
        EXPECT_EQ(result, c.result) << c.size << " " << (c.src ? c.src : "(null)");
        if (c.dst != nullptr) {
            EXPECT_EQ(Text<Char>(buffer), T<Char>(c.dst)) << c.size;
        }
        EXPECT_EQ(this->reports.calls(), c.reports) << c.size;
    }
}

TYPED_TEST(SafeRuntime, CopyNTable) {
    using Char = TypeParam;
    const unsigned long long truncate = _TRUNCATE;
    const CopyCase cases[] = {
        {false, 8, "abcdef", 3, 0, "abc", 0},
        {false, 4, "abcdef", 3, 0, "abc", 0},
        {false, 3, "abcdef", 3, kErange, "", 1},
        {false, 4, "abcdef", truncate, kStruncate, "abc", 0},
        {false, 8, "abcdef", truncate, 0, "abcdef", 0},
        {false, 7, "abcdef", truncate, 0, "abcdef", 0},
        {false, 8, "ab", 5, 0, "ab", 0},
        {false, 8, "abc", 0, 0, "", 0},
        {false, 8, nullptr, 0, 0, "", 0},
        {false, 8, nullptr, 2, kEinval, "", 1},
        {true, 8, "abc", 3, kEinval, nullptr, 1},
        {false, 0, "abc", 3, kEinval, "xxxxxxx", 1},
        {true, 0, "abc", 0, 0, nullptr, 0},
    };
    for (const CopyCase& c : cases) {
        this->reports.reset();
        Char buffer[8];
        this->fill(buffer, 8);
        const Text<Char> src = c.src ? T<Char>(c.src) : Text<Char>();
        const int result = TestFixture::A::ncpy(c.nullDst ? nullptr : buffer, c.size,
                                                c.src ? src.c_str() : nullptr, c.count);
        EXPECT_EQ(result, c.result) << c.size << " " << c.count;
        if (c.dst != nullptr) {
            EXPECT_EQ(Text<Char>(buffer), T<Char>(c.dst)) << c.size << " " << c.count;
        }
        EXPECT_EQ(this->reports.calls(), c.reports) << c.size << " " << c.count;
    }
}

// Appends to a destination that holds "ab" (or no terminator at all).
struct AppendCase {
    bool nullDst;
    bool unterminated;
    unsigned long long size;
    const char* src;
    unsigned long long count;
    int result;
    const char* dst;
    int reports;
};

TYPED_TEST(SafeRuntime, AppendTable) {
    using Char = TypeParam;
    const AppendCase cases[] = {
        {false, false, 8, "cd", 0, 0, "abcd", 0},
        {false, false, 5, "cd", 0, 0, "abcd", 0},
        {false, false, 4, "cd", 0, kErange, "", 1},
        {false, false, 8, nullptr, 0, kEinval, "", 1},
        {true, false, 8, "cd", 0, kEinval, nullptr, 1},
        {false, false, 0, "cd", 0, kEinval, "ab", 1},
        {false, true, 4, "cd", 0, kEinval, "", 1},
    };
    for (const AppendCase& c : cases) {
        this->reports.reset();
        Char buffer[8] = {Char('a'), Char('b'), 0};
        if (c.unterminated)
            this->fill(buffer, 8);
        const Text<Char> src = c.src ? T<Char>(c.src) : Text<Char>();
        const int result = TestFixture::A::cat(c.nullDst ? nullptr : buffer, c.size,
                                               c.src ? src.c_str() : nullptr);
        EXPECT_EQ(result, c.result) << c.size;
        if (c.dst != nullptr) {
            EXPECT_EQ(Text<Char>(buffer), T<Char>(c.dst)) << c.size;
        }
        EXPECT_EQ(this->reports.calls(), c.reports) << c.size;
    }
}

TYPED_TEST(SafeRuntime, AppendNTable) {
    using Char = TypeParam;
    const unsigned long long truncate = _TRUNCATE;
    const AppendCase cases[] = {
        {false, false, 8, "cdef", 2, 0, "abcd", 0},
        {false, false, 5, "cdef", 2, 0, "abcd", 0},
        {false, false, 4, "cdef", 2, kErange, "", 1},
        {false, false, 5, "cdef", truncate, kStruncate, "abcd", 0},
        {false, false, 8, "cdef", truncate, 0, "abcdef", 0},
        {false, false, 8, nullptr, 0, 0, "ab", 0},
        {false, false, 8, nullptr, 1, kEinval, "", 1},
        {true, false, 8, "cd", 1, kEinval, nullptr, 1},
        {false, false, 0, "cd", 1, kEinval, "ab", 1},
        {false, true, 4, "cd", 1, kEinval, "", 1},
        {true, false, 0, "cd", 0, 0, nullptr, 0},
    };
    for (const AppendCase& c : cases) {
        this->reports.reset();
        Char buffer[8] = {Char('a'), Char('b'), 0};
        if (c.unterminated)
            this->fill(buffer, 8);
        const Text<Char> src = c.src ? T<Char>(c.src) : Text<Char>();
        const int result = TestFixture::A::ncat(c.nullDst ? nullptr : buffer, c.size,
                                                c.src ? src.c_str() : nullptr, c.count);
        EXPECT_EQ(result, c.result) << c.size << " " << c.count;
        if (c.dst != nullptr) {
            EXPECT_EQ(Text<Char>(buffer), T<Char>(c.dst)) << c.size << " " << c.count;
        }
        EXPECT_EQ(this->reports.calls(), c.reports) << c.size << " " << c.count;
    }
}

TYPED_TEST(SafeRuntime, ErrnoIsSetToTheError) {
    using Char = TypeParam;
    Char buffer[2];
    errno = 0;
    EXPECT_EQ(TestFixture::A::cpy(buffer, 2, T<Char>("abc").c_str()), kErange);
    EXPECT_EQ(errno, kErange);
    errno = 0;
    EXPECT_EQ(TestFixture::A::cpy(nullptr, 2, T<Char>("abc").c_str()), kEinval);
    EXPECT_EQ(errno, kEinval);
}

// ----- case and filling ---------------------------------------------------------------------

TYPED_TEST(SafeRuntime, UpperLowerAndSet) {
    using Char = TypeParam;
    Char buffer[8];
    const Text<Char> mixed = T<Char>("Ab1_z");
    std::copy(mixed.c_str(), mixed.c_str() + mixed.size() + 1, buffer);
    EXPECT_EQ(TestFixture::A::upr(buffer, 8), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("AB1_Z"));
    EXPECT_EQ(TestFixture::A::lwr(buffer, 6), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("ab1_z"));
    EXPECT_EQ(TestFixture::A::set(buffer, 8, '*'), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("*****"));
    EXPECT_EQ(this->reports.calls(), 0);
}

struct InPlaceCase {
    bool nullText;
    unsigned long long size;
    int result;
    const char* text;
    int reports;
};

TYPED_TEST(SafeRuntime, UpperLowerAndSetErrorTable) {
    using Char = TypeParam;
    // The buffer holds "abc" and its terminator (4 units).
    const InPlaceCase cases[] = {
        {false, 4, 0, nullptr, 0},
        {false, 3, kEinval, "", 1},  // no terminator within the size
        {false, 0, kEinval, "abc", 1},
        {true, 4, kEinval, nullptr, 1},
    };
    for (int routine = 0; routine < 3; ++routine) {
        for (const InPlaceCase& c : cases) {
            this->reports.reset();
            Char buffer[4] = {Char('a'), Char('b'), Char('c'), 0};
            Char* text = c.nullText ? nullptr : buffer;
            const int result = routine == 0   ? TestFixture::A::upr(text, c.size)
                               : routine == 1 ? TestFixture::A::lwr(text, c.size)
                                              : TestFixture::A::set(text, c.size, 'q');
            EXPECT_EQ(result, c.result) << routine << " " << c.size;
            if (c.text != nullptr) {
                EXPECT_EQ(Text<Char>(buffer), T<Char>(c.text)) << routine << " " << c.size;
            }
            EXPECT_EQ(this->reports.calls(), c.reports) << routine << " " << c.size;
        }
    }
}

// ----- tokens -------------------------------------------------------------------------------

TYPED_TEST(SafeRuntime, TokensSkipRunsOfDelimiters) {
    using Char = TypeParam;
    Text<Char> text = T<Char>(",,ab,c;;d,");
    const Text<Char> delimiters = T<Char>(",;");
    Char* context = nullptr;
    Char* token = TestFixture::A::tok(text.data(), delimiters.c_str(), &context);
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(Text<Char>(token), T<Char>("ab"));
    token = TestFixture::A::tok(nullptr, delimiters.c_str(), &context);
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(Text<Char>(token), T<Char>("c"));
    token = TestFixture::A::tok(nullptr, delimiters.c_str(), &context);
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(Text<Char>(token), T<Char>("d"));
    EXPECT_EQ(TestFixture::A::tok(nullptr, delimiters.c_str(), &context), nullptr);
    EXPECT_EQ(TestFixture::A::tok(nullptr, delimiters.c_str(), &context), nullptr);
    EXPECT_EQ(this->reports.calls(), 0);
}

TYPED_TEST(SafeRuntime, TokensWithBadArgumentsAreReported) {
    using Char = TypeParam;
    Text<Char> text = T<Char>("a b");
    const Text<Char> delimiters = T<Char>(" ");
    Char* context = nullptr;
    errno = 0;
    EXPECT_EQ(TestFixture::A::tok(text.data(), delimiters.c_str(), nullptr), nullptr);
    EXPECT_EQ(TestFixture::A::tok(text.data(), nullptr, &context), nullptr);
    EXPECT_EQ(TestFixture::A::tok(nullptr, delimiters.c_str(), &context), nullptr);
    EXPECT_EQ(errno, kEinval);
    EXPECT_EQ(this->reports.calls(), 3);
}

// ----- paths --------------------------------------------------------------------------------

TYPED_TEST(SafeRuntime, SplitPath) {
    using Char = TypeParam;
    Char drive[4], dir[64], fname[64], ext[16];
    const Text<Char> path = T<Char>("c:\\models/beam.x.dxf");
    EXPECT_EQ(TestFixture::A::splitpath(path.c_str(), drive, 4, dir, 64, fname, 64, ext, 16), 0);
    EXPECT_EQ(Text<Char>(drive), T<Char>("c:"));
    EXPECT_EQ(Text<Char>(dir), T<Char>("\\models/"));
    EXPECT_EQ(Text<Char>(fname), T<Char>("beam.x"));
    EXPECT_EQ(Text<Char>(ext), T<Char>(".dxf"));
    // Any part may be skipped.
    EXPECT_EQ(
        TestFixture::A::splitpath(path.c_str(), nullptr, 0, nullptr, 0, fname, 64, nullptr, 0), 0);
    EXPECT_EQ(Text<Char>(fname), T<Char>("beam.x"));
    EXPECT_EQ(this->reports.calls(), 0);
}

struct SplitCase {
    const char* path;  // null for a null path
    unsigned long long driveSize, dirSize, fnameSize, extSize;
    bool nullDrive;
    int result;
};

TYPED_TEST(SafeRuntime, SplitPathErrorTableEmptiesEveryPart) {
    using Char = TypeParam;
    const SplitCase cases[] = {
        {nullptr, 4, 16, 16, 8, false, kEinval},       // null path
        {"c:\\d\\f.e", 0, 16, 16, 8, false, kEinval},  // buffer with size 0
        {"c:\\d\\f.e", 4, 16, 16, 8, true, kEinval},   // null buffer with a size
        {"c:\\d\\f.e", 2, 16, 16, 8, false, kErange},  // drive needs 3
        {"c:\\dir\\f.e", 4, 5, 16, 8, false, kErange},
        {"c:\\d\\file.e", 4, 16, 4, 8, false, kErange},
        {"c:\\d\\f.ext", 4, 16, 16, 4, false, kErange},
    };
    for (const SplitCase& c : cases) {
        this->reports.reset();
        Char drive[4], dir[16], fname[16], ext[8];
        this->fill(drive, 4);
        this->fill(dir, 16);
        this->fill(fname, 16);
        this->fill(ext, 8);
        const Text<Char> path = c.path ? T<Char>(c.path) : Text<Char>();
        const int result = TestFixture::A::splitpath(
            c.path ? path.c_str() : nullptr, c.nullDrive ? nullptr : drive, c.driveSize, dir,
            c.dirSize, fname, c.fnameSize, ext, c.extSize);
        EXPECT_EQ(result, c.result) << (c.path ? c.path : "(null)");
        if (!c.nullDrive && c.driveSize > 0) {
            EXPECT_EQ(drive[0], Char(0));
        }
        EXPECT_EQ(dir[0], Char(0));
        EXPECT_EQ(fname[0], Char(0));
        EXPECT_EQ(ext[0], Char(0));
        EXPECT_EQ(this->reports.calls(), 1);
    }
}

TYPED_TEST(SafeRuntime, SplitPathDriveIsAnyCharacterBeforeAColon) {
    using Char = TypeParam;
    Char drive[4], dir[16], fname[16], ext[8];
    EXPECT_EQ(
        TestFixture::A::splitpath(T<Char>("1:x").c_str(), drive, 4, dir, 16, fname, 16, ext, 8), 0);
    EXPECT_EQ(Text<Char>(drive), T<Char>("1:"));
    EXPECT_EQ(Text<Char>(fname), T<Char>("x"));
    EXPECT_EQ(
        TestFixture::A::splitpath(T<Char>("ab:x").c_str(), drive, 4, dir, 16, fname, 16, ext, 8),
        0);
    EXPECT_EQ(Text<Char>(drive), T<Char>(""));
    EXPECT_EQ(Text<Char>(fname), T<Char>("ab:x"));
}

TYPED_TEST(SafeRuntime, MakePath) {
    using Char = TypeParam;
    Char path[32];
    EXPECT_EQ(TestFixture::A::makepath(path, 32, T<Char>("c").c_str(), T<Char>("\\dir").c_str(),
                                       T<Char>("f").c_str(), T<Char>("txt").c_str()),
              0);
    EXPECT_EQ(Text<Char>(path), T<Char>("c:\\dir\\f.txt"));
    EXPECT_EQ(TestFixture::A::makepath(path, 32, nullptr, T<Char>("/d/").c_str(), nullptr,
                                       T<Char>(".e").c_str()),
              0);
    EXPECT_EQ(Text<Char>(path), T<Char>("/d/.e"));
    EXPECT_EQ(TestFixture::A::makepath(path, 32, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(Text<Char>(path), T<Char>(""));
    // Exactly fitting: "c:d\f.e" is 7 characters and a terminator.
    EXPECT_EQ(TestFixture::A::makepath(path, 8, T<Char>("c").c_str(), T<Char>("d").c_str(),
                                       T<Char>("f").c_str(), T<Char>("e").c_str()),
              0);
    EXPECT_EQ(Text<Char>(path), T<Char>("c:d\\f.e"));
    EXPECT_EQ(this->reports.calls(), 0);
}

struct MakeCase {
    bool nullPath;
    unsigned long long size;
    int result;
    bool emptied;
};

TYPED_TEST(SafeRuntime, MakePathErrorTable) {
    using Char = TypeParam;
    const MakeCase cases[] = {
        {true, 8, kEinval, false},
        {false, 0, kEinval, false},
        {false, 7, kErange, true},
        {false, 2, kErange, true},
    };
    for (const MakeCase& c : cases) {
        this->reports.reset();
        Char path[8];
        this->fill(path, 8);
        const int result = TestFixture::A::makepath(c.nullPath ? nullptr : path, c.size,
                                                    T<Char>("c").c_str(), T<Char>("d").c_str(),
                                                    T<Char>("f").c_str(), T<Char>("e").c_str());
        EXPECT_EQ(result, c.result) << c.size;
        EXPECT_EQ(path[0], c.emptied ? Char(0) : Char('x')) << c.size;
        EXPECT_EQ(this->reports.calls(), 1) << c.size;
    }
}

// ----- numbers ------------------------------------------------------------------------------

TYPED_TEST(SafeRuntime, IntegerToText) {
    using Char = TypeParam;
    Char buffer[40];
    EXPECT_EQ(TestFixture::A::itoa(-255, buffer, 40, 10), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("-255"));
    EXPECT_EQ(TestFixture::A::itoa(-255, buffer, 40, 16), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("ffffff01"));
    EXPECT_EQ(TestFixture::A::itoa(35, buffer, 40, 36), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("z"));
    EXPECT_EQ(TestFixture::A::itoa(INT_MIN, buffer, 40, 2), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("10000000000000000000000000000000"));
    EXPECT_EQ(TestFixture::A::ltoa(-7L, buffer, 40, 10), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("-7"));
    EXPECT_EQ(TestFixture::A::ltoa(255L, buffer, 40, 2), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("11111111"));
    EXPECT_EQ(this->reports.calls(), 0);
}

struct NumberCase {
    bool nullBuffer;
    unsigned long long size;
    int value;
    int radix;
    int result;
};

TYPED_TEST(SafeRuntime, IntegerToTextErrorTable) {
    using Char = TypeParam;
    const NumberCase cases[] = {
        {true, 8, 5, 10, kEinval},   {false, 0, 5, 10, kEinval},   {false, 1, 5, 10, kErange},
        {false, 2, -5, 10, kErange}, {false, 3, 123, 10, kErange}, {false, 8, 5, 1, kEinval},
        {false, 8, 5, 37, kEinval},  {false, 2, 5, 10, 0},         {false, 3, -5, 10, 0},
    };
    for (int routine = 0; routine < 2; ++routine) {
        for (const NumberCase& c : cases) {
            this->reports.reset();
            Char buffer[8];
            this->fill(buffer, 8);
            Char* target = c.nullBuffer ? nullptr : buffer;
            const int result = routine == 0
                                   ? TestFixture::A::itoa(c.value, target, c.size, c.radix)
                                   : TestFixture::A::ltoa(c.value, target, c.size, c.radix);
            EXPECT_EQ(result, c.result) << c.size << " " << c.value << " " << c.radix;
            if (!c.nullBuffer && c.size > 0 && c.result != 0) {
                EXPECT_EQ(buffer[0], Char(0));
            }
            EXPECT_EQ(this->reports.calls(), c.result != 0 ? 1 : 0);
        }
    }
}

// ----- error messages -----------------------------------------------------------------------

TYPED_TEST(SafeRuntime, ErrorMessagesAreTheRuntimes) {
    using Char = TypeParam;
    Char buffer[64];
    EXPECT_EQ(TestFixture::A::strerror(buffer, 64, 22), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("Invalid argument"));
    EXPECT_EQ(TestFixture::A::strerror(buffer, 64, 2), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("No such file or directory"));
    EXPECT_EQ(TestFixture::A::strerror(buffer, 64, 34), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("Result too large"));
    EXPECT_EQ(TestFixture::A::strerror(buffer, 64, 0), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("No error"));
    EXPECT_EQ(TestFixture::A::strerror(buffer, 64, 9999), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("Unknown error"));
    EXPECT_EQ(TestFixture::A::strerror(buffer, 64, -1), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("Unknown error"));
    // A message that does not fit is cut and still succeeds.
    EXPECT_EQ(TestFixture::A::strerror(buffer, 8, 22), 0);
    EXPECT_EQ(Text<Char>(buffer), T<Char>("Invalid"));
    EXPECT_EQ(this->reports.calls(), 0);
    EXPECT_EQ(TestFixture::A::strerror(nullptr, 8, 22), kEinval);
    EXPECT_EQ(TestFixture::A::strerror(buffer, 0, 22), kEinval);
    EXPECT_EQ(this->reports.calls(), 2);
}

// ----- clock --------------------------------------------------------------------------------

TYPED_TEST(SafeRuntime, ClockTextShapes) {
    using Char = TypeParam;
    Char buffer[9];
    EXPECT_EQ(TestFixture::A::strtime(buffer, 9), 0);
    ASSERT_EQ(Text<Char>(buffer).size(), 8u);
    EXPECT_EQ(buffer[2], Char(':'));
    EXPECT_EQ(buffer[5], Char(':'));
    EXPECT_EQ(TestFixture::A::strdate(buffer, 9), 0);
    ASSERT_EQ(Text<Char>(buffer).size(), 8u);
    EXPECT_EQ(buffer[2], Char('/'));
    EXPECT_EQ(buffer[5], Char('/'));
    EXPECT_EQ(this->reports.calls(), 0);
}

TYPED_TEST(SafeRuntime, ClockTextErrorTable) {
    using Char = TypeParam;
    struct Case {
        bool nullBuffer;
        unsigned long long size;
        int result;
    };
    const Case cases[] = {{true, 9, kEinval}, {false, 0, kEinval}, {false, 8, kErange}};
    for (int routine = 0; routine < 2; ++routine) {
        for (const Case& c : cases) {
            this->reports.reset();
            Char buffer[9];
            this->fill(buffer, 9);
            Char* target = c.nullBuffer ? nullptr : buffer;
            const int result = routine == 0 ? TestFixture::A::strtime(target, c.size)
                                            : TestFixture::A::strdate(target, c.size);
            EXPECT_EQ(result, c.result);
            if (c.result == kErange) {
                EXPECT_EQ(buffer[0], Char(0));
            }
            EXPECT_EQ(this->reports.calls(), 1);
        }
    }
}

// ----- environment --------------------------------------------------------------------------

namespace {

// The full path of an existing file, as the system spells it.
std::string resolvedPath(const std::string& path) {
#if defined(_WIN32)
    return std::filesystem::absolute(path).lexically_normal().string();
#else
    char resolved[4096];
    return ::realpath(path.c_str(), resolved) != nullptr ? resolved : "";
#endif
}

}  // namespace

TYPED_TEST(SafeRuntime, DupenvOfAnUnsetVariable) {
    using Char = TypeParam;
    kel::test::setEnv("KEL_TEST_UNSET", nullptr);
    Char* value = reinterpret_cast<Char*>(this);
    unsigned __int64 length = 99;
    EXPECT_EQ(TestFixture::A::dupenv(&value, &length, T<Char>("KEL_TEST_UNSET").c_str()), 0);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(length, 0u);
}

TYPED_TEST(SafeRuntime, DupenvOfASetVariableIsReleasedWithFreeBuff) {
    using Char = TypeParam;
    kel::test::setEnv("KEL_TEST_VALUE", "beam=42");
    Char* value = nullptr;
    unsigned __int64 length = 0;
    EXPECT_EQ(TestFixture::A::dupenv(&value, &length, T<Char>("KEL_TEST_VALUE").c_str()), 0);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(Text<Char>(value), T<Char>("beam=42"));
    EXPECT_EQ(length, 8u);
    kelFreeBuff(value);
    // The length may be left out.
    value = nullptr;
    EXPECT_EQ(TestFixture::A::dupenv(&value, nullptr, T<Char>("KEL_TEST_VALUE").c_str()), 0);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(Text<Char>(value), T<Char>("beam=42"));
    kelFreeBuff(value);
    kelFreeBuff(nullptr);
}

TYPED_TEST(SafeRuntime, DupenvErrorTable) {
    using Char = TypeParam;
    unsigned __int64 length = 5;
    EXPECT_EQ(TestFixture::A::dupenv(nullptr, &length, T<Char>("PATH").c_str()), kEinval);
    Char* value = reinterpret_cast<Char*>(this);
    EXPECT_EQ(TestFixture::A::dupenv(&value, &length, nullptr), kEinval);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(this->reports.calls(), 2);
}

TYPED_TEST(SafeRuntime, SearchenvLooksInTheCurrentDirectoryFirst) {
    using Char = TypeParam;
    const std::string dir = kel::test::tempDir();
    std::filesystem::current_path(dir);
    std::ofstream(dir + "/here.txt") << "x";
    kel::test::setEnv("KEL_TEST_SEARCH", "/nonexistent");
    Char path[512];
    EXPECT_EQ(TestFixture::A::searchenv(T<Char>("here.txt").c_str(),
                                        T<Char>("KEL_TEST_SEARCH").c_str(), path, 512),
              0);
    const std::string resolved = resolvedPath(dir + "/here.txt");
    ASSERT_FALSE(resolved.empty());
    EXPECT_EQ(Text<Char>(path), T<Char>(resolved.c_str()));
}

TYPED_TEST(SafeRuntime, SearchenvThenEachDirectoryOfTheVariable) {
    using Char = TypeParam;
    const std::string dir = kel::test::tempDir();
    std::filesystem::current_path(dir);
    std::filesystem::create_directory(dir + "/one");
    std::filesystem::create_directory(dir + "/two");
    std::ofstream(dir + "/two/found.cfg") << "x";
    // ";" separates the directories, and on POSIX ":" too (on Windows ":"
    // belongs to a drive).
    const std::string list =
        dir + "/missing;" + dir + "/one" + (kel::test::kWindows ? ";" : ":") + dir + "/two";
    kel::test::setEnv("KEL_TEST_SEARCH", list.c_str());
    Char path[512];
    EXPECT_EQ(TestFixture::A::searchenv(T<Char>("found.cfg").c_str(),
                                        T<Char>("KEL_TEST_SEARCH").c_str(), path, 512),
              0);
    const std::string resolved = resolvedPath(dir + "/two/found.cfg");
    ASSERT_FALSE(resolved.empty());
    EXPECT_EQ(Text<Char>(path), T<Char>(resolved.c_str()));
    // Too small for the path: ERANGE and an empty result, without a report.
    path[0] = Char('x');
    EXPECT_EQ(TestFixture::A::searchenv(T<Char>("found.cfg").c_str(),
                                        T<Char>("KEL_TEST_SEARCH").c_str(), path, 4),
              kErange);
    EXPECT_EQ(path[0], Char(0));
    EXPECT_EQ(this->reports.calls(), 0);
}

TYPED_TEST(SafeRuntime, SearchenvErrorTable) {
    using Char = TypeParam;
    kel::test::setEnv("KEL_TEST_SEARCH", kel::test::tempDir().c_str());
    Char path[64];
    path[0] = Char('x');
    EXPECT_EQ(TestFixture::A::searchenv(T<Char>("nowhere.txt").c_str(),
                                        T<Char>("KEL_TEST_SEARCH").c_str(), path, 64),
              kEnoent);
    EXPECT_EQ(path[0], Char(0));
    EXPECT_EQ(TestFixture::A::searchenv(T<Char>("").c_str(), T<Char>("KEL_TEST_SEARCH").c_str(),
                                        path, 64),
              kEnoent);
    EXPECT_EQ(TestFixture::A::searchenv(T<Char>("x").c_str(), T<Char>("KEL_TEST_UNSET_VAR").c_str(),
                                        path, 64),
              kEnoent);
    EXPECT_EQ(this->reports.calls(), 0);
    EXPECT_EQ(TestFixture::A::searchenv(T<Char>("x").c_str(), T<Char>("PATH").c_str(), nullptr, 64),
              kEinval);
    EXPECT_EQ(TestFixture::A::searchenv(T<Char>("x").c_str(), T<Char>("PATH").c_str(), path, 0),
              kEinval);
    EXPECT_EQ(TestFixture::A::searchenv(nullptr, T<Char>("PATH").c_str(), path, 64), kEinval);
    EXPECT_EQ(this->reports.calls(), 3);
}

// ----- the two wide forms -------------------------------------------------------------------

TEST(SafeRuntimeForms, SixAndEightGiveIdenticalResults) {
    const unsigned short source16[] = {'c', ':', '\\', 'a', '\\', 'b', '.', 'c', 0};
    unsigned short drive16[4], dir16[16], fname16[16], ext16[8];
    wchar_t drive[4], dir[16], fname[16], ext[8];
    EXPECT_EQ(kelwsplitpath6(source16, drive16, 4, dir16, 16, fname16, 16, ext16, 8),
              kelwsplitpath8(L"c:\\a\\b.c", drive, 4, dir, 16, fname, 16, ext, 8));
    EXPECT_EQ(std::wstring(dir), L"\\a\\");
    for (int i = 0; dir[i] != 0 || dir16[i] != 0; ++i)
        EXPECT_EQ(static_cast<unsigned long>(dir16[i]), static_cast<unsigned long>(dir[i]));
    if (sizeof(wchar_t) == sizeof(unsigned short)) {
        EXPECT_EQ(reinterpret_cast<void*>(&kelwcscpy6), reinterpret_cast<void*>(&kelwcscpy8));
    }
}

TEST(SafeRuntimeForms, SixteenBitFormsCountUnitsNotCharacters) {
    // U+1F600 is one wchar_t on Linux but two 16-bit units.
    const unsigned short pair[] = {0xD83D, 0xDE00, 0};
    unsigned short buffer[3];
    EXPECT_EQ(kelwcscpy6(buffer, 3, pair), 0);
    InvalidParameterCounter reports;
    EXPECT_EQ(kelwcscpy6(buffer, 2, pair), kErange);
    EXPECT_EQ(reports.calls(), 1);
}

TEST(SafeRuntimeForms, SixteenBitUpperCaseLeavesSurrogatesAlone) {
    unsigned short text[] = {'a', 0xD83D, 0xDE00, 0x00E9, 0};
    EXPECT_EQ(kelwcsupr6(text, 5), 0);
    EXPECT_EQ(text[0], 'A');
    EXPECT_EQ(text[1], 0xD83D);
    EXPECT_EQ(text[2], 0xDE00);
}

// ----- gcvt ---------------------------------------------------------------------------------

TEST(SafeRuntimeNumbers, Gcvt) {
    char buffer[32];
    EXPECT_EQ(kelgcvt(buffer, 32, -123456789012.3, 12), 0);
    EXPECT_STREQ(buffer, "-123456789012");
    EXPECT_EQ(kelgcvt(buffer, 32, 1.0, 5), 0);
    EXPECT_STREQ(buffer, "1.");
    EXPECT_EQ(kelgcvt(buffer, 32, 100.0, 3), 0);
    EXPECT_STREQ(buffer, "100");
    EXPECT_EQ(kelgcvt(buffer, 32, 2.5, 1), 0);
    EXPECT_STREQ(buffer, "3");
    EXPECT_EQ(kelgcvt(buffer, 32, 0.001234, 3), 0);
    EXPECT_STREQ(buffer, "1.23e-03");
    EXPECT_EQ(kelgcvt(buffer, 32, 0.01, 2), 0);
    EXPECT_STREQ(buffer, "1.e-02");
    EXPECT_EQ(kelgcvt(buffer, 32, 0.1, 2), 0);
    EXPECT_STREQ(buffer, "0.1");
}

TEST(SafeRuntimeNumbers, GcvtErrorTable) {
    InvalidParameterCounter reports;
    struct Case {
        bool nullBuffer;
        unsigned long long size;
        double value;
        int digits;
        int result;
    };
    const Case cases[] = {
        {true, 32, 1.0, 5, kEinval},   {false, 0, 1.0, 5, kEinval},     {false, 5, 1.0, 5, kErange},
        {false, 32, 1.0, -1, kErange}, {false, 6, 123.456, 5, kErange},  // "123.46" needs 7
        {false, 7, 123.456, 5, 0},
    };
    for (const Case& c : cases) {
        reports.reset();
        char buffer[32] = "xxxx";
        const int result = kelgcvt(c.nullBuffer ? nullptr : buffer, c.size, c.value, c.digits);
        EXPECT_EQ(result, c.result) << c.size << " " << c.digits;
        if (!c.nullBuffer && c.size > 0 && c.result != 0) {
            EXPECT_STREQ(buffer, "");
        }
        EXPECT_EQ(reports.calls(), c.result != 0 ? 1 : 0);
    }
}

// ----- local time ---------------------------------------------------------------------------

TEST(SafeRuntimeTime, LocalTimeOfTheEpochInUtc) {
    kel::test::setEnv("TZ", "UTC");
    tzset();
    struct tm result = {};
    const __int64 t = 86400 + 3600 + 60 + 1;
    EXPECT_EQ(kellocaltime(&result, &t), 0);
    EXPECT_EQ(result.tm_year, 70);
    EXPECT_EQ(result.tm_mon, 0);
    EXPECT_EQ(result.tm_mday, 2);
    EXPECT_EQ(result.tm_hour, 1);
    EXPECT_EQ(result.tm_min, 1);
    EXPECT_EQ(result.tm_sec, 1);
    EXPECT_EQ(result.tm_wday, 5);
    EXPECT_EQ(result.tm_yday, 1);
}

TEST(SafeRuntimeTime, LocalTimeFollowsTheTimeZone) {
    KEL_SKIP_UNDER_WINE("Wine's C runtime takes no daylight saving time from TZ");
    kel::test::setEnv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    tzset();
    struct tm result = {};
    const __int64 summer = 1436864400;  // 2015-07-14 09:00:00 UTC
    EXPECT_EQ(kellocaltime(&result, &summer), 0);
    EXPECT_EQ(result.tm_hour, 11);
    EXPECT_EQ(result.tm_isdst, 1);
    kel::test::setEnv("TZ", nullptr);
    tzset();
}

TEST(SafeRuntimeTime, LocalTimeRangeAndErrors) {
    kel::test::setEnv("TZ", "UTC");
    tzset();
    InvalidParameterCounter reports;
    struct tm result = {};
    const __int64 earliest = -43200;
    EXPECT_EQ(kellocaltime(&result, &earliest), 0);
    EXPECT_EQ(result.tm_year, 69);
    const __int64 latest = 32535215999LL;
    EXPECT_EQ(kellocaltime(&result, &latest), 0);
    EXPECT_EQ(result.tm_year, 1100);
    EXPECT_EQ(reports.calls(), 0);
    const __int64 tooEarly = -43201;
    EXPECT_EQ(kellocaltime(&result, &tooEarly), kEinval);
    EXPECT_EQ(result.tm_year, -1);
    EXPECT_EQ(result.tm_mday, -1);
    const __int64 tooLate = 32535216000LL;
    EXPECT_EQ(kellocaltime(&result, &tooLate), kEinval);
    EXPECT_EQ(reports.calls(), 0);  // out of range is not reported
    EXPECT_EQ(kellocaltime(&result, nullptr), kEinval);
    EXPECT_EQ(result.tm_hour, -1);
    EXPECT_EQ(kellocaltime(nullptr, &latest), kEinval);
    EXPECT_EQ(reports.calls(), 2);
}

// ----- conversions of a KelString -----------------------------------------------------------

TEST(SafeRuntimeConversions, Utf8SizeAndBytesWithoutTerminator) {
    const KelString e(L"\u00E9");
    EXPECT_EQ(kelGetUTF8BufferSize(e), 2);
    char bytes[3] = {'x', 'x', 'x'};
    char* buffer = bytes;
    kelGetUTF8(e, buffer, 2);
    EXPECT_EQ(static_cast<unsigned char>(bytes[0]), 0xC3);
    EXPECT_EQ(static_cast<unsigned char>(bytes[1]), 0xA9);
    EXPECT_EQ(bytes[2], 'x');
    EXPECT_EQ(kelGetUTF8BufferSize(KelString()), 0);
    EXPECT_EQ(kelGetUTF8BufferSize(KelString(L"a\u20AC")), 4);
}

TEST(SafeRuntimeConversions, Utf8IntoALargerBufferAndTheCallersTerminator) {
    const KelString text(L"Tr\u00E4ger");
    const int n = kelGetUTF8BufferSize(text);
    ASSERT_EQ(n, 7);
    char* buffer = static_cast<char*>(std::malloc(static_cast<size_t>(n) + 1));
    kelGetUTF8(text, buffer, n + 1);
    buffer[n] = '\0';
    EXPECT_STREQ(buffer, "Tr\xC3\xA4ger");
    std::free(buffer);
}

TEST(SafeRuntimeConversions, Utf8IntoATooSmallBufferCompletesNothing) {
    const KelString text(L"abc\u00E9");
    char bytes[6] = {'x', 'x', 'x', 'x', 'x', 'x'};
    char* buffer = bytes;
    kelGetUTF8(text, buffer, 3);  // reports nothing and writes nothing past 3
    EXPECT_EQ(bytes[3], 'x');
    EXPECT_EQ(bytes[4], 'x');
    char* none = nullptr;
    kelGetUTF8(text, none, 5);
    EXPECT_EQ(none, nullptr);
    kelGetUTF8(text, buffer, 0);
    EXPECT_EQ(bytes[0] == 'x' || bytes[0] == 'a', true);
}

TEST(SafeRuntimeConversions, BstrHoldsTheTextAndItsByteLength) {
    const KelString text(L"HEA 200");
    wchar_t* bstr = kelGetBSTR8(text);
    ASSERT_NE(bstr, nullptr);
    EXPECT_STREQ(bstr, L"HEA 200");
    uint32_t bytes = 0;
    std::memcpy(&bytes, reinterpret_cast<const char*>(bstr) - 4, 4);
    EXPECT_EQ(bytes, 7 * sizeof(wchar_t));
    kelSysFreeString(bstr);

    unsigned short* bstr16 = kelGetBSTR6(KelString(L"H\u00E9"));
    ASSERT_NE(bstr16, nullptr);
    EXPECT_EQ(bstr16[0], 'H');
    EXPECT_EQ(bstr16[1], 0xE9);
    EXPECT_EQ(bstr16[2], 0);
    std::memcpy(&bytes, reinterpret_cast<const char*>(bstr16) - 4, 4);
    EXPECT_EQ(bytes, 4u);
    kelSysFreeString(bstr16);
    kelSysFreeString(nullptr);
}

TEST(SafeRuntimeConversions, BstrOfEmptyText) {
    wchar_t* bstr = kelGetBSTR8(KelString());
    ASSERT_NE(bstr, nullptr);
    EXPECT_STREQ(bstr, L"");
    kelSysFreeString(bstr);
}
