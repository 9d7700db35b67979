// Headers of one kind by their ids.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace ProtectedLibrary {

/// Owns its records. `Header` offers id().
template <class Header>
class AVCHeaderTable {
public:
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    /// Puts the record in its place, deletes the one that stood there and makes the id current.
    void store(Header header) {
        const std::uint32_t id = header.id();
        if (id >= m_headers.size()) {
            m_headers.resize(id + 1);
        }
        m_headers[id] = std::make_unique<Header>(std::move(header));
        m_current = id;
    }

    void remove(std::uint32_t id) {
        if (id < m_headers.size()) {
            m_headers[id].reset();
        }
    }

    const Header* find(std::uint32_t id) const { return id < m_headers.size() ? m_headers[id].get() : nullptr; }

    const Header* first() const {
        for (const auto& header : m_headers) {
            if (header) {
                return header.get();
            }
        }
        return nullptr;
    }

    void set_current(std::uint32_t id) { m_current = id; }
    const Header* current() const { return find(m_current); }

private:
    std::vector<std::unique_ptr<Header>> m_headers;
    std::uint32_t m_current = none;
};

}  // namespace ProtectedLibrary
