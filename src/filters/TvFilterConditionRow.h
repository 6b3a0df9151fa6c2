// One condition row of a property filter: field words and their value texts.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tv {

/// A map from field word ("NAME", "FROZEN", or any word another program wrote) to value text.
/// Keys compare exactly, case included. Entries keep the order in which they were first set,
/// so that an expression read in and written out again comes back clause for clause, and a
/// filter that nobody edited is not rewritten. Rows hold a dozen entries at most, so a flat
/// vector beats a hash map here.
class TvFilterConditionRow {
public:
    using Entry = std::pair<std::wstring, std::wstring>;
    using const_iterator = std::vector<Entry>::const_iterator;

    /// The value of `field`, or null when the row has no entry for it.
    const std::wstring* find(std::wstring_view field) const {
        for (const Entry& e : m_entries)
            if (e.first == field)
                return &e.second;
        return nullptr;
    }
    /// Sets the value of `field`; a new field goes after the existing ones.
    void set(std::wstring_view field, std::wstring value) {
        for (Entry& e : m_entries) {
            if (e.first == field) {
                e.second = std::move(value);
                return;
            }
        }
        m_entries.emplace_back(std::wstring(field), std::move(value));
    }
    /// Removes the entry of `field`; false when there was none.
    bool remove(std::wstring_view field) {
        for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
            if (it->first == field) {
                m_entries.erase(it);
                return true;
            }
        }
        return false;
    }

    bool empty() const { return m_entries.empty(); }
    size_t size() const { return m_entries.size(); }
    const_iterator begin() const { return m_entries.begin(); }
    const_iterator end() const { return m_entries.end(); }

    bool operator==(const TvFilterConditionRow& other) const = default;

private:
    std::vector<Entry> m_entries;
};

/// The rows of a filter definition, in the order of the grid: row i of the grid is entry i.
using TvFilterConditionRows = std::vector<TvFilterConditionRow>;

} // namespace tv
