// The six scratch-buffer slots. This program has the slot table to itself:
// it fills every free slot with a thread of its own, then shows that a
// further thread takes over slot 5.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "text/string_access.h"

using kel::detail::StringAccess;

namespace {

// A thread that claims a slot by using a string operation, reports what it
// got, then waits until it is told to end.
class SlotHolder {
public:
    SlotHolder() : m_thread([this] { run(); }) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_ready; });
    }
    ~SlotHolder() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_finish = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }

    unsigned long id() const { return m_id; }
    wchar_t* wideBuffer() const { return m_wide; }
    char* narrowBuffer() const { return m_narrow; }
    const KelString& text() const { return m_text; }

private:
    void run() {
        m_text.format(L"thread %d", 7);  // claims a slot
        m_id = kelGetCurrentThreadId();
        m_wide = StringAccess::tempBufferWide();
        m_narrow = StringAccess::tempBuffer();
        std::unique_lock<std::mutex> lock(m_mutex);
        m_ready = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_finish; });
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_ready = false;
    bool m_finish = false;
    unsigned long m_id = 0;
    wchar_t* m_wide = nullptr;
    char* m_narrow = nullptr;
    KelString m_text;
    std::thread m_thread;
};

}  // namespace

TEST(KelStringSlots, SixThreadsHaveBuffersOfTheirOwnAndASeventhTakesOverSlotFive) {
    KelString(L"main").format(L"%s", L"uses a slot");

    // Fill every remaining free slot with a thread that stays alive.
    std::vector<std::unique_ptr<SlotHolder>> holders;
    long slot = -1;
    while (true) {
        holders.push_back(std::make_unique<SlotHolder>());
        ASSERT_TRUE(StringAccess::findThreadId(holders.back()->id(), slot));
        if (slot == 5)
            break;
        ASSERT_LT(holders.size(), 6u);
    }
    // Slots 0..5 now belong to six different threads with six buffers.
    std::vector<wchar_t*> buffers;
    for (long i = 0; i < 6; ++i) {
        bool owned = false;
        for (const auto& h : holders) {
            long s = -1;
            if (StringAccess::findThreadId(h->id(), s) && s == i)
                owned = true;
        }
        long mainSlot = -1;
        if (StringAccess::findThreadId(kelGetCurrentThreadId(), mainSlot) && mainSlot == i) {
            owned = true;
        }
        EXPECT_TRUE(owned) << "slot " << i;
    }
    for (const auto& h : holders) {
        for (wchar_t* b : buffers)
            EXPECT_NE(b, h->wideBuffer());
        buffers.push_back(h->wideBuffer());
    }

    SlotHolder& lastOwner = *holders.back();
    EXPECT_STREQ(lastOwner.text().getStringW(), L"thread 7");
    std::wcscpy(lastOwner.wideBuffer(), L"left behind");
    std::strcpy(lastOwner.narrowBuffer(), "left behind");

    // The seventh thread finds no free slot and takes over slot 5.
    SlotHolder seventh;
    long seventhSlot = -1;
    EXPECT_TRUE(StringAccess::findThreadId(seventh.id(), seventhSlot));
    EXPECT_EQ(seventhSlot, 5);
    EXPECT_EQ(seventh.wideBuffer(), lastOwner.wideBuffer());
    EXPECT_EQ(seventh.narrowBuffer(), lastOwner.narrowBuffer());
    EXPECT_STREQ(seventh.text().getStringW(), L"thread 7");

    // The previous owner of slot 5 no longer holds a slot of its own.
    long previous = -1;
    EXPECT_FALSE(StringAccess::findThreadId(lastOwner.id(), previous));
    EXPECT_EQ(previous, 5);

    // An id that holds no slot, with all six taken: not found, slot 5.
    long unknown = -1;
    EXPECT_FALSE(StringAccess::findThreadId(0x7FFFFFFE, unknown));
    EXPECT_EQ(unknown, 5);

    // Taking over a slot empties both of its buffers.
    std::wcscpy(seventh.wideBuffer(), L"dirty");
    std::strcpy(seventh.narrowBuffer(), "dirty");
    SlotHolder eighth;
    EXPECT_EQ(eighth.wideBuffer(), seventh.wideBuffer());
    EXPECT_STREQ(eighth.text().getStringW(), L"thread 7");
    std::strcpy(eighth.narrowBuffer(), "dirty");
    std::thread([&] {
        // A ninth thread takes slot 5 again, emptying both buffers.
        StringAccess::tempBufferWide();
    }).join();
    EXPECT_EQ(eighth.wideBuffer()[0], L'\0');
    EXPECT_EQ(eighth.narrowBuffer()[0], '\0');
}
