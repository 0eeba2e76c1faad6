// Texts longer than the 524,288-character scratch buffer: every operation
// that works through the buffer reports the problem through the
// invalid-parameter handler, which leaves the buffer emptied, and the value
// becomes that empty text.

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
    s += tail;
    EXPECT_EQ(reports.calls(), 2);
    EXPECT_EQ(s.isEmpty(), 1);
}

TEST(KelStringCapacity, ConcatenationOfATooLongText) {
    InvalidParameterCounter reports;
    KelString s = longText(kScratch);
    EXPECT_EQ((s + KelString(L"x")).isEmpty(), 1);
    EXPECT_EQ(s.length(), kScratch);  // the operand itself is not changed
    s += KelString();
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(reports.calls(), 2);
}

TEST(KelStringCapacity, EachEditOfATooLongTextEmptiesIt) {
    InvalidParameterCounter reports;
    const KelString tooLong = longText(kScratch + 10);
    KelString s = tooLong;
    s.toUpper();
    EXPECT_EQ(s.isEmpty(), 1);
    s = tooLong;
    s.toLower();
    EXPECT_EQ(s.isEmpty(), 1);
    s = tooLong;
    s.setAt(0, L'x');
    EXPECT_EQ(s.isEmpty(), 1);
    s = tooLong;
    EXPECT_EQ(s.replace(L'a', L'b'), 0);
    EXPECT_EQ(s.isEmpty(), 1);
    s = tooLong;
    s.replace(0, 1, KelString(L"z"));
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(reports.calls(), 5);
    // The value that was shared is not touched.
    EXPECT_EQ(tooLong.length(), kScratch + 10);
    EXPECT_EQ(tooLong[0], L'a');
}

TEST(KelStringCapacity, ReplacementResultBeyondTheBuffer) {
    InvalidParameterCounter reports;
    KelString s = longText(300000);
    // Every occurrence is counted; the result does not fit and is empty.
    EXPECT_EQ(s.replace(KelString(L"a"), KelString(L"bb")), 300000);
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_EQ(s.isEmpty(), 1);
}

TEST(KelStringCapacity, TrimmingATooLongTextEmptiesIt) {
    InvalidParameterCounter reports;
    const std::wstring text = L" " + std::wstring(kScratch + 5, L'a') + L" ";
    KelString left(text.c_str());
    KelString right = left;
    left.TrimLeft();
    right.TrimRight();
    EXPECT_EQ(reports.calls(), 2);
    EXPECT_EQ(left.isEmpty(), 1);
    EXPECT_EQ(right.isEmpty(), 1);
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
    EXPECT_EQ(s.isEmpty(), 1);
    s = L"before";
    s.format("%*d", kScratch, 1);
    EXPECT_EQ(reports.calls(), 2);
    EXPECT_EQ(s.isEmpty(), 1);
    s.format(L"%*d", kScratch - 1, 1);
    EXPECT_EQ(s.length(), kScratch - 1);
    EXPECT_EQ(reports.calls(), 2);
}

TEST(KelStringCapacity, FormatOfLongArgumentsCountsThemAgainstTheBuffer) {
    InvalidParameterCounter reports;
    const std::wstring half(kScratch / 2, L'h');
    KelString s(L"before");
    // Two arguments that fit together with one character to spare...
    s.format(L"%s%s%c", half.c_str(), half.c_str() + 2, L'!');
    EXPECT_EQ(s.length(), kScratch - 1);
    EXPECT_EQ(s[kScratch - 2], L'!');
    EXPECT_EQ(reports.calls(), 0);
    // ...and one character more than fits.
    s.format(L"%s%s%c", half.c_str(), half.c_str() + 1, L'!');
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_EQ(s.isEmpty(), 1);
}

TEST(KelStringCapacity, EscapeDecodingBeyondTheBuffer) {
    const std::string narrow(static_cast<size_t>(kScratch) + 5, 'm');
    KelString s(L"before");
    kelSetLastError(0);
    s.setFromMIFString(narrow.c_str());
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(kelGetLastError(), 122u);
}
