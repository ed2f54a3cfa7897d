// KvlLog/Kvl_Assert.h: the assertion of the logging convention.
//
// A failed assertion first writes a level-2 record on KvlGLog (through StoreParams with the
// site's source file, function, line and category):
//   Assertion Failed: <condition>, Aborting.
// then prints the report line on stderr:
//   Assertion Failed: <condition> , file <source file>, line <line>.
// and aborts the process. The condition text is the expression as written at the site.
//
//   KVL_ASSERT(count > 0, "src/IOD/IOD_Image", "IOD_Image::Scale", 19);
//
// or, for a site that reports a fixed text (an operation a class does not support):
//   Kvl_AssertFailed("FALSE && \"GetElement: not supported\"", "inc/IOD/IOD_Complex",
//                    "IOD_Complex::GetElement", __LINE__, 19);
#pragma once

// Logs, reports and aborts as described above. Never returns.
[[noreturn]] void Kvl_AssertFailed(const char* condition, const char* file, const char* function, int line,
                                   int category);

// KVL_ASSERT(condition, file, function, category): fails the assertion when `condition` is false.
#define KVL_ASSERT(condition, file, function, category)                                           \
    do {                                                                                          \
        if (!(condition)) Kvl_AssertFailed(#condition, (file), (function), __LINE__, (category)); \
    } while (0)
