#include "foundation/NotificationCenter.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace corvane;

namespace {

TEST(NotificationCenter, DeliversNameObjectAndUserInfoToMatchingObservers) {
    NotificationCenter center;
    int sender = 0;
    std::vector<std::string> seen;
    auto a = center.addObserver("CorvaneBarRefreshSections", [&](const Notification& n) {
        EXPECT_EQ(std::any_cast<int*>(n.object), &sender);
        EXPECT_EQ(n.userInfo["item"], Value(3));
        seen.push_back("a");
    });
    auto other = center.addObserver("Other", [&](const Notification&) { seen.push_back("other"); });
    auto all =
        center.addObserver("", [&](const Notification& n) { seen.push_back("all:" + n.name); });

    center.post("CorvaneBarRefreshSections", &sender, Value::dict({{"item", 3}}));
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "all:CorvaneBarRefreshSections"}));
}

TEST(NotificationCenter, ObserversRemovedDuringAPostAreSafeAndNotCalled) {
    NotificationCenter center;
    int calls = 0;
    auto self = std::make_unique<Observation>();
    *self = center.addObserver("n", [&](const Notification&) {
        ++calls;
        self.reset(); // destroys the observation, and with it this callback's registration
    });
    // The next observer, removed by the one before it, is not called.
    Observation second;
    auto first = center.addObserver("m", [&](const Notification&) { second.reset(); });
    second = center.addObserver("m", [&](const Notification&) { ++calls; });
    center.post("n");
    center.post("n");
    center.post("m");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(center.observerCount(), 1u);
}

TEST(NotificationCenter, ObserversAddedDuringAPostWaitForTheNextOne) {
    NotificationCenter center;
    int late = 0;
    Observation added;
    auto adder = center.addObserver("n", [&](const Notification&) {
        if (!added.active())
            added = center.addObserver("n", [&](const Notification&) { ++late; });
    });
    center.post("n");
    EXPECT_EQ(late, 0);
    center.post("n");
    EXPECT_EQ(late, 1);
}

TEST(NotificationCenter, ObservationsEndWithTheirOwnerAndMayOutliveTheCentre) {
    auto center = std::make_unique<NotificationCenter>();
    int calls = 0;
    {
        auto scoped = center->addObserver("n", [&](const Notification&) { ++calls; });
        center->post("n");
    }
    center->post("n");
    EXPECT_EQ(calls, 1);

    Observation survivor = center->addObserver("n", [&](const Notification&) { ++calls; });
    Observation moved = std::move(survivor);
    EXPECT_FALSE(survivor.active());
    EXPECT_TRUE(moved.active());
    center.reset();
    EXPECT_FALSE(moved.active());
    moved.reset(); // must not touch the destroyed centre
}

} // namespace
