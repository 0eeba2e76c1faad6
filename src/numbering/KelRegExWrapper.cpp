// Regular expressions on Boost.Xpressive's dynamic wide regexes, within
// bounds of stack and work (regex_engine.h), with the compiled forms of
// recent patterns kept (regex_cache.h).
//
// A match runs on the caller's stack first, with a small allowance. Only
// when the engine needs more (a long text against a repeated group, a
// deeply nested pattern) does it run on a helper thread whose stack has a
// known size, continuing the same step budget.

#include <kel/KelRegExWrapper.h>

#include <cstddef>
#include <locale>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "numbering/large_stack.h"
#include "numbering/regex_cache.h"
#include "numbering/regex_engine.h"
#include "platform/debug_output.h"
#include "platform/per_thread.h"

namespace {

using kel::detail::CompiledRegex;
using kel::detail::RegexKey;
using kel::detail::RegexResult;
using kel::detail::TextSpan;

// Longer patterns are refused before compiling: what the compiler does
// after parsing (and the compiled form's destruction) recurses once per
// element of the pattern without a check, and this many fit well in the
// helper's stack.
constexpr size_t kMaxPatternLength = 32768;

// How deep the engine may go on the caller's stack (and a sixteenth more
// while it gives up), beyond the unchecked recursion of patterns of at
// most kRegexCachedPatternLength characters: about 100 KiB in all.
constexpr size_t kCallerStackBytes = size_t(64) << 10;

// How deep the engine may go on the helper's stack of kLargeStackBytes (and
// a sixteenth more while it gives up). The 8 MiB left below are for the
// engine's unchecked runs of frames, which patterns of kMaxPatternLength
// characters keep within a few MiB. Deliberately below 64 MiB in all:
// AddressSanitizer does not follow an exception thrown from deeper than
// that.
constexpr size_t kHelperStackBytes = size_t(52) << 20;

// The syntax options of every compile: the engine's defaults (ECMAScript).
constexpr unsigned kSyntax = 0;

enum class Stage { kCompiling, kMatching };

// The calling thread's list of groups, reused from match to match (a
// match does not call back into the library, so one list per thread does).
KEL_REGEX_NOINLINE std::vector<TextSpan>& threadGroups() {
    return kel::detail::perThread<std::vector<TextSpan>>();
}

struct Job {
    Job(std::wstring_view pattern, const KelString& subject)
        : key{pattern, kSyntax, std::locale()},
          text(subject.getStringW()),
          length(static_cast<size_t>(subject.length())),
          stepLimit(kel::detail::stepLimitFor(length)),
          groups(threadGroups()) {}

    RegexKey key;
    const wchar_t* text;
    size_t length;
    // The compiled form: from the cache (which keeps it alive), or compiled
    // here and owned by the job.
    const CompiledRegex* compiled = nullptr;
    std::shared_ptr<const CompiledRegex> owned;
    size_t steps = 0;
    size_t stepLimit;
    std::vector<TextSpan>& groups;
    Stage stage = Stage::kCompiling;
    RegexResult result = RegexResult::kNoMatch;
};

// Compiles (unless cached) and matches within `stackBytes` of the current
// stack.
RegexResult compileAndMatch(Job& job, size_t stackBytes) {
    if (job.compiled == nullptr) {
        job.stage = Stage::kCompiling;
        const RegexResult compiled = kel::detail::compileRegex(job.key, stackBytes, job.owned);
        if (compiled == RegexResult::kInvalidPattern)
            kel::detail::regexCache().insert(job.key, nullptr);
        if (compiled != RegexResult::kMatch)
            return compiled;
        job.compiled = job.owned.get();
        kel::detail::regexCache().insert(job.key, job.owned);
    }
    job.stage = Stage::kMatching;
    return kel::detail::matchRegex(*job.compiled, job.text, job.length, stackBytes, job.steps,
                                   job.stepLimit, job.groups);
}

void compileAndMatchOnLargeStack(void* context) {
    Job& job = *static_cast<Job*>(context);
    job.result = compileAndMatch(job, kHelperStackBytes);
    // A pattern too long for the cache must be destroyed here, on this
    // stack, not on the caller's.
    job.compiled = nullptr;
    job.owned.reset();
}

std::wstring quoted(std::wstring_view pattern) {
    constexpr size_t kShown = 40;
    std::wstring text(L"\"");
    text.append(pattern.substr(0, kShown));
    text.append(pattern.size() > kShown ? L"...\"" : L"\"");
    return text;
}

// The one line of debug output for a match given up.
void reportGivenUp(const Job& job) {
    std::wstring line(L"KelRegExWrapper::match: no match: ");
    const std::wstring text = std::to_wstring(job.length);
    switch (job.result) {
        case RegexResult::kOutOfStack:
            if (job.stage == Stage::kCompiling) {
                line += L"the pattern " + quoted(job.key.pattern) +
                        L" nests too deeply to compile within " +
                        std::to_wstring(kHelperStackBytes >> 20) + L" MiB of stack";
            } else {
                line += L"matching a text of " + text + L" characters against " +
                        quoted(job.key.pattern) + L" needs more than " +
                        std::to_wstring(kHelperStackBytes >> 20) + L" MiB of stack";
            }
            break;
        case RegexResult::kOutOfSteps:
            line += L"matching a text of " + text + L" characters against " +
                    quoted(job.key.pattern) + L" takes more than " +
                    std::to_wstring(job.stepLimit) + L" steps";
            break;
        default:
            line += L"the regular-expression engine failed (out of memory) on " +
                    quoted(job.key.pattern);
            break;
    }
    kel::detail::debugOutput(line.c_str());
}

KelString groupText(const wchar_t* text, const TextSpan& span) {
    // Most groups fit the stack buffer, which spares one allocation.
    wchar_t buffer[128];
    if (span.length < sizeof buffer / sizeof buffer[0]) {
        std::wstring_view(text + span.offset, span.length).copy(buffer, span.length);
        buffer[span.length] = L'\0';
        return KelString(buffer);
    }
    return KelString(std::wstring(text + span.offset, span.length).c_str());
}

}  // namespace

KelRegExWrapper::KelRegExWrapper() = default;

KelRegExWrapper::~KelRegExWrapper() = default;

void KelRegExWrapper::setRegularExpression(const KelString& pattern) {
    m_pattern = pattern;
}

bool KelRegExWrapper::match(const KelString& text, GroupArray& groups) {
    const std::wstring_view pattern(m_pattern.getStringW(),
                                    static_cast<size_t>(m_pattern.length()));
    if (pattern.size() > kMaxPatternLength) {
        kel::detail::debugOutput((L"KelRegExWrapper::match: no match: the pattern has " +
                                  std::to_wstring(pattern.size()) + L" characters, more than the " +
                                  std::to_wstring(kMaxPatternLength) + L" that are compiled")
                                     .c_str());
        return false;
    }
    Job job(pattern, text);
    job.result = RegexResult::kOutOfStack;
    if (pattern.size() <= kel::detail::kRegexCachedPatternLength) {
        if (kel::detail::regexCache().find(job.key, job.compiled) && !job.compiled)
            return false;  // known to be invalid
        job.result = compileAndMatch(job, kCallerStackBytes);
    }
    if (job.result == RegexResult::kOutOfStack) {
        if (!kel::detail::runOnLargeStack(compileAndMatchOnLargeStack, &job)) {
            kel::detail::debugOutput(
                (L"KelRegExWrapper::match: no match: no thread with a stack of " +
                 std::to_wstring(kel::detail::kLargeStackBytes >> 20) +
                 L" MiB could be started for " + quoted(pattern))
                    .c_str());
            return false;
        }
    }

    switch (job.result) {
        case RegexResult::kMatch:
            break;
        case RegexResult::kNoMatch:
        case RegexResult::kInvalidPattern:
            return false;
        default:
            reportGivenUp(job);
            return false;
    }
    for (const TextSpan& span : job.groups) {
        if (span.length > 0)
            groups.append(groupText(job.text, span));
    }
    return true;
}
