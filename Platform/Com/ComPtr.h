// A counted pointer to an interface.
#pragma once

#include "Platform/Com/Unknown.h"

#include <cstddef>
#include <utility>

template <class Interface>
class ComPtr {
public:
    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    /// Takes a new reference; use `attach` to adopt one.
    ComPtr(Interface* p) noexcept : m_p(p) {
        if (m_p) m_p->AddRef();
    }
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.m_p) {}
    ComPtr(ComPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    ~ComPtr() {
        if (m_p) m_p->Release();
    }
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(m_p, other.m_p);
        return *this;
    }

    Interface* get() const noexcept { return m_p; }
    Interface* operator->() const noexcept { return m_p; }
    Interface& operator*() const noexcept { return *m_p; }
    explicit operator bool() const noexcept { return m_p != nullptr; }
    bool operator==(const ComPtr&) const noexcept = default;

    void reset() noexcept { ComPtr().swap(*this); }
    void swap(ComPtr& other) noexcept { std::swap(m_p, other.m_p); }
    /// Adopts a reference that the caller owns.
    void attach(Interface* p) noexcept {
        reset();
        m_p = p;
    }
    /// Gives the reference to the caller.
    [[nodiscard]] Interface* detach() noexcept { return std::exchange(m_p, nullptr); }

    /// Emptied, for use as an out parameter that stores a reference.
    Interface** put() noexcept {
        reset();
        return &m_p;
    }
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }

    /// The object's other interface, or null when it has none.
    template <class Other>
    ComPtr<Other> query() const {
        ComPtr<Other> other;
        if (m_p) m_p->QueryInterface(uuid_of<Other>, other.put_void());
        return other;
    }

private:
    Interface* m_p = nullptr;
};
