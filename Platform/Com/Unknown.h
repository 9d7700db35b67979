// IUnknown and the counting base that objects of this platform stand on.
#pragma once

#include "Platform/Com/Guid.h"
#include "Platform/Com/Results.h"

#include <atomic>

/// Root of all interfaces. Reference counts are safe from any thread; an object is destroyed
/// on the thread that gives back its last reference.
struct IUnknown {
    /// Stores the interface with a new reference in *ppv: S_OK, E_NOINTERFACE (null stored) or E_POINTER.
    virtual HRESULT QueryInterface(REFIID riid, void** ppv) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;
};

inline constexpr IID IID_IUnknown = make_guid("00000000-0000-0000-C000-000000000046");
template <>
inline constexpr IID uuid_of<IUnknown> = IID_IUnknown;

/// Hands out an interface with a reference taken: what a NonDelegatingQueryInterface returns.
template <class Interface>
HRESULT GetInterface(Interface* unknown, void** ppv) {
    if (ppv == nullptr) return E_POINTER;
    *ppv = unknown;
    unknown->AddRef();
    return S_OK;
}

/// Counting base. The count starts at 0; the maker takes the first reference (directly or by a
/// query). With an owner (`outer`) the object is part of a larger one: its public identity and
/// count are the owner's, and the owner keeps it through InnerUnknown().
/// Not derived from IUnknown, so that a class may inherit it beside any number of interfaces;
/// such a class says DECLARE_IUNKNOWN once.
class CUnknown {
public:
    explicit CUnknown(IUnknown* outer = nullptr) noexcept : m_inner(*this), m_pUnknown(outer ? outer : &m_inner) {}
    CUnknown(const CUnknown&) = delete;
    CUnknown& operator=(const CUnknown&) = delete;
    virtual ~CUnknown() = default;

    IUnknown* GetOwner() const noexcept { return m_pUnknown; }
    /// The identity that never delegates to an owner.
    IUnknown* InnerUnknown() noexcept { return &m_inner; }

    /// Overridden to offer interfaces; an override ends with its base class's.
    virtual HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv);
    virtual ULONG NonDelegatingAddRef();
    virtual ULONG NonDelegatingRelease();

protected:
    std::atomic<LONG> m_cRef{0};

private:
    class Inner final : public IUnknown {
    public:
        explicit Inner(CUnknown& object) noexcept : m_object(object) {}
        HRESULT QueryInterface(REFIID riid, void** ppv) override {
            return m_object.NonDelegatingQueryInterface(riid, ppv);
        }
        ULONG AddRef() override { return m_object.NonDelegatingAddRef(); }
        ULONG Release() override { return m_object.NonDelegatingRelease(); }

    private:
        CUnknown& m_object;
    };

    Inner m_inner;
    IUnknown* const m_pUnknown;
};

/// The three IUnknown operations of a class derived from CUnknown, passed to its owner.
#define DECLARE_IUNKNOWN                                                                                       \
    HRESULT QueryInterface(REFIID riid, void** ppv) override { return GetOwner()->QueryInterface(riid, ppv); } \
    ULONG AddRef() override { return GetOwner()->AddRef(); }                                                   \
    ULONG Release() override { return GetOwner()->Release(); }
