#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

namespace {

std::vector<std::wstring> g_calls;
unsigned long g_dbIndex = 0;
int g_resets = 0;

// A host getter that knows one text and answers the not-found form otherwise.
KelString hostPrompt(const KelString& key, long number) {
    g_calls.push_back(std::wstring(key.getStringW()) + L"/" + std::to_wstring(number));
    if (std::wstring(key.getStringW()) == L"GUI" && number == 14200)
        return KelString(L"Gantrix");
    KelString notFound;
    notFound.format(L"%s Prompt-%ld", key.getStringW(), number);
    return notFound;
}

KelString answersLowerCasePrompt(const KelString& key, long number) {
    KelString text;
    text.format(L"%s prompt-%ld", key.getStringW(), number);
    return text;
}

KelString answersEmpty(const KelString&, long) {
    return KelString();
}

void hostSelectDb(unsigned long index) {
    g_dbIndex = index;
}

void hostResetCache() {
    ++g_resets;
}

class PromptsProxy : public ::testing::Test {
protected:
    void SetUp() override {
        g_calls.clear();
        g_dbIndex = 0;
        g_resets = 0;
    }
    void TearDown() override {
        KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    }
};

}  // namespace

// First in this program: the instance as the library created it.
TEST_F(PromptsProxy, BeforeSetFunctionsEveryLookupIsEmpty) {
    KelPromptsProxy* proxy = KelPromptsProxy::getInstance();
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy, KelPromptsProxy::m_pInstance);
    EXPECT_FALSE(proxy->canReadPrompts());
    EXPECT_STREQ(proxy->getPrompt(L"GUI", 14200).getStringW(), L"");
    KelString text(L"previous");
    EXPECT_EQ(proxy->findPrompt(text, L"GUI", 14200), 1);
    EXPECT_STREQ(text.getStringW(), L"");
    proxy->setPromptsDbIdx(3);
    proxy->resetPromptsCache();
    EXPECT_EQ(g_dbIndex, 0u);
    EXPECT_EQ(g_resets, 0);
}

TEST_F(PromptsProxy, GetterAnswersThroughTheProxy) {
    KelPromptsProxy* proxy = KelPromptsProxy::getInstance();
    proxy->setFunctions(hostPrompt, hostSelectDb, hostResetCache);
    EXPECT_TRUE(proxy->canReadPrompts());
    EXPECT_STREQ(proxy->getPrompt(L"GUI", 14200).getStringW(), L"Gantrix");
    ASSERT_EQ(g_calls.size(), 1u);
    EXPECT_EQ(g_calls[0], L"GUI/14200");
}

TEST_F(PromptsProxy, FindPromptRecognisesTheNotFoundForm) {
    KelPromptsProxy* proxy = KelPromptsProxy::getInstance();
    proxy->setFunctions(hostPrompt, nullptr, nullptr);
    KelString text;
    EXPECT_EQ(proxy->findPrompt(text, L"K", 12), 0);
    EXPECT_STREQ(text.getStringW(), L"K Prompt-12");
    EXPECT_EQ(proxy->findPrompt(text, L"GUI", 14200), 1);
    EXPECT_STREQ(text.getStringW(), L"Gantrix");
    EXPECT_EQ(proxy->findPrompt(text, L"Msg", -5), 0);
    EXPECT_STREQ(text.getStringW(), L"Msg Prompt--5");
}

TEST_F(PromptsProxy, FindPromptComparesExactlyAndWithCase) {
    KelPromptsProxy* proxy = KelPromptsProxy::getInstance();
    proxy->setFunctions(answersLowerCasePrompt, nullptr, nullptr);
    KelString text;
    EXPECT_EQ(proxy->findPrompt(text, L"K", 12), 1);
    EXPECT_STREQ(text.getStringW(), L"K prompt-12");
    proxy->setFunctions(answersEmpty, nullptr, nullptr);
    EXPECT_EQ(proxy->findPrompt(text, L"K", 12), 1);
    EXPECT_STREQ(text.getStringW(), L"");
}

TEST_F(PromptsProxy, SelectorAndResetAreCalledWhenSet) {
    KelPromptsProxy* proxy = KelPromptsProxy::getInstance();
    proxy->setFunctions(nullptr, hostSelectDb, hostResetCache);
    EXPECT_FALSE(proxy->canReadPrompts());
    proxy->setPromptsDbIdx(7);
    EXPECT_EQ(g_dbIndex, 7u);
    proxy->resetPromptsCache();
    proxy->resetPromptsCache();
    EXPECT_EQ(g_resets, 2);
}

TEST_F(PromptsProxy, SetFunctionsReplacesAndClears) {
    KelPromptsProxy* proxy = KelPromptsProxy::getInstance();
    proxy->setFunctions(hostPrompt, hostSelectDb, hostResetCache);
    proxy->setFunctions(nullptr, nullptr, nullptr);
    EXPECT_FALSE(proxy->canReadPrompts());
    EXPECT_STREQ(proxy->getPrompt(L"GUI", 14200).getStringW(), L"");
    proxy->setPromptsDbIdx(9);
    proxy->resetPromptsCache();
    EXPECT_EQ(g_dbIndex, 0u);
    EXPECT_EQ(g_resets, 0);
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(PromptsProxy, CopiesShareTheFunctions) {
    KelPromptsProxy* proxy = KelPromptsProxy::getInstance();
    proxy->setFunctions(hostPrompt, hostSelectDb, nullptr);
    // The destructor is private: a copy lives on the heap and is never freed,
    // as the instance itself.
    static KelPromptsProxy* copy = new KelPromptsProxy(*proxy);
    EXPECT_TRUE(copy->canReadPrompts());
    EXPECT_STREQ(copy->getPrompt(L"GUI", 14200).getStringW(), L"Gantrix");
    copy->setPromptsDbIdx(4);
    EXPECT_EQ(g_dbIndex, 4u);
    proxy->setFunctions(nullptr, nullptr, nullptr);
    EXPECT_TRUE(copy->canReadPrompts());
    *copy = *proxy;
    EXPECT_FALSE(copy->canReadPrompts());
}
