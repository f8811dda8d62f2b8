#pragma once

#include "Common/Utility/threads/Mutex.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlObject.h"

#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The entries of a request, as the groups of the configuration are gone through for them, and which of them
/// nobody has handled yet. Made once for a request and shared by all collectors of a run, on any thread.
class WantedEntries {
public:
    struct Entry {
        /// Stays the request's.
        MEROComponent* element;
        /// Empty for an entry without one.
        std::string id;
    };

    /// @param request      not owned; read at the first use, and no more changed from then on. It has a root
    /// by then.
    /// @param unprocessed  the entries that nobody has handled, not owned. Once takeOff was called it is
    /// changed by nobody but objects of this class.
    WantedEntries(const MEROXmlObject* request, std::list<MEROComponent*>& unprocessed)
        : m_pRequest(request), m_unprocessed(unprocessed) {}

    /// The entries that ask for items, in the order of their ids.
    [[nodiscard]] const std::vector<Entry>& entries();
    /// Number of the first entry from `start` on whose id isn't below this one; of entries() if there is
    /// none.
    [[nodiscard]] std::size_t firstFrom(std::size_t start, std::string_view id);
    /// The entry that names the summary, or null: the first of several. It stands before the entry of the
    /// number summaryPlace.
    [[nodiscard]] MEROComponent* summaryEntry();
    [[nodiscard]] std::size_t summaryPlace();
    /// The entry that names the comments, or null: the last of several.
    [[nodiscard]] MEROComponent* commentsEntry();

    /// Takes an entry off the unprocessed ones. @return whether it was among them.
    [[nodiscard]] bool takeOff(MEROComponent* entry);

private:
    /// Sorts the entries at the first call.
    void prepare();

    const MEROXmlObject* m_pRequest;
    std::once_flag m_prepared;
    std::vector<Entry> m_entries;
    /// Entries without an id may stand between the others, which then aren't in order.
    bool m_isSorted = false;
    MEROComponent* m_summaryEntry = nullptr;
    std::size_t m_summaryPlace = 0;
    MEROComponent* m_commentsEntry = nullptr;

    /// Of the class and not of an object, as several may serve one list.
    inline static Mutex s_unprocessedLock;
    std::list<MEROComponent*>& m_unprocessed ZRN_GUARDED_BY(s_unprocessedLock);
    std::unordered_map<const MEROComponent*, std::list<MEROComponent*>::iterator>
        m_places ZRN_GUARDED_BY(s_unprocessedLock);
};
