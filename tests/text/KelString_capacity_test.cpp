// Texts longer than the 524,288-character scratch buffer: every operation
// that works through the buffer reports the problem through the
// invalid-parameter handler, leaves the value as it was and goes on.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

#include "text/invalid_parameter_counter.h"

namespace {

constexpr int kScratch = KelString::kTempBufferSize;

// A value of `length` characters, built without the scratch buffer.
KelString longText(size_t length, wchar_t c = L'a') {
    const std::wstring text(length, c);
    return KelString(text.c_str());
}

}  // namespace

TEST(KelStringCapacity, LargestTextThatFitsPassesThrough) {
    InvalidParameterCounter reports;
    KelString s = longText(kScratch - 1);
    s.toUpper();
    EXPECT_EQ(s.length(), kScratch - 1);
    EXPECT_EQ(s[0], L'A');
    EXPECT_EQ(s.replace(L'A', L'b'), kScratch - 1);
    EXPECT_EQ(reports.calls(), 0);
}

TEST(KelStringCapacity, ConcatenationBeyondTheBuffer) {
    InvalidParameterCounter reports;
    KelString s = longText(kScratch - 1);
    const KelString tail(L"x");
    const KelString joined = s + tail;
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_EQ(joined.isEmpty(), 1);
    const wchar_t* before = s.getStringW();
    s += tail;
    EXPECT_EQ(reports.calls(), 2);
    EXPECT_EQ(s.getStringW(), before);
    EXPECT_EQ(s.length(), kScratch - 1);
}

TEST(KelStringCapacity, EditsOfATooLongTextLeaveItAsItWas) {
    InvalidParameterCounter reports;
    KelString s = longText(kScratch + 10);
    const wchar_t* before = s.getStringW();
    s.toUpper();
    s.toLower();
    s.setAt(0, L'x');
    EXPECT_EQ(s.replace(L'a', L'b'), 0);
    EXPECT_EQ(s.replace(KelString(L"a"), KelString(L"b")), 0);
    s.replace(0, 1, KelString(L"z"));
    EXPECT_EQ(reports.calls(), 6);
    EXPECT_EQ(s.getStringW(), before);
    EXPECT_EQ(s.length(), kScratch + 10);
    EXPECT_EQ(s[0], L'a');
}

TEST(KelStringCapacity, ReplacementResultBeyondTheBuffer) {
    InvalidParameterCounter reports;
    KelString s = longText(300000);
    const wchar_t* before = s.getStringW();
    EXPECT_EQ(s.replace(KelString(L"a"), KelString(L"bb")), 0);
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_EQ(s.getStringW(), before);
}

TEST(KelStringCapacity, TrimmingATooLongTextLeavesIt) {
    InvalidParameterCounter reports;
    const std::wstring text = L" " + std::wstring(kScratch + 5, L'a') + L" ";
    KelString s(text.c_str());
    const wchar_t* before = s.getStringW();
    s.TrimLeft();
    s.TrimRight();
    EXPECT_EQ(reports.calls(), 2);
    EXPECT_EQ(s.getStringW(), before);
}

TEST(KelStringCapacity, OperationsWithoutTheBufferAcceptLongText) {
    InvalidParameterCounter reports;
    const KelString s = longText(kScratch + 10);
    EXPECT_EQ(s.left(3).length(), 3);
    EXPECT_EQ(s.right(kScratch + 5).length(), kScratch + 5);
    EXPECT_EQ(s.mid(kScratch, 100).length(), 10);
    EXPECT_EQ(s.find(KelString(L"b")), -1);
    EXPECT_EQ(s.strRev().length(), kScratch + 10);
    EXPECT_EQ(KelString::compareWithNumbers(s, s), 0);
    KelString shifted = s;
    shifted >>= 10;
    EXPECT_EQ(shifted.length(), kScratch);
    EXPECT_EQ(reports.calls(), 0);
}

TEST(KelStringCapacity, FormatResultBeyondTheBuffer) {
    InvalidParameterCounter reports;
    KelString s(L"before");
    s.format(L"%*d", kScratch, 1);
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_STREQ(s.getStringW(), L"before");
    s.format("%*d", kScratch, 1);
    EXPECT_EQ(reports.calls(), 2);
    EXPECT_STREQ(s.getStringW(), L"before");
    s.format(L"%*d", kScratch - 1, 1);
    EXPECT_EQ(s.length(), kScratch - 1);
}

TEST(KelStringCapacity, EscapeDecodingBeyondTheBuffer) {
    InvalidParameterCounter reports;
    const std::string narrow(static_cast<size_t>(kScratch) + 5, 'm');
    KelString s(L"before");
    s.setFromMIFString(narrow.c_str());
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_STREQ(s.getStringW(), L"before");
}
