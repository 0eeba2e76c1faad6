/// @file KelRegExWrapper.h
/// Whole-text regular-expression matching.
///
/// Holds one pattern (ECMAScript syntax) and tests whole texts against it,
/// appending the captured groups. Compiled patterns are kept in a small
/// cache shared by all wrappers and threads (the 32 used last, of up to 256
/// characters each), so matching many texts against a few patterns compiles
/// each pattern once. Matching never crashes or hangs: the engine's stack
/// and work are bounded, and a match beyond the bounds is no match.
///
/// @code
///   KelRegExWrapper regex;
///   regex.setRegularExpression(L"(\\d+)-(\\d+)");
///   KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
///            KelArrayMemoryController<KelString>> groups;
///   regex.match(L"12-34", groups);      // true; groups "12-34", "12", "34"
/// @endcode

#ifndef KEL_KELREGEXWRAPPER_H
#define KEL_KELREGEXWRAPPER_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>

/// @copydoc KelRegExWrapper.h
class KEL_API KelRegExWrapper {
public:
    /// The array match() appends the groups to.
    typedef KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                     KelArrayMemoryController<KelString>>
        GroupArray;

    /// An empty pattern.
    KelRegExWrapper();
    /// Copies the pattern text.
    KelRegExWrapper(const KelRegExWrapper& other) = default;
    /// @copydoc KelRegExWrapper(const KelRegExWrapper&)
    KelRegExWrapper& operator=(const KelRegExWrapper& other) = default;
    virtual ~KelRegExWrapper();

    /// Stores the pattern text; nothing is compiled or checked here.
    void setRegularExpression(const KelString& pattern);

    /// True when the pattern matches the whole of `text`. Then the whole
    /// match and each capture group, in order, are appended to `groups` as
    /// far as they are not empty: the array is never cleared, and an empty or
    /// non-participating group leaves no entry, so positions in `groups`
    /// need not be group numbers. False, with `groups` unchanged, when the
    /// text does not match or the pattern is not a valid expression (a
    /// backreference \1 to \9 to a group the pattern lacks makes it
    /// invalid, even where the escaped digit stands in a character class).
    ///
    /// Also false, with one line written to the debug output
    /// (kelOutputDebugString), when the match is given up: a pattern of more
    /// than 32,768 characters; a match taking more than 1,000,000 steps plus
    /// 64 per character of `text`; a match or a pattern needing more than
    /// 52 MiB of stack (beyond some 100,000 repetitions of a group such as
    /// "(a|b)*", or 16,000 nested groups). Up to about 64 KiB of the
    /// caller's stack is used; a match that needs more runs on a helper
    /// thread with a stack of its own while the caller waits.
    ///
    /// Several threads may call match at once, on one wrapper too, as long as
    /// none changes that wrapper's pattern meanwhile and each has its own
    /// `groups`.
    bool match(const KelString& text, GroupArray& groups);

private:
    KelString m_pattern;
};

#endif  // KEL_KELREGEXWRAPPER_H
