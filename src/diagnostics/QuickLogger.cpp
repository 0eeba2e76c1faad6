#include <kel/KelPerfMonitor.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <cwchar>
#include <string>

#include "diagnostics/log_stream.h"
#include "platform/clock.h"
#include "platform/known_folders.h"
#include "platform/path.h"
#include "platform/utf.h"

namespace {

constexpr size_t kPathCapacity = 1000;
constexpr size_t kModeCapacity = 5;
constexpr int kDateTimeCapacity = 64;

// Counts the streams closed by the loggers that opened them. A logger that
// writes through another's stream remembers the count when it took the
// stream; a different count means the stream may be gone, and the logger
// opens the file again instead of writing to a closed stream.
std::atomic<unsigned long> g_closedStreams{0};

wchar_t* newText(size_t capacity) {
    wchar_t* text = new wchar_t[capacity];
    text[0] = L'\0';
    return text;
}

// Copies `text` when it fits; otherwise leaves `target` empty.
void copyText(wchar_t* target, size_t capacity, const std::wstring& text) {
    if (text.size() >= capacity) {
        target[0] = L'\0';
        return;
    }
    std::wmemcpy(target, text.c_str(), text.size() + 1);
}

}  // namespace

wchar_t* QuickLogger::m_pszLastPath = nullptr;
wchar_t* QuickLogger::m_pszLastFolder = nullptr;
FILE* QuickLogger::m_pSharedStream = nullptr;

QuickLogger::QuickLogger(const wchar_t* name, bool append)
    : m_pszPath(newText(kPathCapacity)),
      m_pszFolder(newText(kPathCapacity)),
      m_pszMode(newText(kModeCapacity)),
      m_pFile(nullptr),
      m_bOwnsStream(false),
      m_nStreamGeneration(0) {
    if (m_pszLastPath == nullptr) {
        m_pszLastPath = newText(kPathCapacity);
        m_pszLastFolder = newText(kPathCapacity);
    }
    InitializeLogFile(name != nullptr ? name : L"", append);
}

QuickLogger::QuickLogger(const unsigned short* name, bool append)
    : QuickLogger(name != nullptr ? kel::detail::utf16ToWide(name).c_str() : L"", append) {}

QuickLogger::~QuickLogger() {
    CloseFile();
    delete[] m_pszPath;
    delete[] m_pszFolder;
    delete[] m_pszMode;
}

void QuickLogger::Write(const wchar_t* text, bool withTime) {
    OpenFile();
    if (m_pFile == nullptr)
        return;
    if (withTime) {
        wchar_t time[kDateTimeCapacity];
        GetDateTime(time, kDateTimeCapacity, true);
        kel::detail::printLog(m_pFile, L"\n%s: ", time);
    }
    if (text != nullptr)
        kel::detail::printLog(m_pFile, L"%s", text);
    std::fflush(m_pFile);
}

void QuickLogger::Write(const unsigned short* text, bool withTime) {
    Write(text != nullptr ? kel::detail::utf16ToWide(text).c_str() : nullptr, withTime);
}

void QuickLogger::InitializeLogFile(const wchar_t* name, bool append) {
    if (append && m_pszLastPath[0] != L'\0') {
        std::wcscpy(m_pszPath, m_pszLastPath);
        std::wcscpy(m_pszFolder, m_pszLastFolder);
        std::wcscpy(m_pszMode, L"a+");
        if (m_pSharedStream != nullptr) {
            m_pFile = m_pSharedStream;
            m_nStreamGeneration = g_closedStreams.load();
        }
    } else {
        const std::wstring folder = kel::detail::documentsFolder();
        wchar_t dateTime[kDateTimeCapacity];
        GetDateTime(dateTime, kDateTimeCapacity, false);
        // Without a documents folder there is no file to write.
        const std::wstring path = folder.empty() ? std::wstring()
                                                 : folder + kel::detail::kNativeSeparator + name +
                                                       L" - " + dateTime + L".txt";
        copyText(m_pszPath, kPathCapacity, path);
        copyText(m_pszFolder, kPathCapacity, folder);
        std::wcscpy(m_pszMode, L"w+");
        std::wcscpy(m_pszLastPath, m_pszPath);
        std::wcscpy(m_pszLastFolder, m_pszFolder);
        m_pSharedStream = nullptr;
    }
    if (m_pFile == nullptr)
        OpenFile();
}

void QuickLogger::GetDateTime(wchar_t* buffer, int size, bool timeOnly) {
    if (buffer == nullptr || size <= 0)
        return;
    SYSTEMTIME now = {};
    kel::detail::systemTimeNow(now);
    std::wstring text;
    if (!timeOnly)
        text = kel::detail::formatText(L"%d.%d.%d ", now.wYear, now.wMonth, now.wDay);
    text += kel::detail::formatText(L"%d.%d.%d.%d", now.wHour, now.wMinute, now.wSecond,
                                    now.wMilliseconds);
    const size_t kept = std::min(text.size(), static_cast<size_t>(size) - 1);
    std::wmemcpy(buffer, text.c_str(), kept);
    buffer[kept] = L'\0';
}

void QuickLogger::OpenFile() {
    if (m_pFile != nullptr && !m_bOwnsStream && m_nStreamGeneration != g_closedStreams.load())
        m_pFile = nullptr;
    if (m_pFile != nullptr)
        return;
    if (m_pSharedStream != nullptr) {
        m_pFile = m_pSharedStream;
        m_bOwnsStream = false;
        m_nStreamGeneration = g_closedStreams.load();
        return;
    }
    m_pFile = kel::detail::openLog(m_pszPath, m_pszMode);
    if (m_pFile == nullptr)
        return;
    m_bOwnsStream = true;
    m_pSharedStream = m_pFile;
}

// A stream taken from another logger is left to its owner.
void QuickLogger::CloseFile() {
    if (m_pFile != nullptr && m_bOwnsStream) {
        kel::detail::closeLog(m_pFile);
        ++g_closedStreams;
    }
    m_pFile = nullptr;
    m_bOwnsStream = false;
    m_pSharedStream = nullptr;
}
