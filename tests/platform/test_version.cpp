#include <Kvl/Kvl_Version.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

TEST(KvlVersion, MatchesTheProjectVersion) {
    const std::string text = Kvl_Version::GetVersionString();
    EXPECT_EQ(text, std::to_string(Kvl_Version::GetMajor()) + "." + std::to_string(Kvl_Version::GetMinor()) +
                        "." + std::to_string(Kvl_Version::GetPatch()));
    EXPECT_EQ(text, IOD_TEST_PROJECT_VERSION);
}

TEST(KvlVersion, ToTextIsAMallocCopy) {
    Kvl_Version version;
    char* text = version.ToText();
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, Kvl_Version::GetVersionString());
    EXPECT_NE(static_cast<const char*>(text), Kvl_Version::GetVersionString());
    std::free(text);
}

}  // namespace
