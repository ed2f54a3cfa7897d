// Kvl_AssertFailed: see KvlLog/Kvl_Assert.h.
#include <KvlLog/Kvl_Assert.h>
#include <KvlLog/Kvl_LogFile.h>

#include <cstdio>
#include <cstdlib>

void Kvl_AssertFailed(const char* condition, const char* file, const char* function, int line, int category) {
    if (!condition) condition = "";
    if (!file) file = "";
    if (!function) function = "";
    if (KvlGLog.StoreParams(file, function, line, 2, category, 1))
        KvlGLog.Log("Assertion Failed: <%s>, Aborting.\n", condition);
    std::fprintf(stderr, "Assertion Failed: <%s> , file <%s>, line <%d>.\n", condition, file, line);
    std::fflush(stderr);
    std::abort();
}
