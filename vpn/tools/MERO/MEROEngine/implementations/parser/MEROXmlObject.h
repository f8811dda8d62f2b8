#pragma once

#include "tools/MERO/MEROEngine/implementations/parser/MEROComponent.h"

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

/// Handle of one tree; owns its root. Carries documents that were read, and the bundle's summary, which is
/// built by hand.
class MEROXmlObject {
public:
    MEROXmlObject() = default;
    /// A tree of one new node.
    MEROXmlObject(const std::string& name, const std::string& value);
    /// Deep copy of a node's tree; null gives an empty object.
    explicit MEROXmlObject(const MEROComponent* root);
    /// Deep copy; the source must have a root.
    MEROXmlObject(const MEROXmlObject& other);
    /// Deep copy; a source without a root deletes the own root.
    MEROXmlObject& operator=(const MEROXmlObject& other);
    virtual ~MEROXmlObject();

    [[nodiscard]] MEROComponent* GetRoot() const { return m_root; }
    /// Adopts a tree; the former root is deleted.
    void SetRoot(MEROComponent* root);
    /// Names the root, made if there is none.
    void setRootNameValue(const std::string& name, const std::string& value);
    /// Number of nodes, as far as this object knows.
    [[nodiscard]] uint32_t getCount() const { return m_count; }

    /// With a null parent the child becomes the root, else its last child. Takes over `child`.
    void addComponent(MEROComponent* parent, MEROComponent* child);
    /// With a null parent renames the root, else attaches a new last child.
    void addComponent(MEROComponent* parent, const std::string& name, const std::string& value);
    /// Deletes a direct child of `parent`; nothing happens if either is null or not found.
    void removeComponent(MEROComponent* parent, MEROComponent* child);
    void removeComponent(MEROComponent* parent, std::string_view name);

    /// FindChild of `start`; null if `start` is.
    [[nodiscard]] MEROComponent* FindChild(const MEROComponent* start, std::string_view name) const;
    /// Goes through all nodes named `elementName` in document order and gives the
    /// first hit of FindChild(childName).
    [[nodiscard]] MEROComponent* FindChild(std::string_view elementName, std::string_view childName) const;
    /// Appends every node of exactly this name, the root included, in document order.
    void findAllByName(std::string_view name, std::list<MEROComponent*>& found) const;

    void addAttribute(MEROComponent* component, const std::string& name, const std::string& value);
    void addAttribute(MEROComponent* component, MEROAttribute* attribute);
    void removeAttribute(MEROComponent* component, MEROAttribute* attribute);
    void removeAttribute(MEROComponent* component, std::string_view name);
    [[nodiscard]] MEROAttribute* FindAttribute(const MEROComponent* component, std::string_view name) const;

private:
    MEROComponent* m_root = nullptr;
    uint32_t m_count = 0;
};
