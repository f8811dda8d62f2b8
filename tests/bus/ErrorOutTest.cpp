#include "tools/MERO/MEROOffline/Linux/Glib/ErrorOut.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

namespace {

bool readable(const char* path, GError** errorOut) {
    gchar* content = nullptr;
    const bool isRead = g_file_get_contents(path, &content, nullptr, errorOut) != FALSE;
    const TextHandle owned(content);
    return isRead;
}

TEST(ErrorOut, IsTheErrorOfACallInACondition) {
    ErrorHandle error;
    if (readable("/no-such-file", ErrorOut(error))) {
        FAIL() << "a file that is not there was read";
    }
    ASSERT_NE(error, nullptr);
    EXPECT_NE(g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_NOENT), FALSE);
}

TEST(ErrorOut, EmptiesTheHandleForACallThatSucceeds) {
    ErrorHandle error(g_error_new_literal(G_IO_ERROR, G_IO_ERROR_FAILED, "of a call before"));
    const bool isRead = readable("/proc/self/stat", ErrorOut(error));
    EXPECT_TRUE(isRead);
    EXPECT_EQ(error, nullptr);
}

} // namespace
