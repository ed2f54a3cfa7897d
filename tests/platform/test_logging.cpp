// The log object: level filter and its default, records through sinks (fields, text, order,
// threads), sink management and the default sink's file line.
#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

// Collects the records a sink receives.
struct Collector {
    std::mutex mutex;
    std::vector<Kvl_LogRecord> records;
    std::function<void(const Kvl_LogRecord&)> Sink() {
        return [this](const Kvl_LogRecord& record) {
            std::lock_guard<std::mutex> lock(mutex);
            records.push_back(record);
        };
    }
    std::string Texts() {
        std::string out;
        for (const Kvl_LogRecord& r : records) out += r.text + ";";
        return out;
    }
};

// A log object of its own, quiet on stderr, with a collector attached.
class LoggingTest : public ::testing::Test {
protected:
    void SetUp() override {
        log.SetDefaultSink(false);
        log.SetLevel(4);
        log.AddSink(collector.Sink());
    }
    void Write(const char* text, int level = 4) {
        if (log.StoreParams("f", "fn", 1, level, 19, 1)) log.Log("%s\n", text);
    }
    Kvl_LogFile log;
    Collector collector;
};

TEST_F(LoggingTest, LevelComesFromTheEnvironmentOrIsFour) {
    const char* saved = std::getenv("IOD_LOG_LEVEL");
    const std::string keep = saved ? saved : "";
    struct Case {
        const char* value;  // null: unset
        int level;
    } cases[] = {{nullptr, 4}, {"", 4}, {"7", 7}, {" -2", -2}, {"7 ", 7}, {"not-a-number", 4}, {"5x", 4}};
    for (const Case& c : cases) {
        c.value ? ::setenv("IOD_LOG_LEVEL", c.value, 1) : ::unsetenv("IOD_LOG_LEVEL");
        EXPECT_EQ(Kvl_LogFile().GetLevel(), c.level) << (c.value ? c.value : "(unset)");
    }
    saved ? ::setenv("IOD_LOG_LEVEL", keep.c_str(), 1) : ::unsetenv("IOD_LOG_LEVEL");
}

// Exactly the records whose level is at most the maximum are opened and reach the sinks; Log
// without an open record writes nothing.
TEST_F(LoggingTest, StoreParamsFiltersByLevel) {
    std::string expected;
    for (int maxLevel : {2, 4, 7}) {
        log.SetLevel(maxLevel);
        for (int level = 1; level <= 9; ++level) {
            const int open = log.StoreParams("f", "fn", level, level, 19, 1);
            EXPECT_EQ(open != 0, level <= maxLevel) << "level " << level << " max " << maxLevel;
            log.Log("%d/%d\n", level, maxLevel);
            if (level <= maxLevel) expected += std::to_string(level) + "/" + std::to_string(maxLevel) + ";";
        }
    }
    EXPECT_EQ(collector.Texts(), expected);
}

TEST_F(LoggingTest, RecordCarriesEveryFieldAndTheWholeText) {
    ASSERT_NE(log.StoreParams("src/IOD/IOD_Image", "IOD_Image::IsImagePixelModuleValid", 321, 4, 19, 1), 0);
    log.Log("File: %s Line: %d Attribute:%s not valid\n\n", "src/IOD/IOD_Image", 321, "ROWS");
    const std::string big(5000, 'x');
    Write(big.c_str(), 1);
    ASSERT_EQ(collector.records.size(), 2u);
    const Kvl_LogRecord& r = collector.records[0];
    EXPECT_EQ(r.file + " " + r.function, "src/IOD/IOD_Image IOD_Image::IsImagePixelModuleValid");
    EXPECT_EQ(std::to_string(r.line) + " " + std::to_string(r.level) + " " + std::to_string(r.category),
              "321 4 19");
    EXPECT_EQ(r.text, "File: src/IOD/IOD_Image Line: 321 Attribute:ROWS not valid");
    EXPECT_EQ(collector.records[1].text, big);
}

// Sinks: handles, removal (unknown and repeated ignored), a throwing sink, a sink that logs and
// removes itself, and records that belong to another log object.
TEST_F(LoggingTest, SinksAddRemoveThrowAndLogThemselves) {
    int self = 0;
    self = log.AddSink([this, &self](const Kvl_LogRecord& record) {
        if (record.text != "outer") return;
        Write("inner");  // delivered at once, before the outer record goes on
        log.RemoveSink(self);
    });
    log.AddSink([](const Kvl_LogRecord&) { throw std::runtime_error("sink failure"); });
    Collector second;
    const int b = log.AddSink(second.Sink());
    EXPECT_EQ(log.AddSink(nullptr), 0);
    EXPECT_GT(self, 0);
    EXPECT_NE(b, self);
    Write("outer");
    log.RemoveSink(b);
    log.RemoveSink(b);
    log.RemoveSink(12345);
    Write("after");
    Kvl_LogFile other;
    other.SetDefaultSink(false);
    ASSERT_NE(log.StoreParams("f", "fn", 1, 4, 19, 1), 0);
    other.Log("no record open on this object\n");
    log.Log("mine\n");
    EXPECT_EQ(collector.Texts(), "outer;inner;after;mine;");
    EXPECT_EQ(second.Texts(), "inner;outer;");
}

TEST_F(LoggingTest, RecordsOfManyThreadsNeverMix) {
    constexpr int kThreads = 8;
    constexpr int kRecords = 500;
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    auto text = [](int t, int i) {
        return std::to_string(t) + ":" + std::to_string(i) + std::string(40 + 13 * t, 'a' + t);
    };
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const std::string function = "Worker" + std::to_string(t);
            ready.fetch_add(1);
            while (ready.load() < kThreads) std::this_thread::yield();
            for (int i = 0; i < kRecords; ++i)
                if (log.StoreParams("thread", function.c_str(), t * 100000 + i, 3, 19, 1))
                    log.Log("%s\n", text(t, i).c_str());
        });
    }
    for (auto& thread : threads) thread.join();
    ASSERT_EQ(collector.records.size(), static_cast<size_t>(kThreads * kRecords));
    std::vector<int> next(kThreads, 0);
    for (const Kvl_LogRecord& r : collector.records) {
        const int t = r.line / 100000, i = r.line % 100000;
        ASSERT_LT(t, kThreads);
        EXPECT_EQ(r.function, "Worker" + std::to_string(t));
        EXPECT_EQ(r.text, text(t, i));
        EXPECT_EQ(i, next[t]++) << "records of one thread arrive in order";
    }
}

TEST_F(LoggingTest, DefaultSinkWritesOneLinePerRecordToLogFile) {
    char path[] = "/tmp/iod_log_test_XXXXXX";
    ::close(::mkstemp(path));
    ::setenv("IOD_LOG_FILE", path, 1);
    {
        Kvl_LogFile fileLog;
        fileLog.SetLevel(7);
        if (fileLog.StoreParams("src/IOD/IOD_Msg", "IOD_Msg::IOD_Msg", 42, 7, 719, 1))
            fileLog.Log("constructor 0x%x\n", 0xbeefu);
        if (fileLog.StoreParams("src/IOD/IOD_Image", "IOD_Image::IsValid", 7, 4, 19, 1))
            fileLog.Log("two\nlines\n");
        fileLog.SetDefaultSink(false);
        if (fileLog.StoreParams("x", "y", 1, 4, 19, 1)) fileLog.Log("not written\n");
    }
    ::unsetenv("IOD_LOG_FILE");
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    std::remove(path);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].find(" L7 C719 src/IOD/IOD_Msg:42 IOD_Msg::IOD_Msg: constructor 0xbeef"),
              std::string::npos)
        << lines[0];
    EXPECT_NE(lines[1].find(" L4 C19 src/IOD/IOD_Image:7 IOD_Image::IsValid: two | lines"), std::string::npos)
        << lines[1];
}

TEST(GlobalLog, MacroLogsThroughKvlGLog) {
    Collector collector;
    KvlGLog.SetDefaultSink(false);
    const int previous = KvlGLog.GetLevel();
    KvlGLog.SetLevel(4);
    const int handle = KvlGLog.AddSink(collector.Sink());
    const int line = __LINE__ + 1;
    KVL_LOG("tests/platform/test_logging", "GlobalLog::Macro", 4, 19, "value %d\n", 17);
    KVL_LOG("tests/platform/test_logging", "GlobalLog::Macro", 6, 19, "filtered %d\n", 18);
    KvlGLog.RemoveSink(handle);
    KvlGLog.SetLevel(previous);
    ASSERT_EQ(collector.records.size(), 1u);
    EXPECT_EQ(collector.records[0].line, line);
    EXPECT_EQ(collector.records[0].text, "value 17");
}

}  // namespace
