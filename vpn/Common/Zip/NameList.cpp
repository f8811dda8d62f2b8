#include "Common/Zip/NameList.h"

#include <algorithm>

namespace {

constexpr std::size_t kBlockBytes = 65536;

} // namespace

NameList::Iterator& NameList::Iterator::operator++() {
    m_place += (**this).size() + 1;
    if (m_place == (*m_blocks)[m_block].size()) {
        ++m_block;
        m_place = 0;
    }
    return *this;
}

NameList::NameList(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        add(name);
    }
}

void NameList::add(std::string_view name) {
    const std::size_t bytes = name.size() + 1;
    if (m_blocks.empty() || m_blocks.back().capacity() - m_blocks.back().size() < bytes) {
        m_blocks.emplace_back().reserve(std::max(bytes, kBlockBytes));
    }
    m_blocks.back().append(name).push_back('\0');
    ++m_size;
}
