#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROAttribute.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>

/// One node of a document's tree. Owns its children and attributes. Not locked: a tree that several threads
/// see is only read.
class MEROComponent {
public:
    /// A node that can't be attached to another, since its count is 0.
    MEROComponent() = default;
    MEROComponent(const std::string& name, const std::string& value);
    /// Deep for children and attributes; each node keeps the parent pointer of its source, so that a copy is
    /// read-only and never walked upward once the source is gone.
    MEROComponent(const MEROComponent& other);
    MEROComponent& operator=(const MEROComponent& other);
    virtual ~MEROComponent();
    /// Nodes stand close together: a document is read, copied and let go of in half the time.
    static void* operator new(std::size_t sizeBytes);
    static void operator delete(void* node) noexcept;

    [[nodiscard]] const std::string& getName() const { return m_name; }
    void setName(const std::string& name) { m_name = name; }
    [[nodiscard]] const std::string& getValue() const { return m_value; }
    void setValue(const std::string& value) { m_value = value; }
    /// Puts a piece of text behind the value, at the cost of the piece alone.
    void appendValue(std::string_view piece);
    /// True until the first child was attached; removing the last child doesn't set it back.
    [[nodiscard]] bool isLeaf() const { return m_isLeaf; }
    [[nodiscard]] MEROComponent* getParent() const { return m_parent; }
    /// Number of nodes in the subtree, this one included; 0 for a default-constructed node.
    [[nodiscard]] uint32_t getCount() const { return m_count; }
    [[nodiscard]] const std::list<MEROComponent*>& getChildren() const { return m_children; }
    [[nodiscard]] const std::list<MEROAttribute*>& getAttributes() const { return m_attributes; }

    /// Attaches a new last child.
    void addChild(const std::string& name, const std::string& value);
    /// Takes over `child` and attaches it as the last one. Null or a node with count 0 is ignored and stays
    /// the caller's. @return true if the child was taken over.
    bool addChild(MEROComponent* child);
    /// Deletes a direct child; does nothing for any other pointer.
    void removeChild(MEROComponent* child);
    /// Deletes what FindChild(name) finds, if that is a direct child.
    void removeChild(std::string_view name);
    void addAttribute(const std::string& name, const std::string& value);
    /// Takes over `attribute`; null is ignored.
    void addAttribute(MEROAttribute* attribute);
    /// Deletes the attribute of this pointer, or the first of this name; does nothing if there is none.
    void removeAttribute(MEROAttribute* attribute);
    void removeAttribute(std::string_view name);
    /// The first attribute of exactly this name, or null. Stays the component's.
    [[nodiscard]] MEROAttribute* FindAttribute(std::string_view name) const;
    /// Depth-first search below this node, first match in document order: a descendant of an earlier child
    /// wins over a later child. Null if there is none. Stays the tree's.
    [[nodiscard]] MEROComponent* FindChild(std::string_view name) const;
    /// The first child of this name, without a look below any of them. Null if there is none.
    [[nodiscard]] MEROComponent* findOwnChild(std::string_view name) const;

private:
    bool m_isLeaf = true;
    std::string m_name;
    std::string m_value;
    MEROComponent* m_parent = nullptr;
    uint32_t m_count = 0;
    std::list<MEROComponent*> m_children;
    std::list<MEROAttribute*> m_attributes;
};
