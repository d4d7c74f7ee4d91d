#include "base/Cancellation.h"

#include <gtest/gtest.h>

TEST(CancellationTokenTest, ObserversRunOnceWhileSubscribedAndLateOnesAtOnce) {
    CancellationToken token;
    const CancellationToken copy = token;
    int kept = 0;
    int dropped = 0;
    const CancellationToken::Subscription keep = token.onCancel([&kept] { ++kept; });
    {
        const CancellationToken::Subscription gone = copy.onCancel([&dropped] { ++dropped; });
    }
    CancellationToken::Subscription moved = token.onCancel([&kept] { ++kept; });
    CancellationToken::Subscription target = std::move(moved);
    // An observer that drops its own subscription while it runs must not deadlock.
    CancellationToken::Subscription self;
    self = token.onCancel([&] {
        ++kept;
        self.reset();
    });

    copy.cancel();
    token.cancel();
    EXPECT_TRUE(token.isCancelled());
    EXPECT_EQ(kept, 3) << "each observer once, moved subscriptions included";
    EXPECT_EQ(dropped, 0) << "a dropped subscription is not called";

    bool late = false;
    const CancellationToken::Subscription after = token.onCancel([&late] { late = true; });
    EXPECT_TRUE(late);
}
