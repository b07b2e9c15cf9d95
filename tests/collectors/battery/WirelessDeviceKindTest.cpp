#include "collectors/battery/WirelessDeviceKind.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(WirelessDeviceKind, TheProductNameTellsTheKindWhereTheKernelDoesNot) {
    EXPECT_EQ(deviceKindForName("Wireless Mouse MX"), Mouse);
    EXPECT_EQ(deviceKindForName("BLUETOOTH KEYBOARD"), Keyboard);
    EXPECT_EQ(deviceKindForName("Wireless Keyboard with Touchpad"), Keyboard);
    EXPECT_EQ(deviceKindForName("Magic Trackpad 2"), Trackpad);
    EXPECT_EQ(deviceKindForName("USB Headset"), Headphones);
    EXPECT_EQ(deviceKindForName("Wireless Controller"), GameController);
    EXPECT_EQ(deviceKindForName("Pro Controller"), GameController);
    EXPECT_EQ(deviceKindForName("Xbox Wireless Gamepad"), GameController);
    EXPECT_EQ(deviceKindForName(""), UnknownDevice);
}
