// The printf engine on random formats with matching arguments, wide and
// narrow: never crashes, never writes past the bound it is given, and the
// bounded, the growable and KelString::format results agree.
//
// Each input describes up to three directives (flags, width, precision, size
// prefix and conversion, "*" included) with at most three arguments in all,
// and the text they print; a directive the runtime refuses (%n) may occur.

#include <kel/Kel.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "platform/format.h"

namespace {

using kel::detail::FormatStatus;

// Reads the input byte by byte; zeros once it runs out.
class Input {
public:
    Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    unsigned byte() { return m_size > 0 ? (--m_size, *m_data++) : 0u; }
    unsigned word() { return byte() | (byte() << 8); }
    bool empty() const { return m_size == 0; }

private:
    const uint8_t* m_data;
    size_t m_size;
};

enum class Kind { Int, Long, LongLong, Double, LongDouble, Pointer };

struct Argument {
    Kind kind;
    long long integer;
    double real;
    const void* pointer;
};

// The texts %s and %c arguments point at, kept alive for the whole input.
struct Texts {
    std::wstring wide[2];
    std::string narrow[2];
};

// Builds one directive into `format` (of either width) and its arguments.
template <typename Char>
void directive(Input& in, Texts& texts, std::basic_string<Char>& format,
               std::vector<Argument>& arguments) {
    const bool wideFormat = sizeof(Char) == sizeof(wchar_t);
    format += Char('%');
    const unsigned flags = in.byte();
    const char flagChars[] = {'-', '+', ' ', '#', '0'};
    for (int i = 0; i < 5; ++i) {
        if (flags & (1u << i))
            format += Char(flagChars[i]);
    }
    const unsigned widthChoice = in.byte() % 4;
    if (widthChoice == 1) {
        for (char c : std::to_string(in.byte() % 80))
            format += Char(c);
    } else if (widthChoice == 2) {
        format += Char('*');
        arguments.push_back({Kind::Int, static_cast<int>(in.byte()) * 4 - 128, 0, nullptr});
    }
    const unsigned precisionChoice = in.byte() % 4;
    if (precisionChoice == 1) {
        format += Char('.');
        for (char c : std::to_string(in.byte() % 40))
            format += Char(c);
    } else if (precisionChoice == 2) {
        format += Char('.');
        format += Char('*');
        arguments.push_back({Kind::Int, static_cast<int>(in.byte()) - 16, 0, nullptr});
    }
    const char conversions[] = "diouxXeEfFgGaAcCsSpn";
    const char conversion = conversions[in.byte() % (sizeof conversions - 1)];
    const unsigned prefix = in.byte() % 8;
    const long long value = static_cast<long long>(in.word()) << (in.byte() % 48);
    const auto put = [&format](const char* text) {
        for (; *text != '\0'; ++text)
            format += Char(*text);
    };
    switch (conversion) {
        case 'd':
        case 'i':
        case 'o':
        case 'u':
        case 'x':
        case 'X': {
            const char* prefixes[] = {"", "h", "hh", "l", "ll", "I64", "I32", "q"};
            const Kind kinds[] = {Kind::Int,      Kind::Int,      Kind::Int, Kind::Long,
                                  Kind::LongLong, Kind::LongLong, Kind::Int, Kind::LongLong};
            put(prefixes[prefix]);
            arguments.push_back({kinds[prefix], (flags & 0x80) ? -value : value, 0, nullptr});
            break;
        }
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
        case 'a':
        case 'A': {
            double real = static_cast<double>(value) / (1 + in.byte());
            if (prefix == 1)
                real = 1e300 * (flags & 0x40 ? -10.0 : 10.0);  // infinite
            if (prefix == 2)
                real = std::strtod("nan", nullptr);
            if (prefix == 3) {
                put("L");
                arguments.push_back({Kind::LongDouble, 0, real, nullptr});
            } else {
                arguments.push_back({Kind::Double, 0, real, nullptr});
            }
            break;
        }
        case 'c':
        case 'C': {
            const char* prefixes[] = {"", "h", "l", "w"};
            put(prefixes[prefix % 4]);
            arguments.push_back({Kind::Int, static_cast<int>(in.word()), 0, nullptr});
            break;
        }
        case 's':
        case 'S': {
            const char* prefixes[] = {"", "h", "l", "w"};
            put(prefixes[prefix % 4]);
            // Which width the argument has, as the formatter reads it.
            bool wide = conversion == 's' ? wideFormat : !wideFormat;
            if (prefix % 4 == 1)
                wide = false;
            if (prefix % 4 >= 2)
                wide = true;
            const unsigned which = in.byte();
            const void* text = wide ? static_cast<const void*>(texts.wide[which % 2].c_str())
                                    : static_cast<const void*>(texts.narrow[which % 2].c_str());
            arguments.push_back({Kind::Pointer, 0, 0, which % 7 == 6 ? nullptr : text});
            break;
        }
        case 'p':
            arguments.push_back({Kind::Pointer, 0, 0, reinterpret_cast<const void*>(value)});
            break;
        default:
            break;  // %n: refused before any argument is read
    }
    format += Char(conversion);
}

// Calls `call` with the arguments as real variadic arguments of their types.
template <size_t Depth, typename Call, typename... Done>
void invoke(const Argument* next, size_t left, Call& call, Done... done) {
    if constexpr (Depth == 0) {
        call(done...);
    } else {
        if (left == 0) {
            call(done...);
            return;
        }
        const Argument& a = *next;
        switch (a.kind) {
            case Kind::Int:
                return invoke<Depth - 1>(next + 1, left - 1, call, done...,
                                         static_cast<int>(a.integer));
            case Kind::Long:
                return invoke<Depth - 1>(next + 1, left - 1, call, done...,
                                         static_cast<long>(a.integer));
            case Kind::LongLong:
                return invoke<Depth - 1>(next + 1, left - 1, call, done..., a.integer);
            case Kind::Double:
                return invoke<Depth - 1>(next + 1, left - 1, call, done..., a.real);
            case Kind::LongDouble:
                return invoke<Depth - 1>(next + 1, left - 1, call, done...,
                                         static_cast<long double>(a.real));
            case Kind::Pointer:
                return invoke<Depth - 1>(next + 1, left - 1, call, done..., a.pointer);
        }
    }
}

template <typename Char>
int bounded(Char* buffer, size_t capacity, const Char* format, ...) {
    va_list args;
    va_start(args, format);
    int n = 0;
    if constexpr (sizeof(Char) == sizeof(wchar_t)) {
        n = kel::detail::formatBounded(buffer, capacity, format, args);
    } else {
        n = kel::detail::formatBounded(buffer, capacity, format, args);
    }
    va_end(args);
    return n;
}

template <typename Char>
std::basic_string<Char> growable(FormatStatus* status, const Char* format, ...) {
    va_list args;
    va_start(args, format);
    std::basic_string<Char> text;
    if constexpr (sizeof(Char) == sizeof(wchar_t)) {
        text = kel::detail::formatToString(format, args, kel::detail::WideArgs::Native, status);
    } else {
        text = kel::detail::formatToString(format, args, status);
    }
    va_end(args);
    return text;
}

constexpr size_t kMaxArguments = 3;

void ignoreReports(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, uintptr_t) {}

template <typename Char>
void check(Input& in, Texts& texts, size_t capacity) {
    std::basic_string<Char> format;
    std::vector<Argument> arguments;
    const unsigned count = 1 + in.byte() % 3;
    for (unsigned i = 0; i < count; ++i) {
        std::basic_string<Char> piece;
        for (unsigned k = in.byte() % 4; k > 0; --k)
            piece += Char('a' + k);
        std::vector<Argument> more = arguments;
        directive(in, texts, piece, more);
        if (more.size() > kMaxArguments)
            break;
        format += piece;
        arguments = more;
    }
    std::vector<Char> buffer(capacity + 8, Char(0x55));
    int n = 0;
    auto boundedCall = [&](auto... args) {
        n = bounded(buffer.data(), capacity, format.c_str(), args...);
    };
    FormatStatus status = FormatStatus::Ok;
    std::basic_string<Char> text;
    auto growableCall = [&](auto... args) { text = growable(&status, format.c_str(), args...); };
    KelString value(L"before");
    auto valueCall = [&](auto... args) { value.format(format.c_str(), args...); };
    invoke<kMaxArguments>(arguments.data(), arguments.size(), boundedCall);
    invoke<kMaxArguments>(arguments.data(), arguments.size(), growableCall);
    invoke<kMaxArguments>(arguments.data(), arguments.size(), valueCall);

    // The bound holds: nothing beyond the capacity is touched.
    for (size_t i = capacity; i < buffer.size(); ++i) {
        if (buffer[i] != Char(0x55))
            std::abort();
    }
    if (n >= 0) {
        if (static_cast<size_t>(n) >= capacity || buffer[static_cast<size_t>(n)] != Char(0) ||
            status != FormatStatus::Ok || text.size() != static_cast<size_t>(n) ||
            std::memcmp(text.data(), buffer.data(), text.size() * sizeof(Char)) != 0) {
            std::abort();
        }
    } else if (n != -1 || buffer[0] != Char(0) ||
               (status == FormatStatus::Ok && text.size() + 1 <= capacity)) {
        std::abort();
    }
    // KelString::format gives the growable result (up to a zero character
    // that a %c may have put in it; a narrow one converted), or the empty
    // text when the format is refused.
    if (status == FormatStatus::BadFormat && value.isEmpty() == 0)
        std::abort();
    if (status == FormatStatus::Ok &&
        text.size() < static_cast<size_t>(KelString::kTempBufferSize)) {
        const KelString expected(text.c_str());
        if (std::wcscmp(expected.getStringW(), value.getStringW()) != 0)
            std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = (kelSetInvalidParameterHandler(ignoreReports), true);
    (void)quiet;
    Input in(data, size);
    const size_t capacity = 1 + in.word() % 600;
    // Two texts for %s: short ones from the input, and long ones so that
    // the arguments KelString::format copies straight into its result are
    // exercised too.
    Texts texts;
    const size_t repeat = 1 + in.byte() % 40;
    for (int i = 0; i < 2; ++i) {
        const unsigned length = in.byte() % 12;
        for (unsigned k = 0; k < length; ++k) {
            const unsigned c = 0x20 + in.byte() % 0x5F;
            texts.wide[i].push_back(static_cast<wchar_t>(c));
            texts.narrow[i].push_back(static_cast<char>(c));
        }
        if (i == 1) {
            std::wstring wide;
            std::string narrow;
            for (size_t r = 0; r < repeat; ++r) {
                wide += texts.wide[1] + L"x";
                narrow += texts.narrow[1] + "x";
            }
            texts.wide[1] = wide;
            texts.narrow[1] = narrow;
        }
    }
    if (in.byte() % 2 == 0) {
        check<wchar_t>(in, texts, capacity);
    } else {
        check<char>(in, texts, capacity);
    }
    return 0;
}
