#pragma once

/// Holds a reference to a reference-counted singleton for as long as it lives: the class gives it by
/// acquireInstance, or null when there is no instance, and takes it back by releaseInstance. Test for null
/// before use. Belongs to one thread; the singleton counts under a lock of its own.
template <typename T> class CInstanceSmartPtr {
public:
    CInstanceSmartPtr() : m_pInstance(T::acquireInstance()) {}
    virtual ~CInstanceSmartPtr() {
        if (m_pInstance != nullptr) {
            T::releaseInstance(m_pInstance);
        }
    }
    CInstanceSmartPtr(const CInstanceSmartPtr&) = delete;
    CInstanceSmartPtr& operator=(const CInstanceSmartPtr&) = delete;

    [[nodiscard]] T* operator->() const noexcept { return m_pInstance; }
    [[nodiscard]] T& operator*() const noexcept { return *m_pInstance; }
    [[nodiscard]] explicit operator bool() const noexcept { return m_pInstance != nullptr; }

private:
    /// Counted in the singleton, which owns it.
    T* m_pInstance;
};
