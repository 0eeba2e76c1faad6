// OrbisException: its code, copies, throwing it across the library's
// boundary, and handleMe, which shows the code's message box except for
// code 199.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Shown {
    HWND owner;
    std::wstring text;
    std::wstring caption;
    unsigned int style;
};

std::vector<Shown> g_shown;

int recordBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style, void*) {
    g_shown.push_back({owner, text, caption, style});
    return IDOK;
}

KelString prompt(const KelString& key, long number) {
    return KelString(
        (std::wstring(key.getStringW()) + L" text " + std::to_wstring(number)).c_str());
}

class OrbisExceptionTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_shown.clear();
        kelSetMessageBoxHandler(recordBox, nullptr);
        KelPromptsProxy::getInstance()->setFunctions(prompt, nullptr, nullptr);
        KelMessage::setCadHWND(m_window);
        KelMessage::propertySheetOpen(0);
    }
    void TearDown() override {
        kelSetMessageBoxHandler(nullptr, nullptr);
        KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
        KelMessage::setCadHWND(nullptr);
    }
    HWND m_window = reinterpret_cast<HWND>(static_cast<uintptr_t>(0x4711));
};

// An exception of the application's own, handled its own way.
class ApplicationException : public OrbisException {
public:
    explicit ApplicationException(int code) : OrbisException(code) {}
    void handleMe() override { ++handled; }
    int handled = 0;
};

TEST_F(OrbisExceptionTest, CarriesItsCode) {
    EXPECT_EQ(OrbisException(310).getErrorCode(), 310);
    EXPECT_EQ(OrbisException(-5).getErrorCode(), -5);
    EXPECT_EQ(OrbisException().getErrorCode(), 0);
    OrbisException original(42);
    OrbisException copy(original);
    EXPECT_EQ(copy.getErrorCode(), 42);
    OrbisException assigned(1);
    assigned = original;
    EXPECT_EQ(assigned.getErrorCode(), 42);
}

TEST_F(OrbisExceptionTest, HandleMeShowsTheBoxOfTheCode) {
    OrbisException(310).handleMe();
    ASSERT_EQ(g_shown.size(), 1u);
    EXPECT_EQ(g_shown[0].text, L"GUI text 310");
    EXPECT_EQ(g_shown[0].caption, L"GUI text 14200");
    EXPECT_EQ(g_shown[0].owner, m_window);
    EXPECT_EQ(g_shown[0].style,
              static_cast<unsigned int>(MB_ICONINFORMATION | MB_SETFOREGROUND | MB_TOPMOST));
}

TEST_F(OrbisExceptionTest, Code199IsHandledSilently) {
    OrbisException(199).handleMe();
    EXPECT_TRUE(g_shown.empty());
    OrbisException(198).handleMe();
    OrbisException(200).handleMe();
    EXPECT_EQ(g_shown.size(), 2u);
}

TEST_F(OrbisExceptionTest, HandleMeIsSilentWhilePromptBoxesAre) {
    KelMessage::propertySheetOpen(1);
    OrbisException(310).handleMe();
    KelMessage::propertySheetOpen(0);
    KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    OrbisException(310).handleMe();
    EXPECT_TRUE(g_shown.empty());
}

TEST_F(OrbisExceptionTest, ThrownAndCaughtAsTheLibrarysType) {
    try {
        throw OrbisException(1205);
    } catch (OrbisException& caught) {
        EXPECT_EQ(caught.getErrorCode(), 1205);
        caught.handleMe();
    }
    ASSERT_EQ(g_shown.size(), 1u);
    EXPECT_EQ(g_shown[0].text, L"GUI text 1205");
}

TEST_F(OrbisExceptionTest, HandleMeIsVirtual) {
    try {
        throw ApplicationException(310);
    } catch (OrbisException& caught) {
        caught.handleMe();
        EXPECT_EQ(static_cast<ApplicationException&>(caught).handled, 1);
    }
    EXPECT_TRUE(g_shown.empty());
}

}  // namespace
