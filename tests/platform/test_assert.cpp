// Kvl_Assert: a failed assertion writes its level-2 record, prints the report line and aborts;
// a holding one does nothing.
#include <KvlLog/Kvl_Assert.h>
#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>

#include <cstdio>

namespace {

// Echoes every record on stderr, where the death test reads it.
void EchoRecords() {
    KvlGLog.SetDefaultSink(false);
    KvlGLog.SetLevel(4);
    KvlGLog.AddSink([](const Kvl_LogRecord& r) {
        std::fprintf(stderr, "record L%d C%d %s %s:%d %s\n", r.level, r.category, r.file.c_str(),
                     r.function.c_str(), r.line, r.text.c_str());
    });
}

int Checked(int n) {
    KVL_ASSERT(n > 0, "src/Sample", "Sample::Checked", 19);
    return n;
}

}  // namespace

TEST(KvlAssertDeathTest, FailureLogsReportsAndAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EQ(Checked(3), 3);
    EXPECT_DEATH(
        {
            EchoRecords();
            Checked(0);
        },
        "^record L2 C19 src/Sample Sample::Checked:[0-9]+ Assertion Failed: <n > 0>, Aborting\\.\n"
        "Assertion Failed: <n > 0> , file <src/Sample>, line <[0-9]+>\\.\n$");
    // With level 2 filtered out, only the report line is left.
    EXPECT_DEATH(
        {
            EchoRecords();
            KvlGLog.SetLevel(1);
            Kvl_AssertFailed("FALSE && \"x\"", "inc/X", "X::Y", 7, 719);
        },
        "^Assertion Failed: <FALSE && \"x\"> , file <inc/X>, line <7>\\.\n$");
}
