#include "tools/MERO/MEROEngine/implementations/WantedEntries.h"

#include "tools/MERO/MEROEngine/implementations/ItemWalk.h"
#include "tools/MERO/MEROEngine/implementations/parser/AttributeText.h"

#include <algorithm>
#include <utility>

void WantedEntries::prepare() {
    std::call_once(m_prepared, [this] {
        std::list<MEROComponent*> elements = ItemWalk::fileElements(*m_pRequest->GetRoot());
        ItemWalk::sortById(elements);
        for (MEROComponent* element : elements) {
            std::string id = attributeOf(*element, "id");
            if (id == "comments") {
                m_commentsEntry = element;
            } else if (id != "summary") {
                m_entries.push_back({element, std::move(id)});
            } else if (m_summaryEntry == nullptr) {
                m_summaryEntry = element;
                m_summaryPlace = m_entries.size();
            }
        }
        m_isSorted = std::ranges::is_sorted(m_entries, {}, &Entry::id);
    });
}

const std::vector<WantedEntries::Entry>& WantedEntries::entries() {
    prepare();
    return m_entries;
}

std::size_t WantedEntries::firstFrom(std::size_t start, std::string_view id) {
    prepare();
    const auto isBelow = [id](const Entry& entry) { return entry.id < id; };
    const auto first = m_entries.begin() + static_cast<std::ptrdiff_t>(start);
    const auto found = m_isSorted ? std::partition_point(first, m_entries.end(), isBelow)
                                  : std::find_if_not(first, m_entries.end(), isBelow);
    return static_cast<std::size_t>(found - m_entries.begin());
}

MEROComponent* WantedEntries::summaryEntry() {
    prepare();
    return m_summaryEntry;
}

std::size_t WantedEntries::summaryPlace() {
    prepare();
    return m_summaryPlace;
}

MEROComponent* WantedEntries::commentsEntry() {
    prepare();
    return m_commentsEntry;
}

bool WantedEntries::takeOff(MEROComponent* entry) {
    const LockGuard guard(s_unprocessedLock);
    if (m_places.size() != m_unprocessed.size()) {
        // The first call, or another object has taken entries off.
        m_places.clear();
        for (auto place = m_unprocessed.begin(); place != m_unprocessed.end(); ++place) {
            m_places.try_emplace(*place, place);
        }
    }
    const auto found = m_places.find(entry);
    if (found == m_places.end()) {
        return false;
    }
    m_unprocessed.erase(found->second);
    m_places.erase(found);
    return true;
}
