#include <gtest/gtest.h>

#include <atomic>

#include "vek/ManagedThread.h"

namespace {

struct Context {
    std::atomic<bool> release{false};
    std::atomic<int> calls{0};
};

int worker(vek::ManagedThread& self) {
    auto* ctx = static_cast<Context*>(self.getContext());
    ctx->calls.fetch_add(1);
    while (!ctx->release.load())
        std::this_thread::yield();
    return 1;
}

TEST(ManagedThread, ExitCodeIsKnownOnlyAfterTheFunctionReturned) {
    Context ctx;
    vek::ManagedThread t(worker, &ctx);
    int code = -1;
    EXPECT_FALSE(t.getExitCode(&code));
    ASSERT_TRUE(t.run("vekr-worker"));
    EXPECT_FALSE(t.run("again")) << "a running thread cannot be started twice";
    EXPECT_FALSE(t.getExitCode(&code));
    ctx.release.store(true);
    EXPECT_TRUE(t.join());
    EXPECT_FALSE(t.join()) << "already joined";
    ASSERT_TRUE(t.getExitCode(&code));
    EXPECT_EQ(code, 1);
    EXPECT_EQ(ctx.calls.load(), 1);
    EXPECT_FALSE(t.getExitCode(nullptr));
}

TEST(ManagedThread, JoinWithoutRunFailsAndDestructorJoinsARunningThread) {
    Context ctx;
    {
        vek::ManagedThread idle(worker, &ctx);
        EXPECT_FALSE(idle.join());
    }
    {
        vek::ManagedThread t(worker, &ctx);
        ASSERT_TRUE(t.run("vekr-worker"));
        ctx.release.store(true);
    }  // must not terminate the process with a joinable thread
    EXPECT_EQ(ctx.calls.load(), 1);
}

}  // namespace
