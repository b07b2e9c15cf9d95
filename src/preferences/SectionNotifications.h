#pragma once

#include <string>
#include <string_view>

namespace corvane {

// The distributed notification that tells the other processes a key of its section changed,
// as the section's own controls post it.
std::string notificationForKey(std::string_view key);

// Tells the settings window to read one key ("key" in the user information) afresh.
inline constexpr const char* kResetPreferencesAppNotification = "CorvaneBarResetPreferencesApp";

} // namespace corvane
