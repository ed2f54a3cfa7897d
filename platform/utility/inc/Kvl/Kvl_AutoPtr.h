// Kvl/Kvl_AutoPtr.h: the owning smart pointer of the KVL utility library.
//
// All Kvl_AutoPtr objects that point at one object form a ring (a circular
// doubly linked list). Copying a pointer joins the copy to the source's ring;
// the object lives until the last owning member of the ring lets it go.
//
//   Kvl_AutoPtr<IOD_Msg> a(new IOD_Msg);   // owns (mode 0)
//   Kvl_AutoPtr<IOD_Msg> b = a;            // ring {a, b}
//   a.reset();                             // leaves the ring; object alive
//   // b's destructor deletes the object (b is alone and owns it)
//
//   Kvl_AutoPtr<IOD_Msg> view(&msg, Kvl_AutoPtr<IOD_Msg>::DoesNotOwn);  // mode 1: never deletes
//
// Release (destructor, assignment, reset): if this pointer is the only one in
// its ring and its ownership mode is not 1, the object is deleted (with
// `delete`, through a virtual destructor where T has one); in every case the
// pointer leaves its ring (its neighbours are linked to each other) and
// becomes a null ring of one. A copy takes the source's ownership mode.
//
// release() hands the object to the caller: the whole ring gives up
// ownership (every other member is switched to mode 1 and keeps pointing at
// the object without ever deleting it); this pointer becomes null.
//
// Moving a pointer puts the target into the source's ring and takes the
// source out of it (the source becomes null); nothing is deleted.
//
// Not thread-safe: the members of one ring must be used by one thread at a
// time (copying a pointer changes its ring neighbours).
//
// Kvl_AutoPtrBasicType<T> holds the state (in this order: T* object; next and
// previous ring links; int ownership mode) and the ring operations;
// Kvl_AutoPtr<T> adds the pointer-like operators.
#pragma once

#include <cstddef>
#include <utility>

template <class T>
class Kvl_AutoPtrBasicType {
public:
    using element_type = T;

    // Ownership modes.
    static constexpr int Owns = 0;        // the last owning pointer of the ring deletes the object
    static constexpr int DoesNotOwn = 1;  // this pointer never deletes the object

    Kvl_AutoPtrBasicType() noexcept : object_(nullptr), next_(this), prev_(this), mode_(Owns) {}
    explicit Kvl_AutoPtrBasicType(T* object, int mode = Owns) noexcept
        : object_(object), next_(this), prev_(this), mode_(mode) {}
    Kvl_AutoPtrBasicType(const Kvl_AutoPtrBasicType& other) noexcept
        : object_(nullptr), next_(this), prev_(this), mode_(Owns) {
        join(other);
    }
    Kvl_AutoPtrBasicType(Kvl_AutoPtrBasicType&& other) noexcept
        : object_(nullptr), next_(this), prev_(this), mode_(Owns) {
        join(other);
        other.leave();
    }
    ~Kvl_AutoPtrBasicType() { drop(); }

    // Assignment releases the current object, then joins `other`'s ring.
    // (The new ring is entered through a temporary first, so that `other` may
    // live inside the object being released.)
    Kvl_AutoPtrBasicType& operator=(const Kvl_AutoPtrBasicType& other) {
        if (this != &other) {
            Kvl_AutoPtrBasicType keep(other);
            drop();
            join(keep);
        }
        return *this;
    }
    Kvl_AutoPtrBasicType& operator=(Kvl_AutoPtrBasicType&& other) {
        if (this != &other) {
            Kvl_AutoPtrBasicType keep(std::move(other));
            drop();
            join(keep);
        }
        return *this;
    }

    T* get() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // The ownership mode of this pointer (Owns or DoesNotOwn).
    int mode() const noexcept { return mode_; }

    // Releases the current object (see the header comment) and takes `object`
    // with ownership `mode` in a new ring of one. reset(get()) changes nothing.
    void reset(T* object = nullptr, int mode = Owns) {
        if (object != nullptr && object == object_) return;
        drop();
        object_ = object;
        mode_ = mode;
    }

    // Hands the object to the caller: every other pointer of the ring is
    // switched to DoesNotOwn, this one leaves the ring and becomes null.
    T* release() noexcept {
        T* object = object_;
        for (Kvl_AutoPtrBasicType* p = next_; p != this; p = p->next_) p->mode_ = DoesNotOwn;
        leave();
        return object;
    }

    // Number of pointers in this pointer's ring (1 when alone).
    std::size_t ring_size() const noexcept {
        std::size_t n = 1;
        for (const Kvl_AutoPtrBasicType* p = next_; p != this; p = p->next_) ++n;
        return n;
    }
    // True when this pointer is alone in its ring.
    bool unique() const noexcept { return next_ == this; }

private:
    // Joins `other`'s ring (and takes its object and mode). Precondition:
    // this pointer is a null ring of one.
    void join(const Kvl_AutoPtrBasicType& other) noexcept {
        object_ = other.object_;
        mode_ = other.mode_;
        if (object_ == nullptr) return;  // null pointers do not share rings
        next_ = other.next_;
        prev_ = const_cast<Kvl_AutoPtrBasicType*>(&other);
        other.next_->prev_ = this;
        other.next_ = this;
    }

    // Leaves the ring without deleting anything; becomes null.
    void leave() noexcept {
        prev_->next_ = next_;
        next_->prev_ = prev_;
        next_ = this;
        prev_ = this;
        object_ = nullptr;
    }

    // The release step: delete when alone and owning, then leave the ring.
    void drop() {
        static_assert(sizeof(T) > 0, "Kvl_AutoPtr needs a complete type to delete its object");
        T* object = object_;
        const bool last_owner = next_ == this && mode_ != DoesNotOwn;
        leave();
        if (last_owner) delete object;
    }

    T* object_;
    mutable Kvl_AutoPtrBasicType* next_;
    mutable Kvl_AutoPtrBasicType* prev_;
    int mode_;
};

template <class T>
class Kvl_AutoPtr : public Kvl_AutoPtrBasicType<T> {
public:
    using Kvl_AutoPtrBasicType<T>::Kvl_AutoPtrBasicType;

    Kvl_AutoPtr() noexcept = default;
    Kvl_AutoPtr(const Kvl_AutoPtr&) noexcept = default;
    Kvl_AutoPtr(Kvl_AutoPtr&&) noexcept = default;
    Kvl_AutoPtr& operator=(const Kvl_AutoPtr&) = default;
    Kvl_AutoPtr& operator=(Kvl_AutoPtr&&) = default;
    ~Kvl_AutoPtr() = default;

    T* operator->() const noexcept { return this->get(); }
    T& operator*() const noexcept { return *this->get(); }

    friend bool operator==(const Kvl_AutoPtr& a, const Kvl_AutoPtr& b) noexcept { return a.get() == b.get(); }
    friend bool operator==(const Kvl_AutoPtr& a, std::nullptr_t) noexcept { return a.get() == nullptr; }
};
