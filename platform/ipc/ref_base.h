// Reference-counted base of every object that crosses IPC, and its strong and weak pointers.
//
//     sptr<Thing> thing = MakeSptr<Thing>(1);
//     wptr<Thing> weak(thing);
//     if (sptr<Thing> alive = weak.promote()) { ... }
//
// Any thread may copy, drop and promote pointers to one object at the same time. An object is destroyed when its last
// strong pointer goes; weak pointers keep only the counter. An object on the stack must never be handed to an sptr, and
// one object is never held by an sptr and a std::shared_ptr together.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

#include "platform/export.h"

namespace ZYNE {

class RefBase;

// The counts of one object. Outlives the object while weak pointers exist.
class PLATFORM_API RefCounter {
public:
    explicit RefCounter(RefBase* object) : object_(object) {}

    void IncWeak();
    void DecWeak();
    void IncStrong();
    void DecStrong();
    // Takes a strong reference unless the last one is gone already.
    bool AttemptIncStrong();
    int32_t GetStrong() const;

private:
    ~RefCounter() = default;

    std::atomic<int32_t> strong_{0};
    std::atomic<int32_t> weak_{1};  // one for the object itself
    RefBase* object_;
};

class PLATFORM_API RefBase {
public:
    RefBase();
    // A copy starts with counts of its own.
    RefBase(const RefBase&);
    RefBase& operator=(const RefBase&);
    virtual ~RefBase();

    void IncStrongRef(const void* owner);
    void DecStrongRef(const void* owner);
    int32_t GetSptrRefCount() const;
    RefCounter* GetRefCounter() const { return counter_; }

    // Hooks of the counted life. The base class does nothing in them and lets every promotion through.
    virtual void RefPtrCallback();
    virtual void OnFirstStrongRef(const void* owner);
    virtual void OnLastStrongRef(const void* owner);
    virtual void OnLastWeakRef(const void* owner);
    virtual bool OnAttemptPromoted(const void* owner);

private:
    RefCounter* counter_;
};

template <typename T>
class wptr;

// Strong pointer.
template <typename T>
class sptr {
public:
    sptr() = default;
    sptr(std::nullptr_t) {}
    // Takes a share of `object`, which may be null.
    sptr(T* object) : object_(object) { Acquire(); }
    sptr(const sptr& other) : object_(other.object_) { Acquire(); }
    sptr(sptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    sptr(const sptr<U>& other) : object_(other.GetRefPtr()) {
        Acquire();
    }
    ~sptr() { Release(); }

    sptr& operator=(sptr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }

    T* GetRefPtr() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

    friend bool operator==(const sptr& a, const sptr& b) { return a.object_ == b.object_; }
    friend bool operator==(const sptr& a, std::nullptr_t) { return a.object_ == nullptr; }

private:
    friend class wptr<T>;
    struct Adopt {};
    sptr(T* counted, Adopt) : object_(counted) {}

    void Acquire() {
        if (object_ != nullptr) {
            object_->IncStrongRef(this);
        }
    }
    void Release() {
        if (object_ != nullptr) {
            std::exchange(object_, nullptr)->DecStrongRef(this);
        }
    }

    T* object_ = nullptr;
};

// Weak pointer.
template <typename T>
class wptr {
public:
    wptr() = default;
    wptr(std::nullptr_t) {}
    wptr(T* object) : object_(object), counter_(object != nullptr ? object->GetRefCounter() : nullptr) { Acquire(); }
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    wptr(const sptr<U>& strong) : wptr(static_cast<T*>(strong.GetRefPtr())) {}
    wptr(const wptr& other) : object_(other.object_), counter_(other.counter_) { Acquire(); }
    wptr(wptr&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)), counter_(std::exchange(other.counter_, nullptr)) {}
    ~wptr() {
        if (counter_ != nullptr) {
            counter_->DecWeak();
        }
    }

    wptr& operator=(wptr other) noexcept {
        std::swap(object_, other.object_);
        std::swap(counter_, other.counter_);
        return *this;
    }

    // A strong pointer, or null when the object is gone.
    sptr<T> promote() const {
        if (counter_ == nullptr || !counter_->AttemptIncStrong()) {
            return nullptr;
        }
        return sptr<T>(object_, typename sptr<T>::Adopt{});
    }

    // Whether both were made from the same object, gone or not.
    friend bool operator==(const wptr& a, const wptr& b) { return a.counter_ == b.counter_; }

private:
    void Acquire() {
        if (counter_ != nullptr) {
            counter_->IncWeak();
        }
    }

    T* object_ = nullptr;  // never dereferenced without a promotion
    RefCounter* counter_ = nullptr;
};

// A new T under a strong pointer; null when memory is out, be it for the object, its counts or its members.
template <typename T, typename... Args>
sptr<T> MakeSptr(Args&&... args) {
    try {
        return sptr<T>(new (std::nothrow) T(std::forward<Args>(args)...));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace ZYNE
