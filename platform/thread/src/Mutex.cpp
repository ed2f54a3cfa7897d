#include <ThreadTools/Mutex.h>

void Mutex::Lock() { mutex_.lock(); }

void Mutex::Unlock() { mutex_.unlock(); }

bool Mutex::TryLock() { return mutex_.try_lock(); }
