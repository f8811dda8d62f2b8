#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

/// Names of files in little memory: one behind the other in large blocks. Names hold no NUL. Unguarded, but
/// for reading by several threads while nothing is added.
class NameList {
public:
    /// Goes through the names in their order.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = std::string_view;

        Iterator(const std::vector<std::string>& blocks, std::size_t block)
            : m_blocks(&blocks), m_block(block) {}

        /// The name, with a NUL behind it.
        [[nodiscard]] std::string_view operator*() const { return (*m_blocks)[m_block].c_str() + m_place; }
        Iterator& operator++();
        [[nodiscard]] bool operator==(const Iterator& other) const {
            return m_block == other.m_block && m_place == other.m_place;
        }

    private:
        const std::vector<std::string>* m_blocks;
        std::size_t m_block;
        std::size_t m_place = 0;
    };

    NameList() = default;
    explicit NameList(const std::vector<std::string>& names);

    void add(std::string_view name);
    [[nodiscard]] std::size_t size() const { return m_size; }
    [[nodiscard]] Iterator begin() const { return {m_blocks, 0}; }
    [[nodiscard]] Iterator end() const { return {m_blocks, m_blocks.size()}; }

private:
    std::vector<std::string> m_blocks;
    std::size_t m_size = 0;
};
