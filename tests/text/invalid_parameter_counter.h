// Counts the library's invalid-parameter reports while a test runs.
//
//   InvalidParameterCounter reports;
//   kelstrcpy(nullptr, 4, "x");
//   EXPECT_EQ(reports.calls(), 1);

#ifndef KEL_TESTS_TEXT_INVALID_PARAMETER_COUNTER_H
#define KEL_TESTS_TEXT_INVALID_PARAMETER_COUNTER_H

#include <kel/Kel.h>

#include <string>

class InvalidParameterCounter {
public:
    InvalidParameterCounter() {
        calls_() = 0;
        m_previous = kelSetInvalidParameterHandler(count);
    }
    ~InvalidParameterCounter() { kelSetInvalidParameterHandler(m_previous); }
    InvalidParameterCounter(const InvalidParameterCounter&) = delete;
    InvalidParameterCounter& operator=(const InvalidParameterCounter&) = delete;

    int calls() const { return calls_(); }
    void reset() { calls_() = 0; }
    // The function name of the last report.
    const std::wstring& lastFunction() const { return function_(); }

private:
    static int& calls_() {
        static int calls = 0;
        return calls;
    }
    static std::wstring& function_() {
        static std::wstring function;
        return function;
    }
    static void count(const wchar_t*, const wchar_t* function, const wchar_t*, unsigned int,
                      uintptr_t) {
        ++calls_();
        function_() = function != nullptr ? function : L"";
    }

    KelInvalidParameterHandler m_previous;
};

#endif  // KEL_TESTS_TEXT_INVALID_PARAMETER_COUNTER_H
