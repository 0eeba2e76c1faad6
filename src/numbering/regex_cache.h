// The process-wide cache of compiled regular expressions.
//
// Compiling a pattern costs more than matching a short text against it, and
// callers tend to match many texts against a few patterns. The cache keeps
// the compiled forms of the kRegexCacheEntries patterns used last (invalid
// ones too, as null), each at most kRegexCachedPatternLength characters
// long. An entry is found by the exact pattern text, the syntax options and
// the locale that the pattern was compiled with (the global C++ locale at
// the time), so a hit behaves exactly as compiling anew would. All members
// may be called from any thread; compiled forms are shared, never changed.
//
//   std::shared_ptr<const CompiledRegex> compiled;
//   if (!regexCache().find(key, compiled)) { ...compile...; regexCache().insert(key, compiled); }

#ifndef KEL_NUMBERING_REGEX_CACHE_H
#define KEL_NUMBERING_REGEX_CACHE_H

#include <cstddef>
#include <cstdint>
#include <locale>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "numbering/regex_engine.h"

namespace kel::detail {

constexpr size_t kRegexCacheEntries = 32;
constexpr size_t kRegexCachedPatternLength = 256;

class RegexCache {
public:
    // True when `key` is cached; `compiled` is then its compiled form, null
    // for an invalid pattern. The calling thread keeps that form alive until
    // it calls find again, whatever becomes of the entry meanwhile.
    bool find(const RegexKey& key, const CompiledRegex*& compiled);

    // Caches the compiled form of `key` (null: invalid), replacing the
    // entry used longest ago when the cache is full. A pattern longer than
    // kRegexCachedPatternLength is not cached.
    void insert(const RegexKey& key, std::shared_ptr<const CompiledRegex> compiled);

    // Forgets every entry.
    void clear();

    // The number of entries.
    size_t size();

private:
    struct Entry {
        std::wstring pattern;
        size_t hash;
        unsigned syntax;
        std::locale locale;
        std::shared_ptr<const CompiledRegex> compiled;
        uint64_t lastUse;
    };

    // The index of `key`'s entry, or entries.size(). Called under the lock.
    size_t indexOf(const RegexKey& key, size_t hash) const;

    std::mutex m_mutex;
    std::vector<Entry> m_entries;
    uint64_t m_uses = 0;
};

// The one cache of the process; never destroyed, so that threads still
// matching while the process exits find it intact.
RegexCache& regexCache();

}  // namespace kel::detail

#endif  // KEL_NUMBERING_REGEX_CACHE_H
