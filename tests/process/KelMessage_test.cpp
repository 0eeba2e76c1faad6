// KelMessage and KelWinMessage with a recording message-box hook: the exact
// texts, captions, owners and styles of every box, and when boxes stay
// silent.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

struct Shown {
    HWND owner;
    std::wstring text;
    std::wstring caption;
    unsigned int style;
};

struct Recorder {
    std::vector<Shown> boxes;
    int answer = IDOK;
};

int record(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style,
           void* context) {
    auto* recorder = static_cast<Recorder*>(context);
    recorder->boxes.push_back({owner, text, caption, style});
    return recorder->answer;
}

// Prompt lookups, in the order the library made them.
std::vector<std::wstring> g_lookups;

KelString hostPrompt(const KelString& section, long number) {
    KelString key;
    key.format(L"%s/%ld", section.getStringW(), number);
    g_lookups.push_back(key.getStringW());
    if (section == KelString(L"GUI") && number == 14200)
        return KelString(L"Gantrix 2015");
    KelString text;
    text.format(L"%s text %ld", section.getStringW(), number);
    return text;
}

HWND window(uintptr_t value) {
    return reinterpret_cast<HWND>(value);
}

const HWND kCad = window(0xCAD0);
const HWND kOwner = window(0x4242);

constexpr unsigned int kInformation = 0x40;
constexpr unsigned int kYesNo = 0x4 | 0x40;
constexpr unsigned int kForegroundTopmost = 0x40 | 0x10000 | 0x40000;

class KelMessageTest : public ::testing::Test {
protected:
    void SetUp() override {
        kelSetMessageBoxHandler(record, &m_recorder);
        KelPromptsProxy::getInstance()->setFunctions(hostPrompt, nullptr, nullptr);
        KelMessage::setCadHWND(kCad);
        KelMessage::propertySheetOpen(0);
        g_lookups.clear();
    }
    void TearDown() override {
        kelSetMessageBoxHandler(nullptr, nullptr);
        KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
        KelMessage::setCadHWND(nullptr);
        KelMessage::propertySheetOpen(0);
    }

    const std::vector<Shown>& boxes() const { return m_recorder.boxes; }
    void answerWith(int answer) { m_recorder.answer = answer; }

    void expectOneBox(HWND owner, const std::wstring& text, const std::wstring& caption,
                      unsigned int style) {
        ASSERT_EQ(1u, boxes().size());
        EXPECT_EQ(owner, boxes()[0].owner);
        EXPECT_EQ(text, boxes()[0].text);
        EXPECT_EQ(caption, boxes()[0].caption);
        EXPECT_EQ(style, boxes()[0].style);
    }

private:
    Recorder m_recorder;
};

TEST(KelMessageState, InitialValues) {
    EXPECT_EQ(nullptr, KelMessage::m_CadHWND);
    EXPECT_EQ(0, KelMessage::m_propertySheetIsOpen);
    EXPECT_EQ(0, KelMessage::isPropertySheetOpen());
    // No prompt function yet: the prompt-based boxes stay silent.
    EXPECT_FALSE(KelMessage::showMessage());
}

TEST_F(KelMessageTest, SettersStoreTheStaticMembers) {
    KelMessage::setCadHWND(kOwner);
    EXPECT_EQ(kOwner, KelMessage::m_CadHWND);
    KelMessage::propertySheetOpen(3);
    EXPECT_EQ(3, KelMessage::m_propertySheetIsOpen);
    EXPECT_EQ(3, KelMessage::isPropertySheetOpen());
    KelMessage::propertySheetOpen(0);
    EXPECT_EQ(0, KelMessage::isPropertySheetOpen());
}

TEST_F(KelMessageTest, ShowMessageNeedsPromptsAndNoPropertySheet) {
    EXPECT_TRUE(KelMessage::showMessage());
    KelMessage::propertySheetOpen(1);
    EXPECT_FALSE(KelMessage::showMessage());
    KelMessage::propertySheetOpen(0);
    KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    EXPECT_FALSE(KelMessage::showMessage());
}

TEST_F(KelMessageTest, TextWithOwner) {
    KelMessage::messageBox(KelString(L"Disk full"), kOwner);
    expectOneBox(kOwner, L"Disk full", L"Gantrix 2015", kInformation);
    EXPECT_EQ(std::vector<std::wstring>{L"GUI/14200"}, g_lookups);
}

TEST_F(KelMessageTest, TextWithNullOwnerFallsBackToTheCadWindow) {
    KelMessage::messageBox(KelString(L"Disk full"), static_cast<HWND>(nullptr));
    expectOneBox(kCad, L"Disk full", L"Gantrix 2015", kInformation);
}

TEST_F(KelMessageTest, TextWithNullOwnerAndNoCadWindowHasNoOwner) {
    KelMessage::setCadHWND(nullptr);
    KelMessage::messageBox(KelString(L"Disk full"), static_cast<HWND>(nullptr));
    expectOneBox(nullptr, L"Disk full", L"Gantrix 2015", kInformation);
}

TEST_F(KelMessageTest, PrintErrorIsOwnedByTheCadWindow) {
    KelMessage::printError(L"Cannot open the model");
    expectOneBox(kCad, L"Cannot open the model", L"Gantrix 2015", kInformation);
}

TEST_F(KelMessageTest, SectionAndNumber) {
    KelMessage::messageBox(KelString(L"Numbering"), 310);
    expectOneBox(kCad, L"Numbering text 310", L"Gantrix 2015", kInformation);
    // The text first, then the caption.
    EXPECT_EQ((std::vector<std::wstring>{L"Numbering/310", L"GUI/14200"}), g_lookups);
}

TEST_F(KelMessageTest, NumberIsAGuiPromptBroughtToTheFront) {
    KelMessage::messageBox(1205);
    expectOneBox(kCad, L"GUI text 1205", L"Gantrix 2015", kForegroundTopmost);
    EXPECT_EQ(0x50040u, boxes()[0].style);
}

TEST_F(KelMessageTest, NumberWithLinesAppendsEachLine) {
    KelStringClassArray lines;
    lines.append(KelString(L"B12"));
    lines.append(KelString(L""));
    lines.append(KelString(L"C7"));
    KelMessage::messageBox(77, lines);
    expectOneBox(kCad, L"GUI text 77\nB12\n\nC7", L"Gantrix 2015", kInformation);
}

TEST_F(KelMessageTest, NumberWithEmptyLinesShowsThePromptAlone) {
    KelMessage::messageBox(77, KelStringClassArray());
    expectOneBox(kCad, L"GUI text 77", L"Gantrix 2015", kInformation);
}

TEST_F(KelMessageTest, YesNoByNumber) {
    answerWith(IDYES);
    EXPECT_EQ(1, KelMessage::messageBoxYesNo(12, kOwner));
    expectOneBox(kOwner, L"GUI text 12", L"Gantrix 2015", kYesNo);
}

TEST_F(KelMessageTest, YesNoByNumberWithNullOwnerFallsBackToTheCadWindow) {
    answerWith(IDYES);
    EXPECT_EQ(1, KelMessage::messageBoxYesNo(12, nullptr));
    expectOneBox(kCad, L"GUI text 12", L"Gantrix 2015", kYesNo);
}

TEST_F(KelMessageTest, YesNoAnswersOneOnlyForYes) {
    for (int answer : {IDNO, IDOK, IDCANCEL, 0, 1}) {
        answerWith(answer);
        EXPECT_EQ(0, KelMessage::messageBoxYesNo(12, nullptr)) << answer;
        EXPECT_EQ(0, KelMessage::messageBoxYesNo(KelString(L"Sure?"))) << answer;
    }
    answerWith(IDYES);
    EXPECT_EQ(1, KelMessage::messageBoxYesNo(KelString(L"Sure?")));
    EXPECT_EQ(11u, boxes().size());
}

TEST_F(KelMessageTest, YesNoByText) {
    answerWith(IDYES);
    EXPECT_EQ(1, KelMessage::messageBoxYesNo(KelString(L"Delete 3 parts?")));
    expectOneBox(kCad, L"Delete 3 parts?", L"Gantrix 2015", kYesNo);
}

TEST_F(KelMessageTest, ExplicitCaptionAndStyleReturnThePlatformResult) {
    answerWith(IDRETRY);
    EXPECT_EQ(IDRETRY, KelMessage::messageBox(KelString(L"Retry?"), KelString(L"Export"),
                                              MB_RETRYCANCEL | MB_ICONWARNING));
    expectOneBox(kCad, L"Retry?", L"Export", MB_RETRYCANCEL | MB_ICONWARNING);
    // No prompt is fetched for it.
    EXPECT_TRUE(g_lookups.empty());
}

TEST_F(KelMessageTest, ExplicitCaptionStyleAndOwner) {
    answerWith(IDCANCEL);
    EXPECT_EQ(IDCANCEL,
              KelMessage::messageBox(KelString(L"Stop?"), KelString(L"Export"), 0x123u, kOwner));
    expectOneBox(kOwner, L"Stop?", L"Export", 0x123u);
}

TEST_F(KelMessageTest, ExplicitOwnerIsKeptEvenWhenNull) {
    EXPECT_EQ(IDOK, KelMessage::messageBox(KelString(L"x"), KelString(L"y"), MB_OK,
                                           static_cast<HWND>(nullptr)));
    expectOneBox(nullptr, L"x", L"y", MB_OK);
}

TEST_F(KelMessageTest, PropertySheetSilencesEveryPromptBasedBox) {
    answerWith(IDYES);
    KelMessage::propertySheetOpen(1);
    KelStringClassArray lines;
    lines.append(KelString(L"a"));
    KelMessage::messageBox(KelString(L"text"), kOwner);
    KelMessage::printError(KelString(L"text"));
    KelMessage::messageBox(KelString(L"GUI"), 1);
    KelMessage::messageBox(2);
    KelMessage::messageBox(3, lines);
    EXPECT_EQ(0, KelMessage::messageBoxYesNo(4, kOwner));
    EXPECT_EQ(0, KelMessage::messageBoxYesNo(KelString(L"Sure?")));
    EXPECT_TRUE(boxes().empty());
    EXPECT_TRUE(g_lookups.empty());
}

TEST_F(KelMessageTest, MissingPromptFunctionSilencesEveryPromptBasedBox) {
    answerWith(IDYES);
    KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    KelMessage::messageBox(KelString(L"text"), kOwner);
    KelMessage::printError(KelString(L"text"));
    KelMessage::messageBox(KelString(L"GUI"), 1);
    KelMessage::messageBox(2);
    KelMessage::messageBox(3, KelStringClassArray());
    EXPECT_EQ(0, KelMessage::messageBoxYesNo(4, kOwner));
    EXPECT_EQ(0, KelMessage::messageBoxYesNo(KelString(L"Sure?")));
    EXPECT_TRUE(boxes().empty());
}

TEST_F(KelMessageTest, ExplicitCaptionOverloadsAreNeverSilenced) {
    KelMessage::propertySheetOpen(1);
    KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    answerWith(IDNO);
    EXPECT_EQ(IDNO, KelMessage::messageBox(KelString(L"a"), KelString(L"b"), MB_YESNO));
    EXPECT_EQ(IDNO, KelMessage::messageBox(KelString(L"c"), KelString(L"d"), MB_YESNO, kOwner));
    ASSERT_EQ(2u, boxes().size());
    EXPECT_EQ(L"b", boxes()[0].caption);
    EXPECT_EQ(kCad, boxes()[0].owner);
    EXPECT_EQ(L"d", boxes()[1].caption);
    EXPECT_EQ(kOwner, boxes()[1].owner);
}

TEST_F(KelMessageTest, NotFoundPromptIsShownAsTheHostAnswers) {
    KelPromptsProxy::getInstance()->setFunctions(
        [](const KelString& section, long number) {
            KelString text;
            text.format(L"%s Prompt-%ld", section.getStringW(), number);
            return text;
        },
        nullptr, nullptr);
    KelMessage::messageBox(9);
    expectOneBox(kCad, L"GUI Prompt-9", L"GUI Prompt-14200", kForegroundTopmost);
}

TEST_F(KelMessageTest, WinMessageIsCaptionedWithTheProductName) {
    KelMessage::propertySheetOpen(1);
    KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    EXPECT_EQ(IDOK, KelWinMessage::messageBox(KelString(L"Licence file not found")));
    expectOneBox(nullptr, L"Licence file not found", L"Gantrix", kInformation);
}

TEST_F(KelMessageTest, WinMessageFollowsTheProductName) {
    KelProductDefines::setGXProductName(L"Ferrix");
    KelWinMessage::messageBox(KelString(L"Hello"));
    KelProductDefines::setGXProductName(L"Gantrix");
    expectOneBox(nullptr, L"Hello", L"Ferrix", kInformation);
}

}  // namespace
