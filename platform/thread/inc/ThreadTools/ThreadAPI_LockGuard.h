// ThreadTools/ThreadAPI_LockGuard.h: RAII lock of a ThreadTools Mutex.
//
//   static Mutex mutex;
//   {
//       ThreadAPI_LockGuard guard(mutex);   // Lock()
//       ...
//   }                                       // Unlock()
#pragma once

#include <ThreadTools/Mutex.h>

class ThreadAPI_LockGuard {
public:
    explicit ThreadAPI_LockGuard(Mutex& mutex) : mutex_(mutex) { mutex_.Lock(); }
    ~ThreadAPI_LockGuard() { mutex_.Unlock(); }
    ThreadAPI_LockGuard(const ThreadAPI_LockGuard&) = delete;
    ThreadAPI_LockGuard& operator=(const ThreadAPI_LockGuard&) = delete;

private:
    Mutex& mutex_;
};
