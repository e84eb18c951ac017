#include "platform/linux/shared_library.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace platform {
namespace {

using ::testing::HasSubstr;

TEST(SharedLibrary, BindsFunctionsAndExplainsWhatIsMissing) {
    SharedLibrary const libc("libc.so.6");
    decltype(&::strlen) length = nullptr;
    libc.Bind(length, "strlen");
    ASSERT_NE(length, nullptr);
    EXPECT_EQ(length("seven.."), 7u);

    try {
        libc.Bind(length, "no_such_function_zor");
        FAIL() << "a missing symbol was bound";
    } catch (LibraryUnavailable const& error) {
        EXPECT_THAT(error.what(), HasSubstr("no_such_function_zor"));
    }

    try {
        SharedLibrary const missing("libzor-nonexistent.so.9");
        FAIL() << "a missing library was opened";
    } catch (LibraryUnavailable const& error) {
        EXPECT_THAT(error.what(), HasSubstr("libzor-nonexistent.so.9"));
    }
}

} // namespace
} // namespace platform
