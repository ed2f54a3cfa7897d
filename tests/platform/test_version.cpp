#include <Kvl/Kvl_Version.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

TEST(KvlVersion, MatchesTheProjectVersion) {
    EXPECT_STREQ(Kvl_Version::GetVersionString(), IOD_TEST_PROJECT_VERSION);
    EXPECT_EQ(std::to_string(Kvl_Version::GetMajor()) + "." + std::to_string(Kvl_Version::GetMinor()) + "." +
                  std::to_string(Kvl_Version::GetPatch()),
              IOD_TEST_PROJECT_VERSION);
    char* text = Kvl_Version().ToText();  // a copy the caller frees
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, IOD_TEST_PROJECT_VERSION);
    EXPECT_NE(static_cast<const char*>(text), Kvl_Version::GetVersionString());
    std::free(text);
}
