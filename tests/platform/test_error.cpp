#include <IOD/IOD_Error.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace {

static_assert(std::is_empty_v<IOD_Error>);
static_assert(std::is_nothrow_copy_assignable_v<IOD_Error>);
static_assert(std::is_nothrow_move_assignable_v<IOD_Error>);

TEST(IODError, AssignmentsReturnTheTarget) {
    IOD_Error a;
    IOD_Error b;
    EXPECT_EQ(&(a = b), &a);
    EXPECT_EQ(&(a = std::move(b)), &a);
}

TEST(IODError, CanBeThrownAndCaught) { EXPECT_THROW(throw IOD_Error(), IOD_Error); }

}  // namespace
