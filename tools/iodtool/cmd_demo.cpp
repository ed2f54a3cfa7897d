// iodtool demo: shows the platform libraries at work (version, logging
// through a sink, a Kvl_AutoPtr ring, the session heap).
#include <Kvl/Kvl_AutoPtr.h>
#include <Kvl/Kvl_SingletonHeap.h>
#include <Kvl/Kvl_Version.h>
#include <KvlLog/Kvl_LogFile.h>

#include <cstdio>
#include <vector>

#include "Command.h"

namespace {

struct DemoObject {
    explicit DemoObject(const char* name) : name(name) { std::printf("  constructed %s\n", name); }
    ~DemoObject() { std::printf("  deleted %s\n", name); }
    const char* name;
};

int RunDemo(int argc, char** /*argv*/) {
    if (argc > 1) {
        std::fprintf(stderr, "usage: iodtool demo\n");
        return 2;
    }
    std::printf("IOD %s\n", Kvl_Version::GetVersionString());

    std::printf("\nlogging (maximum level 4; records at levels 2, 4 and 7):\n");
    std::vector<Kvl_LogRecord> records;
    const int previousLevel = KvlGLog.GetLevel();
    KvlGLog.SetLevel(4);
    KvlGLog.SetDefaultSink(false);  // the demo prints the records itself
    const int sink = KvlGLog.AddSink([&records](const Kvl_LogRecord& record) { records.push_back(record); });
    KVL_LOG("tools/iodtool/cmd_demo", "RunDemo", 2, 19, "Assertion Failed: <%s>, Aborting.\n", "demo");
    KVL_LOG("tools/iodtool/cmd_demo", "RunDemo", 4, 19, "File: %s Line: %d Attribute:%s not valid\n",
            "tools/iodtool/cmd_demo", __LINE__, "ROWS");
    KVL_LOG("tools/iodtool/cmd_demo", "RunDemo", 7, 719, "constructor 0x%x\n", 0x1234u);
    KvlGLog.RemoveSink(sink);
    KvlGLog.SetLevel(previousLevel);
    for (const Kvl_LogRecord& record : records) {
        std::printf("  L%d C%d %s:%d %s: %s\n", record.level, record.category, record.file.c_str(),
                    record.line, record.function.c_str(), record.text.c_str());
    }
    std::printf("  %zu of 3 records written\n", records.size());

    std::printf("\nKvl_AutoPtr ring:\n");
    {
        Kvl_AutoPtr<DemoObject> first(new DemoObject("object"));
        Kvl_AutoPtr<DemoObject> second = first;
        std::printf("  two pointers share %s, ring of %zu\n", second->name, second.ring_size());
        first.reset();
        std::printf("  first released, %s still alive, ring of %zu\n", second->name, second.ring_size());
        std::printf("  second goes out of scope:\n");
    }

    std::printf("\nsession heap (Kvl_SingletonHeap type 0):\n");
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
    void* block = heap->Allocate(100, "tools/iodtool/cmd_demo");
    std::printf("  allocated 100 bytes: %lld bytes in use\n", static_cast<long long>(heap->GetBytesInUse()));
    heap->Free(block, "tools/iodtool/cmd_demo");
    const Kvl_PrivateHeap::Stats stats = heap->GetStats();
    std::printf("  freed: %llu allocation(s), %llu free(s), %lld bytes in use\n",
                static_cast<unsigned long long>(stats.allocations),
                static_cast<unsigned long long>(stats.frees), static_cast<long long>(stats.bytesInUse));
    return 0;
}

}  // namespace

IODTOOL_COMMAND("demo", "demo", "Show the platform libraries at work (version, logging, Kvl_AutoPtr, heap).",
                RunDemo)
