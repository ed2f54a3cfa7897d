// IOD_SessionHeapMsg: a message whose own storage comes from the per-session private heap
// (Kvl_SingletonHeap heap type 0) instead of the process heap.
//
// A session-heap message must be deleted while its heap exists, and always with delete on the
// message (which returns the memory to the private heap), never with the global delete.
#pragma once

#include <IOD/IOD_Error.h>
#include <IOD/IOD_Msg.h>

#include <cstddef>

class IOD_SessionHeapMsg : public IOD_Msg {
public:
    // Parses `buffer` (transfer syntax detected from the buffer). Note the argument order:
    // status before source, unlike the IOD_Msg constructors.
    IOD_SessionHeapMsg(void* buffer, unsigned int length, int copy, int* status,
                       Dicom_SwapInfo::msg_source source);
    ~IOD_SessionHeapMsg() override;

    static void* operator new(std::size_t size);
    static void operator delete(void* pointer);
    static void* operator new[](std::size_t size);
    static void operator delete[](void* pointer);
};
