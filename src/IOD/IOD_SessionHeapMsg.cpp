// IOD_SessionHeapMsg: construction over a buffer and allocation on the private heap.
#include <IOD/IOD_SessionHeapMsg.h>
#include <Kvl/Kvl_SingletonHeap.h>

namespace {

// A default-constructed transfer syntax: the parser detects the syntax from the buffer.
const Dicom_TransferSyntax detect_transfer_syntax;

// The heap calls are labelled with the header that declares the class.
constexpr const char* heap_site = "inc/IOD/IOD_Msg";

Kvl_PrivateHeap* session_heap() { return Kvl_SingletonHeap::GetInstance(static_cast<Kvl_HeapType>(0)); }

}  // namespace

// The IOD_Msg part is an empty message (with its constructor trace); the buffer is then parsed
// into it. If parsing throws, the IOD_Msg part is destroyed before the exception leaves.
IOD_SessionHeapMsg::IOD_SessionHeapMsg(void* buffer, unsigned int length, int copy, int* status,
                                       Dicom_SwapInfo::msg_source source)
    : IOD_Msg() {
    m_parseFlags = 0;
    unsigned long long consumed = 0;
    ConstructFromBuffer(buffer, static_cast<unsigned long long>(length), copy, &consumed,
                        detect_transfer_syntax, source, status, false, false, nullptr);
}

IOD_SessionHeapMsg::~IOD_SessionHeapMsg() = default;

void* IOD_SessionHeapMsg::operator new(std::size_t size) { return session_heap()->Allocate(size, heap_site); }

void* IOD_SessionHeapMsg::operator new[](std::size_t size) {
    return session_heap()->AllocateArray(size, heap_site);
}

// operator delete is noexcept: an exception while giving memory back ends the process.
void IOD_SessionHeapMsg::operator delete(void* pointer) { session_heap()->Free(pointer, heap_site); }

void IOD_SessionHeapMsg::operator delete[](void* pointer) { session_heap()->FreeArray(pointer, heap_site); }
