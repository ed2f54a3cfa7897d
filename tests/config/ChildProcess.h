// Cases that need a fresh process (the repository and the tag-parsing rules load once per
// process): RunInChild runs one in a forked child and fails the test with the child's report.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

// Failed checks of a child, written to stderr when it ends; exit status 0 when there were none.
class ChildChecks {
public:
    template <class A, class B>
    void Equal(const A& actual, const B& expected, const char* what, int line) {
        if (!(actual == expected))
            report_ += "line " + std::to_string(line) + ": " + what + ": got " +
                       ::testing::PrintToString(actual) + ", expected " + ::testing::PrintToString(expected) +
                       "\n";
    }
    [[noreturn]] void Finish() const {
        std::fputs(report_.c_str(), stderr);
        std::_Exit(report_.empty() ? 0 : 1);
    }

private:
    std::string report_;
};

#define CHILD_EQ(checks, actual, expected) (checks).Equal((actual), (expected), #actual, __LINE__)

template <class Body>
[[noreturn]] void RunChildBody(const Body& body) {
    ChildChecks checks;
    body(checks);
    checks.Finish();
}

template <class Body>
void RunInChild(const Body& body) {
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_EXIT(RunChildBody(body), ::testing::ExitedWithCode(0), "");
}
