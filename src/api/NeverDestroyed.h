#pragma once

#include <new>

namespace ovk {

/// An object that lives from its first use to the end of the process and is never destroyed, so that
/// threads and destructors that run while the process ends find it whole.
template <class T>
class NeverDestroyed {
  public:
    NeverDestroyed() { renew(); }
    ~NeverDestroyed() {}  // not the object's
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    /// Puts a new object into the old one's place, and leaves what that held as it is: for a forked
    /// child, whose copies of the parent's locks and threads are of no use.
    void renew() { ::new (static_cast<void*>(&object_)) T(); }

    T& operator*() { return object_; }
    T* operator->() { return &object_; }

  private:
    union {
        T object_;
    };
};

}  // namespace ovk
