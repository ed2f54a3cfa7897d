// ThreadTools/Mutex.h: a non-recursive mutex (the ThreadTools Mutex).
//
//   Mutex m;
//   m.Lock(); ... m.Unlock();
//   if (m.TryLock()) { ... m.Unlock(); }
//
// Prefer the RAII guard ThreadAPI_LockGuard (ThreadTools/ThreadAPI_LockGuard.h).
// Locking a Mutex twice from one thread, or unlocking one the thread does not
// hold, is undefined (as for std::mutex). Not copyable, not movable.
#pragma once

#include <mutex>

class Mutex {
public:
    Mutex() noexcept = default;
    ~Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // Blocks until the calling thread holds the mutex.
    void Lock();
    // Releases the mutex held by the calling thread.
    void Unlock();
    // Takes the mutex if it is free; true when taken.
    bool TryLock();

private:
    std::mutex mutex_;
};
