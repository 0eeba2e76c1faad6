// The scan of the installation's data-source configuration file.
//
// Deliberately a plain text scan for a handful of markers, not an XML
// parser: the configuration files that hosts ship and edit by hand depend
// on exactly this reading. Entities are not decoded, comments are not
// skipped, attributes are found by their names as plain text wherever they
// first occur in the element (even inside another attribute's name or
// value), and what lies outside the product's section is never looked at.

#include "environment/data_sources.h"

namespace kel::detail {

namespace {

constexpr wchar_t kElementStart[] = L"<DataSource";
constexpr wchar_t kElementEnd[] = L"/>";
constexpr wchar_t kQuote[] = L"\"";

// The characters trimmed from both ends of an element.
constexpr wchar_t kElementBlanks[] = L"\t\n ";

// The text between the first "<product>" and the next "</product>"; false
// without both.
bool productSection(const KelString& text, const KelString& productName, KelString& section) {
    const KelString opening = KelString(L"<") + productName + KelString(L">");
    const KelString closing = KelString(L"</") + productName + KelString(L">");
    const int opened = text.find(opening);
    if (opened < 0)
        return false;
    const int begin = opened + opening.length();
    const int end = text.find(closing, begin);
    if (end < 0)
        return false;
    section = text.mid(begin, end - begin);
    return true;
}

}  // namespace

KelString scanAttribute(const KelString& element, const KelString& attribute) {
    const int at = element.find(attribute);
    if (at < 0)
        return KelString();
    const KelString quote(kQuote);
    const int open = element.find(quote, at);
    if (open < 0)
        return KelString();
    const int close = element.find(quote, open + 1);
    if (close < 0)
        return KelString();
    return element.mid(open + 1, close - open - 1);
}

std::vector<ScannedDataSource> scanDataSources(const KelString& text,
                                               const KelString& productName) {
    std::vector<ScannedDataSource> found;
    KelString section;
    if (!productSection(text, productName, section))
        return found;
    const KelString elementStart(kElementStart);
    const KelString elementEnd(kElementEnd);
    const KelString blanks(kElementBlanks);
    const KelString name(L"Name");
    const KelString value(L"Value");
    const KelString platform(L"Platform");
    const int sectionLength = section.length();
    // Every round moves past the "/>" it found, so the scan always ends.
    for (int from = 0; from < sectionLength;) {
        const int start = section.find(elementStart, from);
        if (start < 0)
            break;
        const int contentStart = start + elementStart.length();
        const int end = section.find(elementEnd, contentStart);
        if (end < 0)
            break;
        KelString element = section.mid(contentStart, end - contentStart);
        element.TrimLeft(blanks);
        element.TrimRight(blanks);
        found.push_back({scanAttribute(element, name), scanAttribute(element, value),
                         scanAttribute(element, platform)});
        from = end + elementEnd.length();
    }
    return found;
}

}  // namespace kel::detail
