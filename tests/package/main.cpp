// The package test's consumer: uses an installed IOD (headers, libraries,
// run paths) the way a user project does.
#include <IOD/IOD_Error.h>
#include <Kvl/Kvl_AutoPtr.h>
#include <Kvl/Kvl_SingletonHeap.h>
#include <Kvl/Kvl_Version.h>
#include <KvlLog/Kvl_LogFile.h>
#include <RW/RWCString.h>
#include <RW/RWTValOrderedVector.h>
#include <ThreadTools/ThreadAPI_LockGuard.h>

#if __has_include(<IOD/IOD_Msg.h>)
#include <IOD/IOD_Msg.h>  // the installed public headers are self-contained
#endif

#include <cstdio>
#include <cstdlib>

namespace {

int failures = 0;

void Check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "consumer: FAILED: %s\n", what);
        ++failures;
    }
}

}  // namespace

int main() {
    // Logging through KvlGLog and a sink.
    int matching = 0;
    KvlGLog.SetDefaultSink(false);
    KvlGLog.SetLevel(4);
    const int sink = KvlGLog.AddSink([&matching](const Kvl_LogRecord& record) {
        if (record.text == "hello 42" && record.level == 3 && record.category == 19) ++matching;
    });
    KVL_LOG("tests/package/main", "main", 3, 19, "hello %d\n", 42);
    KVL_LOG("tests/package/main", "main", 7, 19, "filtered %d\n", 7);
    KvlGLog.RemoveSink(sink);
    Check(matching == 1, "one record reached the sink");

    // Kvl_AutoPtr ring.
    Kvl_AutoPtr<RWCString> first(new RWCString("shared"));
    Kvl_AutoPtr<RWCString> second = first;
    Check(second.ring_size() == 2, "copies share a ring");
    first.reset();
    Check(*second == "shared", "the object outlives the first pointer");

    // IOD_Error.
    IOD_Error a;
    IOD_Error b;
    a = b;
    bool caught = false;
    try {
        throw IOD_Error();
    } catch (const IOD_Error&) {
        caught = true;
    }
    Check(caught, "IOD_Error is thrown and caught");

    // Collections, heap, threads.
    RWTValOrderedVector<int> values{1, 2, 3};
    bool bounds = false;
    try {
        (void)values[3];
    } catch (const RWBoundsErr&) {
        bounds = true;
    }
    Check(bounds, "RWBoundsErr on a bad index");
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
    void* block = heap->Allocate(16, "tests/package/main");
    heap->Free(block, "tests/package/main");
    Mutex mutex;
    { ThreadAPI_LockGuard guard(mutex); }

    char* version = Kvl_Version().ToText();
    std::printf("consumer %s: IOD %s\n", failures == 0 ? "OK" : "FAILED", version != nullptr ? version : "?");
    std::free(version);
    return failures == 0 ? 0 : 1;
}
