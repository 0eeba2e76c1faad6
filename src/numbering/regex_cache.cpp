#include "numbering/regex_cache.h"

#include <functional>
#include <utility>

#include "platform/per_thread.h"

namespace kel::detail {

namespace {

size_t hashOf(std::wstring_view pattern) {
    return std::hash<std::wstring_view>()(pattern);
}

// The compiled form the calling thread found last, kept alive for it.
KEL_REGEX_NOINLINE std::shared_ptr<const CompiledRegex>& threadLastFound() {
    return perThread<std::shared_ptr<const CompiledRegex>>();
}

}  // namespace

size_t RegexCache::indexOf(const RegexKey& key, size_t hash) const {
    for (size_t i = 0; i < m_entries.size(); ++i) {
        const Entry& entry = m_entries[i];
        if (entry.hash == hash && entry.syntax == key.syntax && entry.pattern == key.pattern &&
            entry.locale == key.locale)
            return i;
    }
    return m_entries.size();
}

bool RegexCache::find(const RegexKey& key, const CompiledRegex*& compiled) {
    if (key.pattern.size() > kRegexCachedPatternLength)
        return false;
    std::shared_ptr<const CompiledRegex>& last = threadLastFound();
    if (last && isCompiledFrom(*last, key)) {
        compiled = last.get();
        return true;
    }
    std::shared_ptr<const CompiledRegex> found;
    const size_t hash = hashOf(key.pattern);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const size_t index = indexOf(key, hash);
        if (index == m_entries.size())
            return false;
        Entry& entry = m_entries[index];
        entry.lastUse = ++m_uses;
        found = entry.compiled;
    }
    compiled = found.get();
    if (found)
        last = std::move(found);
    return true;
}

void RegexCache::insert(const RegexKey& key, std::shared_ptr<const CompiledRegex> compiled) {
    if (key.pattern.size() > kRegexCachedPatternLength)
        return;
    const size_t hash = hashOf(key.pattern);
    // The compiled form that an entry gives up dies after the lock is
    // released: destroying it takes a while for a long pattern.
    std::shared_ptr<const CompiledRegex> replaced;
    std::lock_guard<std::mutex> lock(m_mutex);
    size_t index = indexOf(key, hash);
    if (index == m_entries.size()) {
        if (m_entries.size() < kRegexCacheEntries) {
            m_entries.push_back(
                Entry{std::wstring(key.pattern), hash, key.syntax, key.locale, nullptr, 0});
        } else {
            index = 0;
            for (size_t i = 1; i < m_entries.size(); ++i) {
                if (m_entries[i].lastUse < m_entries[index].lastUse)
                    index = i;
            }
            Entry& oldest = m_entries[index];
            oldest.pattern.assign(key.pattern.data(), key.pattern.size());
            oldest.hash = hash;
            oldest.syntax = key.syntax;
            oldest.locale = key.locale;
        }
    }
    Entry& entry = m_entries[index];
    replaced = std::move(entry.compiled);
    entry.compiled = std::move(compiled);
    entry.lastUse = ++m_uses;
}

void RegexCache::clear() {
    std::vector<Entry> entries;
    std::lock_guard<std::mutex> lock(m_mutex);
    entries.swap(m_entries);
}

size_t RegexCache::size() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_entries.size();
}

RegexCache& regexCache() {
    static RegexCache* cache = new RegexCache;
    return *cache;
}

}  // namespace kel::detail
