#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>
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
    size_t Size() {
        std::lock_guard<std::mutex> lock(mutex);
        return records.size();
    }
};

// A log object of its own, quiet on stderr.
class LoggingTest : public ::testing::Test {
protected:
    void SetUp() override {
        log.SetDefaultSink(false);
        log.SetLevel(4);
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
        Kvl_LogFile fresh;
        EXPECT_EQ(fresh.GetLevel(), c.level) << (c.value ? c.value : "(unset)");
    }
    saved ? ::setenv("IOD_LOG_LEVEL", keep.c_str(), 1) : ::unsetenv("IOD_LOG_LEVEL");
}

// A record is written when its level is at most the maximum: StoreParams says so, and exactly
// those records reach the sinks; Log without an open record writes nothing.
TEST_F(LoggingTest, StoreParamsFiltersByLevel) {
    log.AddSink(collector.Sink());
    std::vector<std::string> expected;
    for (int maxLevel : {2, 4, 7}) {
        log.SetLevel(maxLevel);
        EXPECT_EQ(log.GetLevel(), maxLevel);
        for (int level = 1; level <= 9; ++level) {
            const int open = log.StoreParams("f", "fn", level, level, 19, 1);
            EXPECT_EQ(open != 0, level <= maxLevel) << "level " << level << " max " << maxLevel;
            log.Log("%d/%d\n", level, maxLevel);
            if (level <= maxLevel) expected.push_back(std::to_string(level) + "/" + std::to_string(maxLevel));
        }
    }
    std::vector<std::string> texts;
    for (const Kvl_LogRecord& r : collector.records) texts.push_back(r.text);
    EXPECT_EQ(texts, expected);
}

TEST_F(LoggingTest, RecordCarriesEveryField) {
    log.AddSink(collector.Sink());
    ASSERT_NE(log.StoreParams("src/IOD/IOD_Image", "IOD_Image::IsImagePixelModuleValid", 321, 4, 19, 1), 0);
    log.Log("File: %s Line: %d Attribute:%s not valid\n", "src/IOD/IOD_Image", 321, "ROWS");
    ASSERT_EQ(collector.records.size(), 1u);
    const Kvl_LogRecord& r = collector.records[0];
    EXPECT_EQ(r.file, "src/IOD/IOD_Image");
    EXPECT_EQ(r.function, "IOD_Image::IsImagePixelModuleValid");
    EXPECT_EQ(r.line, 321);
    EXPECT_EQ(r.level, 4);
    EXPECT_EQ(r.category, 19);
    EXPECT_EQ(r.text, "File: src/IOD/IOD_Image Line: 321 Attribute:ROWS not valid");
}

TEST_F(LoggingTest, LongTextIsWhole) {
    log.AddSink(collector.Sink());
    const std::string big(5000, 'x');
    ASSERT_NE(log.StoreParams("f", "fn", 1, 1, 19, 1), 0);
    log.Log("<%s>\n", big.c_str());
    ASSERT_EQ(collector.records.size(), 1u);
    EXPECT_EQ(collector.records[0].text, "<" + big + ">");
}

TEST_F(LoggingTest, SinksAddAndRemove) {
    Collector second;
    const int a = log.AddSink(collector.Sink());
    const int b = log.AddSink(second.Sink());
    EXPECT_GT(a, 0);
    EXPECT_GT(b, 0);
    EXPECT_NE(a, b);
    EXPECT_EQ(log.AddSink(nullptr), 0);
    if (log.StoreParams("f", "fn", 1, 4, 19, 1)) log.Log("one\n");
    log.RemoveSink(a);
    if (log.StoreParams("f", "fn", 2, 4, 19, 1)) log.Log("two\n");
    log.RemoveSink(b);
    log.RemoveSink(b);      // again: ignored
    log.RemoveSink(12345);  // unknown: ignored
    if (log.StoreParams("f", "fn", 3, 4, 19, 1)) log.Log("three\n");
    ASSERT_EQ(collector.records.size(), 1u);
    EXPECT_EQ(collector.records[0].text, "one");
    ASSERT_EQ(second.records.size(), 2u);
    EXPECT_EQ(second.records[1].text, "two");
}

TEST_F(LoggingTest, ThrowingSinkDoesNotStopOthers) {
    log.AddSink([](const Kvl_LogRecord&) { throw std::runtime_error("sink failure"); });
    log.AddSink(collector.Sink());
    if (log.StoreParams("f", "fn", 1, 4, 19, 1)) log.Log("survives\n");
    ASSERT_EQ(collector.records.size(), 1u);
}

TEST_F(LoggingTest, SinkMayLogAndRemoveItself) {
    int handle = 0;
    handle = log.AddSink([this, &handle](const Kvl_LogRecord& record) {
        if (record.text == "outer") {
            if (log.StoreParams("inner", "sink", 1, 4, 19, 1)) log.Log("inner\n");
            log.RemoveSink(handle);
        }
    });
    log.AddSink(collector.Sink());
    if (log.StoreParams("f", "fn", 1, 4, 19, 1)) log.Log("outer\n");
    if (log.StoreParams("f", "fn", 2, 4, 19, 1)) log.Log("after\n");
    ASSERT_EQ(collector.records.size(), 3u);
    EXPECT_EQ(collector.records[0].text, "inner");
    EXPECT_EQ(collector.records[1].text, "outer");
    EXPECT_EQ(collector.records[2].text, "after");
}

TEST_F(LoggingTest, RecordIsPerLogObject) {
    Kvl_LogFile other;
    other.SetDefaultSink(false);
    Collector otherCollector;
    other.AddSink(otherCollector.Sink());
    log.AddSink(collector.Sink());
    ASSERT_NE(log.StoreParams("mine", "fn", 1, 4, 19, 1), 0);
    other.Log("no record open on this object\n");
    log.Log("mine\n");
    EXPECT_EQ(otherCollector.Size(), 0u);
    ASSERT_EQ(collector.records.size(), 1u);
    EXPECT_EQ(collector.records[0].file, "mine");
}

TEST_F(LoggingTest, RecordsOfManyThreadsNeverMix) {
    log.AddSink(collector.Sink());
    constexpr int kThreads = 8;
    constexpr int kRecords = 500;
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &ready] {
            const std::string file = "thread/" + std::to_string(t);
            const std::string function = "Worker" + std::to_string(t) + "::Run";
            const std::string filler(40 + 13 * t, static_cast<char>('a' + t));
            ready.fetch_add(1);
            while (ready.load() < kThreads) std::this_thread::yield();
            for (int i = 0; i < kRecords; ++i) {
                if (log.StoreParams(file.c_str(), function.c_str(), t * 100000 + i, 3, 19, 1)) {
                    log.Log("t=%d i=%d %s end\n", t, i, filler.c_str());
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();

    ASSERT_EQ(collector.records.size(), static_cast<size_t>(kThreads * kRecords));
    std::vector<int> next(kThreads, 0);
    for (const Kvl_LogRecord& r : collector.records) {
        const int t = r.line / 100000;
        const int i = r.line % 100000;
        ASSERT_GE(t, 0);
        ASSERT_LT(t, kThreads);
        EXPECT_EQ(r.file, "thread/" + std::to_string(t));
        EXPECT_EQ(r.function, "Worker" + std::to_string(t) + "::Run");
        const std::string filler(40 + 13 * t, static_cast<char>('a' + t));
        EXPECT_EQ(r.text, "t=" + std::to_string(t) + " i=" + std::to_string(i) + " " + filler + " end");
        EXPECT_EQ(i, next[t]) << "records of one thread arrive in order";
        next[t] = i + 1;
    }
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(next[t], kRecords);
}

TEST_F(LoggingTest, DefaultSinkWritesOneLinePerRecordToLogFile) {
    char path[] = "/tmp/iod_log_test_XXXXXX";
    const int fd = ::mkstemp(path);
    ASSERT_GE(fd, 0);
    ::close(fd);
    ::setenv("IOD_LOG_FILE", path, 1);
    {
        Kvl_LogFile fileLog;
        fileLog.SetLevel(7);
        if (fileLog.StoreParams("src/IOD/IOD_Msg", "IOD_Msg::IOD_Msg", 42, 7, 719, 1)) {
            fileLog.Log("constructor 0x%x\n", 0xbeefu);
        }
        if (fileLog.StoreParams("src/IOD/IOD_Image", "IOD_Image::IsValid", 7, 4, 19, 1)) {
            fileLog.Log("two\nlines\n");
        }
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
