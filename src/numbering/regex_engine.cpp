// Boost.Xpressive under a budget: the engine walks the text (and, while
// compiling, the pattern) with an iterator that charges its comparisons to
// the budget of the call. This file is compiled with optimisation in every
// build (see CMakeLists.txt): unoptimised, the engine needs four times the
// stack per repetition and several times the time.

#include "numbering/regex_engine.h"

#include <boost/xpressive/xpressive_dynamic.hpp>

#include <cstdint>
#include <exception>
#include <iterator>
#include <new>
#include <string>

#if defined(_MSC_VER)
#include <intrin.h>
#endif

#include "platform/per_thread.h"

namespace kel::detail {

namespace xp = boost::xpressive;

// The budget's checks run at every step of the engine: they must be inlined
// into it, whatever the compiler thinks of their size.
#if defined(__GNUC__)
#define KEL_REGEX_INLINE inline __attribute__((always_inline))
#else
#define KEL_REGEX_INLINE inline
#endif

namespace {

// An address within the calling function's frame; the stack grows down on
// every system the library is built for.
KEL_REGEX_INLINE std::uintptr_t stackAddress() {
#if defined(_MSC_VER)
    return reinterpret_cast<std::uintptr_t>(_AddressOfReturnAddress());
#else
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
#endif
}

// Abandons a compile, or a match whose fail-fast clean-up is itself cut
// short. Never leaves this file.
struct GiveUp {};

// Once a match is out of budget, the steps its clean-up may still take.
constexpr size_t kStepsAfterRunningOut = 1000000;

// The stack and step budget of one compile or match.
class Budget {
public:
    enum class Mode {
        kThrow,     // give up at once (compiling)
        kFailFast,  // make the match fail fast (matching)
    };

    Budget(Mode mode, std::uintptr_t stackLimit, std::uintptr_t hardStackLimit, size_t steps,
           size_t stepLimit)
        : m_mode(mode),
          m_stackLimit(stackLimit),
          m_hardStackLimit(hardStackLimit),
          m_steps(steps),
          m_stepLimit(stepLimit) {}

    Budget(const Budget&) = delete;
    Budget& operator=(const Budget&) = delete;

    // Counts one step; true once the budget has run out.
    KEL_REGEX_INLINE bool charge() {
        if (++m_steps <= m_stepLimit && stackAddress() >= m_stackLimit)
            return false;
        return overdrawn();
    }

    bool outOfStack() const { return m_outOfStack; }
    bool outOfSteps() const { return m_outOfSteps; }
    size_t steps() const { return m_steps; }

private:
    // Out of line: reached only when the budget has run out.
    bool overdrawn();

    Mode m_mode;
    std::uintptr_t m_stackLimit;
    std::uintptr_t m_hardStackLimit;
    size_t m_steps;
    size_t m_stepLimit;
    size_t m_stepsAfter = 0;
    bool m_outOfStack = false;
    bool m_outOfSteps = false;
};

#if defined(__GNUC__)
__attribute__((noinline))
#endif
bool Budget::overdrawn() {
    if (!m_outOfStack && !m_outOfSteps) {
        if (stackAddress() < m_stackLimit)
            m_outOfStack = true;
        else
            m_outOfSteps = true;
        if (m_mode == Mode::kThrow)
            throw GiveUp{};
        // Every further step comes here, so that the clean-up is bounded
        // as well.
        m_stepLimit = 0;
        m_stackLimit = UINTPTR_MAX;
        return true;
    }
    if (++m_stepsAfter > kStepsAfterRunningOut || stackAddress() < m_hardStackLimit)
        throw GiveUp{};
    return true;
}

// A random-access iterator over wide text that charges the comparisons of
// positions to a budget. Every matcher of the engine compares the current
// position with the end of the text before it reads a character there,
// every loop of the engine compares positions, and every recursion of the
// engine compares positions within a bounded number of frames (a
// repetition compares its start with the current position before it
// recurses again; the frames in between are bounded by the pattern's
// length). So counting comparisons counts the engine's work, and checking
// the stack at each of them bounds the stack. Reads, moves and copies are
// free.
//
// Once the budget has run out, any two positions compare equal: every
// matcher then sees the end of the text before it reads a character, so
// it fails, and the engine unwinds through its own returns, which is far
// quicker than an exception through hundreds of thousands of frames. Loops
// of the engine run while positions differ, so they end too. What the
// engine reports then is discarded.
class BudgetedIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = wchar_t;
    using difference_type = std::ptrdiff_t;
    using pointer = const wchar_t*;
    using reference = const wchar_t&;

    BudgetedIterator() = default;
    BudgetedIterator(const wchar_t* position, Budget* budget)
        : m_position(position), m_budget(budget) {}

    const wchar_t* base() const { return m_position; }

    reference operator*() const { return *m_position; }
    reference operator[](difference_type n) const { return m_position[n]; }

    BudgetedIterator& operator++() {
        ++m_position;
        return *this;
    }
    BudgetedIterator operator++(int) {
        BudgetedIterator before(*this);
        ++m_position;
        return before;
    }
    BudgetedIterator& operator--() {
        --m_position;
        return *this;
    }
    BudgetedIterator operator--(int) {
        BudgetedIterator before(*this);
        --m_position;
        return before;
    }
    BudgetedIterator& operator+=(difference_type n) {
        m_position += n;
        return *this;
    }
    BudgetedIterator& operator-=(difference_type n) {
        m_position -= n;
        return *this;
    }
    friend BudgetedIterator operator+(BudgetedIterator it, difference_type n) { return it += n; }
    friend BudgetedIterator operator+(difference_type n, BudgetedIterator it) { return it += n; }
    friend BudgetedIterator operator-(BudgetedIterator it, difference_type n) { return it -= n; }
    KEL_REGEX_INLINE friend difference_type operator-(const BudgetedIterator& a,
                                                      const BudgetedIterator& b) {
        a.charge(b);
        return a.m_position - b.m_position;
    }

    KEL_REGEX_INLINE friend bool operator==(const BudgetedIterator& a, const BudgetedIterator& b) {
        // Deliberate: out of budget, all positions are equal (see above).
        return a.charge(b) || a.m_position == b.m_position;
    }
    KEL_REGEX_INLINE friend bool operator!=(const BudgetedIterator& a, const BudgetedIterator& b) {
        return !(a == b);
    }
    KEL_REGEX_INLINE friend bool operator<(const BudgetedIterator& a, const BudgetedIterator& b) {
        a.charge(b);
        return a.m_position < b.m_position;
    }
    friend bool operator>(const BudgetedIterator& a, const BudgetedIterator& b) { return b < a; }
    friend bool operator<=(const BudgetedIterator& a, const BudgetedIterator& b) {
        return !(b < a);
    }
    friend bool operator>=(const BudgetedIterator& a, const BudgetedIterator& b) {
        return !(a < b);
    }

private:
    // Positions left unset by the engine carry no budget; the other one's
    // counts.
    KEL_REGEX_INLINE bool charge(const BudgetedIterator& other) const {
        Budget* budget = m_budget != nullptr ? m_budget : other.m_budget;
        return budget != nullptr && budget->charge();
    }

    const wchar_t* m_position = nullptr;
    Budget* m_budget = nullptr;
};

std::uintptr_t limitBelow(std::uintptr_t address, size_t bytes) {
    return address > bytes ? address - bytes : 0;
}

using MatchResults = xp::match_results<BudgetedIterator>;

// The calling thread's match results, reused from match to match: the
// engine keeps its per-match records (256 groups' worth, 16 KiB) in them,
// and allocating and filling those afresh took a third of a short match.
// The engine starts every match by resetting them.
KEL_REGEX_NOINLINE MatchResults& threadResults() {
    return perThread<MatchResults>();
}

// Xpressive takes \1 to \9 for backreferences even when the pattern has
// fewer groups, and then reads past its records of the groups while
// matching (a failed assertion in debug builds). Such a pattern counts as
// invalid. Every escaped digit is looked at, also in character classes and
// comments, where it refers to no group: a few patterns count as invalid
// that Xpressive would take, never the other way round.
bool refersToMissingGroup(std::wstring_view pattern, size_t groups) {
    auto isDigit = [](wchar_t c) { return c >= L'0' && c <= L'9'; };
    for (size_t i = 0; i + 1 < pattern.size(); ++i) {
        if (pattern[i] != L'\\')
            continue;
        const wchar_t digit = pattern[i + 1];
        // Two digits or more are a backreference only to a group that
        // precedes them.
        const bool single = i + 2 == pattern.size() || !isDigit(pattern[i + 2]);
        if (digit != L'0' && isDigit(digit) && single && size_t(digit - L'0') > groups)
            return true;
        ++i;  // the escaped character
    }
    return false;
}

}  // namespace

struct CompiledRegex {
    xp::basic_regex<BudgetedIterator> regex;
    std::wstring pattern;
    unsigned syntax;
    std::locale locale;
};

bool isCompiledFrom(const CompiledRegex& regex, const RegexKey& key) {
    return regex.syntax == key.syntax && regex.pattern == key.pattern && regex.locale == key.locale;
}

size_t stepLimitFor(size_t textLength) {
    if (textLength > (SIZE_MAX - kBaseSteps) / kStepsPerCharacter)
        return SIZE_MAX;
    return kBaseSteps + kStepsPerCharacter * textLength;
}

RegexResult compileRegex(const RegexKey& key, size_t stackBytes,
                         std::shared_ptr<const CompiledRegex>& compiled) {
    const std::uintptr_t limit = limitBelow(stackAddress(), stackBytes);
    Budget budget(Budget::Mode::kThrow, limit, limit, 0, SIZE_MAX);
    try {
        auto result = std::make_shared<CompiledRegex>();
        result->pattern.assign(key.pattern.data(), key.pattern.size());
        result->syntax = key.syntax;
        result->locale = key.locale;
        xp::regex_compiler<BudgetedIterator> compiler{xp::regex_traits<wchar_t>(key.locale)};
        const wchar_t* begin = result->pattern.data();
        result->regex = compiler.compile(BudgetedIterator(begin, &budget),
                                         BudgetedIterator(begin + result->pattern.size(), &budget),
                                         xp::regex_constants::ECMAScript);
        if (result->regex.regex_id() == 0 ||
            refersToMissingGroup(result->pattern, result->regex.mark_count()))
            return RegexResult::kInvalidPattern;
        compiled = std::move(result);
        return RegexResult::kMatch;
    } catch (const xp::regex_error&) {
        return RegexResult::kInvalidPattern;
    } catch (const GiveUp&) {
        return RegexResult::kOutOfStack;
    } catch (...) {
        return RegexResult::kFailed;
    }
}

RegexResult matchRegex(const CompiledRegex& regex, const wchar_t* text, size_t length,
                       size_t stackBytes, size_t& steps, size_t stepLimit,
                       std::vector<TextSpan>& groups) {
    const std::uintptr_t here = stackAddress();
    Budget budget(Budget::Mode::kFailFast, limitBelow(here, stackBytes),
                  limitBelow(here, stackBytes + stackBytes / 16), steps, stepLimit);
    MatchResults& what = threadResults();
    try {
        const bool matched =
            xp::regex_match(BudgetedIterator(text, &budget),
                            BudgetedIterator(text + length, &budget), what, regex.regex);
        steps = budget.steps();
        if (budget.outOfStack())
            return RegexResult::kOutOfStack;
        if (budget.outOfSteps())
            return RegexResult::kOutOfSteps;
        if (!matched)
            return RegexResult::kNoMatch;
        groups.assign(what.size(), TextSpan{0, 0});
        for (size_t i = 0; i < groups.size(); ++i) {
            const xp::sub_match<BudgetedIterator>& group = what[i];
            if (group.matched) {
                groups[i].offset = static_cast<size_t>(group.first.base() - text);
                groups[i].length = static_cast<size_t>(group.second.base() - group.first.base());
            }
        }
        return RegexResult::kMatch;
    } catch (const GiveUp&) {
        // The engine's records may be left half unwound: start afresh.
        what = MatchResults();
        steps = budget.steps();
        return budget.outOfStack() ? RegexResult::kOutOfStack : RegexResult::kOutOfSteps;
    } catch (...) {
        what = MatchResults();
        groups.clear();
        return RegexResult::kFailed;
    }
}

}  // namespace kel::detail
