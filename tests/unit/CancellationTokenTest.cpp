#include "core/Cancellation.h"

#include <gtest/gtest.h>

TEST(CancellationTokenTest, ObserversRunOnceWhileSubscribed) {
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

    copy.cancel();
    token.cancel();
    EXPECT_TRUE(token.isCancelled());
    EXPECT_EQ(kept, 2) << "each observer once, moved subscriptions included";
    EXPECT_EQ(dropped, 0) << "a dropped subscription is not called";
}

TEST(CancellationTokenTest, LateObserverRunsAtOnce) {
    CancellationToken token;
    token.cancel();
    bool ran = false;
    const CancellationToken::Subscription late = token.onCancel([&ran] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(CancellationTokenTest, ObserverMayDropItsOwnSubscription) {
    CancellationToken token;
    CancellationToken::Subscription subscription;
    int calls = 0;
    subscription = token.onCancel([&] {
        ++calls;
        subscription.reset();
    });
    token.cancel();
    EXPECT_EQ(calls, 1);
}
