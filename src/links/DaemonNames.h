#pragma once

namespace corvane::daemon {

// Where the privileged daemon answers and what it is called there. The interface keeps the
// messages of the daemon's protocol in their order; machineSerial comes last, as an addition.
inline constexpr const char* kBusName = "com.halvorn.corvanebardaemon";
inline constexpr const char* kObjectPath = "/com/halvorn/corvanebardaemon";
inline constexpr const char* kInterface = "com.halvorn.corvanebardaemon";
// The one message from daemon to client, sent to the asking client only.
inline constexpr const char* kResponseSignal = "daemonResponse";

// Errors a caller can be given.
inline constexpr const char* kErrorNotAuthorized =
    "com.halvorn.corvanebardaemon.Error.NotAuthorized";
inline constexpr const char* kErrorInvalidArguments = "org.freedesktop.DBus.Error.InvalidArgs";

// The polkit actions of the messages that change the machine.
inline constexpr const char* kActionFans = "com.halvorn.corvanebar.daemon.fans";
inline constexpr const char* kActionNetwork = "com.halvorn.corvanebar.daemon.network";

// The key of process requests whose answers list processes by processor share.
inline constexpr long kProcessesByCPU = 1;

// Arrays and dictionaries a caller sends are counted member by member, nested ones included;
// more than this is refused rather than walked.
inline constexpr unsigned long kMaximumMembers = 4096;

// The introspection data of the daemon's object.
const char* introspectionXml();

} // namespace corvane::daemon
