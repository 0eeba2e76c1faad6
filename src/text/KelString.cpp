// The string value: representation, construction, conversion, assignment,
// comparison, and the per-thread scratch buffers.

#include <kel/KelString.h>

#include <atomic>
#include <cstring>
#include <cwchar>
#include <mutex>

#include "platform/atomic_word.h"
#include "platform/code_page.h"
#include "platform/format.h"
#include "platform/invalid_parameter.h"
#include "platform/last_error.h"
#include "platform/secure_zero.h"
#include "platform/thread_id.h"
#include "platform/utf.h"

namespace kel::detail {

// Storage for the empty representation that is filled in at compile time,
// so that it exists before any other code of the library or its host runs,
// and whose destructor never runs.
union EmptyRepStorage {
    KelStringRepr rep;
    constexpr explicit EmptyRepStorage(wchar_t* data) : rep(data) {}
    ~EmptyRepStorage() {}
};

}  // namespace kel::detail

namespace {

wchar_t g_emptyText[1] = {L'\0'};
kel::detail::EmptyRepStorage g_emptyRep(g_emptyText);

constexpr int kSlotCount = 6;
constexpr char kDefaultChar[] = "?";

// The scratch tables: per slot, the owning thread's id (0 = free), a narrow
// and a wide buffer. Created once and never freed.
struct ScratchSlots {
    KelArray<unsigned long> ThreadsArr;
    KelArray<char*> KelStringTempBufferArr;
    KelArray<wchar_t*> KelStringTempBufferWideArr;
};

std::atomic<ScratchSlots*> g_slots{nullptr};
std::once_flag g_slotsOnce;

ScratchSlots& slots() {
    return *g_slots.load(std::memory_order_acquire);
}

void emptyBuffers(long slot) {
    slots().KelStringTempBufferArr[slot][0] = '\0';
    slots().KelStringTempBufferWideArr[slot][0] = L'\0';
}

// The calling thread's slot. The first slot holding this thread's id is
// its own; the first free slot is claimed. With all six held by other
// threads the last slot is taken over and then shared: the limit of six is
// deliberate.
long claimSlot() {
    const unsigned long id = kel::detail::currentThreadId();
    unsigned long* ids = slots().ThreadsArr.getData();
    for (long i = 0; i < kSlotCount; ++i) {
        const unsigned long owner = kel::detail::atomicLoad(ids + i);
        if (owner == id)
            return i;
        if (owner == 0 && kel::detail::atomicClaim(ids + i, id)) {
            emptyBuffers(i);
            return i;
        }
    }
    kel::detail::atomicStore(ids + kSlotCount - 1, id);
    emptyBuffers(kSlotCount - 1);
    return kSlotCount - 1;
}

wchar_t* newCharacters(const wchar_t* text, size_t length) {
    auto* data = new wchar_t[length + 1];
    if (length > 0)
        std::memcpy(data, text, length * sizeof(wchar_t));
    data[length] = L'\0';
    return data;
}

// Ordinal comparison of two zero-terminated texts as unsigned values.
int ordinalCompare(const wchar_t* a, const wchar_t* b) {
    using Unit = std::make_unsigned_t<wchar_t>;
    for (;; ++a, ++b) {
        const auto ca = static_cast<Unit>(*a);
        const auto cb = static_cast<Unit>(*b);
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (cb == 0)
            return 0;
    }
}

}  // namespace

// ----- KelStringRepr ------------------------------------------------------

KelStringRepr::~KelStringRepr() {
    if (m_data == nullptr)
        return;
    kel::detail::secureZero(m_data, std::wcslen(m_data) * sizeof(wchar_t));
    delete[] m_data;
}

// ----- statics ------------------------------------------------------------

KelStringRepr* KelString::m_repEmpty = &g_emptyRep.rep;
bool KelString::m_bIsInitialized = false;

void KelString::init() {
    if (g_slots.load(std::memory_order_acquire) != nullptr)
        return;
    std::call_once(g_slotsOnce, [] {
        auto* table = new ScratchSlots;
        table->ThreadsArr.setLogicalLength(kSlotCount);
        table->KelStringTempBufferArr.setLogicalLength(kSlotCount);
        table->KelStringTempBufferWideArr.setLogicalLength(kSlotCount);
        for (long i = 0; i < kSlotCount; ++i) {
            table->ThreadsArr[i] = 0;
            table->KelStringTempBufferArr[i] = new char[kTempBufferSize];
            table->KelStringTempBufferArr[i][0] = '\0';
            table->KelStringTempBufferWideArr[i] = new wchar_t[kTempBufferSize];
            table->KelStringTempBufferWideArr[i][0] = L'\0';
        }
        g_slots.store(table, std::memory_order_release);
        m_bIsInitialized = true;
    });
}

bool KelString::findThreadId(unsigned long id, long& slot) {
    init();
    const unsigned long* ids = slots().ThreadsArr.getData();
    for (long i = 0; i < kSlotCount; ++i) {
        const unsigned long owner = kel::detail::atomicLoad(ids + i);
        if (owner == id) {
            slot = i;
            return true;
        }
        if (owner == 0) {
            slot = i;
            return false;
        }
    }
    slot = kSlotCount - 1;
    return false;
}

char* KelString::getTempBuffer() {
    init();
    return slots().KelStringTempBufferArr[claimSlot()];
}

wchar_t* KelString::getTempBufferWide() {
    init();
    return slots().KelStringTempBufferWideArr[claimSlot()];
}

void KelString::resetTempBuffer() {
    getTempBuffer()[0] = '\0';
}

void KelString::resetTempBufferWide() {
    getTempBufferWide()[0] = L'\0';
}

// ----- representation management -------------------------------------------

void KelString::ReleaseRep() {
    if (m_rep == nullptr || m_rep == m_repEmpty)
        return;
    if (--m_rep->m_refCount < 1) {
        delete m_rep;
        m_rep = nullptr;
    }
}

void KelString::ReleaseCharCache() {
    if (m_charCache == nullptr)
        return;
    kel::detail::secureZero(m_charCache, std::strlen(m_charCache));
    delete[] m_charCache;
    m_charCache = nullptr;
}

void KelString::adopt(KelStringRepr* rep) {
    ReleaseCharCache();
    ReleaseRep();
    m_rep = rep;
}

void KelString::assignCopy(const wchar_t* text, int length) {
    // The new characters are copied before the old ones are released, so
    // `text` may point into this value's own characters.
    KelStringRepr* rep = (text == nullptr || length <= 0)
                             ? m_repEmpty
                             : new KelStringRepr(newCharacters(text, static_cast<size_t>(length)));
    adopt(rep);
}

// ----- construction ---------------------------------------------------------

KelString::KelString() : m_rep(m_repEmpty), m_charCache(nullptr) {}

KelString::KelString(const wchar_t* text) : m_rep(m_repEmpty), m_charCache(nullptr) {
    if (text != nullptr && *text != L'\0')
        assignCopy(text, static_cast<int>(std::wcslen(text)));
}

KelString::KelString(const unsigned short* text) : m_rep(m_repEmpty), m_charCache(nullptr) {
    *this = text;
}

KelString::KelString(const char* text) : m_rep(m_repEmpty), m_charCache(nullptr) {
    if (text == nullptr || *text == '\0')
        return;
    // Through the calling thread's wide scratch buffer, terminator included.
    wchar_t* buffer = getTempBufferWide();
    buffer[0] = L'\0';
    const int converted =
        kel::detail::multiByteToWide(kel::detail::kCodePageAcp, text, -1, buffer, kTempBufferSize);
    if (converted <= 0) {
        buffer[0] = L'\0';
        return;  // too long for the scratch buffer: last error 122, empty text
    }
    assignCopy(buffer, converted - 1);
}

KelString::KelString(const CharArray& chars, int first, int last)
    : m_rep(m_repEmpty), m_charCache(nullptr) {
    const int size = static_cast<int>(chars.length());
    if (size <= 0 || first < 0 || first > last || last >= size || first >= size)
        return;
    // The text grows one character at a time in the scratch buffer, as a
    // "%s%c" format would: a zero character adds nothing, and the text
    // stops growing when the buffer is full.
    wchar_t* buffer = getTempBufferWide();
    int length = 0;
    for (int i = first; i <= last; ++i) {
        const wchar_t c = chars[i];
        if (c == L'\0')
            continue;
        if (length == kTempBufferSize - 1) {
            kel::detail::invalidParameter(L"(\"Buffer too small\", 0)", "KelString");
            break;
        }
        buffer[length++] = c;
    }
    buffer[length] = L'\0';
    assignCopy(buffer, length);
}

// ----- assignment -------------------------------------------------------------

KelString& KelString::operator=(const KelString& other) {
    if (other.m_rep == m_rep)
        return *this;
    KelStringRepr* rep = other.m_rep;
    if (rep != m_repEmpty)
        ++rep->m_refCount;
    adopt(rep);
    return *this;
}

KelString& KelString::operator=(const wchar_t* text) {
    assignCopy(text, text == nullptr ? 0 : static_cast<int>(std::wcslen(text)));
    return *this;
}

KelString& KelString::operator=(const unsigned short* text) {
    if constexpr (kel::detail::kWideIsUtf16) {
        return *this = reinterpret_cast<const wchar_t*>(text);
    }
    const std::wstring wide = kel::detail::utf16ToWide(text);
    assignCopy(wide.data(), static_cast<int>(wide.size()));
    return *this;
}

KelString& KelString::operator=(const char* text) {
    const KelString converted(text);
    return *this = converted;
}

// ----- access -------------------------------------------------------------------

const wchar_t* KelString::getStringW() const {
    return m_rep->m_data;
}

const char* KelString::getStringA() const {
    if (m_charCache != nullptr)
        return m_charCache;
    const wchar_t* text = m_rep->m_data;
    const int length = this->length();
    bool usedDefault = false;
    const int size = length == 0
                         ? 0
                         : kel::detail::wideToMultiByte(kel::detail::kCodePageAcp, text, length,
                                                        nullptr, 0, kDefaultChar, &usedDefault);
    char* cache = new char[static_cast<size_t>(size) + 1];
    if (size > 0) {
        kel::detail::wideToMultiByte(kel::detail::kCodePageAcp, text, length, cache, size + 1,
                                     kDefaultChar, &usedDefault);
    }
    cache[size] = '\0';
    m_charCache = cache;
    return m_charCache;
}

const wchar_t& KelString::operator[](int i) const {
    return m_rep->m_data[i];
}

int KelString::length() const {
    return static_cast<int>(std::wcslen(m_rep->m_data));
}

int KelString::isEmpty() const {
    return m_rep->m_data[0] == L'\0' ? 1 : 0;
}

KelString& KelString::empty() {
    adopt(m_repEmpty);
    return *this;
}

// ----- comparison operators -------------------------------------------------------

bool KelString::operator==(const KelString& other) const {
    // Equality does not depend on how units are ordered, so the C library's
    // vectorised comparison serves.
    return m_rep == other.m_rep || std::wcscmp(getStringW(), other.getStringW()) == 0;
}

bool KelString::operator!=(const KelString& other) const {
    return !(*this == other);
}

bool KelString::operator<(const KelString& other) const {
    return ordinalCompare(getStringW(), other.getStringW()) < 0;
}

bool KelString::operator>(const KelString& other) const {
    return ordinalCompare(getStringW(), other.getStringW()) > 0;
}

// ----- formatting ---------------------------------------------------------------------

KelString& KelString::format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    vformat(fmt, args);
    va_end(args);
    return *this;
}

KelString& KelString::format(const wchar_t* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    vformat(fmt, args);
    va_end(args);
    return *this;
}

KelString& KelString::format(const unsigned short* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    vformat(fmt, args);
    va_end(args);
    return *this;
}

// A format the runtime refuses, or a result of 524,288 characters or more,
// is reported through the invalid-parameter handler and leaves the scratch
// buffer emptied; that empty text is what the value then holds.

KelString& KelString::vformat(const char* fmt, va_list args) {
    char* buffer = getTempBuffer();
    buffer[0] = '\0';
    kel::detail::formatBounded(buffer, kTempBufferSize, fmt, args);
    return *this = buffer;
}

KelString& KelString::vformat(const wchar_t* fmt, va_list args) {
    // The slot's buffer holds the formatted text apart from long string
    // arguments, which go once, straight from the caller's memory into the
    // new characters; the 524,288-character bound applies to the whole.
    wchar_t* buffer = getTempBufferWide();
    buffer[0] = L'\0';
    kel::detail::FormatSplice splice;
    const int length = kel::detail::formatBounded(buffer, kTempBufferSize, fmt, args,
                                                  kel::detail::WideArgs::Native, nullptr, &splice);
    if (length <= 0) {
        empty();
        return *this;
    }
    auto* data = new wchar_t[static_cast<size_t>(length) + 1];
    splice.assemble(buffer, data, static_cast<size_t>(length));
    // The arguments may be this value's own characters: they are released
    // only now.
    adopt(new KelStringRepr(data));
    return *this;
}

KelString& KelString::vformat(const unsigned short* fmt, va_list args) {
    wchar_t* buffer = getTempBufferWide();
    buffer[0] = L'\0';
    if (!KEL_VALIDATE(fmt != nullptr)) {
        empty();
        return *this;
    }
    const std::wstring wideFormat = kel::detail::utf16ToWide(fmt);
    const int length = kel::detail::formatBounded(buffer, kTempBufferSize, wideFormat.c_str(), args,
                                                  kel::detail::WideArgs::Utf16);
    assignCopy(buffer, length);
    return *this;
}
