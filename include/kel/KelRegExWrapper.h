/// @file KelRegExWrapper.h
/// Whole-text regular-expression matching.
///
/// Holds one pattern (ECMAScript syntax) and tests whole texts against it,
/// appending the captured groups. The pattern is compiled anew on every
/// match; code that matches many texts against one pattern pays that each
/// time.
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
    /// text does not match or the pattern is not a valid expression.
    bool match(const KelString& text, GroupArray& groups);

private:
    KelString m_pattern;
};

#endif  // KEL_KELREGEXWRAPPER_H
