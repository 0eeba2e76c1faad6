// Boost.Xpressive's dynamic wide-character regexes, held within bounds of
// stack and work.
//
// Xpressive compiles a pattern by recursive descent and matches by
// recursion: every repetition of a group and every nesting level is
// another set of stack frames, and a pattern that backtracks badly does
// exponential work. This engine charges the work to a budget: every step
// of the matcher (a comparison of two positions in the text; the engine
// makes one before each character it reads and in each of its loops and
// recursions) is counted, and the stack address is checked at each step.
// A compile whose parser reaches the stack limit stops at once. A match
// that runs out of steps or stack is made to fail fast from there on:
// every position looks like the end of the text, so each pending frame
// gives up and returns without reading further; should that clean-up
// itself take too long or go too deep, the match is abandoned by an
// exception as a last resort.
//
//   std::shared_ptr<const CompiledRegex> regex;
//   if (compileRegex(RegexKey{L"(\\d+)-(\\d+)", 0, std::locale()}, 64 << 10, regex) ==
//       RegexResult::kMatch) {
//       size_t steps = 0;
//       std::vector<TextSpan> groups;
//       matchRegex(*regex, L"12-34", 5, 64 << 10, steps, stepLimitFor(5), groups);
//   }

#ifndef KEL_NUMBERING_REGEX_ENGINE_H
#define KEL_NUMBERING_REGEX_ENGINE_H

#include <cstddef>
#include <locale>
#include <memory>
#include <string_view>
#include <vector>

// Marks the accessors of thread-local objects on the matching path: when
// such an accessor is inlined, the compiler looks the thread's storage up
// again at every use of the object, a dozen times per match.
#if defined(__GNUC__)
#define KEL_REGEX_NOINLINE __attribute__((noinline))
#else
#define KEL_REGEX_NOINLINE
#endif

namespace kel::detail {

// A compiled pattern. Immutable: several threads may match it at once.
struct CompiledRegex;

// What a compiled form depends on: the exact pattern text, the syntax
// options and the locale whose character classes it uses.
struct RegexKey {
    std::wstring_view pattern;
    unsigned syntax;  // 0: the engine's defaults (ECMAScript), the only syntax used
    std::locale locale;
};

// How a compile or a match ended.
enum class RegexResult {
    kMatch,           // compiled; or the whole text matches
    kNoMatch,         // the text does not match
    kInvalidPattern,  // the pattern is not a valid expression
    kOutOfStack,      // the recursion reached the stack allowed to it
    kOutOfSteps,      // the match took more steps than allowed
    kFailed,          // the engine failed otherwise (memory)
};

// One group of a match: where it starts in the text and how long it is.
// A group that took no part in the match has length 0.
struct TextSpan {
    size_t offset;
    size_t length;
};

// The steps a match of a text of `textLength` characters may take:
// kBaseSteps plus kStepsPerCharacter for each character. A profile name
// takes a few dozen; ordinary patterns a few per character of a long
// text.
constexpr size_t kBaseSteps = 1000000;
constexpr size_t kStepsPerCharacter = 64;
size_t stepLimitFor(size_t textLength);

// Compiles `key.pattern` with the default (ECMAScript) syntax and the
// character classes of `key.locale`. The parser may use the stack down to
// `stackBytes` below this call; its recursion is one level per nested
// group. kMatch with `compiled` set, or kInvalidPattern, kOutOfStack,
// kFailed with `compiled` left as it was. The linking that follows the
// parse, and the compiled form's destruction, recurse once per element of
// the pattern without a check: callers bound the pattern's length.
RegexResult compileRegex(const RegexKey& key, size_t stackBytes,
                         std::shared_ptr<const CompiledRegex>& compiled);

// True when `regex` was compiled from `key`.
bool isCompiledFrom(const CompiledRegex& regex, const RegexKey& key);

// Tests whether `regex` matches the whole of text[0, length). The matcher
// may use the stack down to about `stackBytes` below this call (and, while
// it gives up, a sixteenth more) and take steps until `steps` reaches
// `stepLimit`; `steps` counts on from its value on entry. kMatch sets
// `groups` to the whole match and each capture group in order; after the
// other results (kNoMatch, kOutOfStack, kOutOfSteps, kFailed) `groups`
// holds nothing of use.
RegexResult matchRegex(const CompiledRegex& regex, const wchar_t* text, size_t length,
                       size_t stackBytes, size_t& steps, size_t stepLimit,
                       std::vector<TextSpan>& groups);

}  // namespace kel::detail

#endif  // KEL_NUMBERING_REGEX_ENGINE_H
