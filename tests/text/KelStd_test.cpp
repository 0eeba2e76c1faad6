#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

TEST(KelStd, WStringAndViewCarryTheCharacters) {
    const KelString text(L"HEA 200 \x00C4\x00DF");
    EXPECT_EQ(std::wstring(L"HEA 200 \x00C4\x00DF"), kel::toWString(text));
    const std::wstring_view view = kel::toWStringView(text);
    EXPECT_EQ(10u, view.size());
    EXPECT_EQ(text.getStringW(), view.data());  // a view, not a copy
    EXPECT_TRUE(kel::toWString(KelString()).empty());
    EXPECT_TRUE(kel::toWStringView(KelString()).empty());
}

TEST(KelStd, ToKelStringCopiesUpToTheFirstNul) {
    EXPECT_TRUE(kel::toKelString(std::wstring_view(L"IPE 300")) == KelString(L"IPE 300"));
    const std::wstring withNul(L"ab\0cd", 5);
    EXPECT_TRUE(kel::toKelString(withNul) == KelString(L"ab"));
    // A view into the middle of a text, not terminated where it ends.
    const std::wstring_view middle = std::wstring_view(L"HEA 200 beam").substr(4, 3);
    EXPECT_TRUE(kel::toKelString(middle) == KelString(L"200"));
    EXPECT_EQ(1, kel::toKelString(std::wstring_view()).isEmpty());
}

TEST(KelStd, Utf8RoundTripsEveryPlane) {
    // U+00E4, U+20AC, U+1F529 (outside the basic plane) and ASCII.
    const char* utf8 = "Tr\xC3\xA4ger \xE2\x82\xAC \xF0\x9F\x94\xA9 HEA";
    const KelString text = kel::fromUtf8(utf8);
    const std::wstring expected = kel::toWString(text);
    EXPECT_EQ(std::string(utf8), kel::toUtf8(text));
    EXPECT_EQ(L'\x00E4', expected[2]);
    EXPECT_EQ(std::string(), kel::toUtf8(KelString()));
    EXPECT_EQ(1, kel::fromUtf8(std::string_view()).isEmpty());
}

TEST(KelStd, Utf8IsIndependentOfTheNarrowCodePage) {
    const KelString text(L"\x00C4");
    EXPECT_EQ(std::string("\xC3\x84"), kel::toUtf8(text));
}

TEST(KelStd, InvalidUtf8BecomesReplacementCharacters) {
    const KelString text =
        kel::fromUtf8(std::string_view("a\xFF"
                                       "b\xC3",
                                       4));
    EXPECT_EQ(std::wstring(L"a\xFFFD"
                           L"b\xFFFD"),
              kel::toWString(text));
}

TEST(KelStd, Utf8MeasuresWithoutWriting) {
    const wchar_t* text = L"\x00E4\x00F6";
    EXPECT_EQ(4u, kelWideToUtf8(text, 2, nullptr, 0));
    char small[3] = {'x', 'x', 'x'};
    EXPECT_EQ(4u, kelWideToUtf8(text, 2, small, 2));
    EXPECT_EQ(std::string("\xC3\xA4"), std::string(small, 2));
    EXPECT_EQ('x', small[2]);
    EXPECT_EQ(0u, kelWideToUtf8(nullptr, 5, nullptr, 0));
    EXPECT_EQ(0u, kelUtf8ToWide(nullptr, 5, nullptr, 0));
    EXPECT_EQ(2u, kelUtf8ToWide("\xC3\xA4z", 3, nullptr, 0));
}

TEST(KelStd, RangeForVisitsTheLogicalLength) {
    KelStringClassArray profiles;
    profiles.append(L"HEA 200");
    profiles.append(L"IPE 300");
    profiles.append(L"UPN 100");
    std::vector<std::wstring> seen;
    for (const KelString& p : profiles)
        seen.push_back(kel::toWString(p));
    EXPECT_EQ((std::vector<std::wstring>{L"HEA 200", L"IPE 300", L"UPN 100"}), seen);

    for (KelString& p : profiles)
        p = L"x";
    EXPECT_TRUE(profiles[2] == KelString(L"x"));

    const KelStringClassArray& constant = profiles;
    EXPECT_EQ(3, std::count_if(begin(constant), end(constant),
                               [](const KelString& s) { return s == KelString(L"x"); }));
}

TEST(KelStd, RangeForOverEmptyArraysVisitsNothing) {
    KelStringClassArray none;
    int visits = 0;
    for (const KelString& p : none) {
        (void)p;
        ++visits;
    }
    none.removeLast();  // length -1, deliberately not checked by the array
    for (const KelString& p : none) {
        (void)p;
        ++visits;
    }
    KelArray<int> numbers;
    for (int n : numbers)
        visits += n;
    numbers.removeLast();
    for (int n : numbers)
        visits += n;
    EXPECT_EQ(0, visits);
}

TEST(KelStd, RangeForOverTheArrayTemplate) {
    KelArray<int> numbers;
    for (int i = 1; i <= 20; ++i)
        numbers.append(i);
    int sum = 0;
    for (int n : numbers)
        sum += n;
    EXPECT_EQ(210, sum);
    for (int& n : numbers)
        n *= 2;
    const KelArray<int>& constant = numbers;
    EXPECT_EQ(40, *std::max_element(begin(constant), end(constant)));
}

TEST(KelStd, HashAgreesWithEquality) {
    const KelString a(L"HEA 200");
    const KelString b(std::wstring(L"HEA 200").c_str());  // equal text, another copy
    EXPECT_TRUE(a == b);
    EXPECT_EQ(std::hash<KelString>()(a), std::hash<KelString>()(b));
    EXPECT_EQ(std::hash<std::wstring_view>()(L"HEA 200"), std::hash<KelString>()(a));

    std::unordered_map<KelString, int> counts;
    for (const wchar_t* name : {L"HEA 200", L"IPE 300", L"HEA 200"})
        ++counts[KelString(name)];
    EXPECT_EQ(2u, counts.size());
    EXPECT_EQ(2, counts[KelString(L"HEA 200")]);
    std::unordered_set<KelString> set{KelString(L"a"), KelString(L"A")};
    EXPECT_EQ(2u, set.size());  // ordinal: case matters
}
