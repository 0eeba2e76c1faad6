// Regular expressions on Boost.Xpressive's dynamic wide regexes.

#include <kel/KelRegExWrapper.h>

#include <boost/xpressive/xpressive_dynamic.hpp>

#include <exception>
#include <string>

namespace xp = boost::xpressive;

KelRegExWrapper::KelRegExWrapper() = default;

KelRegExWrapper::~KelRegExWrapper() = default;

void KelRegExWrapper::setRegularExpression(const KelString& pattern) {
    m_pattern = pattern;
}

bool KelRegExWrapper::match(const KelString& text, GroupArray& groups) {
    try {
        const xp::wsregex regex = xp::wsregex::compile(std::wstring(m_pattern.getStringW()));
        if (regex.regex_id() == 0)
            return false;
        const std::wstring subject(text.getStringW());
        xp::wsmatch what;
        if (!xp::regex_match(subject, what, regex))
            return false;
        GroupArray found;
        for (size_t i = 0; i < what.size(); ++i) {
            if (what[i].length() > 0)
                found.append(KelString(what[i].str().c_str()));
        }
        groups.append(found);
        return true;
    } catch (const std::exception&) {
        // An invalid pattern (xpressive::regex_error) or exhausted memory:
        // no match, and nothing escapes to the caller.
        return false;
    }
}
