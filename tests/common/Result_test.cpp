#include "common/Result.h"

#include <cerrno>
#include <memory>

#include <gtest/gtest.h>

namespace velmora {

TEST(Result, HoldsValueOrFailureAndMapsErrno) {
    Result<std::unique_ptr<int>> good(std::make_unique<int>(7));
    ASSERT_TRUE(good.ok());
    EXPECT_EQ(**good, 7);
    EXPECT_TRUE(good.status().ok());
    std::unique_ptr<int> moved = std::move(good).value();
    EXPECT_EQ(*moved, 7);

    Result<int> bad(Status::fromErrno(ENOSPC, "cannot write /out"));
    ASSERT_FALSE(bad.ok());
    EXPECT_EQ(bad.status().code(), Status::Code::noSpace);
    EXPECT_EQ(bad.status().message(), "cannot write /out: No space left on device");
    EXPECT_EQ(bad.valueOr(3), 3);

    EXPECT_EQ(Status::fromErrno(EROFS, "x").code(), Status::Code::permissionDenied);
    EXPECT_EQ(Status::fromErrno(ENOENT, "").message(), "No such file or directory");
    EXPECT_TRUE(Status::fromErrno(0, "x").ok());
}

}  // namespace velmora

