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
class const_visitors : public Base, public const_visitor<Ts>... {
public:
    using Base::Base;
};

/// The classes that a visitor knows, in order.
template <class... Ts>
struct class_list {};

/// Answers a visit with Visitor::visited(object), an overloaded function or a template.
template <class Visitor, class T>
class forwarding_visitor : public visitor<T> {
    void visit(T& object) final { static_cast<Visitor&>(*this).visited(object); }
};

template <class Visitor, class T>
class const_forwarding_visitor : public const_visitor<T> {
    void visit(const T& object) final { static_cast<Visitor&>(*this).visited(object); }
};

/// A Base that visits the classes of a list through Visitor::visited, one base each, in this order.
template <class Visitor, class Base, class List>
class reading_visitor;
template <class Visitor, class Base, class... Ts>
class reading_visitor<Visitor, Base, class_list<Ts...>> : public Base, public forwarding_visitor<Visitor, Ts>... {
public:
    using Base::Base;
};

template <class Visitor, class Base, class List>
class writing_visitor;
template <class Visitor, class Base, class... Ts>
class writing_visitor<Visitor, Base, class_list<Ts...>> : public Base, public const_forwarding_visitor<Visitor, Ts>... {
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
