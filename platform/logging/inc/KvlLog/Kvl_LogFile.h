// KvlLog/Kvl_LogFile.h: the process-wide log object KvlGLog.
//
// A log site first opens a record with StoreParams and, only if that returns
// non-zero, completes it with a printf-style Log call:
//
//   if (KvlGLog.StoreParams("src/IOD/IOD_Image", "IOD_Image::IsImagePixelModuleValid",
//                           __LINE__, 4, 19, 1))
//       KvlGLog.Log("Attribute %s not valid\n", "ROWS");
//
// or, the same in one line, KVL_LOG("src/IOD/IOD_Image", "IOD_Image::...", 4, 19, "...\n", ...).
//
// Levels: a record is written when its level is <= the maximum level
// (SetLevel/GetLevel; default 4, or the integer in the environment variable
// IOD_LOG_LEVEL when the object is constructed). The IOD convention: 2
// assertion, 3 failure that changes a result, 4 validation defect, 6 missing
// attribute or policy decision, 7 trace.
//
// Records: a written record (Kvl_LogRecord; its text is the formatted
// message without trailing newlines) reaches every sink added with AddSink,
// whole, and the default sink, which writes one line per record to stderr,
// or, when the environment variable IOD_LOG_FILE names a file that can be
// opened for appending, to that file:
//   2025-01-31 14:02:03.123 L4 C19 src/IOD/IOD_Image:321 IOD_Image::IsValid: text
// (newlines inside the text are written as " | "). SetDefaultSink(false)
// turns the default sink off.
//
// Threads: all members may be called from any thread. Each thread has at most
// one open record, the one its last StoreParams opened; Log completes and
// closes it, if it was opened on the same log object. Records of different
// threads never mix: the sinks are called for one record at a time, in the
// order in which the records were completed. A sink may itself log (its record
// is delivered at once, on the same thread, before the outer delivery goes on)
// and may add or remove sinks; it must not wait for another thread that is
// logging. Exceptions thrown by a sink are caught and dropped.
//
// Cost: StoreParams for a level that is filtered out is one relaxed atomic
// load and a compare. Call Log only after StoreParams returned non-zero; a Log
// call without an open record writes nothing.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#if defined(__GNUC__) || defined(__clang__)
#define KVL_LOG_PRINTF_FORMAT(fmt_index, first_arg) __attribute__((format(printf, fmt_index, first_arg)))
#else
#define KVL_LOG_PRINTF_FORMAT(fmt_index, first_arg)
#endif

// One written record, as handed to the sinks.
struct Kvl_LogRecord {
    std::string file;      // source location given to StoreParams, e.g. "src/IOD/IOD_Image"
    std::string function;  // qualified function name, e.g. "IOD_Image::IsImagePixelModuleValid"
    int line;
    int level;
    int category;      // 19 for the IOD library, 719 for its constructor/destructor traces
    std::string text;  // the formatted message, without trailing newlines
};

class Kvl_LogFile {
public:
    // Reads IOD_LOG_LEVEL and IOD_LOG_FILE from the environment.
    Kvl_LogFile();
    ~Kvl_LogFile();
    Kvl_LogFile(const Kvl_LogFile&) = delete;
    Kvl_LogFile& operator=(const Kvl_LogFile&) = delete;

    // Opens a record for the calling thread. Returns non-zero when a record of
    // this level is to be written (level <= GetLevel()), 0 otherwise. The
    // strings are copied. `flag` is accepted for compatibility and not used.
    int StoreParams(const char* file, const char* function, int line, int level, int category, int flag) {
        if (level > level_.load(std::memory_order_relaxed)) return 0;
        return open_record(file, function, line, level, category, flag);
    }

    // Formats the text of the calling thread's open record, delivers the
    // record to the sinks and closes it.
    void Log(const char* format, ...) KVL_LOG_PRINTF_FORMAT(2, 3);

    // Records with a level above maxLevel are not written.
    void SetLevel(int maxLevel) { level_.store(maxLevel, std::memory_order_relaxed); }
    int GetLevel() const { return level_.load(std::memory_order_relaxed); }

    // Adds a sink; returns a handle (> 0) for RemoveSink, or 0 for an empty function.
    int AddSink(std::function<void(const Kvl_LogRecord&)> sink);
    // Removes a sink; unknown handles are ignored. Once RemoveSink has
    // returned, the sink is not called again (except by a delivery already
    // running on the calling thread, i.e. when a sink removes a sink).
    void RemoveSink(int handle);
    // Turns the default sink (stderr or IOD_LOG_FILE) on or off; on at start.
    void SetDefaultSink(bool on);

private:
    struct Impl;
    int open_record(const char* file, const char* function, int line, int level, int category, int flag);

    std::atomic<int> level_;
    Impl* impl_;
};

// The process-wide log object.
extern Kvl_LogFile KvlGLog;

// KVL_LOG(file, function, level, category, format, ...): one log site on KvlGLog.
#define KVL_LOG(file, function, level, category, ...)                                    \
    do {                                                                                 \
        if (KvlGLog.StoreParams((file), (function), __LINE__, (level), (category), 1)) { \
            KvlGLog.Log(__VA_ARGS__);                                                    \
        }                                                                                \
    } while (0)
