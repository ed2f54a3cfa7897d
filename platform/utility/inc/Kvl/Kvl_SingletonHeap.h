// Kvl/Kvl_SingletonHeap.h: the process-wide private heaps, one per heap type.
//
//   Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);  // type 0
//
// The heaps are created on first use (thread-safe) and live until the
// process ends (they are never destroyed, so memory may be freed into them
// from static destructors).
#pragma once

#include <Kvl/Kvl_PrivateHeap.h>

enum Kvl_HeapType {
    Kvl_SessionHeap = 0,  // the per-session heap of IOD_SessionHeapMsg
    Kvl_GeneralHeap = 1,  // a second heap for general use
    Kvl_HeapTypeCount     // number of heap types; not a heap type
};

class Kvl_SingletonHeap {
public:
    // The heap of `type`; null for a value that is not a heap type.
    static Kvl_PrivateHeap* GetInstance(Kvl_HeapType type) noexcept;

    Kvl_SingletonHeap() = delete;
};
