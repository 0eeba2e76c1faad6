// Regular expressions on Boost.Xpressive's dynamic wide regexes.

#include <kel/KelRegExWrapper.h>

#include <boost/xpressive/xpressive_dynamic.hpp>

#include <exception>
#include <string>

#include "numbering/large_stack.h"

namespace xp = boost::xpressive;

namespace {

// Texts and patterns up to these lengths are matched on the caller's
// stack; longer ones on a stack of their own (see large_stack.h). Within
// these lengths the engine needs well under the 1 MiB of a Windows thread.
constexpr size_t kTextOnCallerStack = 1024;
constexpr size_t kPatternOnCallerStack = 256;

struct Matching {
    const std::wstring* pattern;
    const std::wstring* text;
    KelRegExWrapper::GroupArray found;
    bool matched = false;
};

// Compiles and matches; collects the non-empty groups in `found`. Never
// throws: an invalid pattern (xpressive::regex_error) or exhausted memory
// is no match.
void compileAndMatch(void* context) {
    Matching& m = *static_cast<Matching*>(context);
    try {
        const xp::wsregex regex = xp::wsregex::compile(*m.pattern);
        if (regex.regex_id() == 0)
            return;
        xp::wsmatch what;
        if (!xp::regex_match(*m.text, what, regex))
            return;
        for (size_t i = 0; i < what.size(); ++i) {
            if (what[i].length() > 0)
                m.found.append(KelString(what[i].str().c_str()));
        }
        m.matched = true;
    } catch (...) {
        m.found.setLogicalLength(0);
        m.matched = false;
    }
}

}  // namespace

KelRegExWrapper::KelRegExWrapper() = default;

KelRegExWrapper::~KelRegExWrapper() = default;

void KelRegExWrapper::setRegularExpression(const KelString& pattern) {
    m_pattern = pattern;
}

bool KelRegExWrapper::match(const KelString& text, GroupArray& groups) {
    const std::wstring pattern(m_pattern.getStringW());
    const std::wstring subject(text.getStringW());
    Matching matching;
    matching.pattern = &pattern;
    matching.text = &subject;
    if (subject.size() <= kTextOnCallerStack && pattern.size() <= kPatternOnCallerStack)
        compileAndMatch(&matching);
    else
        kel::detail::runOnLargeStack(compileAndMatch, &matching);
    if (!matching.matched)
        return false;
    groups.append(matching.found);
    return true;
}
