// nubase/refcount.hpp - intrusive, atomically counted objects and the pointer that owns them.
//
// `object_refcount` is the base of objects whose lifetime is shared by counting references (the
// call queue's objects are one kind). A new object's count is 0: its first owner retains it.
// `ptr_refcount<T>` does that bookkeeping for containers and hand-offs between threads:
//
//   struct job : nubase::object_refcount { ... };
//   nubase::ptr_refcount<job> p(new job);   // count 1
//   auto q = p;                              // count 2, on any thread
//   // the last pointer to go deletes the job through its virtual destructor
#ifndef NUBASE_REFCOUNT_HPP
#define NUBASE_REFCOUNT_HPP

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "nubase/config.hpp"

namespace nubase {

// Counting is not a change of the object's logical value, so every counting operation is const.
// `retain`, `release` and `drop` may run on any threads at once; the object's other data is not
// protected by this class.
class NUBASE_API object_refcount {
  public:
    object_refcount() noexcept : m_count(0) {}
    // A copy is a new object: its count starts at 0.
    object_refcount(const object_refcount&) noexcept : m_count(0) {}
    // Assignment copies the value, never the count.
    object_refcount& operator=(const object_refcount&) noexcept { return *this; }
    virtual ~object_refcount();

    // The current count.
    std::int32_t refcount() const noexcept { return m_count.load(std::memory_order_acquire); }

    // Adds one reference.
    void retain() const noexcept { m_count.fetch_add(1, std::memory_order_relaxed); }

    // Removes one reference; the call that brings the count to 0 deletes the object through its
    // virtual destructor. Releasing an object whose count is already 0 is a caller's error.
    void release() const noexcept {
        if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

    // Removes one reference without deleting: returns this object when the count is now 0 (the
    // caller owns it and deletes it), otherwise null.
    [[nodiscard]] object_refcount* drop() const noexcept {
        if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            return const_cast<object_refcount*>(this);
        }
        return nullptr;
    }

  private:
    mutable std::atomic<std::int32_t> m_count;
};

// The owning pointer: holds one reference to a T (derived from object_refcount), or null.
// Construction from a pointer and copying retain; destruction releases. Assignment retains the
// new object before releasing the old one, so self-assignment is safe. Moving hands the
// reference over without touching the count and leaves the source null.
template <class T>
class ptr_refcount {
  public:
    ptr_refcount(T* a_object = nullptr) noexcept : m_object(a_object) {  // NOLINT: implicit
        if (m_object) m_object->retain();
    }
    ptr_refcount(const ptr_refcount& a_other) noexcept : ptr_refcount(a_other.m_object) {}
    ptr_refcount(ptr_refcount&& a_other) noexcept : m_object(a_other.detach()) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    ptr_refcount(ptr_refcount<U>&& a_other) noexcept  // NOLINT: implicit like T* from U*
        : m_object(a_other.detach()) {}
    ptr_refcount& operator=(ptr_refcount&& a_other) noexcept {
        if (&a_other == this) return *this;
        T* const l_old = m_object;
        m_object = a_other.detach();
        if (l_old) l_old->release();
        return *this;
    }
    // From a pointer to a derived class: `ptr_refcount<callqueue_object> p = job;`.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    ptr_refcount(const ptr_refcount<U>& a_other) noexcept  // NOLINT: implicit like T* from U*
        : ptr_refcount(static_cast<T*>(a_other.get())) {}
    ptr_refcount& operator=(const ptr_refcount& a_other) noexcept {
        if (a_other.m_object) a_other.m_object->retain();
        if (m_object) m_object->release();
        m_object = a_other.m_object;
        return *this;
    }
    ~ptr_refcount() {
        if (m_object) m_object->release();
    }

    // Gives up the reference without releasing it: returns the object (or null) and leaves
    // this pointer null. The caller now owns that reference and must release it.
    [[nodiscard]] T* detach() noexcept {
        T* const l_object = m_object;
        m_object = nullptr;
        return l_object;
    }

    T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

  private:
    T* m_object;
};

}  // namespace nubase

#endif  // NUBASE_REFCOUNT_HPP
