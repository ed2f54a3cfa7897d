// Cases that need a fresh process: the configuration repository and the tag-parsing rules are
// loaded once per process. RunInChild runs a case in a forked child (the parent never loads
// them) and fails the test with the child's report unless every check there held.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

// Collects the failed checks of a child; Finish ends the child with status 0 when none failed.
class ChildChecks {
public:
    template <class A, class B>
    void Equal(const A& actual, const B& expected, const char* what, int line) {
        if (actual == expected) return;
        report_ += "line " + std::to_string(line) + ": " + what + ": got " +
                   ::testing::PrintToString(actual) + ", expected " + ::testing::PrintToString(expected) +
                   "\n";
    }
    void True(bool condition, const char* what, int line) {
        if (!condition) report_ += "line " + std::to_string(line) + ": " + what + " is false\n";
    }
    [[noreturn]] void Finish() const {
        std::fputs(report_.c_str(), stderr);
        std::fflush(stderr);
        std::_Exit(report_.empty() ? 0 : 1);
    }

private:
    std::string report_;
};

#define CHILD_EQ(checks, actual, expected) (checks).Equal((actual), (expected), #actual, __LINE__)
#define CHILD_TRUE(checks, condition) (checks).True((condition), #condition, __LINE__)

template <class Body>
[[noreturn]] void RunChildBody(const Body& body) {
    ChildChecks checks;
    body(checks);
    checks.Finish();
}

// Runs `body(ChildChecks&)` in a forked child process; the test fails with the child's report
// unless the child ends with status 0.
template <class Body>
void RunInChild(const Body& body) {
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_EXIT(RunChildBody(body), ::testing::ExitedWithCode(0), "");
}
