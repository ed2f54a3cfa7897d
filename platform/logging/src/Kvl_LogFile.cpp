#include <KvlLog/Kvl_LogFile.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

Kvl_LogFile KvlGLog;

namespace {

constexpr int kDefaultLevel = 4;

using Sink = std::function<void(const Kvl_LogRecord&)>;

std::atomic<std::uint64_t> g_nextLogId{1};

// The record a thread has opened with StoreParams and not yet completed.
struct PendingRecord {
    std::uint64_t owner = 0;  // id of the Kvl_LogFile that opened it; 0: none open
    Kvl_LogRecord record{};
};

thread_local PendingRecord t_pending;

int LevelFromEnvironment() {
    const char* text = std::getenv("IOD_LOG_LEVEL");
    if (text == nullptr || *text == '\0') return kDefaultLevel;
    char* end = nullptr;
    errno = 0;
    long value = std::strtol(text, &end, 10);
    while (end != nullptr && (*end == ' ' || *end == '\t')) ++end;
    if (errno != 0 || end == text || end == nullptr || *end != '\0' || value < -1000000 || value > 1000000) {
        return kDefaultLevel;
    }
    return static_cast<int>(value);
}

KVL_LOG_PRINTF_FORMAT(1, 0) std::string FormatText(const char* format, va_list args) {
    char buffer[512];
    va_list copy;
    va_copy(copy, args);
    int needed = std::vsnprintf(buffer, sizeof buffer, format, copy);
    va_end(copy);
    if (needed < 0) return std::string("<log format error>");
    if (static_cast<size_t>(needed) < sizeof buffer) return std::string(buffer, static_cast<size_t>(needed));
    std::string text(static_cast<size_t>(needed) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, args);
    text.resize(static_cast<size_t>(needed));
    return text;
}

void StripTrailingNewlines(std::string& text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
}

}  // namespace

struct Kvl_LogFile::Impl {
    std::uint64_t id = g_nextLogId.fetch_add(1);
    std::recursive_mutex mutex;  // serialises delivery and guards the fields below
    std::vector<std::pair<int, std::shared_ptr<const Sink>>> sinks;
    int nextHandle = 1;
    bool defaultSink = true;
    std::FILE* out = stderr;  // owned when != stderr

    Impl() {
        const char* path = std::getenv("IOD_LOG_FILE");
        if (path != nullptr && *path != '\0') {
            std::FILE* file = std::fopen(path, "a");
            if (file != nullptr) {
                out = file;
            } else {
                std::fprintf(stderr, "Kvl_LogFile: cannot open IOD_LOG_FILE '%s' (%s); logging to stderr\n",
                             path, std::strerror(errno));
            }
        }
    }
    ~Impl() {
        if (out != stderr) std::fclose(out);
    }

    void WriteDefault(const Kvl_LogRecord& record) {
        using namespace std::chrono;
        const auto now = system_clock::now();
        const std::time_t seconds = system_clock::to_time_t(now);
        const auto millis = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
        std::tm local{};
        localtime_r(&seconds, &local);
        char stamp[32];
        std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);

        std::string line;
        line.reserve(96 + record.file.size() + record.function.size() + record.text.size());
        char head[96];
        std::snprintf(head, sizeof head, "%s.%03d L%d C%d ", stamp, static_cast<int>(millis), record.level,
                      record.category);
        line += head;
        line += record.file;
        line += ':';
        line += std::to_string(record.line);
        line += ' ';
        line += record.function;
        line += ": ";
        for (char c : record.text) {  // one line per record
            if (c == '\n') {
                line += " | ";
            } else if (c != '\r') {
                line += c;
            }
        }
        line += '\n';
        std::fwrite(line.data(), 1, line.size(), out);
        std::fflush(out);
    }

    void Deliver(const Kvl_LogRecord& record) {
        std::lock_guard<std::recursive_mutex> lock(mutex);
        const auto current = sinks;  // a sink may add or remove sinks while we iterate
        for (const auto& entry : current) {
            try {
                (*entry.second)(record);
            } catch (...) {
                // A sink's failure must not reach the code that logs.
            }
        }
        if (defaultSink) WriteDefault(record);
    }
};

Kvl_LogFile::Kvl_LogFile() : level_(LevelFromEnvironment()), impl_(new Impl) {}

Kvl_LogFile::~Kvl_LogFile() {
    // Late log calls (e.g. from static destructors that run after this one)
    // are filtered out instead of touching freed state.
    level_.store(-1000000000, std::memory_order_relaxed);
    Impl* impl = impl_;
    impl_ = nullptr;
    delete impl;
}

int Kvl_LogFile::open_record(const char* file, const char* function, int line, int level, int category,
                             int /*flag*/) {
    if (impl_ == nullptr) return 0;
    PendingRecord& pending = t_pending;
    pending.owner = impl_->id;
    pending.record.file = file != nullptr ? file : "";
    pending.record.function = function != nullptr ? function : "";
    pending.record.line = line;
    pending.record.level = level;
    pending.record.category = category;
    pending.record.text.clear();
    return 1;
}

void Kvl_LogFile::Log(const char* format, ...) {
    if (impl_ == nullptr) return;
    PendingRecord& pending = t_pending;
    if (pending.owner != impl_->id) return;  // no record open on this object
    pending.owner = 0;
    // Move the record out: a sink that logs opens a new record on this thread.
    Kvl_LogRecord record = std::move(pending.record);
    pending.record = Kvl_LogRecord{};
    if (format != nullptr) {
        va_list args;
        va_start(args, format);
        record.text = FormatText(format, args);
        va_end(args);
    }
    StripTrailingNewlines(record.text);
    impl_->Deliver(record);
}

int Kvl_LogFile::AddSink(std::function<void(const Kvl_LogRecord&)> sink) {
    if (!sink) return 0;
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    const int handle = impl_->nextHandle++;
    impl_->sinks.emplace_back(handle, std::make_shared<const Sink>(std::move(sink)));
    return handle;
}

void Kvl_LogFile::RemoveSink(int handle) {
    // Taking the delivery lock also waits for a delivery running on another
    // thread, so the sink is not called once this returns.
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    auto& sinks = impl_->sinks;
    for (auto it = sinks.begin(); it != sinks.end(); ++it) {
        if (it->first == handle) {
            sinks.erase(it);
            return;
        }
    }
}

void Kvl_LogFile::SetDefaultSink(bool on) {
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    impl_->defaultSink = on;
}
