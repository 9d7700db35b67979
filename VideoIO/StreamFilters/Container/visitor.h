// Visitation of plain records: a record has no behaviour, every direction of serialisation is a
// visitor with one base per class that it knows.
#pragma once

namespace vio::details {

class base_visitor {
public:
    virtual ~base_visitor() = default;
};

class const_base_visitor {
public:
    virtual ~const_base_visitor() = default;
};

/// Base of a visitor that knows the class T and may change it: a reader.
template <class T>
class visitor {
public:
    virtual void visit(T& object) = 0;

protected:
    ~visitor() = default;
};

/// Base of a visitor that knows the class T and looks at it: a writer.
template <class T>
class const_visitor {
public:
    virtual void visit(const T& object) = 0;

protected:
    ~const_visitor() = default;
};

/// A Base that visits the classes Ts, one base each, in this order.
template <class Base, class... Ts>
class visitors : public Base, public visitor<Ts>... {
public:
    using Base::Base;
};

template <class Base, class... Ts>
class const_visitors : public Base, public const_visitor<Ts>... {
public:
    using Base::Base;
};

/// Root of everything that can be visited. A visitor that has no base for the object's own class is
/// passed over silently.
class base_visitable {
public:
    virtual void accept(const_base_visitor& visitor) const = 0;
    virtual void accept(base_visitor& visitor) = 0;
    virtual ~base_visitable() = default;
};

/// The two accept operations of class T, which derives from Base.
template <class T, class Base>
class visitable : public Base {
public:
    using Base::Base;

    void accept(const_base_visitor& who) const override {
        if (auto* const known = dynamic_cast<const_visitor<T>*>(&who)) known->visit(static_cast<const T&>(*this));
    }
    void accept(base_visitor& who) override {
        if (auto* const known = dynamic_cast<visitor<T>*>(&who)) known->visit(static_cast<T&>(*this));
    }
};

}  // namespace vio::details
