// The package test's consumer: uses an installed IOD (headers, libraries, run paths) the way a
// user project does, one call into each library.
#include <IOD/IOD_Msg.h>
#include <Kvl/Kvl_AutoPtr.h>
#include <Kvl/Kvl_SingletonHeap.h>
#include <Kvl/Kvl_Version.h>
#include <KvlLog/Kvl_LogFile.h>
#include <RW/RWCString.h>
#include <ThreadTools/ThreadAPI_LockGuard.h>

#include <cstdio>
#include <cstdlib>

int main() {
    int failures = 0;
    auto check = [&failures](bool ok, const char* what) {
        if (!ok) std::fprintf(stderr, "consumer: FAILED: %s\n", what), ++failures;
    };
    int matching = 0;
    KvlGLog.SetDefaultSink(false);
    KvlGLog.SetLevel(4);
    KvlGLog.AddSink(
        [&matching](const Kvl_LogRecord& r) { matching += r.text == "hello 42" && r.level == 3; });
    KVL_LOG("tests/package/main", "main", 3, 19, "hello %d\n", 42);
    KVL_LOG("tests/package/main", "main", 7, 19, "filtered %d\n", 7);
    check(matching == 1, "one record reached the sink");

    Kvl_AutoPtr<IOD_Msg> msg(new IOD_Msg);
    Kvl_AutoPtr<IOD_Msg> copy = msg;
    msg.reset();
    check(copy && copy.unique(), "the message outlives the first pointer");
    check(RWCString("MONOCHROME2").index("CHROME") == 4, "RWCString::index");
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
    heap->Free(heap->Allocate(16, "tests/package/main"), "tests/package/main");
    Mutex mutex;
    { ThreadAPI_LockGuard guard(mutex); }

    char* version = Kvl_Version().ToText();
    std::printf("consumer %s: IOD %s\n", failures == 0 ? "OK" : "FAILED", version != nullptr ? version : "?");
    std::free(version);
    return failures == 0 ? 0 : 1;
}
